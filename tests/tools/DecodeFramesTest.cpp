// SPDX-License-Identifier: BSD-3-Clause
// --frames delivers exactly the frames asked for, gray or colour, in every coding.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <functional>

namespace {

using tools::Outcome;
using tools::readFile;
using tools::runZrdcm;

constexpr std::size_t kColumns = 16;
constexpr std::size_t kRows = 8;
constexpr unsigned kFrames = 4;

// Every frame has one colour of its own, which even lossy codings keep apart.
std::vector<int> framesOfOneValueEach(std::size_t channels) {
  std::vector<int> samples;
  for (unsigned frame = 0; frame < kFrames; ++frame) {
    for (std::size_t i = 0; i < kColumns * kRows * channels; ++i) {
      samples.push_back(static_cast<int>(40 * frame + 20 * (i % channels)));
    }
  }
  return samples;
}

std::unique_ptr<DcmDataset> gray() {
  return support::monochromeImage(kColumns, kRows)
      .unsigned8()
      .frames(kFrames)
      .samples(framesOfOneValueEach(1))
      .build();
}

std::unique_ptr<DcmDataset> colour(const char* photometric) {
  return support::rgbImage(kColumns, kRows)
      .photometric(photometric)
      .frames(kFrames)
      .samples(framesOfOneValueEach(3))
      .build();
}

std::unique_ptr<DcmDataset> palette() {
  return support::paletteImage(kColumns, kRows)
      .frames(kFrames)
      .samples(framesOfOneValueEach(1))
      .build();
}

struct Clip {
  const char* name;
  std::function<std::unique_ptr<DcmDataset>()> image;
  E_TransferSyntax syntax;
};

void PrintTo(const Clip& clip, std::ostream* stream) {
  *stream << clip.name;
}

class FramesOfClip : public testing::TestWithParam<Clip> {
protected:
  void SetUp() override {
    const auto native = GetParam().image();
    const bool plain = GetParam().syntax == EXS_LittleEndianExplicit;
    support::saveFile(plain ? *native : *support::compress(*native, GetParam().syntax),
                      folder_.file("clip.dcm"), GetParam().syntax);
  }

  std::string decode(const std::vector<std::string>& options) {
    std::vector<std::string> arguments{"decode", folder_.file("clip.dcm").string(), "-o",
                                       folder_.file("out.raw").string()};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const Outcome outcome = runZrdcm(arguments);
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    return readFile(folder_.file("out.raw"));
  }

  support::TempDir folder_;
};

TEST_P(FramesOfClip, AreTheOnesAskedFor) {
  const std::string all = decode({});
  const std::size_t frameBytes = all.size() / kFrames;

  const std::string last = decode({"--frames", "3"});
  const std::string middle = decode({"--frames", "1-2"});
  const std::string first = decode({"--frames", "0"});

  EXPECT_EQ(last, all.substr(3 * frameBytes));
  EXPECT_EQ(middle, all.substr(frameBytes, 2 * frameBytes));
  EXPECT_EQ(first, all.substr(0, frameBytes));
  EXPECT_NE(last, first);
}

INSTANTIATE_TEST_SUITE_P(
    Codings, FramesOfClip,
    testing::Values(Clip{"GrayPlain", gray, EXS_LittleEndianExplicit},
                    Clip{"GrayRle", gray, EXS_RLELossless},
                    Clip{"GrayJpegLossless", gray, EXS_JPEGProcess14SV1},
                    Clip{"GrayJpegLs", gray, EXS_JPEGLSLossless},
                    Clip{"RgbPlain", [] { return colour("RGB"); }, EXS_LittleEndianExplicit},
                    Clip{"RgbRle", [] { return colour("RGB"); }, EXS_RLELossless},
                    Clip{"RgbJpegLossless", [] { return colour("RGB"); }, EXS_JPEGProcess14SV1},
                    Clip{"RgbJpegLs", [] { return colour("RGB"); }, EXS_JPEGLSLossless},
                    Clip{"RgbJpegBaseline", [] { return colour("RGB"); }, EXS_JPEGProcess1},
                    Clip{"YbrPlain", [] { return colour("YBR_FULL"); }, EXS_LittleEndianExplicit},
                    Clip{"YbrRle", [] { return colour("YBR_FULL"); }, EXS_RLELossless},
                    Clip{"PalettePlain", palette, EXS_LittleEndianExplicit},
                    Clip{"PaletteRle", palette, EXS_RLELossless}),
    support::nameOf<Clip>);

// What one frame needs is there, what all of them need is not.
TEST(FramesOfALongClip, TakeTheMemoryOfOne) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers need the address space for themselves";
#endif
  const support::TempDir folder;
  const std::string file = folder.file("clip.dcm").string();
  constexpr unsigned kLong = 120;
  std::vector<int> samples;
  for (unsigned frame = 0; frame < kLong; ++frame) {
    samples.insert(samples.end(), std::size_t{3} * 256 * 256, static_cast<int>(2 * frame));
  }
  const auto clip = support::rgbImage(256, 256).frames(kLong).samples(samples).build();  // 22.5 MiB
  for (const E_TransferSyntax syntax : {EXS_JPEGProcess1, EXS_RLELossless}) {
    support::saveFile(*support::compress(*clip, syntax), file, syntax);

    const Outcome one = runZrdcm({"--max-memory", "8M", "decode", file, "--frames", "119", "-o",
                                  folder.file("out.raw").string()});
    const Outcome all =
        runZrdcm({"--max-memory", "8M", "decode", file, "-o", folder.file("all.raw").string()});

    ASSERT_EQ(one.status, 0) << one.errors;
    const std::string bytes = readFile(folder.file("out.raw"));
    ASSERT_EQ(bytes.size(), 3U * 256 * 256);
    EXPECT_NEAR(static_cast<unsigned char>(bytes[0]), 238, 2);
    // 120 x 196,608 bytes; with two copies of one frame's cells and its planes four frames more
    EXPECT_EQ(all.errors, "zrdcm: " + file +
                              ": takes 22 MiB once it is decoded and 23 MiB while it is; "
                              "--max-memory allows 8 MiB\n");
  }
}

