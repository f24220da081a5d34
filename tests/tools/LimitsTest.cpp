// SPDX-License-Identifier: BSD-3-Clause
// What every verb shares: the memory that a run may take, and how much it says.
#include "support/Compression.h"
#include "support/DatasetBuilder.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
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

  // 40,000 private elements of two letters each: a few bytes in the file, some hundred in memory.
  std::string fileOfManyElements() const {
    std::string bytes = std::string(128, '\0') + "DICM";
    for (unsigned number = 0; number < 40000; ++number) {
      const unsigned group = 9 + 2 * (number / 200);
      const unsigned element = 0x1000 + number % 200;
      for (const unsigned half : {group, element}) {
        bytes += static_cast<char>(half & 0xFFU);
        bytes += static_cast<char>(half >> 8U);
      }
      bytes += std::string("LO\x02\0ab", 6);
    }
    tools::writeFile(folder_.file("many.dcm"), bytes);
    return inFolder("many.dcm");
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

// 9,000,000 indices become 27,000,000 bytes of RGB; while they are rendered there are the indices
// twice and three planes of two bytes as well.
TEST_F(MemoryLimit, NamesTheSizesOfAPalette) {
  const std::string file = inFolder("palette.dcm");
  support::saveFile(*support::paletteImage(3000, 3000).samples(std::vector<int>(9000000)).build(),
                    file);

  for (const char* limit : {"8", "10", "20", "30", "60", "94"}) {
    const Outcome run = runZrdcm(
        {"--max-memory", std::string(limit) + "M", "decode", file, "-o", inFolder("out.raw")});
    expectRefused(run, file,
                  ("takes 25 MiB once it is decoded and 94 MiB while it is; --max-memory allows " +
                   std::string(limit) + " MiB")
                      .c_str());
  }
  const Outcome enough =
      runZrdcm({"--max-memory", "95M", "decode", file, "-o", inFolder("out.raw")});
  EXPECT_EQ(enough.status, 0) << enough.errors;
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

TEST_F(MemoryLimit, IsNamedTogetherWithTheFileByEveryVerb) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers need the address space for themselves";
#endif
  const std::string file = fileOfManyElements();

  for (const std::vector<std::string>& command :
       std::vector<std::vector<std::string>>{{"info", file},
                                             {"sort", file},
                                             {"text", file, "Rows"},
                                             {"decode", file, "-o", inFolder("out.npy")},
                                             {"sheet", file, "-o", inFolder("out.png")}}) {
    std::vector<std::string> arguments = {"--max-memory", "1M"};
    arguments.insert(arguments.end(), command.begin(), command.end());
    SCOPED_TRACE(command[0]);
    expectRefused(runZrdcm(arguments), file, "out of memory");
  }
}

// Large values are read when they are asked for.
TEST_F(MemoryLimit, HoldsForValuesThatAreTakenOver) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers need the address space for themselves";
#endif
  const std::string file = inFolder("document.dcm");
  const std::vector<Uint8> zeros(std::size_t{48} << 20U);
  support::saveFile(
      *support::monochromeImage(2, 2).withBytes(DCM_EncapsulatedDocument, zeros, EVR_OB).build(),
      file);
  tools::writeFile(inFolder("samples"), "a");

  const Outcome run =
      runZrdcm({"--max-memory", "32M", "export", "--from", file, "--pixels", inFolder("samples"),
                "--type", "u8", "--columns", "1", "--rows", "1", "-o", inFolder("out.dcm")});

  expectRefused(run, file, "EncapsulatedDocument: cannot be read");
}

TEST_F(MemoryLimit, IsSaidWhereThereIsNoFileToName) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers need the address space for themselves";
#endif
  const Outcome run = runZrdcm({"--max-memory", "64K", "samples", inFolder("phantoms")});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "zrdcm: out of memory\n");
}

TEST_F(MemoryLimit, HoldsForSamplesBehindAWiderTable) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers need the address space for themselves";
#endif
  const std::string file = inFolder("bytes.dcm");
  // 8 MiB of bytes become 16 MiB of words, which come on top of them.
  support::saveFile(
      *support::monochromeImage(4096, 2048)
           .unsigned8()
           .withItem(DCM_ModalityLUTSequence, support::DatasetBuilder()
                                                  .withUint16s(DCM_LUTDescriptor, {2, 0, 16})
                                                  .withWords(DCM_LUTData, {0, 1000}))
           .build(),
      file);

  expectRefused(runZrdcm({"--max-memory", "16M", "decode", file, "--values", "unsigned", "-o",
                          inFolder("out.npy")}),
                file, "out of memory");
}

// Noise does not become smaller: beside 8 MiB of samples the picture needs as much again, twice
// while it grows.
TEST_F(MemoryLimit, HoldsForPicturesThatDoNotShrink) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers need the address space for themselves";
#endif
  std::vector<int> noise(std::size_t{2048} * 2048);
  std::minstd_rand random;
  std::generate(noise.begin(), noise.end(), [&] { return static_cast<int>(random() >> 8U); });
  const std::string file = inFolder("noise.dcm");
  support::saveFile(*support::monochromeImage(2048, 2048).samples(noise).build(), file);

  const Outcome run =
      runZrdcm({"--max-memory", "20M", "decode", file, "--stored", "-o", inFolder("out.png")});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "zrdcm: cannot make " + inFolder("out.png") + ": out of memory\n");
  EXPECT_FALSE(std::filesystem::exists(inFolder("out.png")));
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
