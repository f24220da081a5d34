// SPDX-License-Identifier: BSD-3-Clause
// One head in three dimensions, as three machines store it in one file: CT slices from the top
// down, an enhanced MR image with functional groups, and the uptake of the brain with its slices
// out of order.
#include "Builder.h"
#include "Canvas.h"
#include "Modules.h"
#include "Phantoms.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace phantoms {

namespace {

/// Values of the tissues in one modality.
struct Look {
  double air;
  double skin;
  double fat;
  double bone;
  double marrow;
  double fluid;
  double gray;
  double white;
  double vitreous;
};

constexpr Look kHounsfield{-1000, 25, -95, 1150, 420, 6, 41, 29, 12};
constexpr Look kT2{12, 420, 1050, 45, 330, 2500, 1250, 830, 2350};
constexpr Look kPerfusion{0.0, 0.1, 0.05, 0.04, 0.05, 0.05, 1.0, 0.3, 0.05};

// Places in the head are in mm: x to the left of the patient, y to the back, z to the top.

double toEllipsoid(const BodyPoint& at, const BodyPoint& centre, const BodyPoint& radii) {
  const double x = (at.x - centre.x) / radii.x;
  const double y = (at.y - centre.y) / radii.y;
  const double z = (at.z - centre.z) / radii.z;
  const double k = std::hypot(x, y, z);
  const double slope = std::hypot(x / radii.x, y / radii.y, z / radii.z);
  return slope > 0 ? k * (k - 1) / slope : -std::min({radii.x, radii.y, radii.z});
}

/// Smooth noise in space, made of that in planes.
double noise3(const BodyPoint& at, double featureMm, std::uint64_t seed) {
  const double level = at.z / featureMm + 1000;
  const double below = std::floor(level);
  const double t = level - below;
  const auto plane = static_cast<std::uint64_t>(below);
  const double x = at.x / featureMm;
  const double y = at.y / featureMm;
  return std::lerp(noise(x, y, seed + plane), noise(x, y, seed + plane + 1), t * t * (3 - 2 * t));
}

// Fluid in the folds of the surface and between the halves, gray matter along them and in the
// nuclei, white matter for the rest. `depth` is the way to the surface of the brain.
double brain(const BodyPoint& at, double depth, const Look& look) {
  const BodyPoint mirrored{std::abs(at.x), at.y, at.z};
  const bool horn = toEllipsoid(mirrored, {13, -8, 14}, {6.5, 33, 10}) < 0;
  const bool trigone = toEllipsoid(mirrored, {25, 30, 6}, {6, 13, 10}) < 0;
  const bool third = toEllipsoid(mirrored, {0, 6, -4}, {2.6, 13, 11}) < 0;
  if (horn || trigone || third || (mirrored.x < 1.6 && depth < 34)) {
    return look.fluid;
  }
  const bool striatum = toEllipsoid(mirrored, {25, -6, 4}, {7, 17, 13}) < 0;
  const bool thalamus = toEllipsoid(mirrored, {11, 13, 3}, {8, 11, 10}) < 0;
  if (striatum || thalamus) {
    return 1.05 * look.gray;
  }
  const double fold = noise3(at, 11, 601) + 0.35 * noise3(at, 5, 641);
  const double fromFold = std::abs(fold) * 11;  // about mm
  if (depth < 19 && fromFold < 0.9 - 0.03 * depth) {
    return look.fluid;
  }
  const bool alongSurface = depth < 3.4 || (mirrored.x < 5 && depth < 34);
  return alongSurface || (depth < 21 && fromFold < 3.6) ? look.gray : look.white;
}

/// What is in the face and the base of the skull; false where it is the head in general.
bool face(const BodyPoint& at, const Look& look, double& value) {
  const BodyPoint mirrored{std::abs(at.x), at.y, at.z};
  const double eye = toEllipsoid(mirrored, {33, -70, -42}, {12.5, 12.5, 12.5});
  const double lens = toEllipsoid(mirrored, {33, -80, -42}, {5, 2.2, 5});
  const double orbit = toEllipsoid(mirrored, {29, -62, -42}, {17, 27, 16});
  const double nose = toEllipsoid(mirrored, {9, -66, -46}, {7, 20, 15});
  const double petrous = toEllipsoid(mirrored, {43, 8, -50}, {26, 9, 12});
  const double cells = toEllipsoid(mirrored, {58, 14, -50}, {6, 8, 8});
  if (eye < 0) {
    value = lens < 0 ? 2 * look.gray : (eye > -1.2 ? look.skin : look.vitreous);
  } else if (nose < 0) {
    value = nose > -1.2 ? look.skin : look.air;
  } else if (orbit < 0) {
    value = orbit > -1.8 ? look.bone : look.fat;
  } else if (petrous < 0) {
    value = cells < 0 ? look.air : look.bone;
  } else {
    return false;
  }
  return true;
}

double tissueAt(const BodyPoint& at, const Look& look) {
  const double toSkin = toEllipsoid(at, {0, 0, 0}, {77, 96, 106});
  double value = look.air;
  if (toSkin > 0) {
    return look.air;
  }
  if (toSkin > -1.8) {
    return look.skin;
  }
  if (face(at, look, value)) {
    return value;
  }
  const double depth = -toSkin;
  if (depth < 5) {
    return look.fat;
  }
  if (depth < 12) {
    return depth > 7.2 && depth < 9.6 ? look.marrow : look.bone;
  }
  return depth < 14 ? look.fluid : brain(at, depth - 14, look);
}

/// How a machine cuts the head.
struct Section {
  std::size_t size;
  double pixelMm;
  double thicknessMm;
};

// Each pixel shows the mean of what lies in it: four places in the plane, in two layers of the cut.
Canvas cutThrough(double z, const Section& cut, const Look& look) {
  Canvas canvas(cut.size, cut.size, 0);
  const double half = cut.pixelMm * static_cast<double>(cut.size) / 2;
  canvas.map([&](Point p, double) {
    double sum = 0;
    for (const double layer : {-0.25, 0.25}) {
      for (const Point off : {Point{-0.25, -0.25}, {0.25, -0.25}, {-0.25, 0.25}, {0.25, 0.25}}) {
        sum += tissueAt({p.x * half + cut.pixelMm * off.x, p.y * half + cut.pixelMm * off.y,
                         z + cut.thicknessMm * layer},
                        look);
      }
    }
    return sum / 8;
  });
  return canvas;
}

/// What a machine makes of a value: its noise, its scale.
using Detector = std::function<double(double value, std::int64_t x, std::int64_t y)>;

void appendDetected(std::vector<std::uint16_t>& samples, const Canvas& canvas,
                    const Detector& detector) {
  for (std::size_t row = 0; row < canvas.rows(); ++row) {
    for (std::size_t column = 0; column < canvas.columns(); ++column) {
      const double value = detector(canvas.at(column, row), static_cast<std::int64_t>(column),
                                    static_cast<std::int64_t>(row));
      samples.push_back(static_cast<std::uint16_t>(std::lround(std::clamp(value, 0.0, 65535.0))));
    }
  }
}

// --- CT -----------------------------------------------------------------------------------------

constexpr Section kCtCut{128, 1.75, 6};
constexpr std::size_t kCtSlices = 20;
constexpr double kCtTop = 66;
constexpr double kCtIntercept = -1024;

std::vector<std::uint16_t> ctFrames() {
  std::vector<std::uint16_t> samples;
  for (std::size_t i = 0; i < kCtSlices; ++i) {
    Canvas canvas =
        cutThrough(kCtTop - kCtCut.thicknessMm * static_cast<double>(i), kCtCut, kHounsfield);
    canvas.smooth(0.5);
    appendDetected(samples, canvas, [i](double value, std::int64_t x, std::int64_t y) {
      return value - kCtIntercept + 4 * grain(x, y, 701 + i);
    });
  }
  return samples;
}

// --- enhanced MR --------------------------------------------------------------------------------

constexpr Section kMrCut{128, 1.75, 5};
constexpr std::size_t kMrSlices = 12;
constexpr double kMrBottom = -18;

std::vector<std::uint16_t> mrFrames() {
  std::vector<std::uint16_t> samples;
  for (std::size_t i = 0; i < kMrSlices; ++i) {
    Canvas canvas =
        cutThrough(kMrBottom + kMrCut.thicknessMm * static_cast<double>(i), kMrCut, kT2);
    canvas.smooth(0.5);
    appendDetected(samples, canvas, [i](double value, std::int64_t x, std::int64_t y) {
      return std::hypot(value + 30 * grain(x, y, 731 + 2 * i), 30 * grain(x, y, 732 + 2 * i));
    });
  }
  return samples;
}

// --- uptake of the brain ------------------------------------------------------------------------

constexpr Section kNmCut{64, 3.5, 7};
constexpr std::size_t kNmSlices = 12;
constexpr double kNmBottom = -20;

/// Frame by frame the slice that it shows: first the odd numbers, then the even ones, as machines
/// measure that let no slice disturb its neighbour.
std::vector<std::uint16_t> interleavedSlices() {
  std::vector<std::uint16_t> slices;
  for (std::uint16_t first = 1; first <= 2; ++first) {
    for (std::uint16_t slice = first; slice <= kNmSlices; slice += 2) {
      slices.push_back(slice);
    }
  }
  return slices;
}

std::vector<std::uint16_t> nmFrames(const std::vector<std::uint16_t>& slices) {
  std::vector<std::uint16_t> samples;
  for (const std::uint16_t slice : slices) {
    Canvas canvas = cutThrough(kNmBottom + kNmCut.thicknessMm * (slice - 1), kNmCut, kPerfusion);
    std::int64_t pixel = 0;
    canvas.map([&](Point, double value) {
      return 1000 * value + 260 * std::sqrt(value) * grain(pixel++, slice, 761);
    });
    canvas.smooth(1.2);
    appendDetected(samples, canvas, [](double value, std::int64_t, std::int64_t) { return value; });
  }
  return samples;
}

}  // namespace

