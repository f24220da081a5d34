// SPDX-License-Identifier: BSD-3-Clause
// zrdcm split and zrdcm overlays: files for each volume and mask, and what the manifest says.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <numeric>
#include <random>

namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using tools::Outcome;
using tools::runZrdcm;

constexpr const char* kGatedPointer = "(0054,0060)\\(0054,0070)\\(0054,0080)";

// Frames of 2 x 2 samples of 16 bits that are all different.
support::ImageBuilder nmFrames(const std::vector<Uint16>& sliceVector) {
  return support::monochromeImage(2, 2)
      .frames(static_cast<unsigned>(sliceVector.size()))
      .frameIncrementPointer("(0054,0080)")
      .with(DCM_SpacingBetweenSlices, "2.5")
      .with(DCM_NumberOfSlices, EVR_US, std::to_string(sliceVector.size()))
      .withUint16s(DCM_SliceVector, sliceVector);
}

constexpr std::size_t kFrameBytes = 2 * 2 * 2;

std::string samplesIn(const std::string& nrrd) {
  return nrrd.substr(nrrd.find("\n\n") + 2);
}

class SplitFile : public testing::Test {
protected:
  std::string input() const { return folder_.file("in.dcm").string(); }
  std::filesystem::path output(const std::string& name) const {
    return folder_.file("volumes") / name;
  }

  Outcome run(const std::vector<std::string>& options = {}) const {
    std::vector<std::string> arguments{"split", input(), "-o", folder_.file("volumes").string()};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return runZrdcm(arguments);
  }

  void split(const DcmDataset& dataset, const std::vector<std::string>& options = {}) {
    support::saveFile(dataset, input());
    const Outcome outcome = run(options);
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    manifest_ = json::parse(tools::readFile(output("manifest.json")));
  }

  /// The samples of all frames as `decode` writes them.
  std::string decoded() const {
    const std::string raw = folder_.file("all.raw").string();
    EXPECT_EQ(runZrdcm({"decode", input(), "-o", raw}).status, 0);
    return tools::readFile(raw);
  }

  std::string volume(const std::string& name) const {
    return samplesIn(tools::readFile(output(name)));
  }

  support::TempDir folder_;
  json manifest_;
};

TEST_F(SplitFile, HoldsTheFramesInTheOrderOfTheirSlices) {
  split(*nmFrames({3, 1, 4, 2}).build());

  const std::string all = decoded();
  const auto frame = [&](std::size_t i) { return all.substr(i * kFrameBytes, kFrameBytes); };
  EXPECT_EQ(tools::hex(volume("volume-000.nrrd")),
            tools::hex(frame(1) + frame(3) + frame(0) + frame(2)));
  EXPECT_THAT(tools::namesIn(output("")),
              ElementsAre("manifest.json", "volume-000.nrrd", "volume-000.png"));
}

TEST_F(SplitFile, HasAManifestOfItsSlices) {
  split(*nmFrames({3, 1, 4, 2})
             .rescale("2", "-1000")
             .window("40", "400")
             .spacing("0.5", "0.7")
             .build());

  EXPECT_EQ(manifest_["source"], "in.dcm");
  EXPECT_EQ(manifest_["split"], true);
  EXPECT_EQ(manifest_["reason"], nullptr);
  EXPECT_EQ(manifest_["pointer"], "(0054,0080)");
  EXPECT_EQ(manifest_["pointerKind"], "slice vector");
  EXPECT_EQ(manifest_["reversed"], false);
  EXPECT_EQ(manifest_["rescale"], (json{2.0, -1000.0}));
  EXPECT_EQ(manifest_["voiWindow"], (json{40.0, 400.0}));
  EXPECT_EQ(manifest_["pixelSpacing"], (json{0.7, 0.5}));
  EXPECT_EQ(manifest_["sliceSpacing"], 2.5);
  EXPECT_EQ(manifest_["type"], "uint16");
  EXPECT_EQ(manifest_["volumes"],
            (json::array({{{"file", "volume-000.nrrd"},
                           {"sheet", "volume-000.png"},
                           {"timeSlot", nullptr},
                           {"rrInterval", nullptr},
                           {"slices",
                            {{{"index", 0}, {"frame", 1}, {"offset", 8}},
                             {{"index", 1}, {"frame", 3}, {"offset", 24}},
                             {{"index", 2}, {"frame", 0}, {"offset", 0}},
                             {{"index", 3}, {"frame", 2}, {"offset", 16}}}}}})));
}

