// SPDX-License-Identifier: BSD-3-Clause
// How files split into volumes, by the public header.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <zrimaging/Error.h>
#include <zrimaging/File.h>
#include <zrimaging/FrameAttributes.h>
#include <zrimaging/Splitting.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SplitFile : public testing::Test {
protected:
  zr::File save(const support::ImageBuilder& image) const {
    support::saveFile(*image.build(), folder_.file("in.dcm"));
    return zr::File(folder_.file("in.dcm"));
  }

  support::TempDir folder_;
};

TEST_F(SplitFile, WithoutAnOrderTellsWhy) {
  const zr::File file = save(support::monochromeImage(1, 1).samples({1}));

  const zr::Splitting splitting = zr::readSplitting(file);

  EXPECT_FALSE(splitting.splits);
  EXPECT_EQ(splitting.reason, "no Number of Frames");
  EXPECT_THAT(splitting.volumes, IsEmpty());
  try {
    (void)zr::requireSplitting(file);
    FAIL() << "there is no order of frames";
  } catch (const zr::Error& error) {
    EXPECT_EQ(error.reason(), zr::Reason::NotAVolume);
    EXPECT_STREQ(error.what(), "cannot be split: no Number of Frames");
  }
}

TEST_F(SplitFile, InColourIsKeptWhole) {
  const zr::File file = save(support::rgbImage(1, 1)
                                 .frames(2)
                                 .frameIncrementPointer("(0018,1063)")
                                 .samples({1, 2, 3, 4, 5, 6}));

  const zr::Splitting splitting = zr::requireSplitting(file);

  EXPECT_FALSE(splitting.splits);
  EXPECT_EQ(splitting.reason, "colour frames are kept together");
  ASSERT_EQ(splitting.volumes.size(), 1U);
  EXPECT_THAT(splitting.volumes[0].frames, ElementsAre(0U, 1U));
  EXPECT_FALSE(splitting.volumes[0].timeSlot);
}

TEST_F(SplitFile, HasADistanceWhereItsVolumesAgree) {
  zr::PerFrameAttributes attributes;
  attributes.frames.resize(4);
  attributes.frames[0].sliceSpacing = attributes.frames[1].sliceSpacing = 2;
  attributes.frames[2].sliceSpacing = attributes.frames[3].sliceSpacing = 2;
  zr::Splitting splitting;
  splitting.volumes = {{{0, 1}, {}, {}}, {{}, {}, {}}, {{2, 3}, {}, {}}};

  EXPECT_EQ(zr::sliceSpacingMm(splitting, attributes), 2);
  attributes.frames[2].sliceSpacing = attributes.frames[3].sliceSpacing = 3;
  EXPECT_EQ(zr::sliceSpacingMm(splitting, attributes), std::nullopt);
}

}  // namespace
