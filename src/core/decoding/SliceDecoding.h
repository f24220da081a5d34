// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dicom/ImageAttributes.h"

#include <cstddef>

class DcmItem;
class DcmPixelData;

namespace Zrg::Decoding {

/// The frames that one call is to decode, 0-based and inside the image.
struct FrameSelection {
  int first = 0;
  int last = 0;
  int count = 0;
  bool all = false;  ///< all frames were asked for, as a whole
};

/// One call of SliceImage::process: what to decode and where to put it.
struct Task {
  DcmItem& item;
  DcmPixelData& pixelData;
  const ImageAttributes& attributes;
  FrameSelection frames;
  void* target = nullptr;      ///< the caller's memory, or null
  std::size_t targetSize = 0;  ///< bytes of `target`
};

/// Frames from `firstFrame` to `lastFrame`, clamped to an image of `frames` frames (at least 1). A
/// negative first frame means all.
[[nodiscard]] FrameSelection selectFrames(int firstFrame, int lastFrame, int frames);

}  // namespace Zrg::Decoding
