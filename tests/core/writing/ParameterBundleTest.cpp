// SPDX-License-Identifier: BSD-3-Clause
// Taking over a parameter bundle of the host application into the tree.
#include "support/LogCapture.h"
#include "support/RowName.h"
#include "writing/ZrDcmData.h"

#include <gx/GxParamBase.h>
#include <gx/GxParamBundle.h>
#include <gx/GxParameter.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Says that it is a bundle and is not.
class ImpostorBundle : public GxParamBase {
public:
  using GxParamBase::GxParamBase;
  [[nodiscard]] bool isBundle() const override { return true; }
};

/// A parameter that carries no text at all.
class OtherParameter : public GxParamBase {
public:
  using GxParamBase::GxParamBase;
};

TEST(AddParameters, RefusesANullBundle) {
  const support::LogCapture log;
  ZrDcmData node;

  EXPECT_FALSE(node.addParameters(nullptr, true));

  EXPECT_EQ(node.lastError, KtString("[addParameters] No input bundle."));
  EXPECT_THAT(log.texts(), ElementsAre("ZrDcmData: [addParameters] No input bundle."));
}

TEST(AddParameters, AcceptsABundleWithoutParameters) {
  const support::LogCapture log;
  const GxParamBundle bundle("root");
  ZrDcmData node;

  EXPECT_TRUE(node.addParameters(&bundle, true));

  EXPECT_TRUE(node.tags.empty());
  EXPECT_TRUE(node.lastError.empty());
  EXPECT_THAT(log.texts(), IsEmpty());
}

struct ParameterText {
  const char* name;
  const char* text;
  const char* value;  // null: the parameter is passed over
};

class ParameterValue : public testing::TestWithParam<ParameterText> {};

