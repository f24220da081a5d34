// SPDX-License-Identifier: BSD-3-Clause
// JPEG of all processes, from baseline to lossless (ITU-T T.81). An image: SOI, then marker
// segments and markers without a segment, up to the frame header. Then more segments, among them
// those of scans (SOS), each with coded data behind it. FF 00 is a byte FF of the data, a restart
// (FF D0 to FF D7) belongs to it, any other marker ends it.
//
// Where a frame ends is known to the decoder alone; a start of image is never within coded data, so
// that every fragment which begins with one begins a frame.
#include "streams/Jpeg.h"

#include "streams/CodedBounds.h"
#include "streams/Fragments.h"
#include "streams/Inspector.h"

#include <algorithm>

namespace Zrg {

namespace {

using Jpeg::Segment;

constexpr Uint8 kMostBaselinePrecision = 8;
constexpr Uint8 kMostShortPrecision = 12;
constexpr Uint8 kAnyPrecision = 255;  // none: the attributes bound it

bool isFrameMarker(Uint8 marker) {
  return marker >= 0xC0 && marker <= 0xCF && marker != Jpeg::kHuffmanTables &&
         marker != Jpeg::kJpegExtension && marker != Jpeg::kArithmeticConditioning;
}

/// Bytes of the coded data where the stream is, up to the marker that ends it, which is taken; a
/// marker of 0 says that the stream ends before.
unsigned long long countCodedBytes(FragmentStream& stream, Uint8& marker) {
  unsigned long long bytes = 0;
  unsigned long long begin = stream.position();
  while (stream.skipPast(Jpeg::kMarkerPrefix)) {
    bytes += stream.position() - begin - 1;
    if (!Jpeg::readSecondByte(stream, marker)) {
      marker = 0;
      return bytes;
    }
    if (marker == Jpeg::kStuffedZero) {
      ++bytes;  // the prefix was a byte of the data
    } else if (marker < Jpeg::kFirstRestart || marker >= Jpeg::kStartOfImage) {
      return bytes;
    }
    begin = stream.position();
  }
  marker = 0;
  return bytes + (stream.position() - begin);
}

/// Bytes of coded data of all scans from where the stream is. Like the decoder it passes over
/// bytes that are no marker.
unsigned long long countCodedBytesOfScans(FragmentStream& stream) {
  unsigned long long bytes = 0;
  Uint8 marker = 0;
  while (marker != 0 ||
         (stream.skipPast(Jpeg::kMarkerPrefix) && Jpeg::readSecondByte(stream, marker))) {
    if (marker == Jpeg::kEndOfImage) {
      break;
    }
    const bool isScan = marker == Jpeg::kStartOfScan;
    const bool hasLength = marker > Jpeg::kUndefined && !Jpeg::standsAlone(marker);
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

bool beginsImage(Uint8 first, Uint8 second) {
  return first == Jpeg::kMarkerPrefix && second == Jpeg::kStartOfImage;
}

class JpegInspector final : public Inspector {
public:
  explicit constexpr JpegInspector(Uint8 mostPrecision) : mostPrecision_(mostPrecision) {}

  [[nodiscard]] std::optional<FrameYield> inspect(Fragments& fragments, const FramePlace& place,
                                                  const FrameSize& size) const override {
    if (place.start >= fragments.count()) {
      return std::nullopt;
    }
    const unsigned long end = endOfFrame(fragments, place.start);
    FragmentStream stream(fragments, place.start, end);
    const std::optional<JpegImage> image = passJpegImage(stream);
    if (!image || image->header.precision > mostPrecision_ || !Jpeg::agrees(image->header, size)) {
      return std::nullopt;
    }
    const std::optional<unsigned long long> least = leastJpegBits(image->header);
    if (!least || *least > image->codedBytes * kBitsPerByte) {
      return std::nullopt;
    }
    return FrameYield{Jpeg::jpegFrameBytes(image->header, size), end,
                      image->header.precision > kMostShortPrecision};
  }

  [[nodiscard]] unsigned long long leastFrameBits(const FrameSize& size) const override {
    return leastJpegBitsOfAnyKind(size.columns, size.rows);
  }

  [[nodiscard]] std::optional<CodedFrame> readHeader(FragmentStream& stream) const override {
    const std::optional<JpegFrameHeader> header = readJpegFrameHeader(stream);
    return header ? std::optional(Jpeg::codedFrameOf(*header)) : std::nullopt;
  }

  [[nodiscard]] bool beginsFrame(Uint8 first, Uint8 second) const override {
    return beginsImage(first, second);
  }

  [[nodiscard]] bool isDecodedForColourModel() const override { return true; }

private:
  [[nodiscard]] static unsigned long endOfFrame(Fragments& fragments, unsigned long start) {
    unsigned long end = start + 1;
    while (end < fragments.count() && !startsImage(fragments, end)) {
      ++end;
    }
    return end;
  }

  [[nodiscard]] static bool startsImage(Fragments& fragments, unsigned long fragment) {
    FragmentStream stream(fragments, fragment, fragments.count());
    Uint8 first = 0;
    Uint8 second = 0;
    return stream.read(first) && stream.read(second) && beginsImage(first, second);
  }

  Uint8 mostPrecision_;  ///< bits of a sample that the decoder takes
};

}  // namespace

std::optional<JpegFrameHeader> readJpegFrameHeader(FragmentStream& stream) {
  Uint8 marker = 0;
  if (!Jpeg::readStartOfImage(stream)) {
    return std::nullopt;
  }
  while (Jpeg::readMarker(stream, marker)) {
    if (Jpeg::endsSearch(marker)) {
      return std::nullopt;
    }
    if (Jpeg::standsAlone(marker)) {
      continue;
    }
    Segment segment(stream);
    if (isFrameMarker(marker)) {
      JpegFrameHeader header{};
      header.marker = marker;
      const bool isThere = Jpeg::readFrameHeader(segment, header);
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
  return JpegImage{*header, countCodedBytesOfScans(stream)};
}

const Inspector& jpegInspector() {
  static constexpr JpegInspector kInspector(kAnyPrecision);
  return kInspector;
}

const Inspector& baselineJpegInspector() {
  static constexpr JpegInspector kInspector(kMostBaselinePrecision);
  return kInspector;
}

}  // namespace Zrg
