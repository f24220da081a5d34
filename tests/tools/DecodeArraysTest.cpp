// SPDX-License-Identifier: BSD-3-Clause
// zrdcm decode into files for scripts: .raw, .npy and .nrrd, byte by byte.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using testing::IsEmpty;
using tools::hex;
using tools::Outcome;
using tools::readFile;
using tools::runZrdcm;

class ZrdcmDecode : public testing::Test {
protected:
  /// Bytes of the file that decoding with these options writes.
  std::string decode(const DcmDataset& dataset, const std::string& ending,
                     const std::vector<std::string>& options = {}) {
    support::saveFile(dataset, folder_.file("in.dcm"));
    const std::string out = folder_.file("out" + ending).string();
    std::vector<std::string> arguments{"decode", folder_.file("in.dcm").string(), "-o", out};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const Outcome outcome = runZrdcm(arguments);
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_THAT(outcome.errors, IsEmpty());
    return readFile(out);
  }

  support::TempDir folder_;
};

TEST_F(ZrdcmDecode, KeepsTheSignOfSamples) {
  const auto image =
      support::monochromeImage(3, 1).signed16().bitsStored(12).samples({-1, 0x7FF, 0x0801}).build();

  EXPECT_EQ(hex(decode(*image, ".raw")), "ff ff ff 07 01 f8");
}

TEST_F(ZrdcmDecode, ShiftsSignedSamplesWhenTheyAreToBeUnsigned) {
  const auto image = support::monochromeImage(3, 1).signed16().samples({-32768, 0, 1}).build();

  EXPECT_EQ(hex(decode(*image, ".raw", {"--values", "unsigned"})), "00 00 00 80 01 80");
}

TEST_F(ZrdcmDecode, WritesModalityValues) {
  const auto image = support::ctSlice(1, 1).signed16().samples({-2}).rescale("0.5", "3").build();

  EXPECT_EQ(hex(decode(*image, ".raw", {"--values", "modality"})), "00 00 00 40");  // 2.0
}

TEST_F(ZrdcmDecode, WritesGreysIntoArraysWhenAskedTo) {
  const auto image = support::monochromeImage(2, 1)
                         .unsigned16()
                         .samples({0, 4})
                         .window("2", "4")
                         .with(DCM_VOILUTFunction, "LINEAR_EXACT")
                         .build();

  EXPECT_EQ(hex(decode(*image, ".raw", {"--values", "display"})), "00 ff");
}

TEST_F(ZrdcmDecode, LeavesStoredSamplesAsTheyAre) {
  const auto image =
      support::monochromeImage(3, 1).signed16().bitsStored(12).samples({-1, 0x7FF, 0x0801}).build();

  EXPECT_EQ(hex(decode(*image, ".raw", {"--stored"})), "ff ff ff 07 01 08");
}

TEST_F(ZrdcmDecode, IsolatesTheStoredBitsUnlessToldNotTo) {
  const auto image = support::monochromeImage(2, 1)
                         .bitsStored(12)
                         .samples({0x0123, 0x0456})
                         .overlayBits(0x6000, 15, {{1, 0}})
                         .build();

  EXPECT_EQ(hex(decode(*image, ".raw")), "23 01 56 04");
  EXPECT_EQ(hex(decode(*image, ".raw", {"--stored"})), "23 01 56 84");
}

TEST_F(ZrdcmDecode, WritesRawFramesOneAfterTheOther) {
  const auto image =
      support::monochromeImage(2, 1).unsigned8().frames(3).samples({1, 2, 3, 4, 5, 6}).build();

  EXPECT_EQ(hex(decode(*image, ".raw")), "01 02 03 04 05 06");
  EXPECT_EQ(hex(decode(*image, ".raw", {"--frames", "1-2"})), "03 04 05 06");
}