TEST(FramesBeyondSixteenBits, AreAllDelivered) {
  const support::TempDir folder;
  const std::string file = folder.file("clip.dcm").string();
  std::vector<int> samples(65540);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    samples[i] = static_cast<int>(i % 60000);
  }
  support::saveFile(*support::monochromeImage(1, 1).frames(65540).samples(samples).build(), file);

  const Outcome all = runZrdcm({"decode", file, "-o", folder.file("all.raw").string()});
  const Outcome last =
      runZrdcm({"decode", file, "--frames", "65539", "-o", folder.file("last.raw").string()});

  EXPECT_EQ(all.status, 0) << all.errors;
  EXPECT_EQ(std::filesystem::file_size(folder.file("all.raw")), 2U * 65540);
  EXPECT_EQ(last.status, 0) << last.errors;
  EXPECT_EQ(tools::hex(readFile(folder.file("last.raw"))), "a3 15");  // 5539
}

// ---- cells that the slice decoder does not read as they are meant

TEST(LeftAlignedSamples, AreShiftedRight) {
  const support::TempDir folder;
  const std::string file = folder.file("left.dcm").string();
  // 12 bits at the top of the cell: 1, 0x123 and 0xFFF, with something below that is not stored
  support::saveFile(*support::monochromeImage(3, 1)
                         .bitsStored(12)
                         .highBit(15)
                         .samples({0x0010, 0x1235, 0xFFFF})
                         .build(),
                    file);

  const Outcome values = runZrdcm({"decode", file, "-o", folder.file("out.raw").string()});
  const Outcome stored =
      runZrdcm({"decode", "--stored", file, "-o", folder.file("stored.raw").string()});

  EXPECT_EQ(values.status, 0) << values.errors;
  EXPECT_EQ(tools::hex(readFile(folder.file("out.raw"))), "01 00 23 01 ff 0f");
  EXPECT_EQ(stored.status, 0) << stored.errors;
  EXPECT_EQ(tools::hex(readFile(folder.file("stored.raw"))), "10 00 35 12 ff ff");
}

TEST(LeftAlignedSamples, KeepTheirSignsAndTheirLine) {
  const support::TempDir folder;
  const std::string file = folder.file("left.dcm").string();
  // -1 and 2 of 12 bits
  support::saveFile(*support::monochromeImage(2, 1)
                         .signed16()
                         .bitsStored(12)
                         .highBit(15)
                         .samples({0xFFF0, 0x0020})
                         .rescale("1", "-24")
                         .build(),
                    file);

  const Outcome run = runZrdcm({"decode", "--json", file, "-o", folder.file("out.raw").string()});

  EXPECT_EQ(run.status, 0) << run.errors;
  const auto report = nlohmann::json::parse(run.output);
  const std::string bytes = readFile(folder.file("out.raw"));
  const auto value = [&](std::size_t i) {
    const int sample =
        static_cast<unsigned char>(bytes[2 * i]) + 256 * static_cast<signed char>(bytes[2 * i + 1]);
    return report["modality"][0].get<double>() * sample + report["modality"][1].get<double>();
  };
  EXPECT_EQ(value(0), -25);
  EXPECT_EQ(value(1), -22);
}

