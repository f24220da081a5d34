// SPDX-License-Identifier: BSD-3-Clause
// What is said and shown of each frame: values out of functional groups, dose grids, windows.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;
using support::DatasetBuilder;
using support::ImageBuilder;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using tools::Outcome;
using tools::readPng;
using tools::runZrdcm;

DatasetBuilder line(const std::string& slope, const std::string& intercept) {
  DatasetBuilder item;
  item.with(DCM_RescaleSlope, slope).with(DCM_RescaleIntercept, intercept);
  return item;
}

DatasetBuilder window(const std::string& centre, const std::string& width) {
  DatasetBuilder item;
  item.with(DCM_WindowCenter, centre).with(DCM_WindowWidth, width);
  return item;
}

DatasetBuilder withLine(const DatasetBuilder& macro) {
  return DatasetBuilder().withItem(DCM_PixelValueTransformationSequence, macro);
}

DatasetBuilder withWindow(const DatasetBuilder& macro) {
  return DatasetBuilder().withItem(DCM_FrameVOILUTSequence, macro);
}

DatasetBuilder withPosition(const std::string& position) {
  return DatasetBuilder().withItem(DCM_PlanePositionSequence,
                                   DatasetBuilder().with(DCM_ImagePositionPatient, position));
}

DatasetBuilder transverse() {
  return DatasetBuilder().withItem(
      DCM_PlaneOrientationSequence,
      DatasetBuilder().with(DCM_ImageOrientationPatient, "1\\0\\0\\0\\1\\0"));
}

/// Frames of two pixels each.
ImageBuilder enhancedFrames(const std::vector<int>& samples) {
  return support::monochromeImage(2, 1)
      .frames(static_cast<unsigned>(samples.size() / 2))
      .samples(samples)
      .with(DCM_SOPClassUID, UID_EnhancedCTImageStorage);
}

ImageBuilder doseFrames(const std::vector<int>& samples) {
  return support::monochromeImage(2, 1)
      .frames(static_cast<unsigned>(samples.size() / 2))
      .samples(samples)
      .with(DCM_SOPClassUID, UID_RTDoseStorage)
      .with(DCM_DoseUnits, "GY")
      .with(DCM_DoseGridScaling, "0.25")
      .with(DCM_ImagePositionPatient, "1\\2\\30")
      .with(DCM_ImageOrientationPatient, "1\\0\\0\\0\\-1\\0");
}

class FrameValues : public testing::Test {
protected:
  std::string save(const ImageBuilder& image) {
    support::saveFile(*image.build(), folder_.file("in.dcm"));
    return folder_.file("in.dcm").string();
  }

  json infoOf(const ImageBuilder& image) {
    return json::parse(runZrdcm({"info", "--json", save(image)}).output).at(0).at("image");
  }

  std::string listingOf(const ImageBuilder& image) {
    return runZrdcm({"info", save(image)}).output;
  }

  Outcome decode(const ImageBuilder& image, const std::string& name,
                 const std::vector<std::string>& options = {}) {
    std::vector<std::string> arguments{"decode", save(image), "-o", folder_.file(name).string()};
    arguments.insert(arguments.end(), options.begin(), options.end());
    Outcome outcome = runZrdcm(arguments);
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    return outcome;
  }

  std::vector<std::uint16_t> picture(const std::string& name) {
    return readPng(folder_.file(name)).samples;
  }

  std::string nrrdHeader(const ImageBuilder& image) {
    decode(image, "out.nrrd");
    const std::string bytes = tools::readFile(folder_.file("out.nrrd"));
    return bytes.substr(0, bytes.find("\n\n") + 2);
  }

  support::TempDir folder_;
};

