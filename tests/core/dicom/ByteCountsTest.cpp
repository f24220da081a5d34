// SPDX-License-Identifier: BSD-3-Clause
#include <zrdcmexport/ZrByteCounts.h>

#include <gtest/gtest.h>

namespace {

constexpr std::uint64_t kTwoToThe32 = 4294967296;
constexpr std::uint64_t kLargest = 18446744073709551615U;

TEST(ByteCounts, AreExactAsLongAsTheyFit) {
  EXPECT_EQ(Zrg::saturatedProduct(kTwoToThe32, kTwoToThe32 - 1), 18446744069414584320U);
  EXPECT_EQ(Zrg::saturatedProduct(kLargest, 1), kLargest);
  EXPECT_EQ(Zrg::saturatedProduct(kLargest, 0), 0U);
  EXPECT_EQ(Zrg::saturatedSum(kLargest - 2, 1), kLargest - 1);
}

TEST(ByteCounts, StayTheLargestNumberBeyond64Bits) {
  EXPECT_EQ(Zrg::saturatedProduct(kTwoToThe32, kTwoToThe32), kLargest);
  EXPECT_EQ(Zrg::saturatedProduct(3, kLargest / 2), kLargest);
  EXPECT_EQ(Zrg::saturatedSum(kLargest, 1), kLargest);
  EXPECT_EQ(Zrg::saturatedSum(kTwoToThe32, kLargest), kLargest);
}

}  // namespace
