// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/texts/Utf8.h"

#include <string>
#include <string_view>
#include <vector>

namespace zr {

/// A text in UTF-8 as it grows. Characters of one encoding are converted together.
class Utf8Builder {
public:
  /// Adds letters of ASCII, or what is UTF-8 already.
  void add(std::string_view utf8);

  /// Adds bytes that stand for no character.
  void addEscaped(std::string_view bytes);

  /// Adds one character.
  /// @param encoding the converter's name of it
  /// @param bytes    as they stand in the file, to be shown when they are no character
  /// @param encoded  the same as the converter wants them
  void add(const char* encoding, std::string_view bytes, std::string_view encoded);

  /// What follows is the next value.
  void endValue();

  Utf8Text take();

private:
  struct Character {
    std::string bytes;
    std::string encoded;
  };

  void convertPending();

  Utf8Text result_{{""}, false};
  const char* encoding_ = nullptr;
  std::vector<Character> pending_;
};

}  // namespace zr
