// SPDX-License-Identifier: BSD-3-Clause
#include "support/RowName.h"

#include <ktlib/KtStdStringTokenizer.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

struct Text {
  const char* name;
  std::string text;
  std::string delimiters;
  std::vector<std::string> tokens;
};
class KtStdStringTokenizerOf : public testing::TestWithParam<Text> {};

TEST_P(KtStdStringTokenizerOf, GivesEveryTokenInOrder) {
  KtStdStringTokenizer tokenizer(GetParam().text, GetParam().delimiters);

  std::vector<std::string> tokens;
  while (tokenizer.hasMoreTokens()) {
    tokens.push_back(tokenizer.nextToken());
  }

  EXPECT_EQ(tokens, GetParam().tokens);
}
INSTANTIATE_TEST_SUITE_P(
    Texts, KtStdStringTokenizerOf,
    testing::Values(Text{"Backslashes", "1\\2\\30", "\\", {"1", "2", "30"}},
                    Text{"SeveralDelimiters", "1 2\\3", " \\", {"1", "2", "3"}},
                    Text{"EmptyPieces", "1\\\\2 \\3", " \\", {"1", "2", "3"}},
                    Text{"DelimitersAround", "\\\\1\\2\\", "\\", {"1", "2"}},
                    Text{"NoDelimiterInside", "word", "\\", {"word"}},
                    Text{"OnlyDelimiters", " \\ \\", " \\", {}}, Text{"Empty", "", "\\", {}},
                    Text{"WithoutDelimiters", "a b", "", {"a b"}},
                    Text{"EmptyWithoutDelimiters", "", "", {}},
                    Text{"NulInside", std::string("a\0b c", 5), " ", {std::string("a\0b", 3), "c"}},
                    Text{
                        "NulAsDelimiter", std::string("a\0b", 3), std::string(1, '\0'), {"a", "b"}},
                    Text{"HighBytes", "\xE4\\\xF6", "\\", {"\xE4", "\xF6"}}),
    support::nameOf<Text>);

TEST(KtStdStringTokenizer, GivesEmptyTextAtTheEnd) {
  KtStdStringTokenizer tokenizer("1", "\\");

  EXPECT_EQ(tokenizer.nextToken(), "1");
  EXPECT_FALSE(tokenizer.hasMoreTokens());
  EXPECT_EQ(tokenizer.nextToken(), "");
  EXPECT_EQ(tokenizer.nextToken(), "");
}

TEST(KtStdStringTokenizer, AsksWithoutMovingOn) {
  KtStdStringTokenizer tokenizer("1\\2", "\\");

  EXPECT_TRUE(tokenizer.hasMoreTokens());
  EXPECT_TRUE(tokenizer.hasMoreTokens());

  EXPECT_EQ(tokenizer.nextToken(), "1");
}

TEST(KtStdStringTokenizer, KeepsATextOfItsOwn) {
  std::string text = "a long text that stands in memory of its own\\rest";
  KtStdStringTokenizer tokenizer(text, "\\");

  text.assign(text.size(), '#');

  EXPECT_EQ(tokenizer.nextToken(), "a long text that stands in memory of its own");
  EXPECT_EQ(tokenizer.nextToken(), "rest");
}
