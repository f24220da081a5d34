// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zr {

/// A character and the number of bytes that it takes in UTF-8.
struct Utf8Character {
  char32_t code;
  std::size_t bytes;
};

/// A text of a file in UTF-8, value by value.
struct Utf8Text {
  std::vector<std::string> values;  ///< one at least
  bool escaped = false;             ///< some hold bytes that stand for no known character, as \xE9

  /// The values separated by backslashes. Where bytes are escaped a backslash may be of an escape.
  [[nodiscard]] std::string joined() const;
};

/// The character that begins at `at`, which must be below the size of the text; nothing where the
/// bytes are no UTF-8 (RFC 3629: overlong forms, surrogates and numbers above 10FFFF are none).
std::optional<Utf8Character> utf8At(std::string_view text, std::size_t at);

/// How a byte is shown that stands for no known character: \xE9.
std::string escapedByte(char byte);

/// The text with every byte that is no UTF-8 escaped; all else stays as it is.
std::string withEscapedBytes(std::string_view text);

/// Whether a terminal acts on the character instead of showing it: control characters (of the second
/// set too, where U+009B begins a command), marks that turn the direction of what is written round
/// them (Unicode Standard Annex 9), and separators that end a line.
bool isUnsafeOnTerminals(char32_t code);

}  // namespace zr
