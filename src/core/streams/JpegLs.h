// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "streams/JpegMarkers.h"

#include <optional>

namespace Zrg {

class Inspector;

/// A JPEG-LS image that was passed without decoding it.
struct JpegLsImage {
  JpegFrameHeader header;
  unsigned long long codedBytes;  ///< of all scans, without their headers
  Uint8 interleaveMode;           ///< of the first scan
};

/// Walks the JPEG-LS image that begins where the stream is, without decoding: to the marker behind
/// its last scan.
///
/// @return nothing when a segment or a scan is not there as a whole, or when it has coding
///         parameters that make the decoder read outside its buffers.
/// @see ITU-T T.87 Annex C (JPEG-LS bit stream)
[[nodiscard]] std::optional<JpegLsImage> passJpegLsImage(FragmentStream& stream);

/// Inspects JPEG-LS, lossless and near-lossless.
[[nodiscard]] const Inspector& jpegLsInspector();

}  // namespace Zrg
