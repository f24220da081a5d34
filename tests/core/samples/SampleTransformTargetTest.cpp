// SPDX-License-Identifier: BSD-3-Clause
// The transform: which container gets the results, and what fails.
#include "LutTables.h"
#include "SampleTransformFixtures.h"
#include "support/LogCapture.h"
#include "support/RowName.h"

#include <zrdcmexport/ExDicomUtilitiesGlobal.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ExDicomUtilities::extractSample_applyLUT_makeUnsigned;
using ExDicomUtilities::LUT;
using luttest::table16;
using luttest::table8;
using sampletest::Handle;
using sampletest::samples;
using sampletest::valuesOf;
using support::LogCapture;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

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

}  // namespace
