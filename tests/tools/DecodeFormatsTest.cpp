// SPDX-License-Identifier: BSD-3-Clause
// zrdcm decode into a format that is named, compressed, or into a pipe; and what pictures carry.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using tools::Outcome;
using tools::runZrdcm;

class DecodeFormats : public testing::Test {
protected:
  DecodeFormats() {
    support::saveFile(*support::monochromeImage(3, 5).samples(someSamples(15)).build(),
                      file("one.dcm"));
    support::saveFile(*support::monochromeImage(3, 5).frames(2).samples(someSamples(30)).build(),
                      file("two.dcm"));
  }

  static std::vector<int> someSamples(int count) {
    std::vector<int> samples;
    for (int i = 0; i < count; ++i) {
      samples.push_back(100 * i);
    }
    return samples;
  }

  std::string file(const std::string& name) const { return folder_.file(name).string(); }

  support::TempDir folder_;
};

// ---- standard output ----

struct PipedFormat {
  const char* name;
  const char* ending;
  const char* input;
  std::vector<std::string> options;
};

class DecodeIntoAPipe : public DecodeFormats, public testing::WithParamInterface<PipedFormat> {};

TEST_P(DecodeIntoAPipe, GivesTheBytesOfTheFileAndNothingElse) {
  const std::string path = file(std::string("out") + GetParam().ending);
  const auto decode = [this](const std::string& output) {
    std::vector<std::string> words = {"decode",   file(GetParam().input), "-o", output,
                                      "--format", GetParam().name};
    words.insert(words.end(), GetParam().options.begin(), GetParam().options.end());
    return runZrdcm(words);
  };
  ASSERT_EQ(decode(path).status, 0);

  const Outcome outcome = decode("-");

  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_THAT(outcome.errors, IsEmpty());
  EXPECT_EQ(tools::hex(outcome.output), tools::hex(tools::readFile(path)));
}

INSTANTIATE_TEST_SUITE_P(Formats, DecodeIntoAPipe,
                         testing::Values(PipedFormat{"npy", ".npy", "two.dcm", {}},
                                         PipedFormat{"nrrd", ".nrrd", "two.dcm", {}},
                                         PipedFormat{"nrrd", ".nrrd", "two.dcm", {"--compress"}},
                                         PipedFormat{"raw", ".raw", "two.dcm", {}},
                                         PipedFormat{"tiff", ".tiff", "two.dcm", {}},
                                         PipedFormat{"tiff", ".tiff", "two.dcm", {"--compress"}},
                                         PipedFormat{"png", ".png", "one.dcm", {}},
                                         PipedFormat{"jpeg", ".jpg", "two.dcm", {"--frames", "1"}}),
                         [](const testing::TestParamInfo<PipedFormat>& row) {
                           return row.param.name +
                                  std::string(row.param.options.empty() ? "" : "WithOptions");
                         });

TEST_F(DecodeFormats, OfManyPicturesDoNotGoIntoAPipe) {
  const Outcome outcome = runZrdcm({"decode", file("two.dcm"), "-o", "-", "--format", "png"});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.output, IsEmpty());
  EXPECT_EQ(outcome.errors, "zrdcm: " + file("two.dcm") +
                                ": 2 frames make as many files of the format png, and standard "
                                "output takes one: --frames chooses a frame\n");
}

TEST_F(DecodeFormats, AreNeededForStandardOutput) {
  const Outcome outcome = runZrdcm({"decode", file("one.dcm"), "-o", "-"});

  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.errors, StartsWith("zrdcm: --output - has no ending that tells the format: "
                                         "--format is needed\n"));
}

TEST_F(DecodeFormats, DoNotMixWithTheReport) {
  const Outcome outcome =
      runZrdcm({"decode", file("one.dcm"), "-o", "-", "--format", "raw", "--json"});

  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.output, IsEmpty());
  EXPECT_THAT(outcome.errors,
              StartsWith("zrdcm: --json and --output - both go to standard output\n"));
}

TEST_F(DecodeFormats, IntoClosedStandardOutputAreAFailure) {
  const Outcome outcome =
      tools::runProgram({"sh", "-c", "exec \"$0\" decode \"$1\" -o - --format nrrd >&-",
                         ZRDCM_PROGRAM, file("one.dcm")});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, "zrdcm: cannot write /dev/stdout: Bad file descriptor\n");
}

TEST_F(DecodeFormats, IntoAFullDiskAreAFailure) {
  for (const char* const format : {"raw", "tiff", "jpeg"}) {
    const Outcome outcome =
        tools::runProgram({"sh", "-c", "exec \"$0\" decode \"$1\" -o - --format $2 > /dev/full",
                           ZRDCM_PROGRAM, file("one.dcm"), format});

    EXPECT_EQ(outcome.status, 1) << format;
    EXPECT_EQ(outcome.errors, "zrdcm: cannot write /dev/stdout: No space left on device\n");
  }
}

// What the shell reports of a reader that has gone, as of every other output.
TEST_F(DecodeFormats, WithoutReaderAreTheSilentEnd) {
  for (const char* const format : {"npy", "tiff", "png"}) {
    const Outcome outcome = tools::runProgram(
        {"sh", "-c", "{ sleep 0.3; \"$0\" decode \"$1\" -o - --format $2; echo $? >&2; } | true",
         ZRDCM_PROGRAM, file("one.dcm"), format});

    EXPECT_EQ(outcome.errors, "141\n") << format;
  }
}

