// SPDX-License-Identifier: BSD-3-Clause
// RLE Lossless (PS3.5 Annex G). A frame, all numbers little endian, offsets from the first byte of
// the header:
//
//   0   Uint32      number of segments n
//   4   Uint32[15]  offset of each segment, 0 for segments that are not there
//   64  segments    PackBits runs: control byte c, then
//                     c < 128   c + 1 literal bytes
//                     c = 128   nothing; DCMTK takes it for a run of 129 bytes
//                     c > 128   one byte that stands for 257 - c equal bytes
//
// A frame that is decoded together with all others may go on in the fragments that follow; of one
// that is decoded alone DCMTK reads a single fragment.
#include "streams/Rle.h"

#include "streams/CodedBounds.h"
#include "streams/FragmentStream.h"
#include "streams/Fragments.h"
#include "streams/Inspector.h"

#include <algorithm>
#include <array>
#include <limits>

namespace Zrg {

namespace {

constexpr unsigned int kHeaderSize = 64;
constexpr unsigned int kMostSegments = 15;
constexpr Uint8 kNoOperation = 128;

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

/// Whether a segment of up to `available` bytes yields `wanted` bytes; takes no more than it needs.
/// A control byte of 128 yields nothing, but DCMTK unpacks it as a run, with the byte behind it or,
/// at the end of a fragment, with none: a segment that is not full before it is refused.
bool passSegment(FragmentStream& stream, unsigned long long available, unsigned long long wanted) {
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

class RleInspector final : public Inspector {
public:
  [[nodiscard]] std::optional<FrameYield> inspect(Fragments& fragments, const FramePlace& place,
                                                  const FrameSize& size) const override {
    const unsigned long end = place.alone ? place.start + 1 : fragments.count();
    FragmentStream stream(fragments, place.start, end);
    if (!passRleFrame(stream, {size.bytesPerPixel(), size.pixels()})) {
      return std::nullopt;
    }
    return FrameYield{size.allocatedBytes(), stream.fragment() + 1};
  }

  [[nodiscard]] unsigned long long leastFrameBits(const FrameSize& size) const override {
    return leastRleBytes(size.bytesPerPixel(), size.pixels()) * kBitsPerByte;
  }

  /// The size of a frame bounds its segments so well that lengths alone tell enough.
  [[nodiscard]] bool mayHoldFrames(Fragments& fragments, const FramePlace& first,
                                   unsigned long count, const FrameSize& size) const override {
    const unsigned long long left = fragments.lengthOf(first.start, fragments.count());
    return left * kBitsPerByte / leastFrameBits(size) >= count;
  }
};

}  // namespace

bool passRleFrame(FragmentStream& stream, const RleLayout& layout) {
  std::array<Uint32, 1 + kMostSegments> header{};
  if (stream.fragmentLength() < kHeaderSize) {  // DCMTK copies it from the first fragment
    return false;
  }
  for (Uint32& value : header) {
    if (!readLittleEndian32(stream, value)) {
      return false;
    }
  }
  const Uint32 segments = header[0];
  if (segments < 1 || segments > kMostSegments || segments != layout.segments) {
    return false;
  }
  for (Uint32 segment = 1; segment <= segments; ++segment) {
    const unsigned long long begin = header[segment];
    const unsigned long long end =
        segment < segments ? header[segment + 1] : std::numeric_limits<unsigned long long>::max();
    if (begin < stream.position() || end < begin) {
      return false;
    }
    (void)stream.skip(begin - stream.position());
    if (stream.position() != begin || !passSegment(stream, end - begin, layout.planeSize)) {
      return false;
    }
  }
  return true;
}

const Inspector& rleInspector() {
  static constexpr RleInspector kInspector;
  return kInspector;
}

}  // namespace Zrg
