// SPDX-License-Identifier: BSD-3-Clause
#include "zrimaging/pixels/PackedBits.h"

#include <array>
#include <cstring>

namespace zr {

namespace {

using UnpackedByte = std::array<std::uint8_t, kPixelsPerByte>;

constexpr std::array<UnpackedByte, 256> unpackedBytes() {
  std::array<UnpackedByte, 256> table{};
  for (std::size_t byte = 0; byte < table.size(); ++byte) {
    for (std::size_t bit = 0; bit < kPixelsPerByte; ++bit) {
      table[byte][bit] = static_cast<std::uint8_t>(byte >> bit & 1U);
    }
  }
  return table;
}

constexpr std::array<UnpackedByte, 256> kUnpacked = unpackedBytes();

}  // namespace

void unpackBits(const std::uint8_t* packed, unsigned firstBit, std::size_t count,
                std::uint8_t* target) {
  std::size_t done = 0;
  for (unsigned bit = firstBit; bit != 0 && bit < kPixelsPerByte && done < count; ++bit) {
    target[done++] = static_cast<std::uint8_t>(*packed >> bit & 1U);
  }
  if (firstBit != 0) {
    ++packed;
  }
  for (; count - done >= kPixelsPerByte; done += kPixelsPerByte) {
    std::memcpy(target + done, kUnpacked[*packed++].data(), kPixelsPerByte);
  }
  for (unsigned bit = 0; done < count; ++bit) {
    target[done++] = static_cast<std::uint8_t>(*packed >> bit & 1U);
  }
}

}  // namespace zr