TEST_F(FrameValues, OfEnhancedImagesComeFromTheSharedGroups) {
  const auto image = enhancedFrames({0, 1, 2, 3})
                         .withItem(DCM_SharedFunctionalGroupsSequence,
                                   withLine(line("1", "-1024").with(DCM_RescaleType, "HU")));

  const json values = infoOf(image);
  EXPECT_EQ(values["rescale"], (json{1.0, -1024.0}));
  EXPECT_EQ(values["rescaleUnit"], "HU");
  EXPECT_EQ(values["perFrame"], nullptr);
  EXPECT_THAT(listingOf(image),
              HasSubstr("rescale             slope 1, intercept -1024 (HU), samples shifted by 0"));
  EXPECT_EQ(json::parse(decode(image, "out.raw", {"--json"}).output)["modality"],
            (json{1.0, -1024.0}));
  EXPECT_THAT(nrrdHeader(image), HasSubstr("\nmodality slope:=1\nmodality intercept:=-1024\n"
                                           "modality unit:=HU\n"));
}

TEST_F(FrameValues, OfAFrameGoBeforeTheSharedOnes) {
  const auto image = enhancedFrames({0, 1, 2, 3})
                         .withItem(DCM_SharedFunctionalGroupsSequence, withLine(line("1", "-1024")))
                         .withItem(DCM_PerFrameFunctionalGroupsSequence, withLine(line("2.5", "7")))
                         .withItem(DCM_PerFrameFunctionalGroupsSequence, DatasetBuilder());

  const json values = infoOf(image);
  EXPECT_EQ(values["rescale"], nullptr);
  EXPECT_EQ(values["perFrame"], (json{{"rescale", {{2.5, 7.0}, {1.0, -1024.0}}}}));
  EXPECT_THAT(listingOf(image),
              HasSubstr("rescale             differs: slope 1 to 2.5, intercept -1024 to 7, "));
  EXPECT_THAT(nrrdHeader(image), HasSubstr("\nmodality slopes:=2.5 1\n"
                                           "modality intercepts:=7 -1024\n"));
  const json second = json::parse(decode(image, "out.raw", {"--frames", "1", "--json"}).output);
  EXPECT_EQ(second["modality"], (json{1.0, -1024.0}));
  EXPECT_EQ(second["perFrame"], nullptr);
}

TEST_F(FrameValues, OfSignedSamplesTakeTheShiftBack) {
  const auto image = enhancedFrames({-1, 1}).signed16().samples({-1, 1}).withItem(
      DCM_SharedFunctionalGroupsSequence, withLine(line("2", "10")));

  EXPECT_EQ(json::parse(decode(image, "out.raw", {"--json"}).output)["modality"],
            (json{2.0, 10.0}));
  EXPECT_EQ(
      json::parse(decode(image, "out.raw", {"--json", "--values", "unsigned"}).output)["modality"],
      (json{2.0, 10.0 - 2.0 * 32768.0}));
}

TEST_F(FrameValues, MayLieFlatInAnItem) {
  const auto image = enhancedFrames({0, 1, 2, 3})
                         .withItem(DCM_SharedFunctionalGroupsSequence, line("3", "4"))
                         .withItem(DCM_PerFrameFunctionalGroupsSequence, line("5", "6"))
                         .withItem(DCM_PerFrameFunctionalGroupsSequence, DatasetBuilder());

  EXPECT_EQ(infoOf(image)["perFrame"]["rescale"], (json{{5.0, 6.0}, {3.0, 4.0}}));
}

TEST_F(FrameValues, OfEnhancedImagesAreNotTakenFromTheTopLevel) {
  const auto image =
      enhancedFrames({0, 100}).rescale("2", "3").window("1", "2").spacing("4", "5").withItem(
          DCM_SharedFunctionalGroupsSequence, DatasetBuilder());

  const json values = infoOf(image);
  EXPECT_EQ(values["rescale"], nullptr);
  EXPECT_EQ(values["windows"], nullptr);
  EXPECT_EQ(values["pixelSpacing"], nullptr);
  EXPECT_THAT(listingOf(image), HasSubstr("rescale             unknown, samples shifted by 0\n"));
  EXPECT_THAT(nrrdHeader(image), HasSubstr("modality slope:=unknown"));
}

