// SPDX-License-Identifier: BSD-3-Clause
// What an object is: the library's predicates and the attributes that say how its pixels are
// stored.
#include "zrimaging/Boundary.h"
#include "zrimaging/File.h"
#include "zrimaging/Image.h"
#include "zrimaging/images/Explanation.h"
#include "zrimaging/images/ObjectKind.h"
#include "zrimaging/images/TableReading.h"

#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

namespace zr {

namespace {

std::optional<unsigned> unsignedOf(DcmItem& item, const DcmTagKey& key) {
  Uint16 value = 0;
  return item.findAndGetUint16(key, value).good() ? std::optional<unsigned>(value) : std::nullopt;
}

NamedUid sopClassOf(DcmItem& item) {
  NamedUid sopClass{textOf(item, DCM_SOPClassUID), ""};
  const char* const name = sopClass.uid.empty() ? nullptr : dcmFindNameOfUID(sopClass.uid.c_str());
  sopClass.name = name == nullptr ? "" : name;
  return sopClass;
}

PixelFormat pixelFormatOf(const File& file) {
  DcmItem& item = file.dataset();
  PixelFormat format{file.photometricInterpretation(), unsignedOf(item, DCM_BitsAllocated),
                     unsignedOf(item, DCM_BitsStored), unsignedOf(item, DCM_HighBit), std::nullopt};
  if (const std::optional<unsigned> representation = unsignedOf(item, DCM_PixelRepresentation)) {
    format.isSigned = *representation == 1;
  }
  return format;
}

std::optional<TableFacts> tableFactsOf(const std::optional<ExDicomUtilities::LUT>& table) {
  if (!table) {
    return std::nullopt;
  }
  const ZrDataAccess& entries = *table->entries;
  return TableFacts{static_cast<std::size_t>(entries.dims().x), table->firstMapped,
                    entries.nDataVar(), 8 * entries.primType().primTypeSize()};
}

}  // namespace

ObjectFacts describeObject(const File& file) {
  return atBoundary([&] {
    DcmDataset& dataset = file.dataset();
    const TransferSyntaxName syntax = transferSyntaxOf(file);
    ObjectFacts facts;
    facts.sopClass = sopClassOf(dataset);
    facts.modality = textOf(dataset, DCM_Modality);
    facts.transferSyntax = {syntax.uid, syntax.name};
    facts.pixelFormat = pixelFormatOf(file);
    facts.multiFrame = Zrg::isMultiFrame(dataset);
    facts.multiFrameVolume = Zrg::isMultiFrameVolume(dataset);
    facts.enhanced = Zrg::isEnhancedDicom(dataset);
    facts.modalityTable = tableFactsOf(readTable(dataset, TableKind::kModality));
    facts.palette = tableFactsOf(readTable(dataset, TableKind::kPalette));
    facts.withoutPixels = describeWithoutPixels(dataset);
    return facts;
  });
}

}  // namespace zr
