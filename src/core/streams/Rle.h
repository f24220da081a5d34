// SPDX-License-Identifier: BSD-3-Clause
#pragma once

namespace Zrg {

class FragmentStream;
class Inspector;

/// What an RLE frame must hold: a header and one segment for every byte of a pixel.
struct RleLayout {
  unsigned int segments;         ///< bytes of a pixel
  unsigned long long planeSize;  ///< bytes that a segment must yield: the pixels of the frame
};

/// Walks an RLE frame from its header to the byte that completes its last segment, without
/// decoding.
///
/// @return true when the header agrees with the layout and every segment yields a whole plane from
///         bytes that are there. The stream is in the last fragment of the frame then.
/// @see PS3.5 Annex G (RLE Lossless compression)
[[nodiscard]] bool passRleFrame(FragmentStream& stream, const RleLayout& layout);

/// Inspects RLE Lossless.
[[nodiscard]] const Inspector& rleInspector();

}  // namespace Zrg
