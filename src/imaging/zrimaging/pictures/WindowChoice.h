// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Pictures.h"

#include <string>

namespace zr {

/// Shows a frame through one of its windows and tables.
/// @param listed  number, from 1, or explanation: WindowChoice::listed
/// @param display receives the window or table
/// @throws Error MissingAttribute when the frame has none of this name, with what it has;
///         Unsupported for a window that cannot be shown
void showThroughListed(const FrameAttributes& frame, const std::string& listed,
                       FrameDisplay& display);

}  // namespace zr
