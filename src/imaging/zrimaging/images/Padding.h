// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Frames.h"

#include <optional>

class DcmItem;

namespace zr {

/// The samples that mark padding, as they occur among decoded samples. For unsigned samples, whose
/// offset it knows from the traits, and those that keep their sign. Nothing behind a modality LUT,
/// where padding is not told apart from other values.
/// @see PS3.3 C.7.5.1.1.2 (Pixel Padding Value and Pixel Padding Range Limit), C.7.6.24, C.7.6.25
std::optional<PaddingRange> paddingOf(DcmItem& item, const FrameTraits& traits);

}  // namespace zr
