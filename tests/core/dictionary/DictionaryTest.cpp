// SPDX-License-Identifier: BSD-3-Clause
#include "DictionaryAccess.h"
#include "DictionaryRows.h"

#include <zrdcmexport/ExDCM.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdicent.h"
#include "dcmtk/dcmdata/dcdict.h"
#include "dcmtk/dcmdata/dctag.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <memory>
#include <new>
#include <optional>
#include <set>
#include <string>

namespace {

using dict::DictionaryRow;
using dict::emptyDictionary;
using dict::find;
using dict::Found;
using dict::freshDictionary;

const DcmTagKey kCropBox(0x0071, 0x1074);

// Looks before any test registers anything: what it finds was there when main() began.
class AtStart : public testing::Environment {
public:
  void SetUp() override {
    ownElementKnown = find(dcmDataDict, kCropBox, "Zorlan").has_value();
    internalElementKnown = find(dcmDataDict, DcmTagKey(0x0006, 0x7100), nullptr).has_value();
    gradientName = find(dcmDataDict, DcmTagKey(0x0019, 0x10bb), "GEMS_ACQU_01").value().name;
  }

  static inline bool ownElementKnown = true;
  static inline bool internalElementKnown = true;
  static inline std::string gradientName;
};

const testing::Environment* const kAtStart = testing::AddGlobalTestEnvironment(new AtStart);

TEST(Dictionary, IsNotTouchedWhenTheLibraryIsLoaded) {
  EXPECT_FALSE(AtStart::ownElementKnown);
  EXPECT_FALSE(AtStart::internalElementKnown);
  EXPECT_EQ(AtStart::gradientName, "UserData20");  // DCMTK's own entry
}

// ---- every row ----

class DictionaryRowTest : public testing::TestWithParam<DictionaryRow> {
protected:
  static std::optional<Found> lookUp(GlobalDcmDataDictionary& dictionary) {
    return find(dictionary, GetParam().key(), GetParam().creator);
  }

