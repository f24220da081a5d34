// SPDX-License-Identifier: BSD-3-Clause
// Pictures of pixels that are not square, and what says that they are not.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>
#include <zrimaging/File.h>
#include <zrimaging/Image.h>
#include <zrimaging/MemoryBudget.h>
#include <zrimaging/Pictures.h>

namespace {

using support::ImageBuilder;
using testing::ElementsAre;

class PixelAspect : public testing::Test {
protected:
  double aspectOf(const ImageBuilder& image) const {
    support::saveFile(*image.build(), folder_.file("in.dcm"));
    const auto frames = zr::framesOf(zr::Image(zr::File(folder_.file("in.dcm"))), {});
    return zr::pixelAspectOf(frames->record(), 0);
  }

  support::TempDir folder_;
};

ImageBuilder image() {
  return support::monochromeImage(2, 2);
}

TEST_F(PixelAspect, IsOneWhereNothingSaysIt) {
  EXPECT_EQ(aspectOf(image()), 1);
}

TEST_F(PixelAspect, IsTheSpacingOfRowsOverThatOfColumns) {
  EXPECT_EQ(aspectOf(image().spacing("3", "2").with(DCM_PixelAspectRatio, "5\\1")), 1.5);
}

TEST_F(PixelAspect, ComesFromTheImagerWithoutPixelSpacing) {
  EXPECT_EQ(
      aspectOf(image().with(DCM_ImagerPixelSpacing, "0.5\\1").with(DCM_PixelAspectRatio, "5\\1")),
      0.5);
}

TEST_F(PixelAspect, ComesFromPixelAspectRatioWithoutAnySpacing) {
  EXPECT_EQ(aspectOf(image().with(DCM_PixelAspectRatio, "4\\2")), 2);
}

TEST_F(PixelAspect, BeyondEightIsNotBelieved) {
  EXPECT_EQ(aspectOf(image().with(DCM_PixelAspectRatio, "9\\1")), 1);
  EXPECT_EQ(aspectOf(image().with(DCM_PixelAspectRatio, "0\\1")), 1);
}

TEST(SquarePixels, OfHighPixelsHaveMoreRows) {
  const zr::Picture square = zr::withSquarePixels({2, 1, 1, {0, 200}}, 2);

  EXPECT_EQ(square.rows, 4U);
  EXPECT_EQ(square.columns, 1U);
  EXPECT_EQ(square.channels, 1U);
  // The middles of the new rows are a quarter of an old one beside those of the old ones.
  EXPECT_THAT(square.samples, ElementsAre(0, 50, 150, 200));
}

TEST(SquarePixels, OfWidePixelsHaveMoreColumns) {
  const zr::Picture square = zr::withSquarePixels({1, 1, 3, {1, 2, 3}}, 0.5);

  EXPECT_EQ(square.columns, 2U);
  EXPECT_THAT(square.samples, ElementsAre(1, 2, 3, 1, 2, 3));
}

TEST(SquarePixels, OfSquareOnesAreThePictureAsItIs) {
  EXPECT_THAT(zr::withSquarePixels({1, 2, 1, {7, 9}}, 1).samples, ElementsAre(7, 9));
}

}  // namespace
