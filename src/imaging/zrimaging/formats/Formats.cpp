// SPDX-License-Identifier: BSD-3-Clause
// The table of formats: rows of our own from Formats.def, then those that a program adds.
#include "zrimaging/Formats.h"

#include "zrimaging/Boundary.h"
#include "zrimaging/Error.h"
#include "zrimaging/Output.h"
#include "zrimaging/formats/Writers.h"

#include <algorithm>
#include <cctype>
#include <iterator>

namespace zr {

namespace {

/// Samples of every type and kind.
constexpr unsigned kAnySamples = kColour | kSixteenBits | kThirtyTwoBits | kFloatingPoint | kSigned;

constexpr OutputFormat kOwnFormats[] = {
#define ZR_FORMAT(name, ending, otherEnding, contents, writer, summary) \
  {name, ending, contents, summary, writer, otherEnding},
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

/// What a format has to hold for an array, and how it is called where that is missing.
struct Need {
  bool needed;
  FormatContent content;
  const char* what;
};

std::vector<Need> needsOf(const ArrayToWrite& toWrite) {
  const SampleArray& array = toWrite.layout;
  const bool integer = !isFloatingPoint(array.type);
  const std::vector<Need> all = {
      {array.channels != 1, kColour, "colour"},
      {integer && bytesOf(array.type) == 2, kSixteenBits, "samples of 16 bits"},
      {integer && bytesOf(array.type) == 4, kThirtyTwoBits, "samples of 32 bits"},
      {!integer, kFloatingPoint, "floating-point samples"},
      {isSigned(array.type), kSigned, "signed samples"},
      {array.frames > 1, kSeveralFrames, "several frames"},
      {toWrite.compressed, kCompression, "samples compressed on request"}};
  std::vector<Need> needs;
  std::copy_if(all.begin(), all.end(), std::back_inserter(needs),
               [](const Need& need) { return need.needed; });
  return needs;
}

// ": npy, nrrd and raw do", for the end of a refusal; empty when no format holds all that.
std::string formatsThatDo(const std::vector<Need>& needs) {
  unsigned contents = 0;
  for (const Need& need : needs) {
    contents |= need.content;
  }
  const std::vector<const OutputFormat*> able = formatsWith(contents);
  std::string text;
  for (std::size_t i = 0; i < able.size(); ++i) {
    const char* const before = i == 0 ? ": " : i + 1 == able.size() ? " and " : ", ";
    text += before + std::string(able[i]->name);
  }
  return able.empty() ? "" : text + (able.size() == 1 ? " does" : " do");
}

void requireFormatHolds(const OutputFormat& format, const std::filesystem::path& target,
                        const ArrayToWrite& array) {
  const std::vector<Need> needs = needsOf(array);
  for (const Need& need : needs) {
    if (!format.holds(need.content)) {
      throw Error(Reason::Unsupported, "cannot write " + target.string() +
                                           ": files of the format " + format.name +
                                           " do not hold " + need.what + formatsThatDo(needs));
    }
  }
}

}  // namespace

ArrayToWrite arrayOf(const SampleArray& samples, ArrayDescription description) {
  return atBoundary([&]() -> ArrayToWrite {
    return {samples, [samples](std::size_t index) { return samples.frame(index); },
            std::move(description)};
  });
}

std::vector<const OutputFormat*> formats() {
  return atBoundary([] { return std::vector<const OutputFormat*>(table()); });
}

std::vector<const OutputFormat*> formatsWith(unsigned contents) {
  return atBoundary([&] {
    std::vector<const OutputFormat*> found;
    std::copy_if(
        table().begin(), table().end(), std::back_inserter(found),
        [&](const OutputFormat* format) { return (format->contents & contents) == contents; });
    return found;
  });
}

const OutputFormat* formatNamed(const std::string& name) {
  return atBoundary([&] {
    return findFormat([&name](const OutputFormat& format) { return name == format.name; });
  });
}

const OutputFormat* formatOf(const std::filesystem::path& path) {
  return atBoundary([&] {
    const std::string ending = lowerCase(path.extension().string());
    return findFormat([&ending](const OutputFormat& format) {
      return ending == format.ending ||
             (format.otherEnding != nullptr && ending == format.otherEnding);
    });
  });
}

void addFormat(const OutputFormat& format) {
  atBoundary([&] {
    if (formatNamed(format.name) != nullptr ||
        formatOf(std::string("a") + format.ending) != nullptr ||
        (format.otherEnding != nullptr &&
         formatOf(std::string("a") + format.otherEnding) != nullptr)) {
      throw Error(Reason::Unsupported,
                  std::string("there is a format ") + format.name + " already");
    }
    table().push_back(&format);
  });
}

void writeArray(const OutputFormat& format, const std::filesystem::path& target,
                const ProtectedInputs& inputs, const ArrayToWrite& array) {
  atBoundary([&] {
    requireFormatHolds(format, target, array);
    format.write(target, inputs, array);
  });
}

void writePicture(const std::filesystem::path& target, const ProtectedInputs& inputs,
                  const SampleArray& frame, ArrayDescription description,
                  std::function<void(const std::string& text)> remark) {
  atBoundary([&] {
    const OutputFormat* const format = formatOf(target);
    const bool forEyes = format != nullptr && format->holds(kForEyes);
    ArrayToWrite array = arrayOf(frame, std::move(description));
    array.remark = std::move(remark);
    writeArray(forEyes ? *format : *formatNamed("png"), target, inputs, array);
  });
}

}  // namespace zr
