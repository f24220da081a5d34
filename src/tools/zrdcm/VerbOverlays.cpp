// SPDX-License-Identifier: BSD-3-Clause
// zrdcm overlays: the overlays of an image, embedded in the samples or with data of their own, each
// as a mask of its own.
#include "ExitStatus.h"
#include "FileNamed.h"
#include "FormatOption.h"
#include "Messages.h"
#include "Progress.h"
#include "Verb.h"
#include "zrimaging/Error.h"
#include "zrimaging/File.h"
#include "zrimaging/Formats.h"
#include "zrimaging/Image.h"
#include "zrimaging/Output.h"
#include "zrimaging/Overlays.h"
#include "zrimaging/Pictures.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zrdcm {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

constexpr const char* kFooter = R"(Writes DIR/overlay-GGGG-FFFFF.png for every overlay plane, in
unused bits of the samples or with data of its own, that has something drawn in the image: GGGG is its
group, FFFFF the number of its frame (0-based). A plane that cannot be read is told of. The masks are as large as the frame, 255 where the overlay is and 0 elsewhere.

Example:
  zrdcm overlays ct.dcm -o masks)";

struct OverlaysOptions {
  std::string file;
  std::string folder;
  bool json = false;
};

std::string nameOf(const ZrOverlayData& overlays, int index) {
  char name[40];
  (void)std::snprintf(name, sizeof name, "overlay-%04X-%05d",
                      static_cast<unsigned>(overlays.group(index)),
                      overlays.frame(index));  // always fits
  return name + pictureEnding();
}

/// An overlay plane and the mask that is written of it for one frame.
Json maskReport(const ZrOverlayData& overlays, int index, const fs::path& file,
                const std::vector<zr::OverlayPlane>& planes) {
  const auto plane = std::find_if(
      planes.begin(), planes.end(),
      [&](const zr::OverlayPlane& candidate) { return candidate.group == overlays.group(index); });
  const bool embedded = plane != planes.end() && plane->storage == zr::OverlayStorage::kEmbedded;
  const KtVec2i origin = overlays.origin(index);
  const KtVec2i size = overlays.size(index);
  return {{"file", file.string()},          {"group", overlays.group(index)},
          {"frame", overlays.frame(index)}, {"origin", {origin.x, origin.y}},
          {"size", {size.x, size.y}},       {"embedded", embedded}};
}

/// Frames with their overlays, and the planes that these are of.
struct Overlaid {
  std::vector<zr::OverlayPlane> planes;
  zr::DecodedFrames frames;
};

void complainOfUnread(const std::string& file, const std::vector<zr::OverlayPlane>& planes) {
  for (const zr::OverlayPlane& plane : planes) {
    if (!plane.problem.empty()) {
      char group[8];
      (void)std::snprintf(group, sizeof group, "%04X", plane.group & 0xFFFFU);  // always fits
      complain(file + ": overlay " + group + " " + plane.problem);
    }
  }
}

Overlaid decodeWithOverlays(const std::string& file, const zr::MemoryBudget& memory) {
  zr::DecodeRequest request;
  request.values = zr::Values::kStored;  // the samples themselves are not looked at
  request.overlays = true;
  const zr::Image image{zr::File(file)};
  std::vector<zr::OverlayPlane> planes = zr::describeOverlays(image.file());
  complainOfUnread(file, planes);
  Overlaid overlaid{std::move(planes), image.decode(request, memory)};
  const KtHandle<ZrOverlayData>& overlays = overlaid.frames.record().overlays;
  if (overlays.isNull() || overlays->count() == 0) {
    throw zr::Error(zr::Reason::MissingAttribute,
                    "has no overlay with anything drawn, in its samples or with data of its own");
  }
  return overlaid;
}

int writeOverlays(const OverlaysOptions& options, const zr::MemoryBudget& memory) {
  Overlaid overlaid =
      withFileNamed(options.file, [&] { return decodeWithOverlays(options.file, memory); });
  zr::DecodedFrames& frames = overlaid.frames;
  complainOfAll(frames.takeRemarks());
  const ZrOverlayData& overlays = *frames.record().overlays;
  const zr::ProtectedInputs inputs({options.file});
  for (int index = 0; index < overlays.count(); ++index) {
    inputs.refuseToReplace(fs::path(options.folder) / nameOf(overlays, index));
  }
  zr::createFolder(options.folder);
  Json list = Json::array();
  Progress progress("writing", static_cast<std::size_t>(overlays.count()));
  for (int index = 0; index < overlays.count(); ++index) {
    const fs::path target = fs::path(options.folder) / nameOf(overlays, index);
    zr::writePicture(target, inputs, zr::overlayMask(frames.record(), index).view());
    list.push_back(maskReport(overlays, index, target, overlaid.planes));
    progress.advance();
  }
  progress.clear();
  if (options.json) {
    sayJson(list);
    return kDone;
  }
  for (const Json& overlay : list) {
    say(overlay["file"].get<std::string>());
  }
  return kDone;
}

}  // namespace

VerbAction configureOverlays(CLI::App& command) {
  auto options = std::make_shared<OverlaysOptions>();
  command.add_option("file", options->file, "The DICOM file")->type_name("FILE")->required();
  command.add_option("-o,--output", options->folder, "Where to write; made when it is not there")
      ->type_name("DIR")
      ->required();
  command.add_flag("--json", options->json, "List the masks as JSON");
  command.footer(kFooter);
  return [options](const zr::MemoryBudget& memory) { return writeOverlays(*options, memory); };
}

}  // namespace zrdcm
