// SPDX-License-Identifier: BSD-3-Clause
// zrdcm info: the JSON that others parse, and the listing.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

namespace {

using nlohmann::json;
using support::ImageBuilder;
using testing::HasSubstr;
using tools::Outcome;
using tools::runZrdcm;

class ZrdcmInfo : public testing::Test {
protected:
  std::string save(const DcmDataset& dataset, const std::string& name = "image.dcm",
                   E_TransferSyntax syntax = EXS_LittleEndianExplicit) {
    support::saveFile(dataset, folder_.file(name), syntax);
    return folder_.file(name).string();
  }

  static json reportOf(const std::string& file) {
    const Outcome outcome = runZrdcm({"info", "--json", file});
    const json reports = json::parse(outcome.output);
    EXPECT_EQ(reports.size(), 1U);
    return reports.at(0);
  }

  support::TempDir folder_;
};

TEST_F(ZrdcmInfo, ReportsTheAttributesOfASlice) {
  const std::string file = save(*support::ctSlice(4, 3)
                                     .signed16()
                                     .bitsStored(12)
                                     .rescale("2", "-1000")
                                     .window("40", "400")
                                     .spacing("0.5", "0.7")
                                     .build());

  const json report = reportOf(file);

  EXPECT_EQ(report["file"], file);
  EXPECT_EQ(report["ok"], true);
  EXPECT_EQ(report["error"], nullptr);
  EXPECT_EQ(report["multiFrame"], false);
  EXPECT_EQ(report["multiFrameVolume"], false);
  EXPECT_EQ(report["enhanced"], false);
  EXPECT_EQ(report["image"], (json{{"columns", 4},
                                   {"rows", 3},
                                   {"frames", 1},
                                   {"bytesPerSample", 2},
                                   {"samplesPerPixel", 1},
                                   {"lossy", false},
                                   {"rescale", {2.0, -1000.0}},
                                   {"sampleOffset", 32768.0},
                                   {"frameSpacing", nullptr},
                                   {"rescaleUnit", nullptr},
                                   {"voiWindow", {40.0, 400.0}},
                                   {"windows", json::array({{{"centre", 40.0},
                                                             {"width", 400.0},
                                                             {"function", "LINEAR"},
                                                             {"explanation", nullptr}}})},
                                   {"pixelSpacing", {0.7, 0.5}},
                                   {"position", nullptr},
                                   {"orientation", nullptr},
                                   {"space", nullptr},
                                   {"perFrame", nullptr}}));
  EXPECT_EQ(report["overlays"], json::array());
  EXPECT_EQ(report["splitting"]["splittable"], false);
  EXPECT_EQ(report["splitting"]["reason"], "no Number of Frames");
}

TEST_F(ZrdcmInfo, ReportsAbsentPairsAsNull) {
  const json report = reportOf(save(*support::monochromeImage(2, 2).build()));

  EXPECT_EQ(report["image"]["rescale"], nullptr);
  EXPECT_EQ(report["image"]["voiWindow"], nullptr);
  EXPECT_EQ(report["image"]["pixelSpacing"], nullptr);
  EXPECT_EQ(report["luts"]["modality"], nullptr);
  EXPECT_EQ(report["luts"]["palette"], nullptr);
}

TEST_F(ZrdcmInfo, FindsOverlaysOfEveryFrame) {
  const std::string file = save(*support::monochromeImage(4, 3)
                                     .bitsStored(12)
                                     .frames(3)
                                     .overlayBits(0x6002, 13, {{1, 1}, {2, 1}}, 0)
                                     .build());

  const json report = reportOf(file);

  EXPECT_EQ(report["overlays"],
            json::array({{{"group", 0x6002}, {"frame", 0}, {"origin", {1, 1}}, {"size", {2, 1}}}}));
}

TEST_F(ZrdcmInfo, ShowsWhichFramesMakeUpTheVolumes) {
  const std::string file = save(*support::monochromeImage(2, 2)
                                     .frames(4)
                                     .frameIncrementPointer("(0054,0080)")
                                     .with(DCM_SpacingBetweenSlices, "-1")
                                     .with(DCM_NumberOfSlices, EVR_US, "4")
                                     .withUint16s(DCM_SliceVector, {3, 1, 4, 2})
                                     .build());

  const json report = reportOf(file);

  EXPECT_EQ(report["multiFrame"], true);
  EXPECT_EQ(report["multiFrameVolume"], true);
  EXPECT_EQ(report["splitting"], (json{{"splittable", true},
                                       {"reason", nullptr},
                                       {"reversed", true},
                                       {"pointer", "(0054,0080)"},
                                       {"pointerKind", "slice vector"},
                                       {"timeSlots", nullptr},
                                       {"rrIntervals", nullptr},
                                       {"volumes", {{1, 3, 0, 2}}}}));
}

TEST_F(ZrdcmInfo, CountsTheGatesOfGatedData) {
  const std::string file = save(*support::monochromeImage(2, 2)
                                     .frames(4)
                                     .frameIncrementPointer("(0054,0060)\\(0054,0070)\\(0054,0080)")
                                     .with(DCM_SpacingBetweenSlices, "1")
                                     .with(DCM_NumberOfSlices, EVR_US, "2")
                                     .with(DCM_NumberOfTimeSlots, EVR_US, "2")
                                     .with(DCM_NumberOfRRIntervals, EVR_US, "1")
                                     .withUint16s(DCM_RRIntervalVector, {1, 1, 1, 1})
                                     .withUint16s(DCM_TimeSlotVector, {1, 2, 1, 2})
                                     .withUint16s(DCM_SliceVector, {1, 1, 2, 2})
                                     .build());

  const json splitting = reportOf(file)["splitting"];

  EXPECT_EQ(splitting["timeSlots"], 2);
  EXPECT_EQ(splitting["rrIntervals"], 1);
  EXPECT_EQ(splitting["volumes"], (json{{0, 2}, {1, 3}}));
  EXPECT_THAT(
      runZrdcm({"info", file}).output,
      HasSubstr("splits              into 2 volumes of 2 slices (2 time slots x 1 R-R interval)"));
}

TEST_F(ZrdcmInfo, NamesWhatTheFramesAreOrderedBy) {
  const std::string file =
      save(*support::monochromeImage(2, 2).frames(2).frameIncrementPointer("(0018,1065)").build());

  EXPECT_EQ(reportOf(file)["splitting"]["pointerKind"], "frame time vector");
  EXPECT_THAT(runZrdcm({"info", file}).output,
              HasSubstr("frames by           frame time vector (0018,1065)"));
}

TEST_F(ZrdcmInfo, SaysWhyColourFramesDoNotSplit) {
  const std::string file = save(*support::rgbImage(2, 2)
                                     .frames(2)
                                     .frameIncrementPointer("(0018,1063)")
                                     .with(DCM_SpacingBetweenSlices, "1")
                                     .build());

  const json report = reportOf(file);

  EXPECT_EQ(report["image"]["frames"], 2);
  EXPECT_EQ(report["image"]["samplesPerPixel"], 3);
  EXPECT_EQ(report["splitting"]["splittable"], false);
  EXPECT_EQ(report["splitting"]["reason"], "colour frames are kept together");
}

TEST_F(ZrdcmInfo, TellsTheTransferSyntaxOfTheFileNotOfTheDecodedSamples) {
  const auto dataset = support::rgbImage(16, 16).build();
  const std::string file =
      save(*support::compress(*dataset, EXS_JPEGProcess1), "jpeg.dcm", EXS_JPEGProcess1);

  const json report = reportOf(file);

  EXPECT_EQ(report["transferSyntax"]["uid"], "1.2.840.10008.1.2.4.50");
  EXPECT_EQ(report["image"]["lossy"], true);
  EXPECT_EQ(report["pixelFormat"]["photometricInterpretation"], "YBR_FULL_422");
}

TEST_F(ZrdcmInfo, GoesOnAfterABadFile) {
  const std::string good = save(*support::monochromeImage(2, 2).build(), "good.dcm");
  const std::string bad = folder_.file("missing.dcm").string();

  const Outcome outcome = runZrdcm({"info", "--json", bad, good});

  const json reports = json::parse(outcome.output);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, "zrdcm: " + bad + ": does not exist\n");
  ASSERT_EQ(reports.size(), 2U);
  EXPECT_EQ(reports[0]["ok"], false);
  EXPECT_EQ(reports[0]["error"], "does not exist");
  EXPECT_EQ(reports[0]["image"], nullptr);
  EXPECT_EQ(reports[1]["ok"], true);
}

