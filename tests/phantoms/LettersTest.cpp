// SPDX-License-Identifier: BSD-3-Clause
// Labels that are burned into images.
#include "phantoms/Letters.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace {

/// The label as rows of text: '#' where a pixel is marked.
std::vector<std::string> drawn(const std::string& label, int columns, int rows, int scale) {
  std::vector<std::string> picture(static_cast<std::size_t>(rows),
                                   std::string(static_cast<std::size_t>(columns), '.'));
  phantoms::drawLabel(label, 0, 0, scale, [&picture](int column, int row) {
    picture.at(static_cast<std::size_t>(row)).at(static_cast<std::size_t>(column)) = '#';
  });
  return picture;
}

TEST(Label, DrawsLettersOfFiveBySevenDots) {
  const std::vector<std::string> wanted = {"#####", "#....", "#....", "####.",
                                           "#....", "#....", "#...."};

  EXPECT_EQ(drawn("F", 5, 7, 1), wanted);
}

TEST(Label, LeavesAColumnBetweenLettersAndAGapForOthers) {
  const std::vector<std::string> dashes = drawn("-?-", 17, 7, 1);

  EXPECT_EQ(dashes.at(3), "#####.......#####");
}

TEST(Label, DrawsEachDotAsLargeAsTheScale) {
  const std::vector<std::string> dash = drawn("-", 10, 14, 2);

  EXPECT_EQ(dash.at(5), "..........");
  EXPECT_EQ(dash.at(6), "##########");
  EXPECT_EQ(dash.at(7), "##########");
  EXPECT_EQ(dash.at(8), "..........");
}

}  // namespace
