// SPDX-License-Identifier: BSD-3-Clause
// The phantoms of zrdcm samples: one set is written for all of these tests.
#include "support/Compression.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <map>
#include <numeric>
#include <regex>
#include <set>
#include <sstream>

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
                    Coded{"DoseRle", "rt-dose-volume-rle", "rt-dose-volume"},
                    Coded{"GatedHeartRle", "nm-heart-gated-rle", "nm-heart-gated"},
                    Coded{"GatedHeartJpegLs", "nm-heart-gated-jpeg-ls", "nm-heart-gated"},
                    Coded{"BrainRle", "nm-brain-interleaved-rle", "nm-brain-interleaved"},
                    Coded{"SweepJpegLs", "us-neck-sweep-jpeg-ls", "us-neck-sweep"},
                    Coded{"HeadVolumeJpeg", "ct-head-volume-jpeg-lossless", "ct-head-volume"},
                    Coded{"EnhancedHeadJpegLs", "mr-head-enhanced-jpeg-ls", "mr-head-enhanced"}),
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

using Volumes = std::vector<std::vector<unsigned>>;

Volumes inFrameOrder(unsigned frames) {
  std::vector<unsigned> slices(frames);
  std::iota(slices.begin(), slices.end(), 0U);
  return {slices};
}

/// What splitting a phantom gives: volumes of frame numbers in slice order.
struct SplitPhantom {
  const char* name;
  const char* file;
  bool reversed;
  Volumes volumes;
};

class SplittablePhantom : public testing::TestWithParam<SplitPhantom> {};

TEST_P(SplittablePhantom, GivesItsFramesInSliceOrder) {
  const json report = reportOf(GetParam().file);

  EXPECT_EQ(report["multiFrame"], true);
  EXPECT_EQ(report["multiFrameVolume"], true);
  EXPECT_EQ(report["splitting"]["splittable"], true);
  EXPECT_EQ(report["splitting"]["reversed"], GetParam().reversed);
  EXPECT_EQ(report["splitting"]["volumes"], json(GetParam().volumes));
}

// The first six frames hold the odd slices, the others the even ones.
const Volumes kInterleaved{{0, 6, 1, 7, 2, 8, 3, 9, 4, 10, 5, 11}};

INSTANTIATE_TEST_SUITE_P(
    Phantoms, SplittablePhantom,
    testing::Values(SplitPhantom{"DoseRising", "rt-dose-volume-rle", false, inFrameOrder(12)},
                    SplitPhantom{"DoseFalling", "rt-dose-falling", true, inFrameOrder(12)},
                    SplitPhantom{"SliceVector", "nm-brain-interleaved", false, kInterleaved},
                    SplitPhantom{"SliceVectorRle", "nm-brain-interleaved-rle", false, kInterleaved},
                    SplitPhantom{"FrameTime", "us-neck-sweep", false, inFrameOrder(24)},
                    SplitPhantom{"FrameTimeLossy", "us-neck-sweep-jpeg-baseline", false,
                                 inFrameOrder(24)},
                    SplitPhantom{"NegativeSpacing", "ct-head-volume", true, inFrameOrder(20)}),
    support::nameOf<SplitPhantom>);

struct WholePhantom {
  const char* name;
  const char* file;
  bool multiFrame;
  bool multiFrameVolume;
  bool enhanced;
  const char* reason;
};

class UnsplittablePhantom : public testing::TestWithParam<WholePhantom> {};

TEST_P(UnsplittablePhantom, SaysWhy) {
  const json report = reportOf(GetParam().file);

  EXPECT_EQ(report["multiFrame"], GetParam().multiFrame);
  EXPECT_EQ(report["multiFrameVolume"], GetParam().multiFrameVolume);
  EXPECT_EQ(report["enhanced"], GetParam().enhanced);
  EXPECT_EQ(report["splitting"]["splittable"], false);
  EXPECT_EQ(report["splitting"]["volumes"], json::array());
  EXPECT_EQ(report["splitting"]["reason"], GetParam().reason);
}

INSTANTIATE_TEST_SUITE_P(
    Phantoms, UnsplittablePhantom,
    testing::Values(WholePhantom{"DoseIrregular", "rt-dose-irregular", true, true, false,
                                 "the distances in Grid Frame Offset Vector vary"},
                    WholePhantom{"ColourCine", "us-heart-rgb", true, false, false,
                                 "colour frames are kept together"},
                    WholePhantom{"ColourTable", "nm-uptake-palette", true, true, false,
                                 "colour frames are kept together"},
                    WholePhantom{"Enhanced", "mr-head-enhanced", false, false, true,
                                 "no Frame Increment Pointer"}),
    support::nameOf<WholePhantom>);