TEST_F(ZrdcmInfo, DescribesAnObjectWithoutPixels) {
  support::DatasetBuilder builder;
  builder.with(DCM_SOPClassUID, UID_RTPlanStorage).with(DCM_Modality, "RTPLAN");
  const std::string file = save(*builder.build());

  const json report = reportOf(file);

  EXPECT_EQ(report["ok"], true);
  EXPECT_EQ(report["error"], nullptr);
  EXPECT_EQ(report["content"], "a radiotherapy plan");
  EXPECT_EQ(report["image"], nullptr);
  EXPECT_EQ(report["splitting"], nullptr);
  EXPECT_EQ(report["sopClass"]["uid"], UID_RTPlanStorage);
  EXPECT_EQ(report["modality"], "RTPLAN");
  EXPECT_EQ(report["multiFrame"], false);
}

TEST_F(ZrdcmInfo, ReportsATableThatIsWiderThanTheSamples) {
  support::DatasetBuilder table;
  table.withUint16s(DCM_LUTDescriptor, {4, 0, 16}).withWords(DCM_LUTData, {0, 1000, 2000, 3000});
  auto image = support::monochromeImage(2, 1).unsigned8().samples({1, 3});
  image.withItem(DCM_ModalityLUTSequence, table);

  const json report = reportOf(save(*image.build()));

  EXPECT_EQ(report["ok"], true);
  EXPECT_EQ(report["luts"]["modality"],
            (json{{"entries", 4}, {"firstMapped", 0}, {"values", 1}, {"bits", 16}}));
  EXPECT_EQ(report["image"]["bytesPerSample"], 2);  // as the values of the table are decoded
}

