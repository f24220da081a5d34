// SPDX-License-Identifier: BSD-3-Clause
// From decoded samples to gray levels: modality line, window, one table entry a sample value.
#include "Rendering.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdeftag.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

namespace zrdcm {

namespace {

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

std::pair<std::uint16_t, std::uint16_t> rangeOfSamples(const SampleArray& array,
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
  return low <= high ? std::pair{low, high} : std::pair<std::uint16_t, std::uint16_t>{0, 0};
}

double grayFraction(double value, const Window& window) {
  const double linear = window.exact ? (value - window.centre) / window.width + 0.5
                                     : (value - (window.centre - 0.5)) / (window.width - 1.0) + 0.5;
  if (std::isnan(linear)) {
    return 0.0;  // a rescale slope or window beyond all numbers
  }
  return std::clamp(linear, 0.0, 1.0);
}

Window fullRange(const DecodedImage& image) {
  const auto [low, high] = rangeOfSamples(image.samples, paddingSample(image));
  const KtVec2f line = image.slice.result_MOD_LUT();
  const double slope = static_cast<double>(line.x);
  const double atLow = slope * low + static_cast<double>(line.y);
  const double atHigh = slope * high + static_cast<double>(line.y);
  const double width = std::abs(atHigh - atLow);
  return {(atLow + atHigh) / 2, width > 0 ? width : 1.0, true};
}

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

Window windowFor(const DecodedImage& image, const std::optional<Window>& wanted) {
  if (wanted) {
    return *wanted;
  }
  // The slice's own answer for a file without a window is a constant that knows nothing of the
  // values, so the range of the values is used instead; likewise for a width that shows nothing.
  const KtVec2f own = image.slice.voiWindow;
  if (!std::isfinite(own.x) || !std::isfinite(own.y) || own.y <= 0) {
    return fullRange(image);
  }
  const KtVec2f window = image.slice.result_VOI_LUT();
  return {static_cast<double>(window.x), static_cast<double>(window.y), window.y <= 1};
}

std::vector<unsigned char> grayLevels(const DecodedImage& image, const Window& window) {
  const KtVec2f line = image.slice.result_MOD_LUT();
  const std::size_t entries = bytesOf(image.samples.type) == 1 ? 256 : 65536;
  std::vector<unsigned char> levels(entries);
  for (std::size_t sample = 0; sample < entries; ++sample) {
    const double value =
        static_cast<double>(line.x) * static_cast<double>(sample) + static_cast<double>(line.y);
    const double gray = grayFraction(value, window);
    const double shown = image.darkIsHigh ? 1.0 - gray : gray;
    levels[sample] = static_cast<unsigned char>(std::lround(255.0 * shown));
  }
  return levels;
}

Picture renderFrame(const DecodedImage& image, std::size_t index, const Window& window) {
  const SampleArray frame = image.samples.frame(index);
  Picture picture{frame.rows, frame.columns, 1, {}};
  const std::vector<unsigned char> levels = grayLevels(image, window);
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

}  // namespace zrdcm
