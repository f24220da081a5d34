// SPDX-License-Identifier: BSD-3-Clause
// The transform: values worked out by hand, extremes of the header, strange tables.
#include "LutTables.h"
#include "SampleTransformFixtures.h"

#include <zrdcmexport/ExDicomUtilitiesGlobal.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <vector>

namespace {

using ExDicomUtilities::LUT;
using luttest::table16;
using luttest::table8;
using sampletest::Handle;
using sampletest::inPlace;
using sampletest::outOfPlace;
using sampletest::samples;
using sampletest::Transformed;
using sampletest::valuesOf;
using testing::ElementsAre;

// ---- values worked out by hand -----------------------------------------------------------------

TEST(SampleTransform, MasksUnsignedTwelveBitSamples) {
  const Transformed result =
      inPlace(samples<unsigned short>({0xF123, 0x0FFF, 0x1000, 0xFFFF, 0x0000}), 12, 11);

  EXPECT_THAT(valuesOf<unsigned short>(result.container),
              ElementsAre(0x0123, 0x0FFF, 0x0000, 0x0FFF, 0x0000));
  EXPECT_EQ(result.offset, 0);
  EXPECT_EQ(result.container->primType(), KtPrimType::U16);
}

TEST(SampleTransform, MakesSignedTwelveBitSamplesUnsigned) {
  const Handle source = samples<unsigned short>({0x0800, 0xF800, 0x07FF, 0x0000, 0x0FFF, 0xFFFF});
  source->setPrimType(KtPrimType::S16);

  const Transformed result = inPlace(source, 12, 11);

  EXPECT_THAT(valuesOf<unsigned short>(result.container),
              ElementsAre(0x7800, 0x7800, 0x87FF, 0x8000, 0x7FFF, 0x7FFF));
  EXPECT_EQ(result.offset, 32768);
  EXPECT_EQ(result.container->primType(), KtPrimType::U16);
}

TEST(SampleTransform, ShiftsSamplesThatFillTheHighBits) {
  const Transformed result = inPlace(samples<unsigned short>({0xABCD, 0xFFFF, 0x000F}), 12, 15);

  EXPECT_THAT(valuesOf<unsigned short>(result.container), ElementsAre(0x0ABC, 0x0FFF, 0x0000));
  EXPECT_EQ(result.offset, 0);
}

TEST(SampleTransform, ShiftsSignedSamplesThatFillTheHighBits) {
  const Transformed result = inPlace(samples<short>({-32768, 32767, -1, 16}), 12, 15);

  EXPECT_THAT(valuesOf<unsigned short>(result.container), ElementsAre(30720, 34815, 32767, 32769));
  EXPECT_EQ(result.offset, 32768);
}

TEST(SampleTransform, Adds128ToSignedBytes) {
  const Transformed result = inPlace(samples<signed char>({-128, -1, 0, 127}), 8, 7);

  EXPECT_THAT(valuesOf<unsigned char>(result.container), ElementsAre(0, 127, 128, 255));
  EXPECT_EQ(result.offset, 128);
  EXPECT_EQ(result.container->primType(), KtPrimType::U8);
}

TEST(SampleTransform, LeavesUnsignedSamplesThatFillTheirCells) {
  const Transformed result = inPlace(samples<unsigned short>({0, 1, 32768, 65535}), 16, 15);

  EXPECT_THAT(valuesOf<unsigned short>(result.container), ElementsAre(0, 1, 32768, 65535));
  EXPECT_EQ(result.offset, 0);
}

TEST(SampleTransform, AddsTheSameToEverySignedWidth) {
  for (unsigned bitsStored = 1; bitsStored <= 16; ++bitsStored) {
    EXPECT_EQ(inPlace(samples<short>({0}), bitsStored, bitsStored - 1).offset, 32768);
  }
  for (unsigned bitsStored = 1; bitsStored <= 8; ++bitsStored) {
    EXPECT_EQ(inPlace(samples<signed char>({0}), bitsStored, bitsStored - 1).offset, 128);
  }
}

TEST(SampleTransform, LooksSignedSamplesUpFromTheFirstMappedValue) {
  std::vector<unsigned short> entries(4096);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    entries[i] = static_cast<unsigned short>(10000 + i);
  }
  const LUT lut = table16(entries, 1, -2048);

  const Transformed result =
      inPlace(samples<short>({-2048, -2047, 0, 2047, 5000, -3000}), 16, 15, lut);

  EXPECT_THAT(valuesOf<unsigned short>(result.container),
              ElementsAre(10000, 10001, 12048, 14095, 14095, 10000));
  EXPECT_EQ(result.offset, 0);
}

