// SPDX-License-Identifier: BSD-3-Clause
// Spacings and values of an image for the header of a volume file.
#include "VolumeHeader.h"

#include "Numbers.h"

#include <zrdcmexport/ZrNumbers.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <cmath>

namespace zrdcm {

namespace {

double positiveNumber(DcmItem& item, const DcmTagKey& key) {
  const double value = std::abs(Zrg::doubleOf(textOf(item, key)).value_or(0));
  return value > 0 ? value : NrrdHeader::kUnknown;
}

}  // namespace

// The thickness of a slice is the last resort, because slices may overlap or leave gaps.
double frameSpacingMm(DcmItem& item) {
  const double betweenSlices = positiveNumber(item, DCM_SpacingBetweenSlices);
  if (!std::isnan(betweenSlices)) {
    return betweenSlices;
  }
  Float64 first = 0;
  Float64 second = 0;
  if (item.findAndGetFloat64(DCM_GridFrameOffsetVector, first, 0).good() &&
      item.findAndGetFloat64(DCM_GridFrameOffsetVector, second, 1).good() && second != first) {
    return std::abs(second - first);
  }
  return positiveNumber(item, DCM_SliceThickness);
}

NrrdHeader nrrdHeaderOf(const DecodedImage& image) {
  NrrdHeader header;
  header.spacingMm = {static_cast<double>(image.slice.pixelSpacing.x),
                      static_cast<double>(image.slice.pixelSpacing.y),
                      frameSpacingMm(image.file->dataset())};
  header.content = image.file->path().filename().string();
  if (image.monochrome) {
    const KtVec2f line = image.slice.result_MOD_LUT();
    header.attributes = {{"modality slope", shortest(line.x)},
                         {"modality intercept", shortest(line.y)}};
    if (!std::isnan(image.slice.voiWindow.x)) {
      header.attributes.emplace_back("window centre", shortest(image.slice.voiWindow.x));
      header.attributes.emplace_back("window width", shortest(image.slice.voiWindow.y));
    }
  }
  return header;
}

}  // namespace zrdcm
