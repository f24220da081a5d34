// SPDX-License-Identifier: BSD-3-Clause
// The text form of frame ranges.
#include "zrimaging/Boundary.h"
#include "zrimaging/Image.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace zr {

namespace {

// Digits only: from_chars would take a sign.
std::optional<std::size_t> parseIndex(const std::string& text) {
  std::size_t value = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc{} || rest != end) {
    return std::nullopt;
  }
  return value;
}

}  // namespace

std::optional<FrameRange> parseFrameRange(const std::string& text) {
  return atBoundary([&]() -> std::optional<FrameRange> {
    const std::size_t dash = text.find('-');
    const std::optional<std::size_t> first = parseIndex(text.substr(0, dash));
    const std::optional<std::size_t> last =
        dash == std::string::npos ? first : parseIndex(text.substr(dash + 1));
    if (!first || !last || *last < *first) {
      return std::nullopt;
    }
    return FrameRange{*first, *last};
  });
}

std::optional<std::vector<FrameRange>> parseFrameRanges(const std::string& text) {
  return atBoundary([&]() -> std::optional<std::vector<FrameRange>> {
    std::vector<FrameRange> ranges;
    for (std::size_t begin = 0; begin <= text.size();) {
      const std::size_t end = std::min(text.find(',', begin), text.size());
      const std::optional<FrameRange> range = parseFrameRange(text.substr(begin, end - begin));
      if (!range) {
        return std::nullopt;
      }
      ranges.push_back(*range);
      begin = end + 1;
    }
    return ranges;
  });
}

}  // namespace zr
