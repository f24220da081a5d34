// SPDX-License-Identifier: BSD-3-Clause
// zrdcm sheet: all frames of a file, or the images of a series, in one picture.
#include "ContactSheet.h"
#include "ExitStatus.h"
#include "Failure.h"
#include "FileNamed.h"
#include "FrameAttributes.h"
#include "FrameSource.h"
#include "FrameValues.h"
#include "Messages.h"
#include "PngWriter.h"
#include "ProtectedInputs.h"
#include "Verb.h"
#include "WindowOption.h"

#include <zrdcmexport/ZrFrameOrder.h>
#include <zrdcmexport/ZrNumbers.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace zrdcm {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kFooter = R"(Every frame is drawn with its number (0-based) below, monochrome
ones through --window, else through their window in the file, else over the range of the values that
occur (as zrdcm decode shows pictures); overlays embedded in the samples are drawn in colour. Gated data has a row for each volume.
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

ImageFrames attributesOf(const DecodedImage& image) {
  return readFrameAttributes(image.file->dataset(), image.samples.frames);
}

/// The images of a series as the frames of one image. Each is decoded when it is asked for.
class SeriesSource : public FrameSource {
public:
  /// @throws Failure that names the file, also when it does not match the first one.
  SeriesSource(std::vector<std::string> files, const MemoryBudget& memory)
      : FrameSource(openForDisplay(files.front()), memory), files_(std::move(files)) {
    image_.slice.overlays.reset();  // they are those of the first file alone
    firstLine_ = lineOf(image());
  }

  std::size_t count() const override { return files_.size(); }

  SampleArray frame(std::size_t index) override {
    withFileNamed(files_[index], [&] {
      current_ = decodeImage(openForDisplay(files_[index]), {std::nullopt, false, false}, memory());
      requireMatch();
    });
    return current_.samples;
  }

private:
  void requireMatch() const {
    const SampleArray& first = image().samples;
    const SampleArray& own = current_.samples;
    if (own.frames != 1) {
      throw Failure("has several frames: a sheet of several files wants one frame each");
    }
    if (own.rows != first.rows || own.columns != first.columns || own.channels != first.channels ||
        own.type != first.type || current_.darkIsHigh != image().darkIsHigh) {
      throw Failure("has pixels of another size or kind than " + files_.front());
    }
    if (image().monochrome && lineOf(current_) != firstLine_) {
      throw Failure("has another rescale line than " + files_.front());
    }
  }

  static std::optional<RescaleLine> lineOf(const DecodedImage& image) {
    return lineOfSamples(image, attributesOf(image), image.frames.first);
  }

  std::vector<std::string> files_;
  DecodedImage current_;
  std::optional<RescaleLine> firstLine_;
};

// Gated data is easiest to follow when the slices of a volume make up a row.
std::size_t columnsFor(const SheetOptions& options, DcmItem& item) {
  const int slices = Zrg::intOf(textOf(item, DCM_NumberOfSlices)).value_or(0);
  const bool rows = Zrg::readFrameIncrement(item).gated && slices >= 2 &&
                    slices <= static_cast<int>(SheetLayout::kMostColumns);
  return options.columns == 0 && rows ? static_cast<std::size_t>(slices) : options.columns;
}

Json report(const SheetOptions& options, const FrameSource& source, const SheetContent& content,
            const SheetLayout& layout) {
  return {{"file", options.files.front()},
          {"files", options.files},
          {"output", options.output},
          {"frames", source.count()},
          {"shown", layout.shown},
          {"every", layout.every},
          {"overlayGroups", overlayGroups(source.image(), content.frames)},
          {"size", {layout.sheetWidth, layout.sheetHeight}},
          {"tiles",
           {{"columns", layout.columns},
            {"rows", layout.rows},
            {"size", {layout.tileWidth, layout.tileHeight}},
            {"first", {layout.left(0), layout.top(0)}},
            {"step", {layout.stepX(), layout.stepY()}}}},
          {"remark", jsonTextOrNull(content.display ? content.display->remark() : "")}};
}

std::unique_ptr<FrameSource> openSource(const SheetOptions& options, const MemoryBudget& memory) {
  if (options.files.size() > 1) {
    return std::make_unique<SeriesSource>(options.files, memory);
  }
  return std::make_unique<FrameSource>(openForDisplay(options.files.front()), memory);
}

// The files of a series are shown through the window of the first, which may have nothing in that window
// (air in front of a head): the window gives way only when no file has anything in it.
void keepWindowOfSeries(FrameSource& source, SheetContent& content) {
  const ImageFrames attributes = attributesOf(source.image());
  const std::optional<Window> window = windowOfFile(attributes, 0);
  if (!content.display || content.display->remark().empty() || !window) {
    return;
  }
  const Display display = displayOf(source.image(), attributes, window);
  std::set<unsigned char> greys;
  for (std::size_t index = 0; index < source.count(); ++index) {
    greys.merge(extremeGreys(source.image(), source.frame(index), display.frame(0)));
    if (greys.size() > 1) {
      content.display = display;
      return;
    }
  }
}

SheetContent contentOf(const SheetOptions& options, FrameSource& source) {
  SheetContent content =
      allFrames(source, attributesOf(source.image()), windowFromOption(options.window));
  content.columns = columnsFor(options, source.image().file->dataset());
  if (options.files.size() > 1) {
    keepWindowOfSeries(source, content);
    content.title += " - " + std::filesystem::path(options.files.back()).filename().string();
  }
  return content;
}

int writeSheet(const SheetOptions& options, const MemoryBudget& memory) {
  (void)windowFromOption(options.window);  // wrong usage is told before a file is opened
  const ProtectedInputs inputs(options.files);
  inputs.refuseToReplace(options.output);
  const std::unique_ptr<FrameSource> source =
      withFileNamed(options.files.front(), [&] { return openSource(options, memory); });
  const SheetContent content = contentOf(options, *source);
  SheetLayout layout;
  // Of several files each tells its own failures.
  const Picture sheet = options.files.size() > 1
                            ? drawContactSheet(*source, content, layout)
                            : withFileNamed(options.files.front(), [&] {
                                return drawContactSheet(*source, content, layout);
                              });
  writePng(options.output, inputs, sheet.view());
  if (content.display && !content.display->remark().empty()) {
    complain(options.files.front() + ": " + content.display->remark());
  }
  if (options.json) {
    sayJson(report(options, *source, content, layout));
  }
  return kDone;
}

}  // namespace

VerbAction configureSheet(CLI::App& command) {
  auto options = std::make_shared<SheetOptions>();
  command.add_option("files", options->files, "The DICOM file, or the files of a series")
      ->type_name("FILE")
      ->required();
  command.add_option("-o,--output", options->output, "The picture to write")
      ->type_name("PNG")
      ->check(checkPngName)
      ->required();
  command.add_option("--window", options->window, "Show these modality values")->type_name("C,W");
  command.add_option("--columns", options->columns, "Draw so many frames side by side")
      ->type_name("N")
      ->check(CLI::Range(std::size_t{1}, SheetLayout::kMostColumns));
  command.add_flag("--json", options->json, "Describe on stdout what was drawn, and where");
  command.footer(kFooter);
  return [options](const MemoryBudget& memory) { return writeSheet(*options, memory); };
}

}  // namespace zrdcm