TEST_F(SplitFile, TellsShiftOfSignedSamples) {
  split(*nmFrames({1, 2}).signed16().samples({-5, 0, 1, 2, 3, 4, 5, 6}).build());

  EXPECT_EQ(manifest_["sampleOffset"], 32768.0);
  EXPECT_EQ(manifest_["modality"], nullptr);  // no line is there to be shifted
  EXPECT_EQ(manifest_["voiWindow"], nullptr);
  EXPECT_EQ(tools::hex(volume("volume-000.nrrd").substr(0, 2)), "fb 7f");  // 32763
}

// Frames 0 to 7 go through two R-R intervals of two time slots of two slices, slice 2 first.
TEST_F(SplitFile, HasAVolumeForEveryTimeSlotAndInterval) {
  split(*support::monochromeImage(2, 2)
             .frames(8)
             .frameIncrementPointer(kGatedPointer)
             .with(DCM_SpacingBetweenSlices, "1")
             .with(DCM_NumberOfSlices, EVR_US, "2")
             .with(DCM_NumberOfTimeSlots, EVR_US, "2")
             .with(DCM_NumberOfRRIntervals, EVR_US, "2")
             .withUint16s(DCM_RRIntervalVector, {1, 1, 1, 1, 2, 2, 2, 2})
             .withUint16s(DCM_TimeSlotVector, {1, 1, 2, 2, 1, 1, 2, 2})
             .withUint16s(DCM_SliceVector, {2, 1, 2, 1, 2, 1, 2, 1})
             .build());

  std::vector<std::string> gates;
  for (const json& volume : manifest_["volumes"]) {
    gates.push_back(volume["timeSlot"].dump() + " " + volume["rrInterval"].dump() + ": " +
                    volume["slices"][0]["frame"].dump() + " " +
                    volume["slices"][1]["frame"].dump());
  }
  EXPECT_THAT(gates, ElementsAre("0 0: 1 0", "0 1: 5 4", "1 0: 3 2", "1 1: 7 6"));
  EXPECT_EQ(manifest_["timeSlots"], 2);
  EXPECT_EQ(manifest_["rrIntervals"], 2);
  const std::string all = decoded();
  EXPECT_EQ(tools::hex(volume("volume-001.nrrd")),
            tools::hex(all.substr(5 * kFrameBytes, kFrameBytes) +
                       all.substr(4 * kFrameBytes, kFrameBytes)));
}

// The only frame of the second time slot says that it is slice 2: the first slice is missing, and
// what comes behind a gap is lost.
TEST_F(SplitFile, WritesNothingForAVolumeWithoutSlices) {
  split(*support::monochromeImage(2, 2)
             .frames(3)
             .frameIncrementPointer(kGatedPointer)
             .with(DCM_SpacingBetweenSlices, "1")
             .with(DCM_NumberOfSlices, EVR_US, "2")
             .with(DCM_NumberOfTimeSlots, EVR_US, "2")
             .with(DCM_NumberOfRRIntervals, EVR_US, "1")
             .withUint16s(DCM_RRIntervalVector, {1, 1, 1})
             .withUint16s(DCM_TimeSlotVector, {1, 1, 2})
             .withUint16s(DCM_SliceVector, {1, 2, 2})
             .build());

  EXPECT_THAT(tools::namesIn(output("")),
              ElementsAre("manifest.json", "volume-000.nrrd", "volume-000.png"));
  EXPECT_EQ(manifest_["volumes"][1], (json{{"file", nullptr},
                                           {"sheet", nullptr},
                                           {"timeSlot", 1},
                                           {"rrInterval", 0},
                                           {"slices", json::array()}}));
}

