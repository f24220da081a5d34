// SPDX-License-Identifier: BSD-3-Clause
// JPEG-LS (ITU-T T.87). An image: SOI, then marker segments up to the first scan, among them the
// frame header (SOF55) and presets (LSE); then the scans, each with coded data behind it. A byte
// above 7F behind FF ends the data of a scan.
//
//   LSE   length, Uint8 type; of type 1: Uint16 MAXVAL, T1, T2, T3, RESET
//   SOS   length, Uint8 n, n x (component, table), Uint8 NEAR, Uint8 interleave mode, Uint8 0
#include "streams/JpegLs.h"

#include "streams/CodedBounds.h"
#include "streams/Fragments.h"
#include "streams/Inspector.h"

namespace Zrg {

namespace {

using Jpeg::Segment;

constexpr Uint8 kLastStuffedByte = 0x7F;
constexpr Uint8 kCodingParameters = 1;
constexpr Uint16 kDefaultReset = 64;
constexpr Uint16 kLeastReset = 3;
constexpr Uint16 kMostReset = 255;
constexpr Uint8 kMostPrecision = 16;

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
bool presetsFit(const Presets& presets, const JpegFrameHeader& header, Uint8 interleaveMode) {
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
  while (stream.skipPast(Jpeg::kMarkerPrefix) && stream.read(marker)) {
    if (marker > kLastStuffedByte) {
      codedBytes += stream.position() - begin - Jpeg::kMarkerSize;
      return true;
    }
  }
  return false;
}

/// What comes before the first scan.
struct Head {
  std::optional<JpegFrameHeader> frame;
  Presets presets;
};

/// Reads one segment, whose marker has been taken; false when it is not there as a whole.
bool readSegment(FragmentStream& stream, Uint8 marker, Head& head) {
  Segment segment(stream);
  if (marker == Jpeg::kJpegLsFrame) {
    head.frame = JpegFrameHeader{};
    head.frame->marker = marker;
    return Jpeg::readFrameHeader(segment, *head.frame) && segment.skipRest();
  }
  return marker == Jpeg::kJpegLsPresets ? readPresets(segment, head.presets) : segment.skipRest();
}

/// Reads all segments up to a marker that ends them, which is taken: that of the first scan, or of
/// the frame header. Nothing when something else comes first.
std::optional<Head> readHead(FragmentStream& stream, Uint8 last) {
  if (!Jpeg::readStartOfImage(stream)) {
    return std::nullopt;
  }
  Head head;
  Uint8 marker = 0;
  while (Jpeg::readMarker(stream, marker) && marker != Jpeg::kStartOfScan) {
    if (Jpeg::endsSearch(marker) || Jpeg::standsAlone(marker) ||
        !readSegment(stream, marker, head)) {
      return std::nullopt;
    }
    if (marker == last) {
      break;
    }
  }
  return head.frame ? std::optional(head) : std::nullopt;
}

/// Passes all scans, the first of whose markers has just been taken.
bool passScans(FragmentStream& stream, JpegLsImage& image, const Presets& presets) {
  unsigned int scans = 1;
  for (unsigned int scan = 0; scan < scans; ++scan) {
    Uint8 interleaveMode = 0;
    Uint8 marker = 0;
    if (!readScanHeader(stream, interleaveMode) ||
        !presetsFit(presets, image.header, interleaveMode) ||
        !readMarkerBehindScan(stream, marker, image.codedBytes)) {
      return false;
    }
    if (scan == 0) {
      image.interleaveMode = interleaveMode;
      scans = interleaveMode == kPlaneByPlane ? image.header.components : 1;
    }
    if (scan + 1 < scans && marker != Jpeg::kStartOfScan) {
      return false;
    }
  }
  return true;
}

class JpegLsInspector final : public Inspector {
public:
  [[nodiscard]] std::optional<FrameYield> inspect(Fragments& fragments, const FramePlace& place,
                                                  const FrameSize& size) const override {
    const std::optional<unsigned long> end =
        fragments.endOfJpegLsFrame(place.number, place.frames, place.start);
    if (!end) {
      return std::nullopt;
    }
    FragmentStream stream(fragments, place.start, *end);
    const std::optional<JpegLsImage> image = passJpegLsImage(stream);
    if (!image || !Jpeg::agrees(image->header, size) ||
        leastJpegLsBits(image->header, image->interleaveMode) > image->codedBytes * kBitsPerByte) {
      return std::nullopt;
    }
    return FrameYield{Jpeg::jpegFrameBytes(image->header, size), *end};
  }

  [[nodiscard]] unsigned long long leastFrameBits(const FrameSize& size) const override {
    return leastJpegLsBits({0, size.rows, size.columns, 1, 0, {}}, kPlaneByPlane);
  }

  [[nodiscard]] std::optional<CodedFrame> readHeader(FragmentStream& stream) const override {
    const std::optional<Head> head = readHead(stream, Jpeg::kJpegLsFrame);
    return head ? std::optional(Jpeg::codedFrameOf(*head->frame)) : std::nullopt;
  }

  [[nodiscard]] bool beginsFrame(Uint8 first, Uint8 second) const override {
    return first == Jpeg::kMarkerPrefix && second == Jpeg::kStartOfImage;
  }

  [[nodiscard]] unsigned long long framesAlone(unsigned long long stated,
                                               unsigned long long fragments) const override {
    return framesTogether(stated, fragments);
  }
};

}  // namespace

std::optional<JpegLsImage> passJpegLsImage(FragmentStream& stream) {
  const std::optional<Head> head = readHead(stream, Jpeg::kStartOfScan);
  if (!head) {
    return std::nullopt;
  }
  JpegLsImage image{*head->frame, 0, 0};
  return passScans(stream, image, head->presets) ? std::optional(image) : std::nullopt;
}

const Inspector& jpegLsInspector() {
  static constexpr JpegLsInspector kInspector;
  return kInspector;
}

}  // namespace Zrg
