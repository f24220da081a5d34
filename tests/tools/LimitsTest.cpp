// SPDX-License-Identifier: BSD-3-Clause
// What every verb shares: the memory that a run may take, and how much it says.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using tools::Outcome;
using tools::runZrdcm;

class MemoryLimit : public testing::Test {
protected:
  // An image whose attributes claim what the file does not hold.
  std::string claim(Uint16 columns, Uint16 rows, const std::string& frames) const {
    const std::string file = folder_.file("claims.dcm").string();
    support::saveFile(*support::monochromeImage(2, 2)
                           .withUint16(DCM_Columns, columns)
                           .withUint16(DCM_Rows, rows)
                           .with(DCM_NumberOfFrames, frames)
                           .build(),
                      file);
    return file;
  }

  // A small file that swells to 48 MiB when it is read.
  std::string swellingFile() const {
    const std::string file = folder_.file("swells.dcm").string();
    const std::vector<Uint8> zeros(std::size_t{48} << 20U);
    support::saveFile(
        *support::monochromeImage(2, 2).withBytes(DCM_EncapsulatedDocument, zeros, EVR_OB).build(),
        file, EXS_DeflatedLittleEndianExplicit);
    EXPECT_LT(std::filesystem::file_size(file), 1U << 20U);
    return file;
  }

  std::string inFolder(const std::string& name) const { return folder_.file(name).string(); }

  static void expectRefused(const Outcome& run, const std::string& file, const char* reason) {
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.errors, "zrdcm: " + file + ": " + reason + "\n");
  }

private:
  support::TempDir folder_;
};

TEST_F(MemoryLimit, IsFourGibibytesWhenNobodySaysOtherwise) {
  const std::string file = claim(65535, 65535, "1");  // 2 bytes a sample

  expectRefused(runZrdcm({"decode", file, "-o", inFolder("out.npy")}), file,
                "takes 8191 MiB once it is decoded; --max-memory allows 4096 MiB");
  expectRefused(runZrdcm({"info", "--json", file}), file,
                "takes 8191 MiB once it is decoded; --max-memory allows 4096 MiB");
}

TEST_F(MemoryLimit, IsWhatTheUserSays) {
  const std::string file = claim(8192, 8192, "1");

  expectRefused(runZrdcm({"--max-memory", "100M", "decode", file, "-o", inFolder("out.npy")}), file,
                "takes 128 MiB once it is decoded; --max-memory allows 100 MiB");
}

TEST_F(MemoryLimit, CountsAllFramesThatAreClaimed) {
  const std::string file = claim(65535, 65535, "2147483647");

  // 65535 x 65535 x 2 x (2^31 - 1) bytes, just below 2^64
  expectRefused(runZrdcm({"decode", file, "-o", inFolder("out.npy")}), file,
                "takes 17591649169408 MiB once it is decoded; --max-memory allows 4096 MiB");
}

TEST_F(MemoryLimit, HoldsWhereTheNumbersEnd) {
  const std::string file = inFolder("claims.dcm");
  support::saveFile(*support::monochromeImage(2, 2)
                         .withUint16(DCM_Columns, 65535)
                         .withUint16(DCM_Rows, 65535)
                         .withUint16(DCM_SamplesPerPixel, 65535)
                         .with(DCM_NumberOfFrames, "2147483647")
                         .build(),
                    file);

  // A product modulo 2^64 could be small.
  expectRefused(runZrdcm({"decode", file, "-o", inFolder("out.npy")}), file,
                "takes 17592186044415 MiB once it is decoded; --max-memory allows 4096 MiB");
}

TEST_F(MemoryLimit, CountsOnlyTheFramesThatAreWanted) {
  const std::string file = inFolder("long.dcm");
  support::saveFile(*support::monochromeImage(512, 512).frames(96).build(), file);  // 48 MiB

  const Outcome whole =
      runZrdcm({"--max-memory", "32M", "decode", file, "-o", inFolder("whole.npy")});
  const Outcome one = runZrdcm(
      {"--max-memory", "32M", "decode", file, "--frames", "95", "-o", inFolder("one.raw")});

  expectRefused(whole, file, "takes 48 MiB once it is decoded; --max-memory allows 32 MiB");
  EXPECT_EQ(one.status, 0) << one.errors;
  EXPECT_EQ(std::filesystem::file_size(inFolder("one.raw")), 512U * 512U * 2U);
}

// The attributes say nothing of what a deflated file swells to.
TEST_F(MemoryLimit, HoldsForWhatNoAttributeTells) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers need the address space for themselves";
#endif
  const std::string file = swellingFile();

  const Outcome small = runZrdcm({"--max-memory", "32M", "text", file, "Rows"});
  const Outcome large = runZrdcm({"--max-memory", "512M", "text", file, "Rows"});

  expectRefused(small, file, "out of memory");
  EXPECT_EQ(large.output, "2\n") << large.errors;
}

