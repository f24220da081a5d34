// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>
#include <zrimaging/Frames.h>
#include <zrimaging/Pictures.h>
#include <zrimaging/Samples.h>

namespace zr {

/// The least and the largest of samples.
using SampleRange = std::pair<double, double>;

/// The range of the samples of frames, without padding and without what is no finite number;
/// nothing when no sample is left.
std::optional<SampleRange> rangeOfSamples(const SampleArray& array,
                                          const std::optional<PaddingRange>& padding);

/// The modality value of a sample.
inline double valueOf(const FrameDisplay& display, double sample) {
  return display.slope * sample + display.intercept;
}

/// Grey level, 0 to 255, of a sample.
unsigned char grayLevel(const FrameTraits& traits, const FrameDisplay& display, double sample);

/// Hands `count` samples from the one numbered `first` on to `visit(sample)`, each in its own type.
template <class Visit>
void visitSamples(const SampleArray& array, std::size_t first, std::size_t count, Visit visit) {
  const auto visitAs = [&](auto sample) {
    const unsigned char* place = array.bytes + first * sizeof sample;
    for (std::size_t i = 0; i < count; ++i, place += sizeof sample) {
      std::memcpy(&sample, place, sizeof sample);
      visit(sample);
    }
  };
  switch (array.type) {
    case SampleType::kU8:
      return visitAs(std::uint8_t{});
    case SampleType::kS8:
      return visitAs(std::int8_t{});
    case SampleType::kU16:
      return visitAs(std::uint16_t{});
    case SampleType::kS16:
      return visitAs(std::int16_t{});
    case SampleType::kU32:
      return visitAs(std::uint32_t{});
    case SampleType::kS32:
      return visitAs(std::int32_t{});
    case SampleType::kF32:
      return visitAs(float{});
    case SampleType::kF64:
      break;
  }
  visitAs(double{});
}

}  // namespace zr