TEST_F(FrameValues, OfSecondaryCapturesStandAtTheTopLevelAllTheSame) {
  const auto image =
      enhancedFrames({0, 1})
          .with(DCM_SOPClassUID, UID_MultiframeGrayscaleWordSecondaryCaptureImageStorage)
          .rescale("2", "3")
          .window("1", "2")
          .withItem(DCM_SharedFunctionalGroupsSequence, DatasetBuilder());

  EXPECT_EQ(infoOf(image)["rescale"], (json{2.0, 3.0}));
  EXPECT_EQ(infoOf(image)["voiWindow"], (json{1.0, 2.0}));
}

TEST_F(FrameValues, AreUnknownWhereItemsAreMissing) {
  const auto image = enhancedFrames({0, 1, 2, 3, 4, 5})
                         .withItem(DCM_SharedFunctionalGroupsSequence, withLine(line("1", "-1024")))
                         .withItem(DCM_PerFrameFunctionalGroupsSequence, DatasetBuilder())
                         .withItem(DCM_PerFrameFunctionalGroupsSequence, DatasetBuilder());

  EXPECT_EQ(infoOf(image)["perFrame"]["rescale"], (json{{1.0, -1024.0}, {1.0, -1024.0}, nullptr}));
  EXPECT_THAT(listingOf(image),
              HasSubstr("differs: slope 1, intercept -1024; unknown in 1 of 3 frames"));
  EXPECT_THAT(nrrdHeader(image), HasSubstr("modality slopes:=1 1 unknown\n"));
}

struct BrokenLine {
  const char* name;
  DatasetBuilder macro;
};

class LineOfAFrame : public FrameValues, public testing::WithParamInterface<BrokenLine> {};

// A slope of the frame is no match for an intercept of the shared item.
TEST_P(LineOfAFrame, IsTakenWholeOrNotAtAll) {
  const auto image =
      enhancedFrames({0, 1})
          .withItem(DCM_SharedFunctionalGroupsSequence, withLine(line("1", "-1024")))
          .withItem(DCM_PerFrameFunctionalGroupsSequence, withLine(GetParam().macro));

  EXPECT_EQ(infoOf(image)["rescale"], (json{1.0, -1024.0}));
}

INSTANTIATE_TEST_SUITE_P(Lines, LineOfAFrame,
                         testing::Values(BrokenLine{"SlopeAlone",
                                                    DatasetBuilder().with(DCM_RescaleSlope, "2")},
                                         BrokenLine{"EmptyIntercept", line("2", "")},
                                         BrokenLine{"SlopeOfZero", line("0", "5")},
                                         BrokenLine{"NoNumber", line("many", "5")},
                                         BrokenLine{"Infinite", line("1e999", "5")}),
                         support::nameOf<BrokenLine>);

TEST_F(FrameValues, IncludeAllWindowsWithTheirNames) {
  const auto image = enhancedFrames({0, 1}).withItem(
      DCM_SharedFunctionalGroupsSequence,
      withWindow(window("40\\600", "400\\1600.5")
                     .with(DCM_WindowCenterWidthExplanation, "SOFT\\BONE")
                     .with(DCM_VOILUTFunction, "LINEAR_EXACT")));

  EXPECT_EQ(infoOf(image)["windows"], (json::array({{{"centre", 40.0},
                                                     {"width", 400.0},
                                                     {"function", "LINEAR_EXACT"},
                                                     {"explanation", "SOFT"}},
                                                    {{"centre", 600.0},
                                                     {"width", 1600.5},
                                                     {"function", "LINEAR_EXACT"},
                                                     {"explanation", "BONE"}}})));
  EXPECT_THAT(listingOf(image), HasSubstr("window              centre 40, width 400\n"
                                          "  window 0            centre 40, width 400 (SOFT)\n"
                                          "  window 1            centre 600, width 1600.5 (BONE)"));
}

