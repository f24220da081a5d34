// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dicom/FrameSize.h"
#include "streams/FragmentStream.h"

#include <zrdcmexport/ZrTransferSyntax.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctypes.h"

#include <array>

namespace Zrg {

/// What the frame header of a JPEG or JPEG-LS stream says.
struct JpegFrameHeader {
  /// Components of a frame that DCMTK's decoders can handle.
  static constexpr unsigned int kMostComponents = 10;

  Uint8 precision;   ///< bits of a sample
  Uint16 rows;       ///< lines of the image
  Uint16 columns;    ///< samples of a line
  Uint8 components;  ///< samples of a pixel
  Uint8 marker;      ///< second byte of the marker: the process that coded the frame

  /// How often each component is sampled, along a line in the high and down a column in the low
  /// four bits; 0 where the header does not say it.
  std::array<Uint8, kMostComponents> sampling;
};

/// Marker segments, which JPEG and JPEG-LS have in common: FF, marker, length of 16 bits that
/// counts itself, payload. All numbers are big endian. @see ITU-T T.81 B.1.1
namespace Jpeg {

inline constexpr unsigned int kMarkerSize = 2;
inline constexpr Uint8 kMarkerPrefix = 0xFF;
inline constexpr Uint8 kStuffedZero = 0x00;
inline constexpr Uint8 kTemporaryUse = 0x01;
inline constexpr Uint8 kUndefined = 0x02;
inline constexpr Uint8 kLastReserved = 0xBF;
inline constexpr Uint8 kHuffmanTables = 0xC4;
inline constexpr Uint8 kJpegExtension = 0xC8;
inline constexpr Uint8 kArithmeticConditioning = 0xCC;
inline constexpr Uint8 kFirstRestart = 0xD0;
inline constexpr Uint8 kStartOfImage = 0xD8;
inline constexpr Uint8 kEndOfImage = 0xD9;
inline constexpr Uint8 kStartOfScan = 0xDA;
inline constexpr Uint8 kJpegLsFrame = 0xF7;
inline constexpr Uint8 kJpegLsPresets = 0xF8;

/// Restarts, a repeated start of image and reserved markers have no segment.
[[nodiscard]] inline bool standsAlone(Uint8 marker) {
  return (marker > kUndefined && marker <= kLastReserved) ||
         (marker >= kFirstRestart && marker <= kStartOfImage);
}

/// Markers that end the search for a frame header. DCMTK's own search never comes past a marker for
/// temporary use, so no stream that has one may reach it.
[[nodiscard]] inline bool endsSearch(Uint8 marker) {
  return marker == kTemporaryUse || marker == kStuffedZero || marker == kUndefined ||
         marker == kEndOfImage || marker == kStartOfScan;
}

/// Takes the second byte of a marker whose prefix has been taken, behind any number of fill bytes.
[[nodiscard]] inline bool readSecondByte(FragmentStream& stream, Uint8& marker) {
  do {
    if (!stream.read(marker)) {
      return false;
    }
  } while (marker == kMarkerPrefix);
  return true;
}

/// Takes a marker; false when the next byte begins none.
[[nodiscard]] inline bool readMarker(FragmentStream& stream, Uint8& marker) {
  Uint8 prefix = 0;
  if (!stream.read(prefix) || prefix != kMarkerPrefix) {
    return false;
  }
  return readSecondByte(stream, marker);
}

/// Takes the marker that begins an image.
[[nodiscard]] bool readStartOfImage(FragmentStream& stream);

/// The segment behind a marker that has been taken: what its length leaves for the payload.
class Segment {
public:
  explicit Segment(FragmentStream& stream) : stream_(stream) {
    Uint16 length = 0;
    good_ = stream.readBigEndian(length) && length >= sizeof(length);
    left_ = good_ ? length - sizeof(length) : 0;
  }

  bool read(Uint8& value) { return take(sizeof(value)) && stream_.read(value); }
  bool read(Uint16& value) { return take(sizeof(value)) && stream_.readBigEndian(value); }
  bool skip(unsigned long long count) { return take(count) && stream_.skip(count) == count; }
  [[nodiscard]] bool has(unsigned long long count) const { return good_ && count <= left_; }
  /// Skips what is left; false when the segment reaches beyond the stream.
  bool skipRest() { return skip(left_); }

private:
  bool take(unsigned long long count) {
    good_ = good_ && count <= left_;
    left_ -= good_ ? count : 0;
    return good_;
  }

  FragmentStream& stream_;
  bool good_ = false;
  unsigned long long left_ = 0;
};

/// Reads all fields up to the number of components, and the sampling of as many of these as there
/// are:
///
///   Uint8 precision, Uint16 rows, Uint16 columns, Uint8 components n,
///   n x (component, 4 bits each of horizontal and vertical sampling, table)
///
/// @see ITU-T T.81 B.2.2
[[nodiscard]] bool readFrameHeader(Segment& segment, JpegFrameHeader& header);

/// Whether a frame header says what the attributes say.
[[nodiscard]] bool agrees(const JpegFrameHeader& header, const FrameSize& size);

/// Bytes of the samples that decoders make of a frame.
[[nodiscard]] unsigned long long jpegFrameBytes(const JpegFrameHeader& header,
                                                const FrameSize& size);

[[nodiscard]] CodedFrame codedFrameOf(const JpegFrameHeader& header);

}  // namespace Jpeg

}  // namespace Zrg
