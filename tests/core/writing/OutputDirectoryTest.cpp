// SPDX-License-Identifier: BSD-3-Clause
// Choosing the directory of the files: what is kept, what is checked, what is said.
#include "core/writing/DiskFaults.h"
#include "core/writing/ExportFixture.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"
#include "writing/ZrDcmExportPrivate.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

/// Lets relative paths begin in another directory for a while.
class WorkingDirectory {
public:
  explicit WorkingDirectory(const fs::path& directory) : before_(fs::current_path()) {
    fs::current_path(directory);
  }
  ~WorkingDirectory() { fs::current_path(before_); }
  WorkingDirectory(const WorkingDirectory&) = delete;
  WorkingDirectory& operator=(const WorkingDirectory&) = delete;

private:
  fs::path before_;
};

void makeFile(const fs::path& path) {
  std::ofstream(path) << "text";
}

TEST(SetOutputBaseDirectory, AcceptsAWritableDirectory) {
  const support::LogCapture log;
  const support::TempDir folder;
  ZrDcmExportPrivate writer;

  EXPECT_TRUE(writer.setOutputBaseDirectory(folder.path().c_str()));

  EXPECT_EQ(writer.outputBaseDirectory, KtString(folder.path().string()));
  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(SetOutputBaseDirectory, CreatesAMissingDirectory) {
  const support::LogCapture log;
  const support::TempDir folder;
  const fs::path missing = folder.path() / "a" / "b";
  ZrDcmExportPrivate writer;

  EXPECT_TRUE(writer.setOutputBaseDirectory(missing.c_str()));

  EXPECT_TRUE(fs::is_directory(missing));
  EXPECT_THAT(log.texts(), IsEmpty());
  // 755 decimal is 01363: the sticky bit tells it from the octal mode, and no umask takes it away.
  EXPECT_NE(fs::status(missing).permissions() & fs::perms::sticky_bit, fs::perms::none);
}

TEST(SetOutputBaseDirectory, KeepsAPathThatIsNoDirectory) {
  const support::LogCapture log;
  const support::TempDir folder;
  const std::string file = folder.file("file").string();
  makeFile(file);
  ZrDcmExportPrivate writer;

  EXPECT_FALSE(writer.setOutputBaseDirectory(file.c_str()));

  EXPECT_EQ(writer.outputBaseDirectory, KtString(file));
  EXPECT_THAT(log.texts(),
              ElementsAre("Reformat: base output directory " + file + " is not a directory"));
}

TEST(SetOutputBaseDirectory, RefusesADirectoryThatIsReadOnly) {
  const support::LogCapture log;
  const support::TempDir folder;
  fs::permissions(folder.path(), fs::perms::owner_all | fs::perms::others_exec);
  const fs::path readOnly = folder.path() / "read-only";
  fs::create_directory(readOnly);
  fs::permissions(readOnly, fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read |
                                fs::perms::others_exec);
  ZrDcmExportPrivate writer;

  bool accepted = true;
  {
    const exporting::OrdinaryUser user;
    if (!user.isOrdinary()) {
      GTEST_SKIP() << "root cannot drop its privileges here";
    }
    accepted = writer.setOutputBaseDirectory(readOnly.c_str());
  }

  EXPECT_FALSE(accepted);
  EXPECT_EQ(writer.outputBaseDirectory, KtString(readOnly.string()));
  EXPECT_THAT(log.texts(), ElementsAre("Reformat: base output directory " + readOnly.string() +
                                       " is read-only"));
}

TEST(SetOutputBaseDirectory, SaysWhenADirectoryCannotBeCreated) {
  const support::LogCapture log;
  const support::TempDir folder;
  makeFile(folder.file("file"));
  const std::string below = (folder.file("file") / "below").string();
  ZrDcmExportPrivate writer;

  EXPECT_FALSE(writer.setOutputBaseDirectory(below.c_str()));

  EXPECT_EQ(writer.outputBaseDirectory, KtString(below));
  EXPECT_THAT(log.texts(),
              ElementsAre("Reformat: Unable to create base output directory " + below));
}

TEST(SetOutputBaseDirectory, SaysWhenANameIsTooLong) {
  const support::LogCapture log;
  const support::TempDir folder;
  const std::string tooLong = folder.file(std::string(300, 'x')).string();
  ZrDcmExportPrivate writer;

  EXPECT_FALSE(writer.setOutputBaseDirectory(tooLong.c_str()));

  EXPECT_THAT(log.texts(),
              ElementsAre("Reformat: Unable to create base output directory " + tooLong));
}

TEST(SetOutputBaseDirectory, PutsABackslashBehindABareDrive) {
  const support::LogCapture log;
  const support::TempDir folder;
  const WorkingDirectory there(folder.path());
  ZrDcmExportPrivate writer;

  EXPECT_TRUE(writer.setOutputBaseDirectory("C:"));

  EXPECT_EQ(writer.outputBaseDirectory, KtString("C:\\"));
  EXPECT_TRUE(fs::is_directory(folder.path() / "C:\\"));
}

TEST(SetOutputBaseDirectory, LeavesAColonWithinThePathAlone) {
  const support::TempDir folder;
  const fs::path path = folder.path() / "C:x";
  ZrDcmExportPrivate writer;

  EXPECT_TRUE(writer.setOutputBaseDirectory(path.c_str()));

  EXPECT_EQ(writer.outputBaseDirectory, KtString(path.string()));
}

TEST(SetOutputBaseDirectory, RefusesAnEmptyPathAndNoPath) {
  const support::LogCapture log;
  ZrDcmExportPrivate writer;

  EXPECT_FALSE(writer.setOutputBaseDirectory(""));
  EXPECT_FALSE(writer.setOutputBaseDirectory(nullptr));

  EXPECT_TRUE(writer.outputBaseDirectory.empty());
  EXPECT_THAT(log.texts(), ElementsAre("Reformat: Unable to create base output directory ",
                                       "Reformat: Unable to create base output directory "));
}

TEST(SetOutputBaseDirectory, LeavesTheLastErrorAsItWas) {
  const support::LogCapture log;
  const support::TempDir folder;
  makeFile(folder.file("file"));
  ZrDcmExportPrivate writer;
  ASSERT_FALSE(writer.addParameters(nullptr));

  EXPECT_FALSE(writer.setOutputBaseDirectory(folder.file("file").c_str()));

  EXPECT_EQ(writer.lastError(), "[addParameters] No input data!");
}

TEST(SetOutputBaseDirectory, IsWrittenIntoEvenAfterItWasRefused) {
  const support::LogCapture log;
  const support::TempDir folder;
  const fs::path directory = folder.path() / "later";
  makeFile(directory);
  ZrDcmExportPrivate writer = exporting::secondaryCaptureWriter("");
  ASSERT_FALSE(writer.setOutputBaseDirectory(directory.c_str()));
  fs::remove(directory);
  fs::create_directory(directory);
  std::vector<std::uint16_t> pixels = exporting::twelveSamples();

  EXPECT_TRUE(writer.writeImageAsIs(4, 3, pixels.data(), KtPrimType::U16, 1));

  EXPECT_TRUE(fs::exists(directory / "image.dcm"));
}

}  // namespace
