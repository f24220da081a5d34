// SPDX-License-Identifier: BSD-3-Clause
#include "zrimaging/images/LossyFlag.h"

#include "zrimaging/File.h"

#include <zrdcmexport/ZrFrames.h>
#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <string>

namespace zr {

bool wentThroughLoss(const File& file) {
  std::string unused;  // of samples that the slice decoder does not know the attribute tells
  Zrg::SliceImage slice;
  OFString text;
  return (Zrg::describeImage(file.dataset(), slice, unused) && slice.lossy) ||
         (file.dataset().findAndGetOFString(DCM_LossyImageCompression, text).good() &&
          text == "01");
}

}  // namespace zr
