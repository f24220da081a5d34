// SPDX-License-Identifier: BSD-3-Clause
#include "DictionaryRows.h"
#include "support/RowName.h"

#include <zrdcmexport/ExDCM.h>

#include <gtest/gtest.h>

#include <set>

namespace {

TEST(PrivateTag, NamesTheCreatorAndItsGroup) {
  EXPECT_STREQ(ExDCM::PrivateTag::CreatorZorlan, "Zorlan");
  EXPECT_EQ(ExDCM::PrivateTag::CreatorGroupZorlan, 0x0071);
}

TEST(PrivateTag, HasFortyOneDifferentKeys) {
  std::set<DcmTagKey> keys;
  for (const dict::ConstantRow& row : dict::constantRows()) {
    keys.insert(*row.constant);
  }

  EXPECT_EQ(keys.size(), 41U);
}

class PrivateTagConstant : public testing::TestWithParam<dict::ConstantRow> {};

TEST_P(PrivateTagConstant, CarriesTheFullElementNumber) {
  EXPECT_EQ(GetParam().constant->getGroup(), GetParam().group);
  EXPECT_EQ(GetParam().constant->getElement(), GetParam().element);
}

INSTANTIATE_TEST_SUITE_P(Keys, PrivateTagConstant, testing::ValuesIn(dict::constantRows()),
                         support::nameOf<dict::ConstantRow>);

}  // namespace