  static void expectAsInTheTable(const std::optional<Found>& found) {
    ASSERT_TRUE(found.has_value());
    EXPECT_EQ(DcmVR(found->vr).getVRName(), std::string(DcmVR(GetParam().vr).getVRName()));
    EXPECT_EQ(found->vmMin, GetParam().vm);
    EXPECT_EQ(found->vmMax, GetParam().vm);
    EXPECT_EQ(found->name, GetParam().name);
    EXPECT_EQ(found->creator.has_value(), GetParam().creator != nullptr);
    EXPECT_EQ(found->creator.value_or(""), GetParam().creator != nullptr ? GetParam().creator : "");
  }
};

TEST_P(DictionaryRowTest, ResolvesInTheGlobalDictionary) {
  ExDCM::registerPrivateDicomTags();

  expectAsInTheTable(lookUp(dcmDataDict));
}

TEST_P(DictionaryRowTest, ResolvesInADictionaryWithoutOtherEntries) {
  static GlobalDcmDataDictionary& dictionary = emptyDictionary();
  ExDCM::addPrivateTagsToDict(&dictionary);

  expectAsInTheTable(lookUp(dictionary));
}

TEST_P(DictionaryRowTest, GivesATagItsVRAndName) {
  ExDCM::registerPrivateDicomTags();

  DcmTag tag(GetParam().key(), GetParam().creator);

  EXPECT_EQ(tag.getEVR(), GetParam().vr);
  EXPECT_STREQ(tag.getTagName(), GetParam().name);
}

std::string rowName(const testing::TestParamInfo<DictionaryRow>& info) {
  std::string name = std::string(info.param.name) + "_Of_" +
                     (info.param.creator != nullptr ? info.param.creator : "Nobody");
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(VendorEntries, DictionaryRowTest, testing::ValuesIn(dict::vendorRows()),
                         rowName);
INSTANTIATE_TEST_SUITE_P(OwnEntries, DictionaryRowTest, testing::ValuesIn(dict::ownRows()),
                         rowName);
INSTANTIATE_TEST_SUITE_P(InternalEntries, DictionaryRowTest,
                         testing::ValuesIn(dict::internalRows()), rowName);

// ---- blocks ----

class VendorEntries : public testing::TestWithParam<DictionaryRow> {};

TEST_P(VendorEntries, ResolveInEveryBlock) {
  ExDCM::registerPrivateDicomTags();

  for (const unsigned block : {0x10U, 0x11U, 0x7fU, 0xffU}) {
    const auto element = static_cast<Uint16>((block << 8U) | (GetParam().element & 0xffU));
    const auto found = find(dcmDataDict, DcmTagKey(GetParam().group, element), GetParam().creator);
    ASSERT_TRUE(found.has_value()) << "block " << block;
    EXPECT_EQ(found->name, GetParam().name) << "block " << block;
    EXPECT_EQ(found->vr, GetParam().vr) << "block " << block;
  }
}

INSTANTIATE_TEST_SUITE_P(Rows, VendorEntries, testing::ValuesIn(dict::vendorRows()), rowName);

class OwnEntries : public testing::TestWithParam<DictionaryRow> {};

TEST_P(OwnEntries, ResolveInTheirBlockOnly) {
  GlobalDcmDataDictionary& dictionary = emptyDictionary();
  ExDCM::addPrivateTagsToDict(&dictionary);

  const DcmTagKey nextBlock(GetParam().group, static_cast<Uint16>(GetParam().element + 0x0100));
  const DcmTagKey noBlock(GetParam().group, static_cast<Uint16>(GetParam().element & 0xffU));

  EXPECT_FALSE(find(dictionary, nextBlock, "Zorlan").has_value());
  EXPECT_FALSE(find(dictionary, noBlock, "Zorlan").has_value());
}

INSTANTIATE_TEST_SUITE_P(Rows, OwnEntries, testing::ValuesIn(dict::ownRows()), rowName);

TEST(DictionaryBlocks, KeepTwoCreatorsOfOneGroupApart) {
  ExDCM::registerPrivateDicomTags();

  const auto own = find(dcmDataDict, DcmTagKey(0x0071, 0x1021), "Zorlan");
  const auto vendor = find(dcmDataDict, DcmTagKey(0x0071, 0x1021), "GEIIS_RA1000");

  EXPECT_EQ(own.value().name, "QAHistory");
  EXPECT_EQ(vendor.value().name, "PrivateFontStyle");
}

TEST(DictionaryBlocks, HoldBothNipplePositionsSideBySide) {
  GlobalDcmDataDictionary& dictionary = emptyDictionary();
  ExDCM::addPrivateTagsToDict(&dictionary);
  const DcmTagKey key(0x0021, 0x1020);

  EXPECT_EQ(find(dictionary, key, "General Electric Company").value().creator,
            "General Electric Company");
  EXPECT_EQ(find(dictionary, key, "General Electric Company 01").value().creator,
            "General Electric Company 01");
  EXPECT_FALSE(find(dictionary, key, "General Electric Company 02").has_value());
}

TEST(DictionaryBlocks, HideOwnElementsFromOtherCreators) {
  ExDCM::registerPrivateDicomTags();

  EXPECT_FALSE(find(dcmDataDict, kCropBox, nullptr).has_value());
  EXPECT_FALSE(find(dcmDataDict, kCropBox, "ZORLAN").has_value());
  EXPECT_FALSE(find(dcmDataDict, kCropBox, "HalvornZorlan").has_value());
}

TEST(DictionaryBlocks, LeaveGapsAmongTheInternalElements) {
  GlobalDcmDataDictionary& dictionary = emptyDictionary();
  ExDCM::addPrivateTagsToDict(&dictionary);
  const std::set<int> registered = {0x7100, 0x7101, 0x7102, 0x7103, 0x7105,
                                    0x7106, 0x7108, 0x710b, 0x7120};

  for (int element = 0x7000; element <= 0x7200; ++element) {
    const DcmTagKey key(0x0006, static_cast<Uint16>(element));
    EXPECT_EQ(find(dictionary, key, nullptr).has_value(), registered.count(element) == 1)
        << key.toString();
  }
}

TEST(DictionaryEntries, NameAStandardVersionForOwnElementsOnly) {
  GlobalDcmDataDictionary& dictionary = emptyDictionary();
  ExDCM::addPrivateTagsToDict(&dictionary);

  for (const DictionaryRow& row : dict::ownRows()) {
    EXPECT_EQ(find(dictionary, row.key(), row.creator).value().standardVersion, "private")
        << row.name;
  }
  for (const DictionaryRow& row : dict::vendorRows()) {
    EXPECT_EQ(find(dictionary, row.key(), row.creator).value().standardVersion, std::nullopt)
        << row.name;
  }
  for (const DictionaryRow& row : dict::internalRows()) {
    EXPECT_EQ(find(dictionary, row.key(), row.creator).value().standardVersion, std::nullopt)
        << row.name;
  }
}

// ---- registration ----

TEST(Registration, AddsEveryRowAndNoOther) {
  GlobalDcmDataDictionary& dictionary = emptyDictionary();

  ExDCM::addPrivateTagsToDict(&dictionary);

  EXPECT_EQ(dict::countEntries(dictionary), dict::countOfRows());
}

TEST(Registration, ReplacesEntriesOfTheSameKeyAndCreator) {
  GlobalDcmDataDictionary& dictionary = freshDictionary();
  const int before = dict::countEntries(dictionary);
  const DcmTagKey gradient(0x0019, 0x10bb);
  ASSERT_EQ(find(dictionary, gradient, "GEMS_ACQU_01").value().name, "UserData20");

  ExDCM::addPrivateTagsToDict(&dictionary);

  EXPECT_EQ(find(dictionary, gradient, "GEMS_ACQU_01").value().name, "GradientDirectionX");
  const int describedByDcmtk = 4;  // three UserData and MidScanTime
  EXPECT_EQ(dict::countEntries(dictionary), before + dict::countOfRows() - describedByDcmtk);
}

TEST(Registration, AddsNothingToADictionaryThatWasExtended) {
  GlobalDcmDataDictionary& dictionary = emptyDictionary();
  ExDCM::addPrivateTagsToDict(&dictionary);
  dictionary.clear();  // an entry that came back would show

  ExDCM::addPrivateTagsToDict(&dictionary);

  EXPECT_EQ(dict::countEntries(dictionary), 0);
}

TEST(Registration, ExtendsEachDictionaryThatItIsGiven) {
  GlobalDcmDataDictionary& one = emptyDictionary();
  GlobalDcmDataDictionary& other = emptyDictionary();

  ExDCM::addPrivateTagsToDict(&one);
  ExDCM::addPrivateTagsToDict(&other);

  EXPECT_EQ(dict::countEntries(one), dict::countOfRows());
  EXPECT_EQ(dict::countEntries(other), dict::countOfRows());
}

// Replaces an entry by one that another registration would replace in turn.
void markEntry(GlobalDcmDataDictionary& dictionary) {
  DcmDataDictionary& locked = dictionary.wrlock();
  locked.addEntry(
      new DcmDictEntry(0x0071, 0x1074, DcmVR(EVR_LO), "Marked", 1, 1, nullptr, OFTrue, "Zorlan"));
  dictionary.wrunlock();
}

TEST(Registration, TakesNullForTheGlobalDictionaryAndExtendsItOnce) {
  ExDCM::addPrivateTagsToDict(nullptr);
  ASSERT_EQ(find(dcmDataDict, kCropBox, "Zorlan").value().name, "CropBox");
  markEntry(dcmDataDict);

  ExDCM::addPrivateTagsToDict(&dcmDataDict);
  ExDCM::addPrivateTagsToDict(nullptr);
  ExDCM::registerPrivateDicomTags();
  ExDCM::registerPrivateDicomTags();
  const auto found = find(dcmDataDict, kCropBox, "Zorlan");
  DcmDataDictionary& locked = dcmDataDict.wrlock();
  locked.addEntry(new DcmDictEntry(0x0071, 0x1074, DcmVR(EVR_LO), "CropBox", 1, 1, "private",
                                   OFTrue, "Zorlan"));
  dcmDataDict.wrunlock();

  EXPECT_EQ(found.value().name, "Marked");
}

TEST(Registration, TakesADictionaryAtTheAddressOfAnEarlierOneForExtended) {
  alignas(GlobalDcmDataDictionary) static unsigned char memory[sizeof(GlobalDcmDataDictionary)];
  auto* earlier = new (memory) GlobalDcmDataDictionary;
  ExDCM::addPrivateTagsToDict(earlier);
  earlier->~GlobalDcmDataDictionary();

  auto* later = new (memory) GlobalDcmDataDictionary;
  ExDCM::addPrivateTagsToDict(later);
  const bool extended = find(*later, kCropBox, "Zorlan").has_value();
  later->~GlobalDcmDataDictionary();

  EXPECT_FALSE(extended);
}

TEST(Registration, ReleasesTheWriteLock) {
  GlobalDcmDataDictionary& dictionary = emptyDictionary();
  ExDCM::addPrivateTagsToDict(&dictionary);

  markEntry(dictionary);

  EXPECT_EQ(find(dictionary, kCropBox, "Zorlan").value().name, "Marked");
}

// ---- tags ----

TEST(ZorlanTag, KnowsVRAndCreator) {
  ExDCM::registerPrivateDicomTags();

  const DcmTag tag = ExDCM::zorlanTag(ExDCM::PrivateTag::CropBox);

  EXPECT_EQ(tag.getXTag(), kCropBox);
  EXPECT_EQ(tag.getEVR(), EVR_LO);
  EXPECT_STREQ(tag.getPrivateCreator(), "Zorlan");
}

TEST(ZorlanTag, HasAnUnknownVRForAKeyThatIsNotOurs) {
  ExDCM::registerPrivateDicomTags();

  const DcmTag tag = ExDCM::zorlanTag(DcmTagKey(0x0071, 0x10ff));

  EXPECT_EQ(tag.getEVR(), EVR_UNKNOWN);
  EXPECT_STREQ(tag.getPrivateCreator(), "Zorlan");
}

}  // namespace
