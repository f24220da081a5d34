// SPDX-License-Identifier: BSD-3-Clause
// zrdcm split: a multi-frame file as volumes. The manifest is what makes the folder complete, so an
// older one goes away before the first volume is written and the new one comes last.
#include "ExitStatus.h"
#include "FileNamed.h"
#include "FormatOption.h"
#include "FrameValues.h"
#include "Messages.h"
#include "Numbers.h"
#include "Progress.h"
#include "Verb.h"
#include "WindowOption.h"
#include "zrimaging/Error.h"
#include "zrimaging/FrameAttributes.h"
#include "zrimaging/formats/VolumeHeader.h"
#include "zrimaging/images/FrameSource.h"
#include "zrimaging/output/OutputFile.h"
#include "zrimaging/output/ProtectedInputs.h"
#include "zrimaging/pictures/ContactSheet.h"

#include <zrdcmexport/ZrFrameOrder.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

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
  zr::FrameSource source;
  /// The frames once more, without a table that is not meant for display; null where `source` shows them.
  std::unique_ptr<zr::FrameSource> withoutTable;
  Zrg::FrameIncrement increment;
  Zrg::FrameOrder order;
  std::string reasonToKeepWhole;  ///< empty when the frames are split
  zr::PerFrameAttributes attributes;
  zr::SheetContent allFrames;  ///< how the frames are shown

  SplitImage(std::unique_ptr<zr::File> file, const zr::MemoryBudget& memory)
      : source(std::move(file), memory) {}
  zr::FrameSource& shown() { return withoutTable ? *withoutTable : source; }
  bool whole() const { return !reasonToKeepWhole.empty(); }
  bool gated() const { return order.rrIntervals != 0; }
  std::size_t timeSlot(std::size_t volume) const { return volume / order.rrIntervals; }
  std::size_t rrInterval(std::size_t volume) const { return volume % order.rrIntervals; }
  DcmDataset& dataset() const { return source.image().file->dataset(); }
};

// Volumes hold the values of a table that sheets leave out, so such a file is decoded for each.
void decideHowToShow(SplitImage& split, const SplitOptions& options,
                     const zr::MemoryBudget& memory) {
  zr::PerFrameAttributes attributes = split.attributes;
  if (attributes.tableKeptOutOfDisplay) {
    split.withoutTable =
        std::make_unique<zr::FrameSource>(zr::openForDisplay(options.file), memory);
    attributes =
        zr::readFrameAttributes(split.shown().image().file->dataset(), split.shown().count());
  }
  split.allFrames = zr::allFrames(split.shown(), attributes, windowFromOption(options.window));
}

std::unique_ptr<SplitImage> openSplit(const SplitOptions& options, const zr::MemoryBudget& memory) {
  auto file = std::make_unique<zr::File>(options.file);
  // Before the samples are decoded, which may rewrite attributes and costs more.
  Zrg::FrameIncrement increment = Zrg::readFrameIncrement(file->dataset());
  Zrg::FrameOrder order;
  std::string reason;
  if (!Zrg::readFrameOrder(file->dataset(), order, reason) &&
      reason != Zrg::kColourFramesStayTogether) {
    throw zr::Error(zr::Reason::NotAVolume, "cannot be split: " + reason);
  }
  auto split = std::make_unique<SplitImage>(std::move(file), memory);
  split->increment = std::move(increment);
  split->order = std::move(order);
  split->reasonToKeepWhole = reason;
  if (split->whole()) {
    std::vector<unsigned> frames(split->source.count());
    std::iota(frames.begin(), frames.end(), 0U);
    split->order.volumes = {frames};
  }
  split->attributes = zr::readFrameAttributes(split->dataset(), split->source.count());
  decideHowToShow(*split, options, memory);
  return split;
}

// The frames of a volume by their numbers in the file.
std::vector<std::size_t> numbersOf(const SplitImage& split, std::size_t volume) {
  const std::vector<unsigned>& frames = split.order.volumes[volume];
  return {frames.begin(), frames.end()};
}

