// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/FrameAttributes.h"

#include <optional>
#include <vector>

class DcmItem;

namespace zr {

/// Where the attributes of a layer stand.
struct AttributePlace {
  DcmItem* item = nullptr;  ///< null is a layer without values
  bool macros = false;      ///< in sequences within the item
};

/// All values of one layer.
FrameAttributes readLayer(const AttributePlace& place);

/// Adds what the frame does not know yet. A position is never joined with an orientation in another
/// space.
void addLayer(FrameAttributes& frame, const FrameAttributes& layer);

/// Slope and intercept with their unit; nothing unless both are numbers and the slope is not 0.
/// @see PS3.3 C.11.1 (Modality LUT), C.7.6.16.2.9 (Pixel Value Transformation)
std::optional<RescaleLine> rescaleOf(const AttributePlace& place);

/// Windows and VOI tables of one layer.
/// @see PS3.3 C.11.2 (VOI LUT), C.7.6.16.2.10 (Frame VOI LUT)
void readVoi(const AttributePlace& place, FrameAttributes& frame);

/// The unit that a Rescale Type or Modality LUT Type names: US stands for "unspecified"
/// (PS3.3 C.11.1.1.2), which says as much as nothing.
ValueText unitNamed(const ValueText& type);

}  // namespace zr
