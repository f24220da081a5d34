// SPDX-License-Identifier: BSD-3-Clause
// Modality LUTs (PS3.3 C.11.1), and those that are not meant for display.
#include "zrimaging/images/ModalityTable.h"

#include "zrimaging/images/AttributeLayer.h"
#include "zrimaging/images/ItemValues.h"

#include <zrdcmexport/ExDicomUtilitiesLUT.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <array>
#include <string>

namespace zr {

namespace {

bool isAngiographyOrFluoroscopy(DcmItem& dataset) {
  constexpr std::array<const char*, 5> kClasses = {
      UID_XRayAngiographicImageStorage, UID_XRayRadiofluoroscopicImageStorage,
      UID_EnhancedXAImageStorage, UID_EnhancedXRFImageStorage,
      UID_RETIRED_XRayAngiographicBiPlaneImageStorage};
  const std::string sopClass = textAt(dataset, DCM_SOPClassUID);
  if (sopClass.empty()) {
    const std::string modality = textAt(dataset, DCM_Modality);
    return modality == "XA" || modality == "RF";
  }
  return std::any_of(kClasses.begin(), kClasses.end(),
                     [&sopClass](const char* known) { return sopClass == known; });
}

}  // namespace

bool hasModalityTable(DcmItem& dataset) {
  ExDicomUtilities::LUT table;
  ExDicomUtilities::LUT::dcmDatasetRead(table, dataset, false);
  return table.entries.isNotNull() && table.entries->hasData();
}

bool isTableKeptOutOfDisplay(DcmItem& dataset) {
  return hasModalityTable(dataset) && isAngiographyOrFluoroscopy(dataset);
}

ValueText unitOfModalityTable(DcmItem& dataset) {
  DcmItem* item = nullptr;
  (void)dataset.findAndGetSequenceItem(DCM_ModalityLUTSequence, item, 0);  // null tells as much
  return item == nullptr ? ValueText{} : unitNamed(nameAt(*item, DCM_ModalityLUTType));
}

bool keepTableOutOfDisplay(DcmItem& dataset) {
  return isAngiographyOrFluoroscopy(dataset) &&
         dataset.findAndDeleteElement(DCM_ModalityLUTSequence).good();
}

}  // namespace zr
