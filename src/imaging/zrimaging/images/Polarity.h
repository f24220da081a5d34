// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>

class DcmItem;

namespace zr {

/// Whether the highest value of a monochrome image is shown black. Presentation LUT Shape decides
/// where it is IDENTITY or INVERSE, else MONOCHROME1 is shown so.
/// @see PS3.3 C.11.6.1.2 (Presentation LUT Shape), C.7.6.3.1.2 (Photometric Interpretation)
bool isHighShownDark(DcmItem& dataset, const std::string& photometricInterpretation);

}  // namespace zr
