// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Formats.h"

namespace zr {

/// Whether the files of such an array need offsets of 64 bits (BigTIFF): a classic file ends at
/// 4 GiB. A compressed array is counted as if it were not, because nobody knows before.
bool needsBigTiff(const ArrayToWrite& array);

}  // namespace zr