// R-R interval slowest, slice fastest: slot s of interval r starts at frame 128 r + 16 s.
TEST(GatedHeart, GivesAVolumeForEachTimeSlotOfEachInterval) {
  Volumes expected;
  for (unsigned slot = 0; slot < 8; ++slot) {
    for (unsigned interval = 0; interval < 2; ++interval) {
      std::vector<unsigned> slices = inFrameOrder(16).front();
      for (unsigned& frame : slices) {
        frame += 128 * interval + 16 * slot;
      }
      expected.push_back(slices);
    }
  }

  EXPECT_EQ(reportOf("nm-heart-gated")["splitting"]["volumes"], json(expected));
  EXPECT_EQ(reportOf("nm-heart-gated-jpeg-ls")["splitting"]["volumes"], json(expected));
}

/// Radius in mm at which most counts lie in one frame of the gated heart, around the long axis of
/// the left ventricle.
double radiusOfWall(const std::string& samples, std::size_t frame) {
  constexpr std::size_t kSize = 64;
  constexpr double kPixelMm = 2.2;
  constexpr double kAxisColumn = 31.5 + 13 / kPixelMm;
  constexpr double kAxisRow = 31.5;
  double counts = 0;
  double moment = 0;
  for (std::size_t i = 0; i < kSize * kSize; ++i) {
    std::uint16_t sample = 0;
    std::memcpy(&sample, &samples.at(2 * (frame * kSize * kSize + i)), sizeof sample);
    const double x = kPixelMm * (static_cast<double>(i % kSize) - kAxisColumn);
    const double y = kPixelMm * (static_cast<double>(i / kSize) - kAxisRow);
    if (std::hypot(x, y) < 40 && x > -12) {  // not the right ventricle, nor the liver
      counts += sample;
      moment += sample * std::hypot(x, y);
    }
  }
  return moment / counts;
}

TEST(GatedHeart, Beats) {
  const support::TempDir folder;
  const auto raw = folder.file("heart.raw");
  ASSERT_EQ(runZrdcm({"decode", phantom("nm-heart-gated"), "-o", raw.string()}).status, 0);
  const std::string samples = readFile(raw);

  for (const std::size_t interval : {0, 1}) {
    const auto radius = [&](std::size_t slot) {
      return radiusOfWall(samples, 128 * interval + 16 * slot + 8);
    };
    EXPECT_GT(radius(0), radius(3) + 3) << "it is wide when it is filled";
    EXPECT_GT(radius(1), radius(2));
    EXPECT_GT(radius(4), radius(3)) << "and fills again";
    EXPECT_NEAR(radius(7), radius(0), 0.5) << "until the next beat";
  }
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
    FAIL() << "dcmtk is not installed; make deps does it";
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
    FAIL() << "dcmtk is not installed; make deps does it";
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

TEST_F(EveryPhantom, IsReadByDcmdumpWithoutComplaint) {
  if (!has("dcmdump")) {
    FAIL() << "dcmtk is not installed; make deps does it";
  }
  for (const std::string& name : tools::namesIn(ZRDCM_PHANTOMS)) {
    const std::string file = std::string(ZRDCM_PHANTOMS) + "/" + name;

    const Outcome dump = tools::runProgram({"dcmdump", file});

    EXPECT_EQ(dump.status, 0) << name;
    EXPECT_EQ(dump.errors, "") << name;
  }
}

// Three phantoms are what real devices write against the standard: overlays in the samples, which
// it has retired, a negative spacing, and YBR_FULL samples of an ultrasound clip.
TEST_F(EveryPhantom, IsValidToDciodvfyButForItsSubject) {
  const std::map<std::string, std::string> subjects = {
      {"ct-abdomen-overlays", "Overlay"},
      {"ct-head-volume", "SpacingBetweenSlices"},
      {"us-heart-ybr", "Photometric Interpretation|Planar Configuration"}};
  const std::regex coding("-(rle|jpeg.*)$");
  for (const std::string& name : tools::namesIn(ZRDCM_PHANTOMS)) {
    const std::string stem = std::filesystem::path(name).stem().string();
    const auto subject = subjects.find(std::regex_replace(stem, coding, ""));
    const Outcome check = tools::runProgram({"dciodvfy", phantom(stem)});

    std::istringstream lines(check.errors);
    for (std::string line; std::getline(lines, line);) {
      const bool meant =
          subject != subjects.end() && std::regex_search(line, std::regex(subject->second));
      EXPECT_TRUE(line.rfind("Error", 0) != 0 || meant) << name << ": " << line;
    }
    // It names the kind of image that it has checked.
    EXPECT_THAT(check.errors, testing::ContainsRegex("Image|RTDose")) << name;
  }
}

// Values that break the rules of their VR are errors here, and so is every warning.
constexpr const char* kReadEverything = R"(
import pathlib, pydicom, sys, warnings
warnings.simplefilter("error")
pydicom.config.settings.reading_validation_mode = pydicom.config.RAISE
for path in sorted(pathlib.Path(sys.argv[1]).glob("*.dcm")):
    try:
        pydicom.dcmread(path).walk(lambda dataset, element: element.value)
    except Exception as problem:
        print(f"{path.name}: {problem}")
)";

