// SPDX-License-Identifier: BSD-3-Clause
// Distances between pixels of each kind, with what PS3.3 10.7.1 says that they mean: in a
// projection image a pixel at the detector shows a smaller piece of the patient, so that who
// measures must know which of the two a number is.
#include "zrimaging/images/GeometryFacts.h"

#include "zrimaging/Boundary.h"
#include "zrimaging/geometry/Vectors.h"
#include "zrimaging/images/ItemValues.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string_view>

namespace zr {

namespace {

constexpr const char* kAtDetector =
    "at the detector; in the patient it is smaller by the magnification, which is not corrected "
    "for";

// Projection X-ray images: between source and detector everything grows.
bool isProjection(DcmItem& dataset) {
  constexpr std::array kModalities = {"CR", "DX", "MG", "IO", "PX", "XA", "RF", "RG", "RTIMAGE"};
  const std::string modality = textAt(dataset, DCM_Modality);
  return std::any_of(kModalities.begin(), kModalities.end(),
                     [&](const char* name) { return modality == name; });
}

std::string meaningOfPixelSpacing(DcmItem& dataset, const GeometryFacts& geometry) {
  if (geometry.calibration == "GEOMETRY") {
    return "in the patient, corrected for an assumed or known magnification";
  }
  if (geometry.calibration == "FIDUCIAL") {
    return "in the patient, calibrated by an object of known size in the image";
  }
  if (!isProjection(dataset)) {
    return "in the patient";
  }
  const auto imager = numbersAt<2>(dataset, DCM_ImagerPixelSpacing);
  if (!imager) {
    return "in a projection image without a word on calibration: at the detector or in the patient";
  }
  return imager == numbersAt<2>(dataset, DCM_PixelSpacing)
             ? kAtDetector
             : "in the patient, calibrated in a way that is not said";
}

void addSpacing(GeometryFacts& geometry, DcmItem& dataset, const DcmTagKey& key, const char* name,
                const std::string& meaning) {
  // The attribute has the distance between rows first.
  if (const auto spacing = numbersAt<2>(dataset, key)) {
    geometry.spacings.push_back({name, (*spacing)[1], (*spacing)[0], meaning});
  }
}

void addSpacings(GeometryFacts& geometry, DcmItem& dataset) {
  addSpacing(geometry, dataset, DCM_PixelSpacing, "Pixel Spacing",
             meaningOfPixelSpacing(dataset, geometry));
  addSpacing(geometry, dataset, DCM_ImagerPixelSpacing, "Imager Pixel Spacing", kAtDetector);
  addSpacing(geometry, dataset, DCM_NominalScannedPixelSpacing, "Nominal Scanned Pixel Spacing",
             "on the film or paper that was scanned");
  addSpacing(geometry, dataset, DCM_ImagePlanePixelSpacing, "Image Plane Pixel Spacing",
             "at the plane of the image, whose distance RT Image SID tells");
}

// The same for all frames, in the patient's space.
std::string directionsOf(DcmItem& dataset, std::size_t frames) {
  constexpr std::size_t kMostFrames = 65535;  // their number may be a mere claim
  if (textAt(dataset, DCM_AnatomicalOrientationType) == "QUADRUPED") {
    return "";  // the letters of animals are others
  }
  const PerFrameAttributes image = readFrameAttributes(dataset, std::min(frames, kMostFrames));
  if (image.frames.empty() || !image.frames.front().orientation) {
    return "";
  }
  const FrameAttributes& first = image.frames.front();
  const bool agree = std::all_of(image.frames.begin(), image.frames.end(), [&](const auto& frame) {
    return frame.orientation == first.orientation && !frame.inVolumeSpace;
  });
  return agree ? directionLetters(*first.orientation) : "";
}

char letterOf(const Vector& direction) {
  constexpr std::string_view kTowards = "LPH";
  constexpr std::string_view kAway = "RAF";
  const auto longest = std::max_element(direction.begin(), direction.end(), [](double a, double b) {
    return std::abs(a) < std::abs(b);
  });
  const auto axis = static_cast<std::size_t>(longest - direction.begin());
  return *longest < 0 ? kAway[axis] : kTowards[axis];
}

}  // namespace

std::string directionLetters(const std::array<double, 6>& orientation) {
  return atBoundary([&] {
    const auto& [rx, ry, rz, cx, cy, cz] = orientation;
    const std::array axes = {Vector{rx, ry, rz}, Vector{cx, cy, cz}, normalOf(orientation)};
    std::string letters;
    for (const Vector& axis : axes) {
      letters += letters.empty() ? "" : "-";
      letters += letterOf(axis);
    }
    return letters;
  });
}

GeometryFacts readGeometry(DcmItem& dataset, std::size_t frames) {
  GeometryFacts geometry;
  geometry.calibration = textAt(dataset, DCM_PixelSpacingCalibrationType);
  geometry.calibrationDescription = nameAt(dataset, DCM_PixelSpacingCalibrationDescription);
  addSpacings(geometry, dataset);
  geometry.pixelAspectRatio = numbersAt<2>(dataset, DCM_PixelAspectRatio);
  geometry.magnification = numberAt(dataset, DCM_EstimatedRadiographicMagnificationFactor);
  geometry.sliceThicknessMm = numberAt(dataset, DCM_SliceThickness);
  geometry.spacingBetweenSlicesMm = numberAt(dataset, DCM_SpacingBetweenSlices);
  geometry.frameOfReference = textAt(dataset, DCM_FrameOfReferenceUID);
  geometry.patientPosition = textAt(dataset, DCM_PatientPosition);
  const std::string rows = textAt(dataset, DCM_PatientOrientation, 0);
  const std::string columns = textAt(dataset, DCM_PatientOrientation, 1);
  geometry.patientOrientation = rows.empty() && columns.empty() ? "" : rows + "\\" + columns;
  geometry.directions = directionsOf(dataset, frames);
  return geometry;
}

}  // namespace zr
