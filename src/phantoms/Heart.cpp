// SPDX-License-Identifier: BSD-3-Clause
// Gated perfusion of the heart: short-axis slices of a left ventricle that thickens and narrows
// from time slot to time slot, once for beats of the usual length and once for longer ones.
#include "Builder.h"
#include "Canvas.h"
#include "Modules.h"
#include "Phantoms.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace phantoms {

namespace {

constexpr std::size_t kSize = 64;
constexpr std::size_t kSlices = 16;
constexpr std::size_t kTimeSlots = 8;
constexpr double kPixelMm = 2.2;
constexpr double kSliceMm = 6;

/// Beats of one range of lengths: longer ones fill the ventricle more, and there are fewer of them.
struct Interval {
  int nominalMs;
  double fillingMm;  ///< more radius at the end of filling
  double squeezeMm;  ///< less radius at the end of the squeeze
  double counts;     ///< at the brightest spot
};

constexpr std::array<Interval, 2> kIntervals{{{800, 0, 9, 900}, {1040, 2.5, 12, 640}}};

/// 0 wide (filled) to 1 squeezed. The slots start with the R wave; filling is fast, then slow.
constexpr std::array<double, kTimeSlots> kSqueeze{0.05, 0.45, 0.88, 1, 0.72, 0.3, 0.14, 0.04};

// Places in the body are in mm: x to the left of the patient, y to the back, z from the apex of the
// heart towards its valves; the long axis of the ventricle is x = y = 0.

/// Distance to the surface of an ellipsoid around the long axis, negative inside.
double toShell(const BodyPoint& at, double radius, double apex) {
  constexpr double kWidest = 58;
  constexpr double kTowardsValves = 75;
  const double along = at.z < kWidest ? kWidest - apex : kTowardsValves;
  const double u = std::hypot(at.x, at.y) / radius;
  const double w = (at.z - kWidest) / along;
  const double k = std::hypot(u, w);
  const double slope = std::hypot(u / radius, w / along);
  return slope > 0 ? k * (k - 1) / slope : -radius;
}

double inside(double distance, double edgeMm) {
  return std::clamp(0.5 - distance / edgeMm, 0.0, 1.0);
}

/// The left ventricle at one moment. Its muscle keeps its volume: what the cavity loses in radius
/// the wall gains.
class Ventricle {
public:
  Ventricle(const Interval& interval, double tight)
      : inner_(22 + interval.fillingMm - interval.squeezeMm * tight),
        outer_(32 + interval.fillingMm - 0.35 * interval.squeezeMm * tight),
        apex_(7 + 1.5 * tight),
        base_(86 - 13 * tight) {}

