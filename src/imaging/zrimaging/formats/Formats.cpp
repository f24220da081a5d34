// SPDX-License-Identifier: BSD-3-Clause
// The table of formats: rows of our own from Formats.def, then those that a program adds.
#include "zrimaging/Formats.h"

#include "zrimaging/Error.h"
#include "zrimaging/Output.h"
#include "zrimaging/formats/Writers.h"

#include <algorithm>
#include <cctype>

namespace zr {

namespace {

constexpr OutputFormat kOwnFormats[] = {
#define ZR_FORMAT(name, contents, writer, summary) {name, "." name, contents, summary, writer},
#include "zrimaging/formats/Formats.def"
#undef ZR_FORMAT
};

std::vector<const OutputFormat*>& table() {
  static std::vector<const OutputFormat*> rows = [] {
    std::vector<const OutputFormat*> own;
    for (const OutputFormat& format : kOwnFormats) {
      own.push_back(&format);
    }
    return own;
  }();
  return rows;
}

template <class Condition>
const OutputFormat* findFormat(const Condition& holds) {
  const auto& rows = table();
  const auto found = std::find_if(rows.begin(), rows.end(),
                                  [&holds](const OutputFormat* format) { return holds(*format); });
  return found == rows.end() ? nullptr : *found;
}

std::string lowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

void requireRoom(const OutputFormat& format, const std::filesystem::path& target,
                 const SampleArray& array) {
  struct Need {
    bool needed;
    FormatContent content;
    const char* what;
  };
  const Need needs[] = {{array.channels != 1, kColour, "colour"},
                        {bytesOf(array.type) > 1, kSixteenBits, "samples of 16 bits"},
                        {isSigned(array.type), kSigned, "signed samples"},
                        {array.frames > 1, kSeveralFrames, "several frames"}};
  for (const Need& need : needs) {
    if (need.needed && !format.holds(need.content)) {
      throw Error(Reason::Unsupported, "cannot write " + target.string() +
                                           ": files of the format " + format.name +
                                           " do not hold " + need.what);
    }
  }
}

}  // namespace

ArrayToWrite arrayOf(const SampleArray& samples, ArrayDescription description) {
  return {samples, [samples](std::size_t index) { return samples.frame(index); },
          std::move(description)};
}

std::vector<const OutputFormat*> formats() {
  return table();
}

std::vector<const OutputFormat*> formatsWith(unsigned contents) {
  std::vector<const OutputFormat*> found;
  for (const OutputFormat* format : table()) {
    if ((format->contents & contents) == contents) {
      found.push_back(format);
    }
  }
  return found;
}

const OutputFormat* formatNamed(const std::string& name) {
  return findFormat([&name](const OutputFormat& format) { return name == format.name; });
}

const OutputFormat* formatOf(const std::filesystem::path& path) {
  const std::string ending = lowerCase(path.extension().string());
  return findFormat([&ending](const OutputFormat& format) { return ending == format.ending; });
}

void addFormat(const OutputFormat& format) {
  if (formatNamed(format.name) != nullptr ||
      formatOf(std::string("a") + format.ending) != nullptr) {
    throw Error(Reason::Unsupported, std::string("there is a format ") + format.name + " already");
  }
  table().push_back(&format);
}

void writeArray(const OutputFormat& format, const std::filesystem::path& target,
                const ProtectedInputs& inputs, const ArrayToWrite& array) {
  requireRoom(format, target, array.layout);
  format.write(target, inputs, array);
}

void writePicture(const std::filesystem::path& target, const ProtectedInputs& inputs,
                  const SampleArray& frame) {
  writeArray(*formatNamed("png"), target, inputs, arrayOf(frame));
}

}  // namespace zr
