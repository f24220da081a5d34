// SPDX-License-Identifier: BSD-3-Clause
// The window as the user types it.
#include "WindowOption.h"

#include "UsageError.h"

#include <charconv>
#include <cmath>
#include <zrimaging/Error.h>

namespace zrdcm {

namespace {

std::optional<double> parseNumber(const std::string& text) {
  double value = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc{} || rest != end || !std::isfinite(value)) {
    return std::nullopt;
  }
  return value;
}

}  // namespace

std::optional<zr::WindowChoice> windowFromOption(const std::string& text) {
  if (text.empty()) {
    return std::nullopt;
  }
  const std::size_t comma = text.find(',');
  const std::optional<double> centre = parseNumber(text.substr(0, comma));
  const std::optional<double> width =
      comma == std::string::npos ? std::nullopt : parseNumber(text.substr(comma + 1));
  if (comma == std::string::npos || (!centre && !width)) {
    return zr::WindowChoice{std::nullopt, text};
  }
  if (!centre || !width || *width <= 0) {
    throw UsageError("--window wants CENTRE,WIDTH with a width above 0: " + text);
  }
  return zr::WindowChoice{
      zr::Window{*centre, *width,
                 *width <= 1 ? zr::VoiFunction::kLinearExact : zr::VoiFunction::kLinear},
      ""};
}

}  // namespace zrdcm
