// SPDX-License-Identifier: BSD-3-Clause
// Gathers the report on a file: attributes and the order of frames first, then one decode, which may
// rewrite attributes. It takes the road of the verbs that show and write frames, so that what they can
// do is what is told here.
#include "FileReport.h"

#include "FrameValues.h"
#include "Messages.h"
#include "Numbers.h"
#include "zrimaging/File.h"
#include "zrimaging/FrameAttributes.h"
#include "zrimaging/images/Explanation.h"
#include "zrimaging/images/FrameSource.h"
#include "zrimaging/images/ObjectKind.h"

#include <zrdcmexport/ExDicomUtilitiesLUT.h>
#include <zrdcmexport/ZrFrameOrder.h>
#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <nlohmann/json.hpp>

#include <memory>
#include <new>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

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
  const std::string uid = zr::textOf(item, DCM_SOPClassUID);
  if (uid.empty()) {
    return nullptr;
  }
  const char* name = dcmFindNameOfUID(uid.c_str());
  return {{"uid", uid}, {"name", name == nullptr ? Json(nullptr) : Json(name)}};
}

Json transferSyntax(const zr::File& file) {
  const zr::TransferSyntaxName syntax = zr::transferSyntaxOf(file);
  return {{"uid", textOrNull(syntax.uid)}, {"name", textOrNull(syntax.name)}};
}

Json pixelFormat(const zr::File& file) {
  DcmItem& item = file.dataset();
  Uint16 representation = 0;
  const bool known = item.findAndGetUint16(DCM_PixelRepresentation, representation).good();
  return {{"photometricInterpretation", textOrNull(file.photometricInterpretation())},
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

std::vector<std::size_t> allNumbers(const zr::PerFrameAttributes& attributes) {
  std::vector<std::size_t> numbers(attributes.frames.size());
  std::iota(numbers.begin(), numbers.end(), std::size_t{0});
  return numbers;
}

Json imageAttributes(const zr::DecodedImage& decoded, const zr::PerFrameAttributes& attributes) {
  const std::vector<std::size_t> numbers = allNumbers(attributes);
  const zr::SampleArray& samples = decoded.samples;
  Json image = {{"columns", samples.columns},
                {"rows", samples.rows},
                {"frames", numbers.size()},
                {"bytesPerSample", zr::bytesOf(samples.type)},
                {"samplesPerPixel", samples.channels},
                {"lossy", decoded.slice.lossy},
                {"sampleOffset", jsonNumber(decoded.slice.sampleOffset)},
                {"frameSpacing", jsonOrNull(zr::frameSpacingMm(attributes, numbers))}};
  addFrameValues(image, numbers, frameValues(attributes));
  return image;
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
void addImage(Json& report, std::unique_ptr<zr::File> file, const zr::MemoryBudget& memory) {
  zr::FrameSource source(std::move(file), memory);
  const zr::DecodedImage& image = source.image();
  report["image"] =
      imageAttributes(image, zr::readFrameAttributes(image.file->dataset(), source.count()));
  report["overlays"] = overlayList(image.slice);
  report["ok"] = true;
  complainOfAll(report["file"].get<std::string>(), source.takeRemarks());
}

Json splitting(DcmItem& item) {
  const Zrg::FrameIncrement increment = Zrg::readFrameIncrement(item);
  Zrg::FrameOrder order;
  std::string reason;
  const bool split = Zrg::readFrameOrder(item, order, reason);
  const bool gated = order.rrIntervals != 0;
  return {{"splittable", split},
          {"reason", textOrNull(reason)},
          {"reversed", split ? Json(order.reversed) : Json(nullptr)},
          {"pointer", textOrNull(increment.pointer)},
          {"pointerKind", textOrNull(increment.meaning == nullptr ? "" : increment.meaning)},
          {"timeSlots", gated ? Json(order.timeSlots) : Json(nullptr)},
          {"rrIntervals", gated ? Json(order.rrIntervals) : Json(nullptr)},
          {"volumes", order.volumes}};
}

Json emptyReport(const std::filesystem::path& path) {
  return {{"file", path.string()},  {"ok", false},           {"error", nullptr},
          {"sopClass", nullptr},    {"modality", nullptr},   {"transferSyntax", nullptr},
          {"pixelFormat", nullptr}, {"multiFrame", nullptr}, {"multiFrameVolume", nullptr},
          {"enhanced", nullptr},    {"image", nullptr},      {"luts", nullptr},
          {"overlays", nullptr},    {"splitting", nullptr},  {"content", nullptr}};
}

void fillReport(Json& report, const std::filesystem::path& path, const zr::MemoryBudget& memory) {
  auto file = std::make_unique<zr::File>(path);
  DcmDataset& dataset = file->dataset();
  report["sopClass"] = sopClass(dataset);
  report["modality"] = textOrNull(zr::textOf(dataset, DCM_Modality));
  report["transferSyntax"] = transferSyntax(*file);
  report["pixelFormat"] = pixelFormat(*file);
  report["multiFrame"] = Zrg::isMultiFrame(dataset);
  report["multiFrameVolume"] = Zrg::isMultiFrameVolume(dataset);
  report["enhanced"] = Zrg::isEnhancedDicom(dataset);
  report["luts"] = {{"modality", lookupTable(dataset, false)},
                    {"palette", lookupTable(dataset, true)}};
  const std::string content = zr::describeWithoutPixels(dataset);
  if (!content.empty()) {
    report["content"] = content;
    report["ok"] = true;
    return;
  }
  const Json order = splitting(dataset);
  addImage(report, std::move(file), memory);
  report["splitting"] = order;
}

}  // namespace

Json reportFile(const std::filesystem::path& path, const zr::MemoryBudget& memory) {
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
