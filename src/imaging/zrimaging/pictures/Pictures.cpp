// SPDX-License-Identifier: BSD-3-Clause
// From decoded samples to gray levels: modality line, window, one table entry a sample value.
//
// Lines and windows are those of each frame. Which window an image gets is decided once for all of
// its decoded frames, because what one grey tells of a single frame (it is blank) is no reason to
// show it otherwise than its neighbours.
#include "zrimaging/Pictures.h"

#include "zrimaging/Boundary.h"
#include "zrimaging/images/FrameNumbers.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace zr {

namespace {

using SampleRange = std::pair<std::uint16_t, std::uint16_t>;

// Nothing when all samples are padding.
std::optional<SampleRange> rangeOfSamples(const SampleArray& array,
                                          std::optional<std::uint16_t> padding) {
  std::uint16_t low = 0xFFFF;
  std::uint16_t high = 0;
  const std::size_t count = array.byteCount() / bytesOf(array.type);
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint16_t sample = array.sample(i);
    if (sample != padding) {
      low = std::min(low, sample);
      high = std::max(high, sample);
    }
  }
  return low <= high ? std::optional(SampleRange{low, high}) : std::nullopt;
}

double valueOf(const FrameDisplay& display, std::uint16_t sample) {
  return display.slope * static_cast<double>(sample) + display.intercept;
}

unsigned char grayLevel(const FrameTraits& traits, const FrameDisplay& display,
                        std::uint16_t sample) {
  const double gray = grayFraction(valueOf(display, sample), display.window);
  return static_cast<unsigned char>(std::lround(255.0 * (traits.darkIsHigh ? 1.0 - gray : gray)));
}

/// Frames with what is needed to choose their windows.
class Showing {
public:
  Showing(Frames& source, std::size_t count)
      : source_(source), record_(source.record()), frames_(count) {
    for (std::size_t index = 0; index < frames_.size(); ++index) {
      const auto line = lineOfSamples(record_, index);
      frames_[index].slope = line ? line->slope : 1;
      frames_[index].intercept = line ? line->intercept : -record_.traits.sampleOffset;
    }
  }

  void showAll(const Window& window) {
    for (FrameDisplay& frame : frames_) {
      frame.window = window;
    }
  }

  // Frames without a window of their own are shown over the range.
  void showOwn() {
    std::optional<Window> range;
    for (std::size_t index = 0; index < frames_.size(); ++index) {
      std::optional<Window> own = windowOfFrame(frameAt(record_.attributes, index));
      hasOwn_ = hasOwn_ || own.has_value();
      if (!own && !range) {
        range = rangeOfValues();
      }
      frames_[index].window = own ? *own : *range;
    }
  }

  // Whether windows of the file make one grey of samples that differ, those of a frame or of frames
  // that are shown alike.
  bool clipsEverything() {
    if (!hasOwn_) {
      return false;
    }
    readRanges();
    int grey = -1;  // none yet
    bool differ = false;
    for (std::size_t index = 0; index < frames_.size(); ++index) {
      if (!ranges_[index]) {
        continue;
      }
      const auto& [low, high] = *ranges_[index];
      const int shown = grayLevel(record_.traits, frames_[index], low);
      if (shown != grayLevel(record_.traits, frames_[index], high) ||
          (grey >= 0 && grey != shown)) {
        return false;
      }
      grey = shown;
      const bool likeFormer = index > 0 && frames_[index] == frames_[index - 1];
      differ = differ || low != high || (likeFormer && ranges_[index - 1] != ranges_[index]);
    }
    return differ;
  }

  Window rangeOfValues() {
    readRanges();
    double low = std::numeric_limits<double>::infinity();
    double high = -low;
    for (std::size_t index = 0; index < frames_.size(); ++index) {
      if (ranges_[index]) {
        const double one = valueOf(frames_[index], ranges_[index]->first);
        const double other = valueOf(frames_[index], ranges_[index]->second);
        low = std::min({low, one, other});
        high = std::max({high, one, other});
      }
    }
    if (!(low <= high)) {
      return {0, 1, VoiFunction::kLinearExact};  // nothing but padding
    }
    return {low + (high - low) / 2, high > low ? high - low : 1.0, VoiFunction::kLinearExact};
  }

  std::vector<FrameDisplay> take() { return std::move(frames_); }

private:
  void readRanges() {
    if (ranges_.empty()) {
      for (std::size_t index = 0; index < frames_.size(); ++index) {
        ranges_.push_back(rangeOfSamples(source_.frame(index), record_.traits.padding));
      }
    }
  }

  Frames& source_;
  const FramesRecord& record_;
  std::vector<FrameDisplay> frames_;
  std::vector<std::optional<SampleRange>> ranges_;
  bool hasOwn_ = false;
};

constexpr const char* kClippingWindow =
    "its window shows all samples in one grey; the range of its values is shown instead";

// The gray levels as RGB.
Picture inRgb(const Picture& picture) {
  Picture colour{picture.rows, picture.columns, 3, {}};
  colour.samples.resize(picture.rows * picture.columns * 3);
  for (std::size_t i = 0; i < colour.samples.size(); ++i) {
    colour.samples[i] = picture.samples[i / 3];
  }
  return colour;
}

