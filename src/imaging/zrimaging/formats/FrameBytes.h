// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Formats.h"

#include <cstddef>
#include <functional>

namespace zr {

class OutputFile;

/// Takes bytes, which are its own no longer than the call.
using ByteSink = std::function<void(const void* bytes, std::size_t count)>;

/// Hands on all frames in order, row by row, the channels of a pixel adjacent, in little endian
/// whatever machine writes them.
void writeFrames(const ByteSink& sink, const ArrayToWrite& array);

/// The sink that writes into a file, which has to stay.
ByteSink sinkInto(OutputFile& file);

}  // namespace zr
