// SPDX-License-Identifier: BSD-3-Clause
#include "streams/JpegMarkers.h"

#include <algorithm>

namespace Zrg::Jpeg {

namespace {

constexpr unsigned long long kComponentSize = 3;

}  // namespace

bool readStartOfImage(FragmentStream& stream) {
  Uint8 prefix = 0;
  Uint8 marker = 0;
  return stream.read(prefix) && prefix == kMarkerPrefix && stream.read(marker) &&
         marker == kStartOfImage;
}

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

bool agrees(const JpegFrameHeader& header, const FrameSize& size) {
  return header.precision <= size.bitsAllocated && header.rows == size.rows &&
         header.columns == size.columns && header.components == size.samplesPerPixel;
}

unsigned long long jpegFrameBytes(const JpegFrameHeader& header, const FrameSize& size) {
  return size.samples() * (header.precision > 8 ? 2 : 1);
}

CodedFrame codedFrameOf(const JpegFrameHeader& header) {
  return {header.columns, header.rows, header.components, header.precision, header.marker};
}

}  // namespace Zrg::Jpeg
