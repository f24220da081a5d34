// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace zr {

/// Frames `first` to `last`, both included, 0-based.
struct FrameRange {
  std::size_t first;
  std::size_t last;

  std::size_t count() const { return last - first + 1; }
};

/// Reads "A" or "A-B"; nothing when the text is neither or B is below A.
std::optional<FrameRange> parseFrameRange(const std::string& text);

}  // namespace zr
