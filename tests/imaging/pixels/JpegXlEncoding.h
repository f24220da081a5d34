// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace coded {

struct XlImage {
  std::uint32_t columns;
  std::uint32_t rows;
  std::uint32_t channels;
  std::uint32_t bits;
  std::vector<int> samples;  ///< side by side
  bool animated = false;
  bool alpha = false;  ///< with one channel more among the samples
};

/// A stream of JPEG XL, lossless. Throws std::runtime_error when the encoder refuses.
std::string jpegXlOf(const XlImage& image);

}  // namespace coded
