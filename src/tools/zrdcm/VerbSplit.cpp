// SPDX-License-Identifier: BSD-3-Clause
// zrdcm split: a multi-frame file as volumes. The manifest is what makes the folder complete, so an
// older one goes away before the first volume is written and the new one comes last.
#include "ExitStatus.h"
#include "FileNamed.h"
#include "FormatOption.h"
#include "FrameValues.h"
#include "Messages.h"
#include "Progress.h"
#include "Verb.h"
#include "WindowOption.h"
#include "zrimaging/Error.h"
#include "zrimaging/File.h"
#include "zrimaging/Output.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <numeric>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>
#include <zrimaging/Formats.h>
#include <zrimaging/Image.h>
#include <zrimaging/Sheets.h>
#include <zrimaging/Splitting.h>

namespace zrdcm {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

constexpr const char* kFooter = R"( with
its slices in order and volume-NNN.png with all of them side by side, and then manifest.json: which
frame (0-based) each slice is and at which byte it starts in the samples of the whole file, as
zrdcm decode FILE -o OUT.raw writes them. Gated data gives a volume for every time slot and R-R
interval. Slices stay in the order that the dataset gives; "reversed" in the manifest says that they
run against the volume's direction. Colour frames are not split: they are kept together as one volume.

Examples:
  zrdcm split gated-spect.dcm -o volumes
  zrdcm split dose.dcm -o dose --format npy --json)";

constexpr const char* kManifest = "manifest.json";

struct SplitOptions {
  std::string file;
  std::string folder;
  std::string format = "nrrd";
  std::string window;
  bool compressed = false;
  bool json = false;
};

/// The formats that hold a volume which can be read alone, the default first.
FormatList volumeFormats(const std::string& first) {
  FormatList formats = zr::formatsWith(zr::kSeveralFrames | zr::kShape);
  std::stable_partition(formats.begin(), formats.end(),
                        [&first](const zr::OutputFormat* format) { return format->name == first; });
  return formats;
}

/// A file whose frames are ready to be written as volumes.
struct SplitImage {
  std::string path;
  zr::Splitting splitting;
  std::unique_ptr<zr::Frames> source;
  /// The frames once more, without a table that is not meant for display; null where `source` shows
  /// them.
  std::unique_ptr<zr::Frames> withoutTable;
  zr::SheetContent allFrames;  ///< how the frames are shown

  zr::Frames& shown() const { return withoutTable ? *withoutTable : *source; }
  const zr::FramesRecord& record() const { return source->record(); }
};

SplitImage openSplit(const std::string& path, const std::optional<zr::WindowChoice>& window,
                     const zr::MemoryBudget& memory) {
  zr::File file(path);
  SplitImage split;
  split.path = path;
  split.splitting = zr::requireSplitting(file);  // before the samples are decoded, which costs more
  split.source = zr::framesOf(zr::Image(std::move(file)), memory);
  // Volumes hold the values of a table that sheets leave out, so such a file is decoded for each.
  if (split.record().attributes.tableKeptOutOfDisplay) {
    split.withoutTable = zr::framesOf(zr::Image::forDisplay(zr::File(path)), memory);
  }
  split.allFrames = zr::allFrames(split.shown(), window);
  return split;
}

std::string stemOf(std::size_t volume) {
  char stem[32];
  (void)std::snprintf(stem, sizeof stem, "volume-%03zu", volume);  // always fits
  return stem;
}

/// What volumes are written as.
struct VolumeForm {
  const zr::OutputFormat& format;
  bool compressed;
};

void writeVolume(const SplitImage& split, const zr::SplitVolume& volume, const VolumeForm& form,
                 const fs::path& target, const zr::ProtectedInputs& inputs) {
  const zr::FrameAt frameAt = [&](std::size_t index) {
    return withFileNamed(split.path, [&] { return split.source->frame(volume.frames[index]); });
  };
  zr::writeArray(form.format, target, inputs,
                 {split.record().traits.layout(volume.frames.size()), frameAt,
                  zr::describeArray(split.record(), volume.frames), form.compressed,
                  [&split](const std::string& text) { complain(split.path + ": " + text); }});
}

