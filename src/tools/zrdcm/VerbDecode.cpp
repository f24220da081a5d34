// SPDX-License-Identifier: BSD-3-Clause
// zrdcm decode: samples of one image into a file that scripts, viewers or eyes can read.
#include "ExitStatus.h"
#include "FileNamed.h"
#include "FormatOption.h"
#include "FrameValues.h"
#include "Messages.h"
#include "Progress.h"
#include "UsageError.h"
#include "Verb.h"
#include "WindowOption.h"
#include "zrimaging/Error.h"
#include "zrimaging/FrameAttributes.h"
#include "zrimaging/formats/VolumeHeader.h"
#include "zrimaging/images/DecodedImage.h"
#include "zrimaging/images/FrameRange.h"
#include "zrimaging/images/FrameSource.h"
#include "zrimaging/output/ProtectedInputs.h"
#include "zrimaging/pictures/Rendering.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdatset.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <numeric>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zrdcm {

namespace {

namespace fs = std::filesystem;

constexpr const char* kFooterAboutSamples =
    R"(Monochrome samples are unsigned (signed ones are shifted by 128 or 32768) and have the modality LUT
applied; bits stored at the top of the sample are moved down. With --stored they stay as they are
in the file, 16 bits going to 16-bit PNG. Colour is 8-bit RGB always. Pictures are shown through --window, else through the window of the file (of each
frame, where frames have their own), else over the range of the values that occur; a window of the
file that shows all in one grey gives way to that range. MONOCHROME1 is turned round so that it
looks right; a modality LUT of angiography and fluoroscopy is not meant for pictures and left out.

Examples:
  zrdcm decode ct.dcm -o ct.png --window 40,400
  zrdcm decode clip.dcm -o clip.npy --frames 0-9)";

struct DecodeOptions {
  std::string file;
  std::string output;
  std::string frames;
  std::string window;
  bool stored = false;
  bool overlays = false;
  bool json = false;
};

const zr::OutputFormat& formatOf(const fs::path& output) {
  if (const zr::OutputFormat* const format = zr::formatOf(output)) {
    return *format;
  }
  throw UsageError("--output must end in " + endingsInWords(zr::formats()) + ": " +
                   output.string());
}

std::optional<zr::FrameRange> framesWanted(const DecodeOptions& options) {
  if (options.frames.empty()) {
    return std::nullopt;
  }
  const std::optional<zr::FrameRange> frames = zr::parseFrameRange(options.frames);
  if (!frames) {
    throw UsageError("--frames wants A or A-B, 0-based, A not above B: " + options.frames);
  }
  return frames;
}

void refuseWhatOnlyPicturesHave(const DecodeOptions& options, const zr::OutputFormat& format) {
  if (!format.holds(zr::kForEyes) && (!options.window.empty() || options.overlays)) {
    throw UsageError("--window and --overlays shape pictures: they go with " +
                     endingsInWords(pictureFormats()) + " only");
  }
}

// One frame keeps the name that was asked for; several are told apart by their frame number.
fs::path nameOfFrame(const fs::path& output, const zr::DecodedImage& image, std::size_t index) {
  if (image.frames.count() == 1) {
    return output;
  }
  char number[24];
  (void)std::snprintf(number, sizeof number, "-%03zu", image.frames.first + index);  // always fits
  return output.parent_path() / (output.stem().string() + number + output.extension().string());
}

/// What is written, and what is known about it.
struct Decoded {
  zr::DecodedImage image;
  zr::PerFrameAttributes attributes;
  std::optional<zr::Display> display;  ///< when it is shown as pictures of 8 bits

  std::vector<std::size_t> numbers() const {
    std::vector<std::size_t> numbers(image.frames.count());
    std::iota(numbers.begin(), numbers.end(), image.frames.first);
    return numbers;
  }
  zr::ArrayDescription description(const std::vector<std::size_t>& frames) const {
    return zr::describeArray(image, attributes, frames);
  }
};

Decoded decodeAsAsked(const DecodeOptions& options, const zr::MemoryBudget& memory) {
  const zr::DecodeRequest request{framesWanted(options), options.stored, options.overlays};
  const bool shown = formatOf(options.output).holds(zr::kForEyes) && !options.stored;
  auto file = shown ? zr::openForDisplay(options.file) : std::make_unique<zr::File>(options.file);
  Decoded decoded;
  decoded.image = zr::decodeImage(std::move(file), request, memory);
  DcmDataset& dataset = decoded.image.file->dataset();
  // Decoding may cut Number of Frames to what it found, which is at least what was asked for.
  decoded.attributes = zr::readFrameAttributes(
      dataset, std::max(zr::frameCount(dataset), decoded.image.frames.last + 1));
  if (shown && decoded.image.monochrome) {
    decoded.display =
        zr::displayOf(decoded.image, decoded.attributes, windowFromOption(options.window));
  }
  return decoded;
}

