// SPDX-License-Identifier: BSD-3-Clause
// Windows, overlays, sheets and thumbnails by the public headers.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <zrimaging/File.h>
#include <zrimaging/Image.h>
#include <zrimaging/MemoryBudget.h>
#include <zrimaging/Pictures.h>
#include <zrimaging/Sheets.h>
#include <zrimaging/Thumbnails.h>

namespace {

using support::ImageBuilder;
using testing::ElementsAre;
using testing::IsEmpty;
using zr::VoiFunction;
using zr::Window;

class DrawnImage : public testing::Test {
protected:
  zr::File save(const ImageBuilder& image, const char* name = "in.dcm") const {
    support::saveFile(*image.build(), folder_.file(name));
    return zr::File(folder_.file(name));
  }
  std::unique_ptr<zr::Frames> framesOf(const ImageBuilder& image) const {
    return zr::framesOf(zr::Image(save(image)), {});
  }

  support::TempDir folder_;
};

ImageBuilder withOverlay() {
  return support::monochromeImage(2, 1)
      .bitsStored(8)
      .samples({0, 255})
      .window("128", "256")
      .overlayBits(0x6000, 12, {{1, 0}});
}

TEST(GrayFraction, OfALinearWindowHasItsEdgesAtHalfSteps) {
  const Window window{128, 256, VoiFunction::kLinear};

  EXPECT_EQ(zr::grayFraction(0, window), 0);
  EXPECT_EQ(zr::grayFraction(127.5, window), 0.5);
  EXPECT_EQ(zr::grayFraction(255, window), 1);
}

TEST(GrayFraction, OfAnExactWindowHasThemAtHalfItsWidth) {
  const Window window{10, 4, VoiFunction::kLinearExact};

  EXPECT_EQ(zr::grayFraction(8, window), 0);
  EXPECT_EQ(zr::grayFraction(9, window), 0.25);
  EXPECT_EQ(zr::grayFraction(12, window), 1);
}

TEST(GrayFraction, OfASigmoidIsHalfAtItsCentre) {
  const Window window{10, 4, VoiFunction::kSigmoid};

  EXPECT_EQ(zr::grayFraction(10, window), 0.5);
  EXPECT_NEAR(zr::grayFraction(12, window), 0.880797, 1e-6);  // 1 / (1 + exp(-2))
}

TEST(WindowOfFrame, TakesTheFirstThatCanBeShown) {
  zr::FrameAttributes frame;
  EXPECT_FALSE(zr::windowOfFrame(frame));

  frame.windows = {{40, 0, VoiFunction::kLinear, {}}, {5, 1, VoiFunction::kLinear, {}}};

  const std::optional<Window> window = zr::windowOfFrame(frame);
  ASSERT_TRUE(window);
  EXPECT_EQ(*window, (Window{5, 1, VoiFunction::kLinearExact}));
}

TEST_F(DrawnImage, WithoutAWindowIsShownOverItsRange) {
  const auto frames = framesOf(support::monochromeImage(3, 1).samples({10, 20, 30}));

  const zr::Display display = zr::displayOf(*frames, 1, std::nullopt);

  EXPECT_TRUE(display.uniform());
  EXPECT_EQ(display.remark(), "");
  const zr::FrameTraits& traits = frames->record().traits;
  EXPECT_THAT(zr::renderFrame(traits, frames->frame(0), display.frame(0)).samples,
              ElementsAre(0, 128, 255));
  EXPECT_THAT(zr::extremeGreys(traits, frames->frame(0), display.frame(0)), ElementsAre(0, 255));
}

TEST_F(DrawnImage, WithInvertedGreysHasALevelForEverySample) {
  const auto frames =
      framesOf(support::monochromeImage(1, 1).unsigned8().samples({0}).photometric("MONOCHROME1"));

  const std::vector<unsigned char> levels = zr::grayLevels(
      frames->record().traits, {1, 0, Window{127.5, 255, VoiFunction::kLinearExact}});

  ASSERT_EQ(levels.size(), 256U);
  EXPECT_EQ(levels[0], 255);
  EXPECT_EQ(levels[200], 55);
}

TEST_F(DrawnImage, HasItsOverlaysInTheColourOfTheirGroup) {
  const auto frames = framesOf(withOverlay());
  const zr::Picture grey{1, 2, 1, {0, 255}};

  EXPECT_EQ(zr::overlayColour(0x6000), (zr::Colour{255, 196, 0}));
  EXPECT_THAT(zr::burnOverlays(grey, frames->record(), 0).samples,
              ElementsAre(0, 0, 0, 255, 196, 0));
  EXPECT_THAT(zr::overlayMask(frames->record(), 0).samples, ElementsAre(0, 255));
}

TEST_F(DrawnImage, IsOnASheetWithItsFramesAndGroups) {
  const auto frames = framesOf(withOverlay());
  const zr::SheetContent content = zr::allFrames(*frames, std::nullopt);
  zr::SheetLayout layout;

  const zr::Picture sheet = zr::drawContactSheet(*frames, content, layout);

  EXPECT_EQ(content.title, "in.dcm");
  EXPECT_THAT(content.frames, ElementsAre(0U));
  EXPECT_THAT(zr::overlayGroups(frames->record(), {0}), ElementsAre(0x6000U));
  EXPECT_THAT(zr::overlayGroups(frames->record(), {1}), IsEmpty());
  EXPECT_EQ(layout.shown, 1U);
  EXPECT_EQ(sheet.columns, layout.sheetWidth);
  EXPECT_EQ(sheet.samples.size(), 3 * sheet.rows * sheet.columns);
}

TEST_F(DrawnImage, OfASeriesKeepsTheWindowThatAnotherFileHasSomethingIn) {
  const auto slice = [](int low, int high) {
    return support::monochromeImage(2, 1).samples({low, high}).window("100", "20");
  };
  (void)save(slice(0, 5), "air.dcm");
  (void)save(slice(95, 105), "head.dcm");
  const auto frames = zr::framesOfSeries({folder_.file("air.dcm"), folder_.file("head.dcm")}, {});

  const zr::SheetContent content = zr::allOfSeries(*frames, std::nullopt);

  ASSERT_TRUE(content.display);
  EXPECT_EQ(content.display->remark(), "");
  EXPECT_EQ(content.display->frame(1).window.centre, 100);
}

TEST_F(DrawnImage, WithoutGatesHasNoRowsOfVolumes) {
  EXPECT_EQ(zr::columnsOfVolumes(save(support::monochromeImage(1, 1).samples({1}))), 0U);
}

TEST(Thumbnail, IsTheMeanOfThePixelsThatItShrinks) {
  const unsigned char pixels[] = {10, 30};
  const zr::SampleArray frame{pixels, zr::SampleType::kU8, 1, 1, 2, 1};
  zr::Thumbnailer thumbnailer(frame, 1, 1);
  std::vector<unsigned char> levels(256);
  for (std::size_t i = 0; i < levels.size(); ++i) {
    levels[i] = static_cast<unsigned char>(i);
  }
  thumbnailer.showThrough(zr::Greys(levels));

  EXPECT_THAT(thumbnailer.render(frame).samples, ElementsAre(20, 20, 20));
}

}  // namespace
