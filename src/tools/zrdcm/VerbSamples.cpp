// SPDX-License-Identifier: BSD-3-Clause
// zrdcm samples: phantom datasets, drawn anew on every call, the same bytes each time.
#include "ExitStatus.h"
#include "Messages.h"
#include "Progress.h"
#include "Verb.h"
#include "phantoms/Coding.h"
#include "phantoms/Phantoms.h"
#include "zrimaging/DicomWriter.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcfilefo.h"
#include "dcmtk/dcmdata/dcxfer.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <vector>
#include <zrimaging/Output.h>

namespace zrdcm {

namespace {

namespace fs = std::filesystem;

constexpr const char* kFooter = R"(Each phantom is written in plain little endian and again in the
codings that fit it: RLE, JPEG lossless, JPEG-LS, JPEG baseline. The files are the same on every
day and machine: UIDs and dates are fixed.

Example:
  zrdcm samples phantoms && zrdcm info phantoms/*.dcm)";

struct SamplesOptions {
  std::string folder;
  bool json = false;
};

/// Writes a phantom in plain little endian, then in every further syntax that it names.
std::vector<fs::path> writeCodings(const phantoms::Phantom& phantom, const fs::path& folder) {
  std::vector<fs::path> files;
  for (const E_TransferSyntax syntax : phantoms::syntaxesOf(phantom)) {
    const phantoms::CodedPhantom coded = phantoms::codedAs(phantom, syntax);
    files.push_back(folder / coded.fileName);
    zr::writeDicomFile(*coded.file, syntax, files.back(), zr::ProtectedInputs());
  }
  return files;
}

int writePhantoms(const SamplesOptions& options) {
  zr::createFolder(options.folder);
  const phantoms::Encoders encoders;
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  Progress progress("drawing", std::size(phantoms::kPhantoms));
  std::vector<std::string> names;
  for (unsigned i = 0; i < std::size(phantoms::kPhantoms); ++i) {
    const phantoms::Phantom phantom = phantoms::kPhantoms[i](i + 1);
    for (const fs::path& file : writeCodings(phantom, options.folder)) {
      names.push_back(file.string());
      list.push_back({{"file", file.string()}, {"shows", phantom.shows}});
    }
    progress.advance();
  }
  progress.clear();
  if (options.json) {
    sayJson(list);
  } else {
    for (const std::string& name : names) {
      say(name);
    }
  }
  return kDone;
}

}  // namespace

VerbAction configureSamples(CLI::App& command) {
  auto options = std::make_shared<SamplesOptions>();
  command.add_option("dir", options->folder, "Where to write; made when it is not there")
      ->type_name("DIR")
      ->required();
  command.add_flag("--json", options->json, "List the files as JSON");
  command.footer(kFooter);
  return [options](const zr::MemoryBudget&) { return writePhantoms(*options); };
}

}  // namespace zrdcm
