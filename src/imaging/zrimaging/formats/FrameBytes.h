// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Formats.h"

namespace zr {

class OutputFile;

/// Writes all frames in order, row by row, the channels of a pixel adjacent, in little endian
/// whatever machine writes them.
void writeFrames(OutputFile& file, const ArrayToWrite& array);

}  // namespace zr
