// SPDX-License-Identifier: BSD-3-Clause
// Single-precision numbers as people wrote them into the file.
#include "Numbers.h"

#include <charconv>
#include <cmath>

namespace zrdcm {

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
  return shortestDigits(value);
}

std::string shortest(double value) {
  const auto single = static_cast<float>(value);
  const bool wasFloat =
      !(static_cast<double>(single) < value || static_cast<double>(single) > value);
  return wasFloat ? shortestDigits(single) : shortestDigits(value);
}

nlohmann::ordered_json jsonNumber(float value) {
  const std::string text = shortest(value);
  double number = 0;
  (void)std::from_chars(text.data(), text.data() + text.size(), number);  // our own digits
  return number;
}

nlohmann::ordered_json jsonPair(const KtVec2f& pair) {
  if (!std::isfinite(pair.x) || !std::isfinite(pair.y)) {
    return nullptr;
  }
  return {jsonNumber(pair.x), jsonNumber(pair.y)};
}

}  // namespace zrdcm
