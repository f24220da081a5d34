// SPDX-License-Identifier: BSD-3-Clause
// Files come out whole or not at all.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using tools::Outcome;
using tools::runZrdcm;

class Ending : public testing::TestWithParam<const char*> {
protected:
  void SetUp() override {
    support::saveFile(*support::monochromeImage(64, 64).build(), folder_.file("in.dcm"));
  }

  std::string input() const { return folder_.file("in.dcm").string(); }
  std::string output() const { return folder_.file(std::string("out") + GetParam()).string(); }

  support::TempDir folder_;
};

TEST_P(Ending, OnAFullDiskIsAFailure) {
  std::filesystem::create_symlink("/dev/full", output());

  const Outcome outcome = runZrdcm({"decode", input(), "-o", output()});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, "zrdcm: cannot write " + output() + ": No space left on device\n");
}

TEST_P(Ending, BeyondTheSizeLimitLeavesTheOlderFile) {
  tools::writeFile(output(), "older");

  // A limit of 0 blocks: the first byte is too much, as on a disk without room.
  const Outcome outcome = tools::runProgram(
      {"sh", "-c", "ulimit -f 0; exec \"$0\" decode \"$1\" -o \"$2\" 2> /dev/full", ZRDCM_PROGRAM,
       input(), output()});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(tools::readFile(output()), "older");
  EXPECT_EQ(tools::namesIn(folder_.path()).size(), 2U);
}

TEST_P(Ending, InAMissingFolderIsAFailure) {
  const std::string target = folder_.file("missing").string() + "/out" + GetParam();

  const Outcome outcome = runZrdcm({"decode", input(), "-o", target});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, "zrdcm: cannot write " + target + ": No such file or directory\n");
}

TEST_P(Ending, OverAFolderIsAFailure) {
  std::filesystem::create_directory(output());

  const Outcome outcome = runZrdcm({"decode", input(), "-o", output()});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, "zrdcm: cannot write " + output() + ": a folder has that name\n");
}

TEST_P(Ending, ReplacesAnOlderFileWithoutTraces) {
  tools::writeFile(output(), "older");

  const Outcome outcome = runZrdcm({"decode", input(), "-o", output()});

  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_NE(tools::readFile(output()), "older");
  EXPECT_THAT(tools::namesIn(folder_.path()),
              ElementsAre("in.dcm", std::string("out") + GetParam()));
}

TEST_P(Ending, ThroughALinkReplacesItsDestination) {
  tools::writeFile(folder_.file("real"), "older");
  std::filesystem::create_symlink("real", output());

  const Outcome outcome = runZrdcm({"decode", input(), "-o", output()});

  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_TRUE(std::filesystem::is_symlink(output()));
  EXPECT_NE(tools::readFile(folder_.file("real")), "older");
}

INSTANTIATE_TEST_SUITE_P(Formats, Ending,
                         testing::Values(".raw", ".npy", ".nrrd", ".png", ".tiff", ".jpg"),
                         [](const testing::TestParamInfo<const char*>& ending) {
                           return std::string(ending.param + 1);
                         });

TEST(SamplesFolder, ThatCannotBeMadeIsAFailure) {
  const support::TempDir folder;
  tools::writeFile(folder.file("file"), "x");

  const Outcome outcome = runZrdcm({"samples", folder.file("file").string() + "/phantoms"});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errorLines(), 1U);
  EXPECT_THAT(outcome.errors, HasSubstr("zrdcm: cannot make the folder "));
}

}  // namespace
