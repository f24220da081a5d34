// SPDX-License-Identifier: BSD-3-Clause

#include "support/Compression.h"
#include "support/DatasetBuilder.h"
#include "support/RowName.h"

#include <wexlib/WexItem.h>
#include <wexlib/WexItemOF.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcrledrg.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using support::DatasetBuilder;

const bool kSilent = support::silenceDcmtk();

// 4 x 2 pixels of 8 bits, complete enough for every encoder.
DatasetBuilder smallImage() {
  return DatasetBuilder()
      .withUint16(DCM_SamplesPerPixel, 1)
      .with(DCM_PhotometricInterpretation, "MONOCHROME2")
      .withUint16(DCM_Rows, 2)
      .withUint16(DCM_Columns, 4)
      .withUint16(DCM_BitsAllocated, 8)
      .withUint16(DCM_BitsStored, 8)
      .withUint16(DCM_HighBit, 7)
      .withUint16(DCM_PixelRepresentation, 0)
      .withPixels8({1, 2, 3, 4, 5, 6, 7, 8});
}

// ---- text

TEST(ItemText, OfAllValuesIsJoinedByBackslashes) {
  const auto dataset = DatasetBuilder().with(DCM_ImageType, "ORIGINAL \\ PRIMARY\\AXIAL").build();
  Wex::ItemOF item(*dataset);
  OFString values = "before";

  EXPECT_TRUE(item.findAndGetOFStringArray(DCM_ImageType, values).good());

  EXPECT_EQ(values, "ORIGINAL\\PRIMARY\\AXIAL");
}

TEST(ItemText, OfNumbersIsDecimal) {
  const auto dataset = DatasetBuilder()
                           .withUint16s(DCM_LUTDescriptor, {256, 63488, 16})
                           .withSint16s(DCM_RedPaletteColorLookupTableDescriptor, {4, -5, 8})
                           .build();
  Wex::ItemOF item(*dataset);
  OFString unsignedValues;
  OFString signedValues;

  EXPECT_TRUE(item.findAndGetOFStringArray(DCM_LUTDescriptor, unsignedValues).good());
  EXPECT_TRUE(
      item.findAndGetOFStringArray(DCM_RedPaletteColorLookupTableDescriptor, signedValues).good());

  EXPECT_EQ(unsignedValues, "256\\63488\\16");
  EXPECT_EQ(signedValues, "4\\-5\\8");
}

TEST(ItemText, OfOneValueIsChosenByPosition) {
  const auto dataset = DatasetBuilder().with(DCM_PixelSpacing, "0.5\\0.25").build();
  Wex::Item&& item = Wex::ItemOF(*dataset);
  OFString first;
  OFString second;

  EXPECT_TRUE(item.findAndGetOFString(DCM_PixelSpacing, first).good());
  EXPECT_TRUE(item.findAndGetOFString(DCM_PixelSpacing, second, 1).good());

  EXPECT_EQ(first, "0.5");
  EXPECT_EQ(second, "0.25");
}

TEST(ItemText, OfAMissingElementIsEmptyAndBad) {
  const auto dataset = DatasetBuilder().with(DCM_PatientID, "1").build();
  Wex::ItemOF item(*dataset);
  OFString one = "before";
  OFString all = "before";

  EXPECT_EQ(item.findAndGetOFString(DCM_PatientName, one), EC_TagNotFound);
  EXPECT_EQ(item.findAndGetOFStringArray(DCM_PatientName, all), EC_TagNotFound);

  EXPECT_EQ(one, "");
  EXPECT_EQ(all, "");
}

TEST(ItemText, OfAValueBehindTheLastIsEmptyAndBad) {
  const auto dataset = DatasetBuilder().with(DCM_PatientID, "1").build();
  Wex::ItemOF item(*dataset);
  OFString value = "before";

  EXPECT_TRUE(item.findAndGetOFString(DCM_PatientID, value, 1).bad());

  EXPECT_EQ(value, "");
}

