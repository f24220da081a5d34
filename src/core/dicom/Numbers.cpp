// SPDX-License-Identifier: BSD-3-Clause
// The readers of numbers in text values. Each one is the C library's own, so that its grammar and
// its rounding are exact, in the "C" locale.
#include "dicom/CLocale.h"

#include <zrdcmexport/ZrNumbers.h>

#include <cstdio>
#include <cstdlib>

namespace Zrg {

std::optional<int> intOf(const std::string& text) noexcept {
  char* end = nullptr;
  constexpr int kDecimal = 10;
  const long number = ::strtol_l(text.c_str(), &end, kDecimal, cLocale());
  return end != text.c_str() ? std::optional(static_cast<int>(number)) : std::nullopt;
}

std::optional<float> floatOf(const std::string& text) noexcept {
  // Not strtof: it reads the 0 of "0x" and the "inf" of "infi", where sscanf finds no number.
  const CLocaleScope scope;
  float number = 0;
  return std::sscanf(text.c_str(), "%f", &number) == 1 ? std::optional(number) : std::nullopt;
}

std::optional<double> doubleOf(const std::string& text) noexcept {
  char* end = nullptr;
  const double number = ::strtod_l(text.c_str(), &end, cLocale());
  return end != text.c_str() ? std::optional(number) : std::nullopt;
}

}  // namespace Zrg
