// SPDX-License-Identifier: BSD-3-Clause

#include "platform/zrvolren/AllocationWatch.h"
#include "support/DatasetBuilder.h"
#include "support/RowName.h"

#include <zrvolren/ExDicomUtilitiesHelpers.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <locale>
#include <sstream>
#include <string>
#include <vector>

namespace {

using support::DatasetBuilder;

std::vector<float> floatsOf(const std::string& text, unsigned long count = 1) {
  const KtDArray<float> values = ExDicomUtilities::stringToFloats(text, count);
  return {values.begin(), values.end()};
}

// ---- decimal strings

struct Numbers {
  const char* name;
  const char* text;
  std::vector<float> values;
};
class NumbersInText : public testing::TestWithParam<Numbers> {};

TEST_P(NumbersInText, AreRead) {
  EXPECT_EQ(floatsOf(GetParam().text), GetParam().values);
}

INSTANTIATE_TEST_SUITE_P(
    Good, NumbersInText,
    testing::Values(Numbers{"Whole", "3", {3.0F}}, Numbers{"Negative", "-4", {-4.0F}},
                    Numbers{"Plus", "+5", {5.0F}}, Numbers{"PointFirst", "-.5", {-0.5F}},
                    Numbers{"PlusPointFirst", "+.25", {0.25F}}, Numbers{"PointLast", "5.", {5.0F}},
                    Numbers{"Exponent", "1e3", {1000.0F}},
                    Numbers{"SignedExponent", "25E-1", {2.5F}},
                    Numbers{"PlusExponent", "1.5e+2", {150.0F}}, Numbers{"Zeros", "007", {7.0F}},
                    Numbers{"NegativeZero", "-0", {0.0F}},
                    Numbers{"LargestFloat", "3.4028234e38", {3.4028234e38F}},
                    Numbers{"TooSmallForFloat", "1e-60", {0.0F}},
                    Numbers{"Several", "0\\2.5\\-5", {0.0F, 2.5F, -5.0F}},
                    Numbers{"Blanks", " 1 \\2  \\  3", {1.0F, 2.0F, 3.0F}}),
    support::nameOf<Numbers>);
INSTANTIATE_TEST_SUITE_P(
    Bad, NumbersInText,
    testing::Values(Numbers{"NoText", "", {}}, Numbers{"BlanksAlone", "  ", {}},
                    Numbers{"Word", "one", {}}, Numbers{"WordAmongNumbers", "1\\two\\3", {}},
                    Numbers{"LettersBehind", "1mm", {}}, Numbers{"NumberBehind", "1 2", {}},
                    Numbers{"EmptyFirst", "\\1", {}}, Numbers{"EmptyInside", "1\\\\2", {}},
                    Numbers{"EmptyLast", "1\\2\\", {}}, Numbers{"SeparatorAlone", "\\", {}},
                    Numbers{"BlankValue", "1\\ \\2", {}}, Numbers{"NotANumber", "nan", {}},
                    Numbers{"Infinity", "inf", {}}, Numbers{"NegativeInfinity", "-INFINITY", {}},
                    Numbers{"Hexadecimal", "0x10", {}}, Numbers{"DecimalComma", "1,5", {}},
                    Numbers{"SignAlone", "-", {}}, Numbers{"TwoSigns", "+-1", {}},
                    Numbers{"TwoPluses", "++1", {}}, Numbers{"PointAlone", ".", {}},
                    Numbers{"ExponentAlone", "e5", {}}, Numbers{"OpenExponent", "1e", {}},
                    Numbers{"TwoPoints", "1.2.3", {}}, Numbers{"BeyondFloat", "1e39", {}},
                    Numbers{"BeyondDouble", "1e999", {}}, Numbers{"Tabulator", "\t1", {}},
                    Numbers{"Newline", "1\n", {}}),
    support::nameOf<Numbers>);

TEST(StringToFloats, ReadsEveryValueWhateverTheCount) {
  for (const unsigned long count : {0UL, 1UL, 3UL, 100UL, ULONG_MAX}) {
    EXPECT_EQ(floatsOf("1\\2\\3", count), (std::vector<float>{1.0F, 2.0F, 3.0F})) << count;
  }
}

TEST(StringToFloats, AllocatesNothingForAHugeCount) {
  const std::string text = "1\\2\\3";
  const AllocationWatch watch;

  const auto values = ExDicomUtilities::stringToFloats(text, ULONG_MAX);

  EXPECT_LE(watch.largestBytes(), 64U);
  EXPECT_EQ(values.size(), 3U);
}

TEST(StringToFloats, TakesANulInsideForNoNumber) {
  EXPECT_TRUE(floatsOf(std::string("1\0\\2", 4)).empty());
}

TEST(StringToFloats, ReadsManyValues) {
  std::ostringstream text;
  for (int i = 0; i < 5000; ++i) {
    text << (i > 0 ? "\\" : "") << i * 2;
  }

  const std::vector<float> values = floatsOf(text.str(), 5000);

  ASSERT_EQ(values.size(), 5000U);
  EXPECT_EQ(values[4999], 9998.0F);
}

// Numbers as German text has them, for whoever reads through C++ streams.
class DecimalComma : public std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
};

