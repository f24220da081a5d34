// SPDX-License-Identifier: BSD-3-Clause
// Whatever a dataset says, reading gives a valid table, and copies of it have the same hash.
#include "FuzzDataset.h"

#include <ktlib/KtLogFile.h>
#include <zrdcmexport/ExDicomUtilitiesLUT.h>

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::silenceDcmtk();
  getTheLogInstance().setSink([](KtLogFile::Level, const std::string&) {});
  FuzzedDataProvider input(data, size);
  DcmDataset dataset;
  const bool palette = input.ConsumeBool();
  fuzz::maybeUint16(dataset, input, DCM_PixelRepresentation, 1);
  if (palette) {
    for (const Uint16 element : {Uint16{0x1101}, Uint16{0x1102}, Uint16{0x1103}}) {
      fuzz::addLut(dataset, input, DcmTagKey(0x0028, element),
                   DcmTagKey(0x0028, static_cast<Uint16>(element + 0x100)));
    }
  } else {
    fuzz::addModalityLut(dataset, input);
  }
  ExDicomUtilities::LUT table;
  ExDicomUtilities::LUT::dcmDatasetRead(table, dataset, palette);
  const ExDicomUtilities::LUT copy(table);
  if (!table.isValid(-1) || !(copy.hash() == table.hash())) {
    std::abort();
  }
  return 0;
}