Phantom headCt(unsigned number) {
  Builder builder(UID_MultiframeGrayscaleWordSecondaryCaptureImageStorage, "CT",
                  "Head, from the top down", number);
  builder.with(DCM_ConversionType, "WSD").with(DCM_BurnedInAnnotation, "NO");
  builder.with(DCM_PresentationLUTShape, "IDENTITY").with(DCM_ImageType, "DERIVED\\PRIMARY");
  builder.withAxialPlane(kCtCut.pixelMm, kCtCut.thicknessMm, kCtCut.size);
  const std::string corner = decimal(-kCtCut.pixelMm * (kCtCut.size - 1) / 2);
  builder.with(DCM_ImagePositionPatient, corner + "\\" + corner + "\\" + decimal(kCtTop));
  builder.with(DCM_SpacingBetweenSlices, decimal(-kCtCut.thicknessMm));
  builder.with(DCM_FrameIncrementPointer, "(0018,0088)");
  builder.withPixels({kCtCut.size, kCtCut.size, kCtSlices, 1, 16, 16, false, "MONOCHROME2"},
                     ctFrames());
  builder.with(DCM_BodyPartExamined, "HEAD");
  builder.withWindow(40, 150).withRescale(1, kCtIntercept, "HU");
  return {"ct-head-volume",
          "a CT volume of one file, its slices from the top down",
          builder.take(),
          {EXS_JPEGProcess14SV1}};
}

