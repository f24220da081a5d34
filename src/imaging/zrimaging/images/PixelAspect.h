// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <optional>

class DcmItem;

namespace zr {

/// Height of a pixel over its width, by attributes of the whole image; nothing when there are none.
/// @see PS3.3 10.7.1.3 (spacing calibration), C.7.6.3.1.7 (Pixel Aspect Ratio)
std::optional<double> readPixelAspect(DcmItem& dataset);

}  // namespace zr
