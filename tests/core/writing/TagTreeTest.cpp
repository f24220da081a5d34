// SPDX-License-Identifier: BSD-3-Clause
// The tree of texts: keys, overwriting, lookup.
#include "support/LogCapture.h"
#include "support/RowName.h"
#include "writing/ZrDcmData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kOverwriteDisabled =
    "[setDicomTag] Overwrite of existing DICOM tags disabled.";

std::vector<std::string> keysOf(const ZrDcmData& node) {
  std::vector<std::string> keys;
  for (const ZrDcmTag& tag : node.tags) {
    keys.push_back(tag.key.str());
  }
  return keys;
}

struct KeyText {
  const char* name;
  const char* key;
  unsigned int group;
  unsigned int element;
};

class TagKey : public testing::TestWithParam<KeyText> {};

TEST_P(TagKey, OfATagGivesGroupAndElement) {
  const ZrDcmTag tag(GetParam().key, "value");

  EXPECT_EQ(tag.group, GetParam().group);
  EXPECT_EQ(tag.element, GetParam().element);
  EXPECT_EQ(tag.key, KtString(GetParam().key));
  EXPECT_EQ(tag.value, KtString("value"));
}

TEST_P(TagKey, OfASequenceGivesGroupAndElement) {
  ZrDcmData parent;

  const ZrDcmSequence sequence(GetParam().key, &parent);

  EXPECT_EQ(sequence.group, GetParam().group);
  EXPECT_EQ(sequence.element, GetParam().element);
  EXPECT_EQ(sequence.key, KtString(GetParam().key));
  EXPECT_EQ(sequence.parent, &parent);
  EXPECT_TRUE(sequence.items.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Texts, TagKey,
    testing::Values(KeyText{"Whole", "G0008-0016", 0x0008, 0x0016},
                    KeyText{"HexadecimalDigits", "G7fe0-00ef", 0x7fe0, 0x00ef},
                    KeyText{"CapitalDigits", "G7FE0-00EF", 0x7fe0, 0x00ef},
                    KeyText{"FewDigits", "G8-16", 0x0008, 0x0016},
                    KeyText{"MoreThanFourDigits", "G10008-0016", 0x10008, 0x0016},
                    KeyText{"GroupAlone", "G0002", 0x0002, 0},
                    KeyText{"OtherSeparator", "G0008,0016", 0x0008, 0},
                    KeyText{"SmallLetter", "g0008-0016", 0, 0},
                    KeyText{"Keyword", "PatientName", 0, 0}, KeyText{"Empty", "", 0, 0}),
    support::nameOf<KeyText>);

TEST(ZrDcmTag, IsCopiedWithAllFields) {
  const ZrDcmTag original("G0010-0010", "Doe^John");
  ZrDcmTag copy("G0010-0020", "P1");

  copy = original;

  EXPECT_EQ(copy.group, 0x0010U);
  EXPECT_EQ(copy.element, 0x0010U);
  EXPECT_EQ(copy.key, KtString("G0010-0010"));
  EXPECT_EQ(copy.value, KtString("Doe^John"));
}

TEST(ZrDcmTag, SurvivesAssignmentToItself) {
  ZrDcmTag tag("G0010-0010", "a value that is too long to be held without memory of its own");
  const ZrDcmTag& same = tag;

  tag = same;

  EXPECT_EQ(tag.key, KtString("G0010-0010"));
  EXPECT_EQ(tag.value, KtString("a value that is too long to be held without memory of its own"));
}

TEST(ZrDcmData, BeginsEmpty) {
  const ZrDcmData node;

  EXPECT_TRUE(node.tags.empty());
  EXPECT_TRUE(node.sequences.empty());
  EXPECT_TRUE(node.lastError.empty());
}

TEST(ZrDcmData, KeepsTagsInOrderOfInsertion) {
  ZrDcmData node;

  EXPECT_TRUE(node.setDicomTag("G0020-000d", "1.2", false));
  EXPECT_TRUE(node.setDicomTag("G0008-0016", "1.3", false));
  EXPECT_TRUE(node.setDicomTag("G0010-0010", "A", false));

  EXPECT_THAT(keysOf(node), ElementsAre("G0020-000d", "G0008-0016", "G0010-0010"));
}

TEST(ZrDcmData, ReplacesATagInItsPlace) {
  ZrDcmData node;
  ASSERT_TRUE(node.setDicomTag("G0010-0010", "first", true));
  ASSERT_TRUE(node.setDicomTag("G0010-0020", "P1", true));

  EXPECT_TRUE(node.setDicomTag("G0010-0010", "second", true));

  EXPECT_THAT(keysOf(node), ElementsAre("G0010-0010", "G0010-0020"));
  EXPECT_STREQ(node.dicomTag("G0010-0010", ""), "second");
}

TEST(ZrDcmData, RefusesToReplaceATag) {
  const support::LogCapture log;
  ZrDcmData node;
  ASSERT_TRUE(node.setDicomTag("G0010-0010", "first", false));

  EXPECT_FALSE(node.setDicomTag("G0010-0010", "second", false));

  EXPECT_THAT(keysOf(node), ElementsAre("G0010-0010"));
  EXPECT_STREQ(node.dicomTag("G0010-0010", ""), "first");
  EXPECT_EQ(node.lastError, KtString(kOverwriteDisabled));
  EXPECT_THAT(log.texts(),
              ElementsAre("ZrDcmData: [setDicomTag] Overwrite of existing DICOM tags disabled."));
}

TEST(ZrDcmData, TellsKeysApartByTheirTextAlone) {
  ZrDcmData node;

  EXPECT_TRUE(node.setDicomTag("G0008-001f", "a", false));
  EXPECT_TRUE(node.setDicomTag("G0008-001F", "b", false));
  EXPECT_TRUE(node.setDicomTag("G8-1f", "c", false));

  EXPECT_EQ(node.tags.size(), 3U);
  EXPECT_STREQ(node.dicomTag("G0008-001F", ""), "b");
}

TEST(ZrDcmData, KeepsASequenceAndATagOfTheSameKeyApart) {
  ZrDcmData node;

  EXPECT_TRUE(node.setDicomTag("G0008-1140", "a", false));
  EXPECT_NE(node.startSequence("G0008-1140", false), nullptr);

  EXPECT_EQ(node.tags.size(), 1U);
  EXPECT_EQ(node.sequences.size(), 1U);
}

TEST(ZrDcmData, AnswersTheDefaultItselfForAMissingTag) {
  const ZrDcmData node;
  const char* const fallback = "fallback";

  EXPECT_EQ(node.dicomTag("G0010-0010", fallback), fallback);
  EXPECT_EQ(node.dicomTag("G0010-0010", nullptr), nullptr);
}

TEST(ZrDcmData, AnswersAnEmptyValueRatherThanTheDefault) {
  ZrDcmData node;
  ASSERT_TRUE(node.setDicomTag("G0010-0010", "", true));

  EXPECT_STREQ(node.dicomTag("G0010-0010", "fallback"), "");
}

TEST(ZrDcmData, StartsASequenceWithoutItems) {
  ZrDcmData node;

  ZrDcmSequence* sequence = node.startSequence("G0008-1140", false);

  ASSERT_NE(sequence, nullptr);
  EXPECT_EQ(sequence, &node.sequences[0]);
  EXPECT_EQ(sequence->parent, &node);
  EXPECT_EQ(sequence->group, 0x0008U);
  EXPECT_EQ(sequence->element, 0x1140U);
  EXPECT_TRUE(sequence->items.empty());
}

TEST(ZrDcmData, EmptiesASequenceThatIsStartedAgain) {
  ZrDcmData node;
  ASSERT_NE(node.startSequence("G0008-1111", true), nullptr);
  ZrDcmSequence* first = node.startSequence("G0008-1140", true);
  ASSERT_NE(first, nullptr);
  first->items.append(ZrDcmData());

  ZrDcmSequence* again = node.startSequence("G0008-1140", true);

  EXPECT_EQ(again, first);
  EXPECT_EQ(again, &node.sequences[1]);
  EXPECT_TRUE(again->items.empty());
  EXPECT_EQ(again->key, KtString("G0008-1140"));
  EXPECT_EQ(node.sequences.size(), 2U);
}

TEST(ZrDcmData, RefusesToRestartASequence) {
  const support::LogCapture log;
  ZrDcmData node;
  ZrDcmSequence* first = node.startSequence("G0008-1140", false);
  ASSERT_NE(first, nullptr);
  first->items.append(ZrDcmData());

  EXPECT_EQ(node.startSequence("G0008-1140", false), nullptr);

  EXPECT_EQ(node.sequences[0].items.size(), 1U);
  EXPECT_EQ(node.lastError, KtString(kOverwriteDisabled));
  EXPECT_THAT(log.texts(),
              ElementsAre("ZrDcmData: [setDicomTag] Overwrite of existing DICOM tags disabled."));
}

TEST(ZrDcmData, LogsAnErrorAndKeepsIt) {
  const support::LogCapture log;
  ZrDcmData node;

  node.setLastError("100 %s of it");

  EXPECT_EQ(node.lastError, KtString("100 %s of it"));
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_EQ(log.lines()[0].text, "ZrDcmData: 100 %s of it");
  EXPECT_EQ(log.lines()[0].level, KtLogFile::Level::Message);
}

TEST(ZrDcmData, KeepsAnErrorThatIsSetToItself) {
  const support::LogCapture log;
  ZrDcmData node;
  node.setLastError("a message that is too long to be held without memory of its own");

  node.setLastError(node.lastError);

  EXPECT_EQ(node.lastError,
            KtString("a message that is too long to be held without memory of its own"));
  EXPECT_EQ(log.lines().size(), 2U);
}

TEST(ZrDcmData, IsCopiedWithAllThatIsBelow) {
  ZrDcmData original;
  ASSERT_TRUE(original.setDicomTag("G0010-0010", "A", true));
  ZrDcmSequence* sequence = original.startSequence("G0008-1140", true);
  ASSERT_NE(sequence, nullptr);
  ASSERT_TRUE(sequence->items.append(ZrDcmData()).setDicomTag("G0008-1155", "1.2", true));

  const ZrDcmData copy = original;
  original.sequences[0].items.clear();
  original.tags.clear();

  EXPECT_STREQ(copy.dicomTag("G0010-0010", ""), "A");
  ASSERT_EQ(copy.sequences.size(), 1U);
  ASSERT_EQ(copy.sequences[0].items.size(), 1U);
  EXPECT_STREQ(copy.sequences[0].items[0].dicomTag("G0008-1155", ""), "1.2");
  EXPECT_THAT(keysOf(original), IsEmpty());
}

}  // namespace
