// SPDX-License-Identifier: BSD-3-Clause
// zrdcm sheet: all frames of a file, or the images of a series, in one picture.
#include "ExitStatus.h"
#include "FileNamed.h"
#include "FormatOption.h"
#include "FrameValues.h"
#include "Messages.h"
#include "Progress.h"
#include "Verb.h"
#include "WindowOption.h"
#include "zrimaging/File.h"
#include "zrimaging/Output.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>
#include <zrimaging/Formats.h>
#include <zrimaging/Image.h>
#include <zrimaging/Sheets.h>

namespace zrdcm {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kFooter = R"(Every frame is drawn with its number (0-based) below, monochrome
ones through --window, else through their window or VOI table in the file, else over the range of the
values that occur (as zrdcm decode shows pictures); overlays are drawn in colour. Gated data has a row for each volume.
A sheet is at most 4096 pixels wide and high: many frames get small tiles, and of thousands every
n-th is drawn, which a line at the top tells. Several files are drawn in the order given; they are
the images of one series: one frame each, of one size, with the window of the first.

Examples:
  zrdcm sheet spect.dcm -o spect.png
  zrdcm sheet coronal/*.dcm -o coronal.png
  zrdcm sheet clip.dcm -o clip.png --columns 10 --window 40,400)";

struct SheetOptions {
  std::vector<std::string> files;
  std::string output;
  std::string window;
  std::size_t columns = 0;
  bool json = false;
};

Json report(const SheetOptions& options, const zr::Frames& source, const zr::SheetContent& content,
            const zr::SheetLayout& layout) {
  return {{"file", options.files.front()},
          {"files", options.files},
          {"output", options.output},
          {"frames", source.count()},
          {"shown", layout.shown},
          {"every", layout.every},
          {"overlayGroups", zr::overlayGroups(source.record(), content.frames)},
          {"size", {layout.sheetWidth, layout.sheetHeight}},
          {"tiles",
           {{"columns", layout.columns},
            {"rows", layout.rows},
            {"size", {layout.tileWidth, layout.tileHeight}},
            {"first", {layout.left(0), layout.top(0)}},
            {"step", {layout.stepX(), layout.stepY()}}}},
          {"remark", jsonTextOrNull(content.display ? content.display->remark() : "")}};
}

/// Frames, and what a sheet shows of them.
struct Source {
  std::unique_ptr<zr::Frames> frames;
  zr::SheetContent content;
};

Source openSource(const SheetOptions& options, const std::optional<zr::WindowChoice>& window,
                  const zr::MemoryBudget& memory) {
  // Gated data is easiest to follow when the slices of a volume make up a row.
  zr::File first(options.files.front());
  const std::size_t columns = options.columns != 0 ? options.columns : zr::columnsOfVolumes(first);
  Source source;
  if (options.files.size() > 1) {
    source.frames = zr::framesOfSeries({options.files.begin(), options.files.end()}, memory);
  } else {
    source.frames = zr::framesOf(zr::Image::forDisplay(std::move(first)), memory);
    source.content = zr::allFrames(*source.frames, window);
  }
  source.content.columns = columns;
  return source;
}

// Of several files each tells its own failures.
void chooseContentOfSeries(const SheetOptions& options,
                           const std::optional<zr::WindowChoice>& window, Source& source) {
  const std::size_t columns = source.content.columns;
  source.content = zr::allOfSeries(*source.frames, window);
  source.content.columns = columns;
  source.content.title += " - " + std::filesystem::path(options.files.back()).filename().string();
}

int writeSheet(const SheetOptions& options, const zr::MemoryBudget& memory) {
  // Wrong usage is told before a file is opened.
  const std::optional<zr::WindowChoice> window = windowFromOption(options.window);
  const zr::ProtectedInputs inputs(options.files);
  inputs.refuseToReplace(options.output);
  Source source =
      withFileNamed(options.files.front(), [&] { return openSource(options, window, memory); });
  if (options.files.size() > 1) {
    chooseContentOfSeries(options, window, source);
  }
  zr::SheetContent& content = source.content;
  std::optional<Progress> progress;
  content.tileDrawn = [&](std::size_t, std::size_t of) {
    if (!progress) {
      progress.emplace("drawing", of);
    }
    progress->advance();
  };
  zr::SheetLayout layout;
  // Of several files each tells its own failures.
  const zr::Picture sheet = options.files.size() > 1
                                ? zr::drawContactSheet(*source.frames, content, layout)
                                : withFileNamed(options.files.front(), [&] {
                                    return zr::drawContactSheet(*source.frames, content, layout);
                                  });
  progress.reset();
  zr::ArrayDescription description;
  description.iccProfile = source.frames->record().iccProfile;
  zr::writePicture(
      options.output, inputs, sheet.view(), std::move(description),
      [&options](const std::string& text) { complain(options.files.front() + ": " + text); });
  complainOfAll(source.frames->takeRemarks());
  if (content.display && !content.display->remark().empty()) {
    complain(options.files.front() + ": " + content.display->remark());
  }
  if (options.json) {
    sayJson(report(options, *source.frames, content, layout));
  }
  return kDone;
}

}  // namespace

VerbAction configureSheet(CLI::App& command) {
  auto options = std::make_shared<SheetOptions>();
  command.add_option("files", options->files, "The DICOM file, or the files of a series")
      ->type_name("FILE")
      ->required();
  command
      .add_option("-o,--output", options->output,
                  "The picture to write: " + endingsInWords(pictureFormats()))
      ->type_name(kPictureTypeName)
      ->check(checkPictureName)
      ->required();
  command
      .add_option("--window", options->window,
                  "Show these modality values, or a window of the file by its number (from 1) "
                  "or name")
      ->type_name(kWindowTypeName);
  command.add_option("--columns", options->columns, "Draw so many frames side by side")
      ->type_name("N")
      ->check(CLI::Range(std::size_t{1}, zr::SheetLayout::kMostColumns));
  command.add_flag("--json", options->json, "Describe on stdout what was drawn, and where");
  command.footer(kFooter);
  return [options](const zr::MemoryBudget& memory) { return writeSheet(*options, memory); };
}

}  // namespace zrdcm