TEST_F(ZrdcmInfo, ListsForPeopleWhatTheJsonHolds) {
  const std::string file =
      save(*support::ctSlice(4, 3).rescale("2", "-1000").window("40", "400").build());

  const Outcome outcome = runZrdcm({"info", file});

  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.output, HasSubstr(file + "\n"));
  EXPECT_THAT(outcome.output, HasSubstr("size                4 x 3 x 1 (columns, rows, frames)"));
  EXPECT_THAT(outcome.output, HasSubstr("window              centre 40, width 400"));
  EXPECT_THAT(outcome.output, HasSubstr("slope 2, intercept -1000"));
}

TEST_F(ZrdcmInfo, ListsOverlaysAndTables) {
  support::DatasetBuilder table;
  table.withUint16s(DCM_LUTDescriptor, {4, 10, 16}).withWords(DCM_LUTData, {0, 300, 600, 65535});
  auto image = support::monochromeImage(4, 3).bitsStored(12).frames(3).overlayBits(
      0x6002, 13, {{1, 1}, {2, 1}}, 0);
  image.withItem(DCM_ModalityLUTSequence, table);

  const Outcome outcome = runZrdcm({"info", save(*image.build())});

  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_THAT(outcome.output, HasSubstr("kind                single image\n"));
  EXPECT_THAT(outcome.output,
              HasSubstr("pixels              MONOCHROME2, 12 bits in 16, high bit 11, unsigned\n"));
  EXPECT_THAT(outcome.output,
              HasSubstr("rescale             slope 1, intercept 0, samples shifted by 0\n"));
  EXPECT_THAT(outcome.output, HasSubstr("window              unknown\n"));
  EXPECT_THAT(outcome.output, HasSubstr("pixel spacing       unknown\n"));
  EXPECT_THAT(outcome.output,
              HasSubstr("modality LUT        4 entries of 1 x 16 bits, first maps 10\n  palette"
                        "             none\n"));
  EXPECT_THAT(outcome.output, HasSubstr("overlay 6002        frame 0, 2 x 1 at (1, 1)\n"));
  EXPECT_THAT(outcome.output, HasSubstr("splits              no: "));
}

TEST_F(ZrdcmInfo, ListsAPalette) {
  const Outcome outcome = runZrdcm({"info", save(*support::paletteImage(2, 2).build())});

  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_THAT(outcome.output, HasSubstr("decoded             3 x 8 bits a pixel\n"));
  EXPECT_THAT(outcome.output,
              HasSubstr("palette             256 entries of 3 x 16 bits, first maps 0\n"));
  EXPECT_THAT(outcome.output, HasSubstr("overlays            none embedded\n"));
}

