// SPDX-License-Identifier: BSD-3-Clause
// The transform from memory into memory: values worked out by hand, agreement with the transform of
// containers, and what that one leaves alone.
#include "LutTables.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"

#include <zrdcmexport/ExDicomUtilitiesGlobal.h>
#include <zrdcmexport/ZrSamples.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace {

using ExDicomUtilities::LUT;
using luttest::table16;
using luttest::table8;
using testing::ElementsAre;
using Zrg::SampleTransform;
using Zrg::StoredSamples;

constexpr StoredSamples kUnsigned12{2, 12, 11, false};
constexpr StoredSamples kSigned12{2, 12, 11, true};
constexpr StoredSamples kSigned12AtTheTop{2, 12, 15, true};

template <class Value, class Sample>
std::vector<Value> apply(const SampleTransform& transform, const std::vector<Sample>& samples) {
  EXPECT_EQ(transform.bytesPerValue(), sizeof(Value));
  std::vector<Value> values(samples.size() * transform.valuesPerSample());
  transform.apply(samples.data(), samples.size(), values.data());
  return values;
}

template <class Value, class Sample>
std::vector<Value> isolated(const StoredSamples& stored, const std::vector<Sample>& samples) {
  return apply<Value>(SampleTransform::isolating(stored).value(), samples);
}

template <class Value, class Sample>
std::vector<Value> madeUnsigned(const StoredSamples& stored, const std::vector<Sample>& samples,
                                const LUT& table = LUT()) {
  return apply<Value>(SampleTransform::makingUnsigned(stored, table).value(), samples);
}

using Words = std::vector<std::uint16_t>;
using Bytes = std::vector<std::uint8_t>;
using DoubleWords = std::vector<std::uint32_t>;

// ---- the stored bits with their sign -----------------------------------------------------------

TEST(IsolatedSamples, KeepTheirSign) {
  EXPECT_THAT(isolated<std::int16_t>(kSigned12, Words{0xF001, 0x0FFF, 0xA800}),
              ElementsAre(1, -1, -2048));
}

TEST(IsolatedSamples, ComeFromWhereHighBitSays) {
  EXPECT_THAT(isolated<std::int16_t>(kSigned12AtTheTop, Words{0x001F, 0xFFF0, 0x8000}),
              ElementsAre(1, -1, -2048));
}

TEST(IsolatedSamples, OfBytesKeepTheirSign) {
  EXPECT_THAT(isolated<std::int8_t>({1, 6, 5, true}, Bytes{0xC1, 0x3F, 0x20}),
              ElementsAre(1, -1, -32));
}

TEST(IsolatedSamples, WithoutASignLoseWhatStandsBeside) {
  EXPECT_THAT(isolated<std::uint16_t>(kUnsigned12, Words{0xFABC}), ElementsAre(0xABC));
}

TEST(IsolatedSamples, Of32BitsKeepTheirSign) {
  EXPECT_THAT(isolated<std::int32_t>({4, 20, 19, true}, DoubleWords{0xFFF00001, 0x000FFFFF}),
              ElementsAre(1, -1));
  EXPECT_THAT(isolated<std::int32_t>({4, 32, 31, true}, DoubleWords{0x80000000, 0x7FFFFFFF}),
              ElementsAre(INT32_MIN, INT32_MAX));
}

TEST(IsolatedSamples, Of32BitsWithoutASignComeFromWhereHighBitSays) {
  EXPECT_THAT(isolated<std::uint32_t>({4, 24, 31, false}, DoubleWords{0xABCDEF12}),
              ElementsAre(0xABCDEFU));
}

TEST(IsolatedSamples, AreZeroWhereNoBitIsStored) {
  EXPECT_THAT(isolated<std::int16_t>({2, 0, 0, true}, Words{0xFFFF}), ElementsAre(0));
  EXPECT_THAT(isolated<std::uint32_t>({4, 0, 0, false}, DoubleWords{0xFFFFFFFF}), ElementsAre(0U));
}

TEST(IsolatedSamples, AreNotShifted) {
  const SampleTransform transform = SampleTransform::isolating(kSigned12).value();

  EXPECT_TRUE(transform.valuesAreSigned());
  EXPECT_EQ(transform.offset(), 0);
  EXPECT_EQ(transform.valuesPerSample(), 1U);
}

// ---- unsigned ----------------------------------------------------------------------------------

TEST(UnsignedSamples, AreShiftedByHalfTheirContainer) {
  EXPECT_THAT(madeUnsigned<std::uint16_t>(kSigned12, Words{0x0001, 0x0FFF}),
              ElementsAre(32769, 32767));
  EXPECT_THAT(madeUnsigned<std::uint8_t>({1, 8, 7, true}, Bytes{0x00, 0xFF}),
              ElementsAre(128, 127));
  EXPECT_THAT(madeUnsigned<std::uint32_t>({4, 32, 31, true}, DoubleWords{0, 0xFFFFFFFF}),
              ElementsAre(0x80000000U, 0x7FFFFFFFU));
}

