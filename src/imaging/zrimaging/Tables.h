// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>
#include <zrimaging/Samples.h>
#include <zrimaging/ZrimagingApi.h>

namespace zr {

class File;

/// A lookup table of an image as plain numbers.
struct TableValues {
  int firstMapped = 0;                 ///< the stored value that the first entry maps
  std::size_t bits = 16;               ///< of a number: 8 or 16
  std::size_t values = 1;              ///< of an entry: 1, or red, green and blue of a palette
  std::vector<std::uint16_t> numbers;  ///< entry by entry, the values of each side by side

  std::size_t entries() const { return numbers.size() / values; }
  unsigned at(std::size_t entry, std::size_t value) const {
    return numbers[entry * values + value];
  }
};

/// The modality LUT of an image (PS3.3 C.11.1) as ExDicomUtilities::LUT makes it of the file: usual
/// defects are repaired, and the number of entries is that of the data. Nothing when there is none.
/// @throws Error OutOfMemory
[[nodiscard]] ZRIMAGING_API std::optional<TableValues> readModalityTable(const File& file);

/// The same for the palette of a colour image (PS3.3 C.7.6.3.1.5).
/// @throws Error OutOfMemory
[[nodiscard]] ZRIMAGING_API std::optional<TableValues> readPalette(const File& file);

/// Draws tables one above the other, each in a frame as curves of its values over its entries; a
/// palette with the strip of its colours beneath.
/// @param tables at least one, with entries
/// @return RGB, 640 pixels wide and 400 high for each table
/// @throws Error OutOfMemory
[[nodiscard]] ZRIMAGING_API Picture plotTables(const std::vector<TableValues>& tables);

}  // namespace zr
