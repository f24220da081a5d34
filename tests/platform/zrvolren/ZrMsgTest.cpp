// SPDX-License-Identifier: BSD-3-Clause

#include "platform/zrvolren/AllocationWatch.h"
#include "support/RowName.h"

#include <ktlib/KtHandle.h>
#include <zrvolren/ZrDataAccess.h>
#include <zrvolren/ZrMsg.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <numeric>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

// Where the fields of a container that is the first message of a stream begin.
constexpr std::size_t kTypeAt = 1;
constexpr std::size_t kFlagAt = 33;
constexpr std::size_t kHeaderBytes = 34;
// What reading may allocate besides samples: the container objects themselves.
constexpr std::size_t kBytesOfObjects = 2 * sizeof(ZrDataAccess);

// Columns x 1 x 1 bytes with the samples 1, 2, 3, ...
KtHandle<ZrDataAccess> countingBytes(long long columns) {
  KtHandle<ZrDataAccess> container(new ZrDataAccess(KtVec3l(columns, 1, 1), KtPrimType::U8, 1,
                                                    KtAllocator(KtAllocator::kOwning)));
  auto* const samples = static_cast<std::uint8_t*>(container->dataPtr(0));
  std::iota(samples, samples + columns, std::uint8_t{1});
  return container;
}

KtHandle<ZrDataAccess> readContainer(ZrMsg& message) {
  ZrDataAccess* container = nullptr;
  message >> container;
  return {container};
}

Bytes streamOf(const ZrDataAccess* container) {
  ZrMsg message;
  message << container;
  return message.bytes();
}

// A stream with a container of one byte type whose header tells these dimensions, and whose samples
// are these.
Bytes forgedStream(const KtVec3l& dims, const Bytes& samples) {
  const ZrDataAccess shape(dims, KtVec3l(), nullptr, KtPrimType::U8, 1,
                           KtAllocator(KtAllocator::kWrapping));
  Bytes bytes = streamOf(&shape);
  bytes[kFlagAt] = 1;
  bytes.insert(bytes.end(), samples.begin(), samples.end());
  return bytes;
}

// ---- whole numbers

class IntRoundTrip : public testing::TestWithParam<int> {};

TEST_P(IntRoundTrip, KeepsTheValue) {
  ZrMsg written;
  written << GetParam();

  ZrMsg read(written.bytes());
  int value = 77;
  read >> value;

  EXPECT_EQ(value, GetParam());
  EXPECT_TRUE(read.isGood());
}
INSTANTIATE_TEST_SUITE_P(Values, IntRoundTrip,
                         testing::Values(0, 1, -1, 255, 256, -2048, INT_MAX, INT_MIN));

TEST(IntMessage, IsLittleEndian) {
  ZrMsg message;
  message << 0x01020304 << -2;

  EXPECT_EQ(message.bytes(), (Bytes{'i', 4, 3, 2, 1, 'i', 0xFE, 0xFF, 0xFF, 0xFF}));
}

// ---- containers

TEST(ContainerMessage, HasAFixedLayout) {
  KtHandle<ZrDataAccess> container(
      new ZrDataAccess(KtVec3l(2, 1, 3), KtPrimType::U16, 1, KtAllocator(KtAllocator::kOwning)));
  for (int i = 0; i < 6; ++i) {
    static_cast<std::uint16_t*>(container->dataPtr(0))[i] = static_cast<std::uint16_t>(0x0A00 + i);
  }

  EXPECT_EQ(streamOf(container.ptr()),
            (Bytes{'D', 7, 0,  0, 0,  1, 0,  0, 0,                    // type, values
                   2,   0, 0,  0, 0,  0, 0,  0,                       // columns
                   1,   0, 0,  0, 0,  0, 0,  0,                       // rows
                   3,   0, 0,  0, 0,  0, 0,  0,                       // frames
                   1,   0, 10, 1, 10, 2, 10, 3, 10, 4, 10, 5, 10}));  // samples
}

TEST(ContainerMessage, RoundTripsTypeShapeAndSamples) {
  KtHandle<ZrDataAccess> container(
      new ZrDataAccess(KtVec3l(3, 2, 2), KtPrimType::F32, 3, KtAllocator(KtAllocator::kOwning)));
  auto* const samples = static_cast<float*>(container->dataPtr(0));
  std::iota(samples, samples + 36, -7.5F);

  ZrMsg message(streamOf(container.ptr()));
  const auto read = readContainer(message);

  ASSERT_TRUE(read.isNotNull());
  EXPECT_TRUE(message.isGood());
  EXPECT_EQ(read->dims(), KtVec3l(3, 2, 2));
  EXPECT_EQ(read->strides(), KtVec3l(12, 36, 72));
  EXPECT_EQ(read->primType(), KtPrimType::F32);
  EXPECT_EQ(read->nDataVar(), 3U);
  EXPECT_EQ(read->hash(), container->hash());
}

