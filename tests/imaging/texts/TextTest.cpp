// SPDX-License-Identifier: BSD-3-Clause
// Texts and numbers as front ends show them.
#include <gtest/gtest.h>

#include <string>
#include <zrimaging/Text.h>

namespace {

TEST(Utf8, IsReadCharacterByCharacter) {
  const std::string text = "a\u00e9\xff";

  EXPECT_EQ(zr::utf8At(text, 0)->code, U'a');
  EXPECT_EQ(zr::utf8At(text, 1)->code, U'\u00e9');
  EXPECT_EQ(zr::utf8At(text, 1)->bytes, 2U);
  EXPECT_FALSE(zr::utf8At(text, 3));
}

TEST(Utf8, IsMadeOfOtherBytesByEscapes) {
  EXPECT_EQ(zr::escapedByte('\xe9'), "\\xE9");
  EXPECT_EQ(zr::withEscapedBytes("\u00e9t\xe9"), "\u00e9t\\xE9");
}

TEST(Character, IsUnsafeWhereATerminalActsOnIt) {
  EXPECT_TRUE(zr::isUnsafeOnTerminals(0x1B));
  EXPECT_TRUE(zr::isUnsafeOnTerminals(0x202E));
  EXPECT_FALSE(zr::isUnsafeOnTerminals(U'\u00e9'));
}

TEST(Number, IsWrittenAsShortAsItReadsBack) {
  EXPECT_EQ(zr::shortest(0.1F), "0.1");
  EXPECT_EQ(zr::shortest(0.1), "0.1");
  EXPECT_EQ(zr::shortest(static_cast<double>(0.1F)), "0.1");
}

}  // namespace