// ---- names and compression ----

TEST_F(DecodeFormats, ThatAreNamedRuleOverTheEnding) {
  ASSERT_EQ(
      runZrdcm({"decode", file("one.dcm"), "-o", file("samples.bin"), "--format", "npy"}).status,
      0);

  EXPECT_THAT(tools::readFile(file("samples.bin")), StartsWith("\x93NUMPY"));
}

TEST_F(DecodeFormats, AreCompressedOnRequest) {
  ASSERT_EQ(runZrdcm({"decode", file("one.dcm"), "-o", file("a.nrrd"), "--compress"}).status, 0);

  EXPECT_THAT(tools::readFile(file("a.nrrd")), HasSubstr("\nencoding: gzip\n"));
}

TEST_F(DecodeFormats, ThatLeaveNoChoiceAreNotCompressedOnRequest) {
  const Outcome outcome = runZrdcm({"decode", file("one.dcm"), "-o", file("a.npy"), "--compress"});

  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.errors, StartsWith("zrdcm: --compress is for .nrrd or .tiff only\n"));
}

TEST_F(DecodeFormats, WithLossAreAsCoarseAsAskedFor) {
  ASSERT_EQ(runZrdcm({"decode", file("one.dcm"), "-o", file("a.jpg"), "--quality", "50"}).status,
            0);

  // The luminance table of quality 50 is that of the standard: ISO/IEC 10918-1, K.1.
  EXPECT_THAT(tools::readFile(file("a.jpg")),
              HasSubstr(std::string("\xFF\xDB\0\x43\0\x10\x0B\x0C\x0E", 9)));
}

TEST_F(DecodeFormats, WithoutLossHaveNoQuality) {
  const Outcome outcome =
      runZrdcm({"decode", file("one.dcm"), "-o", file("a.png"), "--quality", "50"});

  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.errors, StartsWith("zrdcm: --quality is for .jpg only\n"));
}

TEST_F(DecodeFormats, HaveAQualityBetweenOneAndAHundred) {
  EXPECT_EQ(runZrdcm({"decode", file("one.dcm"), "-o", file("a.jpg"), "--quality", "101"}).status,
            2);
}

// ---- ICC profiles ----

/// A profile that has the lengths and names of one (ICC.1, 7.2), and a text by which a test finds
/// it.
std::vector<Uint8> profile() {
  std::vector<Uint8> bytes(152);
  const auto set = [&bytes](std::size_t at, const std::string& text) {
    std::copy(text.begin(), text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
  };
  set(0, std::string("\0\0\0\x98", 4));
  set(12, "mntrRGB XYZ ");
  set(36, "acsp");
  set(132, "our own profile");
  return bytes;
}

TEST_F(DecodeFormats, OfPicturesCarryTheIccProfile) {
  support::saveFile(*support::rgbImage(1, 1).withBytes(DCM_ICCProfile, profile()).build(),
                    file("colour.dcm"));

  for (const char* const ending : {".jpg", ".tiff"}) {
    const std::string output = file(std::string("out") + ending);
    const Outcome outcome = runZrdcm({"decode", file("colour.dcm"), "-o", output});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.errors, IsEmpty());
    EXPECT_THAT(tools::readFile(output), HasSubstr("our own profile")) << ending;
  }
}

TEST_F(DecodeFormats, OfSlidesCarryTheIccProfileOfTheOpticalPath) {
  auto path = support::DatasetBuilder().withBytes(DCM_ICCProfile, profile());
  support::saveFile(*support::rgbImage(1, 1).withItem(DCM_OpticalPathSequence, path).build(),
                    file("slide.dcm"));

  ASSERT_EQ(runZrdcm({"decode", file("slide.dcm"), "-o", file("out.jpg")}).status, 0);

  EXPECT_THAT(tools::readFile(file("out.jpg")), HasSubstr("our own profile"));
}

TEST_F(DecodeFormats, LeaveABrokenIccProfileOutWithOneRemark) {
  std::vector<Uint8> broken = profile();
  broken[36] = 'b';
  support::saveFile(*support::rgbImage(1, 1).frames(3).withBytes(DCM_ICCProfile, broken).build(),
                    file("colour.dcm"));

  const Outcome outcome = runZrdcm({"decode", file("colour.dcm"), "-o", file("out.jpg")});

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors, "zrdcm: " + file("colour.dcm") +
                                ": the ICC profile is left out: its signature is missing\n");
  EXPECT_THAT(tools::readFile(file("out-002.jpg")), Not(HasSubstr("our own profile")));
}

TEST_F(DecodeFormats, OfPicturesHaveTheDensityOfThePixels) {
  support::saveFile(*support::ctSlice(2, 2).with(DCM_PixelSpacing, "0.5\\0.25").build(),
                    file("ct.dcm"));

  ASSERT_EQ(runZrdcm({"decode", file("ct.dcm"), "-o", file("out.jpg")}).status, 0);

  // JFIF: unit 2 is dots per cm; 40 across, 20 down.
  EXPECT_THAT(tools::readFile(file("out.jpg")),
              HasSubstr(std::string("JFIF\0\x01\x01\x02\0\x28\0\x14", 12)));
}

}  // namespace