TEST(ContainerMessage, LeavesOutTheGapsOfAView) {
  std::uint8_t memory[] = {1, 2, 99, 3, 4, 99};
  const ZrDataAccess view(KtVec3l(2, 2, 1), KtVec3l(1, 3, 6), memory, KtPrimType::U8, 1,
                          KtAllocator(KtAllocator::kWrapping));

  const Bytes bytes = streamOf(&view);

  EXPECT_EQ(Bytes(bytes.begin() + kHeaderBytes, bytes.end()), (Bytes{1, 2, 3, 4}));
}

TEST(ContainerMessage, OfNullIsNull) {
  EXPECT_EQ(streamOf(nullptr), Bytes{'0'});

  ZrMsg message(streamOf(nullptr));
  EXPECT_TRUE(readContainer(message).isNull());
  EXPECT_TRUE(message.isGood());
}

struct Shape {
  const char* name;
  KtVec3l dims;
  KtPrimType type;
};
class ContainerWithoutSamplesMessage : public testing::TestWithParam<Shape> {};

TEST_P(ContainerWithoutSamplesMessage, ReadsBackWithoutSamples) {
  const ZrDataAccess shape(GetParam().dims, GetParam().type, 1, KtAllocator(KtAllocator::kOwning));

  ZrMsg message(streamOf(&shape));
  const auto read = readContainer(message);

  ASSERT_TRUE(read.isNotNull());
  EXPECT_TRUE(message.isGood());
  EXPECT_FALSE(read->hasData());
  EXPECT_EQ(read->dims(), GetParam().dims);
  EXPECT_EQ(read->primType(), GetParam().type);
}
INSTANTIATE_TEST_SUITE_P(
    Shapes, ContainerWithoutSamplesMessage,
    testing::Values(Shape{"NoColumns", {0, 1, 1}, KtPrimType::U16},
                    Shape{"NegativeRows", {5, -1, 1}, KtPrimType::U8},
                    Shape{"Overflow", {1LL << 40, 1LL << 40, 1}, KtPrimType::U8},
                    Shape{"UnknownType", {5, 5, 1}, static_cast<KtPrimType::Code>(-3)}),
    support::nameOf<Shape>);

TEST(ContainerMessage, HandsOutAContainerThatNobodyRefersTo) {
  ZrMsg message(streamOf(countingBytes(3).ptr()));

  ZrDataAccess* container = nullptr;
  message >> container;

  ASSERT_NE(container, nullptr);
  EXPECT_EQ(container->refCount(), 0);
  delete container;
}

// ---- sequences of messages

TEST(Message, ReadsWhatItWroteInTheSameOrder) {
  const auto container = countingBytes(5);
  ZrMsg message;
  message << 1 << container.ptr() << static_cast<const ZrDataAccess*>(nullptr) << 2;

  int first = 0;
  int last = 0;
  message >> first;
  const auto read = readContainer(message);
  const auto null = readContainer(message);
  message >> last;

  EXPECT_EQ(first, 1);
  EXPECT_EQ(read->hash(), container->hash());
  EXPECT_TRUE(null.isNull());
  EXPECT_EQ(last, 2);
  EXPECT_TRUE(message.isGood());
}

TEST(Message, ContinuesTheBytesItWasMadeOf) {
  ZrMsg first;
  first << 1;
  ZrMsg second(first.bytes());
  second << 2;

  int a = 0;
  int b = 0;
  second >> a >> b;

  EXPECT_EQ(a, 1);
  EXPECT_EQ(b, 2);
}

// ---- bad streams

TEST(BadMessage, IsAnEmptyOne) {
  ZrMsg message;
  int value = 5;

  message >> value;

  EXPECT_EQ(value, 0);
  EXPECT_FALSE(message.isGood());
}

TEST(BadMessage, IsAnIntReadAsAContainer) {
  ZrMsg message;
  message << 5;

  EXPECT_TRUE(readContainer(message).isNull());
  EXPECT_FALSE(message.isGood());
}

TEST(BadMessage, IsAContainerReadAsAnInt) {
  ZrMsg message(streamOf(countingBytes(3).ptr()));
  int value = 5;

  message >> value;

  EXPECT_EQ(value, 0);
  EXPECT_FALSE(message.isGood());
}

TEST(BadMessage, StaysBadAndHandsOutNothing) {
  ZrMsg message;
  message << 5 << 6;
  EXPECT_TRUE(readContainer(message).isNull());

  int value = 7;
  message >> value;

  EXPECT_EQ(value, 0);
  EXPECT_TRUE(readContainer(message).isNull());
  EXPECT_FALSE(message.isGood());
}

TEST(BadMessage, TakesNothingMore) {
  ZrMsg message;
  message << 5;
  EXPECT_TRUE(readContainer(message).isNull());
  const Bytes before = message.bytes();

  message << 6 << countingBytes(2).ptr();

  EXPECT_EQ(message.bytes(), before);
}

TEST(BadMessage, OverwritesThePointerItReadsInto) {
  const auto container = countingBytes(1);
  ZrDataAccess* pointer = container.ptr();
  ZrMsg message;

  message >> pointer;

  EXPECT_EQ(pointer, nullptr);
  EXPECT_EQ(container->refCount(), 1);
}