TEST_F(ZrdcmDecode, WritesNumpyArraysWithAllThreeAxes) {
  const auto image = support::monochromeImage(3, 2).samples({1, 2, 3, 4, 5, 0x0106}).build();

  const std::string bytes = decode(*image, ".npy");

  const std::string header = "{'descr': '<u2', 'fortran_order': False, 'shape': (1, 2, 3), }";
  ASSERT_EQ(bytes.size(), 128U + 12U);
  EXPECT_EQ(hex(bytes.substr(0, 10)), "93 4e 55 4d 50 59 01 00 76 00");
  EXPECT_EQ(bytes.substr(10, header.size()), header);
  EXPECT_EQ(bytes.substr(10 + header.size(), 128 - 10 - header.size()),
            std::string(117 - header.size(), ' ') + "\n");
  EXPECT_EQ(hex(bytes.substr(128)), "01 00 02 00 03 00 04 00 05 00 06 01");
}

TEST_F(ZrdcmDecode, WritesColourNumpyArraysWithAFourthAxis) {
  const auto image = support::rgbImage(1, 2).samples({255, 0, 1, 2, 3, 4}).build();

  const std::string bytes = decode(*image, ".npy");

  EXPECT_EQ(bytes.substr(10, 65),
            "{'descr': '|u1', 'fortran_order': False, 'shape': (1, 2, 1, 3), }");
  EXPECT_EQ(hex(bytes.substr(128)), "ff 00 01 02 03 04");
}

TEST_F(ZrdcmDecode, ReportsTypeAndShapeOfWhatItWrote) {
  const auto reportOf = [this](const DcmDataset& dataset, std::vector<std::string> options) {
    support::saveFile(dataset, folder_.file("in.dcm"));
    options.insert(options.begin(), {"decode", folder_.file("in.dcm").string(), "--json", "-o",
                                     folder_.file("out.raw").string()});
    return nlohmann::json::parse(runZrdcm(options).output);
  };
  const auto wide = support::monochromeImage(3, 2).signed16().rescale("2", "5").build();

  const auto colour = reportOf(*support::rgbImage(3, 2).build(), {});
  EXPECT_EQ(colour["shape"], (nlohmann::json{1, 2, 3, 3}));
  EXPECT_EQ(colour["type"], "uint8");
  EXPECT_EQ(colour["modality"], nullptr);
  EXPECT_EQ(reportOf(*support::monochromeImage(3, 2).signed8().build(), {"--stored"})["type"],
            "int8");
  EXPECT_EQ(reportOf(*wide, {"--stored"})["type"], "int16");
  EXPECT_EQ(reportOf(*wide, {"--stored"})["modality"], nullptr);
  EXPECT_EQ(reportOf(*wide, {})["type"], "int16");
  EXPECT_EQ(reportOf(*wide, {})["modality"], (nlohmann::json{2.0, 5.0}));
  EXPECT_EQ(reportOf(*wide, {"--values", "unsigned"})["type"], "uint16");
  EXPECT_EQ(reportOf(*wide, {"--values", "unsigned"})["modality"],
            (nlohmann::json{2.0, 5.0 - 2.0 * 32768.0}));
}

TEST_F(ZrdcmDecode, TellsNumpyThatStoredSamplesAreSigned) {
  const auto wide = support::monochromeImage(1, 1).signed16().samples({-2}).build();
  const auto narrow = support::monochromeImage(1, 1).signed8().samples({-2}).build();

  EXPECT_EQ(decode(*wide, ".npy", {"--stored"}).substr(10, 16), "{'descr': '<i2',");
  EXPECT_EQ(decode(*narrow, ".npy", {"--stored"}).substr(10, 16), "{'descr': '|i1',");
  EXPECT_EQ(decode(*wide, ".npy", {"--values", "unsigned"}).substr(10, 16), "{'descr': '<u2',");
}

TEST_F(ZrdcmDecode, WritesNrrdWithSpacingTypeAndEndianness) {
  const auto image = support::ctSlice(2, 1)
                         .unsigned16()
                         .frames(2)
                         .samples({1, 2, 3, 0x0104})
                         .rescale("1", "-1024")
                         .window("40", "400")
                         .spacing("0.5", "0.75")
                         .with(DCM_SpacingBetweenSlices, "2.5")
                         .build();

  const std::string bytes = decode(*image, ".nrrd");

  EXPECT_EQ(bytes.substr(0, bytes.find("\n\n") + 2),
            "NRRD0004\n"
            "content: in.dcm\n"
            "type: uint16\n"
            "dimension: 3\n"
            "sizes: 2 1 2\n"
            "spacings: 0.75 0.5 2.5\n"
            "kinds: domain domain domain\n"
            "endian: little\n"
            "encoding: raw\n"
            "frame spacing:=2.5\n"
            "modality slope:=1\n"
            "modality intercept:=-1024\n"
            "window centre:=40\n"
            "window width:=400\n"
            "\n");
  EXPECT_EQ(hex(bytes.substr(bytes.find("\n\n") + 2)), "01 00 02 00 03 00 04 01");
}

