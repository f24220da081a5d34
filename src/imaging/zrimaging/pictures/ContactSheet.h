// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/FrameAttributes.h"
#include "zrimaging/Samples.h"
#include "zrimaging/images/FrameSource.h"
#include "zrimaging/pictures/Rendering.h"
#include "zrimaging/pictures/SheetLayout.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace zr {

/// What a contact sheet shows, and what it says about it.
struct SheetContent {
  std::string title;
  std::string details;              ///< what else there is to say, before size and window
  std::vector<std::size_t> frames;  ///< numbers of the frames, 0-based, in the order of the tiles
  bool inVolume = false;            ///< the tiles are slices: label them with their index as well
  std::size_t columns = 0;          ///< tiles side by side; 0 chooses
  /// Told after each tile how many of how many are drawn.
  std::function<void(std::size_t done, std::size_t of)> tileDrawn;
  double pixelAspect = 1;          ///< height of a pixel over its width
  std::optional<Display> display;  ///< of all frames of the source; for monochrome images
};

/// Draws frames side by side on a dark ground: each with its number below, embedded overlays in
/// the colours of their groups, colour frames in colour. Besides the samples of the source only the
/// sheet and one tile are held.
///
/// @param layout receives where everything stands
/// @return RGB, at most SheetLayout::kLargestSide wide and high
/// @throws Error when a frame does not decode.
Picture drawContactSheet(FrameSource& source, const SheetContent& content, SheetLayout& layout);

/// What a sheet of the whole file has to show.
/// @param attributes those of the frames of the source's image
/// @param wanted the window of a user; without it the frames have theirs
SheetContent allFrames(const FrameSource& source, const PerFrameAttributes& attributes,
                       const std::optional<Window>& wanted);

/// Overlay groups that have something drawn on any of these frames, ascending.
std::vector<unsigned> overlayGroups(const DecodedImage& image,
                                    const std::vector<std::size_t>& frames);

}  // namespace zr
