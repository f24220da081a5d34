// SPDX-License-Identifier: BSD-3-Clause
// Radiotherapy dose: values are samples x Dose Grid Scaling, and the frames stand at the Grid Frame
// Offset Vector (PS3.3 C.8.8.3).
#include "zrimaging/images/DoseGrid.h"

#include "zrimaging/geometry/Vectors.h"
#include "zrimaging/images/AttributeLayer.h"
#include "zrimaging/images/ItemValues.h"

#include <zrdcmexport/ZrNumbers.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <cmath>
#include <sstream>
#include <string>

namespace zr {

namespace {

std::vector<double> gridOffsets(DcmItem& dataset) {
  std::vector<double> offsets;
  OFString texts;
  (void)dataset.findAndGetOFStringArray(DCM_GridFrameOffsetVector, texts);  // empty when missing
  std::istringstream values(texts);
  for (std::string text; std::getline(values, text, '\\');) {
    const std::optional<double> offset = Zrg::doubleOf(text);
    if (!offset || !std::isfinite(*offset)) {
      return {};
    }
    offsets.push_back(*offset);
  }
  return offsets;
}

std::optional<double> stepOf(const std::vector<double>& offsets) {
  if (offsets.size() < 2) {
    return std::nullopt;
  }
  const double step = (offsets.back() - offsets.front()) / static_cast<double>(offsets.size() - 1);
  for (std::size_t i = 0; i < offsets.size(); ++i) {
    if (!isEven(std::abs(offsets[i] - offsets.front() - static_cast<double>(i) * step), step)) {
      return std::nullopt;
    }
  }
  return step != 0 ? std::optional(step) : std::nullopt;
}

// Offsets that begin with 0 are distances from the first frame, along the normal; others are the
// frames' z in the patient, of transverse grids (PS3.3 C.8.8.3.2).
std::optional<Vector> placeInGrid(const FrameAttributes& first, const std::vector<double>& offsets,
                                  std::size_t number) {
  if (!first.position || !first.orientation || number >= offsets.size()) {
    return std::nullopt;
  }
  const Vector normal = normalOf(*first.orientation);
  if (offsets.front() == 0) {
    return along(*first.position, normal, offsets[number]);
  }
  constexpr double kTransverse = 0.999999;
  if (std::abs(normal[2]) < kTransverse) {
    return std::nullopt;
  }
  return Vector{(*first.position)[0], (*first.position)[1], offsets[number]};
}

std::optional<RescaleLine> doseLine(DcmItem& dataset) {
  const std::optional<double> scaling = numberAt(dataset, DCM_DoseGridScaling);
  if (!scaling || *scaling == 0) {
    return std::nullopt;
  }
  const ValueText units = nameAt(dataset, DCM_DoseUnits);
  return RescaleLine{*scaling, 0, units.utf8 == "GY" ? ValueText{"Gy"} : units};
}

}  // namespace

bool isDoseGrid(DcmItem& dataset) {
  return textAt(dataset, DCM_SOPClassUID) == UID_RTDoseStorage ||
         dataset.tagExists(DCM_DoseGridScaling);
}

std::optional<double> gridStepMm(DcmItem& dataset) {
  return stepOf(gridOffsets(dataset));
}

std::vector<FrameAttributes> readDoseGrid(DcmItem& dataset, std::size_t count) {
  FrameAttributes all = readLayer({&dataset, false});
  all.rescale = doseLine(dataset);
  const std::vector<double> offsets = gridOffsets(dataset);
  if (const std::optional<double> step = stepOf(offsets)) {
    all.sliceSpacing = step;
  }
  std::vector<FrameAttributes> frames(count, all);
  for (std::size_t number = 0; number < count && count > 1; ++number) {
    frames[number].position = placeInGrid(all, offsets, number);
  }
  return frames;
}

}  // namespace zr