TEST(SampleTransform, GivesThreeValuesPerSampleWithAnRgbTable) {
  const LUT lut = table8({1, 2, 3, 11, 12, 13, 21, 22, 23}, 3);
  const Handle source = samples<unsigned char>({2, 0, 1, 200});

  const Transformed result = outOfPlace(source, 8, 7, lut);

  EXPECT_EQ(result.container->nDataVar(), 3U);
  EXPECT_EQ(result.container->primType(), KtPrimType::U8);
  EXPECT_EQ(result.container->dims(), KtVec3l(4, 1, 1));
  EXPECT_THAT(valuesOf<unsigned char>(result.container),
              ElementsAre(21, 22, 23, 1, 2, 3, 11, 12, 13, 21, 22, 23));
  EXPECT_THAT(valuesOf<unsigned char>(source), ElementsAre(2, 0, 1, 200));
}

TEST(SampleTransform, WidensBytesThroughAWideTable) {
  const LUT lut = table16({1000, 2000, 3000});

  const Transformed result = outOfPlace(samples<unsigned char>({0xF0, 0xF1, 0x02}), 4, 3, lut);

  EXPECT_THAT(valuesOf<unsigned short>(result.container), ElementsAre(1000, 2000, 3000));
}

TEST(SampleTransform, UsesATableOfOneEntryForEverySample) {
  const Transformed result =
      inPlace(samples<short>({-32768, 0, 32767}), 16, 15, table16({777}, 1, 5));

  EXPECT_THAT(valuesOf<unsigned short>(result.container), ElementsAre(777, 777, 777));
}

// The difference of sample and first mapped value wraps in 32 bits instead of overflowing.
TEST(SampleTransform, StandsAnyFirstMappedValue) {
  const LUT lowest = table16({1, 2, 3}, 1, std::numeric_limits<int>::min());
  const LUT highest = table16({1, 2, 3}, 1, std::numeric_limits<int>::max());

  EXPECT_THAT(
      valuesOf<unsigned short>(inPlace(samples<short>({-1, 0, 1}), 16, 15, lowest).container),
      ElementsAre(3, 1, 1));
  EXPECT_THAT(
      valuesOf<unsigned short>(inPlace(samples<short>({-32768, 0, 1}), 16, 15, highest).container),
      ElementsAre(3, 1, 1));
}

// ---- extremes of the header --------------------------------------------------------------------

TEST(SampleTransform, GivesZerosWhenNoBitIsStored) {
  for (const unsigned highBit : {0U, 7U, 11U, 15U, 16U, 0xFFFFFFFFU}) {
    EXPECT_THAT(valuesOf<unsigned short>(
                    inPlace(samples<unsigned short>({1, 0xFFFF, 0x8000}), 0, highBit).container),
                ElementsAre(0, 0, 0));
    EXPECT_THAT(
        valuesOf<unsigned char>(inPlace(samples<unsigned char>({1, 0xFF}), 0, highBit).container),
        ElementsAre(0, 0));
    EXPECT_THAT(
        valuesOf<unsigned short>(inPlace(samples<short>({1, -1, -32768}), 0, highBit).container),
        ElementsAre(0x8000, 0x8000, 0x8000));
    EXPECT_THAT(
        valuesOf<unsigned char>(inPlace(samples<signed char>({1, -1}), 0, highBit).container),
        ElementsAre(0x80, 0x80));
  }
}

TEST(SampleTransform, LooksZerosUpWhenNoBitIsStored) {
  const LUT lut = table16({100, 101, 102, 103}, 1, -1);

  EXPECT_THAT(valuesOf<unsigned short>(inPlace(samples<short>({1, -1}), 0, 15, lut).container),
              ElementsAre(101, 101));
  EXPECT_THAT(valuesOf<unsigned short>(
                  inPlace(samples<unsigned short>({1, 2}), 0, 0xFFFFFFFF, lut).container),
              ElementsAre(101, 101));
  const LUT rgb = table16({1, 2, 3, 4, 5, 6}, 3, -1);
  EXPECT_THAT(valuesOf<unsigned short>(outOfPlace(samples<short>({-1}), 0, 3, rgb).container),
              ElementsAre(4, 5, 6));
}

TEST(SampleTransform, TakesMoreBitsThanTheCellHasForAllOfThem) {
  for (const unsigned bitsStored : {16U, 17U, 32U, 0x80000000U, 0xFFFFFFFFU}) {
    for (const unsigned highBit : {15U, 16U, 31U, 0x80000000U, 0xFFFFFFFEU}) {
      EXPECT_THAT(
          valuesOf<unsigned short>(
              inPlace(samples<unsigned short>({1, 0x8001, 0xFFFF}), bitsStored, highBit).container),
          ElementsAre(1, 0x8001, 0xFFFF));
      EXPECT_THAT(valuesOf<unsigned short>(
                      inPlace(samples<short>({-1, 0, 1}), bitsStored, highBit).container),
                  ElementsAre(0x7FFF, 0x8000, 0x8001));
    }
  }
}

