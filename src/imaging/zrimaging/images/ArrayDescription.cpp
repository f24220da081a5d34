// SPDX-License-Identifier: BSD-3-Clause
// Spacings and values of frames for the header of a file. A value that all frames have is written
// once; one that differs is a list under the name in the plural, those not known as "unknown".
#include "zrimaging/Boundary.h"
#include "zrimaging/Formats.h"
#include "zrimaging/Frames.h"
#include "zrimaging/Text.h"
#include "zrimaging/images/FrameNumbers.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>
#include <string>

namespace zr {

namespace {

constexpr const char* kUnknown = "unknown";

/// Text of a value in one frame, by the frame's index; empty when it is not known.
using TextOfFrame = std::function<std::string(std::size_t index)>;

class Attributes {
public:
  Attributes(ArrayDescription& header, const std::vector<std::size_t>& indices)
      : header_(header), indices_(indices) {}

  // `whenUnknown` stands for a value that no frame has; an empty one leaves the key out.
  void add(const std::string& key, const TextOfFrame& textOf, const std::string& whenUnknown) {
    std::vector<std::string> texts;
    for (const std::size_t index : indices_) {
      texts.push_back(textOf(index));
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
  const std::vector<std::size_t>& indices_;
};

void addLine(Attributes& header, const FramesRecord& record) {
  const auto lineText = [&](double RescaleLine::*part) {
    return [&, part](std::size_t index) {
      const auto line = lineOfSamples(record, index);
      return line ? shortest((*line).*part) : std::string();
    };
  };
  header.add("modality slope", lineText(&RescaleLine::slope), kUnknown);
  header.add("modality intercept", lineText(&RescaleLine::intercept), kUnknown);
  header.add(
      "modality unit",
      [&](std::size_t index) {
        const auto line = lineOfSamples(record, index);
        return line ? line->unit.utf8 : std::string();
      },
      "");
}

void addWindow(Attributes& header, const FramesRecord& record) {
  const auto windowText = [&](double VoiWindow::*part) {
    return [&, part](std::size_t index) {
      const std::vector<VoiWindow>& windows = frameAt(record.attributes, index).windows;
      return windows.empty() ? std::string() : shortest(windows.front().*part);
    };
  };
  header.add("window centre", windowText(&VoiWindow::centre), "");
  header.add("window width", windowText(&VoiWindow::width), "");
}

std::optional<std::array<double, 2>> commonPixelSpacing(const FramesRecord& record,
                                                        const std::vector<std::size_t>& indices) {
  const std::optional<std::array<double, 2>> first =
      frameAt(record.attributes, indices.front()).pixelSpacing;
  const bool agree = std::all_of(indices.begin(), indices.end(), [&](std::size_t index) {
    return frameAt(record.attributes, index).pixelSpacing == first;
  });
  return agree ? first : std::nullopt;
}

}  // namespace

ArrayDescription describeArray(const FramesRecord& record,
                               const std::vector<std::size_t>& indices) {
  return atBoundary([&]() -> ArrayDescription {
    ArrayDescription header;
    header.content = record.name;
    header.iccProfile = record.iccProfile;
    if (indices.empty()) {
      return header;
    }
    if (const auto spacing = commonPixelSpacing(record, indices)) {
      header.spacingMm[0] = (*spacing)[0];
      header.spacingMm[1] = (*spacing)[1];
    }
    // The format takes a sign here, many of its readers do not: the key keeps it.
    const std::optional<double> step = frameSpacingMm(record.attributes, indices);
    if (step) {
      header.spacingMm[2] = std::abs(*step);
    }
    header.attributes.emplace_back("frame spacing", step ? shortest(*step) : kUnknown);
    if (record.traits.monochrome) {
      Attributes keys(header, indices);
      addLine(keys, record);
      addWindow(keys, record);
    }
    return header;
  });
}

}  // namespace zr
