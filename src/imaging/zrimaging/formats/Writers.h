// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Formats.h"

namespace zr {

// The writers that Formats.def names, each in a file of its own.
#define ZR_FORMAT(name, ending, otherEnding, contents, writer, summary)           \
  void writer(const std::filesystem::path& target, const ProtectedInputs& inputs, \
              const ArrayToWrite& array);
#include "zrimaging/formats/Formats.def"
#undef ZR_FORMAT

}  // namespace zr
