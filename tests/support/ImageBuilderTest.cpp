// SPDX-License-Identifier: BSD-3-Clause
#include "support/ImageBuilder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using support::ctSlice;
using support::monochromeImage;
using support::paletteImage;
using support::rgbImage;
using testing::ElementsAre;

std::string textOf(DcmItem& item, const DcmTagKey& key) {
  OFString text;
  return item.findAndGetOFStringArray(key, text).good() ? text : "(missing)";
}

std::vector<int> wordsOf(DcmItem& item) {
  const Uint16* words = nullptr;
  unsigned long count = 0;
  return item.findAndGetUint16Array(DCM_PixelData, words, &count).good()
             ? std::vector<int>(words, words + count)
             : std::vector<int>();
}

TEST(ImageBuilder, DescribesACtSlice) {
  const auto dataset = ctSlice(4, 3).signed16().bitsStored(12).build();

  EXPECT_EQ(textOf(*dataset, DCM_Modality), "CT");
  EXPECT_EQ(textOf(*dataset, DCM_Columns), "4");
  EXPECT_EQ(textOf(*dataset, DCM_Rows), "3");
  EXPECT_EQ(textOf(*dataset, DCM_BitsAllocated), "16");
  EXPECT_EQ(textOf(*dataset, DCM_BitsStored), "12");
  EXPECT_EQ(textOf(*dataset, DCM_HighBit), "11");
  EXPECT_EQ(textOf(*dataset, DCM_PixelRepresentation), "1");
  EXPECT_EQ(textOf(*dataset, DCM_SamplesPerPixel), "1");
  EXPECT_EQ(textOf(*dataset, DCM_PhotometricInterpretation), "MONOCHROME2");
  EXPECT_EQ(textOf(*dataset, DCM_NumberOfFrames), "(missing)");
}

TEST(ImageBuilder, FillsAllFramesWithARamp) {
  const auto dataset = monochromeImage(2, 1).frames(3).build();

  EXPECT_EQ(textOf(*dataset, DCM_NumberOfFrames), "3");
  EXPECT_THAT(wordsOf(*dataset), ElementsAre(0, 1, 2, 3, 4, 5));
}

TEST(ImageBuilder, LaysTheRampWhereHighBitSays) {
  const auto dataset = monochromeImage(5, 1).bitsStored(2).highBit(5).build();

  EXPECT_THAT(wordsOf(*dataset), ElementsAre(0, 16, 32, 48, 0));
}

TEST(ImageBuilder, StoresGivenSamplesAsTheyAre) {
  const auto dataset = monochromeImage(2, 1).signed16().samples({-1, 300}).build();

  EXPECT_THAT(wordsOf(*dataset), ElementsAre(65535, 300));
}

TEST(ImageBuilder, PutsOverlayBitsIntoTheSamples) {
  const auto dataset = monochromeImage(2, 2)
                           .bitsStored(12)
                           .frames(2)
                           .samples({-1, 0, 0, 0, 0, 0, 0, 0})
                           .overlayBits(0x6002, 15, {{1, 0}}, 1)
                           .build();

  EXPECT_THAT(wordsOf(*dataset), ElementsAre(0x7FFF, 0, 0, 0, 0, 0x8000, 0, 0));
  EXPECT_EQ(textOf(*dataset, DcmTagKey(0x6002, 0x0010)), "2");
  EXPECT_EQ(textOf(*dataset, DcmTagKey(0x6002, 0x0050)), "1\\1");
  EXPECT_EQ(textOf(*dataset, DcmTagKey(0x6002, 0x0102)), "15");
}

TEST(ImageBuilder, WritesDisplayAttributes) {
  const auto dataset =
      ctSlice(1, 1).rescale("2", "-1000").window("40", "400").spacing("0.5", "0.7").build();

  EXPECT_EQ(textOf(*dataset, DCM_RescaleSlope), "2");
  EXPECT_EQ(textOf(*dataset, DCM_RescaleIntercept), "-1000");
  EXPECT_EQ(textOf(*dataset, DCM_WindowCenter), "40");
  EXPECT_EQ(textOf(*dataset, DCM_WindowWidth), "400");
  EXPECT_EQ(textOf(*dataset, DCM_PixelSpacing), "0.5\\0.7");
}

TEST(ImageBuilder, InterleavesColour) {
  const auto dataset = rgbImage(2, 1).samples({255, 0, 0, 0, 0, 255}).build();

  const Uint8* bytes = nullptr;
  unsigned long count = 0;
  ASSERT_TRUE(dataset->findAndGetUint8Array(DCM_PixelData, bytes, &count).good());
  EXPECT_EQ(std::vector<int>(bytes, bytes + count), (std::vector<int>{255, 0, 0, 0, 0, 255}));
  EXPECT_EQ(textOf(*dataset, DCM_PlanarConfiguration), "0");
}

TEST(ImageBuilder, DescribesThreePalettes) {
  const auto dataset = paletteImage(2, 2).build();

  const Uint16* green = nullptr;
  unsigned long count = 0;
  ASSERT_TRUE(
      dataset->findAndGetUint16Array(DCM_GreenPaletteColorLookupTableData, green, &count).good());
  EXPECT_EQ(count, 256U);
  EXPECT_EQ(green[0], 0xFF00);
  EXPECT_EQ(textOf(*dataset, DCM_BluePaletteColorLookupTableDescriptor), "256\\0\\16");
}

TEST(ImageBuilder, LetsAttributesBeOverruled) {
  const auto dataset =
      ctSlice(4, 3).withUint16(DCM_Rows, 9).without(DCM_BitsAllocated).withPixels16({5}).build();

  EXPECT_EQ(textOf(*dataset, DCM_Rows), "9");
  EXPECT_FALSE(dataset->tagExists(DCM_BitsAllocated));
  EXPECT_THAT(wordsOf(*dataset), ElementsAre(5));
}

TEST(ImageBuilder, RefusesOverlayBitsOutsideTheImage) {
  const auto image = monochromeImage(2, 2).overlayBits(0x6000, 15, {{0, 2}});

  EXPECT_THROW((void)image.build(), std::out_of_range);
}

}  // namespace
