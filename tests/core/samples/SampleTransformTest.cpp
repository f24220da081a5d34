// SPDX-License-Identifier: BSD-3-Clause
// The transform: values worked out by hand, extremes of the header, choice of the target container,
// strides, failures.
#include "LutTables.h"
#include "support/LogCapture.h"
#include "support/RowName.h"

#include <zrdcmexport/ExDicomUtilitiesGlobal.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>

namespace {

using ExDicomUtilities::extractSample_applyLUT_makeUnsigned;
using ExDicomUtilities::LUT;
using luttest::table16;
using luttest::table8;
using support::LogCapture;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Handle = KtHandle<ZrDataAccess>;

template <class T>
constexpr KtPrimType::Code kTypeOf = std::is_same_v<T, unsigned char>    ? KtPrimType::U8
                                     : std::is_same_v<T, signed char>    ? KtPrimType::S8
                                     : std::is_same_v<T, unsigned short> ? KtPrimType::U16
                                     : std::is_same_v<T, short>          ? KtPrimType::S16
                                     : std::is_same_v<T, int>            ? KtPrimType::S32
                                                                         : KtPrimType::U32;

template <class T>
Handle samples(const std::vector<T>& values) {
  const auto count = static_cast<long long>(values.size());
  Handle container(new ZrDataAccess(KtVec3l(count, 1, 1), kTypeOf<T>, 1, KtAllocator(1)));
  if (count > 0) {
    std::memcpy(container->dataPtr(0), values.data(), values.size() * sizeof(T));
  }
  return container;
}

template <class T>
std::vector<T> valuesOf(const Handle& container) {
  const auto* const first = static_cast<const T*>(container->dataPtr(0));
  return {first, first + static_cast<std::size_t>(container->size()) / sizeof(T)};
}

struct Transformed {
  Handle container;
  int offset = -1;
};

// Converts in place, as decoding does.
Transformed inPlace(const Handle& source, unsigned bitsStored, unsigned highBit,
                    const LUT& lut = LUT()) {
  Transformed transformed{source};
  EXPECT_TRUE(extractSample_applyLUT_makeUnsigned(transformed.container, transformed.container,
                                                  transformed.offset, lut, true, bitsStored,
                                                  highBit)
                  .isOk());
  return transformed;
}

Transformed outOfPlace(const Handle& source, unsigned bitsStored, unsigned highBit,
                       const LUT& lut = LUT()) {
  Transformed transformed;
  EXPECT_TRUE(extractSample_applyLUT_makeUnsigned(source, transformed.container, transformed.offset,
                                                  lut, false, bitsStored, highBit)
                  .isOk());
  return transformed;
}

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

// ---- choice of the target ----------------------------------------------------------------------

TEST(SampleTransformTarget, StaysNullWhenTheSourceWasConverted) {
  const Handle source = samples<short>({-1, 1});
  Handle target;
  int offset = 0;

  ASSERT_TRUE(
      extractSample_applyLUT_makeUnsigned(source, target, offset, LUT(), true, 16, 15).isOk());

  EXPECT_TRUE(target.isNull());
  EXPECT_THAT(valuesOf<unsigned short>(source), ElementsAre(0x7FFF, 0x8001));
}

TEST(SampleTransformTarget, IsMadeWhereTheSourceMustStay) {
  const Handle source = samples<short>({-1, 1});
  Handle target;
  int offset = 0;

  ASSERT_TRUE(
      extractSample_applyLUT_makeUnsigned(source, target, offset, LUT(), false, 16, 15).isOk());

  ASSERT_TRUE(target.isNotNull());
  EXPECT_THAT(valuesOf<unsigned short>(target), ElementsAre(0x7FFF, 0x8001));
  EXPECT_THAT(valuesOf<short>(source), ElementsAre(-1, 1));
  EXPECT_EQ(source->primType(), KtPrimType::S16);
}

TEST(SampleTransformTarget, IsMadeWhereTheTableIsWider) {
  const Handle source = samples<unsigned char>({0, 1});
  Handle target;
  int offset = 0;

  ASSERT_TRUE(
      extractSample_applyLUT_makeUnsigned(source, target, offset, table16({500, 600}), true, 8, 7)
          .isOk());

  ASSERT_TRUE(target.isNotNull());
  EXPECT_THAT(valuesOf<unsigned short>(target), ElementsAre(500, 600));
}

TEST(SampleTransformTarget, IsUsedEvenWhenTheSourceMightBeOverwritten) {
  const Handle source = samples<short>({-1, 1});
  Handle target(new ZrDataAccess(KtVec3l(2, 1, 1), KtPrimType::U16, 1, KtAllocator(1)));
  const Handle given = target;
  int offset = 0;

  ASSERT_TRUE(
      extractSample_applyLUT_makeUnsigned(source, target, offset, LUT(), true, 16, 15).isOk());

  EXPECT_EQ(target, given);
  EXPECT_THAT(valuesOf<unsigned short>(target), ElementsAre(0x7FFF, 0x8001));
  EXPECT_THAT(valuesOf<short>(source), ElementsAre(-1, 1));
}

struct OtherTarget {
  const char* name;
  KtVec3l dims;
  KtPrimType type;
  unsigned nDataVar;
};

class UnfitTarget : public testing::TestWithParam<OtherTarget> {};

TEST_P(UnfitTarget, IsReplaced) {
  const OtherTarget& row = GetParam();
  const Handle source = samples<short>({-1, 1});
  Handle target(new ZrDataAccess(row.dims, row.type, row.nDataVar, KtAllocator(1)));
  const Handle given = target;
  int offset = 0;

  ASSERT_TRUE(
      extractSample_applyLUT_makeUnsigned(source, target, offset, LUT(), false, 16, 15).isOk());

  EXPECT_NE(target, given);
  EXPECT_THAT(valuesOf<unsigned short>(target), ElementsAre(0x7FFF, 0x8001));
}
INSTANTIATE_TEST_SUITE_P(
    Forms, UnfitTarget,
    testing::Values(OtherTarget{"OtherColumns", KtVec3l(3, 1, 1), KtPrimType::U16, 1},
                    OtherTarget{"OtherRows", KtVec3l(2, 2, 1), KtPrimType::U16, 1},
                    OtherTarget{"OtherFrames", KtVec3l(2, 1, 2), KtPrimType::U16, 1},
                    OtherTarget{"OtherType", KtVec3l(2, 1, 1), KtPrimType::S16, 1},
                    OtherTarget{"OtherValues", KtVec3l(2, 1, 1), KtPrimType::U16, 3}),
    support::nameOf<OtherTarget>);

TEST(SampleTransformTarget, WithoutStorageIsReplaced) {
  const Handle source = samples<short>({-1, 1});
  Handle target(new ZrDataAccess(KtVec3l(2, 1, 1), KtVec3l(2, 4, 4), nullptr, KtPrimType::U16, 1,
                                 KtAllocator(0)));
  int offset = 0;

  ASSERT_TRUE(
      extractSample_applyLUT_makeUnsigned(source, target, offset, LUT(), false, 16, 15).isOk());

  EXPECT_THAT(valuesOf<unsigned short>(target), ElementsAre(0x7FFF, 0x8001));
}

// ---- failures ----------------------------------------------------------------------------------

TEST(SampleTransformFailure, RefusesAWiderTableInPlaceAndLeavesTheData) {
  const Handle source = samples<unsigned char>({0, 1, 255});
  Handle target = source;
  int offset = -1;
  const LogCapture log;

  const KtResult result =
      extractSample_applyLUT_makeUnsigned(source, target, offset, table16({500, 600}), true, 8, 7);

  EXPECT_EQ(result.code(), 1);
  EXPECT_EQ(offset, 0);
  EXPECT_EQ(target, source);
  EXPECT_EQ(source->primType(), KtPrimType::U8);
  EXPECT_THAT(valuesOf<unsigned char>(source), ElementsAre(0, 1, 255));
  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(SampleTransformFailure, RefusesAnRgbTableInPlace) {
  const Handle source = samples<unsigned char>({0, 1, 255});
  Handle target = source;
  int offset = -1;

  EXPECT_TRUE(
      extractSample_applyLUT_makeUnsigned(source, target, offset, table8({1, 2, 3}, 3), true, 8, 7)
          .isBad());
  EXPECT_THAT(valuesOf<unsigned char>(source), ElementsAre(0, 1, 255));
}

TEST(SampleTransformFailure, RefusesTheSourceAsTargetWhereItMustStay) {
  const Handle source = samples<short>({-1, 1});
  Handle target = source;
  int offset = -1;
  const LogCapture log;

  EXPECT_EQ(
      extractSample_applyLUT_makeUnsigned(source, target, offset, LUT(), false, 16, 15).code(), 1);
  EXPECT_THAT(valuesOf<short>(source), ElementsAre(-1, 1));
  EXPECT_THAT(log.texts(), IsEmpty());
}

void expectFailedCheck(const LogCapture& log, const char* condition) {
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_THAT(log.texts()[0], HasSubstr("Internal Error"));
  EXPECT_THAT(log.texts()[0],
              HasSubstr("src/core/zrdcmexport/ExDicomUtilitiesLUT.cpp:<unknown function>"));
  EXPECT_THAT(log.texts()[0], HasSubstr(condition));
}

TEST(SampleTransformFailure, ReportsANullSource) {
  Handle target;
  int offset = -1;
  const LogCapture log;

  const KtResult result =
      extractSample_applyLUT_makeUnsigned(Handle(), target, offset, LUT(), true, 16, 15);

  EXPECT_EQ(result.code(), 1);
  EXPECT_EQ(offset, 0);
  EXPECT_TRUE(target.isNull());
  expectFailedCheck(log, "cond[inoutSourceData.isNotNull()]");
}

TEST(SampleTransformFailure, ReportsASourceOfFloats) {
  const Handle source(new ZrDataAccess(KtVec3l(2, 1, 1), KtPrimType::F32, 1, KtAllocator(1)));
  Handle target;
  int offset = -1;
  const LogCapture log;

  const KtResult result =
      extractSample_applyLUT_makeUnsigned(source, target, offset, LUT(), true, 16, 15);

  EXPECT_EQ(result.code(), 1);
  EXPECT_TRUE(target.isNull());
  expectFailedCheck(log, "cond[inoutSourceData->primType().isInteger()]");
}

TEST(SampleTransformFailure, ReportsATargetWithoutStorage) {
  // Wrapped samples that all lie at one address, and more results than 64 bits can count.
  unsigned char one = 1;
  constexpr long long kMany = 1LL << 31;
  const Handle source(new ZrDataAccess(KtVec3l(kMany, kMany, kMany), KtVec3l(0, 0, 0), &one,
                                       KtPrimType::U8, 1, KtAllocator(0)));
  Handle target;
  int offset = -1;
  const LogCapture log;

  const KtResult result =
      extractSample_applyLUT_makeUnsigned(source, target, offset, LUT(), false, 8, 7);

  EXPECT_EQ(result.code(), 1);
  ASSERT_TRUE(target.isNotNull());
  EXPECT_FALSE(target->hasData());
  expectFailedCheck(log, "cond[outTargetData->hasData()]");
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

// ---- strides -----------------------------------------------------------------------------------

Handle wrap(void* data, const KtVec3l& dims, const KtVec3l& strides, KtPrimType type,
            unsigned nDataVar = 1) {
  return Handle(new ZrDataAccess(dims, strides, data, type, nDataVar, KtAllocator(0)));
}

TEST(SampleTransformStrides, LeavesTheGapsBetweenRowsAlone) {
  std::array<unsigned short, 8> memory = {0xF001, 0xF002, 0xF003, 0xDEAD,
                                          0xF004, 0xF005, 0xF006, 0xBEEF};
  const Handle source = wrap(memory.data(), KtVec3l(3, 2, 1), KtVec3l(2, 8, 16), KtPrimType::U16);

  inPlace(source, 12, 11);

  EXPECT_THAT(memory, ElementsAre(1, 2, 3, 0xDEAD, 4, 5, 6, 0xBEEF));
}

TEST(SampleTransformStrides, LeavesTheGapsBetweenFramesAlone) {
  std::array<unsigned short, 6> memory = {0xF001, 0xF002, 0xDEAD, 0xF003, 0xF004, 0xBEEF};
  const Handle source = wrap(memory.data(), KtVec3l(2, 1, 2), KtVec3l(2, 4, 6), KtPrimType::U16);

  inPlace(source, 12, 11);

  EXPECT_THAT(memory, ElementsAre(1, 2, 0xDEAD, 3, 4, 0xBEEF));
}

TEST(SampleTransformStrides, LeavesTheGapsBetweenPixelsAlone) {
  std::array<short, 6> memory = {-1, 77, 0, 77, 1, 77};
  const Handle source = wrap(memory.data(), KtVec3l(3, 1, 1), KtVec3l(4, 12, 12), KtPrimType::S16);

  const Transformed result = inPlace(source, 16, 15);

  EXPECT_EQ(result.offset, 32768);
  EXPECT_THAT(memory, ElementsAre(32767, 77, -32768, 77, -32767, 77));
}

TEST(SampleTransformStrides, ReadsMirroredRowsIntoAPlainTarget) {
  std::array<unsigned char, 4> memory = {0xF1, 0xF2, 0xF3, 0xF4};
  const Handle source =
      wrap(memory.data() + 3, KtVec3l(4, 1, 1), KtVec3l(-1, -4, -4), KtPrimType::U8);

  const Transformed result = outOfPlace(source, 4, 3);

  EXPECT_THAT(valuesOf<unsigned char>(result.container), ElementsAre(4, 3, 2, 1));
  EXPECT_THAT(memory, ElementsAre(0xF1, 0xF2, 0xF3, 0xF4));
}

TEST(SampleTransformStrides, ReadsTransposedImages) {
  std::array<unsigned char, 6> memory = {1, 2, 3, 4, 5, 6};  // 3 columns, 2 rows
  const Handle source = wrap(memory.data(), KtVec3l(2, 3, 1), KtVec3l(3, 1, 6), KtPrimType::U8);

  const Transformed result = outOfPlace(source, 8, 7);

  EXPECT_THAT(valuesOf<unsigned char>(result.container), ElementsAre(1, 4, 2, 5, 3, 6));
}

TEST(SampleTransformStrides, WritesTargetsWithGaps) {
  std::array<unsigned short, 8> memory{};
  memory.fill(0xDEAD);
  Handle target = wrap(memory.data(), KtVec3l(2, 2, 1), KtVec3l(4, 8, 16), KtPrimType::U16);
  const Handle source = samples<unsigned char>({0, 1, 2, 3});
  const Handle square =
      wrap(source->dataPtr(0), KtVec3l(2, 2, 1), KtVec3l(1, 2, 4), KtPrimType::U8);
  int offset = 0;

  ASSERT_TRUE(extractSample_applyLUT_makeUnsigned(square, target, offset, table16({10, 20, 30, 40}),
                                                  false, 8, 7)
                  .isOk());

  EXPECT_THAT(memory, ElementsAre(10, 0xDEAD, 20, 0xDEAD, 30, 0xDEAD, 40, 0xDEAD));
}

TEST(SampleTransformStrides, ReadsWordsAtOddAddresses) {
  std::vector<unsigned char> memory(1 + 2 * 3);
  const std::array<unsigned short, 3> values = {0xF123, 0xF456, 0xF789};
  std::memcpy(memory.data() + 1, values.data(), 6);
  const Handle source =
      wrap(memory.data() + 1, KtVec3l(3, 1, 1), KtVec3l(2, 6, 6), KtPrimType::U16);

  inPlace(source, 12, 11);

  std::array<unsigned short, 3> converted{};
  std::memcpy(converted.data(), memory.data() + 1, 6);
  EXPECT_THAT(converted, ElementsAre(0x123, 0x456, 0x789));
}

TEST(SampleTransformStrides, ConvertsLongRowsWithGaps) {
  constexpr std::size_t kColumns = 2000;
  std::vector<unsigned short> memory(2 * kColumns);
  for (std::size_t i = 0; i < memory.size(); ++i) {
    memory[i] = static_cast<unsigned short>(i % 2 == 0 ? 0xF000 + i / 2 : 0xDEAD);
  }
  const Handle source =
      wrap(memory.data(), KtVec3l(kColumns, 1, 1), KtVec3l(4, 4 * kColumns, 0), KtPrimType::U16);

  inPlace(source, 12, 11);

  for (std::size_t i = 0; i < memory.size(); ++i) {
    ASSERT_EQ(memory[i], i % 2 == 0 ? i / 2 : 0xDEAD) << i;
  }
}

TEST(SampleTransformStrides, ConvertsLargeImagesOfNarrowRows) {
  // Large enough for a table of all sample values, with rows that end inside a group of four pixels.
  std::vector<unsigned char> entries;
  for (int value = 0; value < 256; ++value) {
    entries.insert(entries.end(),
                   {static_cast<unsigned char>(value), 7, static_cast<unsigned char>(255 - value)});
  }
  for (const std::size_t columns : {1, 3, 5}) {
    constexpr std::size_t kRows = 1200;
    const auto gap = static_cast<long long>(columns + 1);
    std::vector<unsigned char> memory(kRows * (columns + 1));
    for (std::size_t i = 0; i < memory.size(); ++i) {
      memory[i] = static_cast<unsigned char>(i % 251);
    }
    const Handle source =
        wrap(memory.data(), KtVec3l(gap - 1, kRows, 1), KtVec3l(1, gap, 0), KtPrimType::U8);

    const auto found =
        valuesOf<unsigned char>(outOfPlace(source, 8, 7, table8(entries, 3)).container);

    std::vector<unsigned char> expected;
    for (std::size_t i = 0; i < memory.size(); ++i) {
      if (i % (columns + 1) < columns) {
        expected.insert(expected.end(),
                        {memory[i], 7, static_cast<unsigned char>(255 - memory[i])});
      }
    }
    EXPECT_EQ(found, expected) << columns;
  }
}

// ---- several values per pixel ------------------------------------------------------------------

TEST(SampleTransformColour, ConvertsAllValuesWithoutATable) {
  std::array<unsigned char, 6> memory = {0xF1, 0xF2, 0xF3, 0xF4, 0xF5, 0xF6};
  const Handle source = wrap(memory.data(), KtVec3l(2, 1, 1), KtVec3l(3, 6, 6), KtPrimType::U8, 3);

  const Transformed result = inPlace(source, 4, 3);

  EXPECT_THAT(memory, ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_EQ(result.container->nDataVar(), 3U);
}

TEST(SampleTransformColour, LooksTheFirstValueUp) {
  std::array<unsigned char, 6> memory = {1, 99, 99, 0, 99, 99};
  const Handle source = wrap(memory.data(), KtVec3l(2, 1, 1), KtVec3l(3, 6, 6), KtPrimType::U8, 3);

  EXPECT_THAT(valuesOf<unsigned char>(outOfPlace(source, 8, 7, table8({10, 20})).container),
              ElementsAre(20, 10));

  inPlace(source, 8, 7, table8({1, 2, 3, 4, 5, 6}, 3));
  EXPECT_THAT(memory, ElementsAre(4, 5, 6, 1, 2, 3));
}

// ---- the internal check ------------------------------------------------------------------------

TEST(InternalCheck, IsGoodWhenTheConditionHolds) {
  const LogCapture log;

  EXPECT_TRUE(ExDicomUtilities::internalCheck(true, "a==b", "File.cpp").isOk());
  EXPECT_FALSE(ExDicomUtilities::failsInternally(true, "a==b", "File.cpp"));
  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(InternalCheck, NamesPlaceAndCondition) {
  const KtResult result = ExDicomUtilities::internalCheck(false, "a==b", "File.cpp", 42);

  EXPECT_EQ(result.code(), 2);
  EXPECT_EQ(result.line(), 42);
  EXPECT_STREQ(result.source().c_str(), "src/core/zrdcmexport/File.cpp:<unknown function>");
  EXPECT_STREQ(result.message().c_str(), "Internal Error");
  EXPECT_STREQ(result.condition().c_str(), "cond[a==b]");
}

TEST(InternalCheck, TakesTheLineOfItsCaller) {
  const int line = __LINE__ + 1;
  const KtResult result = ExDicomUtilities::internalCheck(false, "a==b", "File.cpp");

  EXPECT_EQ(result.line(), line);
}

TEST(InternalCheck, ReportsAFailure) {
  const LogCapture log;

  EXPECT_TRUE(ExDicomUtilities::failsInternally(false, "a==b", "File.cpp"));

  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_THAT(log.texts()[0], HasSubstr("cond[a==b]"));
}

}  // namespace
