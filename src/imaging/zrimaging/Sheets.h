// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>
#include <zrimaging/Frames.h>
#include <zrimaging/Pictures.h>
#include <zrimaging/Samples.h>
#include <zrimaging/ZrimagingApi.h>

namespace zr {

class File;

/// Where everything is on a contact sheet, in pixels of the sheet.
struct ZRIMAGING_API SheetLayout {
  static constexpr std::size_t kLargestSide = 4096;
  static constexpr std::size_t kSmallestTile = 64;
  static constexpr std::size_t kMargin = 20;
  static constexpr std::size_t kGap = 10;
  /// Columns of the smallest tiles that fit into the largest sheet.
  static constexpr std::size_t kMostColumns =
      (kLargestSide - 2 * kMargin + kGap) / (kSmallestTile + kGap);

  std::size_t shown = 0;       ///< tiles on the sheet
  std::size_t every = 1;       ///< every how many frames one is shown
  std::size_t columns = 0;     ///< tiles side by side
  std::size_t rows = 0;        ///< rows of tiles
  std::size_t tileWidth = 0;   ///< of the picture in a tile
  std::size_t tileHeight = 0;  ///< likewise
  int textScale = 1;           ///< of the labels
  int titleScale = 2;
  std::size_t headerHeight = 0;
  std::size_t sheetWidth = 0;
  std::size_t sheetHeight = 0;

  std::size_t labelHeight() const;
  std::size_t stepX() const { return tileWidth + kGap; }
  std::size_t stepY() const { return tileHeight + labelHeight() + kGap; }
  /// Left edge of the pictures in a column, top edge of those in a row.
  std::size_t left(std::size_t column) const { return kMargin + column * stepX(); }
  std::size_t top(std::size_t row) const { return headerHeight + row * stepY(); }
};

/// What a contact sheet shows, and what it says about it.
struct SheetContent {
  std::string title;
  std::string details;              ///< what else there is to say, before size and window
  std::vector<std::size_t> frames;  ///< indices of the frames in the order of the tiles
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
/// @param frames  what is drawn; they are decoded one after the other
/// @param content which of them, and what the sheet says
/// @param layout  receives where everything is
/// @return RGB, at most SheetLayout::kLargestSide wide and high
/// @throws Error when a frame does not decode.
[[nodiscard]] ZRIMAGING_API Picture drawContactSheet(Frames& frames, const SheetContent& content,
                                                     SheetLayout& layout);

/// What a sheet of all frames has to show.
/// @param frames some are decoded to find their windows
/// @param wanted the choice of a user; without it the frames have theirs
/// @throws Error when a frame does not decode, or has not what is wanted
[[nodiscard]] ZRIMAGING_API SheetContent allFrames(Frames& frames,
                                                   const std::optional<WindowChoice>& wanted);

/// The same for the images of a series, which are shown through the window of the first one. That
/// window gives way to the range of values only when no file has anything in it.
[[nodiscard]] ZRIMAGING_API SheetContent allOfSeries(Frames& frames,
                                                     const std::optional<WindowChoice>& wanted);

/// Tiles side by side that show the slices of a volume in one row each: for gated data with at most
/// SheetLayout::kMostColumns slices; else 0.
/// @see PS3.3 C.8.4.8.1.1 (NM frame vectors)
[[nodiscard]] ZRIMAGING_API std::size_t columnsOfVolumes(const File& file);

/// Overlay groups that have something drawn on any of these frames, ascending.
/// @param record of the image
/// @param frames indices
[[nodiscard]] ZRIMAGING_API std::vector<unsigned> overlayGroups(
    const FramesRecord& record, const std::vector<std::size_t>& frames);

}  // namespace zr