TEST(UnsignedSamples, SayByHowMuchTheyAreShifted) {
  const auto offsetOf = [](const StoredSamples& stored) {
    return SampleTransform::makingUnsigned(stored, LUT()).value().offset();
  };

  EXPECT_EQ(offsetOf({1, 8, 7, true}), 128);
  EXPECT_EQ(offsetOf(kSigned12), 32768);
  EXPECT_EQ(offsetOf({4, 32, 31, true}), 2147483648);
  EXPECT_EQ(offsetOf(kUnsigned12), 0);
}

TEST(UnsignedSamples, OfATableAreItsValues) {
  const LUT table = table16({100, 200, 300}, 1, -1);

  EXPECT_THAT(madeUnsigned<std::uint16_t>(kSigned12, Words{0x0FFE, 0x0FFF, 0, 1, 2}, table),
              ElementsAre(100, 100, 200, 300, 300));
  EXPECT_EQ(SampleTransform::makingUnsigned(kSigned12, table).value().offset(), 0);
}

TEST(UnsignedSamples, OfWordsThroughATableOfBytesAreWidened) {
  EXPECT_THAT(madeUnsigned<std::uint16_t>(kUnsigned12, Words{0xF000, 1, 7}, table8({9, 250}, 1, 0)),
              ElementsAre(9, 250, 250));
}

TEST(UnsignedSamples, OfBytesThroughATableOfWordsAreWide) {
  EXPECT_THAT(
      madeUnsigned<std::uint16_t>({1, 8, 7, false}, Bytes{0, 1, 255}, table16({7, 1000}, 1, 0)),
      ElementsAre(7, 1000, 1000));
}

TEST(UnsignedSamples, Of32BitsGoThroughATable) {
  EXPECT_THAT(madeUnsigned<std::uint16_t>({4, 32, 31, true}, DoubleWords{0x80000000, 0, 0x7FFFFFFF},
                                          table16({5, 6, 7}, 1, -1)),
              ElementsAre(5, 6, 7));
  EXPECT_THAT(madeUnsigned<std::uint8_t>({4, 32, 31, false}, DoubleWords{0xFFFFFFFF, 0},
                                         table8({3, 4}, 1, 0)),
              ElementsAre(4, 3));
}

TEST(UnsignedSamples, OfAPaletteAreThreeASample) {
  const LUT palette = table8({1, 2, 3, 4, 5, 6}, 3);

  EXPECT_THAT(madeUnsigned<std::uint8_t>({1, 8, 7, false}, Bytes{1, 0}, palette),
              ElementsAre(4, 5, 6, 1, 2, 3));
}

TEST(UnsignedSamples, OutliveTheTable) {
  std::optional<SampleTransform> transform;
  {
    const LUT table = table16({100, 200}, 1, 0);
    transform = SampleTransform::makingUnsigned(kUnsigned12, table);
  }

  EXPECT_THAT(apply<std::uint16_t>(*transform, Words{0, 1}), ElementsAre(100, 200));
}

// ---- memory ------------------------------------------------------------------------------------

TEST(TransformedMemory, MayBeThatOfTheSamples) {
  Words samples{0xF001, 0x0FFF};

  SampleTransform::makingUnsigned(kSigned12, LUT())->apply(samples.data(), 2, samples.data());

  EXPECT_THAT(samples, ElementsAre(32769, 32767));
}

TEST(TransformedMemory, NeedsNoAlignment) {
  constexpr std::size_t kCount = 1500;  // more than are staged at a time
  std::vector<char> source(2 * kCount + 1);
  std::vector<char> target(2 * kCount + 3, '\x5A');
  for (std::size_t i = 0; i < kCount; ++i) {
    const auto sample = static_cast<std::uint16_t>(0xF000 | i);
    std::memcpy(source.data() + 1 + 2 * i, &sample, sizeof sample);
  }

  SampleTransform::isolating(kUnsigned12)->apply(source.data() + 1, kCount, target.data() + 1);

  for (std::size_t i = 0; i < kCount; ++i) {
    std::uint16_t value = 0;
    std::memcpy(&value, target.data() + 1 + 2 * i, sizeof value);
    ASSERT_EQ(value, i);
  }
  EXPECT_EQ(target.front(), '\x5A');
  EXPECT_EQ(target[2 * kCount + 1], '\x5A');
}

TEST(TransformedMemory, OfNoSamplesIsNotTouched) {
  std::uint16_t value = 7;

  SampleTransform::isolating(kUnsigned12)->apply(nullptr, 0, &value);

  EXPECT_EQ(value, 7);
}

TEST(SampleTransformOf, ContainersOfAnotherWidthIsNone) {
  EXPECT_FALSE(SampleTransform::isolating({3, 24, 23, false}));
  EXPECT_FALSE(SampleTransform::makingUnsigned({0, 0, 0, false}, LUT()));
}

