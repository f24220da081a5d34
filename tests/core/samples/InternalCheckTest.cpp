// SPDX-License-Identifier: BSD-3-Clause
// The internal check, which reports a condition that does not hold with its place.
#include "support/LogCapture.h"

#include <zrdcmexport/ExDicomUtilitiesGlobal.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using support::LogCapture;
using testing::HasSubstr;
using testing::IsEmpty;

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
