// SPDX-License-Identifier: BSD-3-Clause
// Standard output that nobody reads, or that is not there.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using testing::IsEmpty;
using tools::Outcome;

class StandardOutput : public testing::Test {
protected:
  StandardOutput() {
    support::saveFile(*support::monochromeImage(2, 2).build(), folder_.file("in"));
  }

  /// Runs a script of the shell in the folder; $zrdcm is the program.
  Outcome shell(const std::string& script) const {
    return tools::runProgram(
        {"sh", "-c", "cd \"$0\"; zrdcm=$1; " + script, folder_.path().string(), ZRDCM_PROGRAM});
  }

  /// What the program says on stderr, and then its status, when its reader goes away at once.
  std::string withoutReader(const std::string& arguments) const {
    return shell("{ sleep 0.3; \"$zrdcm\" " + arguments + "; echo $? >&2; } | true").errors;
  }

  support::TempDir folder_;
};

TEST_F(StandardOutput, WithoutReaderIsTheSilentEnd) {
  EXPECT_EQ(withoutReader("info in"), "141\n");
  EXPECT_EQ(withoutReader("dict --json"), "141\n");
  EXPECT_EQ(withoutReader("--help"), "141\n");
  EXPECT_EQ(withoutReader("info --help"), "141\n");
}

TEST_F(StandardOutput, WithoutReaderEndsTheWork) {
  // The files before the last one say more than a pipe's buffer of the C library holds.
  std::string files;
  for (int i = 0; i < 40; ++i) {
    files += " in";
  }

  EXPECT_EQ(withoutReader("info" + files + " nowhere"), "141\n");
}

TEST_F(StandardOutput, WithoutReaderTakesNoSamples) {
  EXPECT_EQ(shell("ln -s /dev/stdout out.raw; "
                  "{ sleep 0.3; \"$zrdcm\" decode in -o out.raw; echo $? >&2; } | true")
                .errors,
            "141\n");
}

TEST_F(StandardOutput, WithoutReaderLeavesWhatWasWritten) {
  EXPECT_EQ(withoutReader("decode in -o out.raw --json"), "141\n");

  EXPECT_EQ(tools::readFile(folder_.file("out.raw")).size(), 8U);
}

TEST_F(StandardOutput, ThatIsReadToItsEndIsNoFailure) {
  EXPECT_EQ(shell("{ \"$zrdcm\" info in; echo $? >&2; } | cat > /dev/null").errors, "0\n");
}

TEST_F(StandardOutput, ThatIsClosedIsAFailure) {
  const Outcome outcome = shell("\"$zrdcm\" info in >&-");

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, "zrdcm: cannot write the results to standard output\n");
}

// A file that is opened first of all would become standard output, and take the results.
TEST_F(StandardOutput, ThatIsClosedIsNoOtherFile) {
  const Outcome outcome = shell("ln -s /dev/stdout out.raw; \"$zrdcm\" decode in -o out.raw >&-");

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, "zrdcm: cannot write out.raw: Bad file descriptor\n");
}

}  // namespace