std::string stemOf(std::size_t volume) {
  char stem[32];
  (void)std::snprintf(stem, sizeof stem, "volume-%03zu", volume);  // always fits
  return stem;
}

void writeVolume(const SplitOptions& options, SplitImage& split, std::size_t volume,
                 const fs::path& target, const zr::ProtectedInputs& inputs) {
  const std::vector<unsigned>& frames = split.order.volumes[volume];
  zr::SampleArray layout = split.source.image().samples;
  layout.frames = frames.size();
  const zr::FrameAt frameAt = [&](std::size_t index) {
    return withFileNamed(options.file, [&] { return split.source.frame(frames[index]); });
  };
  zr::writeArray(
      *zr::formatNamed(options.format), target, inputs,
      {layout, frameAt,
       zr::describeArray(split.source.image(), split.attributes, numbersOf(split, volume))});
}

void writeVolumeSheet(const SplitOptions& options, SplitImage& split, std::size_t volume,
                      const fs::path& target, const zr::ProtectedInputs& inputs) {
  zr::SheetContent content = split.allFrames;
  if (!split.whole()) {
    content.title += " - volume " + std::to_string(volume);
  }
  if (split.gated()) {
    content.details = "time slot " + std::to_string(split.timeSlot(volume)) + " - R-R interval " +
                      std::to_string(split.rrInterval(volume)) + " - ";
  }
  content.frames = numbersOf(split, volume);
  content.inVolume = !split.whole();
  zr::SheetLayout layout;
  const zr::Picture sheet = withFileNamed(
      options.file, [&] { return zr::drawContactSheet(split.shown(), content, layout); });
  zr::writePicture(target, inputs, sheet.view());
}

Json slicesOf(const SplitImage& split, std::size_t volume) {
  Json slices = Json::array();
  const std::size_t frameBytes = split.source.image().samples.frameBytes();
  const std::vector<unsigned>& frames = split.order.volumes[volume];
  for (std::size_t index = 0; index < frames.size(); ++index) {
    slices.push_back(
        {{"index", index}, {"frame", frames[index]}, {"offset", frameBytes * frames[index]}});
  }
  return slices;
}

Json volumeEntry(const SplitOptions& options, const SplitImage& split, std::size_t volume) {
  Json timeSlot = nullptr;
  Json rrInterval = nullptr;
  if (split.gated()) {
    timeSlot = split.timeSlot(volume);
    rrInterval = split.rrInterval(volume);
  }
  // Gaps among the slices of gated data can leave a volume without any: there is nothing to write.
  const bool empty = split.order.volumes[volume].empty();
  return {{"file",
           empty ? Json(nullptr) : Json(stemOf(volume) + zr::formatNamed(options.format)->ending)},
          {"sheet", empty ? Json(nullptr) : Json(stemOf(volume) + pictureEnding())},
          {"timeSlot", timeSlot},
          {"rrInterval", rrInterval},
          {"slices", slicesOf(split, volume)}};
}

// Millimetres between the slices, where all volumes agree.
std::optional<double> sliceSpacingMm(const SplitImage& split) {
  std::optional<double> spacing;
  bool any = false;
  for (std::size_t volume = 0; volume < split.order.volumes.size(); ++volume) {
    if (split.order.volumes[volume].empty()) {
      continue;
    }
    const std::optional<double> own =
        zr::frameSpacingMm(split.attributes, numbersOf(split, volume));
    if (any && own != spacing) {
      return std::nullopt;
    }
    spacing = own;
    any = true;
  }
  return spacing;
}

// What the dataset says about the frames, by their numbers in the file.
void addValues(Json& manifest, const SplitImage& split) {
  const zr::DecodedImage& image = split.source.image();
  std::vector<FrameValue> values = frameValues(split.attributes);
  values.push_back({"modality", [&](std::size_t number) {
                      return image.monochrome
                                 ? jsonLine(zr::lineOfSamples(image, split.attributes, number))
                                 : Json(nullptr);
                    }});
  std::vector<std::size_t> numbers(split.source.count());
  std::iota(numbers.begin(), numbers.end(), std::size_t{0});
  addFrameValues(manifest, numbers, values);
}

