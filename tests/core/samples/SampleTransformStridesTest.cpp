// SPDX-License-Identifier: BSD-3-Clause
// The transform of containers with gaps, of views, and of several values per pixel.
#include "LutTables.h"
#include "SampleTransformFixtures.h"

#include <zrdcmexport/ExDicomUtilitiesGlobal.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <vector>

namespace {

using ExDicomUtilities::extractSample_applyLUT_makeUnsigned;
using luttest::table16;
using luttest::table8;
using sampletest::Handle;
using sampletest::inPlace;
using sampletest::outOfPlace;
using sampletest::samples;
using sampletest::Transformed;
using sampletest::valuesOf;
using testing::ElementsAre;

// ---- strides -----------------------------------------------------------------------------------

Handle wrap(void* data, const KtVec3l& dims, const KtVec3l& strides, KtPrimType type,
            unsigned nDataVar = 1) {
  return Handle(new ZrDataAccess(dims, strides, data, type, nDataVar, KtAllocator(0)));
}

TEST(SampleTransformStrides, LeavesTheGapsBetweenRowsAlone) {
  std::array<unsigned short, 8> memory = {0xF001, 0xF002, 0xF003, 0xDEAD,
                                          0xF004, 0xF005, 0xF006, 0xBEEF};
  const Handle source = wrap(memory.data(), KtVec3l(3, 2, 1), KtVec3l(2, 8, 16), KtPrimType::U16);

  inPlace(source, 12, 11);

  EXPECT_THAT(memory, ElementsAre(1, 2, 3, 0xDEAD, 4, 5, 6, 0xBEEF));
}

TEST(SampleTransformStrides, LeavesTheGapsBetweenFramesAlone) {
  std::array<unsigned short, 6> memory = {0xF001, 0xF002, 0xDEAD, 0xF003, 0xF004, 0xBEEF};
  const Handle source = wrap(memory.data(), KtVec3l(2, 1, 2), KtVec3l(2, 4, 6), KtPrimType::U16);

  inPlace(source, 12, 11);

  EXPECT_THAT(memory, ElementsAre(1, 2, 0xDEAD, 3, 4, 0xBEEF));
}

TEST(SampleTransformStrides, LeavesTheGapsBetweenPixelsAlone) {
  std::array<short, 6> memory = {-1, 77, 0, 77, 1, 77};
  const Handle source = wrap(memory.data(), KtVec3l(3, 1, 1), KtVec3l(4, 12, 12), KtPrimType::S16);

  const Transformed result = inPlace(source, 16, 15);

  EXPECT_EQ(result.offset, 32768);
  EXPECT_THAT(memory, ElementsAre(32767, 77, -32768, 77, -32767, 77));
}

TEST(SampleTransformStrides, ReadsMirroredRowsIntoAPlainTarget) {
  std::array<unsigned char, 4> memory = {0xF1, 0xF2, 0xF3, 0xF4};
  const Handle source =
      wrap(memory.data() + 3, KtVec3l(4, 1, 1), KtVec3l(-1, -4, -4), KtPrimType::U8);

  const Transformed result = outOfPlace(source, 4, 3);

  EXPECT_THAT(valuesOf<unsigned char>(result.container), ElementsAre(4, 3, 2, 1));
  EXPECT_THAT(memory, ElementsAre(0xF1, 0xF2, 0xF3, 0xF4));
}

TEST(SampleTransformStrides, ReadsTransposedImages) {
  std::array<unsigned char, 6> memory = {1, 2, 3, 4, 5, 6};  // 3 columns, 2 rows
  const Handle source = wrap(memory.data(), KtVec3l(2, 3, 1), KtVec3l(3, 1, 6), KtPrimType::U8);

  const Transformed result = outOfPlace(source, 8, 7);

  EXPECT_THAT(valuesOf<unsigned char>(result.container), ElementsAre(1, 4, 2, 5, 3, 6));
}

TEST(SampleTransformStrides, WritesTargetsWithGaps) {
  std::array<unsigned short, 8> memory{};
  memory.fill(0xDEAD);
  Handle target = wrap(memory.data(), KtVec3l(2, 2, 1), KtVec3l(4, 8, 16), KtPrimType::U16);
  const Handle source = samples<unsigned char>({0, 1, 2, 3});
  const Handle square =
      wrap(source->dataPtr(0), KtVec3l(2, 2, 1), KtVec3l(1, 2, 4), KtPrimType::U8);
  int offset = 0;

  ASSERT_TRUE(extractSample_applyLUT_makeUnsigned(square, target, offset, table16({10, 20, 30, 40}),
                                                  false, 8, 7)
                  .isOk());

  EXPECT_THAT(memory, ElementsAre(10, 0xDEAD, 20, 0xDEAD, 30, 0xDEAD, 40, 0xDEAD));
}

TEST(SampleTransformStrides, ReadsWordsAtOddAddresses) {
  std::vector<unsigned char> memory(1 + 2 * 3);
  const std::array<unsigned short, 3> values = {0xF123, 0xF456, 0xF789};
  std::memcpy(memory.data() + 1, values.data(), 6);
  const Handle source =
      wrap(memory.data() + 1, KtVec3l(3, 1, 1), KtVec3l(2, 6, 6), KtPrimType::U16);

  inPlace(source, 12, 11);

  std::array<unsigned short, 3> converted{};
  std::memcpy(converted.data(), memory.data() + 1, 6);
  EXPECT_THAT(converted, ElementsAre(0x123, 0x456, 0x789));
}

TEST(SampleTransformStrides, ConvertsLongRowsWithGaps) {
  constexpr std::size_t kColumns = 2000;
  std::vector<unsigned short> memory(2 * kColumns);
  for (std::size_t i = 0; i < memory.size(); ++i) {
    memory[i] = static_cast<unsigned short>(i % 2 == 0 ? 0xF000 + i / 2 : 0xDEAD);
  }
  const Handle source =
      wrap(memory.data(), KtVec3l(kColumns, 1, 1), KtVec3l(4, 4 * kColumns, 0), KtPrimType::U16);

  inPlace(source, 12, 11);

  for (std::size_t i = 0; i < memory.size(); ++i) {
    ASSERT_EQ(memory[i], i % 2 == 0 ? i / 2 : 0xDEAD) << i;
  }
}

TEST(SampleTransformStrides, ConvertsLargeImagesOfNarrowRows) {
  // Large enough for a table of all sample values, with rows that end inside a group of four
  // pixels.
  std::vector<unsigned char> entries;
  for (int value = 0; value < 256; ++value) {
    entries.insert(entries.end(),
                   {static_cast<unsigned char>(value), 7, static_cast<unsigned char>(255 - value)});
  }
  for (const std::size_t columns : {1, 3, 5}) {
    constexpr std::size_t kRows = 1200;
    const auto gap = static_cast<long long>(columns + 1);
    std::vector<unsigned char> memory(kRows * (columns + 1));
    for (std::size_t i = 0; i < memory.size(); ++i) {
      memory[i] = static_cast<unsigned char>(i % 251);
    }
    const Handle source =
        wrap(memory.data(), KtVec3l(gap - 1, kRows, 1), KtVec3l(1, gap, 0), KtPrimType::U8);

    const auto found =
        valuesOf<unsigned char>(outOfPlace(source, 8, 7, table8(entries, 3)).container);

    std::vector<unsigned char> expected;
    for (std::size_t i = 0; i < memory.size(); ++i) {
      if (i % (columns + 1) < columns) {
        expected.insert(expected.end(),
                        {memory[i], 7, static_cast<unsigned char>(255 - memory[i])});
      }
    }
    EXPECT_EQ(found, expected) << columns;
  }
}

// ---- several values per pixel ------------------------------------------------------------------

TEST(SampleTransformColour, ConvertsAllValuesWithoutATable) {
  std::array<unsigned char, 6> memory = {0xF1, 0xF2, 0xF3, 0xF4, 0xF5, 0xF6};
  const Handle source = wrap(memory.data(), KtVec3l(2, 1, 1), KtVec3l(3, 6, 6), KtPrimType::U8, 3);

  const Transformed result = inPlace(source, 4, 3);

  EXPECT_THAT(memory, ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_EQ(result.container->nDataVar(), 3U);
}

TEST(SampleTransformColour, LooksTheFirstValueUp) {
  std::array<unsigned char, 6> memory = {1, 99, 99, 0, 99, 99};
  const Handle source = wrap(memory.data(), KtVec3l(2, 1, 1), KtVec3l(3, 6, 6), KtPrimType::U8, 3);

  EXPECT_THAT(valuesOf<unsigned char>(outOfPlace(source, 8, 7, table8({10, 20})).container),
              ElementsAre(20, 10));

  inPlace(source, 8, 7, table8({1, 2, 3, 4, 5, 6}, 3));
  EXPECT_THAT(memory, ElementsAre(4, 5, 6, 1, 2, 3));
}

}  // namespace
