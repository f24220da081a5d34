// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/ObjectFacts.h"

#include <vector>

class DcmItem;

namespace zr {

/// The items of Sequence of Ultrasound Regions (0018,6011), in their order.
std::vector<UltrasoundRegion> readUltrasoundRegions(DcmItem& dataset);

}  // namespace zr
