// SPDX-License-Identifier: BSD-3-Clause
// zrdcm lut: the lookup tables of a file, as text, as JSON or as a plot.
#include "ExitStatus.h"
#include "FileNamed.h"
#include "FormatOption.h"
#include "Messages.h"
#include "Verb.h"

#include <zrdcmexport/ExDicomUtilitiesLUT.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdatset.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>
#include <zrimaging/Error.h>
#include <zrimaging/File.h>
#include <zrimaging/Formats.h>
#include <zrimaging/Output.h>
#include <zrimaging/Samples.h>

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

/// A table as plain numbers, `values` per entry side by side.
struct Table {
  int firstMapped;
  unsigned bits;
  std::size_t values;
  std::vector<unsigned> numbers;

  std::size_t entries() const { return numbers.size() / values; }
  unsigned at(std::size_t entry, std::size_t value) const {
    return numbers[entry * values + value];
  }
};

std::optional<Table> readTable(DcmItem& item, bool palette) {
  ExDicomUtilities::LUT lut;
  ExDicomUtilities::LUT::dcmDatasetRead(lut, item, palette);
  if (lut.entries.isNull() || !lut.entries->hasData()) {
    return std::nullopt;
  }
  const ZrDataAccess& access = *lut.entries;
  const std::size_t bytes = access.primType().primTypeSize();
  Table table{lut.firstMapped, static_cast<unsigned>(8 * bytes), access.nDataVar(), {}};
  const auto* const begin = static_cast<const unsigned char*>(access.dataPtr(0));
  for (long long entry = 0; entry < access.dims().x; ++entry) {
    const unsigned char* cell = begin + entry * access.strides().x;
    for (std::size_t value = 0; value < table.values; ++value, cell += bytes) {
      std::uint16_t number = *cell;
      if (bytes == 2) {
        std::memcpy(&number, cell, sizeof number);
      }
      table.numbers.push_back(number);
    }
  }
  return table;
}

Json report(const std::optional<Table>& table) {
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

void print(const char* name, const std::optional<Table>& table) {
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

// ---- plotting ----

using Colour = std::array<unsigned char, 3>;

constexpr std::size_t kPlotColumns = 640;
constexpr std::size_t kPlotRows = 400;
constexpr std::size_t kMargin = 20;
constexpr std::size_t kStripRows = 24;
constexpr Colour kFrame = {160, 160, 160};
constexpr Colour kGrayCurve = {30, 30, 30};
constexpr std::array<Colour, 3> kColourCurves = {{{200, 30, 30}, {20, 140, 40}, {40, 60, 200}}};

void mark(zr::Picture& picture, std::size_t column, std::size_t row, const Colour& colour) {
  std::copy(colour.begin(), colour.end(),
            picture.samples.begin() +
                static_cast<std::ptrdiff_t>((row * picture.columns + column) * picture.channels));
}

void markRun(zr::Picture& picture, std::size_t column, std::size_t rowA, std::size_t rowB,
             const Colour& colour) {
  for (std::size_t row = std::min(rowA, rowB); row <= std::max(rowA, rowB); ++row) {
    mark(picture, column, row, colour);
  }
}

/// The box of one plot: its curves, and for a palette the strip under them.
struct Plot {
  std::size_t top;
  const Table& table;

  std::size_t left() const { return kMargin; }
  std::size_t width() const { return kPlotColumns - 2 * kMargin; }
  std::size_t curveTop() const { return top + kMargin; }
  std::size_t curveBottom() const {
    return top + kPlotRows - kMargin - (table.values == 3 ? kStripRows + kMargin : 0);
  }
  std::size_t entryAt(std::size_t x) const { return x * (table.entries() - 1) / (width() - 1); }
  std::size_t rowOf(unsigned number) const {
    const unsigned highest = (1U << table.bits) - 1U;
    return curveBottom() - (curveBottom() - curveTop()) * number / highest;
  }
};

void drawFrame(zr::Picture& picture, const Plot& plot) {
  for (std::size_t x = 0; x < plot.width(); ++x) {
    mark(picture, plot.left() + x, plot.curveTop(), kFrame);
    mark(picture, plot.left() + x, plot.curveBottom(), kFrame);
  }
  markRun(picture, plot.left(), plot.curveTop(), plot.curveBottom(), kFrame);
  markRun(picture, plot.left() + plot.width() - 1, plot.curveTop(), plot.curveBottom(), kFrame);
}

void drawCurve(zr::Picture& picture, const Plot& plot, std::size_t value, const Colour& colour) {
  std::size_t before = plot.rowOf(plot.table.at(0, value));
  for (std::size_t x = 0; x < plot.width(); ++x) {
    const std::size_t row = plot.rowOf(plot.table.at(plot.entryAt(x), value));
    markRun(picture, plot.left() + x, before, row, colour);
    before = row;
  }
}

void drawStrip(zr::Picture& picture, const Plot& plot) {
  const std::size_t top = plot.curveBottom() + kMargin;
  const unsigned shift = plot.table.bits - 8;
  for (std::size_t x = 0; x < plot.width(); ++x) {
    Colour colour{};
    for (std::size_t value = 0; value < colour.size(); ++value) {
      colour.at(value) = static_cast<unsigned char>(plot.table.at(plot.entryAt(x), value) >> shift);
    }
    markRun(picture, plot.left() + x, top, top + kStripRows - 1, colour);
  }
}

void draw(zr::Picture& picture, const Plot& plot) {
  drawFrame(picture, plot);
  if (plot.table.values == 1) {
    drawCurve(picture, plot, 0, kGrayCurve);
    return;
  }
  for (std::size_t value = 0; value < kColourCurves.size(); ++value) {
    drawCurve(picture, plot, value, kColourCurves.at(value));
  }
  drawStrip(picture, plot);
}

void writePlot(const LutOptions& options, const std::vector<Table>& tables) {
  if (tables.empty()) {
    throw zr::Error(zr::Reason::MissingAttribute, options.file + ": holds no lookup table");
  }
  zr::Picture picture;
  picture.rows = kPlotRows * tables.size();
  picture.columns = kPlotColumns;
  picture.channels = 3;
  picture.samples.assign(picture.rows * picture.columns * picture.channels, 255);
  std::size_t top = 0;
  for (const Table& table : tables) {
    draw(picture, Plot{top, table});
    top += kPlotRows;
  }
  zr::writePicture(options.output, zr::ProtectedInputs({options.file}), picture.view());
}

struct Tables {
  std::optional<Table> modality;
  std::optional<Table> palette;
};

Tables readTables(const std::string& path) {
  const zr::File file(path);
  return {readTable(file.dataset(), false), readTable(file.dataset(), true)};
}

int showTables(const LutOptions& options) {
  const auto [modality, palette] =
      withFileNamed(options.file, [&] { return readTables(options.file); });
  if (!options.output.empty()) {
    std::vector<Table> tables;
    for (const std::optional<Table>& table : {modality, palette}) {
      if (table) {
        tables.push_back(*table);
      }
    }
    writePlot(options, tables);
  }
  if (options.json) {
    sayJson({{"file", options.file}, {"modality", report(modality)}, {"palette", report(palette)}});
  } else if (options.output.empty()) {
    print("modality", modality);
    print("palette", palette);
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
