// SPDX-License-Identifier: BSD-3-Clause
#include "zrimaging/formats/HeaderText.h"

#include "zrimaging/Text.h"

#include <algorithm>
#include <cmath>

namespace zr {

std::string oneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < 0x20; }, ' ');
  return text;
}

std::string spacingsText(const ArrayDescription& description, const char* unknown) {
  std::string text;
  bool known = false;
  for (const double spacing : description.spacingMm) {
    known = known || !std::isnan(spacing);
    text += " " + (std::isnan(spacing) ? unknown : shortest(spacing));
  }
  return known ? text : "";
}

}  // namespace zr