TEST(SampleTransformOf, ATableOfTwoValuesTakesItForNone) {
  const LUT table = table8({9, 9}, 2);

  EXPECT_THAT(madeUnsigned<std::uint8_t>({1, 8, 7, false}, Bytes{1, 200}, table),
              ElementsAre(1, 200));
}

// ---- agreement ---------------------------------------------------------------------------------

struct Form {
  const char* name;
  StoredSamples stored;
  bool withTable;
};

void PrintTo(const Form& form, std::ostream* stream) {
  *stream << form.name;
}

class TargetTransform : public testing::TestWithParam<Form> {};

KtPrimType typeOf(const StoredSamples& stored) {
  if (stored.bytesPerSample == 1) {
    return stored.isSigned ? KtPrimType::S8 : KtPrimType::U8;
  }
  return stored.isSigned ? KtPrimType::S16 : KtPrimType::U16;
}

// Every value that a container can have.
TEST_P(TargetTransform, GivesWhatTheTransformOfContainersGives) {
  const StoredSamples& stored = GetParam().stored;
  const LUT table = GetParam().withTable ? table16({11, 22, 33, 44}, 1, -2) : LUT();
  const long long count = 1LL << (8 * stored.bytesPerSample);
  const KtHandle<ZrDataAccess> source(
      new ZrDataAccess(KtVec3l(count, 1, 1), typeOf(stored), 1, KtAllocator(1)));
  for (long long i = 0; i < count; ++i) {
    std::memcpy(static_cast<char*>(source->dataPtr(0)) + i * stored.bytesPerSample, &i,
                stored.bytesPerSample);
  }
  KtHandle<ZrDataAccess> expected;
  int offset = 0;
  ASSERT_TRUE(ExDicomUtilities::extractSample_applyLUT_makeUnsigned(
                  source, expected, offset, table, false, stored.bitsStored, stored.highBit)
                  .isOk());

  const SampleTransform transform = SampleTransform::makingUnsigned(stored, table).value();
  std::vector<char> values(static_cast<std::size_t>(expected->size()));
  transform.apply(source->dataPtr(0), static_cast<std::uint64_t>(count), values.data());

  EXPECT_EQ(transform.offset(), offset);
  EXPECT_EQ(transform.bytesPerValue(), expected->primType().primTypeSize());
  EXPECT_EQ(std::memcmp(values.data(), expected->dataPtr(0), values.size()), 0);
}

INSTANTIATE_TEST_SUITE_P(Forms, TargetTransform,
                         testing::Values(Form{"Unsigned12", kUnsigned12, false},
                                         Form{"Signed12", kSigned12, false},
                                         Form{"SignedAtTheTop", kSigned12AtTheTop, false},
                                         Form{"UnsignedAtTheTop", {2, 12, 15, false}, false},
                                         Form{"HighBitBelow", {2, 12, 7, true}, false},
                                         Form{"NoBit", {2, 0, 0, true}, false},
                                         Form{"AllBits", {2, 16, 15, true}, false},
                                         Form{"Bytes", {1, 6, 5, false}, false},
                                         Form{"SignedBytes", {1, 6, 7, true}, false},
                                         Form{"Table", kUnsigned12, true},
                                         Form{"SignedTable", kSigned12, true},
                                         Form{"TableAtTheTop", kSigned12AtTheTop, true},
                                         Form{"TableOfBytes", {1, 6, 5, true}, true}),
                         support::nameOf<Form>);

// ---- the attributes ----------------------------------------------------------------------------

TEST(ReadStoredSamples, GivesWhatTheAttributesSay) {
  const auto item = support::monochromeImage(2, 2).signed16().bitsStored(12).highBit(15).build();

  const StoredSamples stored = Zrg::readStoredSamples(*item, 2);

  EXPECT_EQ(stored.bytesPerSample, 2U);
  EXPECT_EQ(stored.bitsStored, 12U);
  EXPECT_EQ(stored.highBit, 15U);
  EXPECT_TRUE(stored.isSigned);
}

TEST(ReadStoredSamples, TakesNoBitsAndTheHighestForWhatIsMissing) {
  const auto item = support::monochromeImage(2, 2)
                        .without(DCM_BitsStored)
                        .without(DCM_HighBit)
                        .without(DCM_PixelRepresentation)
                        .build();

  const StoredSamples stored = Zrg::readStoredSamples(*item, 2);

  EXPECT_EQ(stored.bitsStored, 0U);
  EXPECT_EQ(stored.highBit, 15U);
  EXPECT_FALSE(stored.isSigned);
}

TEST(ReadStoredSamples, CutsWhatDoesNotFit) {
  const auto item = support::monochromeImage(2, 2)
                        .withUint16(DCM_BitsStored, 99)
                        .withUint16(DCM_HighBit, 98)
                        .build();

  const StoredSamples stored = Zrg::readStoredSamples(*item, 1);

  EXPECT_EQ(stored.bitsStored, 8U);
  EXPECT_EQ(stored.highBit, 7U);
}

}  // namespace
