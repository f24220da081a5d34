// SPDX-License-Identifier: BSD-3-Clause
// Tables into items, element by element, and back through the reader, through memory and files.
#include "LutTables.h"
#include "support/DatasetBuilder.h"
#include "support/LogCapture.h"
#include "support/RowName.h"
#include "support/TempDir.h"

#include <zrdcmexport/ExDicomUtilitiesLUT.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <string>

namespace {

using ExDicomUtilities::LUT;
using luttest::table16;
using luttest::table8;
using luttest::valuesOf;
using support::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<Uint16> wordsOf(DcmItem& item, const DcmTagKey& tag) {
  const Uint16* words = nullptr;
  unsigned long count = 0;
  if (item.findAndGetUint16Array(tag, words, &count).bad() || words == nullptr) {
    return {};
  }
  return {words, words + count};
}

std::vector<Uint8> bytesOf(DcmItem& item, const DcmTagKey& tag) {
  const Uint8* bytes = nullptr;
  unsigned long count = 0;
  if (item.findAndGetUint8Array(tag, bytes, &count).bad() || bytes == nullptr) {
    return {};
  }
  return {bytes, bytes + count};
}

DcmItem* modalityItem(DcmItem& dataset) {
  DcmItem* item = nullptr;
  (void)dataset.findAndGetSequenceItem(DCM_ModalityLUTSequence, item, 0);
  return item;
}

DcmEVR vrOf(DcmItem& item, const DcmTagKey& tag) {
  DcmElement* element = nullptr;
  return item.findAndGetElement(tag, element).good() ? element->getVR() : EVR_UNKNOWN;
}

// ---- modality LUT ------------------------------------------------------------------------------

TEST(LutWriting, WritesWordsOfAModalityLut) {
  DcmDataset dataset;

  LUT::dcmDatasetWrite(table16({100, 2000, 65535}, 1, -2048), dataset, false);

  DcmItem* const item = modalityItem(dataset);
  ASSERT_NE(item, nullptr);
  EXPECT_THAT(wordsOf(*item, DCM_LUTDescriptor), ElementsAre(3, 63488, 16));
  EXPECT_THAT(wordsOf(*item, DCM_LUTData), ElementsAre(100, 2000, 65535));
  EXPECT_EQ(vrOf(*item, DCM_LUTData), EVR_lt);
}

TEST(LutWriting, WritesBytesOfAModalityLutAsOb) {
  DcmDataset dataset;

  LUT::dcmDatasetWrite(table8({1, 2, 3, 255}, 1, 7), dataset, false);

  DcmItem* const item = modalityItem(dataset);
  ASSERT_NE(item, nullptr);
  EXPECT_THAT(wordsOf(*item, DCM_LUTDescriptor), ElementsAre(4, 7, 8));
  EXPECT_EQ(vrOf(*item, DCM_LUTData), EVR_OB);
  EXPECT_THAT(bytesOf(*item, DCM_LUTData), ElementsAre(1, 2, 3, 255));
}

TEST(LutWriting, PadsAnOddNumberOfBytes) {
  DcmDataset dataset;

  LUT::dcmDatasetWrite(table8({1, 2, 3}), dataset, false);

  DcmItem* const item = modalityItem(dataset);
  ASSERT_NE(item, nullptr);
  EXPECT_THAT(wordsOf(*item, DCM_LUTDescriptor), ElementsAre(3, 0, 8));
  EXPECT_THAT(bytesOf(*item, DCM_LUTData), ElementsAre(1, 2, 3, 0));
}

TEST(LutWriting, WritesOneItemIntoOneSequence) {
  DcmDataset dataset;

  LUT::dcmDatasetWrite(table16({1, 2}), dataset, false);
  LUT::dcmDatasetWrite(table16({3, 4, 5}), dataset, false);

  DcmSequenceOfItems* sequence = nullptr;
  ASSERT_TRUE(dataset.findAndGetSequence(DCM_ModalityLUTSequence, sequence).good());
  EXPECT_EQ(sequence->card(), 1U);
  EXPECT_EQ(sequence->getItem(0)->card(), 2U);
  EXPECT_EQ(dataset.card(), 1U);
  EXPECT_THAT(wordsOf(*sequence->getItem(0), DCM_LUTData), ElementsAre(3, 4, 5));
}

struct CountRow {
  const char* name;
  std::size_t entries;
  int written;
};

class LutWrittenCount : public testing::TestWithParam<CountRow> {};

TEST_P(LutWrittenCount, IsZeroFrom65536On) {
  DcmDataset dataset;

  LUT::dcmDatasetWrite(table16(std::vector<unsigned short>(GetParam().entries, 500)), dataset,
                       false);

  ASSERT_NE(modalityItem(dataset), nullptr);
  EXPECT_THAT(wordsOf(*modalityItem(dataset), DCM_LUTDescriptor),
              ElementsAre(GetParam().written, 0, 16));
  EXPECT_EQ(wordsOf(*modalityItem(dataset), DCM_LUTData).size(), GetParam().entries);
}
INSTANTIATE_TEST_SUITE_P(Counts, LutWrittenCount,
                         testing::Values(CountRow{"One", 1, 1}, CountRow{"Most", 65535, 65535},
                                         CountRow{"Full", 65536, 0}, CountRow{"More", 65537, 0}),
                         support::nameOf<CountRow>);

// ---- palette -----------------------------------------------------------------------------------

TEST(LutWriting, WritesWordsOfAPalettePerChannel) {
  DcmDataset dataset;

  LUT::dcmDatasetWrite(table16({0x1000, 0x2000, 0x3000, 0x1001, 0x2001, 0x3001}, 3, 9), dataset,
                       true);

  for (const DcmTagKey& tag :
       {DcmTagKey(0x0028, 0x1101), DcmTagKey(0x0028, 0x1102), DcmTagKey(0x0028, 0x1103)}) {
    EXPECT_THAT(wordsOf(dataset, tag), ElementsAre(2, 9, 16));
  }
  EXPECT_THAT(wordsOf(dataset, DcmTagKey(0x0028, 0x1201)), ElementsAre(0x1000, 0x1001));
  EXPECT_THAT(wordsOf(dataset, DcmTagKey(0x0028, 0x1202)), ElementsAre(0x2000, 0x2001));
  EXPECT_THAT(wordsOf(dataset, DcmTagKey(0x0028, 0x1203)), ElementsAre(0x3000, 0x3001));
  EXPECT_EQ(vrOf(dataset, DcmTagKey(0x0028, 0x1201)), EVR_OW);
  EXPECT_EQ(dataset.card(), 6U);
}

TEST(LutWriting, WritesBytesOfAPaletteIntoBothHalvesOfWords) {
  DcmDataset dataset;

  LUT::dcmDatasetWrite(table8({0x12, 0x34, 0x56, 0xAB, 0x00, 0xFF}, 3), dataset, true);

  EXPECT_THAT(wordsOf(dataset, DcmTagKey(0x0028, 0x1101)), ElementsAre(2, 0, 8));
  EXPECT_THAT(wordsOf(dataset, DcmTagKey(0x0028, 0x1201)), ElementsAre(0x1212, 0xABAB));
  EXPECT_THAT(wordsOf(dataset, DcmTagKey(0x0028, 0x1202)), ElementsAre(0x3434, 0x0000));
  EXPECT_THAT(wordsOf(dataset, DcmTagKey(0x0028, 0x1203)), ElementsAre(0x5656, 0xFFFF));
  EXPECT_EQ(vrOf(dataset, DcmTagKey(0x0028, 0x1203)), EVR_OW);
}

// ---- removal -----------------------------------------------------------------------------------

DcmDataset datasetWithBoth() {
  DcmDataset dataset;
  LUT::dcmDatasetWrite(table16({1, 2}), dataset, false);
  LUT::dcmDatasetWrite(table16({1, 2, 3}, 3), dataset, true);
  return dataset;
}

TEST(LutWriting, RemovesTheSequenceForATableThatDoesNotFit) {
  LUT withoutStorage;
  withoutStorage.entries = new ZrDataAccess(KtVec3l(4, 0, 1), KtPrimType::U16, 1, KtAllocator(1));
  LUT withFloats;
  withFloats.entries = new ZrDataAccess(KtVec3l(4, 1, 1), KtPrimType::F32, 1, KtAllocator(1));

  for (const LUT& unfit :
       {LUT(), table16({1, 2, 3}, 3), table16({1, 2}, 2), withoutStorage, withFloats}) {
    DcmDataset dataset = datasetWithBoth();
    LUT::dcmDatasetWrite(unfit, dataset, false);
    EXPECT_FALSE(dataset.tagExists(DCM_ModalityLUTSequence));
    EXPECT_EQ(dataset.card(), 6U) << "the palette stays";
  }
}

TEST(LutWriting, RemovesThePaletteForATableThatDoesNotFit) {
  for (const LUT& unfit : {LUT(), table16({1, 2, 3}), table8({1, 2}, 2)}) {
    DcmDataset dataset = datasetWithBoth();
    LUT::dcmDatasetWrite(unfit, dataset, true);
    EXPECT_EQ(dataset.card(), 1U);
    EXPECT_TRUE(dataset.tagExists(DCM_ModalityLUTSequence)) << "the modality LUT stays";
  }
}

TEST(LutWriting, ReplacesAPalette) {
  DcmDataset dataset = datasetWithBoth();

  LUT::dcmDatasetWrite(table8({7, 8, 9}, 3), dataset, true);

  EXPECT_THAT(wordsOf(dataset, DcmTagKey(0x0028, 0x1101)), ElementsAre(1, 0, 8));
  EXPECT_THAT(wordsOf(dataset, DcmTagKey(0x0028, 0x1202)), ElementsAre(0x0808));
  EXPECT_EQ(dataset.card(), 7U);
}

TEST(LutWriting, WritesEntriesThatStandApart) {
  std::vector<unsigned short> spread = {11, 0xDEAD, 22, 0xDEAD, 33, 0xDEAD};
  LUT lut;
  lut.entries = new ZrDataAccess(KtVec3l(3, 1, 1), KtVec3l(4, 12, 12), spread.data(),
                                 KtPrimType::U16, 1, KtAllocator(0));
  DcmDataset dataset;

  LUT::dcmDatasetWrite(lut, dataset, false);

  ASSERT_NE(modalityItem(dataset), nullptr);
  EXPECT_THAT(wordsOf(*modalityItem(dataset), DCM_LUTData), ElementsAre(11, 22, 33));
}

// ---- there and back ----------------------------------------------------------------------------

template <class T>
std::vector<T> ramp(std::size_t count, unsigned step) {
  std::vector<T> values(count);
  for (std::size_t i = 0; i < count; ++i) {
    values[i] = static_cast<T>(i * step + i / 7);
  }
  return values;
}

struct RoundTrip {
  const char* name;
  unsigned width;
  std::size_t entries;
  unsigned nComponents;
  unsigned step;
  int firstMapped;
  bool isSigned;
};

LUT tableOf(const RoundTrip& row) {
  const std::size_t values = row.entries * row.nComponents;
  return row.width == 8
             ? table8(ramp<unsigned char>(values, row.step), row.nComponents, row.firstMapped)
             : table16(ramp<unsigned short>(values, row.step), row.nComponents, row.firstMapped);
}

void writeTo(DcmItem& dataset, const RoundTrip& row) {
  ASSERT_TRUE(dataset.putAndInsertUint16(DCM_PixelRepresentation, row.isSigned ? 1 : 0).good());
  LUT::dcmDatasetWrite(tableOf(row), dataset, row.nComponents == 3);
}

void expectReadsBack(DcmItem& dataset, const RoundTrip& row) {
  const LogCapture log;
  LUT back;
  LUT::dcmDatasetRead(back, dataset, row.nComponents == 3);
  EXPECT_EQ(back.hash(), tableOf(row).hash());
  EXPECT_EQ(back.firstMapped, row.firstMapped);
  EXPECT_EQ(valuesOf(back), valuesOf(tableOf(row)));
  EXPECT_THAT(log.texts(), IsEmpty());
}

class LutRoundTrip : public testing::TestWithParam<RoundTrip> {};

TEST_P(LutRoundTrip, ReadsBackWhatWasWritten) {
  DcmDataset dataset;
  writeTo(dataset, GetParam());

  expectReadsBack(dataset, GetParam());
}

TEST_P(LutRoundTrip, SurvivesFilesOfEveryUncompressedSyntax) {
  const support::TempDir folder;
  for (const E_TransferSyntax syntax :
       {EXS_LittleEndianExplicit, EXS_LittleEndianImplicit, EXS_BigEndianExplicit}) {
    // An implicit file does not say whether data is bytes or words; they come back as words.
    if (syntax == EXS_LittleEndianImplicit && GetParam().width == 8 &&
        GetParam().nComponents == 1) {
      continue;
    }
    SCOPED_TRACE(DcmXfer(syntax).getXferName());
    const std::string path = folder.file("table.dcm");
    DcmFileFormat written;
    ASSERT_TRUE(
        written.getDataset()->putAndInsertString(DCM_SOPClassUID, UID_CTImageStorage).good());
    ASSERT_TRUE(written.getDataset()->putAndInsertString(DCM_SOPInstanceUID, "2.25.1").good());
    writeTo(*written.getDataset(), GetParam());
    ASSERT_TRUE(written.saveFile(path.c_str(), syntax).good());

    DcmFileFormat read;
    ASSERT_TRUE(read.loadFile(path.c_str()).good());

    expectReadsBack(*read.getDataset(), GetParam());
  }
}
INSTANTIATE_TEST_SUITE_P(Tables, LutRoundTrip,
                         testing::Values(RoundTrip{"OneWord", 16, 1, 1, 300, 0, false},
                                         RoundTrip{"SmallWords", 16, 200, 1, 1, 0, false},
                                         RoundTrip{"Words", 16, 4096, 1, 16, 0, false},
                                         RoundTrip{"OddWords", 16, 333, 1, 100, 12, false},
                                         RoundTrip{"NegativeFirst", 16, 4096, 1, 16, -2048, true},
                                         RoundTrip{"LowestFirst", 16, 16, 1, 999, -32768, true},
                                         RoundTrip{"HighestFirst", 16, 16, 1, 999, 65535, false},
                                         RoundTrip{"AllWords", 16, 65536, 1, 1, -32768, true},
                                         RoundTrip{"Bytes", 8, 256, 1, 1, 0, false},
                                         RoundTrip{"TwoBytes", 8, 2, 1, 200, -1, true},
                                         RoundTrip{"AllBytes", 8, 65536, 1, 3, 0, false},
                                         RoundTrip{"WordPalette", 16, 256, 3, 85, 0, false},
                                         RoundTrip{"OddWordPalette", 16, 77, 3, 85, 100, false},
                                         RoundTrip{"SmallWordPalette", 16, 80, 3, 1, 0, false},
                                         RoundTrip{"FullWordPalette", 16, 65536, 3, 1, 0, false},
                                         RoundTrip{"BytePalette", 8, 256, 3, 1, 0, false},
                                         RoundTrip{"OneEntryBytePalette", 8, 1, 3, 77, 0, false},
                                         RoundTrip{"OddBytePalette", 8, 255, 3, 1, 65535, false},
                                         RoundTrip{"FullBytePalette", 8, 65536, 3, 7, 0, false}),
                         support::nameOf<RoundTrip>);

/// One table out of all that an item can hold, and the sign of the samples that it stands beside.
struct DrawnTable {
  LUT table;
  bool isSigned;
};

DrawnTable drawTable(std::mt19937& random) {
  const auto draw = [&random](int low, int high) {
    return std::uniform_int_distribution<int>(low, high)(random);
  };
  const bool bytes = draw(0, 1) == 1;
  const unsigned nComponents = draw(0, 1) == 1 ? 3 : 1;
  const bool isSigned = draw(0, 1) == 1;
  int entries = draw(1, 1 << draw(0, 16));
  if (bytes && nComponents == 1) {
    entries += entries % 2;  // the byte that pads an odd number of them reads as an entry
  }
  const int highest = std::min(bytes ? 255 : 65535, (1 << draw(0, 16)) - 1);
  const bool signedFirst = isSigned && nComponents == 1;
  const int firstMapped = draw(signedFirst ? -32768 : 0, signedFirst ? 32767 : 65535);

  std::vector<unsigned short> values(static_cast<std::size_t>(entries) * nComponents);
  std::generate(values.begin(), values.end(),
                [&] { return static_cast<unsigned short>(draw(0, highest)); });
  return {bytes ? table8({values.begin(), values.end()}, nComponents, firstMapped)
                : table16(values, nComponents, firstMapped),
          isSigned};
}

TEST(LutWriting, IsUndoneByTheReaderForAnyTable) {
  constexpr int kTables = 400;
  std::mt19937 random(20240229);
  for (int i = 0; i < kTables; ++i) {
    SCOPED_TRACE("table " + std::to_string(i));
    const LogCapture log;
    const DrawnTable drawn = drawTable(random);
    const bool isPalette = drawn.table.entries->nDataVar() == 3;
    DcmDataset dataset;
    ASSERT_TRUE(dataset.putAndInsertUint16(DCM_PixelRepresentation, drawn.isSigned ? 1 : 0).good());

    LUT::dcmDatasetWrite(drawn.table, dataset, isPalette);
    LUT back;
    LUT::dcmDatasetRead(back, dataset, isPalette);

    ASSERT_EQ(luttest::is8(back), luttest::is8(drawn.table));
    ASSERT_EQ(back.firstMapped, drawn.table.firstMapped);
    ASSERT_EQ(valuesOf(back), valuesOf(drawn.table));
    ASSERT_EQ(back.hash(), drawn.table.hash());
    ASSERT_THAT(log.texts(), IsEmpty());
  }
}

}  // namespace
