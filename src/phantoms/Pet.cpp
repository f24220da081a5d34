// SPDX-License-Identifier: BSD-3-Clause
// A tracer's uptake in coronal slices, seen through a colour table.
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

constexpr std::size_t kColumns = 160;
constexpr std::size_t kRows = 320;
constexpr std::size_t kSlices = 8;

/// Uptake of an ellipsoid with soft edges. Coordinates as on the canvas, z towards the viewer.
struct Organ {
  Point centre;
  double z;
  double rx;
  double ry;
  double rz;
  double uptake;
};

constexpr Organ kOrgans[] = {
    // the body's outline: head, neck, trunk, arms, thighs
    {{0, -0.84}, 0, 0.115, 0.14, 0.13, 24},
    {{0, -0.68}, 0, 0.06, 0.1, 0.07, 24},
    {{0, -0.42}, 0, 0.26, 0.24, 0.15, 23},
    {{0, -0.05}, 0, 0.23, 0.32, 0.15, 23},
    {{0, 0.2}, 0, 0.24, 0.18, 0.15, 23},
    {{-0.355, -0.25}, -0.02, 0.052, 0.33, 0.06, 22},
    {{0.355, -0.25}, -0.02, 0.052, 0.33, 0.06, 22},
    {{-0.38, 0.13}, -0.02, 0.038, 0.2, 0.05, 21},
    {{0.38, 0.13}, -0.02, 0.038, 0.2, 0.05, 21},
    {{-0.125, 0.65}, 0, 0.1, 0.45, 0.1, 22},
    {{0.125, 0.65}, 0, 0.1, 0.45, 0.1, 22},
    // what burns sugar, and where it leaves
    {{-0.042, -0.87}, 0.01, 0.04, 0.085, 0.09, 150},
    {{0.042, -0.87}, 0.01, 0.04, 0.085, 0.09, 150},
    {{0, -0.79}, -0.03, 0.055, 0.03, 0.05, 120},
    {{-0.09, -0.12}, 0.02, 0.125, 0.1, 0.12, 62},
    {{0.13, -0.1}, -0.04, 0.05, 0.07, 0.06, 60},
    {{-0.1, 0.03}, -0.07, 0.034, 0.062, 0.04, 115},
    {{0.1, 0.02}, -0.07, 0.034, 0.062, 0.04, 115},
    {{0, 0.3}, 0.03, 0.055, 0.048, 0.06, 250},
    {{0.02, 0.1}, 0.06, 0.12, 0.07, 0.05, 36},
    {{0, -0.3}, -0.08, 0.026, 0.3, 0.03, 48},
    // lesions to find
    {{-0.12, -0.38}, 0.03, 0.026, 0.026, 0.03, 165},
    {{-0.055, -0.44}, 0.0, 0.017, 0.017, 0.02, 140},
    {{0.17, 0.17}, -0.02, 0.02, 0.02, 0.025, 125},
    {{0.06, -0.64}, 0.02, 0.014, 0.014, 0.02, 110}};

double uptakeOf(const Organ& organ, Point p, double z) {
  const double x = (p.x - organ.centre.x) / organ.rx;
  const double y = (p.y - organ.centre.y) / organ.ry;
  const double depth = (z - organ.z) / organ.rz;
  const double radius = std::sqrt(x * x + y * y + depth * depth);
  return organ.uptake / (1 + std::exp((radius - 1) * 14));
}

// The heart muscle is a shell that is open towards the valves.
double heartUptake(Point p, double z) {
  const double x = (p.x - 0.07) / 0.062;
  const double y = (p.y + 0.27) / 0.058;
  const double depth = (z - 0.03) / 0.06;
  const double radius = std::sqrt(x * x + y * y + depth * depth);
  const double open = std::clamp((0.3 - (x - y)) * 0.8, 0.0, 1.0);
  return 150 * std::exp(-std::pow((radius - 0.85) / 0.28, 2)) * (1 - 0.85 * open);
}

