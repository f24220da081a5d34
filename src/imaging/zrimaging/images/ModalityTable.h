// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/FrameAttributes.h"

class DcmItem;

namespace zr {

/// Whether samples are mapped by a modality LUT.
bool hasModalityTable(DcmItem& dataset);

/// Whether there is one that is not meant for display (PS3.3 C.8.7.1.1.2: X-ray angiography and
/// fluoroscopy).
bool isTableKeptOutOfDisplay(DcmItem& dataset);

/// What the values of the table are; empty when its Modality LUT Type does not say.
ValueText unitOfModalityTable(DcmItem& dataset);

/// Removes a modality LUT that is not meant for display, so that samples decoded afterwards are not
/// mapped by it. Returns whether there was one.
/// @see PS3.3 C.8.7.1.1.2 (Pixel Intensity Relationship)
bool keepTableOutOfDisplay(DcmItem& dataset);

}  // namespace zr
