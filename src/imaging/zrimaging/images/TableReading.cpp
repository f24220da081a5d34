// SPDX-License-Identifier: BSD-3-Clause
// Lookup tables as plain numbers, from the packed entries that the library reads.
#include "zrimaging/images/TableReading.h"

#include "zrimaging/Boundary.h"
#include "zrimaging/File.h"
#include "zrimaging/Tables.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <cstring>

namespace zr {

namespace {

std::optional<TableValues> numbersOf(const std::optional<ExDicomUtilities::LUT>& packed) {
  if (!packed) {
    return std::nullopt;
  }
  const ZrDataAccess& entries = *packed->entries;
  const std::size_t bytes = entries.primType().primTypeSize();
  TableValues table{packed->firstMapped, 8 * bytes, entries.nDataVar(), {}};
  table.numbers.reserve(static_cast<std::size_t>(entries.dims().x) * table.values);
  const auto* const begin = static_cast<const unsigned char*>(entries.dataPtr(0));
  for (long long entry = 0; entry < entries.dims().x; ++entry) {
    const unsigned char* place = begin + entry * entries.strides().x;
    for (std::size_t value = 0; value < table.values; ++value, place += bytes) {
      std::uint16_t number = *place;
      if (bytes == sizeof number) {
        std::memcpy(&number, place, sizeof number);
      }
      table.numbers.push_back(number);
    }
  }
  return table;
}

}  // namespace

std::optional<ExDicomUtilities::LUT> readTable(DcmItem& item, TableKind kind) {
  ExDicomUtilities::LUT table;
  ExDicomUtilities::LUT::dcmDatasetRead(table, item, kind == TableKind::kPalette);
  if (table.entries.isNull() || !table.entries->hasData()) {
    return std::nullopt;
  }
  return table;
}

std::optional<TableValues> readModalityTable(const File& file) {
  return atBoundary([&] { return numbersOf(readTable(file.dataset(), TableKind::kModality)); });
}

std::optional<TableValues> readPalette(const File& file) {
  return atBoundary([&] { return numbersOf(readTable(file.dataset(), TableKind::kPalette)); });
}

}  // namespace zr
