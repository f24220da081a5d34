// SPDX-License-Identifier: BSD-3-Clause
// What an object is: the library's predicates and what attributes say of patient, study, series,
// device and pixels. Spacings, dimensions, regions, overlays and private elements have files of
// their own.
#include "zrimaging/ObjectFacts.h"

#include "zrimaging/Boundary.h"
#include "zrimaging/File.h"
#include "zrimaging/files/CodecRegistration.h"
#include "zrimaging/images/Explanation.h"
#include "zrimaging/images/FrameDimensions.h"
#include "zrimaging/images/GeometryFacts.h"
#include "zrimaging/images/ItemValues.h"
#include "zrimaging/images/ObjectKind.h"
#include "zrimaging/images/OverlayFacts.h"
#include "zrimaging/images/PrivateCreators.h"
#include "zrimaging/images/TableReading.h"
#include "zrimaging/images/UltrasoundRegions.h"

#include <zrdcmexport/ZrNumbers.h>
#include <zrdcmexport/ZrSliceImage.h>
#include <zrdcmexport/ZrTransferSyntax.h>

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

PatientFacts patientOf(DcmItem& item) {
  return {nameAt(item, DCM_PatientName), nameAt(item, DCM_PatientID),
          textAt(item, DCM_PatientBirthDate), textAt(item, DCM_PatientSex)};
}

StudyFacts studyOf(DcmItem& item) {
  return {textAt(item, DCM_StudyInstanceUID), textAt(item, DCM_StudyDate),
          textAt(item, DCM_StudyTime), nameAt(item, DCM_StudyDescription),
          nameAt(item, DCM_AccessionNumber)};
}

/// Functional groups that hold for all frames; null without them.
DcmItem* sharedGroupsOf(DcmItem& item) {
  const std::vector<DcmItem*> shared = itemsAt(item, DCM_SharedFunctionalGroupsSequence);
  return shared.empty() ? nullptr : shared.front();
}

/// Frame Anatomy (PS3.3 C.7.6.16.2.8) of all frames; null where they have none in common.
DcmItem* frameAnatomyOf(DcmItem& item) {
  DcmItem* const shared = sharedGroupsOf(item);
  const std::vector<DcmItem*> anatomy =
      shared == nullptr ? std::vector<DcmItem*>() : itemsAt(*shared, DCM_FrameAnatomySequence);
  return anatomy.empty() ? nullptr : anatomy.front();
}

ValueText anatomicRegionOf(DcmItem& item) {
  const std::vector<DcmItem*> codes = itemsAt(item, DCM_AnatomicRegionSequence);
  return codes.empty() ? ValueText{} : nameAt(*codes.front(), DCM_CodeMeaning);
}

ValueText bodyPartOf(DcmItem& item) {
  ValueText part = nameAt(item, DCM_BodyPartExamined);
  if (part.utf8.empty()) {
    part = anatomicRegionOf(item);
  }
  DcmItem* const anatomy = frameAnatomyOf(item);
  return part.utf8.empty() && anatomy != nullptr ? anatomicRegionOf(*anatomy) : part;
}

std::string lateralityOf(DcmItem& item) {
  for (const DcmTagKey& key : {DCM_Laterality, DCM_ImageLaterality}) {
    const std::string laterality = textAt(item, key);
    if (!laterality.empty()) {
      return laterality;
    }
  }
  DcmItem* const anatomy = frameAnatomyOf(item);
  return anatomy == nullptr ? "" : textAt(*anatomy, DCM_FrameLaterality);
}

SeriesFacts seriesOf(DcmItem& item) {
  return {textAt(item, DCM_SeriesInstanceUID), Zrg::intOf(textAt(item, DCM_SeriesNumber)),
          nameAt(item, DCM_SeriesDescription), bodyPartOf(item), lateralityOf(item)};
}

DeviceFacts deviceOf(DcmItem& item) {
  return {nameAt(item, DCM_Manufacturer), nameAt(item, DCM_ManufacturerModelName),
          nameAt(item, DCM_DeviceSerialNumber), nameAt(item, DCM_StationName),
          namesAt(item, DCM_SoftwareVersions)};
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
                    entries.nDataVar(), 8 * entries.primType().primTypeSize(), ValueText{}};
}

