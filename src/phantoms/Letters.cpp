// SPDX-License-Identifier: BSD-3-Clause
// Burned-in labels. A letter is seven rows of five dots, the leftmost in bit 4; a blank and
// whatever has no rows here leaves a gap as wide as a letter.
#include "Letters.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>

namespace phantoms {

namespace {

constexpr int kDotColumns = 5;
constexpr int kDotRows = 7;
constexpr int kLetterAdvance = kDotColumns + 1;

using DotRows = std::array<std::uint8_t, kDotRows>;

const std::map<char, DotRows>& letters() {
  static const std::map<char, DotRows> kLetters = {
      {'0', {14, 17, 19, 21, 25, 17, 14}}, {'1', {4, 12, 4, 4, 4, 4, 14}},
      {'2', {14, 17, 1, 2, 4, 8, 31}},     {'3', {31, 2, 4, 2, 1, 17, 14}},
      {'4', {2, 6, 10, 18, 31, 2, 2}},     {'5', {31, 16, 30, 1, 1, 17, 14}},
      {'6', {6, 8, 16, 30, 17, 17, 14}},   {'7', {31, 1, 2, 4, 8, 8, 8}},
      {'8', {14, 17, 17, 14, 17, 17, 14}}, {'9', {14, 17, 17, 15, 1, 2, 12}},
      {'A', {14, 17, 17, 31, 17, 17, 17}}, {'C', {14, 17, 16, 16, 16, 17, 14}},
      {'E', {31, 16, 16, 30, 16, 16, 31}}, {'F', {31, 16, 16, 30, 16, 16, 16}},
      {'I', {14, 4, 4, 4, 4, 4, 14}},      {'L', {16, 16, 16, 16, 16, 16, 31}},
      {'M', {17, 27, 21, 21, 17, 17, 17}}, {'N', {17, 17, 25, 21, 19, 17, 17}},
      {'O', {14, 17, 17, 17, 17, 17, 14}}, {'R', {30, 17, 17, 30, 20, 18, 17}},
      {'S', {15, 16, 16, 14, 1, 1, 30}},   {'-', {0, 0, 0, 31, 0, 0, 0}},
      {'/', {0, 1, 2, 4, 8, 16, 0}}};
  return kLetters;
}

bool hasDot(const DotRows& rows, int column, int row) {
  return ((rows.at(static_cast<std::size_t>(row)) >> (kDotColumns - 1 - column)) & 1) != 0;
}

}  // namespace

void drawLabel(std::string_view label, int column, int row, int scale,
               const std::function<void(int column, int row)>& mark) {
  for (const char letter : label) {
    const auto found = letters().find(letter);
    for (int y = 0; found != letters().end() && y < kDotRows * scale; ++y) {
      for (int x = 0; x < kDotColumns * scale; ++x) {
        if (hasDot(found->second, x / scale, y / scale)) {
          mark(column + x, row + y);
        }
      }
    }
    column += kLetterAdvance * scale;
  }
}

}  // namespace phantoms
