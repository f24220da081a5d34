// SPDX-License-Identifier: BSD-3-Clause
#include "zrimaging/images/Polarity.h"

#include "zrimaging/images/ItemValues.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

namespace zr {

bool isHighShownDark(DcmItem& dataset, const std::string& photometricInterpretation) {
  const std::string shape = textAt(dataset, DCM_PresentationLUTShape);
  if (shape == "IDENTITY" || shape == "INVERSE") {
    return shape == "INVERSE";
  }
  return photometricInterpretation == "MONOCHROME1";
}

}  // namespace zr
