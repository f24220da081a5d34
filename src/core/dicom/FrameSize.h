// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctypes.h"

#include <algorithm>
#include <limits>

namespace Zrg {

/// Largest number of bytes, which also stands for everything beyond.
inline constexpr unsigned long long kBeyondCounting =
    std::numeric_limits<unsigned long long>::max();

/// a x b; the largest number when the product does not fit.
constexpr unsigned long long times(unsigned long long a, unsigned long long b) {
  return b != 0 && a > kBeyondCounting / b ? kBeyondCounting : a * b;
}

/// a + b likewise.
constexpr unsigned long long plus(unsigned long long a, unsigned long long b) {
  return a > kBeyondCounting - b ? kBeyondCounting : a + b;
}

/// The attributes that say how large a frame is. @see PS3.3 C.7.6.3 (Image Pixel Module)
struct FrameSize {
  Uint16 columns = 0;
  Uint16 rows = 0;
  Uint16 samplesPerPixel = 0;
  Uint16 bitsAllocated = 0;
  Uint16 bitsStored = 0;

  [[nodiscard]] constexpr unsigned long long pixels() const { return 1ULL * columns * rows; }
  [[nodiscard]] constexpr unsigned long long samples() const {
    return pixels() * samplesPerPixel;  // below 2^48
  }
  /// Bytes of a sample as it is stored: Bits Allocated in whole bytes.
  [[nodiscard]] constexpr unsigned int bytesPerSample() const { return (bitsAllocated + 7U) / 8; }
  /// Bytes of a pixel as it is stored.
  [[nodiscard]] constexpr unsigned int bytesPerPixel() const {
    return bytesPerSample() * samplesPerPixel;
  }
  /// Bytes of a frame as it is stored.
  [[nodiscard]] constexpr unsigned long long allocatedBytes() const {
    return pixels() * bytesPerPixel();  // below 2^61
  }
  /// Bytes of a sample as it is decoded. The JPEG-LS decoder takes two as soon as more than 8 bits
  /// are stored, whatever Bits Allocated says.
  [[nodiscard]] constexpr unsigned int cellBytes() const {
    return std::max(bytesPerSample(), bitsStored > 8 ? 2U : 1U);
  }
  /// Bytes of a frame as it is decoded.
  [[nodiscard]] constexpr unsigned long long cellsBytes() const {
    return times(samples(), cellBytes());
  }
  /// Bytes of a frame as interleaved RGB.
  [[nodiscard]] constexpr unsigned long long rgbBytes() const { return 3 * pixels(); }
};

}  // namespace Zrg
