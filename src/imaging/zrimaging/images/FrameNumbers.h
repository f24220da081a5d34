// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/FrameAttributes.h"

#include <cstddef>

namespace zr {

/// @throws Error NoSuchFrame unless `number` is below `available`
void requireFrame(std::size_t number, std::size_t available);

/// The attributes of one frame.
/// @throws Error NoSuchFrame
const FrameAttributes& frameAt(const PerFrameAttributes& image, std::size_t number);

}  // namespace zr