TEST_F(ZrdcmInfo, ListsAnObjectWithoutPixels) {
  support::DatasetBuilder builder;
  builder.with(DCM_SOPClassUID, UID_RTPlanStorage).with(DCM_Modality, "RTPLAN");
  const std::string file = save(*builder.build());

  const Outcome outcome = runZrdcm({"info", file});

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors, "");
  EXPECT_THAT(outcome.output,
              HasSubstr("object              RT Plan Storage (1.2.840.10008.5.1.4.1.1.481.5)\n"));
  EXPECT_THAT(outcome.output,
              HasSubstr("content             a radiotherapy plan, without pixels\n"));
  EXPECT_THAT(outcome.output, testing::Not(HasSubstr("pixels              ")));
}

TEST_F(ZrdcmInfo, ListsTheClassOfAnObject) {
  const auto listed = [this](const ImageBuilder& image) {
    return runZrdcm({"info", save(*image.build())}).output;
  };

  EXPECT_THAT(listed(support::monochromeImage(2, 2).with(DCM_SOPClassUID, "1.2.3.4")),
              HasSubstr("object              1.2.3.4\n"));
  EXPECT_THAT(listed(support::monochromeImage(2, 2).without(DCM_SOPClassUID)),
              HasSubstr("object              -\n"));
}

TEST_F(ZrdcmInfo, ListsVolumesOfDifferentSizesInReverse) {
  // The third frame's slice is beyond the two frames of its volume, so the volume keeps one.
  const std::string file = save(*support::monochromeImage(2, 2)
                                     .frames(4)
                                     .frameIncrementPointer("(0054,0060)\\(0054,0070)\\(0054,0080)")
                                     .with(DCM_SpacingBetweenSlices, "-1")
                                     .with(DCM_NumberOfSlices, EVR_US, "3")
                                     .with(DCM_NumberOfTimeSlots, EVR_US, "1")
                                     .with(DCM_NumberOfRRIntervals, EVR_US, "2")
                                     .withUint16s(DCM_RRIntervalVector, {1, 1, 2, 2})
                                     .withUint16s(DCM_TimeSlotVector, {1, 1, 1, 1})
                                     .withUint16s(DCM_SliceVector, {1, 2, 3, 1})
                                     .build());

  const Outcome outcome = runZrdcm({"info", file});

  EXPECT_THAT(outcome.output, HasSubstr("kind                multi-frame, volume\n"));
  EXPECT_THAT(outcome.output,
              HasSubstr("splits              into 2 volumes of 1 to 2 slices (1 time slot x 2 R-R "
                        "intervals), reversed\n"));
}

TEST_F(ZrdcmInfo, ListsAPointerThatNobodyKnows) {
  const std::string file =
      save(*support::monochromeImage(2, 2).frames(2).frameIncrementPointer("(0020,0013)").build());

  EXPECT_THAT(runZrdcm({"info", file}).output, HasSubstr("frames by           (0020,0013)\n"));
}

TEST_F(ZrdcmInfo, ListsWhatIsLossy) {
  const auto dataset = support::rgbImage(16, 16).build();
  const std::string file =
      save(*support::compress(*dataset, EXS_JPEGProcess1), "jpeg.dcm", EXS_JPEGProcess1);

  const Outcome outcome = runZrdcm({"info", file});

  EXPECT_THAT(outcome.output, HasSubstr("decoded             3 x 8 bits a pixel, lossy\n"));
  EXPECT_THAT(outcome.output, HasSubstr("pixels              YBR_FULL_422, 8 bits in 8, "));
}

TEST_F(ZrdcmInfo, ShowsItsProgressOnATerminalAlone) {
  const std::string file = save(*support::monochromeImage(2, 2).build());
  const std::string command = std::string(ZRDCM_PROGRAM) + " info --json " + file + " " + file;

  const Outcome onTerminal = tools::runProgram({"script", "-qec", command, "/dev/null"});

  EXPECT_EQ(onTerminal.status, 0);
  EXPECT_THAT(onTerminal.output, HasSubstr("\rreading [###############...............] 1/2"));
  EXPECT_THAT(onTerminal.output, HasSubstr("\r\x1b[K"));
  EXPECT_EQ(runZrdcm({"info", "--json", file, file}).errors, "");
}