TEST(ItemText, OfAnEmptyElementIsEmptyAndGood) {
  const auto dataset = DatasetBuilder().withEmpty(DCM_PatientID).build();
  Wex::ItemOF item(*dataset);
  OFString value = "before";

  EXPECT_TRUE(item.findAndGetOFString(DCM_PatientID, value).good());

  EXPECT_EQ(value, "");
}

TEST(ItemText, IsNotLookedForInSequences) {
  const auto dataset =
      DatasetBuilder()
          .withItem(DCM_IconImageSequence, DatasetBuilder().with(DCM_PatientID, "inside"))
          .build();
  Wex::ItemOF item(*dataset);
  OFString value;

  EXPECT_EQ(item.findAndGetOFString(DCM_PatientID, value), EC_TagNotFound);
}

// ---- numbers

TEST(ItemNumber, IsChosenByPosition) {
  const auto dataset = DatasetBuilder().withUint16s(DCM_LUTDescriptor, {256, 63488, 16}).build();
  Wex::ItemOF item(*dataset);
  Uint16 first = 0;
  Uint16 last = 0;

  EXPECT_TRUE(item.findAndGetUint16(DCM_LUTDescriptor, first).good());
  EXPECT_TRUE(item.findAndGetUint16(DCM_LUTDescriptor, last, 2).good());

  EXPECT_EQ(first, 256);
  EXPECT_EQ(last, 16);
}

TEST(ItemNumber, IsZeroAndBadWhereThereIsNone) {
  const auto dataset = DatasetBuilder()
                           .withUint16(DCM_Rows, 5)
                           .with(DCM_SeriesNumber, "7")
                           .withEmpty(DCM_Columns)
                           .build();
  Wex::ItemOF item(*dataset);
  for (const auto& [tag, pos] : std::vector<std::pair<DcmTagKey, unsigned long>>{
           {DCM_BitsAllocated, 0}, {DCM_Rows, 1}, {DCM_SeriesNumber, 0}, {DCM_Columns, 0}}) {
    Uint16 value = 99;

    EXPECT_TRUE(item.findAndGetUint16(tag, value, pos).bad()) << tag.toString();
    EXPECT_EQ(value, 0) << tag.toString();
  }
}

// ---- arrays

TEST(ItemBytes, AreThoseOfTheElement) {
  const auto dataset = DatasetBuilder().withBytes(DCM_LUTData, {1, 2, 250, 4}).build();
  Wex::ItemOF item(*dataset);
  const Uint8* values = nullptr;
  unsigned long count = 99;

  EXPECT_TRUE(item.findAndGetUint8Array(DCM_LUTData, values, count).good());

  ASSERT_EQ(count, 4U);
  EXPECT_EQ(std::vector<int>(values, values + count), (std::vector<int>{1, 2, 250, 4}));
}

TEST(ItemWords, AreThoseOfTheElement) {
  const auto dataset = DatasetBuilder()
                           .withWords(DCM_LUTData, {1, 65535, 3})
                           .withUint16s(DCM_LUTDescriptor, {3, 0, 16})
                           .build();
  Wex::ItemOF item(*dataset);
  const Uint16* words = nullptr;
  const Uint16* shorts = nullptr;
  unsigned long wordCount = 99;
  unsigned long shortCount = 99;

  EXPECT_TRUE(item.findAndGetUint16Array(DCM_LUTData, words, wordCount).good());
  EXPECT_TRUE(item.findAndGetUint16Array(DCM_LUTDescriptor, shorts, shortCount).good());

  ASSERT_EQ(wordCount, 3U);
  EXPECT_EQ(words[1], 65535);
  ASSERT_EQ(shortCount, 3U);
  EXPECT_EQ(shorts[2], 16);
}

TEST(ItemWords, AreInTheMachinesByteOrder) {
  auto native = DatasetBuilder().withWords(DCM_LUTData, {0x0102, 0x0304}).build();
  const auto dataset = support::readBack(*native, EXS_BigEndianExplicit);
  Wex::ItemOF item(*dataset);
  const Uint16* words = nullptr;
  unsigned long count = 0;

  EXPECT_TRUE(item.findAndGetUint16Array(DCM_LUTData, words, count).good());

  ASSERT_EQ(count, 2U);
  EXPECT_EQ(words[0], 0x0102);
}

