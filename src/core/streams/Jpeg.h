// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "streams/JpegMarkers.h"

#include <optional>

namespace Zrg {

class Inspector;

/// Reads the frame header of the JPEG image that begins where the stream is, and is behind its
/// segment then, or at the end of a stream that ends before.
///
/// @return nothing when the scan, the end of the image or a byte that is no marker comes first, or
///         when the stream is one that the decoder's own search for the header does not survive.
/// @see ITU-T T.81 B.2 (marker segments)
[[nodiscard]] std::optional<JpegFrameHeader> readJpegFrameHeader(FragmentStream& stream);

/// A JPEG image that was passed without decoding it.
struct JpegImage {
  JpegFrameHeader header;
  unsigned long long codedBytes;  ///< of all scans, without their headers, stuffing and restarts
};

/// Walks the JPEG image that begins where the stream is to its end, or that of the stream. What the
/// decoder passes over with a warning is passed over here.
///
/// @return nothing when there is no frame header, see readJpegFrameHeader.
/// @see ITU-T T.81 B.1.1.5 (entropy-coded data segments)
[[nodiscard]] std::optional<JpegImage> passJpegImage(FragmentStream& stream);

/// Inspects JPEG of all processes of ITU-T T.81.
[[nodiscard]] const Inspector& jpegInspector();

/// Inspects JPEG that is called baseline: its decoder makes one byte of every sample, whatever the
/// stream says.
[[nodiscard]] const Inspector& baselineJpegInspector();

}  // namespace Zrg
