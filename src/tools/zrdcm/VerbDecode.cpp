// SPDX-License-Identifier: BSD-3-Clause
// zrdcm decode: samples of one image into a file that scripts, viewers or eyes can read.
#include "ArrayWriters.h"
#include "DecodedImage.h"
#include "ExitStatus.h"
#include "Failure.h"
#include "FileNamed.h"
#include "FrameRange.h"
#include "Messages.h"
#include "Numbers.h"
#include "PngWriter.h"
#include "Progress.h"
#include "ProtectedInputs.h"
#include "Rendering.h"
#include "Verb.h"
#include "VolumeHeader.h"
#include "WindowOption.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zrdcm {

namespace {

namespace fs = std::filesystem;

constexpr const char* kFooter = R"(The ending of OUT decides what is written:
  .npy   NumPy array (frames, rows, columns), for colour (frames, rows, columns, 3)
  .nrrd  NRRD volume with spacings and the line that maps samples to modality values
  .raw   the samples alone: frames in order, row by row, little endian, colour interleaved
  .png   a picture of 8 bits; several frames go to OUT-000.png, OUT-001.png, ... by frame number
Monochrome samples are unsigned (signed ones are shifted by 128 or 32768) and have the modality LUT
applied; bits stored at the top of the sample are moved down. With --stored they stay as they are in the file, 16 bits going to 16-bit PNG. Colour is
8-bit RGB always. Pictures are shown through --window, else through the window of the file, else
over the range of the values that occur; MONOCHROME1 is turned round so that it looks right.

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

enum class Format { kNpy, kNrrd, kRaw, kPng };

Format formatOf(const fs::path& output) {
  std::string ending = output.extension().string();
  std::transform(ending.begin(), ending.end(), ending.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (ending == ".npy") {
    return Format::kNpy;
  }
  if (ending == ".nrrd") {
    return Format::kNrrd;
  }
  if (ending == ".raw") {
    return Format::kRaw;
  }
  if (ending == ".png") {
    return Format::kPng;
  }
  throw UsageError("--output must end in .npy, .nrrd, .raw or .png: " + output.string());
}

std::optional<FrameRange> framesWanted(const DecodeOptions& options) {
  if (options.frames.empty()) {
    return std::nullopt;
  }
  const std::optional<FrameRange> frames = parseFrameRange(options.frames);
  if (!frames) {
    throw UsageError("--frames wants A or A-B, 0-based, A not above B: " + options.frames);
  }
  return frames;
}

void refuseWhatOnlyPicturesHave(const DecodeOptions& options, Format format) {
  if (format != Format::kPng && (!options.window.empty() || options.overlays)) {
    throw UsageError("--window and --overlays shape pictures: they go with .png only");
  }
}

// One frame keeps the name that was asked for; several are told apart by their frame number.
fs::path pictureName(const fs::path& output, const DecodedImage& image, std::size_t index) {
  if (image.frames.count() == 1) {
    return output;
  }
  char number[24];
  (void)std::snprintf(number, sizeof number, "-%03zu", image.frames.first + index);  // always fits
  return output.parent_path() / (output.stem().string() + number + output.extension().string());
}

std::vector<fs::path> writePictures(const DecodedImage& image, const DecodeOptions& options,
                                    const ProtectedInputs& inputs) {
  for (std::size_t i = 0; i < image.frames.count(); ++i) {
    inputs.refuseToReplace(pictureName(options.output, image, i));
  }
  std::vector<fs::path> written;
  Progress progress("writing", image.frames.count());
  const std::optional<Window> window =
      image.monochrome && !options.stored
          ? std::optional<Window>(windowFor(image, windowFromOption(options.window)))
          : std::nullopt;
  for (std::size_t i = 0; i < image.frames.count(); ++i) {
    written.push_back(pictureName(options.output, image, i));
    if (!window) {
      writePng(written.back(), inputs, image.samples.frame(i));
    } else {
      const Picture picture = renderFrame(image, i, *window);
      writePng(written.back(), inputs,
               (options.overlays ? burnOverlays(picture, image, i) : picture).view());
    }
    progress.advance();
  }
  return written;
}

std::vector<fs::path> writeOutput(const DecodedImage& image, const DecodeOptions& options,
                                  const ProtectedInputs& inputs) {
  switch (formatOf(options.output)) {
    case Format::kNpy:
      writeNpy(options.output, inputs, image.samples);
      break;
    case Format::kNrrd:
      writeNrrd(options.output, inputs, image.samples, nrrdHeaderOf(image));
      break;
    case Format::kRaw:
      writeRaw(options.output, inputs, image.samples);
      break;
    case Format::kPng:
      return writePictures(image, options, inputs);
  }
  return {options.output};
}

nlohmann::ordered_json report(const DecodedImage& image, const DecodeOptions& options,
                              const std::vector<fs::path>& written) {
  const SampleArray& samples = image.samples;
  nlohmann::ordered_json shape = {samples.frames, samples.rows, samples.columns};
  if (samples.channels != 1) {
    shape.push_back(samples.channels);
  }
  nlohmann::ordered_json outputs = nlohmann::ordered_json::array();
  for (const fs::path& path : written) {
    outputs.push_back(path.string());
  }
  nlohmann::ordered_json modality = nullptr;
  if (image.monochrome && !options.stored) {
    const KtVec2f line = image.slice.result_MOD_LUT();
    modality = jsonPair(line);
  }
  return {{"file", options.file},
          {"outputs", outputs},
          {"frames", {image.frames.first, image.frames.last}},
          {"shape", shape},
          {"type", typeName(samples.type)},
          {"modality", modality}};
}

int decode(const DecodeOptions& options, const MemoryBudget& memory) {
  refuseWhatOnlyPicturesHave(options, formatOf(options.output));
  (void)windowFromOption(options.window);  // wrong usage shows before any work is done
  const ProtectedInputs inputs({options.file});
  if (formatOf(options.output) != Format::kPng) {  // the frames decide what pictures are called
    inputs.refuseToReplace(options.output);
  }
  const DecodeRequest request{framesWanted(options), options.stored, options.overlays};
  const DecodedImage image =
      withFileNamed(options.file, [&] { return decodeImage(options.file, request, memory); });
  const std::vector<fs::path> written = writeOutput(image, options, inputs);
  if (options.json) {
    sayJson(report(image, options, written));
  }
  return kDone;
}

}  // namespace

VerbAction configureDecode(CLI::App& command) {
  auto options = std::make_shared<DecodeOptions>();
  command.add_option("file", options->file, "The DICOM file")->type_name("FILE")->required();
  command.add_option("-o,--output", options->output, "Where to write: .npy, .nrrd, .raw or .png")
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
  command.footer(kFooter);
  return [options](const MemoryBudget& memory) { return decode(*options, memory); };
}

}  // namespace zrdcm
