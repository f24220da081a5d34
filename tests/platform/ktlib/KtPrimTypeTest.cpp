// SPDX-License-Identifier: BSD-3-Clause
#include "support/RowName.h"

#include <ktlib/KtPrimType.h>

#include <gtest/gtest.h>

struct PrimType {
  const char* name;
  KtPrimType::Code code;
  int number;
  bool isInteger;
  unsigned int bytes;
};
class KtPrimTypeCode : public testing::TestWithParam<PrimType> {};

TEST_P(KtPrimTypeCode, HasItsNumberKindAndSize) {
  const KtPrimType type = GetParam().code;

  EXPECT_EQ(static_cast<int>(type.code()), GetParam().number);
  EXPECT_EQ(type.isInteger(), GetParam().isInteger);
  EXPECT_EQ(type.primTypeSize(), GetParam().bytes);
  EXPECT_EQ(KtPrimType::primTypeSize(GetParam().code), GetParam().bytes);
}
INSTANTIATE_TEST_SUITE_P(Codes, KtPrimTypeCode,
                         testing::Values(PrimType{"U8", KtPrimType::U8, 0, true, 1},
                                         PrimType{"S16", KtPrimType::S16, 1, true, 2},
                                         PrimType{"S32", KtPrimType::S32, 2, true, 4},
                                         PrimType{"F32", KtPrimType::F32, 3, false, 4},
                                         PrimType{"F64", KtPrimType::F64, 4, false, 8},
                                         PrimType{"U16", KtPrimType::U16, 7, true, 2},
                                         PrimType{"U32", KtPrimType::U32, 8, true, 4},
                                         PrimType{"S8", KtPrimType::S8, 9, true, 1}),
                         support::nameOf<PrimType>);

TEST(KtPrimType, KeepsANumberThatIsNoCode) {
  for (const int number : {-1, 5, 6, 10, 1000}) {
    const KtPrimType type = static_cast<KtPrimType::Code>(number);

    EXPECT_EQ(static_cast<int>(type.code()), number);
    EXPECT_FALSE(type.isInteger());
    EXPECT_EQ(type.primTypeSize(), 0U);
  }
}

TEST(KtPrimType, ComparesCodes) {
  const KtPrimType type = KtPrimType::U16;

  EXPECT_TRUE(type == KtPrimType(KtPrimType::U16));
  EXPECT_TRUE(type == KtPrimType::U16);
  EXPECT_TRUE(type != KtPrimType::S16);
  EXPECT_FALSE(type == KtPrimType::S16);
}
