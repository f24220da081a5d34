// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "streams/CodedBounds.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctypes.h"

#include <optional>

namespace Zrg {

class Fragments;

/// Bytes of neighbouring fragments of encapsulated pixel data, read forward as one stream. Fragments
/// are loaded when they are reached; one that cannot be loaded ends the stream.
class FragmentStream {
public:
  /// The fragments `first` to `end` - 1, which must outlive the stream.
  FragmentStream(Fragments& fragments, unsigned long first, unsigned long end);

  /// Takes the next byte; false at the end of the stream.
  bool read(Uint8& byte) {
    if (cursor_ == limit_ && !enterNextFragment()) {
      return false;
    }
    byte = *cursor_++;
    return true;
  }

  /// Takes up to `count` bytes without looking at them; returns how many there were.
  unsigned long long skip(unsigned long long count) {
    if (count <= static_cast<unsigned long long>(limit_ - cursor_)) {
      cursor_ += count;
      return count;
    }
    return skipAcrossFragments(count);
  }

  /// Takes all bytes up to the next one with a given value, and that one; false when there is none.
  bool skipPast(Uint8 value);

  /// Bytes taken so far.
  [[nodiscard]] unsigned long long position() const;

  /// Bytes of the fragment that the stream stands in; that of the first one before any is taken.
  [[nodiscard]] unsigned long long fragmentLength();

  /// Index of the fragment that the last byte came from.
  [[nodiscard]] unsigned long fragment() const { return fragment_; }

private:
  bool enterNextFragment();
  unsigned long long skipAcrossFragments(unsigned long long count);

  Fragments& fragments_;
  unsigned long fragment_;
  unsigned long next_;
  unsigned long end_;
  unsigned long long before_ = 0;  // bytes of the fragments before the one the stream stands in
  const Uint8* start_ = nullptr;
  const Uint8* cursor_ = nullptr;
  const Uint8* limit_ = nullptr;
};

/// What an RLE frame must hold: a header and one stripe for every byte of a pixel.
struct RleLayout {
  unsigned int stripes;          ///< bytes of a pixel
  unsigned long long planeSize;  ///< bytes that a stripe must yield: the pixels of the frame
};

/// Walks an RLE frame from its header to the byte that completes its last stripe, without decoding.
///
/// @return true when the header agrees with the layout and every stripe yields a whole plane from
///         bytes that are there. The stream then stands in the last fragment of the frame.
/// @see PS3.5 Annex G (RLE Lossless compression)
[[nodiscard]] bool passRleFrame(FragmentStream& stream, const RleLayout& layout);

/// Reads the frame header of the JPEG image that starts where the stream stands, and stands behind
/// its segment then, or at the end of a stream that ends before.
///
/// @return nothing when the scan, the end of the image or a byte that is no marker comes first, or
///         when the stream is one that the decoder's own search for the header does not survive.
/// @see ITU-T T.81 B.2 (marker segments)
[[nodiscard]] std::optional<JpegFrameHeader> readJpegFrameHeader(FragmentStream& stream);

/// A JPEG or JPEG-LS image that was passed without decoding it.
struct JpegImage {
  JpegFrameHeader header;
  unsigned long long codedBytes;  ///< of all scans, without their headers, stuffing and restarts
  Uint8 interleaveMode;           ///< of the first scan; JPEG-LS alone has one
};

/// Walks the JPEG image that starts where the stream stands to its end, or that of the stream. What
/// the decoder passes over with a warning is passed over here.
///
/// @return nothing when there is no frame header, see readJpegFrameHeader.
/// @see ITU-T T.81 B.1.1.5 (entropy-coded data segments)
[[nodiscard]] std::optional<JpegImage> passJpegImage(FragmentStream& stream);

/// Walks the JPEG-LS image that starts where the stream stands, without decoding: to the marker
/// behind its last scan.
///
/// @return nothing when a segment or a scan is not there as a whole, or when it has coding
///         parameters that make the decoder read outside its buffers.
/// @see ITU-T T.87 Annex C (JPEG-LS bit stream)
[[nodiscard]] std::optional<JpegImage> passJpegLsImage(FragmentStream& stream);

}  // namespace Zrg
