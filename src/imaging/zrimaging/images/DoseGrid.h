// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/FrameAttributes.h"

#include <cstddef>
#include <optional>
#include <vector>

class DcmItem;

namespace zr {

/// Whether the values of a dataset are dose.
bool isDoseGrid(DcmItem& dataset);

/// The attributes of all frames of a dose grid.
std::vector<FrameAttributes> readDoseGrid(DcmItem& dataset, std::size_t count);

/// The even step of the Grid Frame Offset Vector, with its sign; nothing when there is none.
std::optional<double> gridStepMm(DcmItem& dataset);

}  // namespace zr
