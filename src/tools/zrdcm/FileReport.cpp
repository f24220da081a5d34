// SPDX-License-Identifier: BSD-3-Clause
// Gathers the report on a file: attributes first, then one decode, then a trial of splitting, which
// finds the pixel data decompressed and does not decode it again.
#include "FileReport.h"

#include "CellConversion.h"
#include "DicomFile.h"
#include "Failure.h"
#include "Numbers.h"
#include "Splitting.h"

#include <zrdcmexport/ExDicomUtilitiesLUT.h>
#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <nlohmann/json.hpp>

#include <new>
#include <string>

namespace zrdcm {

namespace {

using Json = nlohmann::ordered_json;

Json textOrNull(const std::string& text) {
  return text.empty() ? Json(nullptr) : Json(text);
}

Json numberOrNull(DcmItem& item, const DcmTagKey& key) {
  Uint16 value = 0;
  return item.findAndGetUint16(key, value).good() ? Json(value) : Json(nullptr);
}

Json sopClass(DcmItem& item) {
  const std::string uid = textOf(item, DCM_SOPClassUID);
  if (uid.empty()) {
    return nullptr;
  }
  const char* name = dcmFindNameOfUID(uid.c_str());
  return {{"uid", uid}, {"name", name == nullptr ? Json(nullptr) : Json(name)}};
}

Json transferSyntax(const DicomFile& file) {
  const DcmXfer syntax(file.transferSyntax());
  return {{"uid", textOrNull(syntax.getXferID() == nullptr ? "" : syntax.getXferID())},
          {"name", syntax.getXferName()}};
}

Json pixelFormat(const DicomFile& file) {
  DcmItem& item = file.dataset();
  Uint16 representation = 0;
  const bool known = item.findAndGetUint16(DCM_PixelRepresentation, representation).good();
  return {{"photometricInterpretation", textOrNull(photometricInterpretation(file))},
          {"bitsAllocated", numberOrNull(item, DCM_BitsAllocated)},
          {"bitsStored", numberOrNull(item, DCM_BitsStored)},
          {"highBit", numberOrNull(item, DCM_HighBit)},
          {"signed", known ? Json(representation == 1) : Json(nullptr)}};
}

Json lookupTable(DcmItem& item, bool palette) {
  ExDicomUtilities::LUT lut;
  ExDicomUtilities::LUT::dcmDatasetRead(lut, item, palette);
  if (lut.entries.isNull() || !lut.entries->hasData()) {
    return nullptr;
  }
  return {{"entries", lut.entries->dims().x},
          {"firstMapped", lut.firstMapped},
          {"values", lut.entries->nDataVar()},
          {"bits", 8 * KtPrimType::primTypeSize(lut.entries->primType().code())}};
}

Json imageAttributes(const Zrg::SliceImage& slice, std::size_t frames) {
  return {{"columns", slice.extent.x},
          {"rows", slice.extent.y},
          {"frames", frames},
          {"bytesPerSample", slice.bytesPerSample},
          {"samplesPerPixel", slice.samplesPerPixel},
          {"lossy", slice.lossy},
          {"rescale", jsonPair(slice.rescale)},
          {"sampleOffset", jsonNumber(slice.sampleOffset)},
          {"voiWindow", jsonPair(slice.voiWindow)},
          {"pixelSpacing", jsonPair(slice.pixelSpacing)}};
}

Json overlayList(const Zrg::SliceImage& slice) {
  Json list = Json::array();
  if (slice.overlays.isNull()) {
    return list;
  }
  const ZrOverlayData& overlays = *slice.overlays;
  for (int i = 0; i < overlays.count(); ++i) {
    const KtVec2i origin = overlays.origin(i);
    const KtVec2i size = overlays.size(i);
    list.push_back({{"group", overlays.group(i)},
                    {"frame", overlays.frame(i)},
                    {"origin", {origin.x, origin.y}},
                    {"size", {size.x, size.y}}});
  }
  return list;
}

// Monochrome images are decoded whole, so that overlays of every frame are found. Colour has no
// overlays, and its frames are all alike: one of them tells whether the file decodes, and spares
// the memory that a long clip takes once it is decoded.
void addImage(Json& report, const DicomFile& file, const MemoryBudget& memory) {
  const bool whole = isMonochrome(photometricInterpretation(file));
  const std::size_t frames = frameCount(file.dataset());
  if (whole) {
    memory.requireFor(file.dataset());
  } else {
    memory.requireFor(file.dataset(), 0, 0);
  }
  Zrg::SliceImage slice;
  slice.convertSamples = !CellConversion(file.dataset()).tableDiffersInWidth();
  std::string error;
  if (!slice.process(file.dataset(), error, whole ? -1 : 0, whole ? -1 : 0, nullptr, 0)) {
    throw Failure(error);
  }
  report["image"] = imageAttributes(slice, frames);
  report["overlays"] = overlayList(slice);
  report["ok"] = true;
}

Json splitting(const SplittingOutlook& outlook) {
  const bool split = outlook.splittable;
  return {{"splittable", split},
          {"reason", split ? Json(nullptr) : Json(outlook.reason)},
          {"reversed", split ? Json(outlook.reversed) : Json(nullptr)},
          {"pointer", textOrNull(outlook.pointer)},
          {"pointerKind", textOrNull(outlook.pointerKind)},
          {"timeSlots", outlook.gated() ? Json(outlook.timeSlots) : Json(nullptr)},
          {"rrIntervals", outlook.gated() ? Json(outlook.rrIntervals) : Json(nullptr)},
          {"volumes", outlook.volumes}};
}

Json emptyReport(const std::filesystem::path& path) {
  return {{"file", path.string()},  {"ok", false},           {"error", nullptr},
          {"sopClass", nullptr},    {"modality", nullptr},   {"transferSyntax", nullptr},
          {"pixelFormat", nullptr}, {"multiFrame", nullptr}, {"multiFrameVolume", nullptr},
          {"enhanced", nullptr},    {"image", nullptr},      {"luts", nullptr},
          {"overlays", nullptr},    {"splitting", nullptr}};
}

void fillReport(Json& report, const std::filesystem::path& path, const MemoryBudget& memory) {
  const DicomFile file(path);
  DcmDataset& dataset = file.dataset();
  report["sopClass"] = sopClass(dataset);
  report["modality"] = textOrNull(textOf(dataset, DCM_Modality));
  report["transferSyntax"] = transferSyntax(file);
  report["pixelFormat"] = pixelFormat(file);
  report["multiFrame"] = Zrg::isMultiFrame(dataset);
  report["multiFrameVolume"] = Zrg::isMultiFrameVolume(dataset);
  report["enhanced"] = Zrg::isEnhancedDicom(dataset);
  report["luts"] = {{"modality", lookupTable(dataset, false)},
                    {"palette", lookupTable(dataset, true)}};
  // Read before decoding, which may rewrite attributes.
  const bool monochrome = isMonochrome(photometricInterpretation(file));
  addImage(report, file, memory);
  report["splitting"] = splitting(splittingOutlook(dataset, monochrome, memory));
}

}  // namespace

Json reportFile(const std::filesystem::path& path, const MemoryBudget& memory) {
  Json report = emptyReport(path);
  try {
    fillReport(report, path, memory);
  } catch (const std::bad_alloc&) {
    report["ok"] = false;
    report["error"] = "out of memory";
  } catch (const std::exception& failure) {
    report["ok"] = false;
    report["error"] = failure.what();
  }
  return report;
}

}  // namespace zrdcm