TEST_F(ZrdcmInfo, ShowsNoControlCharactersFromTheFile) {
  const std::string file =
      save(*support::monochromeImage(2, 2).with(DCM_Modality, "C\x1b[2JT").build());

  const Outcome outcome = runZrdcm({"info", file});

  EXPECT_EQ(outcome.output.find('\x1b'), std::string::npos);
  EXPECT_THAT(outcome.output, HasSubstr("C [2JT"));
}

TEST_F(ZrdcmInfo, WritesJsonThoughTheFileHoldsNoUtf8) {
  const std::string file =
      save(*support::monochromeImage(2, 2).with(DCM_Modality, "\xff\xfe").build());

  const auto report = reportOf(file);
  EXPECT_EQ(report["modality"], "\\xFF\\xFE");
  EXPECT_EQ(report["escaped"], true);
}

TEST_F(ZrdcmInfo, ReportsWhomWhenAndByWhat) {
  const json report = reportOf(save(*support::ctSlice(2, 2)
                                         .with(DCM_SpecificCharacterSet, "ISO_IR 100")
                                         .with(DCM_PatientName, "M\xFCller")
                                         .with(DCM_StudyDate, "20260131")
                                         .with(DCM_SeriesNumber, "3")
                                         .with(DCM_InstanceNumber, "7")
                                         .with(DCM_SoftwareVersions, "1\\2")
                                         .with(DCM_SOPClassUID, UID_CTImageStorage)
                                         .build()));

  EXPECT_EQ(
      report["patient"],
      (json{{"name", "M\xC3\xBCller"}, {"id", nullptr}, {"birthDate", nullptr}, {"sex", nullptr}}));
  EXPECT_EQ(report["study"]["date"], "20260131");
  EXPECT_EQ(report["study"]["description"], nullptr);
  EXPECT_EQ(report["series"]["number"], 3);
  EXPECT_EQ(report["instance"]["number"], 7);
  EXPECT_EQ(report["device"]["softwareVersions"], (json{"1", "2"}));
  EXPECT_EQ(report["sopClass"]["name"], "CTImageStorage");
  EXPECT_EQ(report["sopClass"]["title"], "CT Image Storage");
  EXPECT_EQ(report["transferSyntax"]["decodes"], true);
}

TEST_F(ZrdcmInfo, MarksATextWithBytesThatAreNoCharacters) {
  const json patient =
      reportOf(save(*support::ctSlice(2, 2).with(DCM_PatientName, "A\xE9").build()))["patient"];

  EXPECT_EQ(patient["name"], "A\\xE9");
  EXPECT_EQ(patient["escaped"], true);
}

support::DatasetBuilder ultrasoundRegion() {
  support::DatasetBuilder region;
  region.with(DCM_RegionSpatialFormat, "1")
      .with(DCM_RegionDataType, "1")
      .with(DCM_RegionLocationMinX0, "0")
      .with(DCM_RegionLocationMinY0, "0")
      .with(DCM_RegionLocationMaxX1, "3")
      .with(DCM_RegionLocationMaxY1, "2")
      .with(DCM_PhysicalUnitsXDirection, "3")
      .with(DCM_PhysicalUnitsYDirection, "3")
      .with(DCM_PhysicalDeltaX, "0.025")
      .with(DCM_PhysicalDeltaY, "0.05");
  return region;
}

TEST_F(ZrdcmInfo, ReportsUltrasoundRegions) {
  auto image = support::monochromeImage(4, 3);
  image.withItem(DCM_SequenceOfUltrasoundRegions, ultrasoundRegion());
  const std::string file = save(*image.build());

  EXPECT_EQ(reportOf(file)["ultrasoundRegions"],
            json::array({{{"bounds", {0, 0, 3, 2}},
                          {"spatialFormat", "2D"},
                          {"dataType", "tissue"},
                          {"units", {"cm", "cm"}},
                          {"delta", {0.025, 0.05}},
                          {"referencePixel", {nullptr, nullptr}},
                          {"referenceValue", {nullptr, nullptr}},
                          {"spacing", {0.25, 0.5}}}}));
  EXPECT_THAT(runZrdcm({"info", file}).output,
              HasSubstr("region 0            2D, tissue, columns 0 to 3, rows 0 to 2, x 0.025 cm a "
                        "pixel, y 0.05 cm a pixel\n"));
}

