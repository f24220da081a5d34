// SPDX-License-Identifier: BSD-3-Clause
// zrdcm info: what files hold and how they decode, as a listing or as JSON.
#include "ExitStatus.h"
#include "FileListing.h"
#include "FileReport.h"
#include "InputFiles.h"
#include "Messages.h"
#include "Progress.h"
#include "Verb.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstddef>
#include <iostream>
#include <memory>
#include <string>
#include <vector>
#include <zrimaging/Error.h>
#include <zrimaging/Paths.h>

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