void writeVolumeSheet(const SplitImage& split, std::size_t number, const fs::path& target,
                      const zr::ProtectedInputs& inputs) {
  const zr::SplitVolume& volume = split.splitting.volumes[number];
  zr::SheetContent content = split.allFrames;
  if (split.splitting.splits) {
    content.title += " - volume " + std::to_string(number);
  }
  if (volume.timeSlot && volume.rrInterval) {
    content.details = "time slot " + std::to_string(*volume.timeSlot) + " - R-R interval " +
                      std::to_string(*volume.rrInterval) + " - ";
  }
  content.frames = volume.frames;
  content.inVolume = split.splitting.splits;
  zr::SheetLayout layout;
  const zr::Picture sheet = withFileNamed(
      split.path, [&] { return zr::drawContactSheet(split.shown(), content, layout); });
  zr::writePicture(target, inputs, sheet.view());
}

Json slicesOf(const zr::SplitVolume& volume, std::size_t frameBytes) {
  Json slices = Json::array();
  for (std::size_t index = 0; index < volume.frames.size(); ++index) {
    const std::size_t frame = volume.frames[index];
    slices.push_back({{"index", index}, {"frame", frame}, {"offset", frameBytes * frame}});
  }
  return slices;
}

template <class Number>
Json numberOrNull(const std::optional<Number>& number) {
  return number ? Json(*number) : Json(nullptr);
}

Json volumeEntry(const SplitImage& split, std::size_t number, const zr::OutputFormat& format) {
  const zr::SplitVolume& volume = split.splitting.volumes[number];
  // Gaps among the slices of gated data can leave a volume without any: there is nothing to write.
  const bool empty = volume.frames.empty();
  const std::string stem = stemOf(number);
  return {{"file", empty ? Json(nullptr) : Json(stem + format.ending)},
          {"sheet", empty ? Json(nullptr) : Json(stem + pictureEnding())},
          {"timeSlot", numberOrNull(volume.timeSlot)},
          {"rrInterval", numberOrNull(volume.rrInterval)},
          {"slices", slicesOf(volume, split.record().traits.frameBytes())}};
}

// What the dataset says about the frames, by their numbers in the file.
void addSplitValues(Json& manifest, const SplitImage& split) {
  const zr::FramesRecord& record = split.record();
  std::vector<FrameValue> values = frameValues(record.attributes);
  values.push_back({"modality", [&record](std::size_t number) {
                      return record.traits.monochrome ? jsonLine(zr::lineOfSamples(record, number))
                                                      : Json(nullptr);
                    }});
  std::vector<std::size_t> numbers(split.source->count());
  std::iota(numbers.begin(), numbers.end(), std::size_t{0});
  addFrameValues(manifest, numbers, values);
}

Json manifestOf(const SplitImage& split, const zr::OutputFormat& format) {
  const zr::Splitting& splitting = split.splitting;
  const zr::FrameTraits& traits = split.record().traits;
  const bool gated = splitting.gated();
  Json volumes = Json::array();
  for (std::size_t number = 0; number < splitting.volumes.size(); ++number) {
    volumes.push_back(volumeEntry(split, number, format));
  }
  Json manifest = {
      {"source", fs::path(split.path).filename().string()},
      {"split", splitting.splits},
      {"reason", jsonTextOrNull(splitting.reason)},
      {"pointer", jsonTextOrNull(splitting.pointer)},
      {"pointerKind", jsonTextOrNull(splitting.pointerMeaning)},
      {"timeSlots", gated ? Json(splitting.timeSlots) : Json(nullptr)},
      {"rrIntervals", gated ? Json(splitting.rrIntervals) : Json(nullptr)},
      {"reversed", splitting.reversed},
      {"columns", traits.columns},
      {"rows", traits.rows},
      {"frames", split.source->count()},
      {"samplesPerPixel", traits.channels},
      {"type", zr::typeName(traits.type)},
      {"sampleOffset", traits.sampleOffset},
      {"sliceSpacing", jsonOrNull(zr::sliceSpacingMm(splitting, split.record().attributes))}};
  addSplitValues(manifest, split);
  const std::string remark = split.allFrames.display ? split.allFrames.display->remark() : "";
  manifest["remark"] = jsonTextOrNull(remark);
  manifest["volumes"] = volumes;
  return manifest;
}

