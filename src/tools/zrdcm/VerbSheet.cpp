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
#include "zrimaging/Error.h"
#include "zrimaging/Formats.h"
#include "zrimaging/FrameAttributes.h"
#include "zrimaging/images/FrameSource.h"
#include "zrimaging/output/ProtectedInputs.h"
#include "zrimaging/pictures/ContactSheet.h"

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

zr::PerFrameAttributes attributesOf(const zr::DecodedImage& image) {
  return zr::readFrameAttributes(image.file->dataset(), image.samples.frames);
}

/// The images of a series as the frames of one image. Each is decoded when it is asked for.
class SeriesSource : public zr::FrameSource {
public:
  /// @throws Error that names the file, also when it does not match the first one.
  SeriesSource(std::vector<std::string> files, const zr::MemoryBudget& memory)
      : zr::FrameSource(zr::openForDisplay(files.front()), memory), files_(std::move(files)) {
    image_.slice.overlays.reset();  // they are those of the first file alone
    firstLine_ = lineOf(image());
  }

  std::size_t count() const override { return files_.size(); }

  zr::SampleArray frame(std::size_t index) override {
    withFileNamed(files_[index], [&] {
      current_ = zr::decodeImage(zr::openForDisplay(files_[index]), {std::nullopt, false, false},
                                 memory());
      requireMatch();
    });
    complainOfAll(files_[index], current_.remarks);
    return current_.samples;
  }

private:
  void requireMatch() const {
    const zr::SampleArray& first = image().samples;
    const zr::SampleArray& own = current_.samples;
    if (own.frames != 1) {
      throw zr::Error(zr::Reason::Unsupported,
                      "has several frames: a sheet of several files wants one frame each");
    }
    if (own.rows != first.rows || own.columns != first.columns || own.channels != first.channels ||
        own.type != first.type || current_.darkIsHigh != image().darkIsHigh) {
      throw zr::Error(zr::Reason::Unsupported,
                      "has pixels of another size or kind than " + files_.front());
    }
    if (image().monochrome && lineOf(current_) != firstLine_) {
      throw zr::Error(zr::Reason::Unsupported, "has another rescale line than " + files_.front());
    }
  }

  static std::optional<zr::RescaleLine> lineOf(const zr::DecodedImage& image) {
    return zr::lineOfSamples(image, attributesOf(image), image.frames.first);
  }

  std::vector<std::string> files_;
  zr::DecodedImage current_;
  std::optional<zr::RescaleLine> firstLine_;
};

// Gated data is easiest to follow when the slices of a volume make up a row.
std::size_t columnsFor(const SheetOptions& options, DcmItem& item) {
  const int slices = Zrg::intOf(zr::textOf(item, DCM_NumberOfSlices)).value_or(0);
  const bool rows = Zrg::readFrameIncrement(item).gated && slices >= 2 &&
                    slices <= static_cast<int>(zr::SheetLayout::kMostColumns);
  return options.columns == 0 && rows ? static_cast<std::size_t>(slices) : options.columns;
}

Json report(const SheetOptions& options, const zr::FrameSource& source,
            const zr::SheetContent& content, const zr::SheetLayout& layout) {
  return {{"file", options.files.front()},
          {"files", options.files},
          {"output", options.output},
          {"frames", source.count()},
          {"shown", layout.shown},
          {"every", layout.every},
          {"overlayGroups", zr::overlayGroups(source.image(), content.frames)},
          {"size", {layout.sheetWidth, layout.sheetHeight}},
          {"tiles",
           {{"columns", layout.columns},
            {"rows", layout.rows},
            {"size", {layout.tileWidth, layout.tileHeight}},
            {"first", {layout.left(0), layout.top(0)}},
            {"step", {layout.stepX(), layout.stepY()}}}},
          {"remark", jsonTextOrNull(content.display ? content.display->remark() : "")}};
}

std::unique_ptr<zr::FrameSource> openSource(const SheetOptions& options,
                                            const zr::MemoryBudget& memory) {
  if (options.files.size() > 1) {
    return std::make_unique<SeriesSource>(options.files, memory);
  }
  return std::make_unique<zr::FrameSource>(zr::openForDisplay(options.files.front()), memory);
}

// The files of a series are shown through the window of the first, which may have nothing in that window
// (air in front of a head): the window gives way only when no file has anything in it.
void keepWindowOfSeries(zr::FrameSource& source, zr::SheetContent& content) {
  const zr::PerFrameAttributes attributes = attributesOf(source.image());
  const std::optional<zr::Window> window = zr::windowOfFile(attributes, 0);
  if (!content.display || content.display->remark().empty() || !window) {
    return;
  }
  const zr::Display display = zr::displayOf(source.image(), attributes, window);
  std::set<unsigned char> greys;
  for (std::size_t index = 0; index < source.count(); ++index) {
    greys.merge(zr::extremeGreys(source.image(), source.frame(index), display.frame(0)));
    if (greys.size() > 1) {
      content.display = display;
      return;
    }
  }
}

zr::SheetContent contentOf(const SheetOptions& options, zr::FrameSource& source) {
  zr::SheetContent content =
      zr::allFrames(source, attributesOf(source.image()), windowFromOption(options.window));
  content.columns = columnsFor(options, source.image().file->dataset());
  if (options.files.size() > 1) {
    keepWindowOfSeries(source, content);
    content.title += " - " + std::filesystem::path(options.files.back()).filename().string();
  }
  return content;
}

int writeSheet(const SheetOptions& options, const zr::MemoryBudget& memory) {
  (void)windowFromOption(options.window);  // wrong usage is told before a file is opened
  const zr::ProtectedInputs inputs(options.files);
  inputs.refuseToReplace(options.output);
  const std::unique_ptr<zr::FrameSource> source =
      withFileNamed(options.files.front(), [&] { return openSource(options, memory); });
  zr::SheetContent content = contentOf(options, *source);
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
                                ? zr::drawContactSheet(*source, content, layout)
                                : withFileNamed(options.files.front(), [&] {
                                    return zr::drawContactSheet(*source, content, layout);
                                  });
  progress.reset();
  zr::writePicture(options.output, inputs, sheet.view());
  complainOfAll(options.files.front(), source->takeRemarks());
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
      ->type_name(pictureTypeName())
      ->check(checkPictureName)
      ->required();
  command.add_option("--window", options->window, "Show these modality values")->type_name("C,W");
  command.add_option("--columns", options->columns, "Draw so many frames side by side")
      ->type_name("N")
      ->check(CLI::Range(std::size_t{1}, zr::SheetLayout::kMostColumns));
  command.add_flag("--json", options->json, "Describe on stdout what was drawn, and where");
  command.footer(kFooter);
  return [options](const zr::MemoryBudget& memory) { return writeSheet(*options, memory); };
}

}  // namespace zrdcm
