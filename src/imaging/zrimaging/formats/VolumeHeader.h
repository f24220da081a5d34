// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Formats.h"
#include "zrimaging/FrameAttributes.h"
#include "zrimaging/images/DecodedImage.h"

#include <cstddef>
#include <vector>

namespace zr {

/// What an NRRD file says about the frames in it: spacings, name, and for monochrome images the line
/// that maps samples to modality values and the window of the dataset. Lines and windows that differ
/// between the frames are lists under names of their own, so that nobody takes the first for all.
///
/// @param numbers the frames of the file that it holds (0-based), in the order of the slices
ArrayDescription describeArray(const DecodedImage& image, const PerFrameAttributes& attributes,
                               const std::vector<std::size_t>& numbers);

}  // namespace zr
