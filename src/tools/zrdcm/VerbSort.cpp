// SPDX-License-Identifier: BSD-3-Clause
// zrdcm sort: the files of a series in order, and copies of them numbered in that order.
#include "ExitStatus.h"
#include "InputFiles.h"
#include "Messages.h"
#include "Progress.h"
#include "UsageError.h"
#include "Verb.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <vector>
#include <zrimaging/Error.h>
#include <zrimaging/Output.h>
#include <zrimaging/Paths.h>
#include <zrimaging/Series.h>

namespace zrdcm {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

constexpr const char* kFooter =
    R"(The first of these criteria that tells two files apart decides; those in brackets
only when LIST names them:
  image-type (within a series), [echo-time], [vendor-indices], [temporal-position], [rpeak-delay],
  slice-thickness, [cardiac-phase], [volume-uid], instance-number

Where nothing decides, files stay in the order in which they were given. With vendor-indices that
is the case for files that lack (2005,1413) and agree in (2005,1412): each counts as coming after
the other, and no later criterion is asked. Echo times up to 0.01 ms apart and slice thicknesses up
to 0.001 mm apart count as equal, so that a chain of such values may have several right orders; the
order then depends on the order given.

--json adds to each file the criterion that puts the file before it first (decidedBy); it is null for
the first file and where nothing decides.

--copy writes 0001.dcm, 0002.dcm, ... with that position as Instance Number. The number that a file
had goes to the private element OriginalInstanceNumber, if that place is free; all else, the SOP
Instance UID too, stays as it was. Files that cannot be read are left out, and the exit status is 1.

Examples:
  zrdcm sort series/*.dcm
  zrdcm sort --by temporal-position,rpeak-delay --copy ordered series/*.dcm)";

struct SortOptions {
  std::vector<std::string> paths;
  std::string by;
  std::string copyFolder;
  bool json = false;
};

/// The files that could be read; the others are complained of.
struct ReadSeries {
  std::vector<zr::SeriesImage> images;
  int status = kDone;
};

ReadSeries readSeries(const std::vector<zr::PathEntry>& files) {
  ReadSeries series;
  PassedOver passedOver;
  Progress progress("reading", files.size());
  const auto leaveOut = [&](const zr::PathEntry& file, const char* reason) {
    progress.clear();
    complain(file.path.string() + ": " + reason);
    series.status = kFailed;
  };
  for (const zr::PathEntry& file : files) {
    try {
      if (file.problem.empty()) {
        series.images.emplace_back(file.path);
      } else {
        leaveOut(file, file.problem.c_str());
      }
    } catch (const std::bad_alloc&) {
      leaveOut(file, "out of memory");
    } catch (const zr::Error& error) {
      if (!passedOver.takes(file, error.reason())) {
        leaveOut(file, error.what());
      }
    }
    progress.advance();
  }
  progress.clear();
  passedOver.complain();
  return series;
}

std::vector<std::string> namesOf(const std::vector<zr::PathEntry>& files) {
  std::vector<std::string> names;
  names.reserve(files.size());
  for (const zr::PathEntry& file : files) {
    names.push_back(file.path.string());
  }
  return names;
}

void writeCopies(const std::vector<zr::SeriesImage>& images, const fs::path& folder,
                 const zr::ProtectedInputs& inputs) {
  const std::size_t count = images.size();
  for (std::size_t i = 0; i < count; ++i) {
    inputs.refuseToReplace(zr::copyPath(folder, i + 1, count));
  }
  zr::createFolder(folder);
  Progress progress("copying", count);
  for (std::size_t i = 0; i < count; ++i) {
    zr::copyRenumbered(images[i].path(), i + 1, zr::copyPath(folder, i + 1, count), inputs);
    progress.advance();
  }
}

Json report(const std::vector<zr::SeriesImage>& images, const SortOptions& options,
            const zr::OrderSwitches& switches) {
  Json list = Json::array();
  for (std::size_t i = 0; i < images.size(); ++i) {
    const std::optional<std::string> criterion =
        i > 0 ? zr::decidingCriterion(images[i - 1], images[i], switches) : std::nullopt;
    Json entry = {{"file", images[i].path().string()},
                  {"decidedBy", criterion ? Json(*criterion) : Json(nullptr)}};
    if (!options.copyFolder.empty()) {
      entry["copy"] = zr::copyPath(options.copyFolder, i + 1, images.size()).string();
    }
    list.push_back(std::move(entry));
  }
  return list;
}

zr::OrderSwitches switchesWanted(const SortOptions& options) {
  try {
    return zr::parseOrderSwitches(options.by);
  } catch (const zr::Error& error) {
    throw UsageError(error.what());
  }
}

int sortFiles(const SortOptions& options) {
  const zr::OrderSwitches switches = switchesWanted(options);
  const std::vector<zr::PathEntry> files = zr::expandPaths(options.paths);
  ReadSeries series = readSeries(files);
  zr::sortSeries(series.images, switches);
  if (!options.copyFolder.empty()) {
    // Those too that could not be read: nothing has been copied of them.
    writeCopies(series.images, options.copyFolder, zr::ProtectedInputs(namesOf(files)));
  }
  if (options.json) {
    sayJson(report(series.images, options, switches));
  } else {
    for (const zr::SeriesImage& image : series.images) {
      say(image.path().string());
    }
  }
  return series.status;
}

}  // namespace

VerbAction configureSort(CLI::App& command) {
  auto options = std::make_shared<SortOptions>();
  command
      .add_option("files", options->paths, "The DICOM files of a series, folders, lists of files")
      ->type_name("PATH")
      ->required();
  addRecursiveFlag(command);
  command
      .add_option("--by", options->by,
                  "Criteria to switch on, separated by commas: vendor-indices, temporal-position, "
                  "rpeak-delay, echo-time, volume-uid, cardiac-phase")
      ->type_name("LIST");
  command.add_option("--copy", options->copyFolder, "Copy the files in order into this folder")
      ->type_name("DIR");
  command.add_flag("--json", options->json, "Print an array of objects, one a file");
  command.footer(std::string(kPathsHelp) + "\n\n" + kFooter);
  return [options](const zr::MemoryBudget&) { return sortFiles(*options); };
}

}  // namespace zrdcm
