// SPDX-License-Identifier: BSD-3-Clause
// The dose of a treatment plan on grids of planes: evenly spaced from the feet up, the same from
// the head down, and closer where the target is.
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

constexpr std::size_t kSize = 96;
constexpr std::size_t kFrames = 12;
constexpr double kSpacingMm = 5;
constexpr double kMiddleMm = kSpacingMm * (kFrames - 1) / 2;

// Five beams meet in a target that is shaped like a bean and leans to one side on its way up. z is
// measured from the middle of the grid, and 0.8 at its ends.
double doseAt(Point p, double z) {
  double dose = 0;
  for (int beam = 0; beam < 5; ++beam) {
    const double angle = 0.55 + 1.2566 * beam;
    const double across = -p.x * std::sin(angle) + p.y * std::cos(angle);
    const double along = p.x * std::cos(angle) + p.y * std::sin(angle);
    const double edge = 1 / (1 + std::exp((std::abs(across) - 0.19) * 40));
    dose += 11.5 * edge * std::exp(0.55 * along);
  }
  const double x = p.x - 0.25 * z;
  const double target = std::sqrt(x * x / 0.05 + p.y * p.y / 0.04);
  dose += 6 / (1 + std::exp((target - 1) * 9));
  return dose / (1 + std::exp((std::abs(z) - 0.55) * 12));
}

/// @param heights where the planes lie, in mm above the lowest one of the even grid
std::vector<std::uint16_t> planesAt(const std::vector<double>& heights) {
  std::vector<std::uint16_t> samples;
  samples.reserve(kSize * kSize * heights.size());
  for (const double height : heights) {
    const double z = 0.8 * (height - kMiddleMm) / kMiddleMm;
    Canvas canvas(kSize, kSize, 0);
    canvas.map([z](Point p, double) { return doseAt(p, z); });
    for (std::size_t i = 0; i < kSize * kSize; ++i) {
      const double value = 900 * canvas.at(i % kSize, i / kSize);
      samples.push_back(static_cast<std::uint16_t>(std::lround(std::clamp(value, 0.0, 65535.0))));
    }
  }
  return samples;
}

Builder doseGrid(const char* description, unsigned number, const std::vector<double>& heights) {
  Builder builder(UID_RTDoseStorage, "RTDOSE", description, number);
  builder.withAxialPlane(3, kSpacingMm, kSize);
  builder.with(DCM_OperatorsName, "");
  DcmItem& plan = builder.item(DCM_ReferencedRTPlanSequence);
  put(plan, DCM_ReferencedSOPClassUID, UID_RTPlanStorage);
  put(plan, DCM_ReferencedSOPInstanceUID, uidOf("6"));
  builder.with(DCM_DoseUnits, "GY").with(DCM_DoseType, "PHYSICAL");
  builder.with(DCM_DoseSummationType, "PLAN").with(DCM_DoseGridScaling, "0.001");
  builder.with(DCM_FrameIncrementPointer, "(3004,000c)");
  std::string offsets;  // from the first plane, whose place the position of the image is
  for (const double height : heights) {
    offsets += (offsets.empty() ? "" : "\\") + decimal(height - heights.front());
  }
  builder.with(DCM_GridFrameOffsetVector, offsets);
  builder.withPixels({kSize, kSize, heights.size(), 1, 16, 16, false, "MONOCHROME2"},
                     planesAt(heights));
  return builder;
}

std::vector<double> evenHeights() {
  std::vector<double> heights;
  for (std::size_t frame = 0; frame < kFrames; ++frame) {
    heights.push_back(kSpacingMm * static_cast<double>(frame));
  }
  return heights;
}

}  // namespace

Phantom doseVolume(unsigned number) {
  return {"rt-dose-volume",
          "a multi-frame volume that splits into slices",
          doseGrid("Dose grid", number, evenHeights()).take(),
          {EXS_RLELossless}};
}

Phantom doseFalling(unsigned number) {
  std::vector<double> heights = evenHeights();
  std::reverse(heights.begin(), heights.end());
  return {"rt-dose-falling",
          "a dose grid whose offsets fall: reversed",
          doseGrid("Dose grid, from the top down", number, heights).take(),
          {}};
}

Phantom doseIrregular(unsigned number) {
  const std::vector<double> heights{0, 10, 17.5, 22.5, 25, 27.5, 30, 32.5, 37.5, 45, 55};
  return {"rt-dose-irregular",
          "a dose grid of uneven steps, which is not split",
          doseGrid("Dose grid, uneven", number, heights).take(),
          {}};
}

}  // namespace phantoms