// argv: the phantoms, then the folder of our samples.
constexpr const char* kComparePixels = R"(
import numpy, pathlib, pydicom, sys
for path in sorted(pathlib.Path(sys.argv[2]).glob("*.npy")):
    ours = numpy.load(path)
    data = pydicom.dcmread(pathlib.Path(sys.argv[1]) / (path.stem + ".dcm")).PixelData
    theirs = numpy.frombuffer(data, ours.dtype, ours.size).reshape(ours.shape)
    print(path.stem, bool((ours == theirs).all()))
)";

// argv: the phantoms, then a folder of folders that zrdcm split wrote.
constexpr const char* kCompareVolumes = R"(
import json, numpy, pathlib, pydicom, sys
for folder in sorted(pathlib.Path(sys.argv[2]).iterdir()):
    frames = pydicom.dcmread(pathlib.Path(sys.argv[1]) / (folder.name + ".dcm")).pixel_array
    manifest = json.load(open(folder / "manifest.json"))
    seen = []
    for volume in manifest["volumes"]:
        samples = numpy.load(folder / volume["file"])
        assert len(samples) == len(volume["slices"])
        for index, slice in enumerate(volume["slices"]):
            assert slice["index"] == index and slice["offset"] == slice["frame"] * frames[0].nbytes
            assert samples[index].dtype == frames.dtype
            assert (samples[index] == frames[slice["frame"]]).all(), (folder.name, slice)
            seen.append(slice["frame"])
    print(folder.name, len(manifest["volumes"]), sorted(seen) == list(range(len(frames))))
)";

class PhantomInPydicom : public EveryPhantom {
protected:
  void SetUp() override {
    if (python({"import pydicom, numpy"}).status != 0) {
      FAIL() << "python3-pydicom is not installed; make deps does it";
    }
  }

  static Outcome python(const std::vector<std::string>& arguments) {
    std::vector<std::string> command{"/usr/bin/python3", "-c"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return tools::runProgram(command);
  }
};

TEST_F(PhantomInPydicom, IsReadWithoutComplaint) {
  const Outcome outcome = python({kReadEverything, ZRDCM_PHANTOMS});

  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_EQ(outcome.output, "");
}

TEST_F(PhantomInPydicom, HasTheSamplesOfZrdcm) {
  const support::TempDir folder;
  std::string expected;
  for (const std::string name :
       {"cr-hand-monochrome1", "ct-abdomen-overlays", "ct-head-volume", "ct-thorax-signed",
        "mr-head-enhanced", "mr-head-modality-lut", "nm-brain-interleaved", "nm-heart-gated",
        "rt-dose-falling", "rt-dose-irregular", "rt-dose-volume", "us-heart-rgb",
        "us-neck-sweep"}) {
    ASSERT_EQ(
        runZrdcm({"decode", phantom(name), "--stored", "-o", folder.file(name + ".npy").string()})
            .status,
        0);
    expected += name + " True\n";
  }

  const Outcome outcome = python({kComparePixels, ZRDCM_PHANTOMS, folder.path().string()});

  EXPECT_EQ(outcome.output, expected) << outcome.errors;
}

TEST_F(PhantomInPydicom, HasTheFramesOfEverySliceThatZrdcmSplitsOff) {
  const support::TempDir folder;
  for (const std::string name : {"ct-head-volume", "nm-brain-interleaved", "nm-heart-gated",
                                 "rt-dose-falling", "rt-dose-volume", "us-neck-sweep"}) {
    const Outcome split = runZrdcm(
        {"split", phantom(name), "--format", "npy", "-o", (folder.path() / name).string()});
    ASSERT_EQ(split.status, 0) << split.errors;
  }

  const Outcome outcome = python({kCompareVolumes, ZRDCM_PHANTOMS, folder.path().string()});

  EXPECT_EQ(outcome.output,
            "ct-head-volume 1 True\n"
            "nm-brain-interleaved 1 True\n"
            "nm-heart-gated 16 True\n"
            "rt-dose-falling 1 True\n"
            "rt-dose-volume 1 True\n"
            "us-neck-sweep 1 True\n")
      << outcome.errors;
}

}  // namespace
