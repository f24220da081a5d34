// SPDX-License-Identifier: BSD-3-Clause
// Output files as a program that links the library meets them.
#include "support/Files.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <functional>
#include <string>
#include <unistd.h>
#include <utility>
#include <zrimaging/Output.h>

namespace {

using testing::IsEmpty;

/// The error of the work with its reason; empty when there is none.
std::string errorOf(const std::function<void()>& work) {
  try {
    work();
  } catch (const zr::Error& error) {
    return std::string(zr::nameOf(error.reason())) + ": " + error.what();
  }
  return "";
}

TEST(OutputFile, AppearsWhenItIsWhole) {
  const support::TempDir folder;
  zr::OutputFile file(folder.file("out"), zr::ProtectedInputs());
  file.write("whole");
  EXPECT_FALSE(std::filesystem::exists(folder.file("out")));

  file.commit();

  EXPECT_EQ(support::readFile(folder.file("out")), "whole");
}

TEST(OutputFile, LeavesNothingWithoutCommit) {
  const support::TempDir folder;
  {
    zr::OutputFile first(folder.file("out"), zr::ProtectedInputs());
    zr::OutputFile file = std::move(first);
    file.write("half");
  }

  EXPECT_THAT(support::namesIn(folder.path()), IsEmpty());
}

TEST(ProtectedInput, IsNotReplacedUnderAnotherName) {
  const support::TempDir folder;
  support::writeFile(folder.file("in"), "input");
  std::filesystem::create_symlink("in", folder.file("link"));
  const zr::ProtectedInputs inputs({folder.file("in").string(), "", folder.file("none").string()});
  const zr::ProtectedInputs copy = inputs;
  const std::string message = "CannotWrite: cannot write " + folder.file("link").string() +
                              ": that would replace the input " + folder.file("in").string();

  EXPECT_EQ(errorOf([&] { inputs.refuseToReplace(folder.file("link")); }), message);
  EXPECT_EQ(errorOf([&] { const zr::OutputFile file(folder.file("link"), copy); }), message);
  EXPECT_EQ(errorOf([&] { inputs.refuseToReplace(folder.file("out")); }), "");
}

// The inputs may be a temporary.
TEST(ProtectedInput, IsAskedForAgainWhenTheFileIsNamed) {
  const support::TempDir folder;
  support::writeFile(folder.file("in"), "input");
  zr::OutputFile file(folder.file("out"), zr::ProtectedInputs({folder.file("in").string()}));
  std::filesystem::rename(folder.file("in"), folder.file("out"));

  EXPECT_NE(errorOf([&] { file.commit(); }), "");
  EXPECT_EQ(support::readFile(folder.file("out")), "input");
}

TEST(OutputFolder, IsMadeWithThoseAboveIt) {
  const support::TempDir folder;

  zr::createFolder(folder.file("a/b"));

  EXPECT_TRUE(std::filesystem::is_directory(folder.file("a/b")));
}

TEST(OutputFolder, IsRefusedWhereAFileIs) {
  const support::TempDir folder;
  support::writeFile(folder.file("a"), "");

  EXPECT_EQ(errorOf([&] { zr::createFolder(folder.file("a")); }).substr(0, 12), "CannotWrite:");
}

TEST(Leftovers, AreRemovedOnRequest) {
  const support::TempDir folder;
  zr::OutputFile file(folder.file("out"), zr::ProtectedInputs());
  ASSERT_EQ(support::namesIn(folder.path()).size(), 1U);

  zr::removeLeftovers();

  EXPECT_THAT(support::namesIn(folder.path()), IsEmpty());
}

TEST(Leftovers, AreRemovedWhenASignalEndsTheProgram) {
  const support::TempDir folder;

  EXPECT_EXIT(
      {
        zr::removeLeftoversOnSignals();
        zr::OutputFile file(folder.file("out"), zr::ProtectedInputs());
        (void)raise(SIGTERM);
      },
      testing::ExitedWithCode(143), "");

  EXPECT_THAT(support::namesIn(folder.path()), IsEmpty());
}

/// Ends with 7 when the library tells that the reader of standard output has gone, and not before.
[[noreturn]] void loseTheReader() {
  std::array<int, 2> ends{};
  const bool piped = pipe(ends.data()) == 0 && dup2(ends[1], STDOUT_FILENO) == STDOUT_FILENO;
  const bool wasThere = !zr::readerIsGone();
  (void)close(ends[0]);
  _exit(piped && wasThere && zr::readerIsGone() ? 7 : 1);
}

TEST(StandardOutput, TellsThatItsReaderIsGone) {
  EXPECT_EXIT(loseTheReader(), testing::ExitedWithCode(7), "");
}

TEST(StandardOutput, ThatIsClosedIsNotGivenToAFileOfOurs) {
  EXPECT_EXIT(
      {
        (void)close(STDIN_FILENO);
        zr::occupyStandardDescriptors();
        const int next = dup(STDERR_FILENO);
        _exit(next > STDERR_FILENO ? 7 : 1);
      },
      testing::ExitedWithCode(7), "");
}

}  // namespace
