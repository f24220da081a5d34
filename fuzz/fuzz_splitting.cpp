// SPDX-License-Identifier: BSD-3-Clause
// Multi-frame datasets whose vectors and counts say anything: whatever is split, every slice is the
// frame of its number in the memory that decoding all frames gives.
#include "ImageInput.h"

#include <zrdcmexport/ZrFrameOrder.h>
#include <zrdcmexport/ZrSliceImage.h>

#include <cstring>
#include <new>
#include <string>
#include <vector>

namespace {

bool isWholeMemory(Zrg::MultiFrameImage& split, const Zrg::SliceImage& whole) {
  const std::size_t frameBytes =
      static_cast<std::size_t>(whole.extent.x * whole.extent.y) * whole.bytesPerSample;
  for (unsigned volume = 0; volume < split.numVolumes(); ++volume) {
    for (unsigned i = 0; i < split.numSlices(static_cast<int>(volume)); ++i) {
      Zrg::SliceImage slice;
      unsigned number = 0;
      if (!split.getImage(static_cast<int>(volume), i, slice) ||
          !split.getFrameNumber(static_cast<int>(volume), i, number) ||
          number >= static_cast<unsigned>(whole.extent.z) || slice.extent.x != whole.extent.x ||
          slice.extent.y != whole.extent.y || slice.bytesPerSample != whole.bytesPerSample ||
          std::memcmp(Zrg::firstSample(slice), whole.data + number * frameBytes, frameBytes) != 0) {
        return false;
      }
    }
  }
  return true;
}

// Attributes alone tell the order that splitting files.
bool hasOrder(Zrg::MultiFrameImage& split, const Zrg::FrameOrder& order) {
  if (split.numVolumes() != order.volumes.size() || split.numFrames() != order.frames) {
    return false;
  }
  for (unsigned volume = 0; volume < split.numVolumes(); ++volume) {
    const std::vector<unsigned>& frames = order.volumes[volume];
    if (split.numSlices(static_cast<int>(volume)) != frames.size()) {
      return false;
    }
    for (unsigned i = 0; i < frames.size(); ++i) {
      unsigned number = 0;
      if (!split.getFrameNumber(static_cast<int>(volume), i, number) || number != frames[i]) {
        return false;
      }
    }
  }
  return true;
}

void fill(DcmDataset& dataset, const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const fuzz::ImageInput image = fuzz::ImageInput::read(input);
  image.addAttributes(dataset, input);
  image.addPixelData(dataset, input.rest());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const bool convert = size > 0 && data[0] % 2 != 0;
  DcmDataset dataset;
  fill(dataset, data, size);
  Zrg::MultiFrameImage split(convert);
  Zrg::SliceImage whole;
  whole.convertSamples = convert;
  Zrg::FrameOrder order;
  std::string reason;
  std::string error;
  try {
    const bool ordered = Zrg::readFrameOrder(dataset, order, reason);
    fuzz::require(ordered == reason.empty());
    if (split.process(dataset, error, true)) {
      fuzz::require(ordered && hasOrder(split, order));
      DcmDataset same;
      fill(same, data, size);
      fuzz::require(whole.process(same, error, -1, -1, nullptr, 0) && isWholeMemory(split, whole));
    }
  } catch (const std::bad_alloc&) {
    // Documented: passed on after the text was set.
  }
  return 0;
}