TEST_F(FrameValues, HaveTheirNamesInUtf8) {
  // The set of the dataset holds in its items too.
  auto image = enhancedFrames({0, 1}).with(DCM_SpecificCharacterSet, "ISO_IR 100");
  image.withItem(DCM_SharedFunctionalGroupsSequence,
                 withWindow(window("40\\600", "400\\1600")
                                .with(DCM_WindowCenterWidthExplanation, "K\xf6rper\\Knochen"))
                     .withItem(DCM_PixelValueTransformationSequence,
                               line("1", "0").with(DCM_RescaleType, "\xb5m")));

  const json values = infoOf(image);
  EXPECT_EQ(values["windows"][0]["explanation"], "Körper");
  EXPECT_EQ(values["windows"][1]["explanation"], "Knochen");
  EXPECT_EQ(values["rescaleUnit"], "µm");
  EXPECT_FALSE(values.contains("escaped"));
  EXPECT_FALSE(values["windows"][0].contains("escaped"));
  EXPECT_THAT(listingOf(image), HasSubstr("window 0            centre 40, width 400 (Körper)"));
  EXPECT_EQ(json::parse(decode(image, "out.raw", {"--json"}).output)["modalityUnit"], "µm");
  EXPECT_THAT(nrrdHeader(image), HasSubstr("\nmodality unit:=µm\n"));
}

// C3 B6 would be a letter of UTF-8, which is not the set of the file.
TEST_F(FrameValues, TellWhereTheirNamesAreNoCharacters) {
  const auto image =
      enhancedFrames({0, 1, 2, 3})
          .withItem(DCM_SharedFunctionalGroupsSequence,
                    withWindow(window("40\\600", "400\\1600")
                                   .with(DCM_WindowCenterWidthExplanation, "K\xc3\xb6\\BONE")))
          .withItem(DCM_PerFrameFunctionalGroupsSequence,
                    withLine(line("1", "0").with(DCM_RescaleType, "HU")))
          .withItem(DCM_PerFrameFunctionalGroupsSequence,
                    withLine(line("1", "0").with(DCM_RescaleType, "\xc2\xb5")));

  const json values = infoOf(image);
  EXPECT_EQ(values["windows"][0]["explanation"], "K\\xC3\\xB6");
  EXPECT_EQ(values["windows"][0]["escaped"], true);
  EXPECT_FALSE(values["windows"][1].contains("escaped"));
  EXPECT_EQ(values["perFrame"]["rescaleUnit"], (json{"HU", "\\xC2\\xB5"}));
  EXPECT_EQ(values["perFrame"]["escaped"], true);
  EXPECT_FALSE(values.contains("escaped"));
  const json second = json::parse(decode(image, "out.raw", {"--frames", "1", "--json"}).output);
  EXPECT_EQ(second["modalityUnit"], "\\xC2\\xB5");
  EXPECT_EQ(second["escaped"], true);
}

TEST_F(FrameValues, HaveNamesOfWholeCharactersWhereTheyAreCut) {
  std::string name = "a";
  for (int i = 0; i < 200; ++i) {
    name += "\xe9";
  }
  const auto image = support::monochromeImage(2, 1)
                         .with(DCM_SpecificCharacterSet, "ISO_IR 100")
                         .window("40", "400")
                         .with(DCM_WindowCenterWidthExplanation, name);

  const std::string shown = infoOf(image)["windows"][0]["explanation"];
  EXPECT_EQ(shown.size(), 255U);  // of 256 the last would be half a letter
  EXPECT_EQ(shown.substr(shown.size() - 2), "é");
}

