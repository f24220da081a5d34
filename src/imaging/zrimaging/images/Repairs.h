// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <vector>

namespace zr {

class File;

/// Brings the dataset of a file into the form that decoders read, wherever there is no doubt what
/// is meant: compressed data without fragments, attributes that are missing or misspelt, palettes
/// in segments, compressed samples of one bit.
/// @return what users should know of it: one line each, such as "lacks Samples per Pixel
///         (0028,0002): taken for 3, as Photometric Interpretation says RGB"
std::vector<std::string> repairForDecoding(const File& file);

}  // namespace zr
