// SPDX-License-Identifier: BSD-3-Clause
// The shape of pixels. Spacings are those between rows and between columns, Pixel Aspect Ratio is
// the vertical size and the horizontal one: in each the first value is the height of a pixel.
#include "zrimaging/images/PixelAspect.h"

#include "zrimaging/images/ItemValues.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

namespace zr {

std::optional<double> readPixelAspect(DcmItem& dataset) {
  for (const DcmTagKey& key :
       {DCM_ImagerPixelSpacing, DCM_NominalScannedPixelSpacing, DCM_PixelAspectRatio}) {
    const auto sizes = numbersAt<2>(dataset, key);
    if (sizes && (*sizes)[0] > 0 && (*sizes)[1] > 0) {
      return (*sizes)[0] / (*sizes)[1];
    }
  }
  return std::nullopt;
}

}  // namespace zr