TEST_F(FrameValues, ShowEachFrameThroughItsOwnWindow) {
  // With intercept -1000 the values are 0, 100 and 0, 1000; LINEAR_EXACT from 0 to 200 and to 2000.
  const auto image =
      enhancedFrames({1000, 1100, 1000, 2000})
          .withItem(DCM_SharedFunctionalGroupsSequence, withLine(line("1", "-1000")))
          .withItem(DCM_PerFrameFunctionalGroupsSequence,
                    withWindow(window("100", "200").with(DCM_VOILUTFunction, "LINEAR_EXACT")))
          .withItem(DCM_PerFrameFunctionalGroupsSequence,
                    withWindow(window("1000", "2000").with(DCM_VOILUTFunction, "LINEAR_EXACT")));

  decode(image, "out.png");

  EXPECT_THAT(picture("out-000.png"), ElementsAre(0, 128));
  EXPECT_THAT(picture("out-001.png"), ElementsAre(0, 128));
}

TEST_F(FrameValues, ShowEachFrameThroughItsOwnLine) {
  // Values 0, 50 and 0, 100 over the range 0 to 100.
  const auto image = enhancedFrames({0, 50, 0, 50})
                         .withItem(DCM_PerFrameFunctionalGroupsSequence, withLine(line("1", "0")))
                         .withItem(DCM_PerFrameFunctionalGroupsSequence, withLine(line("2", "0")));

  decode(image, "out.png");

  EXPECT_THAT(picture("out-000.png"), ElementsAre(0, 128));
  EXPECT_THAT(picture("out-001.png"), ElementsAre(0, 255));
}

TEST_F(FrameValues, ShowTheFramesOfASheetThroughTheirWindows) {
  const auto image =
      enhancedFrames({0, 0, 100, 100})
          .withItem(DCM_PerFrameFunctionalGroupsSequence,
                    withWindow(window("0", "10").with(DCM_VOILUTFunction, "LINEAR_EXACT")))
          .withItem(DCM_PerFrameFunctionalGroupsSequence,
                    withWindow(window("100", "10").with(DCM_VOILUTFunction, "LINEAR_EXACT")));

  const Outcome outcome =
      runZrdcm({"sheet", save(image), "-o", folder_.file("out.png").string(), "--json"});

  ASSERT_EQ(outcome.status, 0) << outcome.errors;
  const json tiles = json::parse(outcome.output)["tiles"];
  const tools::Png sheet = readPng(folder_.file("out.png"));
  for (std::size_t tile = 0; tile < 2; ++tile) {
    const std::size_t x =
        tiles["first"][0].get<std::size_t>() + tile * tiles["step"][0].get<std::size_t>();
    const std::size_t y = tiles["first"][1].get<std::size_t>();
    EXPECT_EQ(sheet.samples[3 * (y * sheet.columns + x)], 128) << tile;
  }
}

struct Places {
  const char* name;
  std::vector<std::string> positions;
  json frameSpacing;
};

class DistanceOfFrames : public FrameValues, public testing::WithParamInterface<Places> {};

TEST_P(DistanceOfFrames, ComesFromTheirPositions) {
  auto image = enhancedFrames(std::vector<int>(2 * GetParam().positions.size(), 0));
  image.withItem(
      DCM_SharedFunctionalGroupsSequence,
      transverse().withItem(
          DCM_PixelMeasuresSequence,
          DatasetBuilder().with(DCM_SpacingBetweenSlices, "7").with(DCM_SliceThickness, "9")));
  for (const std::string& position : GetParam().positions) {
    image.withItem(DCM_PerFrameFunctionalGroupsSequence, withPosition(position));
  }

  EXPECT_EQ(infoOf(image)["frameSpacing"], GetParam().frameSpacing);
}