TEST_F(SplitFile, IsPutTogetherAgainByFrameNumber) {
  std::mt19937 random(7);
  std::vector<Uint16> slices(24);
  std::iota(slices.begin(), slices.end(), Uint16{1});
  for (int round = 0; round < 8; ++round) {
    std::shuffle(slices.begin(), slices.end(), random);
    split(*nmFrames(slices).build());

    const std::string volume = this->volume("volume-000.nrrd");
    std::string together(volume.size(), '\0');
    for (const json& slice : manifest_["volumes"][0]["slices"]) {
      const auto index = slice["index"].get<std::size_t>();
      together.replace(slice["offset"].get<std::size_t>(), kFrameBytes, volume, index * kFrameBytes,
                       kFrameBytes);
    }
    EXPECT_EQ(tools::hex(together), tools::hex(decoded()));
  }
}

TEST_F(SplitFile, KnowsItsSpacings) {
  split(*nmFrames({1, 2}).spacing("0.5", "0.7").build());

  EXPECT_THAT(tools::readFile(output("volume-000.nrrd")),
              HasSubstr("sizes: 2 2 2\nspacings: 0.7 0.5 2.5\n"));
}

TEST_F(SplitFile, IsWrittenForNumPyOnRequest) {
  split(*nmFrames({2, 1}).build(), {"--format", "npy"});

  const std::string npy = tools::readFile(output("volume-000.npy"));
  const std::string all = decoded();
  EXPECT_THAT(npy.substr(0, 128), HasSubstr("'shape': (2, 2, 2)"));
  EXPECT_EQ(tools::hex(npy.substr(128)),
            tools::hex(all.substr(kFrameBytes) + all.substr(0, kFrameBytes)));
  EXPECT_EQ(manifest_["volumes"][0]["file"], "volume-000.npy");
}

TEST_F(SplitFile, CompressesVolumesOnRequest) {
  split(*nmFrames({1, 2}).build(), {"--compress"});

  EXPECT_THAT(tools::readFile(output("volume-000.nrrd")), HasSubstr("\nencoding: gzip\n"));
}

TEST_F(SplitFile, WritesTiffWithAPageForEachSlice) {
  split(*nmFrames({1, 2}).build(), {"--format", "tiff"});

  EXPECT_EQ(manifest_["volumes"][0]["file"], "volume-000.tiff");
  EXPECT_THAT(tools::readFile(output("volume-000.tiff")), HasSubstr("frame spacing: 2.5\n"));
}

TEST_F(SplitFile, KeepsTheOrderOfReversedSlicesAndSaysSo) {
  split(*support::monochromeImage(2, 2)
             .frames(3)
             .frameIncrementPointer("(0018,0088)")
             .with(DCM_SpacingBetweenSlices, "-4")
             .build());

  EXPECT_EQ(manifest_["reversed"], true);
  EXPECT_EQ(manifest_["sliceSpacing"], -4.0);
  EXPECT_EQ(tools::hex(volume("volume-000.nrrd")), tools::hex(decoded()));
}

TEST_F(SplitFile, HasTheValuesOfAModalityTableWiderThanTheSamples) {
  support::DatasetBuilder table;
  table.withUint16s(DCM_LUTDescriptor, {4, 0, 16}).withWords(DCM_LUTData, {0, 1000, 2000, 3000});
  split(*nmFrames({2, 1})
             .unsigned8()
             .samples({0, 1, 2, 3, 3, 2, 1, 0})
             .withItem(DCM_ModalityLUTSequence, table)
             .build());

  // 3000, 2000, 1000, 0 and then the other way round.
  EXPECT_EQ(tools::hex(volume("volume-000.nrrd")),
            "b8 0b d0 07 e8 03 00 00 00 00 e8 03 d0 07 b8 0b");
}

TEST_F(SplitFile, HasASheetThatShowsTheSlicesInOrder) {
  std::vector<int> samples(4, 200);
  samples.resize(8, 50);
  split(*nmFrames({2, 1}).unsigned8().samples(samples).window("128", "256").build());

  const tools::Png sheet = tools::readPng(output("volume-000.png"));
  const auto firstOf = [&](std::uint16_t level) {
    const std::vector<std::uint16_t> gray(6, level);  // two pixels in a row
    return std::search(sheet.samples.begin(), sheet.samples.end(), gray.begin(), gray.end());
  };
  EXPECT_NE(firstOf(200), sheet.samples.end());
  EXPECT_LT(firstOf(50), firstOf(200));
}

