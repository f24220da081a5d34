// SPDX-License-Identifier: BSD-3-Clause
// zrdcm info: what files hold and how they decode, as a listing or as JSON.
#include "ExitStatus.h"
#include "FileReport.h"
#include "InputFiles.h"
#include "Messages.h"
#include "Numbers.h"
#include "Progress.h"
#include "Verb.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <iostream>
#include <limits>
#include <memory>
#include <string>
#include <vector>
#include <zrimaging/Error.h>
#include <zrimaging/Paths.h>
#include <zrimaging/Text.h>

namespace zrdcm {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kFooter =
    R"(Objects without pixels (plans, reports, spectra) are described too. Goes on after a
file that cannot be handled; the exit status is 1 then, and "reason" says in a word what kind of error
it is: NotDicom, Damaged, NoDecoder and the like. Absent values are null in JSON.

Examples:
  zrdcm info ct.dcm
  zrdcm info --jsonl archive/ | jq -r 'select(.ok | not) | [.file, .reason] | @tsv'
  zrdcm info --json *.dcm | jq '.[] | {file, ok, error}')";

struct InfoOptions {
  std::vector<std::string> paths;
  bool json = false;
  bool jsonLines = false;
};

std::string plain(const Json& value) {
  if (value.is_null()) {
    return "-";
  }
  if (value.is_number_float()) {
    return zr::shortest(value.get<float>());  // 1 rather than 1.0
  }
  return value.is_string() ? printable(value.get<std::string>())
                           : value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string uidWithName(const Json& value) {
  if (value.is_null()) {
    return "-";
  }
  return value["name"].is_null() ? plain(value["uid"])
                                 : plain(value["name"]) + " (" + plain(value["uid"]) + ")";
}

void line(const std::string& label, const std::string& text) {
  constexpr std::size_t kLabelWidth = 20;
  const std::size_t blanks = label.size() < kLabelWidth ? kLabelWidth - label.size() : 1;
  say("  " + label + std::string(blanks, ' ') + text);
}

constexpr const char* kUnknown = "unknown";

/// A component of the values, with the word that goes before it.
struct Component {
  std::size_t index;
  const char* word;
};

// "0.5", or "0.5 to 3" over the frames in which it is known.
std::string rangeText(const Json& values, std::size_t index) {
  double low = std::numeric_limits<double>::infinity();
  double high = -low;
  for (const Json& value : values) {
    if (!value.is_null()) {
      low = std::min(low, value[index].get<double>());
      high = std::max(high, value[index].get<double>());
    }
  }
  return low < high ? zr::shortest(low) + " to " + zr::shortest(high) : zr::shortest(low);
}

// A value of one or several numbers: what all frames agree in, else its range over the frames.
std::string valueText(const Json& image, const char* name,
                      const std::vector<Component>& components) {
  const Json& perFrame = image["perFrame"];
  const bool differs = !perFrame.is_null() && perFrame.contains(name);
  if (!differs && image[name].is_null()) {
    return kUnknown;
  }
  const Json values = differs ? perFrame[name] : Json::array({image[name]});
  std::string text = differs ? "differs: " : "";
  for (const auto& [index, word] : components) {
    text += (index == components.front().index ? "" : ", ") + std::string(word) +
            rangeText(values, index);
  }
  const auto unknown = std::count_if(values.begin(), values.end(),
                                     [](const Json& value) { return value.is_null(); });
  return unknown == 0 ? text
                      : text + "; unknown in " + std::to_string(unknown) + " of " +
                            std::to_string(values.size()) + " frames";
}

std::string pixelText(const Json& format) {
  const std::string sign =
      format["signed"].is_null() ? "" : (format["signed"].get<bool>() ? ", signed" : ", unsigned");
  return plain(format["photometricInterpretation"]) + ", " + plain(format["bitsStored"]) +
         " bits in " + plain(format["bitsAllocated"]) + ", high bit " + plain(format["highBit"]) +
         sign;
}

std::string kindText(const Json& report) {
  std::string text;
  for (const auto& [key, word] :
       {std::pair{"multiFrame", "multi-frame"}, std::pair{"multiFrameVolume", "volume"},
        std::pair{"enhanced", "enhanced"}}) {
    if (report[key].is_boolean() && report[key].get<bool>()) {
      text += (text.empty() ? "" : ", ") + std::string(word);
    }
  }
  return text.empty() ? "single image" : text;
}

std::string tableText(const Json& table) {
  if (table.is_null()) {
    return "none";
  }
  return plain(table["entries"]) + " entries of " + plain(table["values"]) + " x " +
         plain(table["bits"]) + " bits, first maps " + plain(table["firstMapped"]);
}

std::string groupName(unsigned group) {
  char text[8];
  (void)std::snprintf(text, sizeof text, "%04X", group & 0xFFFFU);  // always fits
  return text;
}

// The first window, and those that all frames have beside it.
void describeWindows(const Json& image) {
  line("window", valueText(image, "voiWindow", {{0, "centre "}, {1, "width "}}));
  const Json& windows = image["windows"];
  for (std::size_t i = 0; !windows.is_null() && i < windows.size(); ++i) {
    const Json& window = windows[i];
    const bool named = !window["explanation"].is_null();
    if (i > 0 || named) {
      line("window " + std::to_string(i),
           "centre " + zr::shortest(window["centre"].get<double>()) + ", width " +
               zr::shortest(window["width"].get<double>()) +
               (named ? " (" + plain(window["explanation"]) + ")" : ""));
    }
  }
}

void sayImage(const Json& image) {
  line("size", plain(image["columns"]) + " x " + plain(image["rows"]) + " x " +
                   plain(image["frames"]) + " (columns, rows, frames)");
  line("decoded", plain(image["samplesPerPixel"]) + " x " +
                      std::to_string(8 * image["bytesPerSample"].get<unsigned>()) +
                      " bits a pixel" + (image["lossy"].get<bool>() ? ", lossy" : ""));
  const Json& unit = image["rescaleUnit"];
  line("rescale", valueText(image, "rescale", {{0, "slope "}, {1, "intercept "}}) +
                      (unit.is_null() ? "" : " (" + plain(unit) + ")") + ", samples shifted by " +
                      plain(image["sampleOffset"]));
  describeWindows(image);
  line("pixel spacing", valueText(image, "pixelSpacing", {{0, "column "}, {1, "row "}}));
  line("frame spacing", image["frameSpacing"].is_null()
                            ? kUnknown
                            : zr::shortest(image["frameSpacing"].get<double>()));
  const std::vector<Component> threeNumbers = {{0, ""}, {1, ""}, {2, ""}};
  line("position", valueText(image, "position", threeNumbers) +
                       (image["space"] == "volume" ? " in the ultrasound volume" : ""));
  line("orientation",
       valueText(image, "orientation",
                 {{0, "rows "}, {1, ""}, {2, ""}, {3, "columns "}, {4, ""}, {5, ""}}));
}

void describeOverlays(const Json& overlays) {
  if (overlays.empty()) {
    line("overlays", "none embedded");
  }
  for (const Json& overlay : overlays) {
    line("overlay " + groupName(overlay["group"].get<unsigned>()),
         "frame " + plain(overlay["frame"]) + ", " + plain(overlay["size"][0]) + " x " +
             plain(overlay["size"][1]) + " at (" + plain(overlay["origin"][0]) + ", " +
             plain(overlay["origin"][1]) + ")");
  }
}

std::string countOf(std::size_t count, const char* thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

std::string slicesText(const Json& volumes) {
  std::size_t fewest = volumes.empty() ? 0 : volumes[0].size();
  std::size_t most = fewest;
  for (const Json& volume : volumes) {
    fewest = std::min(fewest, volume.size());
    most = std::max(most, volume.size());
  }
  const std::string range = fewest == most ? "" : std::to_string(fewest) + " to ";
  return countOf(volumes.size(), "volume") + " of " + range + countOf(most, "slice");
}

void describeSplitting(const Json& splitting) {
  if (!splitting["pointer"].is_null()) {
    const Json& kind = splitting["pointerKind"];
    line("frames by", kind.is_null() ? plain(splitting["pointer"])
                                     : plain(kind) + " " + plain(splitting["pointer"]));
  }
  if (!splitting["splittable"].get<bool>()) {
    line("splits", "no: " + plain(splitting["reason"]));
    return;
  }
  const std::string gates = splitting["rrIntervals"].is_null()
                                ? ""
                                : " (" + countOf(splitting["timeSlots"], "time slot") + " x " +
                                      countOf(splitting["rrIntervals"], "R-R interval") + ")";
  line("splits", "into " + slicesText(splitting["volumes"]) + gates +
                     (splitting["reversed"].get<bool>() ? ", reversed" : ""));
}

void sayReport(const Json& report) {
  say(plain(report["file"]));
  if (!report["transferSyntax"].is_null()) {
    line("object", uidWithName(report["sopClass"]));
    line("modality", plain(report["modality"]));
    line("kind", kindText(report));
    line("transfer syntax", uidWithName(report["transferSyntax"]));
    if (!report["content"].is_null()) {
      line("content", plain(report["content"]) + ", without pixels");
      return;
    }
    line("pixels", pixelText(report["pixelFormat"]));
  }
  if (!report["ok"].get<bool>()) {
    line("not decoded", plain(report["error"]));
    return;
  }
  sayImage(report["image"]);
  line("modality LUT", tableText(report["luts"]["modality"]));
  line("palette", tableText(report["luts"]["palette"]));
  describeOverlays(report["overlays"]);
  describeSplitting(report["splitting"]);
}

/// One run over all files: each is told of when it was read.
class Report {
public:
  Report(const InfoOptions& options, const zr::MemoryBudget& memory, Progress& progress)
      : options_(options), memory_(memory), progress_(progress) {}

  void add(const zr::PathEntry& entry) {
    const Json report =
        entry.problem.empty()
            ? reportFile(entry.path, memory_)
            : reportError(entry.path, zr::Error(zr::Reason::NotDicom, entry.problem));
    if (!report["ok"].get<bool>()) {
      if (isPassedOver(entry, report)) {
        return;
      }
      progress_.clear();
      complain(entry.path.string() + ": " + report["error"].get<std::string>());
      status_ = kFailed;
    }
    ++count_;
    tell(report);
  }

  /// The exit status.
  int finish() {
    if (options_.json) {
      sayJson(all_);
    }
    passedOver_.complain();
    if (count_ == 0) {
      complain("no DICOM file found");
      return kFailed;
    }
    return status_;
  }

private:
  bool isPassedOver(const zr::PathEntry& entry, const Json& report) {
    const bool isNotDicom = report["reason"] == zr::nameOf(zr::Reason::NotDicom);
    return entry.problem.empty() && isNotDicom && passedOver_.takes(entry, zr::Reason::NotDicom);
  }

  void tell(const Json& report) {
    if (options_.json) {
      all_.push_back(report);
    } else if (options_.jsonLines) {
      sayJsonLine(report);
    } else {
      sayReport(report);
    }
  }

  const InfoOptions& options_;
  const zr::MemoryBudget& memory_;
  Progress& progress_;
  Json all_ = Json::array();
  PassedOver passedOver_;
  std::size_t count_ = 0;
  int status_ = kDone;
};

int info(const InfoOptions& options, const zr::MemoryBudget& memory) {
  if (!options.json) {
    Progress none("reading", 1);
    Report report(options, memory, none);
    zr::visitPaths(options.paths, std::cin, [&](const zr::PathEntry& entry) { report.add(entry); });
    return report.finish();
  }
  const std::vector<zr::PathEntry> entries = zr::expandPaths(options.paths);
  Progress progress("reading", entries.size());
  Report report(options, memory, progress);
  for (const zr::PathEntry& entry : entries) {
    report.add(entry);
    progress.advance();
  }
  progress.clear();
  return report.finish();
}

}  // namespace

VerbAction configureInfo(CLI::App& command) {
  auto options = std::make_shared<InfoOptions>();
  command.add_option("files", options->paths, "DICOM files, folders, lists of files")
      ->type_name("PATH")
      ->required();
  addRecursiveFlag(command);
  CLI::Option* const json =
      command.add_flag("--json", options->json, "Print an array of objects, one a file");
  command
      .add_flag("--jsonl", options->jsonLines,
                "Print an object a file on a line of its own, each once the file is read")
      ->excludes(json);
  command.footer(std::string(kPathsHelp) + "\n\n" + kFooter);
  return [options](const zr::MemoryBudget& memory) { return info(*options, memory); };
}

}  // namespace zrdcm
