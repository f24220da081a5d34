// SPDX-License-Identifier: BSD-3-Clause
// Decodes a dataset made in memory and checks what came out; exit status 0 when it is right.
#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <cstdio>
#include <cstring>
#include <string>

int main() {
  DcmDataset dataset;
  const Uint16 samples[] = {0x0FFF, 0xF001};
  dataset.putAndInsertUint16(DCM_SamplesPerPixel, 1);
  dataset.putAndInsertString(DCM_PhotometricInterpretation, "MONOCHROME2");
  dataset.putAndInsertUint16(DCM_Rows, 1);
  dataset.putAndInsertUint16(DCM_Columns, 2);
  dataset.putAndInsertUint16(DCM_BitsAllocated, 16);
  dataset.putAndInsertUint16(DCM_BitsStored, 12);
  dataset.putAndInsertUint16(DCM_HighBit, 11);
  dataset.putAndInsertUint16(DCM_PixelRepresentation, 0);
  dataset.putAndInsertUint16Array(DCM_PixelData, samples, 2);

  Zrg::SliceImage slice;
  std::string error;
  if (!slice.process(dataset, error, -1, -1, nullptr, 0)) {
    std::printf("failed: %s\n", error.c_str());
    return 1;
  }
  Uint16 decoded[2] = {};
  std::memcpy(decoded, slice.data, sizeof decoded);
  std::printf("%lld x %lld, samples %u and %u\n", slice.extent.x, slice.extent.y, decoded[0],
              decoded[1]);
  return decoded[0] == 0x0FFF && decoded[1] == 0x0001 ? 0 : 1;
}
