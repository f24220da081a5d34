// SPDX-License-Identifier: BSD-3-Clause
#include <ktlib/KtAllocator.h>

#include <gtest/gtest.h>

#include <type_traits>

TEST(KtAllocator, OfTypeOneOwnsMemory) {
  const KtAllocator allocator(1);

  EXPECT_EQ(allocator.type(), 1);
  EXPECT_TRUE(allocator.isOwning());
}

TEST(KtAllocator, OfTypeZeroWrapsMemoryOfOthers) {
  const KtAllocator allocator(0);

  EXPECT_EQ(allocator.type(), 0);
  EXPECT_FALSE(allocator.isOwning());
}

TEST(KtAllocator, OfAnyOtherTypeOwnsNothing) {
  const KtAllocator allocator(-7);

  EXPECT_EQ(allocator.type(), -7);
  EXPECT_FALSE(allocator.isOwning());
}

TEST(KtAllocator, IsNeverMadeFromANumberByAccident) {
  EXPECT_FALSE((std::is_convertible_v<int, KtAllocator>));
}
