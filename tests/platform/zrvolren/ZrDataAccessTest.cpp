// SPDX-License-Identifier: BSD-3-Clause

#include "support/RowName.h"

#include <zrvolren/ZrDataAccess.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace {

const KtAllocator kWrapping(KtAllocator::kWrapping);
const KtAllocator kOwning(KtAllocator::kOwning);

KtHandle<ZrDataAccess> owned(const KtVec3l& dims, KtPrimType type, unsigned nDataVar = 1) {
  return {new ZrDataAccess(dims, type, nDataVar, kOwning)};
}

// The samples of a contiguous container of bytes.
std::vector<int> bytesOf(const ZrDataAccess& container) {
  const auto* const first = static_cast<const std::uint8_t*>(container.dataPtr(0));
  return {first, first + container.size()};
}

std::vector<int> bytesOfClone(const ZrDataAccess& container) {
  KtHandle<ZrDataAccess> copy;
  container.clone(copy, kOwning);
  return bytesOf(*copy);
}

TEST(OwnedSamples, AreContiguous) {
  const auto container = owned({4, 3, 2}, KtPrimType::U16, 3);

  EXPECT_EQ(container->dims(), KtVec3l(4, 3, 2));
  EXPECT_EQ(container->strides(), KtVec3l(6, 24, 72));
  EXPECT_EQ(container->size(), 144U);
  EXPECT_EQ(container->nDataVar(), 3U);
  EXPECT_EQ(container->primType(), KtPrimType::U16);
  ASSERT_TRUE(container->hasData());
  EXPECT_EQ(static_cast<char*>(container->dataPtr(1)) - static_cast<char*>(container->dataPtr(0)),
            72);
}

TEST(OwnedSamples, AreZero) {
  const auto container = owned({5, 1, 2}, KtPrimType::U8);

  EXPECT_EQ(bytesOf(*container), std::vector<int>(10, 0));
}

TEST(OwnedSamples, KeepWhatIsWritten) {
  const auto container = owned({2, 1, 2}, KtPrimType::S16);

  static_cast<std::int16_t*>(container->dataPtr(1))[1] = -2;

  const ZrDataAccess& readOnly = *container;
  EXPECT_EQ(static_cast<const std::int16_t*>(readOnly.dataPtr(0))[3], -2);
}

TEST(OwnedSamples, AreNotThereWithAnAllocatorThatOwnsNothing) {
  const ZrDataAccess container({2, 2, 1}, KtPrimType::U8, 1, kWrapping);

  EXPECT_FALSE(container.hasData());
  EXPECT_EQ(container.dataPtr(0), nullptr);
  EXPECT_EQ(container.size(), 4U);
}

TEST(Frames, OutsideTheContainerAreNull) {
  const auto container = owned({2, 2, 3}, KtPrimType::U8);

  EXPECT_EQ(container->dataPtr(-1), nullptr);
  EXPECT_NE(container->dataPtr(2), nullptr);
  EXPECT_EQ(container->dataPtr(3), nullptr);
}

struct WithoutSamples {
  const char* name;
  KtVec3l dims;
  KtPrimType type;
  unsigned nDataVar;
  unsigned long long size;
};
constexpr long long k2To20 = 1LL << 20;
constexpr long long k2To40 = 1LL << 40;
constexpr long long kMost = std::numeric_limits<long long>::max();
const WithoutSamples kWithoutSamples[] = {
    {"NoColumns", {0, 3, 2}, KtPrimType::U8, 1, 0},
    {"NegativeRows", {4, -3, 2}, KtPrimType::U8, 1, 0},
    {"TwoNegativeDimensions", {-4, -3, 2}, KtPrimType::U8, 1, 0},
    {"MinusOneRow", {1, -1, 1}, KtPrimType::U8, 1, 0},
    {"NoFrames", {4, 3, 0}, KtPrimType::U8, 1, 0},
    {"NoValues", {4, 3, 2}, KtPrimType::U8, 0, 0},
    {"UnknownType", {4, 3, 2}, static_cast<KtPrimType::Code>(77), 1, 0},
    {"PixelsOverflow", {k2To40, k2To40, 1}, KtPrimType::U8, 1, 0},
    {"OverflowWrapsToASmallProduct", {k2To40, 1LL << 24, 4}, KtPrimType::U8, 1, 0},
    {"TypeOverflows", {k2To40, k2To20, 4}, KtPrimType::F64, 1, 0},
    {"ValuesOverflow", {k2To40, 1, 1}, KtPrimType::U8, 1U << 24, 0},
    {"LargestDimensions", {kMost, kMost, kMost}, KtPrimType::F64, 0xFFFFFFFFU, 0},
    {"MoreThanPointersSpan", {k2To40, k2To20, 8}, KtPrimType::U8, 1, 1ULL << 63},
    {"FrameBeyondPointers", {k2To40, 1LL << 23, 1}, KtPrimType::U8, 1, 1ULL << 63},
    {"MoreThanTheMachineHas", {k2To40, k2To20, 1}, KtPrimType::U8, 1, 1ULL << 60}};

