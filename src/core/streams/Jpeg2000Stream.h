// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dicom/Result.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Zrg {

/// What the attributes of an image say of each of its frames, and what the caller allows.
struct Jpeg2000Frame {
  std::uint16_t columns;
  std::uint16_t rows;
  std::uint16_t samplesPerPixel;
  std::uint16_t bitsAllocated;
  std::uint64_t mostSamples;  ///< columns x rows x samples per pixel at most
};

/// One component of a JPEG 2000 image, as its SIZ segment describes it.
struct Jpeg2000Component {
  std::uint8_t precision;  ///< bits of a sample
  bool isSigned;
  std::uint8_t horizontal;  ///< distance of its samples, in pixels
  std::uint8_t vertical;
};

/// A JPEG 2000 image whose headers were read.
struct Jpeg2000Image {
  std::size_t begin;  ///< first byte of the codestream, behind the boxes of a file
  std::size_t end;    ///< the byte behind its last tile-part; an end marker may follow
  std::vector<Jpeg2000Component> components;
  bool isHighThroughput;
};

/// Reads the headers of a JPEG 2000 or HTJ2K image, a codestream or a JP2 file, without decoding
/// it.
///
/// OpenJPEG trusts headers: a stream of 6 KB can take gigabytes and seconds. What passes here takes
/// time and memory in proportion to its samples and its bytes: the size is that of the attributes,
/// each tile is there as a whole, and there are no more packets and code-blocks than so many bytes
/// can describe.
///
/// @param bytes all fragments of a frame
/// @return the reason where the image must not be decoded
/// @see ITU-T T.800 Annex A (codestream), I (JP2 file format); T.814 (HTJ2K); PS3.5 A.4.4
[[nodiscard]] Result<Jpeg2000Image> readJpeg2000Image(const std::uint8_t* bytes, std::size_t size,
                                                      const Jpeg2000Frame& frame);

/// Whether bytes begin a JPEG 2000 codestream or a JP2 file; 12 of them are enough.
[[nodiscard]] bool beginsJpeg2000(const std::uint8_t* bytes, std::size_t size);

}  // namespace Zrg