struct ArrayCase {
  const char* name;
  DatasetBuilder dataset;
};
class NoBytes : public testing::TestWithParam<ArrayCase> {};
class NoWords : public testing::TestWithParam<ArrayCase> {};

TEST_P(NoBytes, GiveNullAndZero) {
  const auto dataset = GetParam().dataset.build();
  Wex::ItemOF item(*dataset);
  const Uint8 before = 1;
  const Uint8* values = &before;
  unsigned long count = 99;

  (void)item.findAndGetUint8Array(DCM_LUTData, values, count);

  EXPECT_EQ(values, nullptr);
  EXPECT_EQ(count, 0U);
}

TEST_P(NoWords, GiveNullAndZero) {
  const auto dataset = GetParam().dataset.build();
  Wex::ItemOF item(*dataset);
  const Uint16 before = 1;
  const Uint16* values = &before;
  unsigned long count = 99;

  (void)item.findAndGetUint16Array(DCM_LUTData, values, count);

  EXPECT_EQ(values, nullptr);
  EXPECT_EQ(count, 0U);
}

INSTANTIATE_TEST_SUITE_P(
    Elements, NoBytes,
    testing::Values(ArrayCase{"Missing", DatasetBuilder()},
                    ArrayCase{"OfWords", DatasetBuilder().withWords(DCM_LUTData, {1, 2})},
                    ArrayCase{"OfShorts", DatasetBuilder().withUint16s(DCM_LUTData, {1, 2})},
                    ArrayCase{"OfText", DatasetBuilder().with(DCM_LUTData, EVR_LO, "12")},
                    ArrayCase{"Empty", DatasetBuilder().withBytes(DCM_LUTData, {})}),
    support::nameOf<ArrayCase>);
INSTANTIATE_TEST_SUITE_P(
    Elements, NoWords,
    testing::Values(ArrayCase{"Missing", DatasetBuilder()},
                    ArrayCase{"OfBytes", DatasetBuilder().withBytes(DCM_LUTData, {1, 2})},
                    ArrayCase{"OfText", DatasetBuilder().with(DCM_LUTData, EVR_LO, "12")},
                    ArrayCase{"Empty", DatasetBuilder().withWords(DCM_LUTData, {})}),
    support::nameOf<ArrayCase>);

TEST(ItemArrays, OfMissingElementsAreBad) {
  DcmDataset dataset;
  Wex::ItemOF item(dataset);
  const Uint8* bytes = nullptr;
  const Uint16* words = nullptr;
  unsigned long count = 0;

  EXPECT_EQ(item.findAndGetUint8Array(DCM_LUTData, bytes, count), EC_TagNotFound);
  EXPECT_EQ(item.findAndGetUint16Array(DCM_LUTData, words, count), EC_TagNotFound);
}

TEST(ItemArrays, OfCompressedPixelDataAreBadNullAndZero) {
  const auto dataset = support::compress(*smallImage().build(), EXS_RLELossless);
  Wex::ItemOF item(*dataset);
  const Uint8 byteBefore = 1;
  const Uint16 wordBefore = 1;
  const Uint8* bytes = &byteBefore;
  const Uint16* words = &wordBefore;
  unsigned long byteCount = 99;
  unsigned long wordCount = 99;

  EXPECT_TRUE(item.findAndGetUint8Array(DCM_PixelData, bytes, byteCount).bad());
  EXPECT_TRUE(item.findAndGetUint16Array(DCM_PixelData, words, wordCount).bad());

  EXPECT_EQ(bytes, nullptr);
  EXPECT_EQ(words, nullptr);
  EXPECT_EQ(byteCount, 0U);
  EXPECT_EQ(wordCount, 0U);
}

// ---- sequences

