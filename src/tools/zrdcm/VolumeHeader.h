// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "ArrayWriters.h"
#include "DecodedImage.h"

class DcmItem;

namespace zrdcm {

/// Millimetres between the middles of neighbouring frames; NaN where the dataset does not tell.
double frameSpacingMm(DcmItem& item);

/// What an NRRD file says about the image: spacings, name, and for monochrome images the line that
/// maps samples to modality values and the window of the dataset.
NrrdHeader nrrdHeaderOf(const DecodedImage& image);

}  // namespace zrdcm
