// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/ObjectFacts.h"

class DcmItem;

namespace zr {

/// Spacings of all kinds, and where rows and columns run to.
/// @param frames Number of Frames
GeometryFacts readGeometry(DcmItem& dataset, std::size_t frames);

}  // namespace zr
