// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zrdcmexport/ZrByteCounts.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctypes.h"

#include <algorithm>
#include <cstdint>

namespace Zrg {

inline constexpr unsigned long long kBitsPerByte = 8;

/// The quotient, rounded up.
constexpr unsigned long long dividedUp(unsigned long long dividend, unsigned long long divisor) {
  return dividend / divisor + (dividend % divisor != 0 ? 1 : 0);
}

/// Most bytes that DCMTK decodes together, and the largest frame: it counts them in 32 bits, after
/// it has made their number even.
inline constexpr std::uint64_t kMostDecodedBytes = (std::uint64_t{1} << 32U) - 2;

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
  [[nodiscard]] constexpr unsigned int containerBytes() const {
    return std::max(bytesPerSample(), bitsStored > 8 ? 2U : 1U);
  }
  /// Bytes of a frame as it is decoded.
  [[nodiscard]] constexpr unsigned long long decodedFrameBytes() const {
    return saturatedProduct(samples(), containerBytes());
  }
  /// Bytes of a frame as interleaved RGB.
  [[nodiscard]] constexpr unsigned long long rgbBytes() const { return 3 * pixels(); }
};

}  // namespace Zrg
