// SPDX-License-Identifier: BSD-3-Clause
// Overlays in the pictures of their frames, and as masks of their own.
#include "zrimaging/Boundary.h"
#include "zrimaging/Pictures.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace zr {

namespace {

// Gray levels as RGB; what is RGB as it is.
Picture inRgb(const Picture& picture) {
  if (picture.channels == 3) {
    return picture;
  }
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
      if (overlays.frame(overlay) == static_cast<int>(record.numberOf(index))) {
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