class ContainerWithoutSamples : public testing::TestWithParam<WithoutSamples> {};

TEST_P(ContainerWithoutSamples, SaysSo) {
  const WithoutSamples& row = GetParam();

  const auto container = owned(row.dims, row.type, row.nDataVar);

  EXPECT_FALSE(container->hasData());
  EXPECT_EQ(container->size(), row.size);
  EXPECT_EQ(container->dataPtr(0), nullptr);
  EXPECT_EQ(container->dims(), row.dims);
}

TEST_P(ContainerWithoutSamples, SaysSoWhenItWraps) {
  const WithoutSamples& row = GetParam();
  std::uint8_t sample = 0;

  const ZrDataAccess view(row.dims, KtVec3l(), row.size == 0 ? &sample : nullptr, row.type,
                          row.nDataVar, kWrapping);

  EXPECT_FALSE(view.hasData());
  EXPECT_EQ(view.size(), row.size);
  EXPECT_EQ(view.dataPtr(0), nullptr);
}

TEST_P(ContainerWithoutSamples, ClonesToOneWithoutSamples) {
  const WithoutSamples& row = GetParam();
  const auto container = owned(row.dims, row.type, row.nDataVar);

  KtHandle<ZrDataAccess> copy;
  container->clone(copy, kOwning);

  ASSERT_TRUE(copy.isNotNull());
  EXPECT_FALSE(copy->hasData());
  EXPECT_EQ(copy->dims(), row.dims);
  EXPECT_EQ(copy->nDataVar(), row.nDataVar);
  EXPECT_EQ(copy->primType(), row.type);
  EXPECT_EQ(copy->hash(), container->hash());
}

INSTANTIATE_TEST_SUITE_P(Sizes, ContainerWithoutSamples, testing::ValuesIn(kWithoutSamples),
                         support::nameOf<WithoutSamples>);

TEST(WrappedSamples, AreNotThereForANullPointer) {
  const ZrDataAccess view({2, 1, 1}, {1, 2, 2}, nullptr, KtPrimType::U8, 1, kWrapping);

  EXPECT_FALSE(view.hasData());
  EXPECT_EQ(view.dataPtr(0), nullptr);
  EXPECT_EQ(view.size(), 2U);
}

TEST(WrappedSamples, StayWhereTheyAre) {
  std::uint8_t samples[] = {1, 2, 3, 4, 5, 6, 7, 8};
  ZrDataAccess view({2, 1, 2}, {1, 2, 5}, samples, KtPrimType::U8, 1, kWrapping);

  EXPECT_EQ(view.dataPtr(0), samples);
  EXPECT_EQ(view.dataPtr(1), samples + 5);
  EXPECT_EQ(view.strides(), KtVec3l(1, 2, 5));
  EXPECT_EQ(view.size(), 4U);
}

TEST(WrappedSamples, AreNeverFreed) {
  std::vector<std::uint8_t> samples = {1, 2, 3};

  { const ZrDataAccess view({3, 1, 1}, {1, 3, 3}, samples.data(), KtPrimType::U8, 1, kOwning); }

  EXPECT_EQ(samples, (std::vector<std::uint8_t>{1, 2, 3}));
}

