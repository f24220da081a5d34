// SPDX-License-Identifier: BSD-3-Clause
// Pixels of one bit out of their bytes, the lowest bit first (PS3.5 8.1.1).
#include "zrimaging/pixels/PackedBits.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

using testing::ElementsAre;

std::vector<std::uint8_t> unpack(const std::vector<std::uint8_t>& packed, unsigned firstBit,
                                 std::size_t count) {
  std::vector<std::uint8_t> pixels(count, 7);
  zr::unpackBits(packed.data(), firstBit, count, pixels.data());
  return pixels;
}

TEST(PackedBits, BeginAtTheLowestBit) {
  EXPECT_THAT(unpack({0b00000101}, 0, 4), ElementsAre(1, 0, 1, 0));
}

TEST(PackedBits, MayBeginWithinAByte) {
  EXPECT_THAT(unpack({0b10100000, 0b00000001}, 5, 4), ElementsAre(1, 0, 1, 1));
}

TEST(PackedBits, MayAllBeInOneByte) {
  EXPECT_THAT(unpack({0b00010000}, 3, 2), ElementsAre(0, 1));
}

TEST(PackedBits, FillWholeBytes) {
  EXPECT_THAT(unpack({0b10000000, 0b01111111}, 0, 16),
              ElementsAre(0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 0));
}

TEST(PackedBits, MayBeNone) {
  EXPECT_THAT(unpack({0xFF}, 3, 0), testing::IsEmpty());
}

}  // namespace