class ItemSequence : public testing::Test {
protected:
  std::unique_ptr<DcmDataset> dataset_ =
      DatasetBuilder()
          .with(DCM_PatientID, "outside")
          .withBytes(DCM_LUTData, {1, 2})
          .withItem(DCM_ModalityLUTSequence, DatasetBuilder().with(DCM_LUTExplanation, "first"))
          .withItem(DCM_ModalityLUTSequence, DatasetBuilder().with(DCM_LUTExplanation, "last"))
          .build();
  Wex::ItemOF item_ = Wex::ItemOF(*dataset_);

  OFString explanationOf(long itemNumber) {
    std::unique_ptr<Wex::Item> found;
    OFString text;
    EXPECT_TRUE(item_.findAndGetSequenceItem(DCM_ModalityLUTSequence, found, itemNumber).good());
    EXPECT_TRUE(found->findAndGetOFString(DCM_LUTExplanation, text).good());
    return text;
  }
};

TEST_F(ItemSequence, GivesItsItemsByNumber) {
  EXPECT_EQ(explanationOf(0), "first");
  EXPECT_EQ(explanationOf(1), "last");
  EXPECT_EQ(explanationOf(-1), "last");
}

TEST_F(ItemSequence, HasNoItemsElsewhere) {
  for (const long itemNumber : {2L, 1000L, -2L}) {
    auto found = std::unique_ptr<Wex::Item>(new Wex::ItemOF(*dataset_));

    EXPECT_TRUE(item_.findAndGetSequenceItem(DCM_ModalityLUTSequence, found, itemNumber).bad());
    EXPECT_EQ(found, nullptr) << itemNumber;
  }
}

TEST_F(ItemSequence, IsNotFoundWhereThereIsNone) {
  auto found = std::unique_ptr<Wex::Item>(new Wex::ItemOF(*dataset_));

  EXPECT_EQ(item_.findAndGetSequenceItem(DCM_VOILUTSequence, found, 0), EC_TagNotFound);

  EXPECT_EQ(found, nullptr);
}

TEST_F(ItemSequence, IsNoOtherElement) {
  auto found = std::unique_ptr<Wex::Item>(new Wex::ItemOF(*dataset_));

  EXPECT_EQ(item_.findAndGetSequenceItem(DCM_PatientID, found, 0), EC_InvalidVR);

  EXPECT_EQ(found, nullptr);
}

TEST_F(ItemSequence, IsNoElementThatOnlyCallsItselfOne) {
  DcmElement* element = nullptr;
  ASSERT_TRUE(dataset_->findAndGetElement(DCM_LUTData, element).good());
  auto* const impostor = dynamic_cast<DcmOtherByteOtherWord*>(element);
  ASSERT_NE(impostor, nullptr);
  ASSERT_TRUE(impostor->setVR(EVR_SQ).good());
  ASSERT_EQ(impostor->ident(), EVR_SQ);
  std::unique_ptr<Wex::Item> found;

  EXPECT_EQ(item_.findAndGetSequenceItem(DCM_LUTData, found, 0), EC_InvalidVR);
}

// ---- transfer syntax

class OriginalSyntax : public testing::TestWithParam<E_TransferSyntax> {};

TEST_P(OriginalSyntax, IsThatOfTheFile) {
  auto native = smallImage().build();
  const auto dataset = support::readBack(*native, GetParam());

  EXPECT_EQ(Wex::ItemOF(*dataset).transferSyntax(), GetParam());
}
INSTANTIATE_TEST_SUITE_P(Native, OriginalSyntax,
                         testing::Values(EXS_LittleEndianImplicit, EXS_LittleEndianExplicit,
                                         EXS_BigEndianExplicit, EXS_DeflatedLittleEndianExplicit));

class CompressedSyntax : public testing::TestWithParam<E_TransferSyntax> {};

TEST_P(CompressedSyntax, IsThatOfTheFile) {
  const auto dataset = support::compress(*smallImage().build(), GetParam());

  EXPECT_EQ(Wex::ItemOF(*dataset).transferSyntax(), GetParam());
}

