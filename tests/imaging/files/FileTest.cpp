// SPDX-License-Identifier: BSD-3-Clause
// Files from the disk and from memory: the same dataset, the same guards, the same words.
#include "support/Compression.h"
#include "support/Files.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/SmallFiles.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <zrimaging/File.h>

namespace {

using zr::File;
using zr::MemoryBudget;

File fromBytes(const std::string& bytes, const MemoryBudget& memory = {}) {
  return File::fromBytes(bytes.data(), bytes.size(), memory);
}

/// What reading yields: the error with its reason, or all that a file tells.
std::string outcomeOf(const std::function<File()>& read) {
  try {
    const File file = read();
    std::ostringstream text;
    text << file.statedTransferSyntax() << ' ' << file.statedFrameCount() << ' '
         << file.photometricInterpretation() << '\n';
    file.dataset().print(text, DCMTypes::PF_shortenLongTagValues);
    return text.str();
  } catch (const zr::Error& error) {
    return std::string(zr::nameOf(error.reason())) + ": " + error.what();
  }
}

std::string bytesOf(const DcmDataset& dataset, E_TransferSyntax syntax) {
  const support::TempDir folder;
  support::saveFile(dataset, folder.file("file.dcm"), syntax);
  return support::readFile(folder.file("file.dcm"));
}

TEST(FileOnDisk, TellsWhatItStates) {
  const support::TempDir folder;
  support::saveFile(*support::ctSlice(2, 2).frames(3).build(), folder.file("in.dcm"));

  const File file(folder.file("in.dcm"));

  EXPECT_EQ(file.path(), folder.file("in.dcm"));
  EXPECT_EQ(file.statedTransferSyntax(), "1.2.840.10008.1.2.1");
  EXPECT_EQ(file.statedFrameCount(), 3U);
  EXPECT_EQ(file.photometricInterpretation(), "MONOCHROME2");
  EXPECT_EQ(file.text(zr::AttributePath::parse("Rows")).text, "2");
}

TEST(FileInMemory, OutlivesItsBytes) {
  std::string bytes = bytesOf(*support::ctSlice(64, 64).build(), EXS_LittleEndianExplicit);

  File moved = fromBytes(bytes);
  bytes.assign(bytes.size(), '\xFF');
  const File file = std::move(moved);

  EXPECT_EQ(file.path(), "");
  const Uint16* samples = nullptr;
  unsigned long count = 0;
  ASSERT_TRUE(file.dataset().findAndGetUint16Array(DCM_PixelData, samples, &count).good());
  ASSERT_EQ(count, 64U * 64U);
  EXPECT_EQ(samples[4095], 4095);
}

TEST(FileInMemory, OfNoBytesIsEmpty) {
  EXPECT_EQ(outcomeOf([] { return File::fromBytes(nullptr, 0); }), "NotDicom: is empty");
}

// Cut and damaged at every few bytes, a file is read or refused alike from wherever it comes.
TEST(FileInMemory, IsReadAndRefusedLikeOneOnDisk) {
  const support::TempDir folder;
  const auto path = folder.file("damaged.dcm");
  const std::size_t step = support::stepFrom("ZRDCMEXPORT_FILE_STEP", 31);
  for (const support::SmallFile& small : support::smallFiles()) {
    const std::string whole = support::bytesOf(small);
    for (std::size_t at = 0; at <= whole.size(); at += step) {
      std::string flipped = whole;
      if (at < flipped.size()) {
        flipped[at] = static_cast<char>(~flipped[at]);
      }
      for (const std::string& bytes : {whole.substr(0, at), flipped}) {
        support::writeFile(path, bytes);
        ASSERT_EQ(outcomeOf([&] { return fromBytes(bytes); }),
                  outcomeOf([&] { return File(path); }))
            << small.name << " at " << at << (bytes.size() == at ? ", cut" : ", flipped");
      }
    }
  }
}

// ---- the budget
// ------------------------------------------------------------------------------------

TEST(Budget, IsAskedBeforeADeflatedDatasetIsInflated) {
  const support::TempDir folder;
  const auto dataset = support::ctSlice(2, 2).build();
  const std::string zeros(std::size_t{4} << 20U, '\0');
  ASSERT_TRUE(dataset
                  ->putAndInsertUint8Array(DCM_EncapsulatedDocument,
                                           reinterpret_cast<const Uint8*>(zeros.data()),
                                           zeros.size())
                  .good());
  const std::string bytes = bytesOf(*dataset, EXS_DeflatedLittleEndianExplicit);
  ASSERT_LT(bytes.size(), 100000U);
  support::writeFile(folder.file("in.dcm"), bytes);
  const MemoryBudget memory{std::uint64_t{3} << 20U, "the limit"};
  const char* const message =
      "TooLarge: takes more than 3 MiB once it is inflated; the limit allows 3 MiB";

  EXPECT_EQ(outcomeOf([&] { return File(folder.file("in.dcm"), memory); }), message);
  EXPECT_EQ(outcomeOf([&] { return fromBytes(bytes, memory); }), message);
  EXPECT_EQ(fromBytes(bytes).statedFrameCount(), 1U);
}

TEST(Budget, HoldsForBytesThatAreCopied) {
  const std::string bytes = bytesOf(*support::ctSlice(64, 64).build(), EXS_LittleEndianExplicit);

  EXPECT_EQ(
      outcomeOf([&] {
        return fromBytes(bytes, {8192, "the limit"});
      }),
      "TooLarge: takes " + std::to_string(bytes.size()) + " bytes; the limit allows 8192 bytes");
}

TEST(Budget, HasANameThatErrorsTell) {
  const auto dataset = support::ctSlice(64, 64).build();

  try {
    MemoryBudget{1000}.requireFor(*dataset);
    FAIL() << "taken";
  } catch (const zr::Error& error) {
    EXPECT_EQ(error.reason(), zr::Reason::TooLarge);
    EXPECT_THAT(error.what(), testing::EndsWith("; the memory budget allows 1000 bytes"));
  }
}

TEST(Size, IsReadAndWrittenInPowersOf1024) {
  EXPECT_EQ(zr::parseSize("512M"), std::uint64_t{512} << 20U);
  EXPECT_EQ(zr::parseSize("16GiB"), std::uint64_t{16} << 30U);
  EXPECT_EQ(zr::parseSize("many"), std::nullopt);
  EXPECT_EQ(zr::sizeText(4096), "4096 bytes");
  EXPECT_EQ(zr::sizeText(std::uint64_t{5} << 20U), "5 MiB");
}

}  // namespace
