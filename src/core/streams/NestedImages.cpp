// SPDX-License-Identifier: BSD-3-Clause
#include "streams/NestedImages.h"

#include "dicom/ItemValues.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

namespace Zrg {

bool visitImages(DcmItem& item, const std::function<bool(DcmItem&, DcmPixelData&)>& visit) {
  auto* const dataset = dynamic_cast<DcmDataset*>(&item);
  if (dataset == nullptr) {
    auto* const pixelData = dynamic_cast<DcmPixelData*>(topLevelElement(item, DCM_PixelData));
    return pixelData == nullptr || visit(item, *pixelData);
  }
  DcmStack stack;
  stack.push(dataset);
  while (dataset->search(DCM_PixelData, stack, ESM_afterStackTop, OFTrue).good()) {
    auto* const pixelData = dynamic_cast<DcmPixelData*>(stack.top());
    auto* const owner = dynamic_cast<DcmItem*>(stack.elem(1));
    if (pixelData != nullptr && owner != nullptr && !visit(*owner, *pixelData)) {
      return false;
    }
  }
  return true;
}

}  // namespace Zrg
