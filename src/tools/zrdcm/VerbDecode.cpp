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
#include "zrimaging/File.h"
#include "zrimaging/Output.h"

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
#include <zrimaging/Formats.h>
#include <zrimaging/Image.h>
#include <zrimaging/Pictures.h>

namespace zrdcm {

namespace {

namespace fs = std::filesystem;

constexpr const char* kFooterAboutSamples =
    R"(--values says what is written into arrays. samples: the stored bits alone with their sign, as
the file has them in 8, 16 or 32 bits or floating-point numbers; colours in their depth. unsigned:
signed samples shifted by 128, 32768 or 2147483648, the modality LUT applied, colours as RGB of 8
bits. stored: the containers as they are in the file, colours too. modality: numbers with a
floating point, by the rescale line of each frame or the modality LUT, doses in Gy. display: grey
levels of 8 bits. Into pictures go the grey levels unless --values says otherwise; then 16 bits go
to 16-bit PNG. Pictures are shown through --window, else through the window or VOI table of the
file (of each frame, where frames have their own), else over the range of the values that occur; a
window of the file that shows all in one grey gives way to that range. --window 2 and --window BONE
choose among the windows and tables of the file. What is high and dark (MONOCHROME1, Presentation
LUT Shape) is turned round so that it looks right; a modality LUT of angiography and fluoroscopy is not meant for pictures and left out.

Examples:
  zrdcm decode ct.dcm -o ct.png --window 40,400
  zrdcm decode clip.dcm -o clip.npy --frames 0,5,10-19
  zrdcm decode ct.dcm -o - --format nrrd --compress | ssh host 'cat > ct.nrrd')";

constexpr const char* kStandardOutput = "-";

struct DecodeOptions {
  std::string file;
  std::string output;
  std::string format;
  std::string frames;
  std::string window;
  std::string values;
  bool stored = false;
  bool overlays = false;
  bool square = false;
  std::optional<int> quality;
  bool compressed = false;
  bool json = false;

