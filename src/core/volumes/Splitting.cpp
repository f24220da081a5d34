// SPDX-License-Identifier: BSD-3-Clause
// Splitting of a multi-frame dataset: read how its frames are ordered, decode all of them once into
// the template slice, then file one copy of it per frame. The order is held against the number of
// frames before anything is decoded; which orders there are stands in volumes/FrameOrder.cpp.
#include "volumes/FrameOrder.h"

#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <cstdint>
#include <new>
#include <optional>
#include <string>
#include <vector>

namespace Zrg {

namespace {

/// Where the frames go, as far as it is known before they are decoded: nothing when they are kept
/// together.
using WantedOrder = std::optional<Volumes::FrameIndices>;

/// Where a frame starts in the shared pixel memory.
int frameOffset(const SliceImage& image, unsigned int frame) {
  // Deliberate: 32 bits, which the pixel data of DCMTK never exceeds; the sign counts as the
  // highest. Test: OneVolume.PlacesFramesOneFrameSizeApart
  const std::uint32_t bytesPerFrame = static_cast<std::uint32_t>(image.extent.x) *
                                      image.bytesPerSample *
                                      static_cast<std::uint32_t>(image.extent.y);
  const std::uint32_t offset = image.samplesPerPixel * frame * bytesPerFrame;
  return static_cast<int>(offset);
}

/// The volumes to file once all frames are decoded; nothing when the frames do not split.
std::optional<Volumes::FramesOfVolumes> volumesOf(const SliceImage& image,
                                                  const WantedOrder& order) {
  if (!order) {
    return Volumes::FramesOfVolumes{{0}};
  }
  const bool hasSamples = image.extent.x != 0 && image.extent.y != 0;
  if (image.samplesPerPixel != 1 || !hasSamples) {
    return std::nullopt;
  }
  return Volumes::sortFrames(*order).value();
}

}  // namespace

bool MultiFrameImage::process(DcmDataset& dataset, std::string& errorText, bool splitFrames) try {
  setNumberOfVolumes(0);
  const Result<int> frames = Volumes::readNumberOfFrames(dataset);
  if (!frames) {
    return false;
  }
  numFrames_ = static_cast<unsigned int>(*frames);
  const Result<OFString> pointer = Volumes::readPointer(dataset);
  if (!pointer) {
    return false;
  }
  const Volumes::SliceSpacing spacing = Volumes::readSliceSpacing(dataset, numFrames_);
  reversed_ = spacing.reversed.value_or(reversed_);
  if (*frames > Volumes::kMostFrames) {
    return false;  // decoding would deliver fewer of them, and say nothing
  }

  WantedOrder order;
  if (splitFrames && spacing.mm != 0) {
    order = Volumes::readFrameIndices(dataset, *pointer, *frames).value();
  }
  if ((splitFrames && !order) || !decodeAllFrames(dataset, errorText)) {
    return false;
  }
  const std::optional<Volumes::FramesOfVolumes> volumes = volumesOf(templateImage_, order);
  if (!volumes) {
    return false;
  }
  fileVolumes(*volumes);
  bytesPerPixel_ = storedSampleBytes(templateImage_.bytesPerSample);
  return true;
} catch (const std::bad_alloc&) {
  setNumberOfVolumes(0);  // some may have been filed
  return false;
}

void MultiFrameImage::fileVolumes(const std::vector<std::vector<int>>& framesOfVolumes) {
  setNumberOfVolumes(static_cast<unsigned int>(framesOfVolumes.size()));
  int volume = 0;
  for (const std::vector<int>& frames : framesOfVolumes) {
    // A slice has well over a hundred bytes: growing step by step would hold half of that again.
    volumes_[static_cast<std::size_t>(volume)].reserve(frames.size());
    frameNumbers_[static_cast<std::size_t>(volume)].reserve(frames.size());
    for (const int frame : frames) {
      const auto number = static_cast<unsigned int>(frame);
      addImage(volume, frameOffset(templateImage_, number), templateImage_, number);
    }
    ++volume;
  }
}

bool MultiFrameImage::decodeAllFrames(DcmDataset& dataset, std::string& errorText) {
  // Decoding writes colour into memory that a slice has already. That of an earlier dataset may be
  // too small, gone with its dataset, or in the hands of whoever fetched its slices.
  const bool convertSamples = templateImage_.convertSamples;
  templateImage_ = SliceImage();
  templateImage_.convertSamples = convertSamples;
  if (!templateImage_.process(dataset, errorText, -1, -1, nullptr, 0)) {
    return false;
  }
  lossyCompression_ = templateImage_.lossy ? 1 : 0;
  return true;
}

}  // namespace Zrg
