// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Sheets.h"

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

/// Chooses size and number of the tiles: as large as a screen shows them well; many frames get
/// smaller tiles, and where even the smallest do not fit into the largest sheet, every n-th frame
/// is left.
SheetLayout layOutSheet(const SheetNeeds& needs);

}  // namespace zr