TEST(SampleTransform, TakesAHighBitAboveTheCellForItsHighest) {
  EXPECT_THAT(
      valuesOf<unsigned short>(inPlace(samples<unsigned short>({0xABCD}), 12, 20).container),
      ElementsAre(0x0ABC));
  EXPECT_THAT(valuesOf<unsigned char>(inPlace(samples<unsigned char>({0xAB}), 4, 11).container),
              ElementsAre(0x0A));
}

// ---- strange tables ----------------------------------------------------------------------------

TEST(SampleTransform, TakesATableWithoutStorageForNone) {
  LUT lut;
  lut.entries = new ZrDataAccess(KtVec3l(0, 1, 1), KtPrimType::U8, 3, KtAllocator(1));

  const Transformed result = inPlace(samples<short>({-1}), 16, 15, lut);

  EXPECT_THAT(valuesOf<unsigned short>(result.container), ElementsAre(0x7FFF));
  EXPECT_EQ(result.offset, 32768);
}

TEST(SampleTransform, ReadsTablesWhoseEntriesStandApart) {
  std::array<unsigned short, 6> spread = {100, 0xDEAD, 200, 0xDEAD, 300, 0xDEAD};
  LUT lut;
  lut.entries = new ZrDataAccess(KtVec3l(3, 1, 1), KtVec3l(4, 12, 12), spread.data(),
                                 KtPrimType::U16, 1, KtAllocator(0));

  EXPECT_THAT(
      valuesOf<unsigned short>(inPlace(samples<unsigned short>({2, 0, 1}), 16, 15, lut).container),
      ElementsAre(300, 100, 200));
}

TEST(SampleTransform, ReadsSignedTablesAsTheirBits) {
  std::array<short, 2> values = {-1, -2};
  LUT lut;
  lut.entries = new ZrDataAccess(KtVec3l(2, 1, 1), KtVec3l(2, 4, 4), values.data(), KtPrimType::S16,
                                 1, KtAllocator(0));

  const Transformed result = inPlace(samples<unsigned short>({0, 1}), 16, 15, lut);

  EXPECT_EQ(result.container->primType(), KtPrimType::U16);
  EXPECT_THAT(valuesOf<unsigned short>(result.container), ElementsAre(0xFFFF, 0xFFFE));
}

TEST(SampleTransform, RelabelsWhatItCannotConvert) {
  const Transformed words = inPlace(samples<int>({-5, 5}), 12, 11);
  EXPECT_EQ(words.container->primType(), KtPrimType::U32);
  EXPECT_THAT(valuesOf<int>(words.container), ElementsAre(-5, 5));
  EXPECT_EQ(words.offset, 0);

  const Transformed pairs = outOfPlace(samples<short>({-5, 5}), 16, 15, table16({1, 2, 3, 4}, 2));
  EXPECT_EQ(pairs.container->primType(), KtPrimType::U16);
  EXPECT_EQ(pairs.container->nDataVar(), 2U);
  EXPECT_EQ(pairs.offset, 0);

  const Transformed narrow = outOfPlace(samples<short>({-5, 5}), 16, 15, table8({1, 2}));
  EXPECT_EQ(narrow.container->primType(), KtPrimType::U8);
  EXPECT_EQ(narrow.offset, 0);
}

TEST(SampleTransform, RelabelsWithTheTypeOfAFloatTable) {
  LUT lut;
  lut.entries = new ZrDataAccess(KtVec3l(4, 1, 1), KtPrimType::F32, 1, KtAllocator(1));

  const Transformed result = inPlace(samples<int>({-5, 5}), 32, 31, lut);

  EXPECT_EQ(result.container->primType(), KtPrimType::F32);
  EXPECT_THAT(valuesOf<int>(result.container), ElementsAre(-5, 5));
}

// ---- no samples --------------------------------------------------------------------------------

TEST(SampleTransform, SetsTheOffsetOfFramesWithoutSamples) {
  const Handle source(new ZrDataAccess(KtVec3l(0, 5, 2), KtPrimType::S16, 1, KtAllocator(1)));

  const Transformed result = inPlace(source, 16, 15);

  EXPECT_EQ(result.offset, 32768);
  EXPECT_EQ(source->primType(), KtPrimType::U16);
}

TEST(SampleTransform, SetsNoOffsetWithoutFrames) {
  for (const long long frames : {0LL, -1LL}) {
    const Handle source(
        new ZrDataAccess(KtVec3l(5, 5, frames), KtPrimType::S16, 1, KtAllocator(1)));

    const Transformed result = inPlace(source, 16, 15);

    EXPECT_EQ(result.offset, 0);
    EXPECT_EQ(source->primType(), KtPrimType::U16);
  }
}

}  // namespace
