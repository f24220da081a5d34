// SPDX-License-Identifier: BSD-3-Clause
// Gathers the report on a file: attributes and the order of frames first, then what decoding would
// deliver, by the road of the verbs that show and write frames, so that what they can do is what is
// told here.
#include "FileReport.h"

#include "FactsReport.h"
#include "FrameValues.h"
#include "Messages.h"
#include "zrimaging/File.h"

#include <nlohmann/json.hpp>

#include <new>
#include <numeric>
#include <string>
#include <utility>
#include <vector>
#include <zrimaging/Image.h>
#include <zrimaging/ObjectFacts.h>
#include <zrimaging/Splitting.h>

namespace zrdcm {

namespace {

using Json = nlohmann::ordered_json;

std::vector<std::size_t> allNumbers(const zr::PerFrameAttributes& attributes) {
  std::vector<std::size_t> numbers(attributes.frames.size());
  std::iota(numbers.begin(), numbers.end(), std::size_t{0});
  return numbers;
}

Json imageAttributes(const zr::FramesRecord& record) {
  const std::vector<std::size_t> numbers = allNumbers(record.attributes);
  const zr::FrameTraits& traits = record.traits;
  Json image = {{"columns", traits.columns},
                {"rows", traits.rows},
                {"frames", numbers.size()},
                {"bytesPerSample", zr::bytesOf(traits.type)},
                {"samplesPerPixel", traits.channels},
                {"lossy", traits.lossy},
                {"sampleOffset", traits.sampleOffset},
                {"frameSpacing", jsonOrNull(zr::frameSpacingMm(record.attributes, numbers))}};
  addFrameValues(image, numbers, frameValues(record.attributes));
  return image;
}

Json overlayList(const KtHandle<ZrOverlayData>& handle) {
  Json list = Json::array();
  if (handle.isNull()) {
    return list;
  }
  const ZrOverlayData& overlays = *handle;
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

// Decoded is only where nothing else tells what verbs that show frames would get: whether
// compressed frames are whole, and which overlays are in the samples.
void addImage(Json& report, zr::Image image, const zr::MemoryBudget& memory) {
  const zr::FramesDescription frames = zr::describeFrames(std::move(image), memory);
  report["image"] = imageAttributes(frames.record);
  report["overlays"] = overlayList(frames.record.overlays);
  report["ok"] = true;
  complainOfAll(frames.remarks);
}

Json splittingOf(const zr::Splitting& splitting) {
  const bool gated = splitting.gated();
  Json volumes = Json::array();
  for (const zr::SplitVolume& volume : splitting.volumes) {
    volumes.push_back(volume.frames);
  }
  return {{"splittable", splitting.splits},
          {"reason", jsonTextOrNull(splitting.reason)},
          {"reversed", splitting.splits ? Json(splitting.reversed) : Json(nullptr)},
          {"pointer", jsonTextOrNull(splitting.pointer)},
          {"pointerKind", jsonTextOrNull(splitting.pointerMeaning)},
          {"timeSlots", gated ? Json(splitting.timeSlots) : Json(nullptr)},
          {"rrIntervals", gated ? Json(splitting.rrIntervals) : Json(nullptr)},
          {"volumes", volumes}};
}

// All keys, in the order in which they are written.
Json emptyReport(const std::filesystem::path& path) {
  Json report = {{"file", path.string()}, {"ok", false}};
  for (const char* const key : {"error",
                                "reason",
                                "sopClass",
                                "modality",
                                "patient",
                                "study",
                                "series",
                                "instance",
                                "device",
                                "transferSyntax",
                                "pixelFormat",
                                "multiFrame",
                                "multiFrameVolume",
                                "enhanced",
                                "frames",
                                "geometry",
                                "ultrasoundRegions",
                                "image",
                                "luts",
                                "overlayPlanes",
                                "overlays",
                                "splitting",
                                "privateCreators",
                                "content",
                                "contentTitle",
                                "contentType",
                                "contentParts"}) {
    report[key] = nullptr;
  }
  return report;
}

void setError(Json& report, const zr::Error& error) {
  report["ok"] = false;
  report["error"] = error.what();
  report["reason"] = zr::nameOf(error.reason());
}

void fillReport(Json& report, const std::filesystem::path& path, const zr::MemoryBudget& memory) {
  zr::File file(path);
  const zr::ObjectFacts facts = zr::describeObject(file);
  addFacts(report, facts);
  if (!facts.content.kind.empty()) {
    report["ok"] = true;
    return;
  }
  const Json splitting = splittingOf(zr::readSplitting(file));
  addImage(report, zr::Image(std::move(file)), memory);
  report["splitting"] = splitting;
}

}  // namespace

Json reportError(const std::filesystem::path& path, const zr::Error& error) {
  Json report = emptyReport(path);
  setError(report, error);
  return report;
}

Json reportFile(const std::filesystem::path& path, const zr::MemoryBudget& memory) {
  Json report = emptyReport(path);
  try {
    fillReport(report, path, memory);
  } catch (const std::bad_alloc&) {
    setError(report, zr::Error(zr::Reason::OutOfMemory, "out of memory"));
  } catch (const zr::Error& error) {
    setError(report, error);
  }
  return report;
}

}  // namespace zrdcm
