// SPDX-License-Identifier: BSD-3-Clause
// zrdcm export: samples and attributes into a new DICOM file.
#include "ExitStatus.h"
#include "FileNamed.h"
#include "Messages.h"
#include "UsageError.h"
#include "Verb.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>
#include <zrimaging/Error.h>
#include <zrimaging/Export.h>
#include <zrimaging/File.h>
#include <zrimaging/Output.h>

namespace zrdcm {

namespace {

namespace fs = std::filesystem;

constexpr const char* kFooter =
    R"(RAW holds the samples alone, row by row, little endian. The attributes of the
new file are those of --from, if given, and those of --tags on top:
  { "PatientName": "Doe^John", "G0028-1052": "-1024",
    "SourceImageSequence": [ { "ReferencedSOPInstanceUID": "1.2.3" } ] }
Several values are separated by a backslash. Size and type of the samples are filled in, and so are
SOPClassUID (Secondary Capture) and missing UIDs. Letters beyond ASCII are UTF-8 and make the new
file Unicode; texts of --from are converted then. From --from the new file takes all that has a text
form, except what belongs to the old image alone: samples and their padding, lookup tables,
overlays, functional groups, private attributes, empty values within sequences. It gets SOP
Instance and Series UIDs of its own and the ImageType DERIVED\SECONDARY. All else stays as it is in
--from until --tags says otherwise: position, orientation and spacing of a reformatted image, and
RescaleIntercept where zrdcm decode has shifted the samples (its --json tells the new one).

Example:
  zrdcm export --from ct.dcm --pixels coronal.raw --columns 512 --rows 200 -o coronal.dcm)";

struct ExportOptions {
  std::string tags;
  std::string from;
  std::string pixels;
  int columns = 0;
  int rows = 0;
  zr::ExportType type = zr::ExportType::kU16;
  std::string output;
  bool json = false;
};

std::string fileContent(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream content;
  // Nothing taken over sets an error, too: a file may be empty.
  if (!stream ||
      (stream.peek() != std::ifstream::traits_type::eof() && !(content << stream.rdbuf()))) {
    throw zr::Error(zr::Reason::CannotWrite, "cannot read " + file);
  }
  return content.str();
}

/// The samples as they are in a file.
/// @param size  columns and rows, for the error
/// @param bytes that they take
std::vector<char> readPixels(const std::string& file, const std::string& size,
                             std::uint64_t bytes) {
  std::ifstream stream(file, std::ios::binary | std::ios::ate);
  if (!stream || !fs::is_regular_file(file)) {
    throw zr::Error(zr::Reason::CannotWrite, "cannot read " + file);
  }
  const auto found = static_cast<std::uint64_t>(stream.tellg());
  if (found != bytes) {
    throw zr::Error(zr::Reason::CannotWrite, file + ": holds " + std::to_string(found) +
                                                 " bytes, but " + size + " samples take " +
                                                 std::to_string(bytes));
  }
  std::vector<char> samples(bytes);
  stream.seekg(0);
  if (!stream.read(samples.data(), static_cast<std::streamsize>(bytes))) {
    throw zr::Error(zr::Reason::CannotWrite, "cannot read " + file);
  }
  return samples;
}

/// Takes the attributes of a DICOM file over, then those of a file of tags; either name may be
/// empty.
void addAttributes(zr::NewImage& image, const std::string& from, const std::string& tags) {
  if (!from.empty()) {
    withFileNamed(from, [&] { image.deriveFrom(zr::File(from)); });
  }
  if (!tags.empty()) {
    image.addTags(fileContent(tags), tags);
  }
  image.complete();
}

int exportFile(const ExportOptions& options) {
  if (options.tags.empty() && options.from.empty()) {
    throw UsageError("--tags or --from must say what the file is to hold");
  }
  const zr::ProtectedInputs inputs({options.from, options.tags, options.pixels});
  inputs.refuseToReplace(options.output);
  zr::NewImage image(options.columns, options.rows, options.type);
  addAttributes(image, options.from, options.tags);
  const std::string size = std::to_string(options.columns) + " x " + std::to_string(options.rows);
  const std::vector<char> samples = readPixels(options.pixels, size, image.sampleBytes());
  image.write(options.output, samples.data(), samples.size(), inputs);
  if (options.json) {
    sayJson({{"file", options.output},
             {"sopClassUid", image.text(0x0008, 0x0016)},
             {"sopInstanceUid", image.text(0x0008, 0x0018)},
             {"studyInstanceUid", image.text(0x0020, 0x000D)},
             {"seriesInstanceUid", image.text(0x0020, 0x000E)},
             {"columns", options.columns},
             {"rows", options.rows}});
  }
  return kDone;
}

}  // namespace

VerbAction configureExport(CLI::App& command) {
  constexpr int kLargestSide = 65535;  // Rows and Columns are 16-bit numbers
  auto options = std::make_shared<ExportOptions>();
  command.add_option("--tags", options->tags, "Attributes of the new file, as JSON")
      ->type_name("JSON");
  command.add_option("--from", options->from, "Begin with the attributes of this DICOM file")
      ->type_name("FILE");
  command.add_option("--pixels", options->pixels, "The samples")->type_name("RAW")->required();
  command.add_option("--columns", options->columns, "Samples in a row")
      ->type_name("N")
      ->required()
      ->check(CLI::Range(1, kLargestSide));
  command.add_option("--rows", options->rows, "Rows of samples")
      ->type_name("N")
      ->required()
      ->check(CLI::Range(1, kLargestSide));
  const std::map<std::string, zr::ExportType> types = {
      {"u8", zr::ExportType::kU8}, {"u16", zr::ExportType::kU16}, {"s16", zr::ExportType::kS16}};
  command
      .add_option_function<std::string>(
          "--type", [options, types](const std::string& name) { options->type = types.at(name); },
          "Type of the samples, u16 when not said")
      ->type_name("u8|u16|s16")
      ->check(CLI::IsMember({"u8", "u16", "s16"}).description(""));
  command.add_option("-o,--output", options->output, "The file to write")
      ->type_name("FILE")
      ->required();
  command.add_flag("--json", options->json, "Say on stdout what was written");
  command.footer(kFooter);
  return [options](const zr::MemoryBudget&) { return exportFile(*options); };
}

}  // namespace zrdcm
