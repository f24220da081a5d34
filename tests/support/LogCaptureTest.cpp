// SPDX-License-Identifier: BSD-3-Clause
#include "support/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;

TEST(LogCapture, CollectsLinesInOrder) {
  const support::LogCapture log;

  getTheLogInstance().warnf("bit %d", 12);
  getTheLogInstance().printf("done");

  EXPECT_THAT(log.texts(), ElementsAre("bit 12", "done"));
  EXPECT_EQ(log.lines()[0].level, KtLogFile::Level::Warning);
  EXPECT_EQ(log.lines()[1].level, KtLogFile::Level::Message);
}

TEST(LogCapture, LetsGoOfTheLogAtTheEndOfItsLife) {
  { const support::LogCapture first; }
  const support::LogCapture second;

  getTheLogInstance().printf("once");

  EXPECT_THAT(second.texts(), ElementsAre("once"));
}

}  // namespace
