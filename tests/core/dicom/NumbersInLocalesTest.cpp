// SPDX-License-Identifier: BSD-3-Clause
// What the library answers does not depend on the locale that the host application has set, nor on
// when it sets one: each subject that reads decimals, under a locale with a decimal comma.
#include "support/CommaLocale.h"
#include "support/ImageBuilder.h"

#include <zrdcmexport/ExDCM.h>
#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using support::CommaLocale;
using support::DatasetBuilder;
using support::monochromeImage;

Zrg::SliceImage decoded() {
  const auto dataset = monochromeImage(2, 2)
                           .rescale("1.5", "-1024.25")
                           .window("40.5", "400.75")
                           .spacing("0.683594", "0.75")
                           .build();
  Zrg::SliceImage slice;
  std::string errorText;
  EXPECT_TRUE(slice.process(*dataset, errorText, -1, -1, nullptr, 0)) << errorText;
  return slice;
}

void expectItsNumbers(const Zrg::SliceImage& slice) {
  EXPECT_EQ(slice.rescale.x, 1.5F);
  EXPECT_EQ(slice.rescale.y, -1024.25F);
  EXPECT_EQ(slice.voiWindow.x, 40.5F);
  EXPECT_EQ(slice.voiWindow.y, 400.75F);
  EXPECT_EQ(slice.pixelSpacing.x, 0.75F);
  EXPECT_EQ(slice.pixelSpacing.y, 0.683594F);
}

TEST(NumbersUnderADecimalComma, OfASliceAreThoseOfTheFile) {
  const CommaLocale comma;

  expectItsNumbers(decoded());
}

TEST(NumbersUnderADecimalComma, OfASliceStayWhenTheLocaleChangesInBetween) {
  CommaLocale comma;
  comma.leave();
  expectItsNumbers(decoded());
  comma.enter();
  expectItsNumbers(decoded());
  comma.leave();
  expectItsNumbers(decoded());
}

TEST(NumbersUnderADecimalComma, OfAPlainItemAreThoseOfTheItem) {
  const auto item = monochromeImage(2, 2).rescale("0.5", "0.125").buildItem();
  const CommaLocale comma;
  Zrg::SliceImage slice;
  std::string errorText;

  ASSERT_TRUE(slice.process(*item, errorText, 0, 0, nullptr, 0)) << errorText;

  EXPECT_EQ(slice.rescale.x, 0.5F);
  EXPECT_EQ(slice.rescale.y, 0.125F);
}

bool splits(support::ImageBuilder image, bool& reversed) {
  const auto dataset = image.build();
  Zrg::MultiFrameImage volumes(true);
  std::string errorText;
  const bool done = volumes.process(*dataset, errorText, true);
  reversed = volumes.isReversed();
  return done;
}

// 0 is no spacing, so that the dataset would be refused.
TEST(NumbersUnderADecimalComma, SplitFramesOfASpacingBelowOne) {
  const CommaLocale comma;
  bool reversed = false;

  EXPECT_TRUE(splits(monochromeImage(2, 2)
                         .frames(3)
                         .frameIncrementPointer("(0018,1063)")
                         .with(DCM_SpacingBetweenSlices, "-0.5"),
                     reversed));

  EXPECT_TRUE(reversed);
}

TEST(NumbersUnderADecimalComma, SplitFramesOfAGridOfFractions) {
  const CommaLocale comma;
  bool reversed = true;

  EXPECT_TRUE(splits(monochromeImage(2, 2)
                         .frames(3)
                         .frameIncrementPointer("(3004,000c)")
                         .with(DCM_GridFrameOffsetVector, "0.25\\0.5\\0.75"),
                     reversed));

  EXPECT_FALSE(reversed);
}

// The second dataset has the lower instance number, which decides where the decimals do not.
int compareDecimals(const DcmTagKey& key, const char* first, const char* second, bool byRpeakDelay,
                    bool byEchoTime, bool byCardiacPhase) {
  const auto dataset = [&key](const char* number, const char* instance) {
    return DatasetBuilder()
        .with(DCM_SeriesInstanceUID, "1.2")
        .with(DCM_InstanceNumber, instance)
        .with(key, EVR_DS, number)
        .build();
  };
  const auto a = dataset(first, "2");
  const auto b = dataset(second, "1");
  return ExDCM::compare(a.get(), b.get(), false, false, byRpeakDelay, byEchoTime, false,
                        byCardiacPhase);
}

TEST(NumbersUnderADecimalComma, OrderASeriesByTheirFractions) {
  const DcmTagKey rpeakDelay(0x0045, 0x1033);
  const DcmTagKey cardiacPhase(0x7005, 0x1005);
  const CommaLocale comma;

  EXPECT_LT(compareDecimals(DCM_SliceThickness, "1.25", "1.75", false, false, false), 0);
  EXPECT_LT(compareDecimals(DCM_EchoTime, "1.25", "1.75", false, true, false), 0);
  EXPECT_LT(compareDecimals(rpeakDelay, "1.25", "1.75", true, false, false), 0);
  EXPECT_LT(compareDecimals(cardiacPhase, "1.25", "1.75", false, false, true), 0);
}

TEST(NumbersUnderADecimalComma, AreWrittenWithAPoint) {
  DcmOtherByteOtherWord element(DcmTag(0x0009, 0x1001, EVR_OW));
  const std::vector<Uint16> words = {0x0000, 0x3fc0};  // 1.5 in single precision
  ASSERT_TRUE(element.putUint16Array(words.data(), words.size()).good());
  const CommaLocale comma;
  std::string text;

  EXPECT_TRUE(ExDCM::getOFStringFromOBOW(&element, 2, text));

  EXPECT_EQ(text, "1.5");
}

}  // namespace