TEST_P(ParameterValue, StandsBehindTheColon) {
  const support::LogCapture log;
  GxParamBundle bundle("root");
  bundle.addParameter("G0010-0010", GetParam().text);
  ZrDcmData node;

  EXPECT_TRUE(node.addParameters(&bundle, true));

  const char* value = node.dicomTag("G0010-0010", nullptr);
  EXPECT_STREQ(value, GetParam().value);
  EXPECT_THAT(log.texts(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ParameterValue,
    testing::Values(ParameterText{"OneBlank", "LO: x", "x"}, ParameterText{"NoBlank", "LO:x", "x"},
                    ParameterText{"TwoBlanksLeaveOne", "LO:  x", " x"},
                    ParameterText{"BlanksAlone", "LO:  ", " "},
                    ParameterText{"SeveralValues", "XX: 1\\2", "1\\2"},
                    ParameterText{"ColonInTheValue", "TM: 10:11:12", "10:11:12"},
                    ParameterText{"NothingButColonAndValue", ":x", "x"},
                    ParameterText{"BlankAtTheEndStays", "LO: x ", "x "},
                    ParameterText{"TabIsPartOfTheValue", "LO:\tx", "\tx"},
                    ParameterText{"NoColon", "LO x", nullptr},
                    ParameterText{"NothingBehindTheColon", "LO:", nullptr},
                    ParameterText{"OneBlankBehindTheColon", "LO: ", nullptr},
                    ParameterText{"Empty", "", nullptr}, ParameterText{"NoText", nullptr, nullptr}),
    support::nameOf<ParameterText>);

struct ParameterName {
  const char* name;
  const char* key;
  bool taken;
};

class ParameterKey : public testing::TestWithParam<ParameterName> {};

TEST_P(ParameterKey, DecidesWhetherAValueIsTaken) {
  const support::LogCapture log;
  GxParamBundle bundle("root");
  bundle.addParameter(GetParam().key, "LO: x");
  ZrDcmData node;

  EXPECT_TRUE(node.addParameters(&bundle, true));

  EXPECT_EQ(node.tags.size(), GetParam().taken ? 1U : 0U);
  EXPECT_STREQ(node.dicomTag(GetParam().key, "none"), GetParam().taken ? "x" : "none");
  EXPECT_TRUE(node.lastError.empty());
  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_P(ParameterKey, DecidesWhetherASequenceIsTaken) {
  const support::LogCapture log;
  GxParamBundle bundle("root");
  bundle.addBundle(GetParam().key);
  ZrDcmData node;

  EXPECT_TRUE(node.addParameters(&bundle, true));

  EXPECT_EQ(node.sequences.size(), GetParam().taken ? 1U : 0U);
  EXPECT_THAT(log.texts(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Names, ParameterKey,
                         testing::Values(ParameterName{"PublicGroup", "G0010-0010", true},
                                         ParameterName{"FileMetaGroup", "G0002-0010", true},
                                         ParameterName{"FewDigits", "G10-10", true},
                                         ParameterName{"FileMetaGroupInFewDigits", "G2-10", true},
                                         ParameterName{"CapitalDigits", "G7FE0-0010", true},
                                         ParameterName{"OddGroup", "G0009-0010", false},
                                         ParameterName{"GroupAlone", "G0002", false},
                                         ParameterName{"GroupAndMinus", "G0010-", false},
                                         ParameterName{"FiveDigitsOfAGroup", "G00100-0010", false},
                                         ParameterName{"Keyword", "PatientName", false},
                                         ParameterName{"SmallLetter", "g0010-0010", false},
                                         ParameterName{"Empty", "", false}),
                         support::nameOf<ParameterName>);

TEST(AddParameters, PassesOverAParameterThatHasNoText) {
  GxParamBundle bundle("root");
  bundle.add(std::make_unique<OtherParameter>("G0010-0010"));
  bundle.addParameter("G0010-0020", "LO: P1");
  ZrDcmData node;

  EXPECT_TRUE(node.addParameters(&bundle, true));

  EXPECT_EQ(node.tags.size(), 1U);
  EXPECT_STREQ(node.dicomTag("G0010-0020", ""), "P1");
}

TEST(AddParameters, FollowsTheOrderOfTheBundle) {
  GxParamBundle bundle("root");
  bundle.addParameter("G0020-0010", "SH: S1");
  bundle.addParameter("G0010-0020", "LO: P1");
  ZrDcmData node;

  ASSERT_TRUE(node.addParameters(&bundle, true));

  ASSERT_EQ(node.tags.size(), 2U);
  EXPECT_EQ(node.tags[0].key, KtString("G0020-0010"));
  EXPECT_EQ(node.tags[1].key, KtString("G0010-0020"));
}

TEST(AddParameters, LetsTheLastOfTwoEqualNamesWin) {
  GxParamBundle bundle("root");
  bundle.addParameter("G0010-0020", "LO: first");
  bundle.addParameter("G0010-0020", "LO: second");
  ZrDcmData node;

  ASSERT_TRUE(node.addParameters(&bundle, true));

  EXPECT_EQ(node.tags.size(), 1U);
  EXPECT_STREQ(node.dicomTag("G0010-0020", ""), "second");
}

TEST(AddParameters, StopsAtAValueThatMayNotBeReplaced) {
  const support::LogCapture log;
  GxParamBundle bundle("root");
  bundle.addParameter("G0008-0060", "CS: CT");
  bundle.addParameter("G0010-0020", "LO: new");
  bundle.addParameter("G0020-0010", "SH: S1");
  ZrDcmData node;
  ASSERT_TRUE(node.setDicomTag("G0010-0020", "old", false));

  EXPECT_FALSE(node.addParameters(&bundle, false));

  EXPECT_STREQ(node.dicomTag("G0008-0060", ""), "CT");
  EXPECT_STREQ(node.dicomTag("G0010-0020", ""), "old");
  EXPECT_STREQ(node.dicomTag("G0020-0010", "none"), "none");
  EXPECT_EQ(node.lastError, KtString("[addParameters] setDicomTag failed."));
  EXPECT_THAT(log.texts(),
              ElementsAre("ZrDcmData: [setDicomTag] Overwrite of existing DICOM tags disabled.",
                          "ZrDcmData: [addParameters] setDicomTag failed."));
}

TEST(AddParameters, MakesItemsUpToTheFirstMissingNumber) {
  GxParamBundle bundle("root");
  GxParamBundle& sequence = bundle.addBundle("G0008-1140");
  sequence.addBundle("Item_1").addParameter("G0008-1155", "UI: 1.1");
  sequence.addBundle("Item_0").addParameter("G0008-1155", "UI: 1.0");
  sequence.addBundle("Item_3").addParameter("G0008-1155", "UI: 1.3");
  ZrDcmData node;

  EXPECT_TRUE(node.addParameters(&bundle, true));

  ASSERT_EQ(node.sequences.size(), 1U);
  EXPECT_EQ(node.sequences[0].key, KtString("G0008-1140"));
  ASSERT_EQ(node.sequences[0].items.size(), 2U);
  EXPECT_STREQ(node.sequences[0].items[0].dicomTag("G0008-1155", ""), "1.0");
  EXPECT_STREQ(node.sequences[0].items[1].dicomTag("G0008-1155", ""), "1.1");
}

TEST(AddParameters, TakesABundleWithoutItemZeroAsItsOwnItem) {
  GxParamBundle bundle("root");
  GxParamBundle& sequence = bundle.addBundle("G0008-1140");
  sequence.addParameter("G0008-1150", "UI: 1.2");
  sequence.addParameter("G0008-1155", "UI: 1.3");
  sequence.addBundle("Item_1").addParameter("G0008-1155", "UI: 1.4");
  ZrDcmData node;

  EXPECT_TRUE(node.addParameters(&bundle, true));

  ASSERT_EQ(node.sequences.size(), 1U);
  ASSERT_EQ(node.sequences[0].items.size(), 1U);
  const ZrDcmData& item = node.sequences[0].items[0];
  EXPECT_EQ(item.tags.size(), 2U);
  EXPECT_STREQ(item.dicomTag("G0008-1150", ""), "1.2");
  EXPECT_STREQ(item.dicomTag("G0008-1155", ""), "1.3");
  EXPECT_TRUE(item.sequences.empty());
}

TEST(AddParameters, DoesNotTakeAValueNamedItemZeroForAnItem) {
  GxParamBundle bundle("root");
  GxParamBundle& sequence = bundle.addBundle("G0008-1140");
  sequence.addParameter("Item_0", "LO: x");
  sequence.addParameter("G0008-1155", "UI: 1.3");
  ZrDcmData node;

  ASSERT_TRUE(node.addParameters(&bundle, true));

  ASSERT_EQ(node.sequences[0].items.size(), 1U);
  EXPECT_STREQ(node.sequences[0].items[0].dicomTag("G0008-1155", ""), "1.3");
}

TEST(AddParameters, MakesAnEmptyItemOfAnEmptyBundle) {
  GxParamBundle bundle("root");
  bundle.addBundle("G0008-1140");
  ZrDcmData node;

  EXPECT_TRUE(node.addParameters(&bundle, true));

  ASSERT_EQ(node.sequences.size(), 1U);
  ASSERT_EQ(node.sequences[0].items.size(), 1U);
  EXPECT_TRUE(node.sequences[0].items[0].tags.empty());
}

TEST(AddParameters, FillsSequencesWithinItems) {
  GxParamBundle bundle("root");
  GxParamBundle& item = bundle.addBundle("G0008-1115").addBundle("Item_0");
  item.addParameter("G0020-000e", "UI: 1.5");
  GxParamBundle& inner = item.addBundle("G0008-1140");
  inner.addBundle("Item_0").addParameter("G0008-1155", "UI: 1.6");
  inner.addBundle("Item_1").addParameter("G0008-1155", "UI: 1.7");
  ZrDcmData node;

  ASSERT_TRUE(node.addParameters(&bundle, true));

  const ZrDcmData& outerItem = node.sequences[0].items[0];
  EXPECT_STREQ(outerItem.dicomTag("G0020-000e", ""), "1.5");
  ASSERT_EQ(outerItem.sequences.size(), 1U);
  ASSERT_EQ(outerItem.sequences[0].items.size(), 2U);
  EXPECT_STREQ(outerItem.sequences[0].items[1].dicomTag("G0008-1155", ""), "1.7");
}

TEST(AddParameters, ReplacesTheItemsOfASequenceThatExists) {
  GxParamBundle bundle("root");
  bundle.addBundle("G0008-1140").addParameter("G0008-1155", "UI: 1.3");
  ZrDcmData node;
  ASSERT_TRUE(node.addParameters(&bundle, true));

  ASSERT_TRUE(node.addParameters(&bundle, true));

  ASSERT_EQ(node.sequences.size(), 1U);
  EXPECT_EQ(node.sequences[0].items.size(), 1U);
}

TEST(AddParameters, StopsAtASequenceThatMayNotBeReplaced) {
  const support::LogCapture log;
  GxParamBundle bundle("root");
  bundle.addBundle("G0008-1140");
  ZrDcmData node;
  ASSERT_NE(node.startSequence("G0008-1140", false), nullptr);

  EXPECT_FALSE(node.addParameters(&bundle, false));

  EXPECT_EQ(node.lastError, KtString("[addParameters] startSequence failed."));
  EXPECT_THAT(log.texts(),
              ElementsAre("ZrDcmData: [setDicomTag] Overwrite of existing DICOM tags disabled.",
                          "ZrDcmData: [addParameters] startSequence failed."));
}

TEST(AddParameters, RefusesABundleThatIsNone) {
  const support::LogCapture log;
  GxParamBundle bundle("root");
  bundle.add(std::make_unique<ImpostorBundle>("G0008-1140"));
  ZrDcmData node;

  EXPECT_FALSE(node.addParameters(&bundle, true));

  EXPECT_TRUE(node.sequences.empty());
  EXPECT_EQ(node.lastError, KtString("[addParameters] dynamic_cast to GxParamBundle * failed."));
  EXPECT_THAT(log.texts(),
              ElementsAre("ZrDcmData: [addParameters] dynamic_cast to GxParamBundle * failed."));
}

TEST(AddParameters, ReportsAFailingItemAndKeepsWhatWasFilled) {
  const support::LogCapture log;
  GxParamBundle bundle("root");
  bundle.addParameter("G0010-0020", "LO: P1");
  GxParamBundle& sequence = bundle.addBundle("G0008-1140");
  sequence.addBundle("Item_0").addParameter("G0008-1155", "UI: 1.0");
  GxParamBundle& failing = sequence.addBundle("Item_1");
  failing.addParameter("G0008-1155", "UI: 1.1");
  failing.addParameter("G0008-1155", "UI: 1.2");
  sequence.addBundle("Item_2");
  ZrDcmData node;

  EXPECT_FALSE(node.addParameters(&bundle, false));

  EXPECT_EQ(node.lastError, KtString("[addParameters] item->addParameters failed."));
  EXPECT_STREQ(node.dicomTag("G0010-0020", ""), "P1");
  ASSERT_EQ(node.sequences[0].items.size(), 2U);
  EXPECT_TRUE(node.sequences[0].items[0].lastError.empty());
  EXPECT_EQ(node.sequences[0].items[1].lastError, KtString("[addParameters] setDicomTag failed."));
  EXPECT_STREQ(node.sequences[0].items[1].dicomTag("G0008-1155", ""), "1.1");
  EXPECT_THAT(log.texts(),
              ElementsAre("ZrDcmData: [setDicomTag] Overwrite of existing DICOM tags disabled.",
                          "ZrDcmData: [addParameters] setDicomTag failed.",
                          "ZrDcmData: [addParameters] item->addParameters failed."));
}

}  // namespace
