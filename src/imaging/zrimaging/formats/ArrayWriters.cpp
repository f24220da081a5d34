// SPDX-License-Identifier: BSD-3-Clause
// Files that scripts and viewers read: bare samples, NumPy arrays, NRRD volumes. All of them hold
// the samples in little endian, whatever machine writes them.
#include "zrimaging/formats/ArrayWriters.h"

#include "zrimaging/output/OutputFile.h"
#include "zrimaging/texts/NumberText.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace zr {

namespace {

void writeSamples(OutputFile& file, const SampleArray& array) {
  if (bytesOf(array.type) == 1 || std::endian::native == std::endian::little) {
    file.write(array.bytes, array.byteCount());
    return;
  }
  std::vector<unsigned char> row(array.columns * array.channels * 2);
  for (std::size_t at = 0; at < array.byteCount(); at += row.size()) {
    for (std::size_t i = 0; i < row.size(); i += 2) {
      row[i] = array.bytes[at + i + 1];
      row[i + 1] = array.bytes[at + i];
    }
    file.write(row.data(), row.size());
  }
}

const char* npyType(SampleType type) {
  switch (type) {
    case SampleType::kU8:
      return "|u1";
    case SampleType::kS8:
      return "|i1";
    case SampleType::kU16:
      return "<u2";
    case SampleType::kS16:
      break;
  }
  return "<i2";
}

void writeFrames(OutputFile& file, std::size_t count, const FrameAt& frameAt) {
  for (std::size_t index = 0; index < count; ++index) {
    writeSamples(file, frameAt(index));
  }
}

FrameAt framesOf(const SampleArray& array) {
  return [array](std::size_t index) { return array.frame(index); };
}

std::string npyHeader(const SampleArray& array) {
  std::string shape = std::to_string(array.frames) + ", " + std::to_string(array.rows) + ", " +
                      std::to_string(array.columns);
  if (array.channels != 1) {
    shape += ", " + std::to_string(array.channels);
  }
  std::string text = std::string("{'descr': '") + npyType(array.type) +
                     "', 'fortran_order': False, 'shape': (" + shape + "), }";

  // magic (6), version (2), header length (2), header; together a multiple of 64, newline last.
  constexpr std::size_t kPreludeBytes = 10;
  while ((kPreludeBytes + text.size() + 1) % 64 != 0) {
    text += ' ';
  }
  text += '\n';
  std::string header("\x93NUMPY\x01\x00", 8);
  header += static_cast<char>(text.size() & 0xFFU);
  header += static_cast<char>(text.size() >> 8U);
  return header + text;
}

// The format spells what is not known, or has no distance like the channels of colour, "nan"; it
// takes no other word. Where nothing is known there is nothing to spell.
std::string spacingField(const NrrdHeader& header, bool colour) {
  std::string text = colour ? " nan" : "";
  bool known = false;
  for (const double spacing : header.spacingMm) {
    known = known || !std::isnan(spacing);
    text += " " + (std::isnan(spacing) ? "nan" : shortest(spacing));
  }
  return known ? "spacings:" + text + "\n" : "";
}

// Header fields are one line each, so line breaks in values from a file become blanks.
std::string oneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < 0x20; }, ' ');
  return text;
}

std::string nrrdHeader(const SampleArray& array, const NrrdHeader& header) {
  const bool colour = array.channels != 1;
  const std::string channelSize = colour ? std::to_string(array.channels) + " " : "";
  std::string text = "NRRD0004\n";
  if (!header.content.empty()) {
    text += "content: " + oneLine(header.content) + "\n";
  }
  text += std::string("type: ") + typeName(array.type) + "\n";
  text += std::string("dimension: ") + (colour ? "4" : "3") + "\n";
  text += "sizes: " + channelSize + std::to_string(array.columns) + " " +
          std::to_string(array.rows) + " " + std::to_string(array.frames) + "\n";
  text += spacingField(header, colour);
  text += std::string("kinds: ") + (colour ? "RGB-color " : "") + "domain domain domain\n";
  text += "endian: little\nencoding: raw\n";
  for (const auto& [key, value] : header.attributes) {
    text += key + ":=" + oneLine(value) + "\n";
  }
  return text + "\n";
}

}  // namespace

const char* typeName(SampleType type) {
  switch (type) {
    case SampleType::kU8:
      return "uint8";
    case SampleType::kS8:
      return "int8";
    case SampleType::kU16:
      return "uint16";
    case SampleType::kS16:
      break;
  }
  return "int16";
}

void writeRaw(const std::filesystem::path& target, const ProtectedInputs& inputs,
              const SampleArray& array) {
  OutputFile file(target, inputs);
  writeSamples(file, array);
  file.commit();
}

void writeNpy(const std::filesystem::path& target, const ProtectedInputs& inputs,
              const SampleArray& array) {
  writeNpy(target, inputs, array, framesOf(array));
}

void writeNpy(const std::filesystem::path& target, const ProtectedInputs& inputs,
              const SampleArray& layout, const FrameAt& frameAt) {
  OutputFile file(target, inputs);
  file.write(npyHeader(layout));
  writeFrames(file, layout.frames, frameAt);
  file.commit();
}

void writeNrrd(const std::filesystem::path& target, const ProtectedInputs& inputs,
               const SampleArray& array, const NrrdHeader& header) {
  writeNrrd(target, inputs, array, header, framesOf(array));
}

void writeNrrd(const std::filesystem::path& target, const ProtectedInputs& inputs,
               const SampleArray& layout, const NrrdHeader& header, const FrameAt& frameAt) {
  OutputFile file(target, inputs);
  file.write(nrrdHeader(layout, header));
  writeFrames(file, layout.frames, frameAt);
  file.commit();
}

}  // namespace zr