  bool toStandardOutput() const { return output == kStandardOutput; }
  fs::path target() const { return toStandardOutput() ? "/dev/stdout" : output; }
};

const zr::OutputFormat& knownFormatOf(const DecodeOptions& options) {
  const zr::OutputFormat* const format =
      options.format.empty() ? zr::formatOf(options.output) : zr::formatNamed(options.format);
  if (format != nullptr) {
    return *format;
  }
  if (options.toStandardOutput()) {
    throw UsageError("--output - has no ending that tells the format: --format is needed");
  }
  throw UsageError("--output must end in " + endingsInWords(zr::formats()) + ": " + options.output);
}

/// Whether the samples are shown as pictures show them: through windows, in 8 bits.
bool isShown(const DecodeOptions& options) {
  return knownFormatOf(options).holds(zr::kForEyes) && !options.stored &&
         (options.values.empty() || options.values == zr::valuesName(zr::Values::kDisplay));
}

zr::Values valuesWanted(const DecodeOptions& options, const zr::Image& image) {
  if (options.stored) {
    return zr::Values::kStored;
  }
  if (isShown(options)) {
    return image.valuesToShow();
  }
  for (const zr::Values values : zr::kAllValues) {
    if (options.values == zr::valuesName(values)) {
      return values;
    }
  }
  return zr::Values::kSamples;
}

std::vector<std::string> namesOfValues() {
  std::vector<std::string> names;
  for (const zr::Values values : zr::kAllValues) {
    names.emplace_back(zr::valuesName(values));
  }
  return names;
}

// Frames of one number would go into one file, or one after the other into the same.
void refuseTwice(std::vector<zr::FrameRange> ranges) {
  std::sort(ranges.begin(), ranges.end(),
            [](const auto& one, const auto& other) { return one.first < other.first; });
  for (std::size_t i = 1; i < ranges.size(); ++i) {
    if (ranges[i].first <= ranges[i - 1].last) {
      throw UsageError("--frames names frame " + std::to_string(ranges[i].first) + " twice");
    }
  }
}

/// The frames wanted; none for all of them.
std::vector<zr::FrameRange> framesAskedFor(const DecodeOptions& options) {
  if (options.frames.empty()) {
    return {};
  }
  const auto ranges = zr::parseFrameRanges(options.frames);
  if (!ranges) {
    throw UsageError("--frames wants A or A-B, or a list of these, 0-based, A not above B: " +
                     options.frames);
  }
  refuseTwice(*ranges);
  return *ranges;
}

void refuseWhatOnlyPicturesHave(const DecodeOptions& options, const zr::OutputFormat& format) {
  if (!format.holds(zr::kForEyes) && (!options.window.empty() || options.overlays)) {
    throw UsageError("--window and --overlays shape pictures: they go with " +
                     endingsInWords(pictureFormats()) + " only");
  }
  if (options.square && !isShown(options)) {
    throw UsageError("--square makes pixels of pictures square: it goes with " +
                     endingsInWords(pictureFormats()) + " only, without --values");
  }
}

void refuseQualityWithoutLoss(const DecodeOptions& options) {
  if (options.quality && !knownFormatOf(options).holds(zr::kLossy)) {
    throw UsageError("--quality is for " + endingsInWords(zr::formatsWith(zr::kLossy)) + " only");
  }
}

void refuseWhatStandardOutputCannot(const DecodeOptions& options) {
  if (options.toStandardOutput() && options.json) {
    throw UsageError("--json and --output - both go to standard output");
  }
}

// Standard output is one file.
void refuseSeveralFiles(const DecodeOptions& options, const zr::Image& image) {
  const zr::OutputFormat& format = knownFormatOf(options);
  const std::vector<zr::FrameRange> wanted = framesAskedFor(options);
  std::size_t frames = wanted.empty() ? image.frameCount() : 0;
  for (const zr::FrameRange& range : wanted) {
    frames += range.count();
  }
  if (options.toStandardOutput() && frames > 1 && !format.holds(zr::kSeveralFrames)) {
    throw zr::Error(zr::Reason::Unsupported,
                    std::to_string(frames) + " frames make as many files of the format " +
                        format.name + ", and standard output takes one: --frames chooses a frame");
  }
}

// One frame keeps the name that was asked for; several are told apart by their number in the file.
fs::path nameOfFrame(const fs::path& output, const zr::DecodedFrames& frames, std::size_t index) {
  if (frames.count() == 1) {
    return output;
  }
  char number[24];
  (void)std::snprintf(number, sizeof number, "-%03zu",
                      frames.record().numberOf(index));  // always fits
  return output.parent_path() / (output.stem().string() + number + output.extension().string());
}

/// What is written, and how it is shown when it is written as pictures of 8 bits.
struct Decoded {
  zr::DecodedFrames frames;
  std::optional<zr::Display> display;

  std::vector<std::size_t> indices() const {
    std::vector<std::size_t> indices(frames.count());
    std::iota(indices.begin(), indices.end(), std::size_t{0});
    return indices;
  }
  zr::ArrayDescription description(const std::vector<std::size_t>& indices) const {
    return zr::describeArray(frames.record(), indices);
  }
};

Decoded decodeAsAsked(const DecodeOptions& options, const zr::MemoryBudget& memory) {
  const bool shown = isShown(options);
  zr::File file(options.file);
  const zr::Image image =
      shown ? zr::Image::forDisplay(std::move(file)) : zr::Image(std::move(file));
  refuseSeveralFiles(options, image);
  const zr::DecodeRequest request{std::nullopt, valuesWanted(options, image), options.overlays};
  const std::vector<zr::FrameRange> ranges = framesAskedFor(options);
  Decoded decoded{
      ranges.empty() ? image.decode(request, memory) : image.decode(ranges, request, memory),
      std::nullopt};
  if (shown && decoded.frames.record().traits.monochrome) {
    decoded.display =
        zr::displayOf(decoded.frames, decoded.frames.count(), windowFromOption(options.window));
  }
  return decoded;
}

zr::Picture pictureOf(const Decoded& decoded, std::size_t index, const DecodeOptions& options) {
  const zr::FramesRecord& record = decoded.frames.record();
  const zr::SampleArray frame = decoded.frames.samples().frame(index);
  const zr::Picture picture =
      decoded.display
          ? zr::renderFrame(record.traits, frame, decoded.display->frame(index))
          : zr::Picture{
                frame.rows, frame.columns, 3, {frame.bytes, frame.bytes + frame.frameBytes()}};
  const zr::Picture drawn = options.overlays ? zr::burnOverlays(picture, record, index) : picture;
  return options.square ? zr::withSquarePixels(drawn, zr::pixelAspectOf(record, index)) : drawn;
}

/// Whether what is written is not the decoded samples themselves.
bool isDrawn(const Decoded& decoded, const DecodeOptions& options) {
  const bool isColourPicture = isShown(options) && decoded.frames.record().traits.channels == 3;
  return decoded.display || ((options.overlays || options.square) && isColourPicture);
}

/// What is known of a frame, which may have been made square.
zr::ArrayDescription descriptionOf(const Decoded& decoded, std::size_t index,
                                   const DecodeOptions& options) {
  zr::ArrayDescription description = decoded.description({index});
  auto& [betweenColumns, betweenRows, ignored] = description.spacingMm;
  if (options.square && zr::pixelAspectOf(decoded.frames.record(), index) != 1) {
    betweenColumns = betweenRows = std::min(betweenColumns, betweenRows);
  }
  return description;
}

/// Writes arrays as the options say. What has to be left out is told once, as the frames of a file
/// mostly agree in it.
class Writer {
public:
  Writer(const DecodeOptions& options, const zr::ProtectedInputs& inputs)
      : options_(options), inputs_(inputs) {}

