// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace zr {

/// What a stream of JPEG XL has to be.
struct JpegXlImage {
  std::uint32_t columns = 0;
  std::uint32_t rows = 0;
  std::uint32_t channels = 0;  ///< 1 or 3
  std::uint32_t bitsStored = 0;
  std::uint32_t bytesPerSample = 0;  ///< 1 or 2

  std::size_t bytes() const { return std::size_t{columns} * rows * channels * bytesPerSample; }
};

struct JpegXlResult {
  std::string fault;          ///< "of 3 samples a pixel", "that does not decode"; empty when it did
  bool keepsColours = false;  ///< samples are those of the image that was compressed
};

/// Decodes a stream, or looks at its headers alone.
/// @param target receives image.bytes(), samples side by side; null: only the headers are judged
/// @throws std::bad_alloc
JpegXlResult decodeJpegXl(const std::uint8_t* stream, std::size_t size, const JpegXlImage& image,
                          unsigned char* target);

}  // namespace zr
