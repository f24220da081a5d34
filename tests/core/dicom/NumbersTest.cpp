// SPDX-License-Identifier: BSD-3-Clause
// Numbers in text values: what the readers take for a number, held against the C library's
// functions in the "C" locale, and that a locale changes nothing.
#include "support/CommaLocale.h"
#include "support/RowName.h"

#include <zrdcmexport/ZrNumbers.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace {

// NaN is one value here, and 0 differs from -0.
template <class Number>
bool isSame(std::optional<Number> a, std::optional<Number> b) {
  if (!a || !b) {
    return a.has_value() == b.has_value();
  }
  if (std::isnan(*a) || std::isnan(*b)) {
    return std::isnan(*a) && std::isnan(*b);
  }
  return !(*a < *b) && !(*b < *a) && std::signbit(*a) == std::signbit(*b);
}

struct Text {
  const char* name;
  const char* text;
  std::optional<int> asInt;
  std::optional<float> asFloat;
  std::optional<double> asDouble;
};

const float kInfinity = HUGE_VALF;

const Text kTexts[] = {
    {"Decimal", "0.75", 0, 0.75F, 0.75},
    {"Integer", "42", 42, 42.0F, 42.0},
    {"Padded", " 3 ", 3, 3.0F, 3.0},
    {"Negative", "-2.5", -2, -2.5F, -2.5},
    {"Plus", "+7", 7, 7.0F, 7.0},
    {"PlusMinus", "+-7", {}, {}, {}},
    {"Exponent", "1.5e3", 1, 1500.0F, 1500.0},
    {"ExponentWithoutDigits", "1.5e", 1, 1.5F, 1.5},
    {"ExponentOfASignAlone", "2e+", 2, 2.0F, 2.0},
    {"LettersBehind", "12abc", 12, 12.0F, 12.0},
    {"DecimalComma", "0,75", 0, 0.0F, 0.0},
    {"GroupedDigits", "1.234,5", 1, 1.234F, 1.234},
    {"SeveralValues", "1.5\\2.5", 1, 1.5F, 1.5},
    {"NoDigitsBeforeThePoint", ".5", {}, 0.5F, 0.5},
    {"PointAlone", ".", {}, {}, {}},
    {"SignAlone", "-", {}, {}, {}},
    {"Empty", "", {}, {}, {}},
    {"Blanks", "  ", {}, {}, {}},
    {"Words", "many", {}, {}, {}},
    {"Tab", "\t9", 9, 9.0F, 9.0},
    {"Infinite", "inf", {}, kInfinity, HUGE_VAL},
    {"InfinityCutShort", "infi", {}, {}, HUGE_VAL},
    {"HexadecimalWithoutDigits", "0x", 0, {}, 0.0},
    {"NotANumber", "nan", {}, std::nanf(""), std::nan("")},
    {"Hexadecimal", "0x10", 0, 16.0F, 16.0},
    {"TooLargeForFloat", "1e39", 1, kInfinity, 1e39},
    {"TooSmallForFloat", "1e-50", 1, 0.0F, 1e-50},
    {"BeyondInt", "4294967298", 2, 4294967296.0F, 4294967298.0},
    {"BeyondLong", "99999999999999999999", -1, 1e20F, 99999999999999999999.0},
    {"BelowLong", "-99999999999999999999", 0, -1e20F, -99999999999999999999.0},
};

class NumberOf : public testing::TestWithParam<Text> {};

TEST_P(NumberOf, TextIsReadAsFarAsItGoes) {
  EXPECT_EQ(Zrg::intOf(GetParam().text), GetParam().asInt);
  EXPECT_TRUE(isSame(Zrg::floatOf(GetParam().text), GetParam().asFloat));
  EXPECT_TRUE(isSame(Zrg::doubleOf(GetParam().text), GetParam().asDouble));
}

INSTANTIATE_TEST_SUITE_P(Texts, NumberOf, testing::ValuesIn(kTexts), support::nameOf<Text>);

TEST(Numbers, AreTheSameUnderADecimalComma) {
  const support::CommaLocale comma;

  for (const Text& row : kTexts) {
    EXPECT_EQ(Zrg::intOf(row.text), row.asInt) << row.name;
    EXPECT_TRUE(isSame(Zrg::floatOf(row.text), row.asFloat)) << row.name;
    EXPECT_TRUE(isSame(Zrg::doubleOf(row.text), row.asDouble)) << row.name;
  }
}

TEST(Numbers, EndAtAZeroByte) {
  const std::string text(
      "1\0"
      "2",
      3);

  EXPECT_EQ(Zrg::intOf(text), 1);
  EXPECT_EQ(Zrg::floatOf(text), 1.0F);
  EXPECT_EQ(Zrg::doubleOf(text), 1.0);
}

TEST(Numbers, LeaveTheLocaleAsItIs) {
  const support::CommaLocale comma;

  (void)Zrg::floatOf("0.75");

  EXPECT_EQ(std::atof("0,75"), 0.75);
}

// Texts of the characters that numbers are made of, in any order.
std::string randomText(std::mt19937& random) {
  constexpr char kCharacters[] = "0123456789012345.,+-eExXpPinfnaINF \t\\";
  std::uniform_int_distribution<std::size_t> character(0, sizeof kCharacters - 2);
  std::uniform_int_distribution<std::size_t> length(0, 12);
  std::string text(length(random), ' ');
  for (char& c : text) {
    c = kCharacters[character(random)];
  }
  return text;
}

struct Answers {
  std::string text;
  int asInt = 0;
  std::optional<float> asFloat;
  double asDouble = 0;
};

// What the C library's functions say, in the locale that is set.
Answers answersOfTheCLibrary(const std::string& text) {
  float number = 0;
  const bool isNumber = std::sscanf(text.c_str(), "%f", &number) == 1;
  return {text, std::atoi(text.c_str()), isNumber ? std::optional(number) : std::nullopt,
          std::atof(text.c_str())};
}

TEST(Numbers, AgreeWithTheCLibraryOnAnyText) {
  std::mt19937 random(20261121);
  std::vector<Answers> answers;
  for (int i = 0; i < 200000; ++i) {
    answers.push_back(answersOfTheCLibrary(randomText(random)));
  }

  const support::CommaLocale comma;
  for (const Answers& expected : answers) {
    ASSERT_EQ(Zrg::intOf(expected.text).value_or(0), expected.asInt) << expected.text;
    ASSERT_TRUE(isSame(Zrg::floatOf(expected.text), expected.asFloat)) << expected.text;
    ASSERT_TRUE(isSame(std::optional(Zrg::doubleOf(expected.text).value_or(0)),
                       std::optional(expected.asDouble)))
        << expected.text;
  }
}

}  // namespace