Phantom headEnhancedMr(unsigned number) {
  Builder builder(UID_EnhancedMRImageStorage, "MR", "Head, enhanced", number);
  describeEnhancedMr(builder,
                     {kMrCut.size, kMrSlices, kMrCut.pixelMm, kMrCut.thicknessMm, kMrBottom});
  builder.withPixels({kMrCut.size, kMrCut.size, kMrSlices, 1, 16, 16, false, "MONOCHROME2"},
                     mrFrames());
  return {"mr-head-enhanced",
          "an enhanced image: functional groups, no Frame Increment Pointer",
          builder.take(),
          {EXS_JPEGLSLossless}};
}

Phantom brainUptake(unsigned number) {
  Builder builder(UID_NuclearMedicineImageStorage, "NM", "Brain, slices interleaved", number);
  describeEmission(builder, "DERIVED\\PRIMARY\\RECON TOMO\\EMISSION");
  describeReconstruction(builder,
                         {kNmCut.size, kNmSlices, kNmCut.pixelMm, kNmCut.thicknessMm, kNmBottom});
  const std::vector<std::uint16_t> slices = interleavedSlices();
  builder.with(DCM_FrameIncrementPointer, "(0054,0080)").withWords(DCM_SliceVector, slices);
  builder.withPixels({kNmCut.size, kNmCut.size, kNmSlices, 1, 16, 16, false, "MONOCHROME2"},
                     nmFrames(slices));
  builder.with(DCM_BodyPartExamined, "HEAD").withWindow(460, 920);
  return {"nm-brain-interleaved",
          "a slice vector that puts the frames in order",
          builder.take(),
          {EXS_RLELossless}};
}

}  // namespace phantoms
