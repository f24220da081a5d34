// SPDX-License-Identifier: BSD-3-Clause
// --frames delivers exactly the frames asked for, gray or colour, in every coding.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
