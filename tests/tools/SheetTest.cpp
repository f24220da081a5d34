// SPDX-License-Identifier: BSD-3-Clause
// zrdcm sheet: which frame stands where, how it looks, and what thousands of frames come to.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcpxitem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <memory>

namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::Le;
using tools::Outcome;
using tools::Png;
using tools::runZrdcm;

using Pixel = std::vector<std::uint16_t>;

const Pixel kGround = {17, 19, 24};
const Pixel kLabel = {206, 212, 222};
const Pixel kNotice = {255, 168, 64};
const Pixel kOverlay6000 = {255, 196, 0};

Pixel at(const Png& picture, std::size_t column, std::size_t row) {
  const auto begin =
      picture.samples.begin() + static_cast<std::ptrdiff_t>(3 * (row * picture.columns + column));
  return {begin, begin + 3};
}

bool holds(const Png& picture, const Pixel& colour) {
  for (std::size_t row = 0; row < picture.rows; ++row) {
    for (std::size_t column = 0; column < picture.columns; ++column) {
      if (at(picture, column, row) == colour) {
        return true;
      }
    }
  }
  return false;
}

Pixel gray(int level) {
  return Pixel(3, static_cast<std::uint16_t>(level));
}

// Flat frames of 4 x 4 pixels, each of one value.
support::ImageBuilder flatFrames(const std::vector<int>& values) {
  std::vector<int> samples;
  for (const int value : values) {
    samples.insert(samples.end(), 16, value);
  }
  return support::monochromeImage(4, 4)
      .unsigned8()
      .frames(static_cast<unsigned>(values.size()))
      .samples(samples)
      .window("128", "256");
}

class ContactSheet : public testing::Test {
protected:
  void draw(const DcmDataset& dataset, const std::vector<std::string>& options = {},
            E_TransferSyntax syntax = EXS_LittleEndianExplicit) {
    support::saveFile(dataset, folder_.file("in.dcm"), syntax);
    std::vector<std::string> arguments{"sheet", folder_.file("in.dcm").string(), "--json", "-o",
                                       folder_.file("out.png").string()};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const Outcome outcome = runZrdcm(arguments);
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    report_ = json::parse(outcome.output);
    picture_ = tools::readPng(folder_.file("out.png"));
    ASSERT_EQ(picture_.channels, 3);
    ASSERT_EQ(picture_.bits, 8);
  }

  std::size_t number(const char* key, std::size_t index) const {
    return report_["tiles"][key][index].get<std::size_t>();
  }
  std::size_t left(std::size_t tile) const {
    return number("first", 0) + tile % columns() * number("step", 0);
  }
  std::size_t top(std::size_t tile) const {
    return number("first", 1) + tile / columns() * number("step", 1);
  }
  std::size_t columns() const { return report_["tiles"]["columns"].get<std::size_t>(); }
  /// The pixel at fractions of the width and height of a tile's picture.
  Pixel inTile(std::size_t tile, double x = 0.5, double y = 0.5) const {
    return at(picture_,
              left(tile) + static_cast<std::size_t>(x * static_cast<double>(number("size", 0))),
              top(tile) + static_cast<std::size_t>(y * static_cast<double>(number("size", 1))));
  }

  support::TempDir folder_;
  json report_;
  Png picture_;
};

// There are capitals and digits to write with, so that any other letter is a blank: one, however
// many bytes it takes.
TEST_F(ContactSheet, HasOneBlankInItsTitleForALetterOfSeveralBytes) {
  const auto titled = [this](const std::string& name) {
    support::saveFile(*flatFrames({10, 20}).build(), folder_.file(name));
    const Outcome outcome =
        runZrdcm({"sheet", folder_.file(name).string(), "-o", folder_.file("out.png").string()});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    return tools::readPng(folder_.file("out.png")).samples;
  };

  EXPECT_EQ(titled("a\u5c71b.dcm"), titled("a b.dcm"));
  EXPECT_NE(titled("ab.dcm"), titled("a b.dcm"));
}

