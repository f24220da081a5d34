// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <optional>
#include <string>

namespace zr {

class File;

/// A repair that has been made, with the remark on it; there is none to make on what is in order.
using MadeRepair = std::optional<std::string>;

/// Photometric Interpretation, where it is a term of the standard but for case, blanks and the
/// like.
MadeRepair spellPhotometricInterpretation(const File& file);

/// Samples per Pixel, where it is missing: as Photometric Interpretation says and pixel data
/// agrees.
MadeRepair addSamplesPerPixel(const File& file);

/// Photometric Interpretation, where it says grey of three samples a pixel, or colours of one: as
/// the pixel data has them.
MadeRepair matchPhotometricInterpretation(const File& file);

/// Planar Configuration, where it is missing: samples of a pixel are side by side.
MadeRepair addPlanarConfiguration(const File& file);

}  // namespace zr
