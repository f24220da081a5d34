// SPDX-License-Identifier: BSD-3-Clause
#include "support/Md5.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

// Digests of the test suite in RFC 1321, section A.5.
TEST(Md5Hex, OfNothing) {
  EXPECT_EQ(support::md5Hex(nullptr, 0), "d41d8cd98f00b204e9800998ecf8427e");
}

TEST(Md5Hex, OfABC) {
  EXPECT_EQ(support::md5Hex("abc", 3), "900150983cd24fb0d6963f7d28e17f72");
}

TEST(Md5Hex, OfVectorElementsAsTheyStandInMemory) {
  EXPECT_EQ(support::md5Hex(std::vector<std::uint8_t>{'a', 'b', 'c'}),
            "900150983cd24fb0d6963f7d28e17f72");
}

}  // namespace
