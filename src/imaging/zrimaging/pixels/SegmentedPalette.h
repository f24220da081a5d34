// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class DcmItem;

namespace zr {

/// One colour of a palette that is written in segments, expanded.
struct ExpandedColour {
  std::vector<std::uint16_t> entries;
  std::string fault;  ///< why there are none; empty when there are
};

/// Expands the segments of one colour.
/// @param segments Segmented Palette Color Lookup Table Data, little endian
/// @param bits     of an entry, 8 or 16; of the numbers in the segments, too
/// @param size     how many entries there have to be
/// @see PS3.3 C.7.9.2 (Segmented Palette Color Lookup Table)
ExpandedColour expandSegments(const std::vector<std::uint8_t>& segments, unsigned bits,
                              std::size_t size);

/// Whether a dataset has its palette in segments alone.
bool hasSegmentedPalette(DcmItem& item);

/// Writes the palette in full beside the one in segments.
/// @return why it cannot, and then nothing is changed; empty when it is written
std::string writePaletteInFull(DcmItem& item);

}  // namespace zr
