// SPDX-License-Identifier: BSD-3-Clause
// What frames are shown through: windows and VOI tables, chosen or not, polarity and padding.
#include "support/Compression.h"
#include "support/DatasetBuilder.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>
#include <zrimaging/Error.h>
#include <zrimaging/File.h>
#include <zrimaging/Image.h>
#include <zrimaging/MemoryBudget.h>
#include <zrimaging/Pictures.h>

namespace {

using support::DatasetBuilder;
using support::ImageBuilder;
using support::monochromeImage;
using testing::ElementsAre;
using Samples = std::vector<unsigned char>;

class ShownImage : public testing::Test {
protected:
  zr::Image open(const ImageBuilder& image, E_TransferSyntax syntax = EXS_LittleEndianExplicit) {
    auto file = std::make_unique<DcmFileFormat>(image.build().get());
    EXPECT_TRUE(file->saveFile(folder_.file("in.dcm").c_str(), syntax).good());
    return zr::Image(zr::File(folder_.file("in.dcm")));
  }

  /// The first frame as it is shown.
  Samples show(const ImageBuilder& image,
               const std::optional<zr::WindowChoice>& wanted = std::nullopt) {
    const auto frames = zr::framesOf(open(image), {});
    const zr::Display display = zr::displayOf(*frames, 1, wanted);
    return zr::renderFrame(frames->record().traits, frames->frame(0), display.frame(0)).samples;
  }

  Samples showListed(const ImageBuilder& image, const std::string& listed) {
    return show(image, zr::WindowChoice{std::nullopt, listed});
  }

  std::string refusal(const ImageBuilder& image, const std::string& listed) {
    try {
      (void)showListed(image, listed);
    } catch (const zr::Error& error) {
      return error.what();
    }
    return "";
  }

