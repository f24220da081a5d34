// SPDX-License-Identifier: BSD-3-Clause
// From decoded samples to grey levels: modality line, then window or table. Samples of 8 and 16
// bits are looked up in a table of all values that they can take.
#include "zrimaging/Boundary.h"
#include "zrimaging/Pictures.h"
#include "zrimaging/pictures/SampleRange.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace zr {

namespace {

bool isLookedUp(SampleType type) {
  return bytesOf(type) <= 2;
}

// The sample that has these bits.
double sampleOfBits(SampleType type, std::size_t bits) {
  if (type == SampleType::kS8) {
    return static_cast<std::int8_t>(bits);
  }
  return type == SampleType::kS16 ? static_cast<double>(static_cast<std::int16_t>(bits))
                                  : static_cast<double>(bits);
}

}  // namespace

std::optional<SampleRange> rangeOfSamples(const SampleArray& array,
                                          const std::optional<PaddingRange>& padding) {
  double low = std::numeric_limits<double>::infinity();
  double high = -low;
  const std::size_t count = array.byteCount() / bytesOf(array.type);
  visitSamples(array, 0, count, [&](auto sample) {
    const auto value = static_cast<double>(sample);
    if (std::isfinite(value) && !(padding && padding->contains(value))) {
      low = std::min(low, value);
      high = std::max(high, value);
    }
  });
  return low <= high ? std::optional(SampleRange{low, high}) : std::nullopt;
}

unsigned char grayLevel(const FrameTraits& traits, const FrameDisplay& display, double sample) {
  const double value = valueOf(display, sample);
  const double gray =
      display.table ? grayFraction(value, *display.table) : grayFraction(value, display.window);
  return static_cast<unsigned char>(std::lround(255.0 * (traits.darkIsHigh ? 1.0 - gray : gray)));
}

std::set<unsigned char> extremeGreys(const FrameTraits& traits, const SampleArray& frame,
                                     const FrameDisplay& display) {
  return atBoundary([&]() -> std::set<unsigned char> {
    const std::optional<SampleRange> range = rangeOfSamples(frame, traits.padding);
    if (!range) {
      return {};
    }
    return {grayLevel(traits, display, range->first), grayLevel(traits, display, range->second)};
  });
}

std::vector<unsigned char> grayLevels(const FrameTraits& traits, const FrameDisplay& display) {
  return atBoundary([&] {
    const std::size_t entries = bytesOf(traits.type) == 1 ? 256 : 65536;
    std::vector<unsigned char> levels(entries);
    for (std::size_t bits = 0; bits < entries; ++bits) {
      levels[bits] = grayLevel(traits, display, sampleOfBits(traits.type, bits));
    }
    return levels;
  });
}

Greys::Greys(const FrameTraits& traits, const FrameDisplay& display)
    : traits_(traits),
      display_(display),
      levels_(isLookedUp(traits.type) ? grayLevels(traits, display)
                                      : std::vector<unsigned char>()) {}

Greys::Greys(std::vector<unsigned char> levels) : levels_(std::move(levels)) {}

void Greys::render(const SampleArray& frame, std::size_t first, std::size_t count,
                   unsigned char* levels) const {
  if (isLookedUp(frame.type)) {
    for (std::size_t i = 0; i < count; ++i) {
      levels[i] = levels_[frame.sample(first + i)];
    }
    return;
  }
  visitSamples(frame, first, count, [&](auto sample) {
    *levels++ = grayLevel(traits_, display_, static_cast<double>(sample));
  });
}

Picture renderFrame(const FrameTraits& traits, const SampleArray& frame,
                    const FrameDisplay& display) {
  return atBoundary([&]() -> Picture {
    Picture picture{frame.rows, frame.columns, 1, {}};
    picture.samples.resize(frame.rows * frame.columns);
    Greys(traits, display).render(frame, 0, picture.samples.size(), picture.samples.data());
    return picture;
  });
}

}  // namespace zr
