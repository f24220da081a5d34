// SPDX-License-Identifier: BSD-3-Clause
// Reads compressed frames just far enough to know what a decoder would make of them.
//
// RLE frame (PS3.5 Annex G), all numbers little endian, offsets from the first byte of the header:
//
//   0   Uint32      number of stripes n
//   4   Uint32[15]  offset of each stripe, 0 for stripes that are not there
//   64  stripes     PackBits runs: control byte c, then
//                     c < 128   c + 1 literal bytes
//                     c = 128   nothing; DCMTK takes it for a run of 129 bytes
//                     c > 128   one byte that stands for 257 - c equal bytes
//
// JPEG image: SOI, then marker segments (FF, marker, 16-bit big endian length that counts itself,
// payload) and markers without a length, up to the frame header:
//
//   length, Uint8 precision, Uint16 rows, Uint16 columns, Uint8 components n,
//   n x (component, 4 bits each of horizontal and vertical sampling, table)
//
// Then more segments, among them those of scans (SOS), each with coded data behind it. FF 00 is a byte
// FF of the data, a restart (FF D0 to FF D7) belongs to it, any other marker ends it.
//
// JPEG-LS adds presets (LSE) and the scans. A byte above 7F behind FF ends the samples of a scan:
//
//   LSE   length, Uint8 type; of type 1: Uint16 MAXVAL, T1, T2, T3, RESET
//   SOS   length, Uint8 n, n x (component, table), Uint8 NEAR, Uint8 interleave mode, Uint8 0
#include "streams/CodecStream.h"

#include "streams/Fragments.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <limits>

namespace Zrg {

namespace {

constexpr unsigned int kRleHeaderSize = 64;
constexpr unsigned int kMostRleStripes = 15;
constexpr Uint8 kNoOperation = 128;

constexpr unsigned int kMarkerSize = 2;
constexpr Uint8 kMarkerPrefix = 0xFF;
constexpr Uint8 kStuffedZero = 0x00;
constexpr Uint8 kTemporaryUse = 0x01;
constexpr Uint8 kUndefined = 0x02;
constexpr Uint8 kLastReserved = 0xBF;
constexpr Uint8 kHuffmanTables = 0xC4;
constexpr Uint8 kJpegExtension = 0xC8;
constexpr Uint8 kArithmeticConditioning = 0xCC;
constexpr Uint8 kFirstRestart = 0xD0;
constexpr Uint8 kStartOfImage = 0xD8;
constexpr Uint8 kEndOfImage = 0xD9;
constexpr Uint8 kStartOfScan = 0xDA;
constexpr Uint8 kJpegLsFrame = 0xF7;
constexpr Uint8 kJpegLsPresets = 0xF8;

constexpr unsigned long long kComponentSize = 3;

constexpr Uint8 kLastStuffedByte = 0x7F;
constexpr Uint8 kCodingParameters = 1;
constexpr Uint16 kDefaultReset = 64;
constexpr Uint16 kLeastReset = 3;
constexpr Uint16 kMostReset = 255;
constexpr Uint8 kPlaneByPlane = 0;
constexpr Uint8 kPixelByPixel = 2;
constexpr Uint8 kMostPrecision = 16;

bool readBigEndian16(FragmentStream& stream, Uint16& value) {
  Uint8 high = 0;
  Uint8 low = 0;
  if (!stream.read(high) || !stream.read(low)) {
    return false;
  }
  value = static_cast<Uint16>(high << 8 | low);
  return true;
}

bool readLittleEndian32(FragmentStream& stream, Uint32& value) {
  value = 0;
  for (unsigned int shift = 0; shift < 32; shift += 8) {
    Uint8 byte = 0;
    if (!stream.read(byte)) {
      return false;
    }
    value |= static_cast<Uint32>(byte) << shift;
  }
  return true;
}

/// Whether a stripe of up to `available` bytes yields `wanted` bytes; takes no more than it needs.
/// A control byte of 128 yields nothing, but DCMTK unpacks it as a run, with the byte behind it or,
/// at the end of a fragment, with none: a stripe that needs to be read past one is none.
bool passRleStripe(FragmentStream& stream, unsigned long long available,
                   unsigned long long wanted) {
  unsigned long long yielded = 0;
  while (yielded < wanted) {
    Uint8 control = 0;
    if (available == 0 || !stream.read(control) || control == kNoOperation) {
      return false;
    }
    --available;
    const unsigned long long payload = control < 128 ? control + 1ULL : 1ULL;
    const unsigned long long taken = stream.skip(std::min(payload, available));
    available -= taken;
    if (control < 128) {
      yielded += taken;
    } else if (taken == 1) {
      yielded += 257ULL - control;
    }
  }
  return true;
}

bool isFrameMarker(Uint8 marker) {
  return marker >= 0xC0 && marker <= 0xCF && marker != kHuffmanTables && marker != kJpegExtension &&
         marker != kArithmeticConditioning;
}

/// Restarts, a repeated start of image and reserved markers stand alone.
bool standsAlone(Uint8 marker) {
  return (marker > kUndefined && marker <= kLastReserved) ||
         (marker >= kFirstRestart && marker <= kStartOfImage);
}

/// Markers that end the search. DCMTK's search for the frame header stands still at a marker for
/// temporary use and would never come back, so no stream that has one may reach it.
bool endsSearch(Uint8 marker) {
  return marker == kTemporaryUse || marker == kStuffedZero || marker == kUndefined ||
         marker == kEndOfImage || marker == kStartOfScan;
}

/// Takes the second byte of a marker whose prefix has been taken, behind any number of fill bytes.
bool readSecondByte(FragmentStream& stream, Uint8& marker) {
  do {
    if (!stream.read(marker)) {
      return false;
    }
  } while (marker == kMarkerPrefix);
  return true;
}

bool readMarker(FragmentStream& stream, Uint8& marker) {
  Uint8 prefix = 0;
  if (!stream.read(prefix) || prefix != kMarkerPrefix) {
    return false;
  }
  return readSecondByte(stream, marker);
}

bool readStartOfImage(FragmentStream& stream) {
  Uint8 prefix = 0;
  Uint8 marker = 0;
  return stream.read(prefix) && prefix == kMarkerPrefix && stream.read(marker) &&
         marker == kStartOfImage;
}

/// A marker segment: what its length leaves for the payload.
class Segment {
public:
  explicit Segment(FragmentStream& stream) : stream_(stream) {
    Uint16 length = 0;
    good_ = readBigEndian16(stream, length) && length >= sizeof(length);
    left_ = good_ ? length - sizeof(length) : 0;
  }

