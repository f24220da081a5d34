// SPDX-License-Identifier: BSD-3-Clause
// The attributes of an image, as they are read once for all who decode.
#include "dicom/ImageAttributes.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

using support::monochromeImage;
using support::rgbImage;

TEST(ImageAttributes, AreThoseOfTheItem) {
  const auto dataset = monochromeImage(3, 2).signed16().bitsStored(12).frames(4).build();

  const Zrg::ImageAttributes attributes = Zrg::readImageAttributes(*dataset, nullptr);

  EXPECT_FALSE(attributes.missing);
  EXPECT_EQ(attributes.size.columns, 3);
  EXPECT_EQ(attributes.size.rows, 2);
  EXPECT_EQ(attributes.size.samplesPerPixel, 1);
  EXPECT_EQ(attributes.size.bitsAllocated, 16);
  EXPECT_EQ(attributes.size.bitsStored, 12);
  EXPECT_EQ(attributes.frames.inFull, 4U);
  EXPECT_EQ(attributes.photometricInterpretation, "MONOCHROME2");
  EXPECT_TRUE(attributes.monochrome);
  EXPECT_TRUE(attributes.isSigned);
}

TEST(ImageAttributes, OfColourAreNotMonochrome) {
  const auto dataset = rgbImage(2, 2).photometric(" rgb ").build();

  const Zrg::ImageAttributes attributes = Zrg::readImageAttributes(*dataset, nullptr);

  EXPECT_EQ(attributes.photometricInterpretation, "RGB");
  EXPECT_FALSE(attributes.monochrome);
}

TEST(ImageAttributes, SayHowThePixelDataIsStored) {
  const auto dataset = support::compress(*monochromeImage(4, 4).build(), EXS_RLELossless);
  const Zrg::Result<DcmPixelData*> pixelData = Zrg::findPixelData(*dataset);
  ASSERT_TRUE(pixelData);

  EXPECT_EQ(Zrg::readImageAttributes(*dataset, *pixelData).storedSyntax, EXS_RLELossless);
  EXPECT_EQ(Zrg::readImageAttributes(*dataset, nullptr).storedSyntax, EXS_Unknown);
}

struct Missing {
  const char* name;
  DcmTagKey key;
  const char* message;
};

class ImageAttributesThatAreMissing : public testing::TestWithParam<Missing> {};

TEST_P(ImageAttributesThatAreMissing, AreNamed) {
  const auto dataset = monochromeImage(2, 2).without(GetParam().key).build();

  const Zrg::ImageAttributes attributes = Zrg::readImageAttributes(*dataset, nullptr);

  ASSERT_TRUE(attributes.missing);
  EXPECT_STREQ(attributes.missing->text, GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Keys, ImageAttributesThatAreMissing,
    testing::Values(Missing{"Columns", DCM_Columns, "File contains no pixel columns"},
                    Missing{"Rows", DCM_Rows, "File contains no pixel rows"},
                    Missing{"BitsAllocated", DCM_BitsAllocated, "File contains no bits allocated"},
                    Missing{"SamplesPerPixel", DCM_SamplesPerPixel,
                            "File contains no samples per pixel"},
                    Missing{"PhotometricInterpretation", DCM_PhotometricInterpretation,
                            "Dicom tag DCM_PhotometricInterpretation not found or cannot be read"}),
    support::nameOf<Missing>);

TEST(ImageAttributes, NameTheFirstThatIsMissing) {
  const auto dataset = monochromeImage(2, 2).without(DCM_SamplesPerPixel).without(DCM_Rows).build();

  const Zrg::ImageAttributes attributes = Zrg::readImageAttributes(*dataset, nullptr);

  ASSERT_TRUE(attributes.missing);
  EXPECT_STREQ(attributes.missing->text, "File contains no pixel rows");
  EXPECT_EQ(attributes.size.columns, 2);
  EXPECT_EQ(attributes.size.rows, 0);
}

TEST(ImageAttributes, CanDoWithoutBitsStoredAndPixelRepresentation) {
  const auto dataset =
      monochromeImage(2, 2).without(DCM_BitsStored).without(DCM_PixelRepresentation).build();

  const Zrg::ImageAttributes attributes = Zrg::readImageAttributes(*dataset, nullptr);

  EXPECT_FALSE(attributes.missing);
  EXPECT_EQ(attributes.size.bitsStored, 0);
  EXPECT_FALSE(attributes.isSigned);
}

struct Frames {
  const char* name;
  const char* text;
  std::uint64_t inFull;
  Uint16 in16Bits;
  std::uint64_t ofDecoders;
};

class FrameCountOf : public testing::TestWithParam<Frames> {};

TEST_P(FrameCountOf, TextIsReadInThreeWays) {
  const auto dataset = monochromeImage(2, 2).with(DCM_NumberOfFrames, GetParam().text).build();

  const Zrg::FrameCount count = Zrg::readFrameCount(*dataset);

  EXPECT_EQ(count.inFull, GetParam().inFull);
  EXPECT_EQ(count.in16Bits, GetParam().in16Bits);
  EXPECT_EQ(count.ofDecoders, GetParam().ofDecoders);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, FrameCountOf,
    testing::Values(Frames{"Plain", "12", 12, 12, 12}, Frames{"Plus", "+3", 3, 3, 3},
                    Frames{"Zero", "0", 1, 1, 1}, Frames{"Negative", "-2", 1, 65534, 1},
                    Frames{"Words", "many", 1, 1, 1}, Frames{"Empty", "", 1, 1, 1},
                    Frames{"Beyond16Bits", "65536", 65536, 1, 65536},
                    Frames{"MoreBeyond16Bits", "70000", 70000, 4464, 70000}),
    support::nameOf<Frames>);

TEST(FrameCount, IsOneWhereTheAttributeIsMissing) {
  const auto dataset = monochromeImage(2, 2).build();

  EXPECT_EQ(Zrg::readFrameCount(*dataset).inFull, 1U);
}

TEST(FindPixelData, GivesTheElementOfTheItem) {
  const auto item = monochromeImage(2, 2).buildItem();

  const Zrg::Result<DcmPixelData*> pixelData = Zrg::findPixelData(*item);

  ASSERT_TRUE(pixelData);
  EXPECT_EQ((*pixelData)->getLength(), 8U);
}

TEST(FindPixelData, SaysThatThereIsNone) {
  DcmItem item;

  EXPECT_EQ(Zrg::findPixelData(item).reason().text, "File contains no pixel data");
}

TEST(FindPixelData, SaysThatAnElementOfAnotherKindIsInvalid) {
  DcmItem item;
  ASSERT_TRUE(item.insert(new DcmOtherByteOtherWord(DcmTag(DCM_PixelData, EVR_OB))).good());

  EXPECT_EQ(Zrg::findPixelData(item).reason().text, "File contains invalid pixel data");
}

}  // namespace
