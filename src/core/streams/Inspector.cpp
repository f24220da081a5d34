// SPDX-License-Identifier: BSD-3-Clause
#include "streams/Inspector.h"

#include "streams/Fragments.h"

namespace Zrg {

namespace {

class UnknownCoding final : public Inspector {
public:
  [[nodiscard]] std::optional<FrameYield> inspect(Fragments& fragments, const FramePlace& place,
                                                  const FrameSize& size) const override {
    if (fragments.length(place.start) == 0) {
      return std::nullopt;
    }
    // Where a frame ends cannot be known. One that is not alone in its fragments has at least one.
    const bool isLast = place.number + 1 >= place.frames;
    return FrameYield{size.allocatedBytes(), isLast ? fragments.count() : place.start + 1};
  }

  [[nodiscard]] unsigned long long leastFrameBits(const FrameSize&) const override {
    return kBitsPerByte;
  }

  /// A decoder that believes Number of Frames takes memory for as many, whatever there is.
  [[nodiscard]] unsigned long long framesTogether(unsigned long long stated,
                                                  unsigned long long) const override {
    return stated;
  }
};

}  // namespace

bool Inspector::mayHoldFrames(Fragments& fragments, const FramePlace& first, unsigned long count,
                              const FrameSize& size) const {
  const std::optional<FrameYield> yield = inspect(fragments, first, size);
  if (!yield) {
    return false;
  }
  const unsigned long long left = fragments.lengthOf(yield->end, fragments.count());
  return (count - 1) * leastFrameBits(size) <= left * kBitsPerByte;
}

std::optional<CodedFrame> Inspector::readHeader(FragmentStream&) const {
  return std::nullopt;
}

std::optional<unsigned long> Inspector::startOfFrame(Fragments& fragments, unsigned long frame,
                                                     unsigned long long frames) const {
  return fragments.startOfFrame(frame, frames);
}

bool Inspector::beginsFrame(Uint8, Uint8) const {
  return false;
}

const Inspector& inspectorOfUnknownCoding() {
  static constexpr UnknownCoding kInspector;
  return kInspector;
}

}  // namespace Zrg
