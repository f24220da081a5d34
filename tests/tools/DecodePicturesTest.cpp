// SPDX-License-Identifier: BSD-3-Clause
// zrdcm decode into PNG: window, MONOCHROME1, overlays, stored samples, several frames.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using tools::Outcome;
using tools::Png;
using tools::readPng;
using tools::runZrdcm;

class DecodedPicture : public testing::Test {
protected:
  Png decode(const DcmDataset& dataset, const std::vector<std::string>& options = {}) {
    run(dataset, options);
    return readPng(folder_.file("out.png"));
  }

  void run(const DcmDataset& dataset, const std::vector<std::string>& options) {
    support::saveFile(dataset, folder_.file("in.dcm"));
    std::vector<std::string> arguments{"decode", folder_.file("in.dcm").string(), "-o",
                                       folder_.file("out.png").string()};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const Outcome outcome = runZrdcm(arguments);
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
  }

  support::TempDir folder_;
};

// PS3.3 C.11.2.1.2.1 with centre 128.5, width 256: y = (x - 128) / 255 * 255 + 127.5.
TEST_F(DecodedPicture, FollowsTheLinearWindowOfTheStandard) {
  const auto image =
      support::monochromeImage(5, 1).samples({0, 1, 128, 254, 4000}).window("128", "256").build();

  const Png picture = decode(*image);

  EXPECT_EQ(picture.bits, 8);
  EXPECT_EQ(picture.channels, 1);
  EXPECT_THAT(picture.samples, ElementsAre(0, 1, 128, 254, 255));
}

TEST_F(DecodedPicture, AppliesTheWindowToModalityValues) {
  // Signed samples -1000, 0, 1000 with slope 2 and intercept 100: -1900, 100, 2100.
  const auto image = support::ctSlice(3, 1)
                         .signed16()
                         .samples({-1000, 0, 1000})
                         .rescale("2", "100")
                         .window("100.5", "4001")
                         .build();

  // (x - 100) / 4000 + 0.5 of 255: 0, 127.5, 255.
  EXPECT_THAT(decode(*image).samples, ElementsAre(0, 128, 255));
}

TEST_F(DecodedPicture, PrefersTheWindowOfTheUser) {
  const auto image = support::monochromeImage(3, 1).samples({10, 20, 30}).window("1", "2").build();

  EXPECT_THAT(decode(*image, {"--window", "20.5,21"}).samples, ElementsAre(0, 128, 255));
}

TEST_F(DecodedPicture, TakesAWindowOfTheFileByItsNumberOrName) {
  const auto image = support::monochromeImage(3, 1)
                         .samples({10, 20, 30})
                         .window("1\\20.5", "2\\21")
                         .with(DCM_WindowCenterWidthExplanation, "DARK\\BONE")
                         .build();

  EXPECT_THAT(decode(*image, {"--window", "2"}).samples, ElementsAre(0, 128, 255));
  EXPECT_THAT(decode(*image, {"--window", "bone"}).samples, ElementsAre(0, 128, 255));
}

TEST_F(DecodedPicture, SpreadsTheValuesThatOccurWhenThereIsNoWindow) {
  const auto image = support::monochromeImage(3, 1).samples({1000, 1100, 1200}).build();

  EXPECT_THAT(decode(*image).samples, ElementsAre(0, 128, 255));
}

TEST_F(DecodedPicture, KeepsPaddingOutOfTheRange) {
  auto image = support::monochromeImage(4, 1).signed16().samples({-2000, 0, 100, 200});
  image.withSint16(DCM_PixelPaddingValue, -2000);

  EXPECT_THAT(decode(*image.build()).samples, ElementsAre(0, 0, 128, 255));
}

TEST_F(DecodedPicture, KeepsUnsignedPaddingOutOfTheRange) {
  auto image = support::monochromeImage(4, 1).samples({65535, 100, 200, 300});
  image.withUint16(DCM_PixelPaddingValue, 65535);

  EXPECT_THAT(decode(*image.build()).samples, ElementsAre(255, 0, 128, 255));
}

TEST_F(DecodedPicture, IgnoresAWindowThatShowsNothing) {
  const auto image =
      support::monochromeImage(3, 1).samples({0, 100, 200}).window("50", "0").build();

  EXPECT_THAT(decode(*image).samples, ElementsAre(0, 128, 255));
}

// The largest of these values is beyond all numbers, so that there is no range to show them over.
TEST_F(DecodedPicture, IsBlackWhereTheValuesAreNoNumbers) {
  const auto image =
      support::monochromeImage(3, 1).samples({0, 1, 2}).rescale("1e308", "0").build();

  EXPECT_THAT(decode(*image).samples, ElementsAre(0, 0, 0));
}

// A slope beyond all numbers is none: the window is for stored values then.
TEST_F(DecodedPicture, ShowsStoredValuesWhereTheRescaleLineIsNoNumber) {
  const auto image =
      support::monochromeImage(3, 1).samples({0, 1, 2}).rescale("1e309", "0").build();

  EXPECT_THAT(decode(*image, {"--window", "1.5,3"}).samples, ElementsAre(0, 128, 255));
}

// PS3.3 C.11.2.1.3.1 with centre 100, width 200: 255 / (1 + exp(-4 (x - 100) / 200)).
TEST_F(DecodedPicture, FollowsTheSigmoidOfTheStandard) {
  const auto image = support::monochromeImage(3, 1)
                         .samples({0, 100, 200})
                         .window("100", "200")
                         .with(DCM_VOILUTFunction, "SIGMOID")
                         .build();

  EXPECT_THAT(decode(*image).samples, ElementsAre(30, 128, 225));
}