TEST_F(ContactSheet, HasATileForEveryFrameInOrder) {
  draw(*flatFrames({10, 80, 160, 240, 40}).build());

  EXPECT_EQ(report_["frames"], 5);
  EXPECT_EQ(report_["shown"], 5);
  EXPECT_EQ(report_["every"], 1);
  EXPECT_EQ(inTile(0), gray(10));
  EXPECT_EQ(inTile(1), gray(80));
  EXPECT_EQ(inTile(2), gray(160));
  EXPECT_EQ(inTile(3), gray(240));
  EXPECT_EQ(inTile(4), gray(40));
}

/// Files of one frame each.
class ContactSheetOfASeries : public ContactSheet {
protected:
  std::string add(const DcmDataset& dataset) {
    files_.push_back(folder_.file(std::to_string(files_.size()) + ".dcm").string());
    support::saveFile(dataset, files_.back(), EXS_LittleEndianExplicit);
    return files_.back();
  }

  Outcome drawSeries() {
    std::vector<std::string> arguments{"sheet", "--json", "-o", folder_.file("out.png").string()};
    arguments.insert(arguments.end(), files_.begin(), files_.end());
    return runZrdcm(arguments);
  }

  std::vector<std::string> files_;
};

TEST_F(ContactSheetOfASeries, HasATileForEveryFileInOrder) {
  for (const int value : {160, 10, 240}) {
    add(*flatFrames({value}).build());
  }

  const Outcome outcome = drawSeries();

  ASSERT_EQ(outcome.status, 0) << outcome.errors;
  report_ = json::parse(outcome.output);
  picture_ = tools::readPng(folder_.file("out.png"));
  EXPECT_EQ(report_["files"], json(files_));
  EXPECT_EQ(report_["frames"], 3);
  EXPECT_EQ(inTile(0), gray(160));
  EXPECT_EQ(inTile(1), gray(10));
  EXPECT_EQ(inTile(2), gray(240));
}

// Air in front of a head: the window of the first file has nothing of that file in it.
TEST_F(ContactSheetOfASeries, KeepsTheWindowThatOtherFilesHaveSomethingIn) {
  add(*support::monochromeImage(2, 1).samples({0, 5}).window("150", "100").build());
  add(*support::monochromeImage(2, 1).samples({100, 200}).window("150", "100").build());

  const Outcome outcome = drawSeries();

  ASSERT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_EQ(outcome.errors, "");
  report_ = json::parse(outcome.output);
  picture_ = tools::readPng(folder_.file("out.png"));
  EXPECT_EQ(report_["remark"], nullptr);
  EXPECT_EQ(inTile(0), gray(0));
}

TEST_F(ContactSheetOfASeries, ShowsTheRangeWhereNoFileHasAnythingInTheWindow) {
  add(*support::monochromeImage(2, 1).samples({0, 5}).window("150", "100").build());
  add(*support::monochromeImage(2, 1).samples({2, 7}).window("150", "100").build());

  const Outcome outcome = drawSeries();

  ASSERT_EQ(outcome.status, 0);
  report_ = json::parse(outcome.output);
  EXPECT_NE(report_["remark"], nullptr);
}

struct Stranger {
  const char* name;
  support::ImageBuilder image;
  const char* message;
};

class StrangerInASeries : public ContactSheetOfASeries,
                          public testing::WithParamInterface<Stranger> {};

TEST_P(StrangerInASeries, IsNamed) {
  const std::string first = add(*flatFrames({10}).build());
  const std::string second = add(*GetParam().image.build());

  const Outcome outcome = drawSeries();

  EXPECT_EQ(outcome.status, 1);
  const std::string message = GetParam().message;
  EXPECT_EQ(outcome.errors,
            "zrdcm: " + second + ": " + message + (message.back() == ' ' ? first : "") + "\n");
  EXPECT_FALSE(std::filesystem::exists(folder_.file("out.png")));
}

INSTANTIATE_TEST_SUITE_P(
    Files, StrangerInASeries,
    testing::Values(
        Stranger{"SeveralFrames", flatFrames({1, 2}),
                 "has several frames: a sheet of several files wants one frame each"},
        Stranger{"AnotherSize", support::monochromeImage(2, 2).unsigned8().samples({1, 2, 3, 4}),
                 "has pixels of another size or kind than "},
        Stranger{"AnotherRescaleLine",
                 flatFrames({1}).with(DCM_RescaleSlope, "2").with(DCM_RescaleIntercept, "0"),
                 "has another rescale line than "}),
    support::nameOf<Stranger>);

