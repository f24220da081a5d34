// SPDX-License-Identifier: BSD-3-Clause
// zrdcm overlays: the overlays that are embedded in the samples, each as a mask of its own.
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
#include "zrimaging/Pictures.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zrdcm {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

constexpr const char* kFooter = R"(Writes DIR/overlay-GGGG-FFFFF.png for every overlay plane that
stands in unused bits of the samples and has something drawn: GGGG is its group, FFFFF the number of
its frame (0-based). The masks are as large as the frame, 255 where the overlay is and 0 elsewhere.

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

Json planeReport(const ZrOverlayData& overlays, int index, const fs::path& file) {
  const KtVec2i origin = overlays.origin(index);
  const KtVec2i size = overlays.size(index);
  return {{"file", file.string()},
          {"group", overlays.group(index)},
          {"frame", overlays.frame(index)},
          {"origin", {origin.x, origin.y}},
          {"size", {size.x, size.y}}};
}

zr::DecodedFrames decodeWithOverlays(const std::string& file, const zr::MemoryBudget& memory) {
  zr::DecodeRequest request;
  request.values = zr::Values::kStored;  // the samples themselves are not looked at
  request.overlays = true;
  zr::DecodedFrames frames = zr::Image(zr::File(file)).decode(request, memory);
  const KtHandle<ZrOverlayData>& overlays = frames.record().overlays;
  if (overlays.isNull() || overlays->count() == 0) {
    throw zr::Error(zr::Reason::MissingAttribute, "has no overlay embedded in its samples");
  }
  return frames;
}

int writeOverlays(const OverlaysOptions& options, const zr::MemoryBudget& memory) {
  zr::DecodedFrames frames =
      withFileNamed(options.file, [&] { return decodeWithOverlays(options.file, memory); });
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
    list.push_back(planeReport(overlays, index, target));
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
