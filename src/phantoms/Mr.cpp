// SPDX-License-Identifier: BSD-3-Clause
// MR head, T1-like contrast, with a modality table instead of a rescale line.
#include "Builder.h"
#include "Canvas.h"
#include "Phantoms.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace phantoms {

namespace {

constexpr std::size_t kSize = 384;
constexpr std::size_t kTableEntries = 4096;
constexpr double kWhite = 2500;
constexpr double kGray = 1750;
constexpr double kFluid = 520;
constexpr double kFatSignal = 3500;

Shape brainShape() {
  return ellipse({0, 0.01}, 0.6, 0.76);
}

/// Distance of a point in the brain from the nearest sulcus, and how deep that sulcus reaches.
struct Sulcus {
  double distance;
  double deepest;
};

// Sulci wind inwards from the surface at about even distances, each to a depth of its own.
Sulcus nearestSulcus(Point p, double depth) {
  constexpr double kSulci = 32;
  constexpr double kTurn = 2 * std::numbers::pi;
  const double bend = 0.034 * noise(p.x * 6, p.y * 6, 101) + 0.012 * noise(p.x * 15, p.y * 15, 102);
  const double place = (std::atan2(p.y / 0.76, p.x / 0.6) / kTurn + 0.5) * kSulci;
  const double bent = place + bend * kSulci;
  const double number = std::round(bent);
  const double radius = std::sqrt(p.x * p.x + p.y * p.y);
  const double across = (bent - number) * kTurn * radius / kSulci;
  const auto id = static_cast<std::int64_t>(number);
  const double deepest = 0.09 + 0.16 * hash(id, 0, 103);
  const double below = std::max(depth - deepest, 0.0);
  return {std::sqrt(across * across + below * below), deepest};
}

// Gray matter lines the surface and every sulcus, fluid fills the sulci; the rest is white matter.
double brainTissue(Point p, double depth) {
  const Sulcus sulcus = nearestSulcus(p, depth);
  const double ragged = 0.006 * noise(p.x * 30, p.y * 30, 106);
  const double fluidHalf = 0.013 - 0.006 * std::clamp(depth / sulcus.deepest, 0.0, 1.0);
  const double toGray = std::min(sulcus.distance - 0.034, depth - 0.038) + ragged;
  const double grayness = std::clamp(0.5 - toGray / 0.014, 0.0, 1.0);
  const double fluid = std::clamp(0.5 - (sulcus.distance - fluidHalf) / 0.008, 0.0, 1.0);
  const double shade = 60 * fractalNoise(p.x * 9, p.y * 9, 104, 3);
  return std::lerp(std::lerp(kWhite, kGray, grayness) + shade, kFluid + 120, fluid);
}

void drawScalpAndSkull(Canvas& canvas) {
  const Shape brain = brainShape();
  canvas.fill(ellipse({0, 0.01}, 0.745, 0.915), 1300);
  canvas.fill(
      ellipse({0, 0.01}, 0.735, 0.9),
      [](Point p) { return kFatSignal + 350 * fractalNoise(p.x * 14, p.y * 14, 111, 2); }, 0.015);
  canvas.fill(ellipse({0, 0.01}, 0.69, 0.855), 260, 0.02);
  canvas.fill(rim(ellipse({0, 0.01}, 0.665, 0.828), 0.011), 1500, 0.02);  // marrow of the skull
  canvas.fill(grown(brain, 0.028), 1150, 0.014);                          // meninges
  canvas.fill(grown(brain, 0.018), kFluid - 120, 0.012);
}

void drawDeepStructures(Canvas& canvas, double side) {
  const auto at = [side](double x, double y) { return Point{side * x, y}; };
  // Nuclei around the ventricles: caudate, lentiform, thalamus, with the capsule between them.
  canvas.fill(ellipse(at(0.145, -0.17), 0.045, 0.085, -side * 0.25), kGray + 120, 0.02);
  canvas.fill(ellipse(at(0.245, -0.015), 0.062, 0.135, -side * 0.3), kGray + 170, 0.025);
  canvas.fill(ellipse(at(0.222, 0.0), 0.024, 0.085, -side * 0.3), kGray + 420, 0.025);
  canvas.fill(ellipse(at(0.105, 0.1), 0.072, 0.105, side * 0.35), kGray + 210, 0.025);
  const Shape fissure =
      outline({at(0.36, -0.15), at(0.385, -0.09), at(0.5, -0.06), at(0.385, -0.05), at(0.4, 0.05),
               at(0.375, 0.16), at(0.378, 0.04), at(0.362, -0.06)});
  canvas.fill(grown(fissure, 0.028), kGray, 0.03);
  canvas.fill(grown(fissure, 0.004), kFluid + 120, 0.016);
  // The ventricle: front horn, and trigone with its choroid plexus.
  canvas.fill(outline({at(0.012, -0.17), at(0.05, -0.28), at(0.115, -0.335), at(0.125, -0.29),
                       at(0.09, -0.2), at(0.03, -0.09)}),
              kFluid, 0.014);
  canvas.fill(outline({at(0.1, 0.2), at(0.17, 0.22), at(0.235, 0.33), at(0.225, 0.43),
                       at(0.185, 0.39), at(0.14, 0.29)}),
              kFluid, 0.014);
  canvas.fill(ellipse(at(0.178, 0.3), 0.018, 0.045, -side * 0.5), kGray + 300, 0.015);
}

void drawMidline(Canvas& canvas) {
  canvas.fill(stroke({0, -0.76}, {0, -0.4}, 0.009, 0.006), kFluid + 200, 0.012);
  canvas.fill(stroke({0, 0.36}, {0, 0.79}, 0.006, 0.01), kFluid + 200, 0.012);
  canvas.fill(stroke({0, -0.77}, {0, -0.42}, 0.003, 0.003), 1500, 0.008);
  canvas.fill(stroke({0, 0.38}, {0, 0.79}, 0.003, 0.004), 1500, 0.008);
  canvas.fill(either(stroke({-0.12, -0.37}, {0, -0.32}, 0.03, 0.034),
                     stroke({0, -0.32}, {0.12, -0.37}, 0.034, 0.03)),
              kWhite + 150, 0.014);  // front of the corpus callosum
  canvas.fill(either(stroke({-0.14, 0.37}, {0, 0.28}, 0.03, 0.04),
                     stroke({0, 0.28}, {0.14, 0.37}, 0.04, 0.03)),
              kWhite + 150, 0.014);
  canvas.fill(stroke({0, -0.27}, {0, -0.1}, 0.005, 0.005), kWhite - 200, 0.01);
  canvas.fill(ellipse({0, 0.07}, 0.011, 0.09), kFluid, 0.012);        // third ventricle
  canvas.fill(ellipse({0, 0.21}, 0.018, 0.012), kGray + 600, 0.014);  // pineal gland
}

Canvas head() {
  Canvas canvas(kSize, kSize, 0);
  const Shape brain = brainShape();
  drawScalpAndSkull(canvas);
  canvas.fill(
      brain, [&brain](Point p) { return brainTissue(p, -brain(p)); }, 0.01);
  drawDeepStructures(canvas, -1);
  drawDeepStructures(canvas, 1);
  drawMidline(canvas);
  canvas.smooth(0.75);
  return canvas;
}

// Magnitude images hold the length of a noisy complex number, so that even air is not quite 0; a
// coil gives more signal near to it.
std::vector<std::uint16_t> magnitude(Canvas canvas) {
  canvas.map([](Point p, double value) { return value * (1.04 - 0.09 * (p.x * p.x + p.y * p.y)); });
  std::vector<std::uint16_t> samples;
  samples.reserve(kSize * kSize);
  for (std::size_t row = 0; row < kSize; ++row) {
    for (std::size_t column = 0; column < kSize; ++column) {
      const auto x = static_cast<std::int64_t>(column);
      const auto y = static_cast<std::int64_t>(row);
      const double real = canvas.at(column, row) + 42 * grain(x, y, 121);
      const double imaginary = 42 * grain(x, y, 122);
      const double length = std::sqrt(real * real + imaginary * imaginary);
      samples.push_back(static_cast<std::uint16_t>(std::lround(std::clamp(length, 0.0, 4095.0))));
    }
  }
  return samples;
}

// Lifts the dark half: what a scanner with a curved response would store as its table.
std::vector<std::uint16_t> responseTable() {
  std::vector<std::uint16_t> entries(kTableEntries);
  for (std::size_t i = 0; i < kTableEntries; ++i) {
    const double fraction = static_cast<double>(i) / static_cast<double>(kTableEntries - 1);
    entries[i] = static_cast<std::uint16_t>(std::lround(60000 * std::pow(fraction, 0.8)));
  }
  return entries;
}

void addModalityTable(Builder& builder) {
  DcmItem& item = builder.item(DCM_ModalityLUTSequence);
  const std::vector<std::uint16_t> entries = responseTable();
  const Uint16 descriptor[3] = {static_cast<Uint16>(kTableEntries), 0, 16};
  DcmTag descriptorTag(DCM_LUTDescriptor);
  descriptorTag.setVR(DcmVR(EVR_US));
  DcmTag dataTag(DCM_LUTData);
  dataTag.setVR(DcmVR(EVR_OW));
  OFCondition made = item.putAndInsertUint16Array(descriptorTag, descriptor, 3);
  if (made.good()) {
    made = item.putAndInsertString(DCM_LUTExplanation, "Curved response");
  }
  if (made.good()) {
    made = item.putAndInsertString(DCM_ModalityLUTType, "US");
  }
  if (made.good()) {
    made = item.putAndInsertUint16Array(dataTag, entries.data(), entries.size());
  }
  mustSucceed(made, "a modality table");
}

}  // namespace

Phantom mrBrainWithLut(unsigned number) {
  Builder builder(UID_MRImageStorage, "MR", "Head, modality table", number);
  builder.with(DCM_BodyPartExamined, "HEAD");
  builder.with(DCM_ImageType, "ORIGINAL\\PRIMARY\\M_SE\\M\\SE").with(DCM_AcquisitionNumber, "1");
  builder.with(DCM_ScanningSequence, "SE").with(DCM_SequenceVariant, "NONE");
  builder.with(DCM_ScanOptions, "").with(DCM_MRAcquisitionType, "2D");
  builder.with(DCM_RepetitionTime, "550").with(DCM_EchoTime, "12").with(DCM_EchoTrainLength, "1");
  builder.withAxialPlane(0.6, 4, kSize);
  builder.withPixels({kSize, kSize, 1, 1, 16, 16, false, "MONOCHROME2"}, magnitude(head()));
  builder.withWindow(26000, 52000);
  addModalityTable(builder);
  return {"mr-head-modality-lut",
          "16-bit samples behind a modality table",
          builder.take(),
          {EXS_RLELossless, EXS_JPEGProcess14SV1, EXS_JPEGLSLossless}};
}

}  // namespace phantoms
