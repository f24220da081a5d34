// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "FrameSource.h"
#include "Rendering.h"
#include "SampleArray.h"
#include "SheetLayout.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace zrdcm {

/// What a contact sheet shows, and what it says about it.
struct SheetContent {
  std::string title;
  std::string details;              ///< what else there is to say, before size and window
  std::vector<std::size_t> frames;  ///< numbers of the frames, 0-based, in the order of the tiles
  bool inVolume = false;            ///< the tiles are slices: label them with their index as well
  std::size_t columns = 0;          ///< tiles side by side; 0 chooses
  bool quiet = false;               ///< without a progress bar
  std::optional<Window> window;     ///< for monochrome images
};

/// Draws frames side by side on a dark ground: each with its number below, embedded overlays in
/// the colours of their groups, colour frames in colour. Besides the samples of the source only the
/// sheet and one tile are held.
///
/// @param layout receives where everything stands
/// @return RGB, at most SheetLayout::kLargestSide wide and high
/// @throws Failure when a frame does not decode.
Picture drawContactSheet(FrameSource& source, const SheetContent& content, SheetLayout& layout);

/// Title, size and window on the sheet come from the image; this is the rest of what a sheet of the
/// whole file has to show.
SheetContent allFrames(const FrameSource& source);

/// Overlay groups that have something drawn on any of these frames, ascending.
std::vector<unsigned> overlayGroups(const DecodedImage& image,
                                    const std::vector<std::size_t>& frames);

}  // namespace zrdcm
