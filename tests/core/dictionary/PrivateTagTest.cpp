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

TEST(PrivateTag, HasADifferentKeyForEachElement) {
  std::set<DcmTagKey> keys;
  for (const dict::OwnElement& row : dict::ownElements()) {
    keys.insert(*row.constant);
  }

  EXPECT_EQ(keys.size(), dict::ownElements().size());
}

class PrivateTagConstant : public testing::TestWithParam<dict::OwnElement> {};

TEST_P(PrivateTagConstant, CarriesTheFullElementNumber) {
  EXPECT_EQ(GetParam().constant->getGroup(), 0x0071);
  EXPECT_EQ(GetParam().constant->getElement(), GetParam().element);
}

INSTANTIATE_TEST_SUITE_P(Keys, PrivateTagConstant, testing::ValuesIn(dict::ownElements()),
                         support::nameOf<dict::OwnElement>);

}  // namespace
