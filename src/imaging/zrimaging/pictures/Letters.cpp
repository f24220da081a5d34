// SPDX-License-Identifier: BSD-3-Clause
#include "zrimaging/pictures/Letters.h"

#include <algorithm>
#include <iterator>

namespace zr {

namespace {

struct Glyph {
  char letter;
  unsigned char rows[7];  // five dots a row, the leftmost is bit 4
};

constexpr Glyph kGlyphs[] = {
    {'0', {14, 17, 19, 21, 25, 17, 14}}, {'1', {4, 12, 4, 4, 4, 4, 14}},
    {'2', {14, 17, 1, 2, 4, 8, 31}},     {'3', {31, 2, 4, 2, 1, 17, 14}},
    {'4', {2, 6, 10, 18, 31, 2, 2}},     {'5', {31, 16, 30, 1, 1, 17, 14}},
    {'6', {6, 8, 16, 30, 17, 17, 14}},   {'7', {31, 1, 2, 4, 8, 8, 8}},
    {'8', {14, 17, 17, 14, 17, 17, 14}}, {'9', {14, 17, 17, 15, 1, 2, 12}},
    {'A', {14, 17, 17, 31, 17, 17, 17}}, {'B', {30, 17, 17, 30, 17, 17, 30}},
    {'C', {14, 17, 16, 16, 16, 17, 14}}, {'D', {28, 18, 17, 17, 17, 18, 28}},
    {'E', {31, 16, 16, 30, 16, 16, 31}}, {'F', {31, 16, 16, 30, 16, 16, 16}},
    {'G', {14, 17, 16, 23, 17, 17, 15}}, {'H', {17, 17, 17, 31, 17, 17, 17}},
    {'I', {14, 4, 4, 4, 4, 4, 14}},      {'J', {7, 2, 2, 2, 2, 18, 12}},
    {'K', {17, 18, 20, 24, 20, 18, 17}}, {'L', {16, 16, 16, 16, 16, 16, 31}},
    {'M', {17, 27, 21, 21, 17, 17, 17}}, {'N', {17, 17, 25, 21, 19, 17, 17}},
    {'O', {14, 17, 17, 17, 17, 17, 14}}, {'P', {30, 17, 17, 30, 16, 16, 16}},
    {'Q', {14, 17, 17, 17, 21, 18, 13}}, {'R', {30, 17, 17, 30, 20, 18, 17}},
    {'S', {15, 16, 16, 14, 1, 1, 30}},   {'T', {31, 4, 4, 4, 4, 4, 4}},
    {'U', {17, 17, 17, 17, 17, 17, 14}}, {'V', {17, 17, 17, 17, 17, 10, 4}},
    {'W', {17, 17, 17, 21, 21, 21, 10}}, {'X', {17, 17, 10, 4, 10, 17, 17}},
    {'Y', {17, 17, 17, 10, 4, 4, 4}},    {'Z', {31, 1, 2, 4, 8, 16, 31}},
    {'.', {0, 0, 0, 0, 0, 12, 12}},      {'-', {0, 0, 0, 31, 0, 0, 0}},
    {'/', {0, 1, 2, 4, 8, 16, 0}},       {':', {0, 12, 12, 0, 12, 12, 0}}};

constexpr int kAdvance = 6;  // five dots and a gap

}  // namespace

void drawText(std::string_view text, int column, int row, int scale,
              const std::function<void(int column, int row)>& mark) {
  for (const char letter : text) {
    const auto* glyph =
        std::find_if(std::begin(kGlyphs), std::end(kGlyphs),
                     [letter](const Glyph& candidate) { return candidate.letter == letter; });
    for (int i = 0; glyph != std::end(kGlyphs) && i < 35 * scale * scale; ++i) {
      const int x = i % (5 * scale);
      const int y = i / (5 * scale);
      if (((glyph->rows[y / scale] >> (4 - x / scale)) & 1) != 0) {
        mark(column + x, row + y);
      }
    }
    column += kAdvance * scale;
  }
}

int textWidth(std::string_view text, int scale) {
  return static_cast<int>(text.size()) * kAdvance * scale;
}

}  // namespace zr
