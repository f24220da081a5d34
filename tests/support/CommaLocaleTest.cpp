// SPDX-License-Identifier: BSD-3-Clause
#include "support/CommaLocale.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

namespace {

std::string written(double number) {
  std::ostringstream stream;
  stream << number;
  return stream.str();
}

TEST(CommaLocale, ReadsAndWritesNumbersWithAComma) {
  const support::CommaLocale comma;

  float read = 0;
  ASSERT_EQ(std::sscanf("0,75", "%f", &read), 1);

  EXPECT_FLOAT_EQ(read, 0.75F);
  EXPECT_EQ(std::atof("0.75"), 0.0);
  EXPECT_EQ(written(1234.5), "1.234,5");
}

TEST(CommaLocale, IsLeftAtTheEndOfItsScopeAndInBetween) {
  {
    support::CommaLocale comma;
    comma.leave();
    EXPECT_EQ(written(1234.5), "1234.5");
    EXPECT_EQ(std::atof("0.75"), 0.75);
    comma.enter();
    EXPECT_EQ(std::atof("0.75"), 0.0);
  }

  EXPECT_EQ(written(1234.5), "1234.5");
  EXPECT_EQ(std::atof("0.75"), 0.75);
}

}  // namespace
