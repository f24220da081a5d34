// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/export/ExportAttributes.h"

namespace zr {

/// Names Unicode as the Specific Character Set of attributes in UTF-8, where none is named for
/// letters beyond ASCII.
/// @throws Error when another one is named for such letters.
void requireCharacterSet(AttributeSet& attributes);

/// Makes the texts ready that stay when `changes` are put over the attributes: in Unicode when the
/// changes name that, else as they are, which no other set than theirs may be named for.
/// @throws Error when a text that stays does not convert, or is not in the set that is named.
void convertTexts(AttributeSet& attributes, const AttributeSet& changes);

}  // namespace zr
