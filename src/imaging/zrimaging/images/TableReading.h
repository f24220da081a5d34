// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zrdcmexport/ExDicomUtilitiesLUT.h>

#include <optional>

class DcmItem;

namespace zr {

/// A table of an item.
enum class TableKind { kModality, kPalette };

/// Reads a table; nothing when there is none, or none with entries.
std::optional<ExDicomUtilities::LUT> readTable(DcmItem& item, TableKind kind);

}  // namespace zr