TEST_F(ZrdcmDecode, TakesTheNrrdSpacingOfADoseGridFromItsOffsets) {
  const auto image = support::monochromeImage(1, 1)
                         .frames(3)
                         .samples({1, 2, 3})
                         .with(DCM_SliceThickness, "3")
                         .with(DCM_GridFrameOffsetVector, "0\\5\\10")
                         .build();

  EXPECT_NE(decode(*image, ".nrrd").find("spacings: nan nan 5\n"), std::string::npos);
}

TEST_F(ZrdcmDecode, TakesNoThicknessForTheDistanceOfFrames) {
  const auto image = support::monochromeImage(1, 1)
                         .frames(2)
                         .samples({1, 2})
                         .spacing("0.5", "0.75")
                         .with(DCM_SliceThickness, "3")
                         .build();

  const std::string bytes = decode(*image, ".nrrd");

  EXPECT_NE(bytes.find("spacings: 0.75 0.5 nan\n"), std::string::npos);
  EXPECT_NE(bytes.find("\nframe spacing:=unknown\n"), std::string::npos);
}

TEST_F(ZrdcmDecode, KeepsTheSignOfTheSpacingOutOfTheNrrdField) {
  const auto image = support::monochromeImage(1, 1)
                         .frames(2)
                         .samples({1, 2})
                         .with(DCM_SpacingBetweenSlices, "-4")
                         .build();

  const std::string bytes = decode(*image, ".nrrd");

  EXPECT_NE(bytes.find("spacings: nan nan 4\n"), std::string::npos);
  EXPECT_NE(bytes.find("\nframe spacing:=-4\n"), std::string::npos);
}

TEST_F(ZrdcmDecode, SaysInNrrdThatTheModalityLineIsUnknown) {
  const std::string bytes = decode(*support::monochromeImage(1, 1).samples({1}).build(), ".nrrd");

  EXPECT_EQ(bytes.find("spacings"), std::string::npos);
  EXPECT_NE(bytes.find("\nmodality slope:=unknown\nmodality intercept:=unknown\n\n"),
            std::string::npos);
}

TEST_F(ZrdcmDecode, GivesStoredSamplesOfATableNoLineInNrrd) {
  auto image = support::monochromeImage(2, 1).samples({0, 1});
  image.withItem(DCM_ModalityLUTSequence, support::DatasetBuilder()
                                              .withUint16s(DCM_LUTDescriptor, {2, 0, 16})
                                              .withWords(DCM_LUTData, {0, 1000}));

  EXPECT_NE(decode(*image.build(), ".nrrd", {"--values", "unsigned"}).find("\nmodality slope:=1\n"),
            std::string::npos);
  EXPECT_NE(decode(*image.build(), ".nrrd", {"--stored"}).find("\nmodality slope:=unknown\n"),
            std::string::npos);
}

TEST_F(ZrdcmDecode, PutsTheColourAxisOfNrrdFirst) {
  const auto image = support::rgbImage(2, 1).samples({1, 2, 3, 4, 5, 6}).build();

  const std::string bytes = decode(*image, ".nrrd");

  EXPECT_EQ(bytes.substr(0, bytes.find("\n\n") + 2),
            "NRRD0004\n"
            "content: in.dcm\n"
            "type: uint8\n"
            "dimension: 4\n"
            "sizes: 3 2 1 1\n"
            "kinds: RGB-color domain domain domain\n"
            "endian: little\n"
            "encoding: raw\n"
            "frame spacing:=unknown\n"
            "\n");
  EXPECT_EQ(hex(bytes.substr(bytes.find("\n\n") + 2)), "01 02 03 04 05 06");
}

