// SPDX-License-Identifier: BSD-3-Clause
#include <ktlib/KtBitfield.h>

#include <gtest/gtest.h>

#include <climits>
#include <new>

namespace {
KtBitfield bits(unsigned long size, KtBitfield::INIT init) {
  KtBitfield field;
  field.resize(size, init);
  return field;
}
}  // namespace

TEST(KtBitfield, BeginsWithoutBits) {
  const KtBitfield field;

  EXPECT_EQ(field.size(), 0U);
  EXPECT_EQ(field.wordCount(), 0U);
  EXPECT_FALSE(field.any());
  EXPECT_EQ(field.count(), 0U);
}

TEST(KtBitfield, NumbersItsInitialisations) {
  EXPECT_EQ(static_cast<int>(KtBitfield::KEEP), 0);
  EXPECT_EQ(static_cast<int>(KtBitfield::CLEARED), 1);
  EXPECT_EQ(static_cast<int>(KtBitfield::SET), 2);
}

TEST(KtBitfield, RoundsItsWordsUp) {
  EXPECT_EQ(bits(1, KtBitfield::CLEARED).wordCount(), 1U);
  EXPECT_EQ(bits(32, KtBitfield::CLEARED).wordCount(), 1U);
  EXPECT_EQ(bits(33, KtBitfield::CLEARED).wordCount(), 2U);
  EXPECT_EQ(bits(64, KtBitfield::CLEARED).wordCount(), 2U);
}

TEST(KtBitfield, PutsTheFirstBitIntoTheLeastSignificantPlace) {
  auto field = bits(64, KtBitfield::CLEARED);

  field.set(0);
  field.set(31);
  field.set(33);

  EXPECT_EQ(field.words()[0], 0x80000001U);
  EXPECT_EQ(field.words()[1], 0x00000002U);
}

TEST(KtBitfield, TestsBitsThatWereWrittenAsWords) {
  auto field = bits(40, KtBitfield::CLEARED);

  field.words()[1] = 0x80;

  EXPECT_TRUE(field.test(39));
  EXPECT_FALSE(field.test(38));
}

TEST(KtBitfield, ResetsOneBitAlone) {
  auto field = bits(40, KtBitfield::SET);

  field.reset(33);

  EXPECT_FALSE(field.test(33));
  EXPECT_TRUE(field.test(32));
  EXPECT_TRUE(field.test(34));
  EXPECT_EQ(field.count(), 39U);
}

TEST(KtBitfield, SaysFalseOutsideItsBits) {
  const auto field = bits(33, KtBitfield::SET);

  EXPECT_TRUE(field.test(32));
  EXPECT_FALSE(field.test(33));
  EXPECT_FALSE(field.test(63));
  EXPECT_FALSE(field.test(64));
  EXPECT_FALSE(field.test(ULONG_MAX));
}

TEST(KtBitfield, IgnoresChangesOutsideItsBits) {
  auto field = bits(33, KtBitfield::CLEARED);

  field.set(33);
  field.set(64);
  field.set(ULONG_MAX);
  field.reset(ULONG_MAX);

  EXPECT_EQ(field.words()[0], 0U);
  EXPECT_EQ(field.words()[1], 0U);
}

TEST(KtBitfield, ClearsEveryBitOnResize) {
  auto field = bits(40, KtBitfield::SET);

  field.resize(50, KtBitfield::CLEARED);

  EXPECT_EQ(field.size(), 50U);
  EXPECT_FALSE(field.any());
}

TEST(KtBitfield, SetsEveryBitOnResizeAndNoneBeyond) {
  const auto field = bits(35, KtBitfield::SET);

  EXPECT_EQ(field.count(), 35U);
  EXPECT_EQ(field.words()[0], 0xFFFFFFFFU);
  EXPECT_EQ(field.words()[1], 0x7U);
}

TEST(KtBitfield, KeepsOldBitsAndClearsNewOnesWhenGrowing) {
  auto field = bits(35, KtBitfield::SET);

  field.resize(100, KtBitfield::KEEP);

  EXPECT_EQ(field.count(), 35U);
  EXPECT_TRUE(field.test(34));
  EXPECT_FALSE(field.test(35));
  EXPECT_FALSE(field.test(99));
}

TEST(KtBitfield, KeepsTheFirstBitsWhenShrinking) {
  auto field = bits(100, KtBitfield::SET);

  field.resize(34, KtBitfield::KEEP);

  EXPECT_EQ(field.count(), 34U);
  EXPECT_EQ(field.words()[1], 0x3U);
}

TEST(KtBitfield, ForgetsBitsThatWereCutOff) {
  auto field = bits(64, KtBitfield::SET);

  field.resize(10, KtBitfield::KEEP);
  field.resize(64, KtBitfield::KEEP);

  EXPECT_EQ(field.count(), 10U);
}

TEST(KtBitfield, NeverCountsWhatLiesBeyondItsBits) {
  auto field = bits(33, KtBitfield::CLEARED);

  field.words()[1] = 0xFFFFFFFE;

  EXPECT_FALSE(field.any());
  EXPECT_EQ(field.count(), 0U);
}

TEST(KtBitfield, DoesNotLetBitsFromBeyondInWhenGrowing) {
  auto field = bits(33, KtBitfield::CLEARED);
  field.words()[1] = 0xFFFFFFFE;

  field.resize(64, KtBitfield::KEEP);

  EXPECT_FALSE(field.any());
}

TEST(KtBitfield, GivesAllItsBitsUp) {
  auto field = bits(40, KtBitfield::SET);

  field.resize(0, KtBitfield::KEEP);

  EXPECT_EQ(field.size(), 0U);
  EXPECT_EQ(field.wordCount(), 0U);
  EXPECT_FALSE(field.any());
}

TEST(KtBitfield, SeesASingleBitInTheLastPlace) {
  auto field = bits(65, KtBitfield::CLEARED);

  field.set(64);

  EXPECT_TRUE(field.any());
  EXPECT_EQ(field.count(), 1U);
}

TEST(KtBitfield, CopiesItsBits) {
  auto field = bits(8, KtBitfield::CLEARED);
  const KtBitfield copy = field;

  field.set(3);

  EXPECT_FALSE(copy.test(3));
}

TEST(KtBitfield, StaysAsItIsWhenThereIsNoMemory) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers end the program on an allocation of this size";
#else
  auto field = bits(8, KtBitfield::SET);

  EXPECT_THROW(field.resize(ULONG_MAX, KtBitfield::CLEARED), std::bad_alloc);

  EXPECT_EQ(field.size(), 8U);
  EXPECT_EQ(field.count(), 8U);
#endif
}
