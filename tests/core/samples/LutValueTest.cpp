// SPDX-License-Identifier: BSD-3-Clause
// The table as a value: filling, copying, fingerprint, validity, narrowing, streaming.
#include "LutTables.h"
#include "support/RowName.h"

#include <zrdcmexport/ExDicomUtilitiesLUT.h>
#include <zrvolren/ZrMsg.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

namespace {

using ExDicomUtilities::LUT;
using luttest::arrayOf;
using luttest::entryCount;
using luttest::is16;
using luttest::is8;
using luttest::table16;
using luttest::table8;
using luttest::valuesOf;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kMd5OfNothing = "d41d8cd98f00b204e9800998ecf8427e";  // RFC 1321, A.5

TEST(LutValue, StartsEmptyAndValid) {
  const LUT lut;

  EXPECT_TRUE(lut.entries.isNull());
  EXPECT_EQ(lut.firstMapped, 0);
  EXPECT_TRUE(lut.hashCache.isZero());
  EXPECT_TRUE(lut.isValid(-1));
  EXPECT_TRUE(lut.isValid(1));
  EXPECT_TRUE(lut.isValid(3));
}

TEST(LutValue, EmptyTableHasTheFingerprintOfNothing) {
  const LUT lut;

  EXPECT_EQ(lut.hash().hex(), kMd5OfNothing);
  EXPECT_EQ(lut.hash(), LUT::hashOfEmptyLUT());
}

TEST(LutValue, IsACopyOfTheTableItIsMadeFrom) {
  const LUT original = table16({1, 2, 3}, 1, -7);

  const LUT copy(&original);

  EXPECT_THAT(valuesOf(copy), ElementsAre(1, 2, 3));
  EXPECT_EQ(copy.firstMapped, -7);
}

TEST(LutValue, IsEmptyWhenMadeFromNull) {
  const LUT lut(nullptr);

  EXPECT_TRUE(lut.entries.isNull());
}

TEST(LutValue, ClearGivesTheEmptyTable) {
  LUT lut = table16({1, 2, 3}, 1, 5);
  (void)lut.hash();

  lut.clear();

  EXPECT_TRUE(lut.entries.isNull());
  EXPECT_EQ(lut.firstMapped, 0);
  EXPECT_TRUE(lut.hashCache.isZero());
}

// ---- set ---------------------------------------------------------------------------------------

TEST(LutSet, DropsValuesThatFillNoEntry) {
  const LUT lut = table8({0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, 3);

  EXPECT_EQ(entryCount(lut), 3);
  EXPECT_EQ(lut.entries->nDataVar(), 3U);
  EXPECT_THAT(valuesOf(lut), ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8));
}

TEST(LutSet, LaysEntriesOutAsOneRow) {
  const LUT lut = table16({1, 2, 3, 4}, 1, 9);

  EXPECT_EQ(lut.entries->dims(), KtVec3l(4, 1, 1));
  EXPECT_TRUE(is16(lut));
  EXPECT_EQ(lut.firstMapped, 9);
}

struct SetChoice {
  const char* name;
  bool has8;
  bool has16;
  bool prefer16;
  std::vector<int> expected;  // 8-bit values are 8, 9; 16-bit values 1600, 1601
};

class LutSetChoice : public testing::TestWithParam<SetChoice> {};

TEST_P(LutSetChoice, TakesThePreferredArrayThatHasValues) {
  const SetChoice& row = GetParam();
  const auto data8 = row.has8 ? arrayOf<unsigned char>({8, 9}) : KtDArray<unsigned char>();
  const auto data16 =
      row.has16 ? arrayOf<unsigned short>({1600, 1601}) : KtDArray<unsigned short>();

  LUT lut;
  lut.set(data8, data16, 1, 3, row.prefer16);

  EXPECT_EQ(valuesOf(lut), row.expected);
  EXPECT_EQ(lut.firstMapped, row.expected.empty() ? 0 : 3);
}
INSTANTIATE_TEST_SUITE_P(
    Arrays, LutSetChoice,
    testing::Values(SetChoice{"BothPrefer16", true, true, true, {1600, 1601}},
                    SetChoice{"BothPrefer8", true, true, false, {8, 9}},
                    SetChoice{"Only8Prefer16", true, false, true, {8, 9}},
                    SetChoice{"Only8Prefer8", true, false, false, {8, 9}},
                    SetChoice{"Only16Prefer16", false, true, true, {1600, 1601}},
                    SetChoice{"Only16Prefer8", false, true, false, {1600, 1601}},
                    SetChoice{"NonePrefer16", false, false, true, {}},
                    SetChoice{"NonePrefer8", false, false, false, {}}),
    support::nameOf<SetChoice>);

TEST(LutSet, WithoutComponentsGivesTheEmptyTable) {
  LUT lut = table8({1, 2});

  lut.set(arrayOf<unsigned char>({1, 2}), {}, 0, 4, false);

  EXPECT_TRUE(lut.entries.isNull());
  EXPECT_EQ(lut.firstMapped, 0);
}

TEST(LutSet, WithoutAWholeEntryGivesTheEmptyTable) {
  LUT lut = table8({1, 2});

  lut.set(arrayOf<unsigned char>({1, 2}), {}, 3, 4, false);

  EXPECT_TRUE(lut.entries.isNull());
  EXPECT_EQ(lut.firstMapped, 0);
}

TEST(LutSet, WithoutValuesClearsWhatWasThere) {
  LUT lut = table8({1, 2}, 1, 5);

  lut.set({}, {}, 1, 6, false);

  EXPECT_TRUE(lut.entries.isNull());
  EXPECT_EQ(lut.firstMapped, 0);
}

TEST(LutSet, ForgetsTheFingerprint) {
  LUT lut = table8({1, 2});
  const KtLib::MD5 before = lut.hash();

  lut.set(arrayOf<unsigned char>({1, 3}), {}, 1, 0, false);

  EXPECT_NE(lut.hash(), before);
}

// ---- copying -----------------------------------------------------------------------------------

TEST(LutCopy, OwnsItsEntries) {
  const LUT original = table16({10, 20}, 1, -2);

  LUT copy;
  copy = original;
  static_cast<unsigned short*>(copy.entries->dataPtr(0))[0] = 99;

  EXPECT_THAT(valuesOf(original), ElementsAre(10, 20));
  EXPECT_THAT(valuesOf(copy), ElementsAre(99, 20));
  EXPECT_EQ(copy.firstMapped, -2);
}

TEST(LutCopy, HasTheSameFingerprint) {
  const LUT original = table16({10, 20}, 1, -2);

  const LUT copy(original);

  EXPECT_EQ(copy.hash(), original.hash());
}

TEST(LutCopy, ComputesItsFingerprintAnew) {
  const LUT original = table16({10, 20});
  (void)original.hash();

  const LUT copy(original);

  EXPECT_FALSE(original.hashCache.isZero());
  EXPECT_TRUE(copy.hashCache.isZero());
}

TEST(LutCopy, ReplacesWhatWasThere) {
  LUT lut = table16({10, 20}, 1, 4);

  lut = LUT();

  EXPECT_TRUE(lut.entries.isNull());
  EXPECT_EQ(lut.firstMapped, 0);
}

TEST(LutCopy, SurvivesAssignmentToItself) {
  LUT lut = table16({10, 20}, 1, 4);
  const KtLib::MD5 before = lut.hash();
  const LUT& itself = lut;

  lut = itself;

  EXPECT_THAT(valuesOf(lut), ElementsAre(10, 20));
  EXPECT_EQ(lut.firstMapped, 4);
  EXPECT_EQ(lut.hash(), before);
}

// ---- fingerprint and validity ------------------------------------------------------------------

TEST(LutHash, TellsValuesFirstMappedAndLayoutApart) {
  const LUT lut = table8({1, 2, 3});

  EXPECT_EQ(lut.hash(), table8({1, 2, 3}).hash());
  EXPECT_NE(lut.hash(), table8({1, 2, 4}).hash());
  EXPECT_NE(lut.hash(), table8({1, 2, 3}, 1, 1).hash());
  EXPECT_NE(lut.hash(), table8({1, 2, 3}, 3).hash());
  EXPECT_NE(lut.hash(), table16({1, 2, 3}).hash());
  EXPECT_NE(lut.hash(), LUT::hashOfEmptyLUT());
}

TEST(LutHash, IsKeptUntilTheTableChanges) {
  LUT lut = table8({1, 2, 3});
  const KtLib::MD5 before = lut.hash();

  lut.firstMapped = 12;  // by hand, without telling the cache

  EXPECT_EQ(lut.hash(), before);
}

TEST(LutHash, IsMadeOfFirstMappedAndTheEntriesFingerprint) {
  const LUT lut = table8({1, 2, 3}, 1, 42);

  KtLib::MD5Coder coder;
  coder.crcMD5Init();
  coder.crcMD5Update(42);
  coder.crcMD5Update(lut.entries->hash());
  coder.crcMD5Final();
  KtLib::MD5 expected;
  coder.crcMD5Query(expected);

  EXPECT_EQ(lut.hash(), expected);
}

TEST(LutValidity, AsksForTheNumberOfComponents) {
  const LUT grey = table8({1, 2, 3});
  const LUT colour = table8({1, 2, 3}, 3);

  EXPECT_TRUE(grey.isValid(-1));
  EXPECT_TRUE(grey.isValid(1));
  EXPECT_FALSE(grey.isValid(3));
  EXPECT_TRUE(colour.isValid(-1));
  EXPECT_TRUE(colour.isValid(3));
  EXPECT_FALSE(colour.isValid(1));
}

LUT tableOver(const KtVec3l& dims, unsigned nDataVar) {
  LUT lut;
  lut.entries = new ZrDataAccess(dims, KtPrimType::U8, nDataVar, KtAllocator(1));
  return lut;
}

TEST(LutValidity, RefusesAnyOtherNumberOfValues) {
  EXPECT_FALSE(tableOver(KtVec3l(4, 1, 1), 2).isValid(-1));
  EXPECT_FALSE(tableOver(KtVec3l(4, 1, 1), 2).isValid(2));
  EXPECT_FALSE(tableOver(KtVec3l(4, 1, 1), 4).isValid(-1));
}

TEST(LutValidity, RefusesMoreThanOneRow) {
  EXPECT_TRUE(tableOver(KtVec3l(4, 1, 1), 1).isValid(1));
  EXPECT_FALSE(tableOver(KtVec3l(4, 2, 1), 1).isValid(1));
  EXPECT_FALSE(tableOver(KtVec3l(4, 1, 2), 1).isValid(1));
}

TEST(LutValidity, RefusesEntriesWithoutStorage) {
  EXPECT_FALSE(tableOver(KtVec3l(0, 1, 1), 1).isValid(1));
}

TEST(LutValidity, RefusesAnEmptyTableWithAForeignFingerprint) {
  LUT lut = table8({1, 2});
  (void)lut.hash();

  lut.entries.reset();  // by hand, without telling the cache

  EXPECT_FALSE(lut.isValid(-1));
}

TEST(LutValidity, RefusesEntriesWithTheFingerprintOfNothing) {
  LUT lut = table8({1, 2});

  lut.hashCache = LUT::hashOfEmptyLUT();

  EXPECT_FALSE(lut.isValid(-1));
}

// ---- narrowing ---------------------------------------------------------------------------------

TEST(LutNarrowing, KeepsTheHighByteOfRgbEntries) {
  LUT lut = table16({0x12AB, 0x00FF, 0xFF00, 0xFFFF, 0x0100, 0x7F80}, 3, -5);

  lut.convertU161616ToU888();

  EXPECT_TRUE(is8(lut));
  EXPECT_EQ(lut.entries->nDataVar(), 3U);
  EXPECT_EQ(lut.entries->dims(), KtVec3l(2, 1, 1));
  EXPECT_EQ(lut.firstMapped, -5);
  EXPECT_THAT(valuesOf(lut), ElementsAre(0x12, 0x00, 0xFF, 0xFF, 0x01, 0x7F));
}

TEST(LutNarrowing, ReadsEntriesThatStandApart) {
  std::array<unsigned short, 8> spread = {0x1100, 0x2200, 0x3300, 0xDEAD,
                                          0x4400, 0x5500, 0x6600, 0xDEAD};
  LUT lut;
  lut.entries = new ZrDataAccess(KtVec3l(2, 1, 1), KtVec3l(8, 16, 16), spread.data(),
                                 KtPrimType::U16, 3, KtAllocator(0));

  lut.convertU161616ToU888();

  EXPECT_THAT(valuesOf(lut), ElementsAre(0x11, 0x22, 0x33, 0x44, 0x55, 0x66));
}

TEST(LutNarrowing, LeavesOtherTablesAlone) {
  LUT grey = table16({0x12AB, 0x00FF, 0xFF00});
  LUT colour8 = table8({1, 2, 3}, 3);
  LUT empty;

  grey.convertU161616ToU888();
  colour8.convertU161616ToU888();
  empty.convertU161616ToU888();

  EXPECT_THAT(valuesOf(grey), ElementsAre(0x12AB, 0x00FF, 0xFF00));
  EXPECT_THAT(valuesOf(colour8), ElementsAre(1, 2, 3));
  EXPECT_TRUE(empty.entries.isNull());
}

TEST(LutNarrowing, LeavesATableWithoutStorageAlone) {
  LUT lut;
  lut.entries = new ZrDataAccess(KtVec3l(4, 0, 1), KtPrimType::U16, 3, KtAllocator(1));

  lut.convertU161616ToU888();

  EXPECT_TRUE(is16(lut));
}

TEST(LutNarrowing, KeepsTheFingerprintOfTheWideTable) {
  LUT lut = table16({0x12AB, 0x00FF, 0xFF00}, 3);
  const KtLib::MD5 wide = lut.hash();

  lut.convertU161616ToU888();

  EXPECT_EQ(lut.hash(), wide);
  EXPECT_NE(wide, table8({0x12, 0x00, 0xFF}, 3).hash());
}

TEST(LutNarrowing, ComputesTheFingerprintOfTheNarrowTableWhenThereWasNone) {
  LUT lut = table16({0x12AB, 0x00FF, 0xFF00}, 3);

  lut.convertU161616ToU888();

  EXPECT_EQ(lut.hash(), table8({0x12, 0x00, 0xFF}, 3).hash());
}

// ---- streaming ---------------------------------------------------------------------------------

TEST(LutStream, BringsATableBack) {
  const LUT sent = table16({10, 20, 30, 40, 50, 60}, 3, -2048);
  ZrMsg out;
  out << sent;

  ZrMsg in(out.bytes());
  LUT received = table8({1, 2}, 1, 77);
  (void)received.hash();
  in >> received;

  EXPECT_TRUE(in.isGood());
  EXPECT_EQ(received.hash(), sent.hash());
  EXPECT_EQ(received.firstMapped, -2048);
  EXPECT_EQ(received.entries->refCount(), 1);
  EXPECT_THAT(valuesOf(received), ElementsAre(10, 20, 30, 40, 50, 60));
}

TEST(LutStream, BringsTheEmptyTableBack) {
  ZrMsg out;
  out << LUT();

  ZrMsg in(out.bytes());
  LUT received = table8({1, 2}, 1, 77);
  in >> received;

  EXPECT_TRUE(in.isGood());
  EXPECT_TRUE(received.entries.isNull());
  EXPECT_EQ(received.firstMapped, 0);
  EXPECT_EQ(received.hash(), LUT::hashOfEmptyLUT());
}

TEST(LutStream, IsAnIntAndThenAContainer) {
  const LUT sent = table8({1, 2, 3}, 1, 11);

  ZrMsg byTable;
  byTable << sent;
  ZrMsg byParts;
  byParts << 11 << static_cast<const ZrDataAccess*>(sent.entries.ptr());

  EXPECT_EQ(byTable.bytes(), byParts.bytes());
}

TEST(LutStream, GivesNoEntriesFromATruncatedStream) {
  ZrMsg out;
  out << table16({1, 2, 3});
  const std::vector<unsigned char> whole = out.bytes();

  for (std::size_t length = 0; length < whole.size(); ++length) {
    ZrMsg in({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)});
    LUT received;
    in >> received;
    EXPECT_FALSE(in.isGood()) << length;
    EXPECT_TRUE(received.entries.isNull()) << length;
  }
}

}  // namespace
