// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/ObjectFacts.h"

#include <vector>

class DcmItem;

namespace zr {

/// The overlay planes of groups 6000 to 60FE by their attributes alone, in order of their groups.
std::vector<OverlayPlaneFacts> readOverlayPlanes(DcmItem& dataset);

}  // namespace zr
