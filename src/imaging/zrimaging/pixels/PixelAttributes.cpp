// SPDX-License-Identifier: BSD-3-Clause
#include "zrimaging/pixels/PixelAttributes.h"

#include "zrimaging/Error.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

namespace zr {

std::unique_ptr<DcmItem> copyPixelAttributes(DcmItem& dataset) {
  auto item = std::make_unique<DcmItem>();
  for (const DcmTagKey& key :
       {DCM_SamplesPerPixel, DCM_PhotometricInterpretation, DCM_PlanarConfiguration, DCM_Rows,
        DCM_Columns, DCM_BitsAllocated, DCM_BitsStored, DCM_HighBit, DCM_PixelRepresentation,
        DCM_RedPaletteColorLookupTableDescriptor, DCM_GreenPaletteColorLookupTableDescriptor,
        DCM_BluePaletteColorLookupTableDescriptor, DCM_RedPaletteColorLookupTableData,
        DCM_GreenPaletteColorLookupTableData, DCM_BluePaletteColorLookupTableData}) {
    if (dataset.tagExists(key) && dataset.findAndInsertCopyOfElement(key, item.get()).bad()) {
      throw Error(Reason::OutOfMemory, "out of memory");  // nothing else keeps it out
    }
  }
  return item;
}

}  // namespace zr
