// SPDX-License-Identifier: BSD-3-Clause
// Gray ultrasound clip of a transducer that is swept up the neck: the carotid artery forks, the
// jugular vein lies beside it. The frames have a time and, the speed being known, a spacing.
#include "Builder.h"
#include "Canvas.h"
#include "Modules.h"
#include "Phantoms.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <cmath>

namespace phantoms {

namespace {

constexpr std::size_t kColumns = 192;
constexpr std::size_t kRows = 160;
constexpr std::size_t kFrames = 24;
constexpr double kSpacingMm = 1.5;

/// A vessel where the plane cuts it.
struct Vessel {
  Point centre;
  double rx;
  double ry;
  double wall;
};

// The artery widens before it forks, half way up; the vein is squeezed by the hand that holds the
// transducer, more and less.
std::vector<Vessel> vesselsAt(double way) {
  const double apart = std::max(way - 0.42, 0.0);
  const double forked = std::min(apart / 0.3, 1.0);
  const double bulb = 0.05 * std::clamp(1 - std::abs(way - 0.42) / 0.2, 0.0, 1.0);
  const double squeeze = 0.05 * std::sin(way * 9);
  const Point artery{-0.12, 0.12};
  const double inner = std::lerp(0.175, 0.155, forked) + bulb;
  const double outer = std::lerp(0.175, 0.115, forked) + bulb;
  return {{{0.42, -0.2}, 0.3, 0.17 + squeeze, 0.012},
          {{artery.x + 0.42 * apart, artery.y + 0.2 * apart}, inner, 0.97 * inner, 0.026},
          {{artery.x - 0.5 * apart, artery.y - 0.3 * apart}, outer, 0.97 * outer, 0.024}};
}

void drawTissue(Canvas& canvas, double way) {
  canvas.map([way](Point p, double) {
    const double layers = 0.1 * noise(p.x * 1.5, p.y * 16 + way * 1.5, 801);
    return 0.34 + layers + 0.08 * noise(p.x * 5, p.y * 7 + way * 3, 802);
  });
  canvas.fill({[](Point p) { return p.y + 0.9; }}, 0.75, 0.03);  // skin
  const auto fibres = [way](Point p) {
    return 0.2 + 0.25 * std::max(noise(p.x * 3 + way, p.y * 34, 803), 0.0);
  };
  canvas.fill(ellipse({0.55, -0.62}, 0.9, 0.2, 0.12), fibres, 0.05);      // muscle
  canvas.fill(ellipse({-0.95, 0.0}, 0.5, 0.42 - 0.2 * way), 0.58, 0.06);  // thyroid
  // Bone sends everything back and leaves a shadow.
  canvas.fill(ellipse({0.2, 1.0}, 0.62, 0.2), 0.95, 0.05);
  canvas.fill(ellipse({0.2, 1.09}, 0.62, 0.2), 0.06, 0.08);
}

void drawVessels(Canvas& canvas, double way) {
  const std::vector<Vessel> vessels = vesselsAt(way);
  // Sound passes blood undamped: what lies below a vessel is brighter.
  canvas.map([&vessels](Point p, double value) {
    const auto above = [p](const Vessel& vessel) {
      return std::abs(p.x - vessel.centre.x) < 0.75 * vessel.rx &&
             p.y > vessel.centre.y + vessel.ry;
    };
    return std::any_of(vessels.begin(), vessels.end(), above) ? 1.3 * value : value;
  });
  for (const Vessel& vessel : vessels) {
    canvas.fill(ellipse(vessel.centre, vessel.rx + vessel.wall, vessel.ry + vessel.wall), 0.85,
                0.02);
  }
  for (const Vessel& vessel : vessels) {
    canvas.fill(ellipse(vessel.centre, vessel.rx, vessel.ry), 0.025, 0.025);
  }
}

// Speckle is short along the beam and wider across it; deep echoes come back weak.
std::uint8_t echo(Point p, double tissue, std::uint64_t seed) {
  const double a = noise(p.x * 30, p.y * 55, seed);
  const double b = noise(p.x * 30 + 9, p.y * 55 + 5, seed + 1);
  const double speckle = 0.4 + 1.45 * std::sqrt((a * a + b * b) / 2);
  const double level = tissue * speckle * (1.06 - 0.2 * p.y);
  return static_cast<std::uint8_t>(std::lround(255 * std::pow(std::clamp(level, 0.0, 1.0), 0.72)));
}

std::vector<std::uint8_t> sweep() {
  std::vector<std::uint8_t> samples;
  samples.reserve(kColumns * kRows * kFrames);
  for (std::size_t frame = 0; frame < kFrames; ++frame) {
    const double way = static_cast<double>(frame) / (kFrames - 1);
    Canvas canvas(kColumns, kRows, 0);
    drawTissue(canvas, way);
    drawVessels(canvas, way);
    for (std::size_t i = 0; i < kColumns * kRows; ++i) {
      const Point p = canvas.pointOf(i % kColumns, i / kColumns);
      samples.push_back(echo(p, canvas.at(i % kColumns, i / kColumns), 811 + 2 * frame));
    }
  }
  return samples;
}

}  // namespace

Phantom ultrasoundSweep(unsigned number) {
  Builder builder(UID_UltrasoundMultiframeImageStorage, "US", "Neck, swept", number);
  builder.with(DCM_ImageType, "ORIGINAL\\PRIMARY\\VASCULAR\\0001").with(DCM_FrameTime, "50");
  builder.with(DCM_BodyPartExamined, "NECK");
  builder.with(DCM_FrameIncrementPointer, "(0018,1063)");
  builder.with(DCM_PixelSpacing, "0.25\\0.25");
  builder.with(DCM_SpacingBetweenSlices, decimal(kSpacingMm));
  builder.withPixels({kColumns, kRows, kFrames, 1, 8, 8, false, "MONOCHROME2"}, sweep());
  builder.with(DCM_LossyImageCompression, "00").withWindow(127.5, 256);
  return {"us-neck-sweep",
          "gray clip with Frame Time and a spacing: its frames are slices",
          builder.take(),
          {EXS_JPEGLSLossless, EXS_JPEGProcess1}};
}

}  // namespace phantoms