std::vector<fs::path> writeFrameByFrame(const Decoded& decoded, const DecodeOptions& options,
                                        const zr::ProtectedInputs& inputs) {
  const zr::OutputFormat& format = formatOf(options.output);
  const zr::DecodedImage& image = decoded.image;
  for (std::size_t i = 0; i < image.frames.count(); ++i) {
    inputs.refuseToReplace(nameOfFrame(options.output, image, i));
  }
  std::vector<fs::path> written;
  Progress progress("writing", image.frames.count());
  for (std::size_t i = 0; i < image.frames.count(); ++i) {
    written.push_back(nameOfFrame(options.output, image, i));
    if (!decoded.display) {
      zr::writeArray(
          format, written.back(), inputs,
          zr::arrayOf(image.samples.frame(i), decoded.description({image.frames.first + i})));
    } else {
      const zr::Picture grey = zr::renderFrame(image, i, decoded.display->frame(i));
      const zr::Picture picture = options.overlays ? zr::burnOverlays(grey, image, i) : grey;
      zr::writeArray(format, written.back(), inputs, zr::arrayOf(picture.view()));
    }
    progress.advance();
  }
  return written;
}

std::vector<fs::path> writeOutput(const Decoded& decoded, const DecodeOptions& options,
                                  const zr::ProtectedInputs& inputs) {
  const zr::OutputFormat& format = formatOf(options.output);
  if (!format.holds(zr::kSeveralFrames)) {
    return writeFrameByFrame(decoded, options, inputs);
  }
  zr::writeArray(format, options.output, inputs,
                 zr::arrayOf(decoded.image.samples, decoded.description(decoded.numbers())));
  return {options.output};
}

// The line is that of the samples as decoding leaves them: shifted, or mapped by a table.
void addValues(nlohmann::ordered_json& report, const Decoded& decoded,
               const DecodeOptions& options) {
  const auto frame = [&decoded](std::size_t number) -> const zr::FrameAttributes& {
    return decoded.attributes.frames.at(number);
  };
  const bool mapped = decoded.image.monochrome && !options.stored;
  const auto line = [&decoded, mapped](std::size_t number) {
    return mapped ? zr::lineOfSamples(decoded.image, decoded.attributes, number) : std::nullopt;
  };
  addFrameValues(
      report, decoded.numbers(),
      {{"modality", [line](std::size_t number) { return jsonLine(line(number)); }},
       unitValue("modalityUnit", line),
       {"windows", [frame](std::size_t number) { return jsonWindows(frame(number).windows); }}});
}

nlohmann::ordered_json report(const Decoded& decoded, const DecodeOptions& options,
                              const std::vector<fs::path>& written) {
  const zr::DecodedImage& image = decoded.image;
  const zr::SampleArray& samples = image.samples;
  nlohmann::ordered_json shape = {samples.frames, samples.rows, samples.columns};
  if (samples.channels != 1) {
    shape.push_back(samples.channels);
  }
  nlohmann::ordered_json outputs = nlohmann::ordered_json::array();
  for (const fs::path& path : written) {
    outputs.push_back(path.string());
  }
  nlohmann::ordered_json report = {{"file", options.file},
                                   {"outputs", outputs},
                                   {"frames", {image.frames.first, image.frames.last}},
                                   {"shape", shape},
                                   {"type", zr::typeName(samples.type)}};
  addValues(report, decoded, options);
  report["remark"] = jsonTextOrNull(decoded.display ? decoded.display->remark() : "");
  return report;
}

int decode(const DecodeOptions& options, const zr::MemoryBudget& memory) {
  refuseWhatOnlyPicturesHave(options, formatOf(options.output));
  (void)windowFromOption(options.window);  // wrong usage shows before any work is done
  const zr::ProtectedInputs inputs({options.file});
  if (formatOf(options.output).holds(zr::kSeveralFrames)) {  // else frames decide the names
    inputs.refuseToReplace(options.output);
  }
  (void)framesWanted(options);
  const Decoded decoded =
      withFileNamed(options.file, [&] { return decodeAsAsked(options, memory); });
  complainOfAll(options.file, decoded.image.remarks);
  const std::vector<fs::path> written = writeOutput(decoded, options, inputs);
  if (decoded.display && !decoded.display->remark().empty()) {
    complain(options.file + ": " + decoded.display->remark());
  }
  if (options.json) {
    sayJson(report(decoded, options, written));
  }
  return kDone;
}

}  // namespace

VerbAction configureDecode(CLI::App& command) {
  auto options = std::make_shared<DecodeOptions>();
  command.description(command.get_description() + " into " + endingsInWords(zr::formats()));
  command.add_option("file", options->file, "The DICOM file")->type_name("FILE")->required();
  command
      .add_option("-o,--output", options->output,
                  "Where to write: " + endingsInWords(zr::formats()))
      ->type_name("OUT")
      ->required();
  command.add_option("--frames", options->frames, "Frame A, or frames A to B, 0-based")
      ->type_name("A[-B]");
  CLI::Option* stored =
      command.add_flag("--stored", options->stored, "Leave the samples as they are stored");
  command.add_option("--window", options->window, "Show these modality values in the picture")
      ->type_name("C,W")
      ->excludes(stored);
  command
      .add_flag("--overlays", options->overlays,
                "Draw the overlays that are embedded in the samples into the picture")
      ->excludes(stored);
  command.add_flag("--json", options->json, "Describe on stdout what was written");
  command.footer("The ending of OUT decides what is written:\n" + formatTable(zr::formats()) +
                 kFooterAboutSamples);
  return [options](const zr::MemoryBudget& memory) { return decode(*options, memory); };
}

}  // namespace zrdcm
