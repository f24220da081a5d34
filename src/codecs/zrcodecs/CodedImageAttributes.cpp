// SPDX-License-Identifier: BSD-3-Clause
#include "zrcodecs/CodedImageAttributes.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdeftag.h"
#include "dcmtk/dcmdata/dcitem.h"

namespace zrcodecs {

OFCondition readCodedImageAttributes(DcmItem& item, CodedImageAttributes& attributes) {
  OFCondition status = item.findAndGetUint16(DCM_Columns, attributes.columns);
  if (status.good()) {
    status = item.findAndGetUint16(DCM_Rows, attributes.rows);
  }
  if (status.good()) {
    status = item.findAndGetUint16(DCM_SamplesPerPixel, attributes.samplesPerPixel);
  }
  if (status.good()) {
    status = item.findAndGetUint16(DCM_BitsAllocated, attributes.bitsAllocated);
  }
  if (status.good()) {
    status = item.findAndGetUint16(DCM_BitsStored, attributes.bitsStored);
  }
  if (status.good()) {
    status = item.findAndGetUint16(DCM_PixelRepresentation, attributes.pixelRepresentation);
  }
  if (status.good()) {
    status = item.findAndGetOFString(DCM_PhotometricInterpretation,
                                     attributes.photometricInterpretation);
  }
  // Both are optional; what is not there reads as 0.
  (void)item.findAndGetUint16(DCM_PlanarConfiguration, attributes.planarConfiguration);
  Sint32 frames = 0;
  (void)item.findAndGetSint32(DCM_NumberOfFrames, frames);
  attributes.numberOfFrames = frames > 1 ? static_cast<unsigned long>(frames) : 1;
  if (status.good() && attributes.bitsAllocated != 8 && attributes.bitsAllocated != 16) {
    status = EC_CannotChangeRepresentation;
  }
  return status;
}

}  // namespace zrcodecs