TEST_P(CompressedSyntax, OfAFreeItemIsThatOfItsPixelData) {
  const auto dataset = support::compress(*smallImage().build(), GetParam());
  DcmItem freeItem(*dataset);
  ASSERT_EQ(freeItem.ident(), EVR_item);

  EXPECT_EQ(Wex::ItemOF(freeItem).transferSyntax(), GetParam());
}
INSTANTIATE_TEST_SUITE_P(Codecs, CompressedSyntax,
                         testing::Values(EXS_RLELossless, EXS_JPEGProcess1, EXS_JPEGProcess14SV1,
                                         EXS_JPEGLSLossless));

TEST(TransferSyntax, StaysThatOfTheFileWhenTheDatasetIsDecoded) {
  const auto dataset = support::compress(*smallImage().build(), EXS_RLELossless);
  DcmRLEDecoderRegistration::registerCodecs();
  ASSERT_TRUE(dataset->chooseRepresentation(EXS_LittleEndianExplicit, nullptr).good());
  ASSERT_EQ(dataset->getCurrentXfer(), EXS_LittleEndianExplicit);

  EXPECT_EQ(Wex::ItemOF(*dataset).transferSyntax(), EXS_RLELossless);
}

TEST(TransferSyntax, OfADatasetMadeInMemoryIsItsCurrentOne) {
  const auto dataset = smallImage().build();
  ASSERT_EQ(dataset->getOriginalXfer(), EXS_Unknown);

  EXPECT_EQ(Wex::ItemOF(*dataset).transferSyntax(), EXS_LittleEndianExplicit);
}

TEST(TransferSyntax, OfANestedItemIsThatOfTheDataset) {
  const auto deep = DatasetBuilder().withItem(
      DCM_ReferencedImageSequence,
      DatasetBuilder().withItem(DCM_ModalityLUTSequence,
                                DatasetBuilder().with(DCM_PatientID, "1")));
  auto native = deep.build();
  const auto dataset = support::readBack(*native, EXS_LittleEndianImplicit);
  Wex::ItemOF item(*dataset);
  std::unique_ptr<Wex::Item> middle;
  std::unique_ptr<Wex::Item> inner;
  ASSERT_TRUE(item.findAndGetSequenceItem(DCM_ReferencedImageSequence, middle, 0).good());
  ASSERT_TRUE(middle->findAndGetSequenceItem(DCM_ModalityLUTSequence, inner, 0).good());

  EXPECT_EQ(middle->transferSyntax(), EXS_LittleEndianImplicit);
  EXPECT_EQ(inner->transferSyntax(), EXS_LittleEndianImplicit);
}

TEST(TransferSyntax, OfAnItemNestedInADatasetMadeInMemoryIsItsCurrentOne) {
  const auto dataset =
      DatasetBuilder()
          .withItem(DCM_ModalityLUTSequence, DatasetBuilder().with(DCM_PatientID, "1"))
          .build();
  Wex::ItemOF item(*dataset);
  std::unique_ptr<Wex::Item> inner;
  ASSERT_TRUE(item.findAndGetSequenceItem(DCM_ModalityLUTSequence, inner, 0).good());

  EXPECT_EQ(inner->transferSyntax(), EXS_LittleEndianExplicit);
}

TEST(TransferSyntax, OfAFreeItemWithNativePixelsIsExplicitLittleEndian) {
  const auto item = smallImage().buildItem();

  EXPECT_EQ(Wex::ItemOF(*item).transferSyntax(), EXS_LittleEndianExplicit);
}

TEST(TransferSyntax, OfAFreeItemWithoutPixelsIsUnknown) {
  const auto item = DatasetBuilder().with(DCM_PatientID, "1").buildItem();

  EXPECT_EQ(Wex::ItemOF(*item).transferSyntax(), EXS_Unknown);
}

TEST(TransferSyntax, OfAFreeItemWhosePixelDataIsOfAnotherClassIsUnknown) {
  DcmItem item;
  ASSERT_TRUE(item.insert(new DcmOtherByteOtherWord(DCM_PixelData)).good());

  EXPECT_EQ(Wex::ItemOF(item).transferSyntax(), EXS_Unknown);
}

}  // namespace
