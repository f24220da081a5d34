// SPDX-License-Identifier: BSD-3-Clause
#include "support/RowName.h"

#include <ktlib/KtString.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstdarg>
#include <sstream>
#include <string>

namespace {
__attribute__((format(printf, 1, 2))) KtString throughList(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  KtString text = KtString::vprintf(format, arguments);
  va_end(arguments);
  return text;
}
}  // namespace

TEST(KtString, BeginsEmpty) {
  const KtString text;

  EXPECT_TRUE(text.empty());
  EXPECT_EQ(text.length(), 0U);
  EXPECT_STREQ(text.c_str(), "");
}

TEST(KtString, CopiesTexts) {
  EXPECT_STREQ(KtString("abc").c_str(), "abc");
  EXPECT_EQ(KtString(std::string("abc")).str(), "abc");
  EXPECT_EQ(KtString("abc").length(), 3U);
  EXPECT_FALSE(KtString("abc").empty());
}

TEST(KtString, IsEmptyForANullPointer) {
  const char* const nothing = nullptr;

  EXPECT_TRUE(KtString(nothing).empty());
}

TEST(KtString, KeepsNulBytesOfAString) {
  const KtString text(std::string("a\0b", 3));

  EXPECT_EQ(text.length(), 3U);
  EXPECT_EQ(text[2], 'b');
}

TEST(KtString, GivesAndChangesBytes) {
  KtString text("abc");

  text[1] = 'X';

  EXPECT_EQ(text, "aXc");
  const KtString& constant = text;
  EXPECT_EQ(constant[0], 'a');
  EXPECT_EQ(constant[3], '\0');
}

TEST(KtString, JoinsTexts) {
  const KtString text("b");

  EXPECT_EQ(text + text, "bb");
  EXPECT_EQ("a" + text, "ab");
  EXPECT_EQ(text + "c", "bc");
  EXPECT_EQ(text + std::string("c"), "bc");
  EXPECT_EQ(std::string("a") + text, "ab");
}

TEST(KtString, AddsTexts) {
  KtString text("a");

  text += "b";
  text += std::string("c");
  text += KtString("d");
  text += text;

  EXPECT_EQ(text, "abcdabcd");
}

TEST(KtString, ComparesTexts) {
  const KtString text("abc");

  EXPECT_TRUE(text == KtString("abc"));
  EXPECT_TRUE(text == "abc");
  EXPECT_TRUE("abc" == text);
  EXPECT_TRUE(text == std::string("abc"));
  EXPECT_TRUE(text != "abd");
  EXPECT_TRUE(text != "ab");
  EXPECT_FALSE(text != "abc");
}

TEST(KtString, OrdersTexts) {
  EXPECT_TRUE(KtString("abc") < KtString("abd"));
  EXPECT_TRUE(KtString("ab") < KtString("abc"));
  EXPECT_TRUE(KtString("") < KtString("a"));
  EXPECT_TRUE(KtString("a") < KtString("\xE4"));
  EXPECT_FALSE(KtString("abc") < KtString("abc"));
  EXPECT_FALSE(KtString("b") < KtString("abc"));
}

TEST(KtString, GoesToStreams) {
  std::ostringstream stream;

  stream << KtString("a") << KtString(std::string("\0b", 2));

  EXPECT_EQ(stream.str(), std::string("a\0b", 3));
}

struct Range {
  const char* name;
  const char* text;
  long long first;
  long long last;
  const char* expected;
};
class KtStringSubstr : public testing::TestWithParam<Range> {};

TEST_P(KtStringSubstr, IncludesBothEnds) {
  EXPECT_EQ(KtString(GetParam().text).substr(GetParam().first, GetParam().last),
            GetParam().expected);
}
INSTANTIATE_TEST_SUITE_P(Ranges, KtStringSubstr,
                         testing::Values(Range{"FirstFive", "G0002-0010", 0, 4, "G0002"},
                                         Range{"Middle", "abcde", 1, 3, "bcd"},
                                         Range{"One", "abcde", 2, 2, "c"},
                                         Range{"Whole", "abcde", 0, 4, "abcde"},
                                         Range{"BeyondTheEnd", "abc", 1, 100, "bc"},
                                         Range{"FarBeyondTheEnd", "abc", 1, LLONG_MAX, "bc"},
                                         Range{"BeforeTheBegin", "abc", -5, 1, "ab"},
                                         Range{"FarOutside", "abc", LLONG_MIN, LLONG_MAX, "abc"},
                                         Range{"BehindTheEnd", "abc", 3, 5, ""},
                                         Range{"InFrontOfTheBegin", "abc", -5, -1, ""},
                                         Range{"EndsExchanged", "abc", 2, 1, ""},
                                         Range{"OfEmptyText", "", 0, 4, ""}),
                         support::nameOf<Range>);

TEST(KtStringPrintf, FormatsAsPrintfDoes) {
  EXPECT_EQ(KtString::printf("G%04x-%04x", 0x8U, 0x16U), "G0008-0016");
  EXPECT_EQ(KtString::printf("%s %d%% %.2f", "at", 50, 0.125), "at 50% 0.12");
  EXPECT_EQ(KtString::printf("%s", ""), "");
}

TEST(KtStringPrintf, HasNoLimitOfLength) {
  const std::string text(1000000, 'x');

  EXPECT_EQ(KtString::printf("<%s>", text.c_str()), "<" + text + ">");
}

TEST(KtStringPrintf, KeepsTextFromOutsideAsItIs) {
  EXPECT_EQ(KtString::printf("%s", "%s%n%d"), "%s%n%d");
}

TEST(KtStringPrintf, KeepsNulBytes) {
  const KtString text = KtString::printf("a%cb", 0);

  EXPECT_EQ(text.str(), std::string("a\0b", 3));
}

TEST(KtStringPrintf, IsEmptyForANullFormat) {
  // Through a variable, or the compiler would find the null pointer.
  const char* volatile nothing = nullptr;
  const char* const format = nothing;

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
  EXPECT_TRUE(KtString::printf(format).empty());
#pragma GCC diagnostic pop
}

TEST(KtStringPrintf, IsEmptyWhenAConversionFails) {
  // No locale was set, so "C" holds, which knows no such character.
  const wchar_t text[] = {static_cast<wchar_t>(0x4E2D), L'\0'};

  EXPECT_TRUE(KtString::printf("%ls", text).empty());
}

TEST(KtStringPrintf, TakesAnArgumentList) {
  EXPECT_EQ(throughList("%d-%s", 7, "x"), "7-x");
}
