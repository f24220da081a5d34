// SPDX-License-Identifier: BSD-3-Clause
// Spacings and values of an image for the header of a volume file. Keys of the header:
//
//   frame spacing         mm from each frame to the next, negative against the normal; or unknown
//   modality slope        of the line from samples to modality values; or unknown
//   modality intercept    likewise
//   modality unit         when the dataset says it
//   window centre, width  first window, when there is one
//
// In the plural (modality slopes, ...) they have a value for each frame, those not known as "unknown".
#include "zrimaging/formats/VolumeHeader.h"

#include "zrimaging/pictures/Rendering.h"
#include "zrimaging/texts/NumberText.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>
#include <string>

namespace zr {

namespace {

constexpr const char* kUnknown = "unknown";

/// Text of a value in one frame, by the frame's number; empty when it is not known.
using TextOfFrame = std::function<std::string(std::size_t number)>;

class Attributes {
public:
  Attributes(ArrayDescription& header, const std::vector<std::size_t>& numbers)
      : header_(header), numbers_(numbers) {}

  // `whenUnknown` stands for a value that no frame has; an empty one leaves the key out.
  void add(const std::string& key, const TextOfFrame& textOf, const std::string& whenUnknown) {
    std::vector<std::string> texts;
    for (const std::size_t number : numbers_) {
      texts.push_back(textOf(number));
    }
    const bool agree = std::all_of(texts.begin(), texts.end(), [&texts](const std::string& text) {
      return text == texts.front();
    });
    if (agree) {
      const std::string text = texts.front().empty() ? whenUnknown : texts.front();
      if (!text.empty()) {
        header_.attributes.emplace_back(key, text);
      }
      return;
    }
    std::string list;
    for (const std::string& text : texts) {
      list += (list.empty() ? "" : " ") + (text.empty() ? std::string(kUnknown) : text);
    }
    header_.attributes.emplace_back(key + "s", list);
  }

private:
  ArrayDescription& header_;
  const std::vector<std::size_t>& numbers_;
};

void addLine(Attributes& header, const DecodedImage& image, const PerFrameAttributes& attributes) {
  const auto lineText = [&](double RescaleLine::*part) {
    return [&, part](std::size_t number) {
      const auto line = lineOfSamples(image, attributes, number);
      return line ? shortest((*line).*part) : std::string();
    };
  };
  header.add("modality slope", lineText(&RescaleLine::slope), kUnknown);
  header.add("modality intercept", lineText(&RescaleLine::intercept), kUnknown);
  header.add(
      "modality unit",
      [&](std::size_t number) {
        const auto line = lineOfSamples(image, attributes, number);
        return line ? line->unit.utf8 : std::string();
      },
      "");
}

void addWindow(Attributes& header, const PerFrameAttributes& attributes) {
  const auto windowText = [&](double VoiWindow::*part) {
    return [&, part](std::size_t number) {
      const std::vector<VoiWindow>& windows = attributes.frames.at(number).windows;
      return windows.empty() ? std::string() : shortest(windows.front().*part);
    };
  };
  header.add("window centre", windowText(&VoiWindow::centre), "");
  header.add("window width", windowText(&VoiWindow::width), "");
}

std::optional<std::array<double, 2>> pixelSpacingOf(const PerFrameAttributes& attributes,
                                                    const std::vector<std::size_t>& numbers) {
  const std::optional<std::array<double, 2>> first =
      attributes.frames.at(numbers.front()).pixelSpacing;
  const bool agree = std::all_of(numbers.begin(), numbers.end(), [&](std::size_t number) {
    return attributes.frames.at(number).pixelSpacing == first;
  });
  return agree ? first : std::nullopt;
}

}  // namespace

ArrayDescription describeArray(const DecodedImage& image, const PerFrameAttributes& attributes,
                               const std::vector<std::size_t>& numbers) {
  ArrayDescription header;
  header.content = image.file->path().filename().string();
  if (numbers.empty()) {
    return header;
  }
  if (const auto spacing = pixelSpacingOf(attributes, numbers)) {
    header.spacingMm[0] = (*spacing)[0];
    header.spacingMm[1] = (*spacing)[1];
  }
  // The format takes a sign here, many of its readers do not: the key keeps it.
  const std::optional<double> step = frameSpacingMm(attributes, numbers);
  if (step) {
    header.spacingMm[2] = std::abs(*step);
  }
  header.attributes.emplace_back("frame spacing", step ? shortest(*step) : kUnknown);
  if (image.monochrome) {
    Attributes keys(header, numbers);
    addLine(keys, image, attributes);
    addWindow(keys, attributes);
  }
  return header;
}

}  // namespace zr