TEST_F(SplitFile, KeepsColourWholeAndSaysSo) {
  support::saveFile(*support::rgbImage(2, 2).frames(3).frameIncrementPointer("(0018,1063)").build(),
                    input());

  const Outcome outcome = run();

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors,
            "zrdcm: " + input() + ": kept whole: colour frames are kept together\n");
  const json manifest = json::parse(tools::readFile(output("manifest.json")));
  EXPECT_EQ(manifest["split"], false);
  EXPECT_EQ(manifest["reason"], "colour frames are kept together");
  EXPECT_EQ(manifest["samplesPerPixel"], 3);
  ASSERT_EQ(manifest["volumes"].size(), 1U);
  EXPECT_EQ(manifest["volumes"][0]["slices"][2],
            (json{{"index", 2}, {"frame", 2}, {"offset", 24}}));
  EXPECT_EQ(tools::hex(volume("volume-000.nrrd")), tools::hex(decoded()));
}

TEST_F(SplitFile, OfCompressedColourHoldsEveryFrame) {
  const auto image = support::rgbImage(8, 8).frames(3).frameIncrementPointer("(0018,1063)").build();
  support::saveFile(*support::compress(*image, EXS_JPEGProcess14SV1), input(),
                    EXS_JPEGProcess14SV1);

  EXPECT_EQ(run().status, 0);

  EXPECT_EQ(tools::hex(volume("volume-000.nrrd")), tools::hex(decoded()));
}

TEST_F(SplitFile, PrintsTheManifestOnRequest) {
  support::saveFile(*nmFrames({2, 1}).build(), input());

  const Outcome outcome = run({"--json"});

  EXPECT_EQ(outcome.output, tools::readFile(output("manifest.json")));
}

TEST_F(SplitFile, WithoutRoomLeavesNoManifestNotEvenAnOlderOne) {
  split(*nmFrames({2, 1}).build());

  const Outcome outcome =
      tools::runProgram({"sh", "-c", "ulimit -f 0; exec \"$0\" split \"$1\" -o \"$2\" 2> /dev/full",
                         ZRDCM_PROGRAM, input(), folder_.file("volumes").string()});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(tools::namesIn(output("")), ElementsAre("volume-000.nrrd", "volume-000.png"));
}

TEST_F(SplitFile, IsRefusedWhereAFolderIsInTheManifestsPlace) {
  support::saveFile(*nmFrames({2, 1}).build(), input());
  std::filesystem::create_directories(output("manifest.json/inside"));

  const Outcome outcome = run();

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, "zrdcm: cannot replace " + output("manifest.json").string() +
                                ": Directory not empty\n");
  EXPECT_THAT(tools::namesIn(output("")), ElementsAre("manifest.json"));
}

struct Refusal {
  const char* name;
  support::ImageBuilder image;
  const char* reason;
};

class NotSplit : public testing::TestWithParam<Refusal> {};

TEST_P(NotSplit, SaysWhyAndWritesNothing) {
  const support::TempDir folder;
  const std::string file = folder.file("in.dcm").string();
  support::saveFile(*GetParam().image.build(), file);

  const Outcome outcome = runZrdcm({"split", file, "-o", folder.file("volumes").string()});
  const json report = json::parse(runZrdcm({"info", "--json", file}).output)[0];

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, "zrdcm: " + file + ": cannot be split: " + GetParam().reason + "\n");
  EXPECT_THAT(tools::namesIn(folder.path()), ElementsAre("in.dcm"));
  EXPECT_EQ(report["splitting"]["splittable"], false);
  EXPECT_EQ(report["splitting"]["reason"], GetParam().reason);
}

support::ImageBuilder framesOf(const std::string& pointer) {
  return support::monochromeImage(2, 2).frames(3).frameIncrementPointer(pointer);
}