struct StridedView {
  const char* name;
  KtVec3l dims;
  KtVec3l strides;
  unsigned nDataVar;
  int firstByte;
  std::vector<int> samples;  // as a contiguous container holds them
};
// Views of the 24 bytes 0, 1, 2, ..., 23.
const StridedView kStridedViews[] = {
    {"Contiguous", {3, 2, 2}, {1, 3, 6}, 1, 0, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}},
    {"PaddedRows", {3, 2, 1}, {1, 8, 16}, 1, 0, {0, 1, 2, 8, 9, 10}},
    {"PaddedFrames", {2, 2, 2}, {1, 2, 10}, 1, 0, {0, 1, 2, 3, 10, 11, 12, 13}},
    {"EverySecondPixel", {3, 2, 1}, {2, 8, 16}, 1, 1, {1, 3, 5, 9, 11, 13}},
    {"PixelsOfThreeValues", {2, 2, 1}, {4, 8, 16}, 3, 0, {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14}},
    {"OneColumn", {1, 3, 1}, {99, 4, 12}, 1, 0, {0, 4, 8}},
    {"Transposed", {2, 3, 1}, {3, 1, 6}, 1, 0, {0, 3, 1, 4, 2, 5}},
    {"Mirrored", {3, 2, 1}, {-1, 3, 6}, 1, 2, {2, 1, 0, 5, 4, 3}},
    {"UpsideDownFramesBackwards", {2, 2, 2}, {1, -2, -4}, 1, 6, {6, 7, 4, 5, 2, 3, 0, 1}},
    {"RepeatedRow", {3, 2, 1}, {1, 0, 0}, 1, 4, {4, 5, 6, 4, 5, 6}},
    {"RepeatedPixel", {3, 1, 1}, {0, 0, 0}, 2, 4, {4, 5, 4, 5, 4, 5}}};

class View : public testing::TestWithParam<StridedView> {
protected:
  View() {
    for (std::size_t i = 0; i < memory_.size(); ++i) {
      memory_[i] = static_cast<std::uint8_t>(i);
    }
  }

  KtHandle<ZrDataAccess> view() {
    return {new ZrDataAccess(GetParam().dims, GetParam().strides,
                             memory_.data() + GetParam().firstByte, KtPrimType::U8,
                             GetParam().nDataVar, kWrapping)};
  }

  std::vector<std::uint8_t> memory_ = std::vector<std::uint8_t>(24);
};

TEST_P(View, IsRepackedByClone) {
  KtHandle<ZrDataAccess> copy;
  view()->clone(copy, kOwning);

  const KtVec3l& dims = GetParam().dims;
  const auto pixel = static_cast<long long>(GetParam().nDataVar);
  EXPECT_EQ(copy->strides(), KtVec3l(pixel, pixel * dims.x, pixel * dims.x * dims.y));
  EXPECT_EQ(bytesOf(*copy), GetParam().samples);
}

TEST_P(View, HashesAsItsSamplesDo) {
  const auto solid = owned(GetParam().dims, KtPrimType::U8, GetParam().nDataVar);
  auto* target = static_cast<std::uint8_t*>(solid->dataPtr(0));
  for (const int sample : GetParam().samples) {
    *target++ = static_cast<std::uint8_t>(sample);
  }

  EXPECT_EQ(view()->hash(), solid->hash());
}

INSTANTIATE_TEST_SUITE_P(Strides, View, testing::ValuesIn(kStridedViews),
                         support::nameOf<StridedView>);

TEST(Clone, KeepsTypeAndValuesOfStridedWords) {
  const std::uint16_t memory[] = {0x0102, 0xFFFF, 0x0304, 0xFFFF};
  const ZrDataAccess view({2, 1, 1}, {4, 8, 8}, const_cast<std::uint16_t*>(memory), KtPrimType::S16,
                          1, kWrapping);

  KtHandle<ZrDataAccess> copy;
  view.clone(copy, kOwning);

  EXPECT_EQ(copy->primType(), KtPrimType::S16);
  EXPECT_EQ(static_cast<const std::uint16_t*>(copy->dataPtr(0))[0], 0x0102);
  EXPECT_EQ(static_cast<const std::uint16_t*>(copy->dataPtr(0))[1], 0x0304);
}

TEST(Clone, IsIndependentOfItsOrigin) {
  const auto container = owned({2, 1, 1}, KtPrimType::U8);
  KtHandle<ZrDataAccess> copy;
  container->clone(copy, kOwning);

  static_cast<std::uint8_t*>(copy->dataPtr(0))[0] = 9;

  EXPECT_EQ(bytesOf(*container), (std::vector<int>{0, 0}));
}

