// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ktlib/KtBitfield.h>
#include <ktlib/KtVec2i.h>

#include <cstddef>

namespace zr {

/// Overlay Data and its layout: pixels row by row from the top, one bit each, the least significant
/// bit of a byte first. Rows and frames follow each other without gaps, in the midst of a byte too.
/// @see PS3.3 C.9.2.1.5 (Overlay Data), PS3.5 8.1.2
struct OverlayBits {
  const unsigned char* bytes = nullptr;  ///< owned by the caller
  std::size_t size = 0;                  ///< bytes
  std::size_t rows = 0;                  ///< at most 65535
  std::size_t columns = 0;               ///< likewise

  /// Frames that the data holds in full.
  std::size_t frames() const;
};

/// A part of an image that an overlay covers.
struct OverlayMask {
  KtVec2i origin{0, 0};  ///< column and row of its first pixel in the image
  KtVec2i size{0, 0};    ///< columns and rows; (0, 0) when nothing is set
  KtBitfield mask;       ///< rows of whole words of 32 bits, the first pixel lowest
};

/// Cuts one frame of an overlay to the image that it lies on, and then to what is set.
/// @param bits      of the overlay
/// @param frame     below bits.frames()
/// @param originColumn,originRow place of the overlay's first pixel in the image, may be outside
/// @param imageColumns,imageRows size of the image, at most 65535 each
OverlayMask maskOf(const OverlayBits& bits, std::size_t frame, long long originColumn,
                   long long originRow, std::size_t imageColumns, std::size_t imageRows);

}  // namespace zr