  bool read(Uint8& value) { return take(sizeof(value)) && stream_.read(value); }
  bool read(Uint16& value) { return take(sizeof(value)) && readBigEndian16(stream_, value); }
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

/// Reads all fields up to the number of components, and the sampling of as many of these as there are.
bool readFrameHeader(Segment& segment, JpegFrameHeader& header) {
  if (!segment.read(header.precision) || !segment.read(header.rows) ||
      !segment.read(header.columns) || !segment.read(header.components)) {
    return false;
  }
  const unsigned int components =
      std::min<unsigned int>(header.components, JpegFrameHeader::kMostComponents);
  bool isThere = true;
  for (unsigned int i = 0; i < components && isThere && segment.has(kComponentSize); ++i) {
    isThere = segment.skip(1) && segment.read(header.sampling[i]) && segment.skip(1);
  }
  return true;
}

/// Coding parameters of JPEG-LS; 0 where the stream leaves a parameter to its default.
struct Presets {
  Uint16 largestSample = 0;  ///< MAXVAL
  Uint16 reset = 0;
};

bool readPresets(Segment& segment, Presets& presets) {
  Uint8 type = 0;
  if (!segment.read(type) || type != kCodingParameters) {
    return segment.skipRest();
  }
  constexpr unsigned long long kThresholds = 3 * sizeof(Uint16);
  return segment.read(presets.largestSample) && segment.skip(kThresholds) &&
         segment.read(presets.reset) && segment.skipRest();
}

/// Whether the decoder takes a scan with these presets for what it is. A RESET of its own leads it
/// another way, where it does not check the largest sample, counts in 8 bits, and takes the
/// samples of a pixel for samples of a line.
bool isDecodable(const Presets& presets, const JpegFrameHeader& header, Uint8 interleaveMode) {
  if (presets.reset == 0 || presets.reset == kDefaultReset) {
    return true;
  }
  return presets.reset >= kLeastReset && presets.reset <= kMostReset &&
         header.precision <= kMostPrecision &&
         presets.largestSample == (1U << header.precision) - 1 && interleaveMode != kPixelByPixel;
}

bool readScanHeader(FragmentStream& stream, Uint8& interleaveMode) {
  Segment segment(stream);
  Uint8 components = 0;
  Uint8 near = 0;
  return segment.read(components) && segment.skip(2ULL * components) && segment.read(near) &&
         segment.read(interleaveMode) && segment.skipRest();
}

/// Skips coded samples, takes the marker that ends them and counts their bytes.
bool readMarkerBehindScan(FragmentStream& stream, Uint8& marker, unsigned long long& codedBytes) {
  const unsigned long long begin = stream.position();
  while (stream.skipPast(kMarkerPrefix) && stream.read(marker)) {
    if (marker > kLastStuffedByte) {
      codedBytes += stream.position() - begin - kMarkerSize;
      return true;
    }
  }
  return false;
}

/// Passes all scans, the first of whose markers has just been taken.
bool passJpegLsScans(FragmentStream& stream, JpegImage& image, const Presets& presets) {
  unsigned int scans = 1;
  for (unsigned int scan = 0; scan < scans; ++scan) {
    Uint8 interleaveMode = 0;
    Uint8 marker = 0;
    if (!readScanHeader(stream, interleaveMode) ||
        !isDecodable(presets, image.header, interleaveMode) ||
        !readMarkerBehindScan(stream, marker, image.codedBytes)) {
      return false;
    }
    if (scan == 0) {
      image.interleaveMode = interleaveMode;
      scans = interleaveMode == kPlaneByPlane ? image.header.components : 1;
    }
    if (scan + 1 < scans && marker != kStartOfScan) {
      return false;
    }
  }
  return true;
}

/// Bytes of the coded data where the stream stands, up to the marker that ends it, which is taken; a
/// marker of 0 says that the stream ends before.
unsigned long long countCodedBytes(FragmentStream& stream, Uint8& marker) {
  unsigned long long bytes = 0;
  unsigned long long begin = stream.position();
  while (stream.skipPast(kMarkerPrefix)) {
    bytes += stream.position() - begin - 1;
    if (!readSecondByte(stream, marker)) {
      marker = 0;
      return bytes;
    }
    if (marker == kStuffedZero) {
      ++bytes;  // the prefix was a byte of the data
    } else if (marker < kFirstRestart || marker >= kStartOfImage) {
      return bytes;
    }
    begin = stream.position();
  }
  marker = 0;
  return bytes + (stream.position() - begin);
}

/// Bytes of coded data of all scans from where the stream stands. Like the decoder it passes over
/// bytes that are no marker.
unsigned long long countCodedBytesOfScans(FragmentStream& stream) {
  unsigned long long bytes = 0;
  Uint8 marker = 0;
  while (marker != 0 || (stream.skipPast(kMarkerPrefix) && readSecondByte(stream, marker))) {
    if (marker == kEndOfImage) {
      break;
    }
    const bool isScan = marker == kStartOfScan;
    const bool hasLength = marker > kUndefined && !standsAlone(marker);
    marker = 0;
    if (hasLength && !Segment(stream).skipRest()) {
      break;
    }
    if (isScan) {
      bytes += countCodedBytes(stream, marker);
    }
  }
  return bytes;
}

}  // namespace

FragmentStream::FragmentStream(Fragments& fragments, unsigned long first, unsigned long end)
    : fragments_(fragments), fragment_(first), next_(first), end_(end) {}

unsigned long long FragmentStream::skipAcrossFragments(unsigned long long count) {
  unsigned long long skipped = 0;
  while (skipped < count && (cursor_ != limit_ || enterNextFragment())) {
    const auto here = static_cast<unsigned long long>(limit_ - cursor_);
    const unsigned long long step = std::min(count - skipped, here);
    cursor_ += step;
    skipped += step;
  }
  return skipped;
}

bool FragmentStream::skipPast(Uint8 value) {
  while (cursor_ != limit_ || enterNextFragment()) {
    const auto here = static_cast<std::size_t>(limit_ - cursor_);
    const auto* const found = static_cast<const Uint8*>(std::memchr(cursor_, value, here));
    if (found != nullptr) {
      cursor_ = found + 1;
      return true;
    }
    cursor_ = limit_;
  }
  return false;
}

unsigned long long FragmentStream::position() const {
  return before_ + static_cast<unsigned long long>(cursor_ - start_);
}

unsigned long long FragmentStream::fragmentLength() {
  if (start_ == nullptr) {
    (void)enterNextFragment();  // without a fragment the length is 0, which is the answer
  }
  return static_cast<unsigned long long>(limit_ - start_);
}

bool FragmentStream::enterNextFragment() {
  while (next_ < end_) {
    const unsigned long index = next_++;
    const Uint32 length = fragments_.length(index);
    const Uint8* const bytes = fragments_.bytes(index);
    if (length > 0 && bytes == nullptr) {
      next_ = end_;  // cannot be loaded
      return false;
    }
    if (length > 0) {
      before_ = position();
      fragment_ = index;
      start_ = bytes;
      cursor_ = bytes;
      limit_ = bytes + length;
      return true;
    }
  }
  return false;
}

bool passRleFrame(FragmentStream& stream, const RleLayout& layout) {
  std::array<Uint32, 1 + kMostRleStripes> header{};
  if (stream.fragmentLength() < kRleHeaderSize) {  // DCMTK copies it from the first fragment
    return false;
  }
  for (Uint32& value : header) {
    if (!readLittleEndian32(stream, value)) {
      return false;
    }
  }
  const Uint32 stripes = header[0];
  if (stripes < 1 || stripes > kMostRleStripes || stripes != layout.stripes) {
    return false;
  }
  for (Uint32 stripe = 1; stripe <= stripes; ++stripe) {
    const unsigned long long begin = header[stripe];
    const unsigned long long end =
        stripe < stripes ? header[stripe + 1] : std::numeric_limits<unsigned long long>::max();
    if (begin < stream.position() || end < begin) {
      return false;
    }
    (void)stream.skip(begin - stream.position());
    if (stream.position() != begin || !passRleStripe(stream, end - begin, layout.planeSize)) {
      return false;
    }
  }
  return true;
}

std::optional<JpegFrameHeader> readJpegFrameHeader(FragmentStream& stream) {
  Uint8 marker = 0;
  if (!readStartOfImage(stream)) {
    return std::nullopt;
  }
  while (readMarker(stream, marker)) {
    if (endsSearch(marker)) {
      return std::nullopt;
    }
    if (standsAlone(marker)) {
      continue;
    }
    Segment segment(stream);
    if (isFrameMarker(marker)) {
      JpegFrameHeader header{};
      header.marker = marker;
      const bool isThere = readFrameHeader(segment, header);
      (void)segment.skipRest();  // a stream that ends here has no scan, which is seen behind it
      return isThere ? std::optional(header) : std::nullopt;
    }
    if (!segment.skipRest()) {
      return std::nullopt;
    }
  }
  return std::nullopt;
}

std::optional<JpegImage> passJpegImage(FragmentStream& stream) {
  const std::optional<JpegFrameHeader> header = readJpegFrameHeader(stream);
  if (!header) {
    return std::nullopt;
  }
  return JpegImage{*header, countCodedBytesOfScans(stream), 0};
}

std::optional<JpegImage> passJpegLsImage(FragmentStream& stream) {
  Uint8 marker = 0;
  if (!readStartOfImage(stream)) {
    return std::nullopt;
  }
  std::optional<JpegFrameHeader> header;
  Presets presets;
  while (readMarker(stream, marker) && marker != kStartOfScan) {
    if (endsSearch(marker) || standsAlone(marker)) {
      return std::nullopt;
    }
    Segment segment(stream);
    bool whole = true;
    if (marker == kJpegLsFrame) {
      header = JpegFrameHeader{};
      header->marker = marker;
      whole = readFrameHeader(segment, *header) && segment.skipRest();
    } else {
      whole = marker == kJpegLsPresets ? readPresets(segment, presets) : segment.skipRest();
    }
    if (!whole) {
      return std::nullopt;
    }
  }
  if (!header) {
    return std::nullopt;
  }
  JpegImage image{*header, 0, 0};
  return passJpegLsScans(stream, image, presets) ? std::optional(image) : std::nullopt;
}

}  // namespace Zrg
