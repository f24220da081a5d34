// SPDX-License-Identifier: BSD-3-Clause
// One frame of Overlay Data as a mask of an image:
//
//   Overlay Data  bit (frame x rows + row) x columns + column, without padding
//   mask          word row x (words of a row) + column / 32, bit column mod 32
#include "zrimaging/images/OverlayBits.h"

#include <zrvolren/ZrOverlayData.h>

#include <algorithm>
#include <cstdint>

namespace zr {

namespace {

constexpr std::size_t kBitsOfByte = 8;
constexpr std::size_t kBitsOfWord = 32;

/// Places from `begin` to before `end` of an overlay, which lie in the image.
struct Visible {
  std::size_t begin;
  std::size_t end;
};

Visible visible(long long origin, std::size_t overlay, std::size_t image) {
  const long long begin = std::max(-origin, 0LL);
  const long long end =
      std::min(static_cast<long long>(overlay), static_cast<long long>(image) - origin);
  return begin < end ? Visible{static_cast<std::size_t>(begin), static_cast<std::size_t>(end)}
                     : Visible{0, 0};
}

}  // namespace

std::size_t OverlayBits::frames() const {
  const std::uint64_t frameBits = std::uint64_t{rows} * columns;
  return frameBits == 0 ? 0 : static_cast<std::size_t>(size * kBitsOfByte / frameBits);
}

OverlayMask maskOf(const OverlayBits& bits, std::size_t frame, long long originColumn,
                   long long originRow, std::size_t imageColumns, std::size_t imageRows) {
  const Visible columns = visible(originColumn, bits.columns, imageColumns);
  const Visible rows = visible(originRow, bits.rows, imageRows);
  OverlayMask result;
  const std::size_t width = columns.end - columns.begin;
  const std::size_t height = rows.end - rows.begin;
  if (width == 0 || height == 0) {
    return result;
  }
  const std::size_t rowBits = (width + kBitsOfWord - 1) / kBitsOfWord * kBitsOfWord;
  result.mask.resize(static_cast<unsigned long>(rowBits * height), KtBitfield::CLEARED);
  const std::uint64_t first = std::uint64_t{frame} * bits.rows * bits.columns;
  for (std::size_t row = 0; row < height; ++row) {
    const std::uint64_t start = first + (rows.begin + row) * bits.columns + columns.begin;
    for (std::size_t column = 0; column < width; ++column) {
      const std::uint64_t bit = start + column;
      if ((bits.bytes[bit / kBitsOfByte] >> (bit % kBitsOfByte) & 1U) != 0) {
        result.mask.set(static_cast<unsigned long>(row * rowBits + column));
      }
    }
  }
  result.origin = {static_cast<int>(originColumn + static_cast<long long>(columns.begin)),
                   static_cast<int>(originRow + static_cast<long long>(rows.begin))};
  result.size = {static_cast<int>(width), static_cast<int>(height)};
  ZrOverlayData::cropOverlayData(result.origin, result.size, result.mask);
  return result;
}

}  // namespace zr
