// SPDX-License-Identifier: BSD-3-Clause
// The table of formats as options and help texts tell of it.
#include "FormatOption.h"

#include "UsageError.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace zrdcm {

std::string endingsInWords(const FormatList& formats) {
  std::string text;
  for (std::size_t i = 0; i < formats.size(); ++i) {
    const char* const before = i == 0 ? "" : i + 1 == formats.size() ? " or " : ", ";
    text += before + std::string(formats[i]->ending);
  }
  return text;
}

std::vector<std::string> namesOf(const FormatList& formats) {
  std::vector<std::string> names;
  for (const zr::OutputFormat* format : formats) {
    names.emplace_back(format->name);
  }
  return names;
}

std::string namesJoined(const FormatList& formats, const std::string& between) {
  std::string text;
  for (const zr::OutputFormat* format : formats) {
    text += (text.empty() ? "" : between) + format->name;
  }
  return text;
}

std::string formatTable(const FormatList& formats) {
  constexpr std::size_t kSummaryColumn = 9;
  std::string text;
  for (const zr::OutputFormat* format : formats) {
    std::string line = "  " + std::string(format->ending);
    line.resize(std::max(kSummaryColumn, line.size() + 1), ' ');
    for (const char letter : std::string(format->summary)) {
      line += letter;
      line += letter == '\n' ? std::string(kSummaryColumn, ' ') : "";
    }
    text += line + "\n";
  }
  return text;
}

void addCompressOption(CLI::App& command, bool& compressed) {
  command.add_flag(
      "--compress", compressed,
      "Compress the samples without loss: " + endingsInWords(zr::formatsWith(zr::kCompression)));
}

void refuseCompressionOf(const zr::OutputFormat& format, bool compressed) {
  if (compressed && !format.holds(zr::kCompression)) {
    throw UsageError("--compress is for " + endingsInWords(zr::formatsWith(zr::kCompression)) +
                     " only");
  }
}

FormatList pictureFormats() {
  return zr::formatsWith(zr::kForEyes);
}

std::string checkPictureName(const std::string& name) {
  const zr::OutputFormat* const format = zr::formatOf(name);
  return format != nullptr && format->holds(zr::kForEyes)
             ? ""
             : name + " does not end in " + endingsInWords(pictureFormats());
}

std::string pictureEnding() {
  return pictureFormats().front()->ending;
}

}  // namespace zrdcm