  double uptake(const BodyPoint& at) const {
    const double outer = inside(toShell(at, outer_, apex_), 2);
    const double inner = inside(toShell(at, inner_, apex_ + outer_ - inner_ - 1), 2);
    // The septum, on the right of the patient, ends before the free wall: a ring, then a horseshoe.
    const double radius = std::hypot(at.x, at.y);
    const double septal = radius > 0 ? std::max(-at.x / radius, 0.0) : 0.0;
    const double end = base_ - 20 * septal * septal;
    const double muscle = (outer - inner) * inside(at.z - end, 4);
    return muscle * (1 - 0.13 * septal) + 0.1 * inner;
  }

private:
  double inner_;
  double outer_;
  double apex_;
  double base_;
};

/// What lies around: the thin right ventricle, the dome of the liver, blood in everything.
double surroundings(const BodyPoint& at, double tight) {
  const double x = (at.x + 36 - 3 * tight) / (27 - 4 * tight);
  const double y = (at.y - 6) / (36 - 5 * tight);
  const double z = (at.z - 62) / 50;
  const double rightWall = std::exp(-std::pow((std::sqrt(x * x + y * y + z * z) - 1) / 0.16, 2));
  const double beside = std::clamp((-at.x - 14) / 12, 0.0, 1.0);
  const double liver = inside(std::hypot(at.x + 62, at.y - 88) - 52 + 0.25 * at.z, 12);
  return 0.06 + 0.27 * rightWall * beside + 0.34 * liver;
}

// The camera sees no slice sharply: it adds what lies a little before and behind it.
Canvas slice(const Interval& interval, std::size_t timeSlot, std::size_t index) {
  constexpr double kBlurMm = 4.5;
  const double tight = kSqueeze[timeSlot];
  const Ventricle ventricle(interval, tight);
  Canvas canvas(kSize, kSize, 0);
  canvas.map([&](Point p, double) {
    constexpr double kHalfMm = kPixelMm * kSize / 2;
    constexpr double kMiddleMm = -13;  // of both ventricles
    double sum = 0;
    double weights = 0;
    for (int step = -2; step <= 2; ++step) {
      const double off = 4.0 * step;
      const BodyPoint at{p.x * kHalfMm + kMiddleMm, p.y * kHalfMm,
                         kSliceMm * static_cast<double>(index) + off};
      const double weight = std::exp(-0.5 * std::pow(off / kBlurMm, 2));
      const double muscle = ventricle.uptake(at);
      sum += weight * std::max(muscle, surroundings(at, tight));
      weights += weight;
    }
    return sum / weights;
  });
  return canvas;
}

// Counts scatter as the square root of their number; the filter of the reconstruction makes blobs
// of the scatter and rounds the wall off, so that a thick wall also looks brighter than a thin one.
std::vector<std::uint16_t> counted(Canvas canvas, double counts, std::uint64_t seed) {
  constexpr double kScatter = 9;
  for (std::size_t row = 0; row < kSize; ++row) {
    for (std::size_t column = 0; column < kSize; ++column) {
      double& value = canvas.at(column, row);
      value *= counts;
      value += kScatter * std::sqrt(value) *
               grain(static_cast<std::int64_t>(column), static_cast<std::int64_t>(row), seed);
    }
  }
  canvas.smooth(1.7);
  std::vector<std::uint16_t> samples;
  for (std::size_t i = 0; i < kSize * kSize; ++i) {
    const double value = std::clamp(canvas.at(i % kSize, i / kSize), 0.0, 65535.0);
    samples.push_back(static_cast<std::uint16_t>(std::lround(value)));
  }
  return samples;
}

/// All frames with their numbers: the R-R interval changes slowest, the slice fastest.
struct GatedFrames {
  std::vector<std::uint16_t> samples;
  std::vector<std::uint16_t> rrIntervals;
  std::vector<std::uint16_t> timeSlots;
  std::vector<std::uint16_t> slices;
};

GatedFrames gatedFrames() {
  GatedFrames frames;
  std::uint64_t seed = 501;
  for (std::size_t interval = 0; interval < kIntervals.size(); ++interval) {
    for (std::size_t slot = 0; slot < kTimeSlots; ++slot) {
      for (std::size_t index = 0; index < kSlices; ++index) {
        const Interval& beats = kIntervals[interval];
        const std::vector<std::uint16_t> frame =
            counted(slice(beats, slot, index), beats.counts, seed++);
        frames.samples.insert(frames.samples.end(), frame.begin(), frame.end());
        frames.rrIntervals.push_back(static_cast<std::uint16_t>(interval + 1));
        frames.timeSlots.push_back(static_cast<std::uint16_t>(slot + 1));
        frames.slices.push_back(static_cast<std::uint16_t>(index + 1));
      }
    }
  }
  return frames;
}

void describeGates(Builder& builder) {
  DcmItem& gating = builder.item(DCM_GatedInformationSequence);
  for (std::size_t i = 0; i < kIntervals.size(); ++i) {
    const int nominal = kIntervals[i].nominalMs;
    DcmItem& item = itemOf(gating, DCM_DataInformationSequence, i);
    put(item, DCM_FrameTime, std::to_string(nominal / static_cast<int>(kTimeSlots)));
    put(item, DCM_NominalInterval, std::to_string(nominal));
    put(item, DCM_LowRRValue, std::to_string(nominal * 9 / 10));
    put(item, DCM_HighRRValue, std::to_string(nominal * 11 / 10));
    put(item, DCM_IntervalsAcquired, i == 0 ? "1480" : "620");
    put(item, DCM_IntervalsRejected, "37");
  }
  put(gating, DCM_BeatRejectionFlag, "Y");
}

}  // namespace

Phantom gatedHeart(unsigned number) {
  Builder builder(UID_NuclearMedicineImageStorage, "NM", "Heart, gated", number);
  describeEmission(builder, "DERIVED\\PRIMARY\\RECON GATED TOMO\\EMISSION");
  describeReconstruction(builder, {kSize, kSlices, kPixelMm, kSliceMm, 0});
  const GatedFrames frames = gatedFrames();
  builder.with(DCM_FrameIncrementPointer, "(0054,0060)\\(0054,0070)\\(0054,0080)");
  builder.with(DCM_NumberOfRRIntervals, std::to_string(kIntervals.size()));
  builder.with(DCM_NumberOfTimeSlots, std::to_string(kTimeSlots));
  builder.withWords(DCM_RRIntervalVector, frames.rrIntervals);
  builder.withWords(DCM_TimeSlotVector, frames.timeSlots);
  builder.withWords(DCM_SliceVector, frames.slices);
  describeGates(builder);
  const std::size_t count = frames.slices.size();
  builder.withPixels({kSize, kSize, count, 1, 16, 16, false, "MONOCHROME2"}, frames.samples);
  builder.with(DCM_BodyPartExamined, "HEART").withWindow(470, 940);
  return {"nm-heart-gated",
          "2 R-R intervals of 8 time slots of 16 slices: 16 volumes of a beating heart",
          builder.take(),
          {EXS_RLELossless, EXS_JPEGLSLossless}};
}

}  // namespace phantoms
