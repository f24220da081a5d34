// SPDX-License-Identifier: BSD-3-Clause
// The phantoms of zrdcm samples: one set is written for all of these tests.
#include "support/Compression.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <set>

namespace {

using nlohmann::json;
using testing::HasSubstr;
using tools::Outcome;
using tools::readFile;
using tools::runZrdcm;

std::string phantom(const std::string& name) {
  return std::string(ZRDCM_PHANTOMS) + "/" + name + ".dcm";
}

json reportOf(const std::string& name) {
  const Outcome outcome = runZrdcm({"info", "--json", phantom(name)});
  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  return json::parse(outcome.output).at(0);
}

struct Coded {
  const char* name;
  const char* file;
  const char* plain;
};

class LosslessPhantom : public testing::TestWithParam<Coded> {
protected:
  std::string decode(const std::string& name, const std::vector<std::string>& options) {
    std::vector<std::string> arguments{"decode", phantom(name), "-o",
                                       folder_.file("out.npy").string()};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const Outcome outcome = runZrdcm(arguments);
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    return readFile(folder_.file("out.npy"));
  }

  support::TempDir folder_;
};

TEST_P(LosslessPhantom, DecodesToTheSamplesOfThePlainOne) {
  EXPECT_TRUE(decode(GetParam().file, {}) == decode(GetParam().plain, {}));
  EXPECT_TRUE(decode(GetParam().file, {"--stored"}) == decode(GetParam().plain, {"--stored"}));
}

INSTANTIATE_TEST_SUITE_P(
    Codings, LosslessPhantom,
    testing::Values(Coded{"ThoraxRle", "ct-thorax-signed-rle", "ct-thorax-signed"},
                    Coded{"ThoraxJpeg", "ct-thorax-signed-jpeg-lossless", "ct-thorax-signed"},
                    Coded{"ThoraxJpegLs", "ct-thorax-signed-jpeg-ls", "ct-thorax-signed"},
                    Coded{"AbdomenRle", "ct-abdomen-overlays-rle", "ct-abdomen-overlays"},
                    Coded{"AbdomenJpeg", "ct-abdomen-overlays-jpeg-lossless",
                          "ct-abdomen-overlays"},
                    Coded{"AbdomenJpegLs", "ct-abdomen-overlays-jpeg-ls", "ct-abdomen-overlays"},
                    Coded{"HeadRle", "mr-head-modality-lut-rle", "mr-head-modality-lut"},
                    Coded{"HeadJpeg", "mr-head-modality-lut-jpeg-lossless", "mr-head-modality-lut"},
                    Coded{"HeadJpegLs", "mr-head-modality-lut-jpeg-ls", "mr-head-modality-lut"},
                    Coded{"HandRle", "cr-hand-monochrome1-rle", "cr-hand-monochrome1"},
                    Coded{"HandJpeg", "cr-hand-monochrome1-jpeg-lossless", "cr-hand-monochrome1"},
                    Coded{"HandJpegLs", "cr-hand-monochrome1-jpeg-ls", "cr-hand-monochrome1"},
                    Coded{"UptakeRle", "nm-uptake-palette-rle", "nm-uptake-palette"},
                    Coded{"UptakeJpeg", "nm-uptake-palette-jpeg-lossless", "nm-uptake-palette"},
                    Coded{"UptakeJpegLs", "nm-uptake-palette-jpeg-ls", "nm-uptake-palette"},
                    Coded{"HeartRgbRle", "us-heart-rgb-rle", "us-heart-rgb"},
                    Coded{"HeartRgbJpeg", "us-heart-rgb-jpeg-lossless", "us-heart-rgb"},
                    Coded{"HeartRgbJpegLs", "us-heart-rgb-jpeg-ls", "us-heart-rgb"},
                    Coded{"HeartYbrRle", "us-heart-ybr-rle", "us-heart-ybr"},
                    Coded{"HeartYbrJpeg", "us-heart-ybr-jpeg-lossless", "us-heart-ybr"},
                    Coded{"HeartYbrJpegLs", "us-heart-ybr-jpeg-ls", "us-heart-ybr"},
                    Coded{"DoseRle", "rt-dose-volume-rle", "rt-dose-volume"}),
    support::nameOf<Coded>);

TEST(Phantoms, ComeOutTheSameEveryTime) {
  const support::TempDir folder;

  const Outcome outcome = runZrdcm({"samples", folder.path().string(), "--json"});

  ASSERT_EQ(outcome.status, 0) << outcome.errors;
  const std::vector<std::string> names = tools::namesIn(folder.path());
  EXPECT_EQ(json::parse(outcome.output).size(), names.size());
  EXPECT_GE(names.size(), 30U);
  for (const std::string& name : names) {
    EXPECT_TRUE(readFile(folder.file(name)) ==
                readFile(std::filesystem::path(ZRDCM_PHANTOMS) / name))
        << name;
  }
}

TEST(Phantoms, HaveInstanceUidsOfTheirOwn) {
  std::set<std::string> uids;
  const std::vector<std::string> names = tools::namesIn(ZRDCM_PHANTOMS);

  for (const std::string& name : names) {
    DcmFileFormat file;
    OFString uid;
    ASSERT_TRUE(file.loadFile((std::string(ZRDCM_PHANTOMS) + "/" + name).c_str()).good()) << name;
    ASSERT_TRUE(file.getDataset()->findAndGetOFString(DCM_SOPInstanceUID, uid).good()) << name;
    EXPECT_LE(uid.size(), 64U);
    uids.insert(uid);
  }

  EXPECT_EQ(uids.size(), names.size());
}

TEST(Phantoms, ShowSignedSamplesRescaleAndWindow) {
  const json report = reportOf("ct-thorax-signed");

  EXPECT_EQ(report["pixelFormat"]["signed"], true);
  EXPECT_EQ(report["pixelFormat"]["bitsStored"], 12);
  EXPECT_EQ(report["image"]["rescale"], json({1.0, -24.0}));
  EXPECT_EQ(report["image"]["sampleOffset"], 32768.0);
  EXPECT_EQ(report["image"]["voiWindow"], json({-150.0, 1500.0}));
}

TEST(Phantoms, ShowOverlaysInTheSpareBits) {
  const json report = reportOf("ct-abdomen-overlays-jpeg-ls");

  ASSERT_EQ(report["overlays"].size(), 2U);
  EXPECT_EQ(report["overlays"][0]["group"], 0x6000);
  EXPECT_EQ(report["overlays"][1]["group"], 0x6002);
}

TEST(Phantoms, ShowAModalityTable) {
  const json report = reportOf("mr-head-modality-lut");

  EXPECT_EQ(report["luts"]["modality"],
            (json{{"entries", 4096}, {"firstMapped", 0}, {"values", 1}, {"bits", 16}}));
}

TEST(Phantoms, ShowAPalette) {
  const json report = reportOf("nm-uptake-palette");

  EXPECT_EQ(report["luts"]["palette"],
            (json{{"entries", 256}, {"firstMapped", 0}, {"values", 3}, {"bits", 16}}));
}

TEST(Phantoms, ShowAVolumeThatSplits) {
  const json report = reportOf("rt-dose-volume-rle");

  EXPECT_EQ(report["multiFrameVolume"], true);
  EXPECT_EQ(report["splitting"]["volumes"], json({{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}}));
}

TEST(Phantoms, ShowLossyCompression) {
  const json report = reportOf("us-heart-ybr-jpeg-baseline");

  EXPECT_EQ(report["image"]["lossy"], true);
  EXPECT_EQ(report["image"]["frames"], 12);
}

class EveryPhantom : public testing::Test {
protected:
  static bool has(const char* program) {
    return tools::runProgram({"sh", "-c", std::string("command -v ") + program}).status == 0;
  }
};

TEST_F(EveryPhantom, IsDescribedByDcmdumpAsByInfo) {
  if (!has("dcmdump")) {
    GTEST_SKIP() << "dcmtk is not installed";
  }
  for (const std::string& name : tools::namesIn(ZRDCM_PHANTOMS)) {
    const std::string stem = std::filesystem::path(name).stem().string();
    const json report = reportOf(stem);
    const Outcome dump =
        tools::runProgram({"dcmdump", "-q", "-Un", "+P", "0028,0010", "+P", "0028,0011", "+P",
                           "0002,0010", "+P", "0028,0004", "+P", "0028,0101", phantom(stem)});

    ASSERT_EQ(dump.status, 0) << name << dump.errors;
    EXPECT_THAT(dump.output, HasSubstr("US " + report["image"]["rows"].dump() + " ")) << name;
    EXPECT_THAT(dump.output, HasSubstr("US " + report["image"]["columns"].dump() + " ")) << name;
    EXPECT_THAT(dump.output, HasSubstr("US " + report["pixelFormat"]["bitsStored"].dump() + " "))
        << name;
    const std::string photometric = report["pixelFormat"]["photometricInterpretation"];
    EXPECT_THAT(dump.output, HasSubstr("[" + photometric)) << name;
    const std::string syntax = report["transferSyntax"]["uid"];
    EXPECT_THAT(dump.output, HasSubstr("[" + syntax + "]")) << name;
  }
}

// dcmj2pnm and dcml2pnm are DCMTK's own renderers; they draw through the same window.
struct Rendered {
  const char* name;
  const char* file;
  const char* program;
  std::vector<std::string> options;
};

class PictureOfPhantom : public testing::TestWithParam<Rendered> {};

TEST_P(PictureOfPhantom, AgreesWithDcmtk) {
  const support::TempDir folder;
  std::vector<std::string> command{GetParam().program, "-q", "+on"};
  command.insert(command.end(), GetParam().options.begin(), GetParam().options.end());
  command.push_back(phantom(GetParam().file));
  command.push_back(folder.file("dcmtk.png").string());
  if (tools::runProgram({"sh", "-c", std::string("command -v ") + GetParam().program}).status !=
      0) {
    GTEST_SKIP() << "dcmtk is not installed";
  }
  const Outcome theirs = tools::runProgram(command);
  const Outcome ours = runZrdcm({"decode", phantom(GetParam().file), "--frames", "0", "-o",
                                 folder.file("zrdcm.png").string()});
  ASSERT_EQ(theirs.status, 0) << theirs.errors;
  ASSERT_EQ(ours.status, 0) << ours.errors;

  const tools::Png expected = tools::readPng(folder.file("dcmtk.png"));
  const tools::Png picture = tools::readPng(folder.file("zrdcm.png"));

  ASSERT_EQ(picture.columns, expected.columns);
  ASSERT_EQ(picture.rows, expected.rows);
  ASSERT_EQ(picture.samples.size(), expected.samples.size());
  int worst = 0;
  for (std::size_t i = 0; i < picture.samples.size(); ++i) {
    worst = std::max(worst, std::abs(int{picture.samples[i]} - int{expected.samples[i]}));
  }
  EXPECT_LE(worst, 1);  // one gray level of rounding
}

INSTANTIATE_TEST_SUITE_P(
    Phantoms, PictureOfPhantom,
    testing::Values(Rendered{"Thorax", "ct-thorax-signed-jpeg-lossless", "dcmj2pnm", {"+Wi", "1"}},
                    Rendered{"Abdomen", "ct-abdomen-overlays-rle", "dcmj2pnm", {"+Wi", "1", "-O"}},
                    Rendered{"Head", "mr-head-modality-lut-jpeg-ls", "dcml2pnm", {"+Wi", "1"}},
                    Rendered{"Hand", "cr-hand-monochrome1", "dcmj2pnm", {"+Wi", "1"}},
                    Rendered{"Uptake", "nm-uptake-palette-rle", "dcmj2pnm", {}},
                    Rendered{"HeartRgb", "us-heart-rgb-jpeg-baseline", "dcmj2pnm", {}},
                    Rendered{"HeartYbr", "us-heart-ybr", "dcmj2pnm", {}}),
    support::nameOf<Rendered>);

TEST_F(EveryPhantom, IsReadByPydicom) {
  if (tools::runProgram({"/usr/bin/python3", "-c", "import pydicom, numpy"}).status != 0) {
    GTEST_SKIP() << "python3-pydicom is not installed";
  }
  const support::TempDir folder;
  for (const char* name : {"ct-thorax-signed", "ct-abdomen-overlays", "mr-head-modality-lut",
                           "cr-hand-monochrome1", "us-heart-rgb", "rt-dose-volume"}) {
    ASSERT_EQ(runZrdcm({"decode", phantom(name), "--stored", "-o", folder.file("out.npy").string()})
                  .status,
              0);
    const Outcome outcome = tools::runProgram(
        {"/usr/bin/python3", "-c",
         "import numpy, pydicom, sys\n"
         "ds = pydicom.dcmread(sys.argv[1])\n"
         "ours = numpy.load(sys.argv[2])\n"
         "theirs = numpy.frombuffer(ds.PixelData, ours.dtype).reshape(ours.shape)\n"
         "print(bool((ours == theirs).all()))",
         phantom(name), folder.file("out.npy").string()});
    EXPECT_EQ(outcome.output, "True\n") << name << outcome.errors;
  }
}

}  // namespace