TEST_F(ZrdcmInfo, ListsWhomWhenByWhatAndWhere) {
  const std::string file = save(*support::ctSlice(2, 2)
                                     .with(DCM_SOPClassUID, UID_CTImageStorage)
                                     .with(DCM_PatientName, "Doe^Jo")
                                     .with(DCM_PatientID, "17")
                                     .with(DCM_PatientBirthDate, "19700131")
                                     .with(DCM_StudyDate, "20260131")
                                     .with(DCM_StudyDescription, "Abdomen")
                                     .with(DCM_SeriesNumber, "3")
                                     .with(DCM_Laterality, "L")
                                     .with(DCM_Manufacturer, "Maker")
                                     .with(DCM_ManufacturerModelName, "Model")
                                     .with(DCM_SoftwareVersions, "1\\2")
                                     .with(DCM_ImageOrientationPatient, "1\\0\\0\\0\\1\\0")
                                     .with(DcmTagKey(0x7007, 0x0010), EVR_LO, "NOBODY 1.0")
                                     .spacing("0.5", "0.25")
                                     .build());

  const std::string listing = runZrdcm({"info", file}).output;

  EXPECT_THAT(listing,
              HasSubstr("  object              CT Image Storage (1.2.840.10008.5.1.4.1.1.2)\n"
                        "  patient             Doe^Jo, ID 17, born 1970-01-31\n"
                        "  study               2026-01-31, \"Abdomen\"\n"
                        "  series              3, side L\n"
                        "  device              Maker Model, software 1, 2\n"));
  EXPECT_THAT(listing,
              HasSubstr("  spacing             Pixel Spacing 0.25 x 0.5 mm, in the patient\n"
                        "  directions          L-P-H\n"));
  EXPECT_THAT(listing, HasSubstr("  private elements    NOBODY 1.0 (unknown)\n"));
}

TEST_F(ZrdcmInfo, ListsWhatIsKnownOfAnImageThatDoesNotDecode) {
  const auto dataset =
      support::ctSlice(2, 2).with(DCM_PatientName, "Doe^Jo").spacing("0.5", "0.25").build();
  ASSERT_TRUE(dataset->findAndDeleteElement(DCM_PixelData).good());
  const std::string file = save(*dataset);

  const Outcome outcome = runZrdcm({"info", file});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.output, HasSubstr("  patient             Doe^Jo\n"));
  EXPECT_THAT(outcome.output, HasSubstr("  not decoded         "));
  EXPECT_THAT(outcome.output, HasSubstr("  spacing             Pixel Spacing 0.25 x 0.5 mm"));
}

TEST_F(ZrdcmInfo, ListsOverlaysWithDataOfTheirOwn) {
  const std::string file = save(*support::monochromeImage(2, 2)
                                     .with(DcmTagKey(0x6004, 0x0010), EVR_US, "2")
                                     .with(DcmTagKey(0x6004, 0x0011), EVR_US, "3")
                                     .withSint16s(DcmTagKey(0x6004, 0x0050), {1, 2})
                                     .with(DcmTagKey(0x6004, 0x1500), EVR_LO, "lesion")
                                     .withBytes(DcmTagKey(0x6004, 0x3000), {1, 0})
                                     .build());

  EXPECT_EQ(reportOf(file)["overlayPlanes"][0]["origin"], (json{1, 0}));
  EXPECT_THAT(runZrdcm({"info", file}).output,
              HasSubstr("overlay 6004        own data, 3 x 2, at (1, 0), lesion\n"));
}

TEST_F(ZrdcmInfo, ListsTheTitleAndPartsOfAnObjectWithoutPixels) {
  support::DatasetBuilder plan;
  plan.with(DCM_SOPClassUID, UID_RTPlanStorage)
      .with(DCM_RTPlanLabel, "Boost")
      .withItem(DCM_BeamSequence, support::DatasetBuilder());
  const std::string file = save(*plan.build());

  const json report = reportOf(file);

  EXPECT_EQ(report["contentTitle"], "Boost");
  EXPECT_EQ(report["contentParts"], json::array({{{"what", "beams"}, {"count", 1}}}));
  EXPECT_THAT(runZrdcm({"info", file}).output,
              HasSubstr("  title               Boost\n  holds               beams 1\n"));
}

