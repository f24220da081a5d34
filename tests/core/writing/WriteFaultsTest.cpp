// SPDX-License-Identifier: BSD-3-Clause
// A true result means stored. Everything that can go wrong between the writer and the disk must
// come back as false with the message of the step that failed, and must not leave behind what
// reads like a whole file.
#include "core/writing/DiskFaults.h"
#include "core/writing/ExportFixture.h"
#include "core/writing/FailingClose.h"
#include "support/LogCapture.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "writing/OutputFile.h"
#include "writing/ZrDcmExportPrivate.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/resource.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

constexpr const char* kMetaInfoFailed = "[writeImage] failed to write metainfo!";
constexpr const char* kDatasetFailed = "[writeImage] failed to write dataset!";
constexpr std::uintmax_t kPageBytes = 4096;

class WriteFaults : public testing::Test {
protected:
  bool write(ZrDcmExportPrivate& writer) {
    return writer.writeImageAsIs(4, 3, pixels_.data(), KtPrimType::U16, 1);
  }

  void expectMetaInfoFailure(ZrDcmExportPrivate& writer) {
    EXPECT_FALSE(write(writer));
    EXPECT_EQ(writer.lastError(), kMetaInfoFailed);
    EXPECT_THAT(log_.texts(), ElementsAre("Reformat: [writeImage] failed to write metainfo!"));
  }

  support::LogCapture log_;
  support::TempDir folder_;
  std::vector<std::uint16_t> pixels_ = exporting::twelveSamples();
};

TEST_F(WriteFaults, ReportsADirectoryThatIsMissing) {
  ZrDcmExportPrivate writer = exporting::secondaryCaptureWriter(folder_.path() / "missing");

  expectMetaInfoFailure(writer);
  EXPECT_FALSE(fs::exists(folder_.path() / "missing"));
}

TEST_F(WriteFaults, ReportsADirectoryThatIsAFile) {
  std::ofstream(folder_.file("file")) << "text";
  ZrDcmExportPrivate writer = exporting::secondaryCaptureWriter(folder_.file("file"));

  expectMetaInfoFailure(writer);
  EXPECT_EQ(fs::file_size(folder_.file("file")), 4U);
}

TEST_F(WriteFaults, ReportsAFileThatIsADirectory) {
  fs::create_directory(folder_.file("image.dcm"));
  ZrDcmExportPrivate writer = exporting::secondaryCaptureWriter(folder_.path());

  expectMetaInfoFailure(writer);
  EXPECT_TRUE(fs::is_directory(folder_.file("image.dcm")));
}

TEST_F(WriteFaults, ReportsAMissingFileName) {
  ZrDcmExportPrivate writer = exporting::secondaryCaptureWriter(folder_.path());
  ASSERT_TRUE(writer.setFilename(nullptr));

  expectMetaInfoFailure(writer);
}

TEST_F(WriteFaults, ReportsANameThatIsTooLong) {
  ZrDcmExportPrivate writer = exporting::secondaryCaptureWriter(folder_.path());
  ASSERT_TRUE(writer.setFilename(std::string(300, 'x').c_str()));

  expectMetaInfoFailure(writer);
  EXPECT_TRUE(fs::is_empty(folder_.path()));
}

TEST_F(WriteFaults, ReportsADirectoryThatIsReadOnly) {
  fs::permissions(folder_.path(), fs::perms::owner_read | fs::perms::owner_exec |
                                      fs::perms::others_read | fs::perms::others_exec);
  ZrDcmExportPrivate writer = exporting::secondaryCaptureWriter(folder_.path());
  {
    const exporting::OrdinaryUser user;
    if (!user.isOrdinary()) {
      GTEST_SKIP() << "root cannot drop its privileges here";
    }
    expectMetaInfoFailure(writer);
  }
  EXPECT_TRUE(fs::is_empty(folder_.path()));
  fs::permissions(folder_.path(), fs::perms::owner_all);
}