std::vector<std::uint8_t> coronalSlices() {
  std::vector<std::uint8_t> samples;
  samples.reserve(kColumns * kRows * kSlices);
  for (std::size_t slice = 0; slice < kSlices; ++slice) {
    const double z = -0.09 + 0.025 * static_cast<double>(slice);
    Canvas canvas(kColumns, kRows, 0);
    canvas.map([z](Point p, double) {
      double strongest = heartUptake(p, z);
      for (const Organ& organ : kOrgans) {
        strongest = std::max(strongest, uptakeOf(organ, p, z));
      }
      return strongest;
    });
    canvas.map([slice](Point p, double value) {
      return value * (1 + 0.16 * fractalNoise(p.x * 45, p.y * 45, 301 + slice, 2)) +
             2.5 * fractalNoise(p.x * 40, p.y * 40, 351 + slice, 2);
    });
    canvas.smooth(1.1);
    for (std::size_t i = 0; i < kColumns * kRows; ++i) {
      const double value = canvas.at(i % kColumns, i / kColumns);
      samples.push_back(static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0))));
    }
  }
  return samples;
}

// Black, red, orange, yellow, white: each channel rises in its own part of the table.
std::vector<std::uint16_t> hotMetal(double from, double to) {
  std::vector<std::uint16_t> entries(256);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const double fraction = std::clamp((static_cast<double>(i) - from) / (to - from), 0.0, 1.0);
    entries[i] = static_cast<std::uint16_t>(std::lround(65535 * fraction));
  }
  return entries;
}

void addPalette(Builder& builder) {
  const DcmTagKey descriptors[] = {DCM_RedPaletteColorLookupTableDescriptor,
                                   DCM_GreenPaletteColorLookupTableDescriptor,
                                   DCM_BluePaletteColorLookupTableDescriptor};
  const DcmTagKey tables[] = {DCM_RedPaletteColorLookupTableData,
                              DCM_GreenPaletteColorLookupTableData,
                              DCM_BluePaletteColorLookupTableData};
  const double ramps[3][2] = {{0, 130}, {75, 205}, {170, 255}};
  for (int channel = 0; channel < 3; ++channel) {
    builder.withWords(DcmTag(descriptors[channel], DcmVR(EVR_US)), {256, 0, 16});
    builder.withWords(DcmTag(tables[channel], DcmVR(EVR_OW)),
                      hotMetal(ramps[channel][0], ramps[channel][1]));
  }
}

std::string countingTo(std::size_t count) {
  std::string text;
  for (std::size_t i = 1; i <= count; ++i) {
    text += (i == 1 ? "" : "\\") + std::to_string(i);
  }
  return text;
}

}  // namespace

Phantom petPalette(unsigned number) {
  Builder builder(UID_NuclearMedicineImageStorage, "NM", "Uptake, colour table", number);
  describeEmission(builder, "DERIVED\\PRIMARY\\RECON TOMO\\EMISSION");
  builder.with(DCM_PixelSpacing, "6\\6").with(DCM_SliceThickness, "15");
  builder.with(DCM_SpacingBetweenSlices, "15");
  builder.with(DCM_NumberOfSlices, std::to_string(kSlices));
  builder.with(DCM_FrameIncrementPointer, "(0054,0080)").with(DCM_BodyPartExamined, "WHOLEBODY");
  builder.with(DCM_SliceVector, countingTo(kSlices));
  addPalette(builder);
  builder.withPixels({kColumns, kRows, kSlices, 1, 8, 8, false, "PALETTE COLOR"}, coronalSlices());
  return {"nm-uptake-palette",
          "8-bit PALETTE COLOR, several frames",
          builder.take(),
          {EXS_RLELossless, EXS_JPEGProcess14SV1, EXS_JPEGLSLossless}};
}

}  // namespace phantoms
