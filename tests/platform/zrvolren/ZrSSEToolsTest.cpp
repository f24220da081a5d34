// SPDX-License-Identifier: BSD-3-Clause

#include <zrvolren/ZrSSETools.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <vector>

namespace {

constexpr std::size_t kMostElements = 70;
constexpr std::size_t kMostOffset = 17;

template <class T>
class MaskUnaligned : public testing::Test {
protected:
  // Different in every element, with bits in both halves of a word.
  static std::vector<T> pattern() {
    std::vector<T> elements(kMostOffset + kMostElements + kMostOffset);
    for (std::size_t i = 0; i < elements.size(); ++i) {
      elements[i] = static_cast<T>(i * 0x9E37U + 0x1D);
    }
    return elements;
  }
};
using ElementTypes = testing::Types<unsigned char, unsigned short>;
TYPED_TEST_SUITE(MaskUnaligned, ElementTypes);

TYPED_TEST(MaskUnaligned, MasksEveryElementAndNothingElseAtAnyLengthAndAlignment) {
  const auto mask = static_cast<TypeParam>(0x5A3C);
  for (std::size_t offset = 0; offset < kMostOffset; ++offset) {
    for (std::size_t count = 0; count <= kMostElements; ++count) {
      const std::vector<TypeParam> before = this->pattern();
      std::vector<TypeParam> after = before;

      ZrSSETools::maskUnaligned<std::bit_and, TypeParam>(after.data() + offset,
                                                         static_cast<long long>(count), mask);

      for (std::size_t i = 0; i < before.size(); ++i) {
        const bool isMasked = i >= offset && i < offset + count;
        ASSERT_EQ(after[i], isMasked ? before[i] & mask : before[i])
            << "element " << i << " of " << count << " from " << offset;
      }
    }
  }
}

TYPED_TEST(MaskUnaligned, DoesNothingForNegativeCountsAndNoElements) {
  std::vector<TypeParam> elements = {0xFF, 0xFF};

  ZrSSETools::maskUnaligned<std::bit_and, TypeParam>(elements.data(), -5, 0);
  ZrSSETools::maskUnaligned<std::bit_and, TypeParam>(nullptr, 0, 0);

  EXPECT_EQ(elements, (std::vector<TypeParam>{0xFF, 0xFF}));
}

TEST(MaskUnalignedOperations, MayBeAnyOfTwoElements) {
  unsigned char bytes[] = {0x0F, 0xF0, 0x33};

  ZrSSETools::maskUnaligned<std::bit_or, unsigned char>(bytes, 2, 0x81);
  ZrSSETools::maskUnaligned<std::bit_xor, unsigned char>(bytes + 2, 1, 0xFF);

  EXPECT_EQ(bytes[0], 0x8F);
  EXPECT_EQ(bytes[1], 0xF1);
  EXPECT_EQ(bytes[2], 0xCC);
}

}  // namespace
