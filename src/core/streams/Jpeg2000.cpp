// SPDX-License-Identifier: BSD-3-Clause
// JPEG 2000 as the guard asks for it: the fragments of a frame, and the walk over its headers.
#include "streams/Jpeg2000.h"

#include "streams/Fragments.h"
#include "streams/Inspector.h"
#include "streams/Jpeg2000Frames.h"
#include "streams/Jpeg2000Stream.h"

namespace Zrg {

namespace {

/// A main header, a tile-part and a packet.
constexpr unsigned long long kLeastBytes = 2 + 2 + 41 + 2 + 12 + 14 + 1;

class Jpeg2000Inspector final : public Inspector {
public:
  [[nodiscard]] std::optional<FrameYield> inspect(Fragments& fragments, const FramePlace& place,
                                                  const FrameSize& size) const override {
    const auto span = Jpeg2000Frames(fragments, place.frames).spanFrom(place.start);
    if (!span) {
      return std::nullopt;
    }
    const FrameBytes bytes(fragments, *span);
    // How many samples are too many is the codec's to say.
    const auto image = readJpeg2000Image(
        bytes.data(), bytes.size(),
        {size.columns, size.rows, size.samplesPerPixel, size.bitsAllocated, kBeyondCounting});
    return image ? std::optional(FrameYield{size.allocatedBytes(), span->end}) : std::nullopt;
  }

  [[nodiscard]] unsigned long long leastFrameBits(const FrameSize&) const override {
    return kLeastBytes * kBitsPerByte;
  }

  [[nodiscard]] std::optional<unsigned long> startOfFrame(
      Fragments& fragments, unsigned long frame, unsigned long long frames) const override {
    return Jpeg2000Frames(fragments, frames).startOf(frame);
  }

  [[nodiscard]] bool beginsFrame(Uint8 first, Uint8 second) const override {
    return (first == 0xFF && second == 0x4F) || (first == 0 && second == 0);
  }

  /// A decoder that believes Number of Frames takes memory for as many, whatever there is.
  [[nodiscard]] unsigned long long framesTogether(unsigned long long stated,
                                                  unsigned long long) const override {
    return stated;
  }
};

}  // namespace

const Inspector& jpeg2000Inspector() {
  static constexpr Jpeg2000Inspector kInspector;
  return kInspector;
}

}  // namespace Zrg
