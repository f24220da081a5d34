// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Frames.h"
#include "zrimaging/Image.h"

#include <ktlib/KtHandle.h>
#include <zrvolren/ZrOverlayData.h>

class DcmItem;

namespace zr {

/// Whether a group of the dataset describes an overlay in a bit of the samples.
bool hasEmbeddedOverlays(DcmItem& dataset);

/// Adds the overlays that have data of their own and lie on some frames of an image. What is
/// outside of the image, and planes without anything in it, are left out.
/// @param wanted   frames of the image, by their numbers in the file
/// @param overlays receives them behind those that are there; made when there are any and it is
/// null
void addOwnOverlays(DcmItem& dataset, const FrameTraits& traits, const FrameRange& wanted,
                    KtHandle<ZrOverlayData>& overlays);

}  // namespace zr
