// SPDX-License-Identifier: BSD-3-Clause
// Whatever a dataset says, reading gives a valid table, copies of it have the same hash, and what
// is written of it reads back as the same table.
#include "FuzzDataset.h"

#include <zrdcmexport/ExDicomUtilitiesLUT.h>

namespace {

using ExDicomUtilities::LUT;
using fuzz::require;

/// The oldest quirk that reading knows, one time in four: words of a faulty angiograph.
void addEquipment(DcmItem& item, fuzz::Input& input) {
  const unsigned parts = input.byte();
  if (parts % 4 != 0) {
    return;
  }
  (void)item.putAndInsertString(DCM_SoftwareVersions, "Allura Xper, 7.6.3.2");
  (void)item.putAndInsertString(DCM_Manufacturer, "Philips Medical Systems");
  (void)item.putAndInsertString(DCM_ManufacturerModelName, "AlluraXper");
  (void)item.putAndInsertString(DCM_SOPClassUID, "1.2.840.10008.5.1.4.1.1.12.1");
  (void)item.putAndInsertUint16(DCM_BitsAllocated, static_cast<Uint16>(parts & 16U ? 16 : 8));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  DcmDataset dataset;
  const bool palette = input.flag();
  addEquipment(dataset, input);
  fuzz::maybeUint16(dataset, input, DCM_PixelRepresentation, 1);
  if (palette) {
    fuzz::addPalette(dataset, input);
  } else {
    fuzz::addModalityLut(dataset, input);
  }
  LUT table;
  LUT::dcmDatasetRead(table, dataset, palette);
  require(table.isValid(-1));
  const LUT copy(table);
  require(copy.hash() == table.hash());
  return 0;
}
