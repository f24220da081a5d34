// SPDX-License-Identifier: BSD-3-Clause
// zrdcm lut: the lookup tables of a file, as text, as JSON or as a plot.
#include "ExitStatus.h"
#include "FileNamed.h"
#include "FormatOption.h"
#include "Messages.h"
#include "Verb.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>
#include <zrimaging/Error.h>
#include <zrimaging/File.h>
#include <zrimaging/Formats.h>
#include <zrimaging/Output.h>
#include <zrimaging/Tables.h>

namespace zrdcm {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kFooter =
    R"(Prints every entry: the stored value that it maps, and what it maps it to (for a
palette red, green and blue). Entries are what the library makes of the file: with the usual
defects repaired, the count taken from the data. A plot shows the modality table above the palette,
with the palette's colours as a strip beneath.

Example:
  zrdcm lut ct.dcm -o lut.png)";

struct LutOptions {
  std::string file;
  std::string output;
  bool json = false;
};

Json jsonTable(const std::optional<zr::TableValues>& table) {
  if (!table) {
    return nullptr;
  }
  Json json = {
      {"firstMapped", table->firstMapped}, {"entries", table->entries()}, {"bits", table->bits}};
  const std::array<const char*, 3> colours = {"red", "green", "blue"};
  for (std::size_t value = 0; value < table->values; ++value) {
    Json numbers = Json::array();
    for (std::size_t entry = 0; entry < table->entries(); ++entry) {
      numbers.push_back(table->at(entry, value));
    }
    json[table->values == 1 ? "values" : colours.at(value)] = std::move(numbers);
  }
  return json;
}

void sayTable(const char* name, const std::optional<zr::TableValues>& table) {
  if (!table) {
    say(std::string(name) + ": none");
    return;
  }
  say(std::string(name) + ": " + std::to_string(table->entries()) + " entries of " +
      std::to_string(table->values) + " x " + std::to_string(table->bits) + " bits");
  for (std::size_t entry = 0; entry < table->entries(); ++entry) {
    std::string line =
        "  " + std::to_string(table->firstMapped + static_cast<long long>(entry)) + " ->";
    for (std::size_t value = 0; value < table->values; ++value) {
      line += " " + std::to_string(table->at(entry, value));
    }
    say(line);
  }
}

struct Tables {
  std::optional<zr::TableValues> modality;
  std::optional<zr::TableValues> palette;
};

Tables readTables(const std::string& path) {
  const zr::File file(path);
  return {zr::readModalityTable(file), zr::readPalette(file)};
}

void writePlot(const std::string& file, const Tables& tables, const std::string& target) {
  std::vector<zr::TableValues> plotted;
  for (const std::optional<zr::TableValues>& table : {tables.modality, tables.palette}) {
    if (table) {
      plotted.push_back(*table);
    }
  }
  if (plotted.empty()) {
    throw zr::Error(zr::Reason::MissingAttribute, file + ": holds no lookup table");
  }
  zr::writePicture(target, zr::ProtectedInputs({file}), zr::plotTables(plotted).view());
}

int showTables(const LutOptions& options) {
  const Tables tables = withFileNamed(options.file, [&] { return readTables(options.file); });
  if (!options.output.empty()) {
    writePlot(options.file, tables, options.output);
  }
  if (options.json) {
    sayJson({{"file", options.file},
             {"modality", jsonTable(tables.modality)},
             {"palette", jsonTable(tables.palette)}});
  } else if (options.output.empty()) {
    sayTable("modality", tables.modality);
    sayTable("palette", tables.palette);
  }
  return kDone;
}

}  // namespace

VerbAction configureLut(CLI::App& command) {
  auto options = std::make_shared<LutOptions>();
  command.add_option("file", options->file, "The DICOM file")->type_name("FILE")->required();
  command
      .add_option("-o,--output", options->output,
                  "Plot the tables into this picture: " + endingsInWords(pictureFormats()))
      ->type_name(kPictureTypeName)
      ->check(checkPictureName);
  command.add_flag("--json", options->json, "Print the tables as JSON");
  command.footer(kFooter);
  return [options](const zr::MemoryBudget&) { return showTables(*options); };
}

}  // namespace zrdcm
