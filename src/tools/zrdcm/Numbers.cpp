// SPDX-License-Identifier: BSD-3-Clause
// Single-precision numbers as people wrote them into the file.
#include "Numbers.h"

#include <charconv>
#include <cmath>

namespace zrdcm {

std::string shortest(float value) {
  char text[64];
  const auto [end, error] = std::to_chars(text, text + sizeof text, value);
  (void)error;  // 64 characters hold every float
  return {text, end};
}

nlohmann::ordered_json jsonNumber(float value) {
  if (!std::isfinite(value)) {
    return nullptr;
  }
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
