// SPDX-License-Identifier: BSD-3-Clause
// Readers of DICOM text values that several libraries need: decimal strings and the photometric
// interpretation. Neither depends on the locale.

#include <zrvolren/ExDicomUtilitiesHelpers.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdeftag.h"
#include "dcmtk/dcmdata/dcitem.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>
#include <system_error>

namespace {

std::string_view withoutBlanksAround(std::string_view text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// Takes the text up to the next backslash off the front of `values`.
std::string_view takeValue(std::string_view& values) {
  const std::size_t length = std::min(values.find('\\'), values.size());
  const std::string_view value = values.substr(0, length);
  values.remove_prefix(std::min(length + 1, values.size()));
  return value;
}

std::optional<float> decimalToFloat(std::string_view text) {
  // from_chars knows names (nan, inf) that decimal strings do not, and no plus sign.
  if (text.find_first_not_of("0123456789+-.eE") != std::string_view::npos) {
    return std::nullopt;
  }
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) {
      return std::nullopt;
    }
  }
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) {
    return std::nullopt;
  }
  // By way of double, which tells a value too small for float (0) from one too large (none).
  const auto value = static_cast<float>(number);
  return std::isfinite(value) ? std::optional(value) : std::nullopt;
}

char upperCase(char letter) {
  return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

// The spelling of the standard for what is usually misspelled, the text itself for all else.
std::string standardSpelling(const std::string& interpretation) {
  std::string words = interpretation;
  const auto partsWords = [](char c) { return c == ' ' || c == '_' || c == '-'; };
  words.erase(std::remove_if(words.begin(), words.end(), partsWords), words.end());
  if (words == "PALETTECOLOR" || words == "PALETTECOLOUR") {
    return "PALETTE COLOR";
  }
  return words == "YBRFULL422" ? "YBR_FULL_422" : interpretation;
}

}  // namespace

KtDArray<float> ExDicomUtilities::stringToFloats(const std::string& values, unsigned long count) {
  KtDArray<float> numbers;
  if (values.empty()) {
    return numbers;
  }
  // A value takes a character and a backslash at least, so the text bounds what the hint may cost.
  numbers.reserve(std::min<std::size_t>(count, values.size() / 2 + 1));
  std::string_view rest = values;
  const auto expected = std::count(values.begin(), values.end(), '\\') + 1;
  for (auto i = expected; i > 0; --i) {
    const std::optional<float> number = decimalToFloat(withoutBlanksAround(takeValue(rest)));
    if (!number) {
      return {};
    }
    numbers.append(*number);
  }
  return numbers;
}

bool ExDicomUtilities::getAndFixPhotometricInterpretation(DcmItem* item,
                                                          E_TransferSyntax /*transferSyntax*/,
                                                          KtString& photometricInterpretation) {
  photometricInterpretation = KtString();
  const char* text = nullptr;
  // Not findAndGetOFString: of an element without a text VR that would give the bytes in
  // hexadecimal.
  if (item == nullptr || item->findAndGetString(DCM_PhotometricInterpretation, text).bad() ||
      text == nullptr) {
    return false;
  }
  std::string_view values = text;
  std::string interpretation(withoutBlanksAround(takeValue(values)));
  std::transform(interpretation.begin(), interpretation.end(), interpretation.begin(), upperCase);
  photometricInterpretation = KtString(standardSpelling(interpretation));
  return !photometricInterpretation.empty();
}