class ZrdcmInfoOfFolders : public ZrdcmInfo {
protected:
  std::string saveImage(const std::string& name) {
    return save(*support::monochromeImage(2, 2).build(), name);
  }

  static std::vector<std::string> filesIn(const std::string& jsonLines) {
    std::vector<std::string> files;
    std::istringstream stream(jsonLines);
    for (std::string line; std::getline(stream, line);) {
      files.push_back(json::parse(line).at("file"));
    }
    return files;
  }
};

TEST_F(ZrdcmInfoOfFolders, DescribesTheFilesOfAFolderInOrderAndCountsTheOthers) {
  std::filesystem::create_directories(folder_.file("a/b"));
  const std::string second = saveImage("a/b/1.dcm");
  const std::string first = saveImage("a/0.dcm");
  tools::writeFile(folder_.file("a/notes.txt"), "no image");

  const Outcome outcome = runZrdcm({"info", "-r", "--jsonl", folder_.file("a").string()});

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(filesIn(outcome.output), (std::vector<std::string>{first, second}));
  EXPECT_EQ(outcome.errors, "zrdcm: passed over 1 file that is no DICOM file\n");
}

TEST_F(ZrdcmInfoOfFolders, RefusesTheSameFileWhereItIsNamed) {
  tools::writeFile(folder_.file("notes.txt"), "no image");
  const std::string file = folder_.file("notes.txt").string();

  const Outcome outcome = runZrdcm({"info", "--jsonl", file});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, "zrdcm: " + file + ": is not a DICOM file\n");
  const json report = json::parse(outcome.output);
  EXPECT_EQ(report["error"], "is not a DICOM file");
  EXPECT_EQ(report["reason"], "NotDicom");
}

TEST_F(ZrdcmInfoOfFolders, SaysWhenThereIsNoDicomFileAtAll) {
  std::filesystem::create_directories(folder_.file("empty"));

  const Outcome outcome = runZrdcm({"info", "--json", folder_.file("empty").string()});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(json::parse(outcome.output), json::array());
  EXPECT_EQ(outcome.errors, "zrdcm: no DICOM file found\n");
}

TEST_F(ZrdcmInfoOfFolders, GoesOnAfterADamagedFileInAFolder) {
  std::filesystem::create_directories(folder_.file("a"));
  const std::string cut = saveImage("a/0.dcm");
  const std::string good = saveImage("a/1.dcm");
  std::filesystem::resize_file(cut, 140);

  const Outcome outcome = runZrdcm({"info", "--jsonl", folder_.file("a").string()});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(filesIn(outcome.output), (std::vector<std::string>{cut, good}));
  EXPECT_EQ(json::parse(outcome.output.substr(0, outcome.output.find('\n')))["reason"], "Damaged");
}

TEST_F(ZrdcmInfoOfFolders, ReadsListsOfFiles) {
  const std::string one = saveImage("1.dcm");
  const std::string two = saveImage("2.dcm");
  tools::writeFile(folder_.file("list.txt"), one + "\n");

  const Outcome outcome =
      tools::runProgram({"sh", "-c", "echo \"$1\" | \"$0\" info --jsonl \"@$2\" -", ZRDCM_PROGRAM,
                         two, folder_.file("list.txt").string()});

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(filesIn(outcome.output), (std::vector<std::string>{one, two}));
}

TEST_F(ZrdcmInfoOfFolders, PrintsALineBeforeTheNextFileIsNamed) {
  const std::string one = saveImage("1.dcm");
  const std::string two = saveImage("2.dcm");

  // The second name is written only once the line about the first has come out.
  const Outcome outcome = tools::runProgram(
      {"timeout", "20", "bash", "-c",
       "coproc \"$0\" info --jsonl -; echo \"$1\" >&\"${COPROC[1]}\"; "
       "read -r first <&\"${COPROC[0]}\"; echo \"$first\"; echo \"$2\" >&\"${COPROC[1]}\"; "
       "read -r second <&\"${COPROC[0]}\"; echo \"$second\"",
       ZRDCM_PROGRAM, one, two});

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(filesIn(outcome.output), (std::vector<std::string>{one, two}));
}

}  // namespace
