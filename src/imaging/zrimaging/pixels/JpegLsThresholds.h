// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <vector>

namespace zr {

/// A JPEG-LS stream that says which thresholds it was coded with. The standard has defaults for
/// streams that do not say so; the decoder of DCMTK has others for samples of less than 8 bits.
/// @return the stream, with a segment of the defaults where it had none and its samples have less
///         than 8 bits; streams with headers that are not understood come back as they are
/// @see ITU-T T.87 C.2.4.1.1.1 (Preset coding parameters)
std::vector<std::uint8_t> withThresholds(const std::vector<std::uint8_t>& stream);

}  // namespace zr