TEST_F(ContactSheet, IsAsLargeAsItSaysAndDarkBetweenTheTiles) {
  draw(*flatFrames({255, 255}).build(), {"--columns", "1"});

  EXPECT_EQ(report_["size"], (json{picture_.columns, picture_.rows}));
  EXPECT_EQ(report_["tiles"]["rows"], 2);
  EXPECT_EQ(at(picture_, 0, 0), kGround);
  EXPECT_EQ(at(picture_, left(0) + number("size", 0) + 3, top(0)), kGround);
  EXPECT_EQ(inTile(0, 0, 0), gray(255));
  EXPECT_EQ(inTile(1, 0.999, 0.999), gray(255));
}

TEST_F(ContactSheet, LeavesThePlacesBehindTheLastFrameDark) {
  draw(*flatFrames({255, 255, 255}).build(), {"--columns", "2"});

  EXPECT_EQ(inTile(2), gray(255));
  EXPECT_EQ(inTile(3), kGround);
}

// The letter 1 in dots: its seven rows are 00100 01100 00100 00100 00100 00100 01110.
TEST_F(ContactSheet, NumbersTheFramesBelowTheirTiles) {
  draw(*flatFrames({0, 0, 0}).build());

  std::vector<std::string> dots;
  for (std::size_t y = 0; y < 7; ++y) {
    std::string row;
    for (std::size_t x = 0; x < 5; ++x) {
      const Pixel dot = at(picture_, left(1) + x, top(1) + number("size", 1) + 5 + y);
      row += dot == kLabel ? '#' : '.';
    }
    dots.push_back(row);
  }
  EXPECT_THAT(dots, ElementsAre("..#..", ".##..", "..#..", "..#..", "..#..", "..#..", ".###."));
}

TEST_F(ContactSheet, ShowsFramesThroughTheWindowOfTheUser) {
  draw(*flatFrames({10, 20, 30}).build(), {"--window", "20.5,21"});

  EXPECT_EQ(inTile(0), gray(0));
  EXPECT_EQ(inTile(1), gray(128));
  EXPECT_EQ(inTile(2), gray(255));
}

TEST_F(ContactSheet, SpreadsTheValuesOfAllFramesWhereThereIsNoWindow) {
  draw(*support::monochromeImage(2, 1).frames(3).samples({100, 100, 150, 150, 200, 200}).build());

  EXPECT_EQ(inTile(0), gray(0));
  EXPECT_EQ(inTile(1), gray(128));
  EXPECT_EQ(inTile(2), gray(255));
}

TEST_F(ContactSheet, DrawsOverlaysInTheColourOfTheirGroupOnTheirFrame) {
  draw(*support::monochromeImage(8, 8)
            .bitsStored(8)
            .frames(2)
            .samples(std::vector<int>(128, 0))
            .window("128", "256")
            .overlayBits(0x6000, 12, {{2, 5}}, 1)
            .with(DcmTagKey(0x6000, 0x0015), EVR_IS, "2")
            .build());

  EXPECT_EQ(report_["overlayGroups"], json::array({0x6000}));
  EXPECT_EQ(inTile(1, 2.5 / 8, 5.5 / 8), kOverlay6000);
  EXPECT_EQ(inTile(1, 3.5 / 8, 5.5 / 8), gray(0));
  EXPECT_EQ(inTile(0, 2.5 / 8, 5.5 / 8), gray(0));
}

// 1024 columns shrink to 512: a line of one pixel keeps its full colour.
TEST_F(ContactSheet, KeepsThinOverlayLinesVisible) {
  std::vector<support::Pixel> line;
  for (int y = 0; y < 8; ++y) {
    line.push_back({500, y});
  }
  draw(*support::monochromeImage(1024, 8)
            .bitsStored(8)
            .samples(std::vector<int>(8192, 0))
            .window("128", "256")
            .overlayBits(0x6000, 12, line)
            .build());

  ASSERT_EQ(number("size", 0), 512U);
  EXPECT_EQ(at(picture_, left(0) + 250, top(0) + 1), kOverlay6000);
  EXPECT_EQ(at(picture_, left(0) + 252, top(0) + 1), gray(0));
}