INSTANTIATE_TEST_SUITE_P(
    Frames, DistanceOfFrames,
    testing::Values(Places{"Even", {"0\\0\\0", "0\\0\\2.5", "0\\0\\5"}, 2.5},
                    Places{"AgainstTheNormal", {"0\\0\\5", "0\\0\\2.5", "0\\0\\0"}, -2.5},
                    Places{"Sheared", {"0\\0\\0", "0\\3\\4", "0\\6\\8"}, 5.0},
                    Places{"Uneven", {"0\\0\\0", "0\\0\\2.5", "0\\0\\6"}, nullptr},
                    Places{"InOnePlace", {"0\\0\\1", "0\\0\\1"}, nullptr},
                    Places{"InOnePlane", {"0\\0\\1", "5\\0\\1"}, nullptr},
                    Places{"OneFrame", {"0\\0\\1"}, 7.0}, Places{"NoPosition", {"", ""}, 7.0}),
    support::nameOf<Places>);

TEST_F(FrameValues, OfUltrasoundVolumesAreInASpaceOfTheirOwn) {
  const auto image =
      enhancedFrames({0, 1})
          .with(DCM_SOPClassUID, UID_EnhancedUSVolumeStorage)
          .withItem(
              DCM_SharedFunctionalGroupsSequence,
              DatasetBuilder()
                  .withItem(DCM_PlanePositionVolumeSequence,
                            DatasetBuilder().with(DCM_ImagePositionVolume, "1\\2\\3.5"))
                  .withItem(DCM_PlaneOrientationVolumeSequence,
                            DatasetBuilder().with(DCM_ImageOrientationVolume, "1\\0\\0\\0\\1\\0")));

  const json values = infoOf(image);
  EXPECT_EQ(values["position"], (json{1.0, 2.0, 3.5}));
  EXPECT_EQ(values["space"], "volume");
  EXPECT_THAT(listingOf(image),
              HasSubstr("position            1, 2, 3.5 in the ultrasound volume"));
}

TEST_F(FrameValues, OfADoseGridAreScaledToGray) {
  const auto image =
      doseFrames({0, 1, 2, 3}).rescale("7", "7").with(DCM_GridFrameOffsetVector, "0\\2.5");

  const json values = infoOf(image);
  EXPECT_EQ(values["rescale"], (json{0.25, 0.0}));
  EXPECT_EQ(values["rescaleUnit"], "Gy");
  EXPECT_EQ(values["frameSpacing"], 2.5);
  // Rows along x, columns against y: the frames follow each other against z.
  EXPECT_EQ(values["perFrame"]["position"], (json{{1.0, 2.0, 30.0}, {1.0, 2.0, 27.5}}));
}

TEST_F(FrameValues, OfADoseGridMayBeAtHeightsInThePatient) {
  const auto image = doseFrames({0, 1, 2, 3}).with(DCM_GridFrameOffsetVector, "30\\26");

  const json values = infoOf(image);
  EXPECT_EQ(values["perFrame"]["position"], (json{{1.0, 2.0, 30.0}, {1.0, 2.0, 26.0}}));
  EXPECT_EQ(values["frameSpacing"], 4.0);
}

TEST_F(FrameValues, OfADoseGridWithoutScalingAreUnknown) {
  EXPECT_EQ(infoOf(doseFrames({0, 1}).without(DCM_DoseGridScaling).rescale("7", "7"))["rescale"],
            nullptr);
}

TEST_F(FrameValues, OfPositronEmissionAreInTheUnitsOfTheImage) {
  const auto image = support::monochromeImage(1, 1).rescale("2", "0").with(DCM_Units, "BQML");

  EXPECT_EQ(infoOf(image)["rescaleUnit"], "BQML");
}

ImageBuilder withTable(ImageBuilder image) {
  return image.withItem(DCM_ModalityLUTSequence, DatasetBuilder()
                                                     .withUint16s(DCM_LUTDescriptor, {3, 0, 16})
                                                     .withWords(DCM_LUTData, {0, 60000, 65535}));
}

struct Class {
  const char* name;
  const char* sopClass;
  const char* modality;
  bool shownThroughTable;
};

