// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <memory>

class DcmItem;

namespace zr {

/// An item for one frame: with copies of the attributes that tell what its containers are, without
/// pixel data. @see PS3.3 C.7.6.3 (Image Pixel Module), C.7.9 (Palette Color Lookup Table Module)
/// @throws Error OutOfMemory
std::unique_ptr<DcmItem> copyPixelAttributes(DcmItem& dataset);

}  // namespace zr
