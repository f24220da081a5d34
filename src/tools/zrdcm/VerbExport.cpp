// SPDX-License-Identifier: BSD-3-Clause
// zrdcm export: samples and attributes into a new DICOM file.
#include "ExitStatus.h"
#include "FileNamed.h"
#include "Messages.h"
#include "UsageError.h"
#include "Verb.h"
#include "zrimaging/Error.h"
#include "zrimaging/File.h"
#include "zrimaging/export/ExportAttributes.h"
#include "zrimaging/output/LibraryFile.h"
#include "zrimaging/output/ProtectedInputs.h"

#include <zrdcmexport/ZrDcmExport.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdatset.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

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

constexpr std::uint32_t kImageType = 0x00080008;
constexpr std::uint32_t kSopClassUid = 0x00080016;
constexpr std::uint32_t kSopInstanceUid = 0x00080018;
constexpr std::uint32_t kStudyInstanceUid = 0x0020000D;
constexpr std::uint32_t kSeriesInstanceUid = 0x0020000E;
constexpr const char* kSecondaryCapture = "1.2.840.10008.5.1.4.1.1.7";

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

std::size_t sampleBytes(zr::ExportType type) {
  return type == zr::ExportType::kU8 ? 1 : 2;
}

/// A UID that nobody else has: a random UUID as a decimal number below 2.25 (PS3.5 annex B.2).
std::string freshUid() {
  std::array<std::uint32_t, 4> number{};
  std::random_device random;
  std::generate(number.begin(), number.end(), std::ref(random));
  number[1] = (number[1] & 0xFFFF0FFFU) | 0x00004000U;  // version 4, random
  number[2] = (number[2] & 0x3FFFFFFFU) | 0x80000000U;
  std::string digits;
  while (std::any_of(number.begin(), number.end(), [](std::uint32_t part) { return part != 0; })) {
    std::uint64_t rest = 0;
    for (std::uint32_t& part : number) {
      const std::uint64_t value = rest << 32U | part;
      part = static_cast<std::uint32_t>(value / 10);
      rest = value % 10;
    }
    digits += static_cast<char>('0' + rest);
  }
  std::reverse(digits.begin(), digits.end());
  return "2.25." + digits;
}

/// Samples as they stand in the file, in whole 16-bit words; 8-bit samples lie two in a word.
std::vector<unsigned short> readPixels(const ExportOptions& options) {
  const std::uint64_t samples =
      static_cast<std::uint64_t>(options.columns) * static_cast<std::uint64_t>(options.rows);
  if (samples > INT_MAX) {
    throw zr::Error(zr::Reason::TooLarge,
                    "too many samples for one image: " + std::to_string(samples));
  }
  const std::uint64_t bytes = samples * sampleBytes(options.type);
  std::ifstream stream(options.pixels, std::ios::binary | std::ios::ate);
  if (!stream || !fs::is_regular_file(options.pixels)) {
    throw zr::Error(zr::Reason::CannotWrite, "cannot read " + options.pixels);
  }
  const auto found = static_cast<std::uint64_t>(stream.tellg());
  if (found != bytes) {
    throw zr::Error(zr::Reason::CannotWrite, options.pixels + ": holds " + std::to_string(found) +
                                                 " bytes, but " + std::to_string(options.columns) +
                                                 " x " + std::to_string(options.rows) +
                                                 " samples take " + std::to_string(bytes));
  }
  std::vector<unsigned short> words((bytes + 1) / 2);
  stream.seekg(0);
  if (!stream.read(reinterpret_cast<char*>(words.data()), static_cast<std::streamsize>(bytes))) {
    throw zr::Error(zr::Reason::CannotWrite, "cannot read " + options.pixels);
  }
  return words;
}