TEST(NarrowStreams, AreWidenedToTheirCells) {
  const support::TempDir folder;
  const std::string file = folder.file("narrow.dcm").string();
  const auto image = support::compress(*gray(), EXS_JPEGProcess14SV1);
  ASSERT_TRUE(image->putAndInsertUint16(DCM_BitsAllocated, 16).good());
  support::saveFile(*image, file, EXS_JPEGProcess14SV1);

  const Outcome all = runZrdcm({"decode", file, "-o", folder.file("all.raw").string()});
  const Outcome one =
      runZrdcm({"decode", "--frames", "2", file, "-o", folder.file("one.raw").string()});

  EXPECT_EQ(all.status, 0) << all.errors;
  EXPECT_EQ(std::filesystem::file_size(folder.file("all.raw")), kFrames * kRows * kColumns * 2);
  EXPECT_EQ(one.status, 0) << one.errors;
  EXPECT_EQ(tools::hex(readFile(folder.file("one.raw")).substr(0, 4)), "50 00 50 00");  // 80
  const auto report = nlohmann::json::parse(runZrdcm({"info", "--json", file}).output)[0];
  EXPECT_EQ(report["error"], nullptr);
  EXPECT_EQ(report["image"]["frames"], kFrames);
  EXPECT_EQ(report["image"]["bytesPerSample"], 2);
}

// Eight bits in cells of sixteen are no reason: what is wrong are the bytes.
TEST(NarrowStreams, ThatAreDamagedAreCalledSo) {
  const support::TempDir folder;
  const std::string file = folder.file("narrow.dcm").string();
  const auto image = support::compress(*gray(), EXS_JPEGProcess14SV1);
  ASSERT_TRUE(image->putAndInsertUint16(DCM_BitsAllocated, 16).good());
  support::saveFile(*image, file, EXS_JPEGProcess14SV1);
  std::string bytes = readFile(file);
  const std::size_t tables = bytes.find("\xFF\xC4");
  ASSERT_NE(tables, std::string::npos);
  bytes.replace(tables + 2, 2, "\xFF\xFF");  // Huffman tables that never end
  tools::writeFile(file, bytes);
  const std::string reason =
      "SecondaryCaptureImageStorage has JPEG Lossless, Non-hierarchical, 1st Order Prediction "
      "(1.2.840.10008.1.2.4.70) data that does not decode: it is damaged, or of a kind that the "
      "decoder does not know";

  const Outcome run = runZrdcm({"decode", file, "-o", folder.file("out.raw").string()});
  const auto report = nlohmann::json::parse(runZrdcm({"info", "--json", file}).output)[0];

  EXPECT_EQ(run.errors, "zrdcm: " + file + ": " + reason + "\n");
  EXPECT_EQ(report["error"], reason);
}

TEST(PackedPixels, TakeAByteEach) {
  const support::TempDir folder;
  const std::string file = folder.file("bits.dcm").string();
  support::saveFile(*support::monochromeImage(3, 1)
                         .frames(2)
                         .withUint16(DCM_BitsAllocated, 1)
                         .withUint16(DCM_BitsStored, 1)
                         .withUint16(DCM_HighBit, 0)
                         .withPixels8({0b00101011, 0})
                         .build(),
                    file);

  const Outcome run = runZrdcm({"decode", file, "-o", folder.file("out.raw").string()});

  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(tools::hex(readFile(folder.file("out.raw"))), "01 01 00 01 00 01");
}

TEST(FramesOutOfRange, AreRefusedInOneLine) {
  const support::TempDir folder;
  const std::string file = folder.file("clip.dcm").string();
  support::saveFile(*gray(), file);

  const Outcome outcome =
      runZrdcm({"decode", file, "-o", folder.file("out.raw").string(), "--frames", "2-4"});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors,
            "zrdcm: " + file + ": has 4 frames (0-based: up to 3); there is no frame 4\n");
  EXPECT_FALSE(std::filesystem::exists(folder.file("out.raw")));
}

}  // namespace