TEST_F(WriteFaults, LeavesAFileAloneThatItMayNotWrite) {
  std::ofstream(folder_.file("image.dcm")) << "text";
  fs::permissions(folder_.path(), fs::perms::owner_all | fs::perms::others_exec);
  fs::permissions(folder_.file("image.dcm"), fs::perms::owner_read | fs::perms::others_read);
  ZrDcmExportPrivate writer = exporting::secondaryCaptureWriter(folder_.path());
  {
    const exporting::OrdinaryUser user;
    if (!user.isOrdinary()) {
      GTEST_SKIP() << "root cannot drop its privileges here";
    }
    expectMetaInfoFailure(writer);
  }
  EXPECT_EQ(fs::file_size(folder_.file("image.dcm")), 4U);
}

TEST_F(WriteFaults, ReportsADeviceThatIsFull) {
  if (!fs::exists("/dev/full")) {
    GTEST_SKIP() << "this system has no /dev/full";
  }
  ZrDcmExportPrivate writer = exporting::secondaryCaptureWriter("/dev");
  ASSERT_TRUE(writer.setFilename("full"));

  expectMetaInfoFailure(writer);
}

struct LateStep {
  const char* name;
  int closesBefore;  // each part of the file is asked for once
  const char* message;
};

// A file system behind a network may take every byte, and say only at the closing that they are
// lost.
class LateRefusal : public WriteFaults, public testing::WithParamInterface<LateStep> {};

TEST_P(LateRefusal, IsReportedByTheStepThatMetIt) {
  ZrDcmExportPrivate writer = exporting::secondaryCaptureWriter(folder_.path());
  {
    const exporting::FailingClose refusal(GetParam().closesBefore);
    EXPECT_FALSE(write(writer));
    EXPECT_TRUE(refusal.hasFailed());
  }

  EXPECT_EQ(writer.lastError(), GetParam().message);
  EXPECT_EQ(fs::file_size(folder_.file("image.dcm")), 0U);
}

INSTANTIATE_TEST_SUITE_P(Steps, LateRefusal,
                         testing::Values(LateStep{"MetaInformation", 0, kMetaInfoFailed},
                                         LateStep{"Dataset", 1, kDatasetFailed}),
                         support::nameOf<LateStep>);

TEST_F(WriteFaults, TakesAFileThatCannotBeAskedForUnwritten) {
  DcmDataset dataset;
  ASSERT_TRUE(dataset.putAndInsertString(DCM_PatientName, "A").good());
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  // UndefinedBehaviorSanitizer takes a descriptor for each class that it sees for the first time.
  ASSERT_TRUE(ZrDcmOutputFile(folder_.file("first.dcm").c_str()).write(dataset));
  bool done = true;
  {
    ZrDcmOutputFile file(folder_.file("image.dcm").c_str());
    const rlimit none = {0, before.rlim_max};  // open descriptors stay, and no other can be opened
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    done = file.write(dataset);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
  }

  EXPECT_FALSE(done);
  EXPECT_EQ(fs::file_size(folder_.file("image.dcm")), 0U);
}

struct ImageSize {
  const char* name;
  int side;
};

/// Samples behind about one kilobyte of attributes. Small images stay in one buffer on their way,
/// large ones are written in several pieces.
class DiskThatFillsUp : public testing::TestWithParam<ImageSize> {
protected:
  bool write() {
    writer_.outputBaseDirectory = folder_.path().string();
    const int side = GetParam().side;
    return writer_.writeImageAsIs(side, side, pixels_.data(), KtPrimType::U16, 1);
  }

  /// Size of the file when there is room for it; the file is taken away again.
  std::uintmax_t wholeFileBytes() {
    if (!write()) {
      throw std::runtime_error("the file cannot be written: " + writer_.lastError());
    }
    const std::uintmax_t bytes = fs::file_size(file());
    fs::remove(file());
    return bytes;
  }

