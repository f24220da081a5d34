// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/images/SampleArray.h"
#include "zrimaging/output/ProtectedInputs.h"

#include <filesystem>

namespace zr {

/// Writes one frame as PNG: gray or RGB, 8 or 16 bits a sample as the array has them.
///
/// Samples are written as they are; PNG knows no signed samples, so signed ones keep their bits.
/// @throws Error when the frame is too large for PNG, or the file cannot be written or is an input.
void writePng(const std::filesystem::path& target, const ProtectedInputs& inputs,
              const SampleArray& frame);

/// What is wrong with a name for a picture, as a check of CLI11; empty when it ends in ".png".
std::string checkPngName(const std::string& name);

}  // namespace zr