class PictureOfATable : public FrameValues, public testing::WithParamInterface<Class> {};

// Samples 0, 1, 2 through a window from 0 to 2; the table makes 60000 of 1.
TEST_P(PictureOfATable, LeavesItOutWhereItIsNotForDisplay) {
  auto image = support::monochromeImage(3, 1)
                   .samples({0, 1, 2})
                   .window("1", "2")
                   .with(DCM_VOILUTFunction, "LINEAR_EXACT")
                   .with(DCM_Modality, GetParam().modality);
  if (GetParam().sopClass != nullptr) {
    image.with(DCM_SOPClassUID, GetParam().sopClass);
  } else {
    image.without(DCM_SOPClassUID);
  }

  decode(withTable(image), "out.png");
  decode(withTable(image), "out.raw", {"--values", "unsigned"});
  const Outcome sheet =
      runZrdcm({"sheet", save(withTable(image)), "-o", folder_.file("sheet.png").string()});

  EXPECT_THAT(picture("out.png"),
              GetParam().shownThroughTable ? ElementsAre(0, 255, 255) : ElementsAre(0, 128, 255));
  EXPECT_EQ(tools::hex(tools::readFile(folder_.file("out.raw"))), "00 00 60 ea ff ff");
  EXPECT_EQ(sheet.status, 0) << sheet.errors;
}

std::vector<std::uint16_t> firstTileOf(const std::filesystem::path& sheet, const json& tiles) {
  const tools::Png png = readPng(sheet);
  std::vector<std::uint16_t> tile;
  const std::size_t left = 3 * tiles["first"][0].get<std::size_t>();
  const std::size_t top = tiles["first"][1];
  for (std::size_t row = top; row < top + tiles["size"][1].get<std::size_t>(); ++row) {
    const auto start = png.samples.begin() + static_cast<long>(row * 3 * png.columns + left);
    tile.insert(tile.end(), start, start + 3 * tiles["size"][0].get<long>());
  }
  return tile;
}

// Two frames in steps of 1 mm: the manifest and the volume keep the values of the table.
TEST_P(PictureOfATable, IsTheSameInTheSheetOfAVolume) {
  auto image = support::monochromeImage(3, 1)
                   .samples({0, 1, 2, 0, 1, 2})
                   .frames(2)
                   .frameIncrementPointer("(0018,0088)")
                   .with(DCM_SpacingBetweenSlices, "1")
                   .rescale("3", "4")
                   .window("1", "2")
                   .with(DCM_VOILUTFunction, "LINEAR_EXACT")
                   .with(DCM_Modality, GetParam().modality);
  if (GetParam().sopClass != nullptr) {
    image.with(DCM_SOPClassUID, GetParam().sopClass);
  } else {
    image.without(DCM_SOPClassUID);
  }
  const std::string file = save(withTable(image));

  const Outcome sheet =
      runZrdcm({"sheet", file, "-o", folder_.file("sheet.png").string(), "--json"});
  const Outcome split = runZrdcm({"split", file, "-o", folder_.file("split").string(), "--json"});

  ASSERT_EQ(sheet.status, 0) << sheet.errors;
  ASSERT_EQ(split.status, 0) << split.errors;
  const json tiles = json::parse(sheet.output)["tiles"];
  EXPECT_EQ(firstTileOf(folder_.file("split/volume-000.png"), tiles),
            firstTileOf(folder_.file("sheet.png"), tiles));
  EXPECT_EQ(json::parse(split.output)["modality"], (json{1.0, 0.0}));
  const std::string nrrd = tools::readFile(folder_.file("split/volume-000.nrrd"));
  EXPECT_EQ(tools::hex(nrrd.substr(nrrd.find("\n\n") + 2, 6)), "00 00 60 ea ff ff");
}

