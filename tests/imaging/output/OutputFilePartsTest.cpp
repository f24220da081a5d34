// SPDX-License-Identifier: BSD-3-Clause
// Output files where no user brings it about: somebody else changes the folder meanwhile,
// descriptors run out, a caller asks for what no front end asks for.
#include "support/ChildProcess.h"
#include "support/Compression.h"
#include "support/Files.h"
#include "support/ImageBuilder.h"
#include "support/TempDir.h"
#include "zrimaging/DicomWriter.h"
#include "zrimaging/files/Condition.h"
#include "zrimaging/output/Leftovers.h"
#include "zrimaging/output/LibraryFile.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <zrimaging/Error.h>
#include <zrimaging/File.h>
#include <zrimaging/Output.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

/// What the user reads of the work's failure; empty when it does not fail.
std::string failureOf(const std::function<void()>& work) {
  try {
    work();
  } catch (const zr::Error& error) {
    return error.what();
  }
  return "";
}

/// Allows this process `spare` descriptors more than it has now.
class FewDescriptors {
public:
  explicit FewDescriptors(int spare) {
    const int lowestFree = open("/dev/null", O_RDONLY | O_CLOEXEC);
    close(lowestFree);
    if (lowestFree < 0 || getrlimit(RLIMIT_NOFILE, &before_) != 0) {
      throw std::system_error(errno, std::generic_category(), "descriptors");
    }
    rlimit few = before_;
    few.rlim_cur = static_cast<rlim_t>(lowestFree + spare);
    setrlimit(RLIMIT_NOFILE, &few);
  }
  ~FewDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }
  FewDescriptors(const FewDescriptors&) = delete;
  FewDescriptors& operator=(const FewDescriptors&) = delete;

private:
  rlimit before_{};
};

TEST(OutputFile, WithoutCommitLeavesTheOlderFileAndNothingElse) {
  const support::TempDir folder;
  support::writeFile(folder.file("out"), "older");

  {
    const zr::ProtectedInputs none;
    zr::OutputFile file(folder.file("out"), none);
    file.write("newer");
  }

  EXPECT_THAT(support::namesIn(folder.path()), ElementsAre("out"));
  EXPECT_EQ(support::readFile(folder.file("out")), "older");
}

TEST(OutputFile, LeavesNothingWhereAFolderTookItsPlace) {
  const support::TempDir folder;
  const zr::ProtectedInputs none;
  zr::OutputFile file(folder.file("out"), none);
  file.write("text");
  std::filesystem::create_directory(folder.file("out"));

  EXPECT_EQ(failureOf([&] { file.commit(); }),
            "cannot write " + folder.file("out").string() + ": Is a directory");
  EXPECT_THAT(support::namesIn(folder.path()), ElementsAre("out"));
  EXPECT_THAT(support::namesIn(folder.file("out")), IsEmpty());
}

TEST(OutputFile, OfAnInputIsRefusedAtOnce) {
  const support::TempDir folder;
  const std::string input = folder.file("in").string();
  support::writeFile(input, "input");
  const zr::ProtectedInputs inputs({input});
  const std::string refusal = "cannot write " + input + ": that would replace the input " + input;

  EXPECT_EQ(failureOf([&] { const zr::OutputFile file(input, inputs); }), refusal);
  EXPECT_EQ(failureOf([&] { const zr::LibraryFile file(input, inputs); }), refusal);
}

TEST(OutputFile, DoesNotReplaceAnInputThatHasComeThereMeanwhile) {
  const support::TempDir folder;
  support::writeFile(folder.file("in"), "input");
  const zr::ProtectedInputs inputs({folder.file("in").string()});
  zr::OutputFile file(folder.file("out"), inputs);
  file.write("text");
  std::filesystem::rename(folder.file("in"), folder.file("out"));

  EXPECT_THAT(failureOf([&] { file.commit(); }), HasSubstr("that would replace the input "));
  EXPECT_EQ(support::readFile(folder.file("out")), "input");
}

TEST(OutputFile, TakesPiecesOfAnySize) {
  const support::TempDir folder;
  const zr::ProtectedInputs none;
  zr::OutputFile file(folder.file("out"), none);
  std::string expected;
  for (const std::size_t size : {1U, 65535U, 2U, 65536U, 65537U, 0U, 200000U, 3U}) {
    const std::string piece(size, static_cast<char>('a' + expected.size() % 26));
    file.write(piece);
    expected += piece;
  }

  file.commit();

  EXPECT_EQ(support::readFile(folder.file("out")), expected);
}

