// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Text.h"

#include <string>
#include <vector>

namespace zr {

/// A text of a file in UTF-8, value by value.
struct Utf8Text {
  std::vector<std::string> values;  ///< one at least
  bool escaped = false;             ///< some hold bytes that stand for no known character, as \xE9

  /// The values separated by backslashes. Where bytes are escaped a backslash may be of an escape.
  [[nodiscard]] std::string joined() const;
};

}  // namespace zr