INSTANTIATE_TEST_SUITE_P(
    Classes, PictureOfATable,
    testing::Values(Class{"Angiography", UID_XRayAngiographicImageStorage, "XA", false},
                    Class{"Fluoroscopy", UID_XRayRadiofluoroscopicImageStorage, "RF", false},
                    Class{"AngiographyWithoutClass", nullptr, "XA", false},
                    Class{"DigitalXRay", UID_DigitalXRayImageStorageForPresentation, "DX", true}),
    support::nameOf<Class>);

class WindowOfTheFile : public FrameValues {};

constexpr const char* kRemark =
    "its window shows all samples in one grey; the range of its values is shown instead";

TEST_F(WindowOfTheFile, ThatShowsOneGreyGivesWayToTheRange) {
  const auto image = support::monochromeImage(3, 1).samples({0, 100, 200}).window("9000", "10");

  const Outcome outcome = decode(image, "out.png", {"--json"});

  EXPECT_THAT(picture("out.png"), ElementsAre(0, 128, 255));
  EXPECT_EQ(outcome.errors, "zrdcm: " + folder_.file("in.dcm").string() + ": " + kRemark + "\n");
  EXPECT_EQ(json::parse(outcome.output)["remark"], kRemark);
}

TEST_F(WindowOfTheFile, ThatShowsOneGreyGivesWayInSheetsAndVolumesToo) {
  const auto image = support::monochromeImage(3, 1)
                         .samples({0, 100, 200, 0, 100, 200})
                         .frames(2)
                         .window("9000", "10")
                         .frameIncrementPointer("(0018,0088)")
                         .with(DCM_SpacingBetweenSlices, "1");
  const std::string file = save(image);

  const Outcome sheet =
      runZrdcm({"sheet", file, "-o", folder_.file("sheet.png").string(), "--json"});
  const Outcome split = runZrdcm({"split", file, "-o", folder_.file("split").string(), "--json"});

  EXPECT_EQ(json::parse(sheet.output)["remark"], kRemark);
  EXPECT_EQ(sheet.errors, "zrdcm: " + file + ": " + kRemark + "\n");
  EXPECT_EQ(json::parse(split.output)["remark"], kRemark);
  EXPECT_EQ(split.errors, "zrdcm: " + file + ": " + kRemark + "\n");
}

TEST_F(WindowOfTheFile, StaysWhereAFrameShowsMoreThanOneGrey) {
  const auto image =
      support::monochromeImage(2, 1).frames(2).samples({0, 1, 9000, 9001}).window("9000.5", "2");

  const Outcome outcome = decode(image, "out.png");

  EXPECT_EQ(outcome.errors, "");
  EXPECT_THAT(picture("out-000.png"), ElementsAre(0, 0));
  EXPECT_THAT(picture("out-001.png"), ElementsAre(128, 255));
}

TEST_F(WindowOfTheFile, StaysWhereAllSamplesAreAlike) {
  const auto image = support::monochromeImage(2, 1).samples({7, 7}).window("9000", "10");

  EXPECT_EQ(decode(image, "out.png").errors, "");
  EXPECT_THAT(picture("out.png"), ElementsAre(0, 0));
}

TEST_F(WindowOfTheFile, IsNotJudgedByPadding) {
  const auto image = support::monochromeImage(3, 1)
                         .samples({0, 5000, 5100})
                         .window("100", "10")
                         .withUint16(DCM_PixelPaddingValue, 0);

  EXPECT_THAT(decode(image, "out.png").errors, HasSubstr(kRemark));
  EXPECT_THAT(picture("out.png"), ElementsAre(0, 0, 255));
}

TEST_F(WindowOfTheFile, GivesWayToThatOfTheUserWhateverItShows) {
  const auto image = support::monochromeImage(2, 1).samples({0, 100}).window("50", "100");

  EXPECT_EQ(decode(image, "out.png", {"--window", "9000,10"}).errors, "");
  EXPECT_THAT(picture("out.png"), ElementsAre(0, 0));
}

}  // namespace
