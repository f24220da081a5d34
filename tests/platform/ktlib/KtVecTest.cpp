// SPDX-License-Identifier: BSD-3-Clause
#include <ktlib/KtVec2f.h>
#include <ktlib/KtVec2i.h>
#include <ktlib/KtVec3l.h>

#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <type_traits>

TEST(KtVec, BeginsWithZeros) {
  const KtVec2i pair;
  const KtVec2f line;
  const KtVec3l extent;

  EXPECT_EQ(pair.x, 0);
  EXPECT_EQ(pair.y, 0);
  EXPECT_EQ(line.x, 0.0F);
  EXPECT_EQ(line.y, 0.0F);
  EXPECT_EQ(extent.x, 0);
  EXPECT_EQ(extent.y, 0);
  EXPECT_EQ(extent.z, 0);
}

TEST(KtVec, IsMadeWithBracesAndWithParentheses) {
  const KtVec3l braces{1, 2, 3};
  const KtVec3l parentheses(1, 2, 3);

  EXPECT_EQ(braces, parentheses);
  EXPECT_EQ(braces.x, 1);
  EXPECT_EQ(braces.y, 2);
  EXPECT_EQ(braces.z, 3);
  EXPECT_EQ((KtVec2i{4, 5}), KtVec2i(4, 5));
  EXPECT_EQ((KtVec2f{0.5F, 5.0F}), KtVec2f(0.5F, 5.0F));
}

TEST(KtVec, DiffersInAnyComponent) {
  EXPECT_NE(KtVec2i(1, 2), KtVec2i(1, 3));
  EXPECT_NE(KtVec2i(1, 2), KtVec2i(0, 2));
  EXPECT_NE(KtVec2f(1, 2), KtVec2f(1, 3));
  EXPECT_NE(KtVec2f(1, 2), KtVec2f(0, 2));
  EXPECT_NE(KtVec3l(1, 2, 3), KtVec3l(0, 2, 3));
  EXPECT_NE(KtVec3l(1, 2, 3), KtVec3l(1, 0, 3));
  EXPECT_NE(KtVec3l(1, 2, 3), KtVec3l(1, 2, 0));
}

TEST(KtVec, EqualsNothingWhenItHoldsANaN) {
  const KtVec2f unknown(std::numeric_limits<float>::quiet_NaN(), 0);

  EXPECT_FALSE(unknown == unknown);
  EXPECT_TRUE(unknown != unknown);
}

TEST(KtVec, HoldsExtentsBeyond32Bits) {
  const KtVec3l extent{LLONG_MAX, LLONG_MIN, 5000000000};

  EXPECT_EQ(extent.z, 5000000000);
  EXPECT_EQ(sizeof(extent), 24U);
}

TEST(KtVec, IsPlainData) {
  EXPECT_TRUE(std::is_trivially_copyable_v<KtVec2i> && std::is_standard_layout_v<KtVec2i>);
  EXPECT_TRUE(std::is_trivially_copyable_v<KtVec2f> && std::is_standard_layout_v<KtVec2f>);
  EXPECT_TRUE(std::is_trivially_copyable_v<KtVec3l> && std::is_standard_layout_v<KtVec3l>);
}