TEST_F(ContactSheet, AveragesWhatItShrinks) {
  std::vector<int> stripes;
  for (int i = 0; i < 2048 * 4; ++i) {
    stripes.push_back(i % 2 * 200);
  }
  draw(
      *support::monochromeImage(2048, 4).unsigned8().samples(stripes).window("128", "256").build());

  EXPECT_EQ(inTile(0), gray(100));
}

TEST_F(ContactSheet, GivesFramesTheShapeThatTheirPixelsHave) {
  draw(*flatFrames({1, 2}).spacing("3", "1.5").build());

  EXPECT_EQ(number("size", 1), 2 * number("size", 0));
}

struct Coding {
  const char* name;
  E_TransferSyntax syntax;
};

class ContactSheetOfColour : public ContactSheet, public testing::WithParamInterface<Coding> {};

TEST_P(ContactSheetOfColour, ShowsEveryFrameInItsOwnColour) {
  std::vector<int> samples;
  for (const std::vector<int>& colour : {std::vector{250, 10, 20}, {30, 240, 50}, {60, 70, 230}}) {
    for (int pixel = 0; pixel < 64; ++pixel) {
      samples.insert(samples.end(), colour.begin(), colour.end());
    }
  }
  const auto image = support::rgbImage(8, 8).frames(3).samples(samples).build();
  const bool compressed = GetParam().syntax != EXS_LittleEndianExplicit;

  draw(compressed ? *support::compress(*image, GetParam().syntax) : *image, {}, GetParam().syntax);

  EXPECT_EQ(report_["frames"], 3);
  EXPECT_EQ(inTile(0), (Pixel{250, 10, 20}));
  EXPECT_EQ(inTile(1), (Pixel{30, 240, 50}));
  EXPECT_EQ(inTile(2), (Pixel{60, 70, 230}));
}

INSTANTIATE_TEST_SUITE_P(Codings, ContactSheetOfColour,
                         testing::Values(Coding{"Native", EXS_LittleEndianExplicit},
                                         Coding{"Rle", EXS_RLELossless},
                                         Coding{"JpegLossless", EXS_JPEGProcess14SV1},
                                         Coding{"JpegLs", EXS_JPEGLSLossless}),
                         support::nameOf<Coding>);

// The same image with every frame in two fragments, so that they do not count the frames any more.
std::unique_ptr<DcmDataset> inHalves(DcmDataset& dataset, E_TransferSyntax syntax) {
  DcmElement* element = nullptr;
  DcmPixelSequence* frames = nullptr;
  EXPECT_TRUE(dataset.findAndGetElement(DCM_PixelData, element).good());
  EXPECT_TRUE(dynamic_cast<DcmPixelData&>(*element)
                  .getEncapsulatedRepresentation(syntax, nullptr, frames)
                  .good());
  auto halves = std::make_unique<DcmPixelSequence>(DcmTag(DCM_PixelData, EVR_OB));
  const auto append = [&halves](Uint8* bytes, Uint32 count) {
    auto* const item = new DcmPixelItem(DcmTag(DCM_Item, EVR_OB));
    EXPECT_TRUE(item->putUint8Array(bytes, count).good());
    EXPECT_TRUE(halves->insert(item).good());
  };
  append(nullptr, 0);
  for (unsigned long i = 1; i < frames->card(); ++i) {
    DcmPixelItem* item = nullptr;
    Uint8* bytes = nullptr;
    EXPECT_TRUE(frames->getItem(item, i).good());
    EXPECT_TRUE(item->getUint8Array(bytes).good());
    const Uint32 half = item->getLength() / 4 * 2;
    append(bytes, half);
    append(bytes + half, item->getLength() - half);
  }
  auto split = std::make_unique<DcmDataset>(dataset);
  auto pixelData = std::make_unique<DcmPixelData>(DcmTag(DCM_PixelData, EVR_OB));
  pixelData->putOriginalRepresentation(syntax, nullptr, halves.release());
  EXPECT_TRUE(split->insert(pixelData.release(), true).good());
  return split;
}

