// SPDX-License-Identifier: BSD-3-Clause
#include <ktlib/ktmalloc.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {
bool isAligned(const void* block) {
  return reinterpret_cast<std::uintptr_t>(block) % alignof(std::max_align_t) == 0;
}
}  // namespace

TEST(Ktmalloc, GivesMemoryThatCanBeUsed) {
  void* const block = ktmalloc(100);

  ASSERT_NE(block, nullptr);
  EXPECT_TRUE(isAligned(block));
  std::memset(block, 0xA5, 100);
  ktfree(block);
}

TEST(Ktmalloc, GivesBlocksOfTheirOwnForNoBytes) {
  void* const first = ktmalloc(0);
  void* const second = ktmalloc(0);

  EXPECT_NE(first, nullptr);
  EXPECT_NE(second, nullptr);
  EXPECT_NE(first, second);
  ktfree(first);
  ktfree(second);
}

TEST(Ktmalloc, IsNullWhenThereIsNoMemory) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers end the program on an allocation of this size";
#else
  EXPECT_EQ(ktmalloc(SIZE_MAX), nullptr);
#endif
}

TEST(Ktrealloc, KeepsTheBytesWhenGrowing) {
  auto* block = static_cast<char*>(ktmalloc(4));
  ASSERT_NE(block, nullptr);
  std::memcpy(block, "abc", 4);

  block = static_cast<char*>(ktrealloc(block, 100000));

  ASSERT_NE(block, nullptr);
  EXPECT_STREQ(block, "abc");
  ktfree(block);
}

TEST(Ktrealloc, KeepsTheFirstBytesWhenShrinking) {
  auto* block = static_cast<char*>(ktmalloc(1000));
  ASSERT_NE(block, nullptr);
  std::memcpy(block, "abc", 4);

  block = static_cast<char*>(ktrealloc(block, 4));

  ASSERT_NE(block, nullptr);
  EXPECT_STREQ(block, "abc");
  ktfree(block);
}

TEST(Ktrealloc, AllocatesForANullPointer) {
  void* const block = ktrealloc(nullptr, 10);

  ASSERT_NE(block, nullptr);
  std::memset(block, 0, 10);
  ktfree(block);
}

TEST(Ktrealloc, DoesNotReleaseForNoBytes) {
  void* const block = ktrealloc(ktmalloc(10), 0);

  EXPECT_NE(block, nullptr);
  ktfree(block);
}

TEST(Ktrealloc, LeavesTheBlockWhenThereIsNoMemory) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers end the program on an allocation of this size";
#else
  auto* const block = static_cast<char*>(ktmalloc(4));
  ASSERT_NE(block, nullptr);
  std::memcpy(block, "abc", 4);

  void* const moved = ktrealloc(block, SIZE_MAX);

  EXPECT_EQ(moved, nullptr);
  EXPECT_STREQ(block, "abc");
  ktfree(block);
#endif
}

TEST(Ktfree, TakesANullPointer) {
  ktfree(nullptr);
}
