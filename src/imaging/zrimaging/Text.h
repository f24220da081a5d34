// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <zrimaging/ZrimagingApi.h>

namespace zr {

/// A character and the number of bytes that it takes in UTF-8.
struct Utf8Character {
  char32_t code;
  std::size_t bytes;
};

/// The character that begins at `at`, which must be below the size of the text; nothing where the
/// bytes are no UTF-8 (RFC 3629: overlong forms, surrogates and numbers above 10FFFF are none).
[[nodiscard]] ZRIMAGING_API std::optional<Utf8Character> utf8At(std::string_view text,
                                                                std::size_t at);

/// How a byte is shown that stands for no known character: `\xE9`.
/// @throws Error OutOfMemory
[[nodiscard]] ZRIMAGING_API std::string escapedByte(char byte);

/// The text with every byte that is no UTF-8 escaped; all else stays as it is.
/// @throws Error OutOfMemory
[[nodiscard]] ZRIMAGING_API std::string withEscapedBytes(std::string_view text);

/// Whether a terminal acts on the character instead of showing it: control characters (of the
/// second set too, where U+009B begins a command), marks that turn the direction of what is written
/// round them (Unicode Standard Annex 9), and separators that end a line.
[[nodiscard]] ZRIMAGING_API bool isUnsafeOnTerminals(char32_t code);

/// The shortest decimal text that reads back as this number: 0.1, not 0.100000001.
[[nodiscard]] ZRIMAGING_API std::string shortest(float value);
/// The same for a number that may have been a float before.
[[nodiscard]] ZRIMAGING_API std::string shortest(double value);

}  // namespace zr
