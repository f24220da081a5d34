// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctypes.h"
#include "dcmtk/ofstd/ofcond.h"
#include "dcmtk/ofstd/ofstring.h"

#include <cstdint>

class DcmItem;

namespace zrcodecs {

/// What a decoder must know of an image. @see PS3.3 C.7.6.3 (Image Pixel Module)
struct CodedImageAttributes {
  Uint16 columns = 0;
  Uint16 rows = 0;
  Uint16 samplesPerPixel = 0;
  Uint16 bitsAllocated = 0;
  Uint16 bitsStored = 0;
  Uint16 pixelRepresentation = 0;
  Uint16 planarConfiguration = 0;  ///< 0 where the attribute is missing
  OFString photometricInterpretation;
  unsigned long numberOfFrames = 1;  ///< at least 1

  [[nodiscard]] std::uint64_t samples() const {
    return std::uint64_t{1} * columns * rows * samplesPerPixel;
  }
  /// Bytes of a frame. Only Bits Allocated 8 and 16 are decoded.
  [[nodiscard]] std::uint64_t frameBytes() const { return samples() * (bitsAllocated / 8U); }
};

/// Reads the attributes of an image.
///
/// @return the condition of the first one that is missing; EC_CannotChangeRepresentation where Bits
///         Allocated is neither 8 nor 16
[[nodiscard]] OFCondition readCodedImageAttributes(DcmItem& item, CodedImageAttributes& attributes);

}  // namespace zrcodecs
