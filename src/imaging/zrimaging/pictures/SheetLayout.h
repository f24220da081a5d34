// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>

namespace zr {

/// What a contact sheet has to show.
struct SheetNeeds {
  std::size_t frames = 0;
  double frameWidth = 1;          ///< of a frame as it looks, in pixels
  double frameHeight = 1;         ///< likewise
  std::size_t wantedColumns = 0;  ///< frames side by side; 0 leaves it to the layout
  std::size_t headerLines = 0;    ///< below the title
};

/// Where everything stands on a contact sheet, in pixels of the sheet.
struct SheetLayout {
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

/// Chooses size and number of the tiles: as large as a screen shows them well; many frames get
/// smaller tiles, and where even the smallest do not fit into the largest sheet, every n-th frame
/// is left.
SheetLayout layOutSheet(const SheetNeeds& needs);

}  // namespace zr