// Of 0x31 the upper half counts: High Bit says so.
TEST_F(ZrdcmDecode, AppliesAWiderTableToTheStoredBitsWhereverTheyStand) {
  const auto image =
      support::monochromeImage(2, 1)
          .unsigned8()
          .bitsStored(4)
          .highBit(7)
          .samples({0x10, 0x31})
          .withItem(DCM_ModalityLUTSequence, support::DatasetBuilder()
                                                 .withUint16s(DCM_LUTDescriptor, {4, 0, 16})
                                                 .withWords(DCM_LUTData, {0, 1000, 2000, 3000}));

  EXPECT_EQ(hex(decode(*image.build(), ".raw", {"--values", "unsigned"})), "e8 03 b8 0b");
}

struct WidthMismatch {
  const char* name;
  bool wideSamples;
  std::vector<int> samples;
  Uint16 tableBits;
  std::vector<Uint16> tableWords;
  const char* converted;
};

class TableOfAnotherWidth : public ZrdcmDecode,
                            public testing::WithParamInterface<WidthMismatch> {};

TEST_P(TableOfAnotherWidth, IsAppliedAllTheSame) {
  support::DatasetBuilder table;
  table.withUint16s(DCM_LUTDescriptor, {4, 0, GetParam().tableBits})
      .withWords(DCM_LUTData, GetParam().tableWords);
  auto image = support::monochromeImage(2, 1);
  image = GetParam().wideSamples ? image.unsigned16() : image.unsigned8();
  image.frames(2).samples(GetParam().samples).withItem(DCM_ModalityLUTSequence, table);

  const std::string bytes =
      decode(*image.build(), ".npy", {"--frames", "1", "--values", "unsigned"});

  EXPECT_EQ(bytes.substr(10, 16), "{'descr': '<u2',");
  EXPECT_EQ(hex(bytes.substr(128)), GetParam().converted);
}

INSTANTIATE_TEST_SUITE_P(
    Widths, TableOfAnotherWidth,
    testing::Values(
        WidthMismatch{
            "WideTableOnBytes", false, {0, 0, 1, 200}, 16, {0, 1000, 2000, 3000}, "e8 03 b8 0b"},
        WidthMismatch{"ByteTableOnWords", true, {0, 0, 1, 2}, 8, {10, 11, 12, 13}, "0b 00 0c 00"}),
    support::nameOf<WidthMismatch>);

TEST_F(ZrdcmDecode, DescribesWhatItWroteAsJson) {
  support::saveFile(*support::ctSlice(4, 3).signed16().frames(3).rescale("2", "-1000").build(),
                    folder_.file("in.dcm"));

  const Outcome outcome = runZrdcm({"decode", folder_.file("in.dcm").string(), "-o",
                                    folder_.file("out.npy").string(), "--frames", "1-2", "--json"});

  EXPECT_EQ(nlohmann::json::parse(outcome.output),
            (nlohmann::json{{"file", folder_.file("in.dcm").string()},
                            {"outputs", {folder_.file("out.npy").string()}},
                            {"frames", {1, 2}},
                            {"shape", {2, 3, 4}},
                            {"type", "int16"},
                            {"values", "samples"},
                            {"modality", {2.0, -1000.0}},
                            {"modalityUnit", nullptr},
                            {"windows", nullptr},
                            {"perFrame", nullptr},
                            {"remark", nullptr}}));
}

TEST_F(ZrdcmDecode, WritesArraysThatNumpyReads) {
  if (tools::runProgram({"/usr/bin/python3", "-c", "import numpy"}).status != 0) {
    FAIL() << "python3-numpy is not installed; make deps does it";
  }
  const auto image = support::monochromeImage(3, 2)
                         .signed16()
                         .frames(2)
                         .samples({0, 1, 2, 3, 4, 5, -6, 7, 8, 9, 10, 11})
                         .build();
  decode(*image, ".npy", {"--stored"});

  const Outcome outcome = tools::runProgram(
      {"/usr/bin/python3", "-c",
       "import numpy, sys; a = numpy.load(sys.argv[1]); print(a.shape, a.dtype, a[1].tolist())",
       folder_.file("out.npy").string()});

  EXPECT_EQ(outcome.output, "(2, 2, 3) int16 [[-6, 7, 8], [9, 10, 11]]\n") << outcome.errors;
}

}  // namespace
