// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ktlib/KtVec2f.h>

class DcmItem;

/// What a slice says of its image besides the samples.
namespace Zrg {

class SliceImage;
struct ImageAttributes;

namespace Decoding {

/// Whether the image was lossy-compressed at some time: its attribute says so, or else its transfer
/// syntax is not known to keep every sample. @see PS3.3 C.7.6.1.1.5 (Lossy Image Compression)
[[nodiscard]] bool isLossy(DcmItem& item);

/// A pair of numbers that nothing says: (NaN, NaN).
[[nodiscard]] KtVec2f notSet();

/// (slope, intercept); (1, 0) unless both are there and the slope is not 0.
[[nodiscard]] KtVec2f readRescale(DcmItem& item);
/// (centre, width) of the first window; NaN unless both are there.
[[nodiscard]] KtVec2f readWindow(DcmItem& item);
/// (column spacing, row spacing); NaN unless both are there.
[[nodiscard]] KtVec2f readSpacing(DcmItem& item);

/// Puts into the record of an image what the attributes say.
void storeAttributes(SliceImage& slice, DcmItem& item, const ImageAttributes& attributes);

}  // namespace Decoding

}  // namespace Zrg
