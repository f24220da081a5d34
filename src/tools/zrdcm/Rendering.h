// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "DecodedImage.h"
#include "SampleArray.h"

#include <array>
#include <optional>
#include <vector>

namespace zrdcm {

/// The modality values that are spread over black to white.
struct Window {
  double centre;
  double width;
  /// Edges at centre -/+ width/2 (VOI LUT Function LINEAR_EXACT) instead of the half steps of
  /// LINEAR, which only make sense for integer values and widths above 1.
  bool exact;
};

/// The window to show an image through: the user's, else the file's, else the range of the values
/// that occur in the frames (without those that mark padding). For monochrome images.
/// @see PS3.3 C.11.2.1.2 (Window Center and Window Width)
Window windowFor(const DecodedImage& image, const std::optional<Window>& wanted);

/// Gray level, 0 to 255, of every value that a sample of the image can take: 256 or 65536 levels.
/// MONOCHROME1 is turned round, so that it looks right where 255 is white. For monochrome images.
std::vector<unsigned char> grayLevels(const DecodedImage& image, const Window& window);

/// One frame as it looks on a screen: 8-bit gray levels through the window (MONOCHROME1 turned
/// round, so that it looks right where 255 is white). For monochrome images.
/// @param index 0-based among `image.samples`
Picture renderFrame(const DecodedImage& image, std::size_t index, const Window& window);

/// Red, green and blue.
using Colour = std::array<unsigned char, 3>;

/// The colour that overlays of a group are drawn in.
Colour overlayColour(unsigned group);

/// Draws the overlays of the slice that lie on this frame into its gray levels, each group in its
/// own colour.
/// @return the picture in RGB
Picture burnOverlays(const Picture& picture, const DecodedImage& image, std::size_t index);

}  // namespace zrdcm