TEST_F(ContactSheet, ShowsColourFramesOfSeveralFragments) {
  std::vector<int> samples(3 * 64, 250);
  samples.insert(samples.end(), 3 * 64, 30);
  const auto image = support::rgbImage(8, 8).frames(2).samples(samples).build();
  const auto compressed = support::compress(*image, EXS_JPEGProcess14SV1);

  draw(*inHalves(*compressed, EXS_JPEGProcess14SV1), {}, EXS_JPEGProcess14SV1);

  EXPECT_EQ(report_["frames"], 2);
  EXPECT_EQ(inTile(0), gray(250));
  EXPECT_EQ(inTile(1), gray(30));
}

TEST_F(ContactSheet, PutsTheSlicesOfGatedVolumesIntoRows) {
  draw(*flatFrames({0, 1, 2, 3, 4, 5})
            .frameIncrementPointer("(0054,0060)\\(0054,0070)\\(0054,0080)")
            .with(DCM_NumberOfSlices, EVR_US, "3")
            .build());

  EXPECT_EQ(columns(), 3U);
  EXPECT_EQ(report_["tiles"]["rows"], 2);
}

// Tiles of 64 pixels fit 54 times into the width of 4096 and 45 times into its height, 2430 in
// all: of 6000 frames every third is shown, 2000 of them.
TEST_F(ContactSheet, ShowsEveryNthOfThousandsOfFramesAndSaysSo) {
  std::vector<int> values;
  for (int frame = 0; frame < 6000; ++frame) {
    values.push_back(frame % 256);
  }

  draw(*flatFrames(values).build());

  EXPECT_EQ(report_["frames"], 6000);
  EXPECT_EQ(report_["every"], 3);
  EXPECT_EQ(report_["shown"], 2000);
  EXPECT_THAT(picture_.columns, Le(4096U));
  EXPECT_THAT(picture_.rows, Le(4096U));
  EXPECT_EQ(inTile(1), gray(3));
  EXPECT_EQ(inTile(1999), gray(5997 % 256));
  EXPECT_TRUE(holds(picture_, kNotice));
}

// 400 tiles of 96 pixels do not fit into 1600 x 1600, but into 4096 x 4096.
TEST_F(ContactSheet, GrowsBeyondAScreenBeforeFramesAreLeftOut) {
  draw(*flatFrames(std::vector<int>(400, 80)).build());

  EXPECT_EQ(report_["shown"], 400);
  EXPECT_EQ(report_["tiles"]["size"], (json{96, 96}));
  EXPECT_THAT(picture_.columns, testing::AllOf(testing::Gt(1600U), Le(4096U)));
  EXPECT_EQ(inTile(399), gray(80));
}

TEST_F(ContactSheet, FillsItsRowsWhereItCan) {
  draw(*flatFrames(std::vector<int>(16, 0)).build());

  EXPECT_EQ(columns(), 4U);
}

TEST_F(ContactSheet, OfFewFramesSaysNothingOfFramesLeftOut) {
  draw(*flatFrames({0, 1}).build());

  EXPECT_FALSE(holds(picture_, kNotice));
}

TEST_F(ContactSheet, IsNotWrittenWhenAFrameDoesNotDecode) {
  const auto compressed =
      support::compress(*support::rgbImage(8, 8).frames(2).build(), EXS_JPEGProcess14SV1);
  support::saveFile(*compressed, folder_.file("in.dcm"), EXS_JPEGProcess14SV1);
  // The second frame begins with the last SOI marker of the file; without it it is no JPEG.
  std::string bytes = tools::readFile(folder_.file("in.dcm"));
  bytes[bytes.rfind("\xff\xd8\xff")] = '\x00';
  tools::writeFile(folder_.file("in.dcm"), bytes);

  const Outcome outcome =
      runZrdcm({"sheet", folder_.file("in.dcm").string(), "-o", folder_.file("out.png").string()});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errorLines(), 1U);
  EXPECT_THAT(outcome.errors, testing::HasSubstr("in.dcm: frame 1: "));
  EXPECT_THAT(tools::namesIn(folder_.path()), ElementsAre("in.dcm"));
}

}  // namespace
