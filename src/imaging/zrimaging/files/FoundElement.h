// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Attribute.h"

namespace zr {

/// An element and the item that holds it.
struct FoundElement {
  DcmItem* item = nullptr;
  DcmElement* element = nullptr;  ///< null when it is not there; the item may be missing too
};

/// Follows a path. Nothing is loaded or changed.
FoundElement locate(DcmItem& dataset, const AttributePath& path);

}  // namespace zr
