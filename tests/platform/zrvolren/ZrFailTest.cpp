// SPDX-License-Identifier: BSD-3-Clause

#include "support/LogCapture.h"

#include <zrvolren/ZrFail.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Fail, PassesAGoodResultOverInSilence) {
  const support::LogCapture log;

  EXPECT_FALSE(Zr::fail(KtResult()));

  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(Fail, LogsEverythingThatABadResultKnows) {
  const support::LogCapture log;

  EXPECT_TRUE(Zr::fail(
      KtResult(2, 71, "core/Some.cpp:<unknown function>", "Internal Error", "cond[res.isOk()]")));

  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_EQ(log.lines()[0].level, KtLogFile::Level::Warning);
  EXPECT_EQ(log.lines()[0].text,
            "Error 2 at core/Some.cpp:<unknown function>, line 71: Internal Error "
            "(cond[res.isOk()])");
}

TEST(Fail, LogsAResultThatKnowsItsCodeOnly) {
  const support::LogCapture log;

  EXPECT_TRUE(Zr::fail(KtResult::makeBad(1)));

  EXPECT_THAT(log.texts(), ElementsAre("Error 1 at , line 0:  ()"));
}

TEST(Fail, TakesNoTextForAFormat) {
  const support::LogCapture log;

  EXPECT_TRUE(Zr::fail(KtResult(3, 1, "%s", "%n", "%d")));

  EXPECT_THAT(log.texts(), ElementsAre("Error 3 at %s, line 1: %n (%d)"));
}

}  // namespace