TEST(BadMessage, IsEveryTruncatedInt) {
  ZrMsg whole;
  whole << 0x01020304;
  for (std::size_t length = 0; length < whole.bytes().size(); ++length) {
    ZrMsg message(Bytes(whole.bytes().begin(), whole.bytes().begin() + static_cast<long>(length)));
    int value = 5;

    message >> value;

    EXPECT_EQ(value, 0) << length;
    EXPECT_FALSE(message.isGood()) << length;
  }
}

TEST(BadMessage, IsEveryTruncatedContainer) {
  const Bytes whole = streamOf(countingBytes(40).ptr());
  ASSERT_EQ(whole.size(), kHeaderBytes + 40);
  for (std::size_t length = 0; length < whole.size(); ++length) {
    ZrMsg message(Bytes(whole.begin(), whole.begin() + static_cast<long>(length)));

    const AllocationWatch watch;
    const auto container = readContainer(message);

    EXPECT_TRUE(container.isNull()) << length;
    EXPECT_FALSE(message.isGood()) << length;
    EXPECT_LE(watch.largestBytes(), kBytesOfObjects) << length;
  }
}

TEST(ChangedMessage, NeverHoldsOrAllocatesMoreThanItsBytes) {
  const Bytes whole = streamOf(countingBytes(300).ptr());
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (unsigned change = 1; change < 256; ++change) {
      Bytes changed = whole;
      changed[at] = static_cast<unsigned char>(changed[at] ^ change);
      ZrMsg message(changed);

      const AllocationWatch watch;
      const auto container = readContainer(message);
      const std::size_t largest = watch.largestBytes();

      ASSERT_LE(largest, whole.size()) << "byte " << at << " ^ " << change;
      ASSERT_EQ(container.isNotNull(), message.isGood() && changed[0] != '0');
      if (container.isNotNull() && container->hasData()) {
        ASSERT_LE(container->size(), whole.size() - kHeaderBytes);
        (void)container->hash();  // reads every sample
      }
    }
  }
}

TEST(ForgedMessage, WithAKindThatIsNoneIsBad) {
  for (int kind = 0; kind < 256; ++kind) {
    if (kind == '0' || kind == 'D') {
      continue;
    }
    Bytes bytes = streamOf(countingBytes(2).ptr());
    bytes[0] = static_cast<unsigned char>(kind);
    ZrMsg message(bytes);

    EXPECT_TRUE(readContainer(message).isNull()) << kind;
    EXPECT_FALSE(message.isGood()) << kind;
  }
}

TEST(ForgedMessage, WithSamplesOfAnUnknownTypeIsBad) {
  Bytes bytes = streamOf(countingBytes(2).ptr());
  bytes[kTypeAt] = 77;
  ZrMsg message(bytes);

  EXPECT_TRUE(readContainer(message).isNull());
  EXPECT_FALSE(message.isGood());
}

TEST(ForgedMessage, WithAFlagThatIsNoneIsBad) {
  Bytes bytes = streamOf(countingBytes(2).ptr());
  bytes[kFlagAt] = 2;
  ZrMsg message(bytes);

  EXPECT_TRUE(readContainer(message).isNull());
  EXPECT_FALSE(message.isGood());
}

struct Lie {
  const char* name;
  KtVec3l dims;
};
class ForgedDimensions : public testing::TestWithParam<Lie> {};

TEST_P(ForgedDimensions, AreRefusedWithoutAllocatingForThem) {
  ZrMsg message(forgedStream(GetParam().dims, Bytes(64, 1)));

  const AllocationWatch watch;
  const auto container = readContainer(message);

  EXPECT_LE(watch.largestBytes(), kBytesOfObjects);
  EXPECT_TRUE(container.isNull());
  EXPECT_FALSE(message.isGood());
}
INSTANTIATE_TEST_SUITE_P(Lies, ForgedDimensions,
                         testing::Values(Lie{"OneByteTooMany", {65, 1, 1}},
                                         Lie{"SixteenMegabytes", {1 << 24, 1, 1}},
                                         Lie{"Overflow", {1LL << 40, 1LL << 40, 1}},
                                         Lie{"OverflowToZero", {1LL << 32, 1LL << 32, 1}},
                                         Lie{"OverflowToSixtyFour", {(1LL << 58) + 1, 64, 1}},
                                         Lie{"NoColumns", {0, 1, 1}},
                                         Lie{"NegativeTwice", {-8, -8, 1}}),
                         support::nameOf<Lie>);

TEST(ForgedDimensions, ThatFitExactlyAreAccepted) {
  ZrMsg message(forgedStream(KtVec3l(4, 4, 4), Bytes(64, 1)));

  const auto container = readContainer(message);

  ASSERT_TRUE(container.isNotNull());
  EXPECT_EQ(container->size(), 64U);
}

TEST(AllocationWatch, SeesTheSamplesOfAContainer) {
  const AllocationWatch watch;

  const auto container = countingBytes(100'000);

  EXPECT_GE(watch.largestBytes(), 100'000U);
}

}  // namespace