TEST(StringToFloats, DoesNotDependOnTheLocale) {
  const std::locale before = std::locale::global(std::locale(std::locale(), new DecimalComma));
  // The same for whoever reads through C functions, where such a locale is installed.
  (void)std::setlocale(LC_NUMERIC, "de_DE.UTF-8");

  const std::vector<float> withPoint = floatsOf("1.5");
  const std::vector<float> withComma = floatsOf("1,5");
  std::locale::global(before);
  (void)std::setlocale(LC_NUMERIC, "C");

  EXPECT_EQ(withPoint, std::vector<float>{1.5F});
  EXPECT_TRUE(withComma.empty());
}

// ---- photometric interpretation

bool read(DcmItem* item, KtString& value) {
  return ExDicomUtilities::getAndFixPhotometricInterpretation(item, EXS_LittleEndianExplicit,
                                                              value);
}

struct Spelling {
  const char* name;
  const char* stored;
  const char* read;
};
class PhotometricInterpretation : public testing::TestWithParam<Spelling> {};

TEST_P(PhotometricInterpretation, IsSpelledAsTheStandardHasIt) {
  const auto dataset =
      DatasetBuilder().with(DCM_PhotometricInterpretation, GetParam().stored).build();
  KtString value;

  EXPECT_TRUE(read(dataset.get(), value));

  EXPECT_EQ(value.str(), GetParam().read);
}

TEST_P(PhotometricInterpretation, StaysAsItIsInTheItem) {
  const auto builder = DatasetBuilder().with(DCM_PhotometricInterpretation, GetParam().stored);
  const auto dataset = builder.build();
  KtString value;

  (void)read(dataset.get(), value);

  EXPECT_EQ(dataset->compare(*builder.build()), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Spellings, PhotometricInterpretation,
    testing::Values(Spelling{"Monochrome1", "MONOCHROME1", "MONOCHROME1"},
                    Spelling{"Monochrome2", "MONOCHROME2", "MONOCHROME2"},
                    Spelling{"Rgb", "RGB", "RGB"}, Spelling{"YbrFull", "YBR_FULL", "YBR_FULL"},
                    Spelling{"YbrFull422", "YBR_FULL_422", "YBR_FULL_422"},
                    Spelling{"YbrPartial422", "YBR_PARTIAL_422", "YBR_PARTIAL_422"},
                    Spelling{"YbrIct", "YBR_ICT", "YBR_ICT"},
                    Spelling{"PaletteColor", "PALETTE COLOR", "PALETTE COLOR"},
                    Spelling{"BlanksAround", "  MONOCHROME2 ", "MONOCHROME2"},
                    Spelling{"LowerCase", "monochrome1", "MONOCHROME1"},
                    Spelling{"FirstOfTwoValues", "RGB \\YBR_FULL", "RGB"},
                    Spelling{"PaletteUnderscore", "PALETTE_COLOR", "PALETTE COLOR"},
                    Spelling{"PaletteOneWord", "PALETTECOLOR", "PALETTE COLOR"},
                    Spelling{"PaletteTwoBlanks", "PALETTE  COLOR", "PALETTE COLOR"},
                    Spelling{"PaletteBritish", "PALETTE COLOUR", "PALETTE COLOR"},
                    Spelling{"PaletteMixed", "Palette-Colour", "PALETTE COLOR"},
                    Spelling{"Ybr422Blanks", "YBR FULL 422", "YBR_FULL_422"},
                    Spelling{"Ybr422OneWord", "YBRFULL422", "YBR_FULL_422"},
                    Spelling{"Ybr422OneBlank", "ybr_full 422", "YBR_FULL_422"},
                    Spelling{"PaletteAlone", "PALETTE", "PALETTE"},
                    Spelling{"Unknown", "XYZ 1", "XYZ 1"}),
    support::nameOf<Spelling>);

TEST(MissingPhotometricInterpretation, IsThatOfNoItem) {
  KtString value("before");

  EXPECT_FALSE(read(nullptr, value));

  EXPECT_TRUE(value.empty());
}

TEST(MissingPhotometricInterpretation, IsThatOfAnItemWithoutTheElement) {
  const auto dataset = DatasetBuilder().with(DCM_PatientID, "RGB").build();
  KtString value("before");

  EXPECT_FALSE(read(dataset.get(), value));

  EXPECT_TRUE(value.empty());
}

TEST(MissingPhotometricInterpretation, IsAnEmptyOneOrOneOfBlanks) {
  for (const char* stored : {"", " ", "   ", " \\RGB"}) {
    const auto dataset = DatasetBuilder().with(DCM_PhotometricInterpretation, stored).build();
    KtString value("before");

    EXPECT_FALSE(read(dataset.get(), value)) << "'" << stored << "'";
    EXPECT_TRUE(value.empty());
  }
}

TEST(MissingPhotometricInterpretation, IsOneThatIsNoText) {
  const auto dataset = DatasetBuilder()
                           .withBytes(DCM_PhotometricInterpretation, {'R', 'G', 'B', ' '}, EVR_UN)
                           .build();
  KtString value("before");

  EXPECT_FALSE(read(dataset.get(), value));
  EXPECT_TRUE(value.empty());
}

TEST(MissingPhotometricInterpretation, IsOneThatStandsInASequenceOnly) {
  const auto dataset = DatasetBuilder()
                           .withItem(DCM_IconImageSequence,
                                     DatasetBuilder().with(DCM_PhotometricInterpretation, "RGB"))
                           .build();
  KtString value;

  EXPECT_FALSE(read(dataset.get(), value));
}

}  // namespace
