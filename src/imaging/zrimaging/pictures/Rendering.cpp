// SPDX-License-Identifier: BSD-3-Clause
// From decoded samples to gray levels: modality line, window, one table entry a sample value.
//
// Lines and windows are those of each frame. Which window an image gets is decided once for all of
// its decoded frames, because what one grey tells of a single frame (it is blank) is no reason to
// show it otherwise than its neighbours.
#include "zrimaging/pictures/Rendering.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdatset.h"
#include "dcmtk/dcmdata/dcdeftag.h"

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

bool leftAsStored(const DecodedImage& image) {
  return !image.slice.convertSamples && image.converted.isNull();
}

// Samples that pad the picture to a rectangle say nothing about its range. They are found as they
// stand after decoding; behind a modality LUT they are not told apart from other values.
std::optional<std::uint16_t> paddingSample(const DecodedImage& image) {
  DcmItem& item = image.file->dataset();
  Uint16 unsignedValue = 0;
  Sint16 signedValue = 0;
  if (item.tagExists(DCM_ModalityLUTSequence)) {
    return std::nullopt;
  }
  if (item.findAndGetSint16(DCM_PixelPaddingValue, signedValue).good()) {
    return static_cast<std::uint16_t>(static_cast<float>(signedValue) + image.slice.sampleOffset);
  }
  if (item.findAndGetUint16(DCM_PixelPaddingValue, unsignedValue).good()) {
    return unsignedValue;
  }
  return std::nullopt;
}

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

unsigned char grayLevel(const DecodedImage& image, const FrameDisplay& display,
                        std::uint16_t sample) {
  const double gray = grayFraction(valueOf(display, sample), display.window);
  return static_cast<unsigned char>(std::lround(255.0 * (image.darkIsHigh ? 1.0 - gray : gray)));
}

/// The decoded frames with what is needed to choose their windows.
class Showing {
public:
  Showing(const DecodedImage& image, const PerFrameAttributes& attributes)
      : image_(image), attributes_(attributes), frames_(image.samples.frames) {
    for (std::size_t index = 0; index < frames_.size(); ++index) {
      const auto line = lineOfSamples(image, attributes, image.frames.first + index);
      frames_[index].slope = line ? line->slope : 1;
      frames_[index].intercept =
          line ? line->intercept : -static_cast<double>(image.slice.sampleOffset);
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
      std::optional<Window> own = windowOfFile(attributes_, image_.frames.first + index);
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
      const int shown = grayLevel(image_, frames_[index], low);
      if (shown != grayLevel(image_, frames_[index], high) || (grey >= 0 && grey != shown)) {
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
      const std::optional<std::uint16_t> padding = paddingSample(image_);
      for (std::size_t index = 0; index < frames_.size(); ++index) {
        ranges_.push_back(rangeOfSamples(image_.samples.frame(index), padding));
      }
    }
  }

  const DecodedImage& image_;
  const PerFrameAttributes& attributes_;
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
  return uniform() ? frames_.front() : frames_.at(index);
}

std::optional<Window> windowOfFile(const PerFrameAttributes& attributes, std::size_t number) {
  for (const VoiWindow& window : attributes.frames.at(number).windows) {
    if (window.width > 0 && window.function != VoiFunction::kOther) {
      const bool narrow = window.function == VoiFunction::kLinear && window.width <= 1;
      return Window{window.centre, window.width,
                    narrow ? VoiFunction::kLinearExact : window.function};
    }
  }
  return std::nullopt;
}

std::set<unsigned char> extremeGreys(const DecodedImage& image, const SampleArray& frame,
                                     const FrameDisplay& display) {
  const std::optional<SampleRange> range = rangeOfSamples(frame, paddingSample(image));
  if (!range) {
    return {};
  }
  return {grayLevel(image, display, range->first), grayLevel(image, display, range->second)};
}

Display displayOf(const DecodedImage& image, const PerFrameAttributes& attributes,
                  const std::optional<Window>& wanted) {
  Showing showing(image, attributes);
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
}

std::optional<RescaleLine> lineOfSamples(const DecodedImage& image,
                                         const PerFrameAttributes& attributes, std::size_t number) {
  const std::optional<RescaleLine>& rescale = attributes.frames.at(number).rescale;
  if (!rescale || (attributes.modalityTable && leftAsStored(image))) {
    return std::nullopt;
  }
  const auto offset = static_cast<double>(image.slice.sampleOffset);
  return RescaleLine{rescale->slope, rescale->intercept - offset * rescale->slope, rescale->unit};
}

std::vector<unsigned char> grayLevels(const DecodedImage& image, const FrameDisplay& display) {
  const std::size_t entries = bytesOf(image.samples.type) == 1 ? 256 : 65536;
  std::vector<unsigned char> levels(entries);
  for (std::size_t sample = 0; sample < entries; ++sample) {
    levels[sample] = grayLevel(image, display, static_cast<std::uint16_t>(sample));
  }
  return levels;
}

Picture renderFrame(const DecodedImage& image, std::size_t index, const FrameDisplay& display) {
  const SampleArray frame = image.samples.frame(index);
  Picture picture{frame.rows, frame.columns, 1, {}};
  const std::vector<unsigned char> levels = grayLevels(image, display);
  picture.samples.resize(frame.rows * frame.columns);
  for (std::size_t i = 0; i < picture.samples.size(); ++i) {
    picture.samples[i] = levels[frame.sample(i)];
  }
  return picture;
}

Colour overlayColour(unsigned group) {
  constexpr std::array<Colour, 4> kColours{
      {{255, 196, 0}, {64, 224, 255}, {255, 96, 160}, {128, 255, 96}}};
  return kColours[(group / 2U) % kColours.size()];
}

Picture burnOverlays(const Picture& picture, const DecodedImage& image, std::size_t index) {
  Picture burnt = inRgb(picture);
  if (image.slice.overlays.isNull()) {
    return burnt;
  }
  const ZrOverlayData& overlays = *image.slice.overlays;
  const int frame = static_cast<int>(image.frames.first + index) - image.firstHeldFrame;
  for (int overlay = 0; overlay < overlays.count(); ++overlay) {
    if (overlays.frame(overlay) == frame) {
      drawOverlay(burnt, overlays, overlay);
    }
  }
  return burnt;
}

}  // namespace zr
