// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <functional>

class DcmItem;
class DcmPixelData;

namespace Zrg {

/// Visits everything that DCMTK decodes together with an item's own pixel data, each with the item
/// that owns it: for a dataset the images of all nested items (icons), for an item its own image
/// alone. Ends with the first visit that answers false; says whether all answered true.
bool visitImages(DcmItem& item, const std::function<bool(DcmItem&, DcmPixelData&)>& visit);

}  // namespace Zrg
