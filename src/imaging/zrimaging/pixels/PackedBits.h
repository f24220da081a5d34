// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>

namespace zr {

inline constexpr std::size_t kPixelsPerByte = 8;  ///< of one bit each

/// Unpacks pixels of one bit: the first one is in the lowest bit of a byte, and frames follow each
/// other without padding. @see PS3.5 8.1.1, 8.2 (Bits Allocated 1)
///
/// @param packed   the bytes that hold the pixels, and no others are read
/// @param firstBit 0 to 7: where the first pixel is in the first byte
/// @param count    how many pixels
/// @param target   receives `count` bytes, 0 or 1 each; memory apart from `packed`
void unpackBits(const std::uint8_t* packed, unsigned firstBit, std::size_t count,
                std::uint8_t* target);

}  // namespace zr
