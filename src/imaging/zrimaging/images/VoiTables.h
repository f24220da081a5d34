// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/FrameAttributes.h"

#include <vector>

class DcmItem;

namespace zr {

/// Reads the VOI LUT Sequence (0028,3010) of an item, no more than 16 tables. Left out is a table
/// whose descriptor or data is missing or empty, or whose entries have other than 1 to 16 bits.
/// @see PS3.3 C.11.2.1.1 (LUT Descriptor)
std::vector<VoiTable> readVoiTables(DcmItem& item);

}  // namespace zr
