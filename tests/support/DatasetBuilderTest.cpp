// SPDX-License-Identifier: BSD-3-Clause
#include "support/DatasetBuilder.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using support::DatasetBuilder;

std::string textOf(DcmItem& item, const DcmTagKey& key) {
  OFString text;
  return item.findAndGetOFStringArray(key, text).good() ? text : "(missing)";
}

TEST(DatasetBuilder, WritesTextInTheVrOfTheDictionary) {
  const auto dataset = DatasetBuilder().with(DCM_PixelSpacing, "0.5\\0.7").build();

  DcmElement* element = nullptr;
  ASSERT_TRUE(dataset->findAndGetElement(DCM_PixelSpacing, element).good());
  EXPECT_EQ(element->ident(), EVR_DS);
  EXPECT_EQ(textOf(*dataset, DCM_PixelSpacing), "0.5\\0.7");
}

TEST(DatasetBuilder, WritesTextInAnotherVrWhenTold) {
  const auto dataset =
      DatasetBuilder().with(DCM_FrameIncrementPointer, EVR_LO, "(3004,000C)").build();

  EXPECT_EQ(textOf(*dataset, DCM_FrameIncrementPointer), "(3004,000C)");
}

TEST(DatasetBuilder, WritesAttributeTags) {
  const auto dataset =
      DatasetBuilder().with(DCM_FrameIncrementPointer, "(0054,0080)\\(0018,1063)").build();

  EXPECT_EQ(textOf(*dataset, DCM_FrameIncrementPointer), "(0054,0080)\\(0018,1063)");
}

TEST(DatasetBuilder, WritesEmptyElements) {
  const auto dataset = DatasetBuilder().withEmpty(DCM_WindowCenter).build();

  EXPECT_TRUE(dataset->tagExists(DCM_WindowCenter));
  EXPECT_EQ(textOf(*dataset, DCM_WindowCenter), "");
}

TEST(DatasetBuilder, WritesUnsignedNumbersAsUs) {
  const auto dataset = DatasetBuilder().withUint16s(DCM_LUTDescriptor, {4, 65535, 16}).build();

  EXPECT_EQ(textOf(*dataset, DCM_LUTDescriptor), "4\\65535\\16");
}

TEST(DatasetBuilder, WritesSignedNumbersAsSs) {
  const auto dataset = DatasetBuilder().withSint16s(DcmTagKey(0x6000, 0x0050), {-1, 300}).build();

  Sint16 second = 0;
  ASSERT_TRUE(dataset->findAndGetSint16(DcmTagKey(0x6000, 0x0050), second, 1).good());
  EXPECT_EQ(textOf(*dataset, DcmTagKey(0x6000, 0x0050)), "-1\\300");
  EXPECT_EQ(second, 300);
}

TEST(DatasetBuilder, MakesPixelDataThatImageReadersAccept) {
  const auto dataset = DatasetBuilder().withPixels16({1, 2, 0xFFFF}).build();

  DcmElement* element = nullptr;
  ASSERT_TRUE(dataset->findAndGetElement(DCM_PixelData, element).good());
  EXPECT_NE(dynamic_cast<DcmPixelData*>(element), nullptr);
  Uint16* words = nullptr;
  ASSERT_TRUE(element->getUint16Array(words).good());
  EXPECT_EQ(words[2], 0xFFFF);
}

TEST(DatasetBuilder, KeepsEightBitPixelsAsBytes) {
  const auto dataset = DatasetBuilder().withPixels8({7, 8, 9, 10}).build();

  const Uint8* bytes = nullptr;
  unsigned long count = 0;
  ASSERT_TRUE(dataset->findAndGetUint8Array(DCM_PixelData, bytes, &count).good());
  EXPECT_EQ(count, 4U);
  EXPECT_EQ(bytes[3], 10);
}

TEST(DatasetBuilder, AppendsItemsToSequences) {
  const auto dataset =
      DatasetBuilder()
          .withItem(DCM_ModalityLUTSequence, DatasetBuilder().with(DCM_ModalityLUTType, "HU"))
          .withItem(DCM_ModalityLUTSequence, DatasetBuilder().with(DCM_ModalityLUTType, "US"))
          .build();

  DcmItem* second = nullptr;
  ASSERT_TRUE(dataset->findAndGetSequenceItem(DCM_ModalityLUTSequence, second, 1).good());
  EXPECT_EQ(textOf(*second, DCM_ModalityLUTType), "US");
}

TEST(DatasetBuilder, TakesElementsAway) {
  const auto dataset =
      DatasetBuilder().with(DCM_Modality, "CT").without(DCM_Modality).without(DCM_Rows).build();

  EXPECT_FALSE(dataset->tagExists(DCM_Modality));
}

TEST(DatasetBuilder, BuildsItemsThatBelongToNoDataset) {
  const auto item = DatasetBuilder().with(DCM_Modality, "CT").buildItem();

  EXPECT_EQ(item->ident(), EVR_item);
  EXPECT_EQ(item->getParent(), nullptr);
  EXPECT_EQ(textOf(*item, DCM_Modality), "CT");
}

TEST(DatasetBuilder, BuildsDatasetsThatShareNothing) {
  const DatasetBuilder builder = DatasetBuilder().with(DCM_Modality, "CT");
  const auto first = builder.build();
  const auto second = builder.build();

  ASSERT_TRUE(first->putAndInsertString(DCM_Modality, "MR").good());

  EXPECT_EQ(textOf(*second, DCM_Modality), "CT");
}

TEST(DatasetBuilder, ThrowsWhenAnElementCannotHoldTheText) {
  EXPECT_THROW(DatasetBuilder().with(DCM_Rows, "many"), std::logic_error);
}

}  // namespace
