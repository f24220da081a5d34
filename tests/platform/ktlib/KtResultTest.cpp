// SPDX-License-Identifier: BSD-3-Clause
#include <ktlib/KtResult.h>

#include <gtest/gtest.h>

#include <string>

TEST(KtResult, IsGoodAtFirst) {
  const KtResult result;

  EXPECT_TRUE(result.isOk());
  EXPECT_FALSE(result.isBad());
  EXPECT_EQ(result.code(), 0);
  EXPECT_EQ(result.line(), 0);
  EXPECT_EQ(result.source(), "");
  EXPECT_EQ(result.message(), "");
  EXPECT_EQ(result.condition(), "");
}

TEST(KtResult, KeepsAllItsFacts) {
  const KtResult result(2, 81, "File.cpp:read", "Internal Error", "cond[entries!=0]");

  EXPECT_TRUE(result.isBad());
  EXPECT_FALSE(result.isOk());
  EXPECT_EQ(result.code(), 2);
  EXPECT_EQ(result.line(), 81);
  EXPECT_EQ(result.source(), "File.cpp:read");
  EXPECT_EQ(result.message(), "Internal Error");
  EXPECT_EQ(result.condition(), "cond[entries!=0]");
}

TEST(KtResult, OutlivesTheTextsItWasMadeOf) {
  std::string text = "a text that is long enough to stand in memory of its own";
  const KtResult result(1, 1, text.c_str(), text.c_str(), text.c_str());
  const std::string before = text;

  text.assign(text.size(), '#');

  EXPECT_EQ(result.message(), before);
}

TEST(KtResult, TakesNullTextsAsEmpty) {
  const KtResult result(3, 0, nullptr, nullptr, nullptr);

  EXPECT_EQ(result.source(), "");
  EXPECT_EQ(result.message(), "");
  EXPECT_EQ(result.condition(), "");
}

TEST(KtResult, IsGoodForCodeZeroWhateverTheTexts) {
  EXPECT_TRUE(KtResult(0, 5, "source", "message", "condition").isOk());
}

TEST(KtResult, IsBadForNegativeCodes) {
  EXPECT_TRUE(KtResult(-1, 0, "", "", "").isBad());
}

TEST(KtResult, MakesABadResultOfACodeAlone) {
  const KtResult result = KtResult::makeBad(1);

  EXPECT_TRUE(result.isBad());
  EXPECT_EQ(result.code(), 1);
  EXPECT_EQ(result.line(), 0);
  EXPECT_EQ(result.message(), "");
}

TEST(KtResult, MakesABadResultEvenOfTheGoodCode) {
  EXPECT_TRUE(KtResult::makeBad(0).isBad());
  EXPECT_EQ(KtResult::makeBad(0).code(), -1);
}