Json manifestOf(const SplitOptions& options, const SplitImage& split) {
  const zr::DecodedImage& image = split.source.image();
  const char* const meaning = split.increment.meaning;
  Json volumes = Json::array();
  for (std::size_t volume = 0; volume < split.order.volumes.size(); ++volume) {
    volumes.push_back(volumeEntry(options, split, volume));
  }
  Json manifest = {{"source", fs::path(options.file).filename().string()},
                   {"split", !split.whole()},
                   {"reason", jsonTextOrNull(split.reasonToKeepWhole)},
                   {"pointer", jsonTextOrNull(split.increment.pointer)},
                   {"pointerKind", jsonTextOrNull(meaning == nullptr ? "" : meaning)},
                   {"timeSlots", split.gated() ? Json(split.order.timeSlots) : Json(nullptr)},
                   {"rrIntervals", split.gated() ? Json(split.order.rrIntervals) : Json(nullptr)},
                   {"reversed", split.order.reversed},
                   {"columns", image.samples.columns},
                   {"rows", image.samples.rows},
                   {"frames", split.source.count()},
                   {"samplesPerPixel", image.samples.channels},
                   {"type", zr::typeName(image.samples.type)},
                   {"sampleOffset", jsonNumber(image.slice.sampleOffset)},
                   {"sliceSpacing", jsonOrNull(sliceSpacingMm(split))}};
  addValues(manifest, split);
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
void writeAll(const SplitOptions& options, SplitImage& split, const Json& manifest) {
  const fs::path folder(options.folder);
  const fs::path manifestPath = folder / kManifest;
  const Json& volumes = manifest["volumes"];
  const zr::ProtectedInputs inputs({options.file});
  refuseToReplaceInputs(inputs, folder, volumes);
  zr::createFolder(folder);
  removeOlder(manifestPath);
  Progress progress("writing", volumes.size());
  for (std::size_t volume = 0; volume < volumes.size(); ++volume) {
    const Json& entry = volumes[volume];
    if (!entry["file"].is_null()) {
      writeVolume(options, split, volume, folder / entry["file"].get<std::string>(), inputs);
      writeVolumeSheet(options, split, volume, folder / entry["sheet"].get<std::string>(), inputs);
    }
    progress.advance();
  }
  zr::OutputFile file(manifestPath, inputs);
  file.write(jsonText(manifest) + "\n");
  file.commit();
}

void listFiles(const SplitOptions& options, const Json& manifest) {
  const fs::path folder(options.folder);
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
  (void)windowFromOption(options.window);  // wrong usage shows before any work is done
  const auto split = withFileNamed(options.file, [&] { return openSplit(options, memory); });
  const Json manifest = manifestOf(options, *split);
  writeAll(options, *split, manifest);
  complainOfAll(options.file, split->source.takeRemarks());
  if (split->whole()) {
    complain(options.file + ": kept whole: " + split->reasonToKeepWhole);
  }
  if (!manifest["remark"].is_null()) {
    complain(options.file + ": " + manifest["remark"].get<std::string>());
  }
  if (options.json) {
    sayJson(manifest);
  } else {
    listFiles(options, manifest);
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
  command.add_option("--window", options->window, "Show these modality values in the sheets")
      ->type_name("C,W");
  command.add_flag("--json", options->json, "Print the manifest on stdout");
  command.footer("Writes into DIR, for each volume, volume-NNN" +
                 std::string(formats.front()->ending) + " (or " +
                 endingsInWords({formats.begin() + 1, formats.end()}) + ")" + kFooter);
  return [options](const zr::MemoryBudget& memory) { return writeSplit(*options, memory); };
}

}  // namespace zrdcm