TEST_F(MemoryLimit, EndsInOneLineHoweverSmallItIs) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers need the address space for themselves";
#endif
  const std::string file = swellingFile();

  for (const char* limit : {"1", "64K", "256K", "1M"}) {
    const Outcome run = runZrdcm({"--max-memory", limit, "text", file, "Rows"});
    EXPECT_EQ(run.status, 1) << limit;
    // zlib does not say why it cannot begin, so the reason differs with the limit.
    EXPECT_THAT(run.errors, StartsWith("zrdcm: " + file + ": ")) << limit;
    EXPECT_EQ(run.errorLines(), 1U) << limit;
  }
}

TEST_F(MemoryLimit, IsOfNoConcernToFilesWhosePixelsAreNotRead) {
  std::vector<std::string> arguments = {"--max-memory", "32M", "sort"};
  for (int number = 1; number <= 3; ++number) {
    arguments.push_back(inFolder("series" + std::to_string(number)));
    support::saveFile(*support::monochromeImage(512, 512)
                           .frames(96)
                           .with(DCM_InstanceNumber, std::to_string(4 - number))
                           .build(),
                      arguments.back());
  }

  const Outcome run = runZrdcm(arguments);

  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(run.output,
            inFolder("series3") + "\n" + inFolder("series2") + "\n" + inFolder("series1") + "\n");
}

class WrongMemoryLimit : public testing::TestWithParam<const char*> {};

TEST_P(WrongMemoryLimit, IsWrongUsage) {
  const Outcome run = runZrdcm({std::string("--max-memory=") + GetParam(), "dict"});

  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.errors, std::string("zrdcm: --max-memory wants a size such as 512M or 16G: ") +
                            GetParam() + "\n");
}

INSTANTIATE_TEST_SUITE_P(Sizes, WrongMemoryLimit,
                         testing::Values("0", "-5", "much", "4X", "4MM", "99999999999999999999"));

TEST(MemoryLimitUnit, MayBeWrittenInManyWays) {
  for (const char* size : {"1073741824", "1048576k", "1024M", "1024MB", "1024MiB", "1g", "1T",
                           "1073741824b", "17592186044416T"}) {
    EXPECT_EQ(runZrdcm({"--max-memory", size, "dict", "--internal"}).status, 0) << size;
  }
}

// ---- how much is said ----

TEST(Quiet, LeavesOnlyTheExitStatus) {
  const Outcome run = runZrdcm({"--quiet", "info", "nowhere.dcm"});

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, IsEmpty());
}

TEST(Quiet, StandsBehindTheVerbToo) {
  const Outcome run = runZrdcm({"text", "nowhere.dcm", "Rows", "-q"});

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, IsEmpty());
}

TEST(Quiet, KeepsTheResults) {
  EXPECT_THAT(runZrdcm({"-q", "dict", "--internal"}).output, HasSubstr("ZORLAN_DicomFilePath"));
}

TEST(Quiet, ExcludesVerbose) {
  const Outcome run = runZrdcm({"-q", "-v", "dict"});

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.errors, StartsWith("zrdcm: --quiet excludes --verbose\n"));
}

TEST(Verbose, ShowsWhatTheLibrariesLog) {
  const support::TempDir folder;
  const std::string file = folder.file("cut.dcm").string();
  support::saveFile(*support::monochromeImage(64, 64).build(), file);
  std::filesystem::resize_file(file, std::filesystem::file_size(file) - 100);

  const Outcome plain = runZrdcm({"info", file});
  const Outcome verbose = runZrdcm({"--verbose", "info", file});

  EXPECT_EQ(plain.errorLines(), 1U);
  EXPECT_THAT(verbose.errors, HasSubstr("E: DcmElement: PixelData (7fe0,0010) larger"));
  EXPECT_THAT(verbose.errors, HasSubstr(plain.errors));
}

TEST(SeveralFiles, GoOnAfterOneThatIsBad) {
  const support::TempDir folder;
  const std::string good = folder.file("good.dcm").string();
  const std::string large = folder.file("large.dcm").string();
  support::saveFile(*support::monochromeImage(2, 2).build(), good);
  support::saveFile(*support::monochromeImage(2, 2)
                         .withUint16(DCM_Columns, 65535)
                         .withUint16(DCM_Rows, 65535)
                         .build(),
                    large);

  const Outcome run = runZrdcm({"info", "nowhere.dcm", large, good});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errorLines(), 2U);
  EXPECT_THAT(run.output, HasSubstr(good + "\n"));
}

}  // namespace
