// SPDX-License-Identifier: BSD-3-Clause
// The distance of neighbouring frames: by their positions, else what the dataset says of it. The
// thickness of a slice is no distance.
#include "zrimaging/Boundary.h"
#include "zrimaging/FrameAttributes.h"
#include "zrimaging/geometry/Vectors.h"
#include "zrimaging/images/FrameNumbers.h"

#include <algorithm>
#include <cmath>

namespace zr {

namespace {

bool agreeInPlane(const FrameAttributes& one, const FrameAttributes& other) {
  return one.position && other.position && one.orientation == other.orientation &&
         one.inVolumeSpace == other.inVolumeSpace;
}

// By their positions, which all frames have.
std::optional<double> stepBetween(const std::vector<const FrameAttributes*>& frames) {
  const Vector& first = *frames.front()->position;
  const auto steps = static_cast<double>(frames.size() - 1);
  const Vector whole = along(*frames.back()->position, first, -1);
  const Vector step = {whole[0] / steps, whole[1] / steps, whole[2] / steps};
  const double length = std::sqrt(dot(step, step));
  const double forward = dot(step, normalOf(*frames.front()->orientation));
  for (std::size_t i = 0; i < frames.size(); ++i) {
    const Vector expected = along(first, step, static_cast<double>(i));
    if (!isEven(distance(*frames[i]->position, expected), length)) {
      return std::nullopt;
    }
  }
  // Steps within the plane of the frames are no distance between planes.
  constexpr double kLeastSlope = 0.1;
  if (!(length > 0) || std::abs(forward) < kLeastSlope * length) {
    return std::nullopt;
  }
  constexpr double kParts = 1e9;  // of a millimetre: what is finer comes from adding doubles
  return std::copysign(std::round(length * kParts) / kParts, forward);
}

}  // namespace

std::optional<double> frameSpacingMm(const PerFrameAttributes& image,
                                     const std::vector<std::size_t>& numbers) {
  return atBoundary([&]() -> std::optional<double> {
    std::vector<const FrameAttributes*> frames;
    frames.reserve(numbers.size());
    for (const std::size_t number : numbers) {
      frames.push_back(&frameAt(image, number));
    }
    if (frames.empty()) {
      return std::nullopt;
    }
    const FrameAttributes& first = *frames.front();
    const bool placed = first.orientation &&
                        std::all_of(frames.begin(), frames.end(),
                                    [&](const auto* frame) { return agreeInPlane(first, *frame); });
    if (placed && frames.size() > 1) {
      return stepBetween(frames);
    }
    const bool said = std::all_of(frames.begin(), frames.end(), [&](const auto* frame) {
      return frame->sliceSpacing == first.sliceSpacing;
    });
    return said ? first.sliceSpacing : std::nullopt;
  });
}

}  // namespace zr