// A file of the same kind, made of it: PS3.3 C.7.6.1.1.2 wants this of the image type.
void deriveFrom(zr::AttributeSet& attributes) {
  std::string imageType = attributes.text(kImageType);
  std::size_t end = imageType.find('\\');
  end = end == std::string::npos ? end : imageType.find('\\', end + 1);
  imageType = "DERIVED\\SECONDARY" + (end == std::string::npos ? "" : imageType.substr(end));
  attributes.set(kImageType, imageType);
  attributes.set(kSopInstanceUid, freshUid());
  attributes.set(kSeriesInstanceUid, freshUid());
}

/// An attribute that follows from the samples: filled in, or the same when the user gave it.
void setOrCompare(zr::AttributeSet& attributes, std::uint32_t tag, const std::string& text) {
  if (attributes.has(tag) && attributes.text(tag) != text) {
    throw zr::Error(zr::Reason::CannotWrite, attributes.byTag.at(tag).name + ": says " +
                                                 attributes.text(tag) +
                                                 ", but the samples make it " + text);
  }
  attributes.setDefault(tag, text);
}

void describePixels(zr::AttributeSet& attributes, const ExportOptions& options) {
  const std::size_t bits = 8 * sampleBytes(options.type);
  setOrCompare(attributes, 0x00280002, "1");
  setOrCompare(attributes, 0x00280010, std::to_string(options.rows));
  setOrCompare(attributes, 0x00280011, std::to_string(options.columns));
  setOrCompare(attributes, 0x00280100, std::to_string(bits));
  setOrCompare(attributes, 0x00280103, options.type == zr::ExportType::kS16 ? "1" : "0");
  attributes.setDefault(0x00280004, "MONOCHROME2");
  attributes.setDefault(0x00280101, std::to_string(bits));
  attributes.setDefault(0x00280102, std::to_string(bits - 1));
}

zr::AttributeSet gatherAttributes(const ExportOptions& options) {
  zr::AttributeSet attributes;
  if (!options.from.empty()) {
    attributes = withFileNamed(options.from, [&] {
      return zr::attributesOf(zr::File(options.from).dataset(), options.type);
    });
    deriveFrom(attributes);
  }
  if (!options.tags.empty()) {
    zr::apply(attributes, zr::readAttributes(options.tags));
  }
  describePixels(attributes, options);
  attributes.setDefault(kSopClassUid, kSecondaryCapture);
  for (const std::uint32_t uid : {kSopInstanceUid, kStudyInstanceUid, kSeriesInstanceUid}) {
    attributes.setDefault(uid, freshUid());
  }
  zr::requireWritable(attributes, options.type);
  return attributes;
}

void writeFile(const ExportOptions& options, const zr::AttributeSet& attributes,
               std::vector<unsigned short>& words, const zr::ProtectedInputs& inputs) {
  ZrDcmExport writer;
  zr::fillWriter(writer, attributes);
  zr::LibraryFile output(options.output, inputs);
  // The writer looks at the product alone, so words of two 8-bit samples need no other call.
  const bool written = writer.setOutputBaseDirectory(output.folder().c_str()) &&
                       writer.setFilename(output.name().c_str()) &&
                       writer.writeImageAsIs(static_cast<int>(words.size()), 1, words.data());
  if (!written) {
    throw zr::Error(zr::Reason::CannotWrite,
                    "cannot write " + options.output + ": " + writer.lastError());
  }
  output.commit(words.size() * sizeof(unsigned short));
}

int exportFile(const ExportOptions& options) {
  if (options.tags.empty() && options.from.empty()) {
    throw UsageError("--tags or --from must say what the file is to hold");
  }
  const zr::ProtectedInputs inputs({options.from, options.tags, options.pixels});
  inputs.refuseToReplace(options.output);
  const zr::AttributeSet attributes = gatherAttributes(options);
  std::vector<unsigned short> words = readPixels(options);
  writeFile(options, attributes, words, inputs);
  if (options.json) {
    sayJson({{"file", options.output},
             {"sopClassUid", attributes.text(kSopClassUid)},
             {"sopInstanceUid", attributes.text(kSopInstanceUid)},
             {"studyInstanceUid", attributes.text(kStudyInstanceUid)},
             {"seriesInstanceUid", attributes.text(kSeriesInstanceUid)},
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
