// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Formats.h"

#include <string>

namespace zr {

/// A value as a line of a header takes it: line breaks and other control characters are blanks.
std::string oneLine(std::string text);

/// " 0.5 0.25 nan": the spacings of columns, rows and frames, with a blank before each and a word
/// for what is not known; empty where none is known.
std::string spacingsText(const ArrayDescription& description, const char* unknown);

}  // namespace zr