void removeOlder(const fs::path& manifest) {
  std::error_code error;
  fs::remove(manifest, error);
  if (error) {
    throw zr::Error(zr::Reason::CannotWrite,
                    "cannot replace " + manifest.string() + ": " + error.message());
  }
}

void refuseToReplaceInputs(const zr::ProtectedInputs& inputs, const fs::path& folder,
                           const Json& volumes) {
  inputs.refuseToReplace(folder / kManifest);
  for (const Json& entry : volumes) {
    for (const char* const key : {"file", "sheet"}) {
      if (!entry[key].is_null()) {
        inputs.refuseToReplace(folder / entry[key].get<std::string>());
      }
    }
  }
}

// The manifest goes first when it is an older one, and comes last when it is new.
void writeAll(const SplitImage& split, const Json& manifest, const VolumeForm& form,
              const fs::path& folder) {
  const fs::path manifestPath = folder / kManifest;
  const Json& volumes = manifest["volumes"];
  const zr::ProtectedInputs inputs({split.path});
  refuseToReplaceInputs(inputs, folder, volumes);
  zr::createFolder(folder);
  removeOlder(manifestPath);
  Progress progress("writing", volumes.size());
  for (std::size_t number = 0; number < volumes.size(); ++number) {
    const Json& entry = volumes[number];
    if (!entry["file"].is_null()) {
      writeVolume(split, split.splitting.volumes[number], form,
                  folder / entry["file"].get<std::string>(), inputs);
      writeVolumeSheet(split, number, folder / entry["sheet"].get<std::string>(), inputs);
    }
    progress.advance();
  }
  zr::OutputFile file(manifestPath, inputs);
  file.write(jsonText(manifest) + "\n");
  file.commit();
}

void listFiles(const fs::path& folder, const Json& manifest) {
  for (const Json& entry : manifest["volumes"]) {
    for (const char* const key : {"file", "sheet"}) {
      if (!entry[key].is_null()) {
        say((folder / entry[key].get<std::string>()).string());
      }
    }
  }
  say((folder / kManifest).string());
}

int writeSplit(const SplitOptions& options, const zr::MemoryBudget& memory) {
  // Wrong usage shows before any work is done.
  refuseCompressionOf(*zr::formatNamed(options.format), options.compressed);
  const std::optional<zr::WindowChoice> window = windowFromOption(options.window);
  const zr::OutputFormat& format = *zr::formatNamed(options.format);
  const SplitImage split =
      withFileNamed(options.file, [&] { return openSplit(options.file, window, memory); });
  const Json manifest = manifestOf(split, format);
  writeAll(split, manifest, {format, options.compressed}, options.folder);
  complainOfAll(split.source->takeRemarks());
  if (!split.splitting.splits) {
    complain(options.file + ": kept whole: " + split.splitting.reason);
  }
  if (!manifest["remark"].is_null()) {
    complain(options.file + ": " + manifest["remark"].get<std::string>());
  }
  if (options.json) {
    sayJson(manifest);
  } else {
    listFiles(options.folder, manifest);
  }
  return kDone;
}

}  // namespace

VerbAction configureSplit(CLI::App& command) {
  auto options = std::make_shared<SplitOptions>();
  const FormatList formats = volumeFormats(options->format);
  command.add_option("file", options->file, "The DICOM file")->type_name("FILE")->required();
  command.add_option("-o,--output", options->folder, "Where to write; made when it is not there")
      ->type_name("DIR")
      ->required();
  command
      .add_option("--format", options->format,
                  "What volumes are written as, " + options->format + " when not said")
      ->type_name(namesJoined(formats, "|"))
      ->check(CLI::IsMember(namesOf(formats)).description(""));
  addCompressOption(command, options->compressed);
  command
      .add_option("--window", options->window,
                  "Show these modality values in the sheets, or a window of the file by its "
                  "number (from 1) or name")
      ->type_name(kWindowTypeName);
  command.add_flag("--json", options->json, "Print the manifest on stdout");
  command.footer("Writes into DIR, for each volume, volume-NNN" +
                 std::string(formats.front()->ending) + " (or " +
                 endingsInWords({formats.begin() + 1, formats.end()}) + ")" + kFooter);
  return [options](const zr::MemoryBudget& memory) { return writeSplit(*options, memory); };
}

}  // namespace zrdcm