  /// Preamble, prefix and meta information: 132 bytes, the group length with its 12 bytes, and the
  /// bytes that this counts.
  std::uintmax_t metaInfoBytes() {
    if (!write()) {
      throw std::runtime_error("the file cannot be written: " + writer_.lastError());
    }
    Uint32 groupLength = 0;
    const auto content = exporting::load(file());
    if (content->getMetaInfo()
            ->findAndGetUint32(DCM_FileMetaInformationGroupLength, groupLength)
            .bad()) {
      throw std::runtime_error("the file has no group length");
    }
    fs::remove(file());
    return 132 + 12 + groupLength;
  }

  void expectFailure(const char* message) {
    EXPECT_FALSE(write());
    EXPECT_EQ(writer_.lastError(), message);
    EXPECT_TRUE(!fs::exists(file()) || fs::file_size(file()) == 0) << "a fragment was left behind";
  }

  void expectStored() {
    ASSERT_TRUE(write());
    EXPECT_EQ(exporting::samplesOf(*exporting::load(file())->getDataset()), pixels_);
  }

  fs::path file() const { return folder_.file("image.dcm"); }

  support::LogCapture log_;
  support::TempDir folder_;
  ZrDcmExportPrivate writer_ = exporting::secondaryCaptureWriter("");
  std::vector<std::uint16_t> pixels_ = std::vector<std::uint16_t>(
      static_cast<std::size_t>(GetParam().side) * static_cast<std::size_t>(GetParam().side),
      0x1234);
};

TEST_P(DiskThatFillsUp, IsReportedAtEveryPage) {
  const std::uintmax_t whole = wholeFileBytes();
  ASSERT_GT(whole, 2 * kPageBytes);

  for (std::uintmax_t room = 0; room < whole; room += kPageBytes) {
    SCOPED_TRACE("room for " + std::to_string(room) + " bytes");
    const exporting::FileSizeLimit limit(room);
    expectFailure(room == 0 ? kMetaInfoFailed : kDatasetFailed);
  }
}

TEST_P(DiskThatFillsUp, IsReportedByTheStepThatFoundItFull) {
  const std::uintmax_t metaInfo = metaInfoBytes();
  const std::uintmax_t whole = wholeFileBytes();
  {
    const exporting::FileSizeLimit limit(metaInfo - 1);
    expectFailure(kMetaInfoFailed);
  }
  {
    const exporting::FileSizeLimit limit(metaInfo);
    expectFailure(kDatasetFailed);
  }
  {
    const exporting::FileSizeLimit limit(whole - 1);
    expectFailure(kDatasetFailed);
  }
  const exporting::FileSizeLimit limit(whole);
  expectStored();
}

TEST_P(DiskThatFillsUp, EmptiesTheFileThatWasThereBefore) {
  expectStored();

  const exporting::FileSizeLimit limit(kPageBytes);

  expectFailure(kDatasetFailed);
}

TEST_P(DiskThatFillsUp, IsReportedOnARealFileSystem) {
  const std::uintmax_t whole = wholeFileBytes();
  bool stored = false;
  for (std::uintmax_t room = kPageBytes; !stored && room <= whole + 4 * kPageBytes;
       room += kPageBytes) {
    SCOPED_TRACE("a disk of " + std::to_string(room) + " bytes");
    const exporting::SmallDisk disk(folder_.path(), room);
    if (!disk.isMounted()) {
      GTEST_SKIP() << "this process may not mount a file system";
    }
    if (room < whole) {
      // The first page takes the meta information in any case.
      expectFailure(kDatasetFailed);
    } else {
      stored = write();
      EXPECT_TRUE(stored || fs::file_size(file()) == 0);
    }
    if (stored) {
      expectStored();
    }
  }
  EXPECT_TRUE(stored) << "the file never fitted, so nothing was shown";
}

INSTANTIATE_TEST_SUITE_P(Images, DiskThatFillsUp,
                         testing::Values(ImageSize{"Of64x64", 64}, ImageSize{"Of512x512", 512}),
                         support::nameOf<ImageSize>);

}  // namespace
