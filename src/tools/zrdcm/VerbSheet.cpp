// SPDX-License-Identifier: BSD-3-Clause
// zrdcm sheet: all frames of a file in one picture.
#include "ContactSheet.h"
#include "ExitStatus.h"
#include "Failure.h"
#include "FileNamed.h"
#include "FrameSource.h"
#include "Messages.h"
#include "PngWriter.h"
#include "Splitting.h"
#include "Verb.h"
#include "WindowOption.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zrdcm {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kFooter = R"(Every frame is drawn with its number (0-based) below, monochrome
ones through --window, else through the window of the file, else over the range of the values that
occur; overlays embedded in the samples are drawn in colour. Gated data has a row for each volume.
A sheet is at most 4096 pixels wide and high: many frames get small tiles, and of thousands every
n-th is drawn, which a line at the top tells.

Examples:
  zrdcm sheet spect.dcm -o spect.png
  zrdcm sheet clip.dcm -o clip.png --columns 10 --window 40,400)";

struct SheetOptions {
  std::string file;
  std::string output;
  std::string window;
  std::size_t columns = 0;
  bool json = false;
};

// Gated data is easiest to follow when the slices of a volume make up a row.
std::size_t columnsFor(const SheetOptions& options, DcmItem& item) {
  const int slices = std::atoi(textOf(item, DCM_NumberOfSlices).c_str());
  const bool rows =
      isGated(item) && slices >= 2 && slices <= static_cast<int>(SheetLayout::kMostColumns);
  return options.columns == 0 && rows ? static_cast<std::size_t>(slices) : options.columns;
}

Json report(const SheetOptions& options, const FrameSource& source, const SheetLayout& layout,
            const std::vector<unsigned>& groups) {
  return {{"file", options.file},
          {"output", options.output},
          {"frames", source.count()},
          {"shown", layout.shown},
          {"every", layout.every},
          {"overlayGroups", groups},
          {"size", {layout.sheetWidth, layout.sheetHeight}},
          {"tiles",
           {{"columns", layout.columns},
            {"rows", layout.rows},
            {"size", {layout.tileWidth, layout.tileHeight}},
            {"first", {layout.left(0), layout.top(0)}},
            {"step", {layout.stepX(), layout.stepY()}}}}};
}

int writeSheet(const SheetOptions& options) {
  const std::optional<Window> window = windowFromOption(options.window);
  SheetLayout layout;
  Json described;
  const Picture sheet = withFileNamed(options.file, [&] {
    FrameSource source(std::make_unique<DicomFile>(options.file));
    SheetContent content = allFrames(source);
    content.window = window;
    content.columns = columnsFor(options, source.image().file->dataset());
    Picture drawn = drawContactSheet(source, content, layout);
    described = report(options, source, layout, overlayGroups(source.image(), content.frames));
    return drawn;
  });
  writePng(options.output, sheet.view());
  if (options.json) {
    sayJson(described);
  }
  return kDone;
}

}  // namespace

VerbAction configureSheet(CLI::App& command) {
  auto options = std::make_shared<SheetOptions>();
  command.add_option("file", options->file, "The DICOM file")->type_name("FILE")->required();
  command.add_option("-o,--output", options->output, "The picture to write")
      ->type_name("PNG")
      ->required();
  command.add_option("--window", options->window, "Show these modality values")->type_name("C,W");
  command.add_option("--columns", options->columns, "Draw so many frames side by side")
      ->type_name("N")
      ->check(CLI::Range(std::size_t{1}, SheetLayout::kMostColumns));
  command.add_flag("--json", options->json, "Describe on stdout what was drawn, and where");
  command.footer(kFooter);
  return [options] { return writeSheet(*options); };
}

}  // namespace zrdcm