  support::TempDir folder_;
};

/// A table of 8 bits of an entry for the values from `first` on.
DatasetBuilder voiTable(Uint16 first, const std::vector<Uint16>& entries, const char* name) {
  return DatasetBuilder()
      .withUint16s(DCM_LUTDescriptor, {static_cast<Uint16>(entries.size()), first, 8})
      .with(DCM_LUTExplanation, name)
      .withWords(DCM_LUTData, entries);
}

ImageBuilder withWindowsAndTables() {
  return monochromeImage(3, 1)
      .samples({0, 10, 20})
      .window("10.5\\20.5", "21\\21")
      .with(DCM_WindowCenterWidthExplanation, "WIDE\\Bone")
      .withItem(DCM_VOILUTSequence, voiTable(10, {51, 102}, "RAMP"));
}

TEST_F(ShownImage, HasTheTablesOfItsVoiLutSequence) {
  const zr::Image image = open(withWindowsAndTables());

  const std::vector<zr::VoiTable>& tables = image.frame(0).voiTables;

  ASSERT_EQ(tables.size(), 1U);
  EXPECT_EQ(tables[0].firstMapped, 10);
  EXPECT_EQ(tables[0].bits, 8U);
  EXPECT_THAT(*tables[0].entries, ElementsAre(51, 102));
  EXPECT_EQ(tables[0].explanation.utf8, "RAMP");
}

TEST_F(ShownImage, IsShownThroughItsFirstWindowBeforeItsTable) {
  EXPECT_EQ(show(withWindowsAndTables()), (Samples{0, 128, 255}));
}

TEST_F(ShownImage, IsShownThroughTheWindowOfTheNumberAskedFor) {
  EXPECT_EQ(showListed(withWindowsAndTables(), "2"), (Samples{0, 0, 128}));
}

TEST_F(ShownImage, IsShownThroughTheWindowOfTheNameAskedForInCapitalsOrNot) {
  EXPECT_EQ(showListed(withWindowsAndTables(), "BONE"), (Samples{0, 0, 128}));
}

TEST_F(ShownImage, CountsTablesAfterWindows) {
  EXPECT_EQ(showListed(withWindowsAndTables(), "3"), (Samples{51, 51, 102}));
  EXPECT_EQ(showListed(withWindowsAndTables(), "ramp"), (Samples{51, 51, 102}));
}

TEST_F(ShownImage, WithoutTheWindowAskedForSaysWhatThereIs) {
  EXPECT_EQ(refusal(withWindowsAndTables(), "LUNG"),
            "has no window LUNG; to choose from: 1 (10.5,21 WIDE), 2 (20.5,21 Bone), "
            "3 (table RAMP)");
  EXPECT_EQ(refusal(monochromeImage(1, 1), "1"), "has no window 1; it has none at all");
}

TEST_F(ShownImage, DoesNotShowAWindowWithoutWidth) {
  EXPECT_EQ(
      refusal(monochromeImage(1, 1).window("10", "0"), "1"),
      "has a window 1 that cannot be shown: its width is not above 0, or its VOI LUT Function "
      "is not known");
}

TEST_F(ShownImage, WithoutAWindowIsShownThroughItsTable) {
  const ImageBuilder image = monochromeImage(4, 1)
                                 .samples({0, 10, 11, 500})
                                 .withItem(DCM_VOILUTSequence, voiTable(10, {51, 102}, ""));

  EXPECT_EQ(show(image), (Samples{51, 51, 102, 102}));
}

TEST_F(ShownImage, LooksModalityValuesUpInItsTable) {
  const ImageBuilder image = monochromeImage(2, 1).samples({0, 1}).rescale("2", "10").withItem(
      DCM_VOILUTSequence, voiTable(10, {0, 1, 255}, ""));

  EXPECT_EQ(show(image), (Samples{0, 255}));
}

TEST_F(ShownImage, MapsNegativeValuesByATableOfVrSs) {
  auto table = DatasetBuilder().withSint16s(DCM_LUTDescriptor, {2, -5, 16});
  table.withWords(DCM_LUTData, {0, 65535});

  EXPECT_EQ(
      show(monochromeImage(2, 1).signed16().samples({-5, -4}).withItem(DCM_VOILUTSequence, table)),
      (Samples{0, 255}));
}

TEST_F(ShownImage, UnpacksEntriesOfEightBitsThatAreTwoInAWord) {
  auto table = DatasetBuilder().withUint16s(DCM_LUTDescriptor, {4, 0, 8});
  table.withWords(DCM_LUTData, {0x3300, 0xFF66});

  EXPECT_EQ(show(monochromeImage(4, 1).samples({0, 1, 2, 3}).withItem(DCM_VOILUTSequence, table)),
            (Samples{0x00, 0x33, 0x66, 0xFF}));
}

TEST_F(ShownImage, PassesOverTablesWithoutEntriesOrBits) {
  auto noData = DatasetBuilder().withUint16s(DCM_LUTDescriptor, {4, 0, 8});
  auto noBits = DatasetBuilder().withUint16s(DCM_LUTDescriptor, {1, 0, 0});
  noBits.withWords(DCM_LUTData, {1});
  const zr::Image image = open(monochromeImage(1, 1)
                                   .withItem(DCM_VOILUTSequence, noData)
                                   .withItem(DCM_VOILUTSequence, noBits)
                                   .withItem(DCM_VOILUTSequence, voiTable(0, {9}, "LAST")));

  ASSERT_EQ(image.frame(0).voiTables.size(), 1U);
  EXPECT_EQ(image.frame(0).voiTables[0].explanation.utf8, "LAST");
}

TEST_F(ShownImage, TakesTheTablesOfEachFrameFromItsFunctionalGroups) {
  const auto groups = [](const char* name) {
    return DatasetBuilder().withItem(
        DCM_FrameVOILUTSequence,
        DatasetBuilder().withItem(DCM_VOILUTSequence, voiTable(0, {0, 255}, name)));
  };
  const zr::Image image = open(monochromeImage(1, 1)
                                   .frames(2)
                                   .withItem(DCM_PerFrameFunctionalGroupsSequence, groups("ONE"))
                                   .withItem(DCM_PerFrameFunctionalGroupsSequence, groups("TWO")));

  ASSERT_EQ(image.frame(1).voiTables.size(), 1U);
  EXPECT_EQ(image.frame(1).voiTables[0].explanation.utf8, "TWO");
}

struct Shape {
  const char* name;
  const char* photometric;
  const char* shape;
  Samples shown;
};
class PresentationLutShape : public ShownImage, public testing::WithParamInterface<Shape> {};

TEST_P(PresentationLutShape, DecidesWhatIsShownDark) {
  ImageBuilder image = monochromeImage(2, 1).samples({0, 1}).photometric(GetParam().photometric);
  image.with(DCM_PresentationLUTShape, GetParam().shape);

  EXPECT_EQ(show(image), GetParam().shown);
}
INSTANTIATE_TEST_SUITE_P(
    Shapes, PresentationLutShape,
    testing::Values(Shape{"InverseOfMonochrome2", "MONOCHROME2", "INVERSE", {255, 0}},
                    Shape{"InverseOfMonochrome1", "MONOCHROME1", "INVERSE", {255, 0}},
                    Shape{"IdentityOfMonochrome1", "MONOCHROME1", "IDENTITY", {0, 255}},
                    Shape{"EmptyLeavesItToMonochrome1", "MONOCHROME1", "", {255, 0}}),
    support::nameOf<Shape>);

TEST_F(ShownImage, LeavesPaddingOutOfAnAutomaticWindow) {
  EXPECT_EQ(show(monochromeImage(3, 1).samples({0, 10, 20}).withUint16(DCM_PixelPaddingValue, 0)),
            (Samples{0, 0, 255}));
}

TEST_F(ShownImage, LeavesAllOfThePaddingRangeOutWhicheverEndIsTheLimit) {
  const ImageBuilder image = monochromeImage(4, 1)
                                 .signed16()
                                 .samples({-2000, -1500, 10, 20})
                                 .withSint16(DCM_PixelPaddingValue, -1400)
                                 .withSint16(DCM_PixelPaddingRangeLimit, -2000);

  EXPECT_EQ(show(image), (Samples{0, 0, 0, 255}));
}

TEST_F(ShownImage, OfOneBitIsBlackAndWhiteEvenWhenAllOfItIsOneOfThem) {
  const ImageBuilder black = monochromeImage(2, 1).unsigned8().bitsStored(1).samples({0, 0});
  const ImageBuilder white = monochromeImage(2, 1).unsigned8().bitsStored(1).samples({1, 1});

  EXPECT_EQ(show(black), (Samples{0, 0}));
  EXPECT_EQ(show(white), (Samples{255, 255}));
}

TEST(Greys, OfFloatingPointNumbersAreComputedOneByOne) {
  const float samples[] = {0.0F, 0.25F, 1.0F};
  zr::FrameTraits traits;
  traits.type = zr::SampleType::kF32;
  const zr::SampleArray frame{
      reinterpret_cast<const unsigned char*>(samples), zr::SampleType::kF32, 1, 1, 3, 1};
  const zr::FrameDisplay display{1, 0, {0.5, 1, zr::VoiFunction::kLinearExact}};

  EXPECT_THAT(zr::renderFrame(traits, frame, display).samples, ElementsAre(0, 64, 255));
}

TEST(Greys, OfSignedSamplesAreLookedUpWithTheirSign) {
  const std::int16_t samples[] = {-10, 0, 10};
  zr::FrameTraits traits;
  traits.type = zr::SampleType::kS16;
  const zr::SampleArray frame{
      reinterpret_cast<const unsigned char*>(samples), zr::SampleType::kS16, 1, 1, 3, 1};
  const zr::FrameDisplay display{1, 0, {0, 20, zr::VoiFunction::kLinearExact}};

  EXPECT_THAT(zr::renderFrame(traits, frame, display).samples, ElementsAre(0, 128, 255));
}

TEST(Greys, OfExtremesLeavePaddingOut) {
  const std::uint32_t dose[] = {0, 1000000, 2000000};
  zr::FrameTraits traits;
  traits.type = zr::SampleType::kU32;
  traits.padding = zr::PaddingRange{2000000, 2000000};
  const zr::SampleArray frame{
      reinterpret_cast<const unsigned char*>(dose), zr::SampleType::kU32, 1, 1, 3, 1};

  EXPECT_THAT(zr::extremeGreys(traits, frame, {1, 0, {1e6, 2e6, zr::VoiFunction::kLinearExact}}),
              ElementsAre(0, 128));
}

}  // namespace