INSTANTIATE_TEST_SUITE_P(
    Files, NotSplit,
    testing::Values(
        Refusal{"OneFrame", support::monochromeImage(2, 2), "no Number of Frames"},
        Refusal{"OneOfOneFrame",
                support::monochromeImage(2, 2)
                    .frames(1)
                    .frameIncrementPointer("(0018,1063)")
                    .with(DCM_SpacingBetweenSlices, "1")
                    .with(DCM_NumberOfFrames, "1"),
                "it has one frame"},
        Refusal{"NoPointer", support::monochromeImage(2, 2).frames(3),
                "no Frame Increment Pointer"},
        Refusal{"ColourWithoutPointer", support::rgbImage(2, 2).frames(3),
                "no Frame Increment Pointer"},
        Refusal{"NoSpacing", framesOf("(0018,1063)"),
                "neither Spacing Between Slices nor Grid Frame Offset Vector"},
        Refusal{"ZeroSpacing", framesOf("(0018,1063)").with(DCM_SpacingBetweenSlices, "0"),
                "Spacing Between Slices is 0 or no number"},
        Refusal{"IrregularGrid",
                framesOf("(3004,000c)").with(DCM_GridFrameOffsetVector, "0\\5\\11"),
                "the distances in Grid Frame Offset Vector vary"},
        Refusal{"ShortGrid", framesOf("(3004,000c)").with(DCM_GridFrameOffsetVector, "0"),
                "Grid Frame Offset Vector has fewer than two numbers"},
        Refusal{"UnknownPointer", framesOf("(0018,1060)").with(DCM_SpacingBetweenSlices, "1"),
                "the Frame Increment Pointer names no known order of frames"},
        Refusal{"SliceTwice", nmFrames({1, 1, 2}),
                "two frames have the same number in Slice Vector"}),
    support::nameOf<Refusal>);

class OverlayMasks : public testing::Test {
protected:
  Outcome write(const DcmDataset& dataset) {
    support::saveFile(dataset, folder_.file("in.dcm"));
    return runZrdcm({"overlays", folder_.file("in.dcm").string(), "-o",
                     folder_.file("masks").string(), "--json"});
  }

  support::TempDir folder_;
};

TEST_F(OverlayMasks, AreAsLargeAsTheFrame) {
  const Outcome outcome = write(*support::monochromeImage(3, 2)
                                     .bitsStored(8)
                                     .frames(2)
                                     .overlayBits(0x6000, 12, {{1, 0}, {2, 1}}, 1)
                                     .with(DcmTagKey(0x6000, 0x0015), EVR_IS, "2")
                                     .overlayBits(0x6002, 13, {{0, 0}}, 0)
                                     .build());

  ASSERT_EQ(outcome.status, 0) << outcome.errors;
  const std::filesystem::path masks = folder_.file("masks");
  EXPECT_THAT(tools::namesIn(masks),
              ElementsAre("overlay-6000-00001.png", "overlay-6002-00000.png"));
  const tools::Png mask = tools::readPng(masks / "overlay-6000-00001.png");
  EXPECT_EQ(mask.channels, 1);
  EXPECT_EQ(mask.columns, 3U);
  EXPECT_THAT(mask.samples, ElementsAre(0, 255, 0, 0, 0, 255));
  EXPECT_THAT(tools::readPng(masks / "overlay-6002-00000.png").samples,
              ElementsAre(255, 0, 0, 0, 0, 0));
  const json list = json::parse(outcome.output);
  ASSERT_EQ(list.size(), 2U);
  EXPECT_EQ(list[0], (json{{"file", (masks / "overlay-6000-00001.png").string()},
                           {"group", 0x6000},
                           {"frame", 1},
                           {"origin", {1, 0}},
                           {"size", {2, 2}},
                           {"embedded", true}}));
}

TEST_F(OverlayMasks, AreListedByName) {
  support::saveFile(
      *support::monochromeImage(3, 2).bitsStored(8).overlayBits(0x6000, 12, {{1, 0}}, 0).build(),
      folder_.file("in.dcm"));
  const std::string masks = folder_.file("masks").string();

  const Outcome outcome = runZrdcm({"overlays", folder_.file("in.dcm").string(), "-o", masks});

  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_EQ(outcome.output, masks + "/overlay-6000-00000.png\n");
}

TEST_F(OverlayMasks, OfAnImageWithoutOverlaysAreAFailure) {
  const Outcome outcome = write(*support::monochromeImage(3, 2).build());

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors,
            "zrdcm: " + folder_.file("in.dcm").string() +
                ": has no overlay with anything drawn, in its samples or with data of its own\n");
  EXPECT_THAT(tools::namesIn(folder_.path()), ElementsAre("in.dcm"));
}

}  // namespace
