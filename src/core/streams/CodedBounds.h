// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "streams/JpegMarkers.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctypes.h"

#include <optional>

namespace Zrg {

/// The fewest coded bits from which a decoder can make a frame. A stream that holds fewer is not
/// whole, whatever its header promises, and no memory is taken for it. What a frame of one value
/// takes in the best of cases is never more than this: no whole stream is below.

/// Bits of a Huffman-coded JPEG frame, all its scans together.
///
/// @return nothing for frames that DCMTK's decoders cannot decode: of hierarchical images, of
///         arithmetic coding, without components or with sampling factors that are not 1 to 4.
/// @see ITU-T T.81 F, G, H
[[nodiscard]] std::optional<unsigned long long> leastJpegBits(const JpegFrameHeader& frame);

/// Interleave modes of a JPEG-LS scan; 1 is line by line. @see ITU-T T.87 C.2.3
inline constexpr Uint8 kPlaneByPlane = 0;
inline constexpr Uint8 kPixelByPixel = 2;

/// Bits of a JPEG-LS frame, all its scans together.
///
/// @param interleaveMode that of the first scan
/// @see ITU-T T.87 A.7
[[nodiscard]] unsigned long long leastJpegLsBits(const JpegFrameHeader& frame,
                                                 Uint8 interleaveMode);

/// Bytes of an RLE frame of so many segments that yield `planeSize` bytes each, its header
/// included.
///
/// @see PS3.5 G.3, G.5
[[nodiscard]] unsigned long long leastRleBytes(unsigned long long segments,
                                               unsigned long long planeSize);

/// Bits of a JPEG frame of which only the size is known, whatever its process and its components.
[[nodiscard]] unsigned long long leastJpegBitsOfAnyKind(Uint16 columns, Uint16 rows);

}  // namespace Zrg