TEST(Clone, MayReplaceTheOnlyHandleOfItsOrigin) {
  auto container = owned({2, 1, 1}, KtPrimType::U8);
  static_cast<std::uint8_t*>(container->dataPtr(0))[1] = 7;

  container->clone(container, kOwning);

  EXPECT_EQ(bytesOf(*container), (std::vector<int>{0, 7}));
  EXPECT_EQ(container->refCount(), 1);
}

TEST(Relabelling, KeepsTheBytes) {
  const auto container = owned({1, 1, 1}, KtPrimType::U16);
  *static_cast<std::uint16_t*>(container->dataPtr(0)) = 0xFFFE;

  container->setPrimType(KtPrimType::S16);

  EXPECT_EQ(container->primType(), KtPrimType::S16);
  EXPECT_EQ(*static_cast<std::int16_t*>(container->dataPtr(0)), -2);
}

TEST(Relabelling, ToASmallerTypeReadsTheBeginningOfEachPixel) {
  const auto container = owned({2, 1, 1}, KtPrimType::U16);
  static_cast<std::uint16_t*>(container->dataPtr(0))[0] = 0x0201;
  static_cast<std::uint16_t*>(container->dataPtr(0))[1] = 0x0403;

  container->setPrimType(KtPrimType::U8);

  EXPECT_EQ(container->size(), 2U);
  EXPECT_EQ(bytesOfClone(*container), (std::vector<int>{1, 3}));
}

TEST(Relabelling, ToALargerTypeHidesOwnedSamplesUntilItIsUndone) {
  const auto container = owned({2, 1, 1}, KtPrimType::U8);
  static_cast<std::uint8_t*>(container->dataPtr(0))[1] = 5;

  container->setPrimType(KtPrimType::U32);
  EXPECT_FALSE(container->hasData());
  EXPECT_EQ(container->dataPtr(0), nullptr);

  container->setPrimType(KtPrimType::U8);
  EXPECT_EQ(bytesOf(*container), (std::vector<int>{0, 5}));
}

TEST(Hash, IsTheSameForEqualContainers) {
  EXPECT_EQ(owned({3, 2, 1}, KtPrimType::U8)->hash(), owned({3, 2, 1}, KtPrimType::U8)->hash());
}

TEST(Hash, DependsOnOrderOfDimensionsTypeAndValues) {
  const KtLib::MD5 hash = owned({3, 2, 1}, KtPrimType::U8, 1)->hash();

  EXPECT_NE(owned({2, 3, 1}, KtPrimType::U8, 1)->hash(), hash);
  EXPECT_NE(owned({3, 1, 2}, KtPrimType::U8, 1)->hash(), hash);
  EXPECT_NE(owned({3, 2, 1}, KtPrimType::S8, 1)->hash(), hash);
  EXPECT_NE(owned({1, 2, 1}, KtPrimType::U8, 3)->hash(), hash);
}

TEST(Hash, DependsOnTheNumberOfValuesWithoutSamplesToo) {
  const ZrDataAccess one({3, 2, 1}, KtPrimType::U8, 1, kWrapping);
  const ZrDataAccess three({3, 2, 1}, KtPrimType::U8, 3, kWrapping);

  EXPECT_NE(one.hash(), three.hash());
}

TEST(Hash, DependsOnEverySample) {
  const auto container = owned({3, 2, 2}, KtPrimType::U8);
  std::vector<std::string> seen = {container->hash().hex()};
  auto* const samples = static_cast<std::uint8_t*>(container->dataPtr(0));

  for (int i = 0; i < 12; ++i) {
    samples[i] = 1;
    const std::string hash = container->hash().hex();
    EXPECT_EQ(std::count(seen.begin(), seen.end(), hash), 0) << "sample " << i;
    seen.push_back(hash);
    samples[i] = 0;
  }
}

TEST(Hash, TellsZerosFromNoSamples) {
  const ZrDataAccess nothing({2, 2, 1}, KtPrimType::U8, 1, kWrapping);

  EXPECT_NE(nothing.hash(), owned({2, 2, 1}, KtPrimType::U8)->hash());
}

}  // namespace