  void write(const fs::path& target, zr::ArrayToWrite array) {
    array.compressed = options_.compressed;
    array.quality = options_.quality.value_or(array.quality);
    array.remark = [this](const std::string& text) {
      if (text != told_) {
        complain(options_.file + ": " + text);
        told_ = text;
      }
    };
    zr::writeArray(knownFormatOf(options_), target, inputs_, array);
  }

private:
  const DecodeOptions& options_;
  const zr::ProtectedInputs& inputs_;
  std::string told_;
};

std::vector<fs::path> writeFrameByFrame(const Decoded& decoded, const DecodeOptions& options,
                                        const zr::ProtectedInputs& inputs) {
  const std::size_t count = decoded.frames.count();
  for (std::size_t i = 0; i < count; ++i) {
    inputs.refuseToReplace(nameOfFrame(options.target(), decoded.frames, i));
  }
  Writer writer(options, inputs);
  std::vector<fs::path> written;
  Progress progress("writing", count);
  for (std::size_t i = 0; i < count; ++i) {
    written.push_back(nameOfFrame(options.target(), decoded.frames, i));
    if (isDrawn(decoded, options)) {
      const zr::Picture picture = pictureOf(decoded, i, options);
      writer.write(written.back(), zr::arrayOf(picture.view(), descriptionOf(decoded, i, options)));
    } else {
      writer.write(written.back(),
                   zr::arrayOf(decoded.frames.samples().frame(i), decoded.description({i})));
    }
    progress.advance();
  }
  return written;
}

std::vector<fs::path> writeOutput(const Decoded& decoded, const DecodeOptions& options,
                                  const zr::ProtectedInputs& inputs) {
  if (!knownFormatOf(options).holds(zr::kSeveralFrames)) {
    return writeFrameByFrame(decoded, options, inputs);
  }
  Writer(options, inputs)
      .write(options.target(),
             zr::arrayOf(decoded.frames.samples(), decoded.description(decoded.indices())));
  return {options.target()};
}

// The line is that of the samples as decoding leaves them: shifted, or mapped by a table. That of
// containers would have to know which of their bits are stored.
void addDecodedValues(nlohmann::ordered_json& report, const Decoded& decoded) {
  const zr::FramesRecord& record = decoded.frames.record();
  const auto line = [&record](std::size_t index) {
    const bool mapped = record.traits.monochrome && record.traits.values != zr::Values::kStored;
    return mapped ? zr::lineOfSamples(record, index) : std::nullopt;
  };
  addFrameValues(report, decoded.indices(),
                 {{"modality", [line](std::size_t index) { return jsonLine(line(index)); }},
                  unitValue("modalityUnit", line),
                  {"windows", [&record](std::size_t index) {
                     return jsonWindows(record.attributes.frames.at(index).windows);
                   }}});
}

/// First and last number of the frames; of a list all of them.
nlohmann::ordered_json jsonNumbers(const zr::DecodedFrames& frames) {
  if (!frames.record().numbers.empty()) {
    return frames.record().numbers;
  }
  return {frames.numbers().first, frames.numbers().last};
}

nlohmann::ordered_json report(const Decoded& decoded, const std::string& file,
                              const std::vector<fs::path>& written) {
  const zr::SampleArray& samples = decoded.frames.samples();
  nlohmann::ordered_json shape = {samples.frames, samples.rows, samples.columns};
  if (samples.channels != 1) {
    shape.push_back(samples.channels);
  }
  nlohmann::ordered_json outputs = nlohmann::ordered_json::array();
  for (const fs::path& path : written) {
    outputs.push_back(path.string());
  }
  nlohmann::ordered_json report = {
      {"file", file},
      {"outputs", outputs},
      {"frames", jsonNumbers(decoded.frames)},
      {"shape", shape},
      {"type", zr::typeName(samples.type)},
      {"values", zr::valuesName(decoded.display ? zr::Values::kDisplay
                                                : decoded.frames.record().traits.values)}};
  addDecodedValues(report, decoded);
  report["remark"] = jsonTextOrNull(decoded.display ? decoded.display->remark() : "");
  return report;
}

int decode(const DecodeOptions& options, const zr::MemoryBudget& memory) {
  refuseWhatOnlyPicturesHave(options, knownFormatOf(options));
  refuseCompressionOf(knownFormatOf(options), options.compressed);
  refuseQualityWithoutLoss(options);
  refuseWhatStandardOutputCannot(options);
  (void)windowFromOption(options.window);  // wrong usage shows before any work is done
  const zr::ProtectedInputs inputs({options.file});
  if (knownFormatOf(options).holds(zr::kSeveralFrames)) {  // else frames decide the names
    inputs.refuseToReplace(options.target());
  }
  (void)framesAskedFor(options);
  Decoded decoded = withFileNamed(options.file, [&] { return decodeAsAsked(options, memory); });
  complainOfAll(decoded.frames.takeRemarks());
  const std::vector<fs::path> written = writeOutput(decoded, options, inputs);
  if (decoded.display && !decoded.display->remark().empty()) {
    complain(options.file + ": " + decoded.display->remark());
  }
  if (options.json) {
    sayJson(report(decoded, options.file, written));
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
                  "Where to write: " + endingsInWords(zr::formats()) + "; - for standard output")
      ->type_name("OUT")
      ->required();
  command.add_option("--format", options->format, "What is written, whatever the ending of OUT")
      ->type_name(namesJoined(zr::formats(), "|"))
      ->check(CLI::IsMember(namesOf(zr::formats())).description(""));
  addCompressOption(command, options->compressed);
  command
      .add_option("--quality", options->quality,
                  "Of pictures with loss, 1 to 100: " + endingsInWords(zr::formatsWith(zr::kLossy)))
      ->type_name("N")
      ->check(CLI::Range(1, 100).description(""));
  command
      .add_option("--frames", options->frames,
                  "Frame A, or frames A to B, 0-based; a list of them in the order wanted")
      ->type_name("A[-B],...");
  CLI::Option* stored =
      command.add_flag("--stored", options->stored, "The same as --values stored");
  command
      .add_option(
          "--values", options->values,
          "What is written; samples into arrays, display into pictures unless this says otherwise")
      ->type_name("samples|unsigned|stored|modality|display")
      ->check(CLI::IsMember(namesOfValues()).description(""))
      ->excludes(stored);
  command
      .add_option("--window", options->window,
                  "Show these modality values in the picture, or a window of the file by its "
                  "number (from 1) or name")
      ->type_name(kWindowTypeName)
      ->excludes(stored);
  command
      .add_flag("--overlays", options->overlays,
                "Draw the overlays into the picture, those embedded in the samples and those "
                "with data of their own")
      ->excludes(stored);
  command
      .add_flag(
          "--square", options->square,
          "Scale pictures of pixels that are not square (Pixel Spacing, Imager Pixel Spacing, "
          "Pixel Aspect Ratio)")
      ->excludes(stored);
  command.add_flag("--json", options->json, "Describe on stdout what was written");
  command.footer("The ending of OUT, or --format, decides what is written:\n" +
                 formatTable(zr::formats()) + kFooterAboutSamples);
  return [options](const zr::MemoryBudget& memory) { return decode(*options, memory); };
}

}  // namespace zrdcm
