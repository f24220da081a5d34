// SPDX-License-Identifier: BSD-3-Clause
// Numbers in JSON.
#include "Numbers.h"

#include <charconv>
#include <cmath>
#include <zrimaging/Text.h>

namespace zrdcm {

nlohmann::ordered_json jsonNumber(float value) {
  const std::string text = zr::shortest(value);
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