void drawOverlay(Picture& picture, const ZrOverlayData& overlays, int index) {
  const Colour colour = overlayColour(overlays.group(index));
  const KtVec2i origin = overlays.origin(index);
  const KtVec2i size = overlays.size(index);
  for (int y = origin.y; y < origin.y + size.y; ++y) {
    for (int x = origin.x; x < origin.x + size.x; ++x) {
      if (overlays.test(index, x, y)) {
        const std::size_t pixel =
            static_cast<std::size_t>(y) * picture.columns + static_cast<std::size_t>(x);
        std::copy(colour.begin(), colour.end(), &picture.samples[3 * pixel]);
      }
    }
  }
}

}  // namespace

Display::Display(std::vector<FrameDisplay> frames, std::string remark)
    : frames_(std::move(frames)), remark_(std::move(remark)) {
  const bool alike = std::all_of(frames_.begin(), frames_.end(), [this](const FrameDisplay& frame) {
    return frame == frames_.front();
  });
  if (alike) {
    frames_.resize(1);
  }
}

const FrameDisplay& Display::frame(std::size_t index) const {
  if (!uniform()) {
    requireFrame(index, frames_.size());
  }
  return uniform() ? frames_.front() : frames_[index];
}

double grayFraction(double value, const Window& window) {
  const double away = value - window.centre;
  double fraction = away / window.width + 0.5;
  if (window.function == VoiFunction::kSigmoid) {
    fraction = 1 / (1 + std::exp(-4 * away / window.width));
  } else if (window.function == VoiFunction::kLinear) {
    fraction = (away + 0.5) / (window.width - 1.0) + 0.5;
  }
  if (std::isnan(fraction)) {
    return 0.0;  // a rescale slope or window beyond all numbers
  }
  return std::clamp(fraction, 0.0, 1.0);
}

std::optional<Window> windowOfFrame(const FrameAttributes& frame) {
  for (const VoiWindow& window : frame.windows) {
    if (window.width > 0 && window.function != VoiFunction::kOther) {
      const bool narrow = window.function == VoiFunction::kLinear && window.width <= 1;
      return Window{window.centre, window.width,
                    narrow ? VoiFunction::kLinearExact : window.function};
    }
  }
  return std::nullopt;
}

std::set<unsigned char> extremeGreys(const FrameTraits& traits, const SampleArray& frame,
                                     const FrameDisplay& display) {
  return atBoundary([&]() -> std::set<unsigned char> {
    const std::optional<SampleRange> range = rangeOfSamples(frame, traits.padding);
    if (!range) {
      return {};
    }
    return {grayLevel(traits, display, range->first), grayLevel(traits, display, range->second)};
  });
}

Display displayOf(Frames& frames, std::size_t count, const std::optional<Window>& wanted) {
  return atBoundary([&]() -> Display {
    Showing showing(frames, count);
    std::string remark;
    if (wanted) {
      showing.showAll(*wanted);
    } else {
      showing.showOwn();
      if (showing.clipsEverything()) {
        showing.showAll(showing.rangeOfValues());
        remark = kClippingWindow;
      }
    }
    return {showing.take(), remark};
  });
}

std::vector<unsigned char> grayLevels(const FrameTraits& traits, const FrameDisplay& display) {
  return atBoundary([&] {
    const std::size_t entries = bytesOf(traits.type) == 1 ? 256 : 65536;
    std::vector<unsigned char> levels(entries);
    for (std::size_t sample = 0; sample < entries; ++sample) {
      levels[sample] = grayLevel(traits, display, static_cast<std::uint16_t>(sample));
    }
    return levels;
  });
}

Picture renderFrame(const FrameTraits& traits, const SampleArray& frame,
                    const FrameDisplay& display) {
  return atBoundary([&]() -> Picture {
    Picture picture{frame.rows, frame.columns, 1, {}};
    const std::vector<unsigned char> levels = grayLevels(traits, display);
    picture.samples.resize(frame.rows * frame.columns);
    for (std::size_t i = 0; i < picture.samples.size(); ++i) {
      picture.samples[i] = levels[frame.sample(i)];
    }
    return picture;
  });
}

Colour overlayColour(unsigned group) {
  constexpr std::array<Colour, 4> kColours{
      {{255, 196, 0}, {64, 224, 255}, {255, 96, 160}, {128, 255, 96}}};
  return kColours[(group / 2U) % kColours.size()];
}

Picture burnOverlays(const Picture& picture, const FramesRecord& record, std::size_t index) {
  return atBoundary([&]() -> Picture {
    Picture burnt = inRgb(picture);
    if (record.overlays.isNull()) {
      return burnt;
    }
    const ZrOverlayData& overlays = *record.overlays;
    for (int overlay = 0; overlay < overlays.count(); ++overlay) {
      if (overlays.frame(overlay) == static_cast<int>(record.firstNumber + index)) {
        drawOverlay(burnt, overlays, overlay);
      }
    }
    return burnt;
  });
}

Picture overlayMask(const FramesRecord& record, int index) {
  return atBoundary([&]() -> Picture {
    const ZrOverlayData& overlays = *record.overlays;
    Picture mask{record.traits.rows, record.traits.columns, 1, {}};
    mask.samples.assign(mask.rows * mask.columns, 0);
    const KtVec2i origin = overlays.origin(index);
    const KtVec2i size = overlays.size(index);
    for (int y = origin.y; y < origin.y + size.y; ++y) {
      for (int x = origin.x; x < origin.x + size.x; ++x) {
        if (overlays.test(index, x, y)) {
          mask.samples[static_cast<std::size_t>(y) * mask.columns + static_cast<std::size_t>(x)] =
              255;
        }
      }
    }
    return mask;
  });
}

}  // namespace zr