/// A number of a descriptor: unsigned, or signed as the value representation is where samples are.
std::optional<int> descriptorNumber(DcmItem& item, const DcmTagKey& descriptor,
                                    unsigned long position) {
  Uint16 number = 0;
  Sint16 negative = 0;
  if (item.findAndGetUint16(descriptor, number, position).good()) {
    return number;
  }
  return item.findAndGetSint16(descriptor, negative, position).good() ? std::optional<int>(negative)
                                                                      : std::nullopt;
}

/// What a descriptor says: number of entries (0 is 65,536), first value mapped, bits.
/// @see PS3.3 C.11.1.1.1, C.7.6.3.1.5
std::optional<TableFacts> describedTable(DcmItem& item, const DcmTagKey& descriptor,
                                         std::size_t values) {
  constexpr std::size_t kEntriesOfZero = 65536;
  const std::optional<int> entries = descriptorNumber(item, descriptor, 0);
  const std::optional<int> first = descriptorNumber(item, descriptor, 1);
  const std::optional<int> bits = descriptorNumber(item, descriptor, 2);
  if (!entries || !first || !bits) {
    return std::nullopt;
  }
  // The number of entries is unsigned whatever the others are.
  const auto count = static_cast<std::size_t>(static_cast<Uint16>(*entries));
  return TableFacts{count == 0 ? kEntriesOfZero : count, *first, values,
                    static_cast<std::size_t>(static_cast<Uint16>(*bits)), ValueText{}};
}

std::vector<TableFacts> voiTablesOf(DcmItem& dataset) {
  std::vector<TableFacts> tables;
  for (DcmItem* const item : itemsAt(dataset, DCM_VOILUTSequence)) {
    if (std::optional<TableFacts> table = describedTable(*item, DCM_LUTDescriptor, 1)) {
      table->explanation = nameAt(*item, DCM_LUTExplanation);
      tables.push_back(*table);
    }
  }
  return tables;
}

std::optional<TableFacts> segmentedPaletteOf(DcmItem& dataset) {
  constexpr std::size_t kColours = 3;
  return dataset.tagExists(DCM_SegmentedRedPaletteColorLookupTableData)
             ? describedTable(dataset, DCM_RedPaletteColorLookupTableDescriptor, kColours)
             : std::nullopt;
}

void readTables(DcmItem& dataset, ObjectFacts& facts) {
  facts.modalityTable = tableFactsOf(readTable(dataset, TableKind::kModality));
  facts.voiTables = voiTablesOf(dataset);
  facts.palette = tableFactsOf(readTable(dataset, TableKind::kPalette));
  facts.segmentedPalette = segmentedPaletteOf(dataset);
}

void readPredicates(DcmItem& dataset, ObjectFacts& facts) {
  facts.multiFrame = Zrg::isMultiFrame(dataset);
  facts.multiFrameVolume = Zrg::isMultiFrameVolume(dataset);
  facts.enhanced = Zrg::isEnhancedDicom(dataset);
}

void readOrigin(DcmItem& dataset, ObjectFacts& facts) {
  facts.modality = textOf(dataset, DCM_Modality);
  facts.patient = patientOf(dataset);
  facts.study = studyOf(dataset);
  facts.series = seriesOf(dataset);
  facts.instance = {textAt(dataset, DCM_SOPInstanceUID),
                    Zrg::intOf(textAt(dataset, DCM_InstanceNumber))};
  facts.device = deviceOf(dataset);
}

}  // namespace

ObjectFacts describeObject(const File& file) {
  return atBoundary([&] {
    DcmDataset& dataset = file.dataset();
    const TransferSyntaxName syntax = transferSyntaxOf(file);
    ObjectFacts facts;
    facts.sopClass = sopClassOf(dataset);
    facts.sopClassTitle = uidTitle(facts.sopClass.uid);
    readOrigin(dataset, facts);
    facts.transferSyntax = {syntax.uid, syntax.name};
    facts.transferSyntaxDecodes = Zrg::isDecodable(syntax.uid) || isAdopted(file);
    facts.pixelFormat = pixelFormatOf(file);
    readPredicates(dataset, facts);
    facts.frames = readFrameFacts(dataset);
    facts.geometry = readGeometry(dataset, file.statedFrameCount());
    facts.ultrasoundRegions = readUltrasoundRegions(dataset);
    readTables(dataset, facts);
    facts.overlayPlanes = readOverlayPlanes(dataset);
    facts.privateCreators = readPrivateCreators(dataset);
    facts.content = describeContent(dataset);
    return facts;
  });
}

}  // namespace zr
