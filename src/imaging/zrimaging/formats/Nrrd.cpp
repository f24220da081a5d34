// SPDX-License-Identifier: BSD-3-Clause
// NRRD with an attached header (NRRD0004, encoding raw, or gzip on request): axes columns, rows,
// frames, and in front of them the three channels of colour. See https://teem.sourceforge.net/nrrd/format.html
#include "zrimaging/Output.h"
#include "zrimaging/formats/FrameBytes.h"
#include "zrimaging/formats/Gzip.h"
#include "zrimaging/formats/HeaderText.h"
#include "zrimaging/formats/Writers.h"

#include <string>

namespace zr {

namespace {

// Integers are called as elsewhere, floating-point numbers as in C.
const char* nrrdType(SampleType type) {
  if (isFloatingPoint(type)) {
    return type == SampleType::kF32 ? "float" : "double";
  }
  return typeName(type);
}

// The format spells what is not known, or has no distance like the channels of colour, "nan"; it
// takes no other word. Where nothing is known there is nothing to spell.
std::string spacingField(const ArrayDescription& description, bool colour) {
  const std::string spacings = spacingsText(description, "nan");
  return spacings.empty() ? ""
                          : std::string("spacings:") + (colour ? " nan" : "") + spacings + "\n";
}

std::string nrrdHeader(const ArrayToWrite& toWrite) {
  const SampleArray& array = toWrite.layout;
  const ArrayDescription& description = toWrite.description;
  const bool colour = array.channels != 1;
  const std::string channelSize = colour ? std::to_string(array.channels) + " " : "";
  std::string text = "NRRD0004\n";
  if (!description.content.empty()) {
    text += "content: " + oneLine(description.content) + "\n";
  }
  text += std::string("type: ") + nrrdType(array.type) + "\n";
  text += std::string("dimension: ") + (colour ? "4" : "3") + "\n";
  text += "sizes: " + channelSize + std::to_string(array.columns) + " " +
          std::to_string(array.rows) + " " + std::to_string(array.frames) + "\n";
  text += spacingField(description, colour);
  text += std::string("kinds: ") + (colour ? "RGB-color " : "") + "domain domain domain\n";
  text += std::string("endian: little\nencoding: ") + (toWrite.compressed ? "gzip\n" : "raw\n");
  for (const auto& [key, value] : description.attributes) {
    text += key + ":=" + oneLine(value) + "\n";
  }
  return text + "\n";
}

}  // namespace

void writeNrrd(const std::filesystem::path& target, const ProtectedInputs& inputs,
               const ArrayToWrite& array) {
  OutputFile file(target, inputs);
  file.write(nrrdHeader(array));
  if (array.compressed) {
    GzipStream gzip(sinkInto(file));
    writeFrames([&gzip](const void* bytes, std::size_t count) { gzip.write(bytes, count); }, array);
    gzip.finish();
  } else {
    writeFrames(sinkInto(file), array);
  }
  file.commit();
}

}  // namespace zr