TEST(LibraryFile, IsNotNamedUnlessItIsWhole) {
  const support::TempDir folder;
  const zr::ProtectedInputs none;
  const std::string target = folder.file("out").string();
  const std::string incomplete = "cannot write " + target + ": the file came out incomplete";
  support::writeFile(target, "older");
  {
    zr::LibraryFile file(target, none);
    const std::filesystem::path written = file.folder() / file.name();
    EXPECT_EQ(failureOf([&] { file.commit(1); }),
              "cannot write " + target + ": No such file or directory");
    std::filesystem::create_directory(written);
    EXPECT_EQ(failureOf([&] { file.commit(0); }), incomplete);
    std::filesystem::remove(written);
    support::writeFile(written, "abc");
    EXPECT_EQ(failureOf([&] { file.commit(4); }), incomplete);
    EXPECT_EQ(support::readFile(target), "older");

    file.commit(3);
  }

  EXPECT_THAT(support::namesIn(folder.path()), ElementsAre("out"));
  EXPECT_EQ(support::readFile(target), "abc");
}

// What a signal handler calls.
TEST(Leftovers, AreRemovedAtOnce) {
  const support::TempDir folder;
  const zr::ProtectedInputs none;
  zr::createFolder(folder.file("kept/empty/emptier"));
  support::writeFile(folder.file("kept/whole"), "whole");
  const zr::OutputFile first(folder.file("kept/first"), none);
  const zr::LibraryFile second(folder.file("second"), none);
  support::writeFile(second.folder() / second.name(), "half");
  zr::OutputFile third(folder.file("third"), none);
  third.commit();

  zr::removeLeftovers();

  EXPECT_THAT(support::namesIn(folder.path()), ElementsAre("kept", "third"));
  EXPECT_THAT(support::namesIn(folder.file("kept")), ElementsAre("whole"));
}

TEST(Signal, WaitsWhileAFileIsMade) {
  const support::TempDir folder;
  const pid_t child = fork();
  if (child == 0) {
    zr::removeLeftoversOnSignals();
    {
      const zr::SignalsHeld held;
      (void)raise(SIGTERM);
      { const zr::SignalsHeld within; }  // its end alone lets no signal in
      support::writeFile(folder.file("reached"), "");
    }
    support::leaveChild(1);
  }

  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 143);
  EXPECT_THAT(support::namesIn(folder.path()), ElementsAre("reached"));
}

TEST(File, SaysWhyItCannotBeOpened) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers need descriptors for themselves";
#endif
  const support::TempDir folder;
  support::saveFile(*support::monochromeImage(2, 2).build(), folder.file("in.dcm"));
  const FewDescriptors none(0);

  EXPECT_EQ(failureOf([&] { const zr::File file(folder.file("in.dcm")); }),
            "cannot be opened: Too many open files");
}

TEST(DicomWriter, SaysWhyItCannotOpenItsFile) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers need descriptors for themselves";
#endif
  const support::TempDir folder;
  DcmFileFormat file(support::monochromeImage(2, 2).build().get());
  const std::string target = folder.file("out.dcm").string();

  const std::string failure = failureOf([&] {
    const FewDescriptors none(0);
    zr::writeDicomFile(file, EXS_LittleEndianExplicit, target, {});
  });

  EXPECT_EQ(failure, "cannot write " + target + ": Too many open files");
  EXPECT_THAT(support::namesIn(folder.path()), IsEmpty());
}

TEST(DicomWriter, LeavesNothingOfWhatItCannotEncode) {
  const support::TempDir folder;
  DcmFileFormat file(support::monochromeImage(2, 2).build().get());
  const std::string target = folder.file("out.dcm").string();

  const std::string failure =
      failureOf([&] { zr::writeDicomFile(file, EXS_JPEG2000LosslessOnly, target, {}); });

  EXPECT_THAT(failure, StartsWith("cannot write " + target + ": "));
  EXPECT_THAT(support::namesIn(folder.path()), IsEmpty());
}

TEST(Condition, SaysWhatCouldNotBeDoneAndWhy) {
  EXPECT_EQ(failureOf([] { zr::require(EC_Normal, "set Rows"); }), "");
  EXPECT_EQ(failureOf([] { zr::require(EC_TagNotFound, "set Rows"); }),
            std::string("cannot set Rows: ") + OFCondition(EC_TagNotFound).text());
}

}  // namespace
