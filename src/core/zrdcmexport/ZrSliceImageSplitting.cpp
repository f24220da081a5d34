// SPDX-License-Identifier: BSD-3-Clause
// Splitting of a multi-frame dataset: read how its frames are ordered, decode all of them once into
// the template slice, then file one copy of it per frame. The order is read into a plain struct and
// held against the number of frames before anything is decoded; the filing works on that struct.
//
//   Frame Increment Pointer                     slices                 volumes
//   (0018,0088)                                 one per frame          one
//   (0018,1063) (0018,1065) (1063,0018)         one per frame          one
//   (3004,000c)                                 one per frame          one
//   (0054,0080)                                 Number of Slices       one
//   (0054,0060)\(0054,0070)\(0054,0080)         Number of Slices       time slots x R-R intervals
//
// A Slice Vector, where there is one, says for each frame which slice it is, whatever the pointer.
#include "ZrSliceImage.h"

#include <zrdcmexport/ZrNumbers.h>
#include <zrvolren/ExDicomUtilitiesHelpers.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Zrg {

namespace {

enum class PointerKind { OneSlicePerFrame, NmSlices, GatedNm };

struct Pointer {
  const char* text;
  PointerKind kind;
};

// DCMTK spells attribute tags in lower case; "(3004,000C)" is not recognised.
constexpr std::array<Pointer, 7> kPointers = {{
    {"(0018,0088)", PointerKind::OneSlicePerFrame},  // Spacing Between Slices
    {"(0018,1065)", PointerKind::OneSlicePerFrame},  // Frame Time Vector
    {"(0018,1063)", PointerKind::OneSlicePerFrame},  // Frame Time
    // Deliberate: Frame Time with group and element swapped, as some devices write it.
    // Test: PointerKinds/SplittableByPointer.FilesOneSlicePerFrame/SwappedFrameTime
    {"(1063,0018)", PointerKind::OneSlicePerFrame},
    {"(3004,000c)", PointerKind::OneSlicePerFrame},  // Grid Frame Offset Vector
    {"(0054,0080)", PointerKind::NmSlices},          // Slice Vector
    {"(0054,0060)\\(0054,0070)\\(0054,0080)", PointerKind::GatedNm},
}};

// Both factors may be 65535 in a damaged file; no gated study comes near.
constexpr std::int64_t kMostVolumes = 1 << 20;

constexpr double kGridTolerance = 0.0001;

/// Where each frame belongs, by 0-based indices.
struct FrameOrder {
  unsigned int frames = 0;
  unsigned int timeSlots = 1;
  unsigned int rrIntervals = 1;
  bool gated = false;
  std::vector<int> sliceOfFrame;  // empty: frame i is slice i
  std::vector<int> rrIntervalOfFrame;
  std::vector<int> timeSlotOfFrame;
};

/// Number of Frames as a signed number; nothing when it is missing or 0.
std::optional<int> readNumberOfFrames(DcmDataset& dataset) {
  OFString text;
  if (dataset.findAndGetOFString(DCM_NumberOfFrames, text).bad()) {
    return std::nullopt;
  }
  const int frames = intOf(text).value_or(0);
  return frames != 0 ? std::optional(frames) : std::nullopt;
}

/// A count that the dataset has to state; nothing when it is missing.
std::optional<int> readCount(DcmDataset& dataset, const DcmTagKey& tag) {
  OFString text;
  if (dataset.findAndGetOFString(tag, text).bad()) {
    return std::nullopt;
  }
  return intOf(text).value_or(0);
}

/// Distance of the frames of a dose grid; 0 where it varies.
float regularStep(const KtDArray<float>& offsets) {
  const float step = offsets[1] - offsets[0];
  for (std::size_t i = 2; i < offsets.size(); ++i) {
    const float deviation = offsets[i] - offsets[i - 1] - step;
    if (std::fabs(static_cast<double>(deviation)) > kGridTolerance) {
      return 0.0F;
    }
  }
  return step;
}

/// Slice spacing, 0 where none can be had. `reversed` tells its direction and stays as it is where
/// the dataset has no usable spacing.
float readSliceSpacing(DcmDataset& dataset, unsigned int frames, bool& reversed) {
  float spacing = 0.0F;
  OFString text;
  if (dataset.findAndGetOFString(DCM_SpacingBetweenSlices, text).good()) {
    // A spacing that is no number still keeps the grid from being asked.
    if (const std::optional<float> number = floatOf(text)) {
      spacing = *number;
      reversed = spacing < 0;
    }
    return spacing;
  }
  if (dataset.findAndGetOFStringArray(DCM_GridFrameOffsetVector, text).bad()) {
    return spacing;
  }
  const KtDArray<float> offsets = ExDicomUtilities::stringToFloats(text, frames);
  if (offsets.size() < 2 || frames < 2) {
    return spacing;
  }
  spacing = regularStep(offsets);
  reversed = spacing < 0;
  return spacing;
}

std::optional<PointerKind> kindOf(const OFString& pointer) {
  const auto* const found =
      std::find_if(kPointers.begin(), kPointers.end(),
                   [&pointer](const Pointer& known) { return pointer == known.text; });
  return found != kPointers.end() ? std::optional(found->kind) : std::nullopt;
}

/// The number at the start of a token, as intOf() reads it, 0 where there is none. Vectors hold plain digits, thousands of
/// them, which need no text of their own.
int numberIn(const std::string_view token) {
  constexpr std::size_t kMostPlainDigits = 9;  // more may not fit
  int number = 0;
  for (const char digit : token) {
    if (digit < '0' || digit > '9' || token.size() > kMostPlainDigits) {
      return intOf(std::string(token)).value_or(0);
    }
    number = 10 * number + (digit - '0');
  }
  return number;
}

/// The 1-based numbers of a vector as indices, one for each frame and all below `count`; nothing
/// otherwise. Stops at the first number that cannot be right, so a vector much longer than the
/// dataset has frames is not built.
std::optional<std::vector<int>> indicesIn(const OFString& text, unsigned int frames, int count) {
  constexpr std::string_view kDelimiters = " \\";
  const std::string_view numbers(text.c_str(), text.size());
  std::vector<int> indices;
  indices.reserve(std::min<std::size_t>(frames, text.size() / 2 + 1));  // digits and delimiters
  std::size_t begin = numbers.find_first_not_of(kDelimiters);
  while (begin != std::string_view::npos) {
    const std::size_t end = std::min(numbers.find_first_of(kDelimiters, begin), numbers.size());
    const int number = numberIn(numbers.substr(begin, end - begin));
    if (number < 1 || number > count || indices.size() == frames) {
      return std::nullopt;
    }
    indices.push_back(number - 1);
    begin = numbers.find_first_not_of(kDelimiters, end);
  }
  return indices.size() == frames ? std::optional(std::move(indices)) : std::nullopt;
}

bool readSlices(DcmDataset& dataset, int slices, FrameOrder& order) {
  if (slices < 2) {
    return false;
  }
  OFString text;
  if (dataset.findAndGetOFStringArray(DCM_SliceVector, text).bad()) {
    // Frame i is slice i. The indices are not spelled out: the number of frames is but a claim yet.
    return static_cast<unsigned int>(slices) == order.frames;
  }
  std::optional<std::vector<int>> indices = indicesIn(text, order.frames, slices);
  if (!indices) {
    return false;
  }
  order.sliceOfFrame = std::move(*indices);
  return true;
}

/// All values of a vector; empty, which fits no dataset, when it is missing.
OFString readVector(DcmDataset& dataset, const DcmTagKey& tag) {
  OFString text;
  return dataset.findAndGetOFStringArray(tag, text).good() ? text : OFString();
}

bool readGates(DcmDataset& dataset, FrameOrder& order) {
  const int timeSlots = readCount(dataset, DCM_NumberOfTimeSlots).value_or(0);
  const int rrIntervals = readCount(dataset, DCM_NumberOfRRIntervals).value_or(0);
  if (timeSlots < 1 || rrIntervals < 1 ||
      std::int64_t{timeSlots} * std::int64_t{rrIntervals} > kMostVolumes) {
    return false;
  }
  auto ofRrIntervals =
      indicesIn(readVector(dataset, DCM_RRIntervalVector), order.frames, rrIntervals);
  auto ofTimeSlots = indicesIn(readVector(dataset, DCM_TimeSlotVector), order.frames, timeSlots);
  if (!ofRrIntervals || !ofTimeSlots) {
    return false;
  }
  order.gated = true;
  order.timeSlots = static_cast<unsigned int>(timeSlots);
  order.rrIntervals = static_cast<unsigned int>(rrIntervals);
  order.rrIntervalOfFrame = std::move(*ofRrIntervals);
  order.timeSlotOfFrame = std::move(*ofTimeSlots);
  return true;
}

/// The order that the pointer and the vectors give; nothing when they do not fit each other.
std::optional<FrameOrder> readFrameOrder(DcmDataset& dataset, const OFString& pointer, int frames) {
  const std::optional<PointerKind> kind = kindOf(pointer);
  if (!kind) {
    return std::nullopt;
  }
  const std::optional<int> slices = *kind == PointerKind::OneSlicePerFrame
                                        ? std::optional(frames)
                                        : readCount(dataset, DCM_NumberOfSlices);
  FrameOrder order;
  order.frames = static_cast<unsigned int>(frames);
  if (!slices || !readSlices(dataset, *slices, order) ||
      (*kind == PointerKind::GatedNm && !readGates(dataset, order))) {
    return std::nullopt;
  }
  return order;
}

/// Whether frames have samples and the decoded pixel data reaches to the end of the last one.
/// Number of Frames counts further than the 16 bits that decoding looks at, and it may lie.
bool holdsFrames(DcmDataset& dataset, const SliceImage& image, unsigned int frames) {
  DcmElement* pixelData = nullptr;
  if (dataset.findAndGetElement(DCM_PixelData, pixelData).bad() || pixelData == nullptr) {
    return false;
  }
  const auto bytesPerFrame = static_cast<std::uint64_t>(image.extent.x) *
                             static_cast<std::uint64_t>(image.extent.y) * image.bytesPerSample;
  return bytesPerFrame != 0 && frames <= pixelData->getLength() / bytesPerFrame;
}

/// Where a frame starts in the shared pixel memory.
int frameOffset(const SliceImage& image, unsigned int frame) {
  // Deliberate: 32 bits, which the pixel data of DCMTK never exceeds; the sign counts as the highest.
  // Test: OneVolume.PlacesFramesOneFrameSizeApart
  const std::uint32_t bytesPerFrame = static_cast<std::uint32_t>(image.extent.x) *
                                      image.bytesPerSample *
                                      static_cast<std::uint32_t>(image.extent.y);
  const std::uint32_t offset = image.samplesPerPixel * frame * bytesPerFrame;
  return static_cast<int>(offset);
}

/// The frames of each volume in the order of their slices.
using Volumes = std::vector<std::vector<int>>;

constexpr int kNoFrame = -1;

/// All frames as one volume; nothing unless they fill it.
std::optional<Volumes> oneVolume(const FrameOrder& order) {
  std::vector<int> frameOfSlice(order.frames, kNoFrame);
  for (unsigned int frame = 0; frame < order.frames; ++frame) {
    const unsigned int slice =
        order.sliceOfFrame.empty() ? frame : static_cast<unsigned int>(order.sliceOfFrame[frame]);
    if (slice >= order.frames) {
      return std::nullopt;
    }
    frameOfSlice[slice] = static_cast<int>(frame);
  }
  if (std::find(frameOfSlice.begin(), frameOfSlice.end(), kNoFrame) != frameOfSlice.end()) {
    return std::nullopt;
  }
  Volumes volumes;
  volumes.push_back(std::move(frameOfSlice));
  return volumes;
}

/// The frames of one gated volume, in the order of the dataset, with the slice that each claims.
using Claims = std::vector<KtVec2i>;

std::vector<Claims> claimsOfVolumes(const FrameOrder& order) {
  std::vector<Claims> volumes(std::size_t{order.timeSlots} * order.rrIntervals);
  for (unsigned int frame = 0; frame < order.frames; ++frame) {
    const auto timeSlot = static_cast<std::size_t>(order.timeSlotOfFrame[frame]);
    const auto rrInterval = static_cast<std::size_t>(order.rrIntervalOfFrame[frame]);
    const int slice =
        order.sliceOfFrame.empty() ? static_cast<int>(frame) : order.sliceOfFrame[frame];
    volumes[timeSlot * order.rrIntervals + rrInterval].push_back({static_cast<int>(frame), slice});
  }
  return volumes;
}

/// Frames by slice, as many places as there are frames; nothing when two claim the same place.
std::optional<std::vector<int>> frameOfSliceIn(const Claims& claims) {
  std::vector<int> frameOfSlice(claims.size(), kNoFrame);
  for (const auto& [frame, slice] : claims) {
    const auto place = static_cast<std::size_t>(slice);
    // Deliberate: a slice beyond the frames of its volume is dropped without notice.
    // Test: GatedSplitting.DropsSlicesBeyondTheFramesOfTheirVolume
    if (place >= frameOfSlice.size()) {
      continue;
    }
    if (frameOfSlice[place] != kNoFrame) {
      return std::nullopt;
    }
    frameOfSlice[place] = frame;
  }
  return frameOfSlice;
}

/// The volumes of gated data; nothing when two frames claim the same slice of one.
std::optional<Volumes> gatedVolumes(const FrameOrder& order) {
  Volumes volumes;
  for (const Claims& claims : claimsOfVolumes(order)) {
    std::optional<std::vector<int>> frameOfSlice = frameOfSliceIn(claims);
    if (!frameOfSlice) {
      return std::nullopt;
    }
    // Deliberate: the first gap ends the volume silently, what comes after it is lost.
    // Test: GatedSplitting.EndsAVolumeAtItsFirstGap
    frameOfSlice->erase(std::find(frameOfSlice->begin(), frameOfSlice->end(), kNoFrame),
                        frameOfSlice->end());
    volumes.push_back(std::move(*frameOfSlice));
  }
  return volumes;
}

}  // namespace

bool MultiFrameImage::process(DcmDataset& dataset, std::string& errorText, bool splitFrames) try {
  setNumberOfVolumes(0);
  const std::optional<int> frames = readNumberOfFrames(dataset);
  if (!frames) {
    return false;
  }
  numFrames_ = static_cast<unsigned int>(*frames);
  OFString pointer;
  if (dataset.findAndGetOFStringArray(DCM_FrameIncrementPointer, pointer).bad()) {
    return false;
  }

  const float sliceSpacing = readSliceSpacing(dataset, numFrames_, reversed_);
  std::optional<FrameOrder> order;
  if (splitFrames && sliceSpacing != 0) {
    order = readFrameOrder(dataset, pointer, *frames);
  }
  if ((splitFrames && !order) || !decodeAllFrames(dataset, errorText)) {
    return false;
  }

  std::optional<Volumes> volumes;
  if (!order) {
    volumes = Volumes{{0}};
  } else if (templateImage_.samplesPerPixel == 1 &&
             holdsFrames(dataset, templateImage_, numFrames_)) {
    volumes = order->gated ? gatedVolumes(*order) : oneVolume(*order);
  }
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