// PS3.3 C.11.2.1.3.2: the edges are at 50 and 150, where LINEAR has 50 and 149.
TEST_F(DecodedPicture, FollowsTheExactLineOfTheStandard) {
  const auto image = support::monochromeImage(3, 1)
                         .samples({50, 100, 149})
                         .window("100", "100")
                         .with(DCM_VOILUTFunction, "LINEAR_EXACT")
                         .build();

  EXPECT_THAT(decode(*image).samples, ElementsAre(0, 128, 252));
}

TEST_F(DecodedPicture, PassesOverAWindowOfAnUnknownFunction) {
  const auto image = support::monochromeImage(3, 1)
                         .samples({0, 100, 200})
                         .window("50", "10")
                         .with(DCM_VOILUTFunction, "CUBIC")
                         .build();

  EXPECT_THAT(decode(*image).samples, ElementsAre(0, 128, 255));
}

TEST_F(DecodedPicture, OfAFlatImageIsWritten) {
  const auto image = support::monochromeImage(2, 1).samples({7, 7}).build();

  EXPECT_THAT(decode(*image).samples, ElementsAre(128, 128));
}

TEST_F(DecodedPicture, TurnsMonochrome1Round) {
  const auto image = support::monochromeImage(3, 1)
                         .photometric("MONOCHROME1")
                         .samples({0, 128, 255})
                         .window("128", "256")
                         .build();

  EXPECT_THAT(decode(*image).samples, ElementsAre(255, 127, 0));
}

TEST_F(DecodedPicture, OfStoredSamplesHasTheirSixteenBits) {
  const auto image = support::monochromeImage(3, 1).samples({0, 0x1234, 0xFFFF}).build();

  const Png picture = decode(*image, {"--stored"});

  EXPECT_EQ(picture.bits, 16);
  EXPECT_THAT(picture.samples, ElementsAre(0, 0x1234, 0xFFFF));
}

TEST_F(DecodedPicture, OfStoredBytesHasEightBitsUnchanged) {
  const auto image =
      support::monochromeImage(3, 1).unsigned8().samples({0, 7, 200}).window("5", "2").build();

  const Png picture = decode(*image, {"--stored"});

  EXPECT_EQ(picture.bits, 8);
  EXPECT_THAT(picture.samples, ElementsAre(0, 7, 200));
}

TEST_F(DecodedPicture, OfColourIsRgb) {
  const auto image = support::rgbImage(2, 1).samples({255, 0, 1, 2, 3, 4}).build();

  const Png picture = decode(*image);

  EXPECT_EQ(picture.channels, 3);
  EXPECT_THAT(picture.samples, ElementsAre(255, 0, 1, 2, 3, 4));
}

TEST_F(DecodedPicture, CarriesOverlaysInAColourOfTheirGroup) {
  const auto image = support::monochromeImage(3, 1)
                         .bitsStored(8)
                         .samples({0, 0, 0})
                         .window("128", "256")
                         .overlayBits(0x6000, 12, {{1, 0}})
                         .overlayBits(0x6002, 13, {{2, 0}})
                         .build();

  const Png picture = decode(*image, {"--overlays"});

  EXPECT_EQ(picture.channels, 3);
  EXPECT_THAT(picture.samples, ElementsAre(0, 0, 0, 255, 196, 0, 64, 224, 255));
  EXPECT_EQ(decode(*image).channels, 1);
}

TEST_F(DecodedPicture, OfColourStaysAsItIsWhereOverlaysAreAskedFor) {
  const auto image = support::rgbImage(1, 2).samples({255, 0, 1, 2, 3, 4}).build();

  EXPECT_THAT(decode(*image, {"--overlays"}).samples, ElementsAre(255, 0, 1, 2, 3, 4));
}

TEST_F(DecodedPicture, WithoutOverlaysIsGrayInRgbWhereTheyAreAskedFor) {
  const auto image = support::monochromeImage(2, 1).samples({0, 255}).window("128", "256").build();

  const Png picture = decode(*image, {"--overlays"});

  EXPECT_EQ(picture.channels, 3);
  EXPECT_THAT(picture.samples, ElementsAre(0, 0, 0, 255, 255, 255));
}

TEST_F(DecodedPicture, CarriesTheOverlaysOfItsOwnFrame) {
  const auto image = support::monochromeImage(2, 1)
                         .bitsStored(8)
                         .frames(3)
                         .samples({0, 0, 0, 0, 0, 0})
                         .window("128", "256")
                         .overlayBits(0x6000, 12, {{1, 0}}, 2)
                         .with(DcmTagKey(0x6000, 0x0015), EVR_IS, "3")
                         .build();

  EXPECT_THAT(decode(*image, {"--overlays", "--frames", "2"}).samples,
              ElementsAre(0, 0, 0, 255, 196, 0));
  EXPECT_THAT(decode(*image, {"--overlays", "--frames", "1"}).samples,
              ElementsAre(0, 0, 0, 0, 0, 0));
}

TEST_F(DecodedPicture, OfSeveralFramesIsNumberedByFrame) {
  const auto image = support::monochromeImage(1, 1)
                         .unsigned8()
                         .frames(4)
                         .samples({10, 20, 30, 40})
                         .window("128", "256")
                         .build();

  run(*image, {"--frames", "2-3"});

  EXPECT_THAT(tools::namesIn(folder_.path()), ElementsAre("in.dcm", "out-002.png", "out-003.png"));
  EXPECT_THAT(readPng(folder_.file("out-002.png")).samples, ElementsAre(30));
  EXPECT_THAT(readPng(folder_.file("out-003.png")).samples, ElementsAre(40));
}

}  // namespace
