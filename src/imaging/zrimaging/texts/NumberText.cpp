// SPDX-License-Identifier: BSD-3-Clause
// Single-precision numbers as people wrote them into the file.
#include "zrimaging/Boundary.h"
#include "zrimaging/Text.h"

#include <charconv>

namespace zr {

namespace {

template <class Number>
std::string shortestDigits(Number value) {
  char text[64];
  const auto [end, error] = std::to_chars(text, text + sizeof text, value);
  (void)error;  // 64 characters hold every number
  return {text, end};
}

}  // namespace

std::string shortest(float value) {
  return atBoundary([&] { return shortestDigits(value); });
}

std::string shortest(double value) {
  return atBoundary([&]() -> std::string {
    const auto single = static_cast<float>(value);
    const bool wasFloat =
        !(static_cast<double>(single) < value || static_cast<double>(single) > value);
    return wasFloat ? shortestDigits(single) : shortestDigits(value);
  });
}

}  // namespace zr
