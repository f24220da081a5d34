// SPDX-License-Identifier: BSD-3-Clause
// The order of the frames of a multi-frame dataset: pointer and vectors are read into a plain
// struct and held against the number of frames, then the frames are sorted into volumes.
//
//   Frame Increment Pointer                     slices                 volumes
//   (0018,0088)                                 one per frame          one
//   (0018,1063) (0018,1065) (1063,0018)         one per frame          one
//   (3004,000c)                                 one per frame          one
//   (0054,0080)                                 Number of Slices       one
//   (0054,0060)\(0054,0070)\(0054,0080)         Number of Slices       time slots x R-R intervals
//
// A Slice Vector, where there is one, says for each frame which slice it is, whatever the pointer.
#include "volumes/FrameOrder.h"

#include "dicom/ImageAttributes.h"
#include "dicom/ItemValues.h"

#include <zrdcmexport/ZrFrameOrder.h>
#include <zrdcmexport/ZrNumbers.h>
#include <zrvolren/ExDicomUtilitiesHelpers.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace Zrg {

namespace Volumes {

namespace {

// Why there is no order, in the order of the checks. Colour stands in the public header.
constexpr FailureText kNoNumberOfFrames{"no Number of Frames"};
constexpr FailureText kNoPointer{"no Frame Increment Pointer"};
constexpr FailureText kNegativeFrames{"Number of Frames is negative"};
constexpr FailureText kTooManyFrames{"Number of Frames is above 65535, and no more are decoded"};
constexpr FailureText kOneFrame{"it has one frame"};
constexpr FailureText kSpacingUnusable{"Spacing Between Slices is 0 or no number"};
constexpr FailureText kNoSpacing{"neither Spacing Between Slices nor Grid Frame Offset Vector"};
constexpr FailureText kGridNoNumbers{"Grid Frame Offset Vector holds what is no number"};
constexpr FailureText kGridTooShort{"Grid Frame Offset Vector has fewer than two numbers"};
constexpr FailureText kGridVaries{"the distances in Grid Frame Offset Vector vary"};
constexpr FailureText kGridStands{"the distances in Grid Frame Offset Vector are 0"};
constexpr FailureText kUnknownPointer{"the Frame Increment Pointer names no known order of frames"};
constexpr FailureText kNoNumberOfSlices{"no Number of Slices"};
constexpr FailureText kTooFewSlices{"Number of Slices is below 2"};
constexpr FailureText kNoSliceVector{
    "no Slice Vector, and Number of Slices is not Number of Frames"};
constexpr FailureText kSliceVectorLength{"Slice Vector has not one number for each frame"};
constexpr FailureText kSliceVectorNumber{
    "Slice Vector has a number below 1 or above the number of slices"};
constexpr FailureText kNoTimeSlots{"Number of Time Slots is missing or below 1"};
constexpr FailureText kNoRrIntervals{"Number of R-R Intervals is missing or below 1"};
constexpr FailureText kTooManyVolumes{
    "time slots times R-R intervals are more than 1048576 volumes"};
constexpr FailureText kRrVectorLength{"R-R Interval Vector has not one number for each frame"};
constexpr FailureText kRrVectorNumber{
    "R-R Interval Vector has a number below 1 or above Number of R-R Intervals"};
constexpr FailureText kTimeSlotVectorLength{"Time Slot Vector has not one number for each frame"};
constexpr FailureText kTimeSlotVectorNumber{
    "Time Slot Vector has a number below 1 or above Number of Time Slots"};
constexpr FailureText kSliceBeyondFrames{"Slice Vector has a number above Number of Frames"};
constexpr FailureText kSliceTwice{"two frames have the same number in Slice Vector"};
constexpr FailureText kSliceTwiceInVolume{
    "two frames of one volume have the same number in Slice Vector"};

enum class PointerKind { OneSlicePerFrame, NmSlices, GatedNm };

struct Pointer {
  const char* text;
  PointerKind kind;
  const char* meaning;
};

// DCMTK spells attribute tags in lower case; "(3004,000C)" is not recognised.
constexpr std::array<Pointer, 7> kPointers = {{
    {"(0018,0088)", PointerKind::OneSlicePerFrame, "spacing between slices"},
    {"(0018,1065)", PointerKind::OneSlicePerFrame, "frame time vector"},
    {"(0018,1063)", PointerKind::OneSlicePerFrame, "frame time"},
    // Deliberate: Frame Time with group and element swapped, as some devices write it.
    // Test: PointerKinds/SplittableByPointer.FilesOneSlicePerFrame/SwappedFrameTime
    {"(1063,0018)", PointerKind::OneSlicePerFrame, "frame time, group and element swapped"},
    {"(3004,000c)", PointerKind::OneSlicePerFrame, "grid frame offset vector"},
    {"(0054,0080)", PointerKind::NmSlices, "slice vector"},
    {"(0054,0060)\\(0054,0070)\\(0054,0080)", PointerKind::GatedNm,
     "R-R interval, time slot and slice vectors"},
}};

// Both factors may be 65535 in a damaged file; no gated study comes near.
constexpr std::int64_t kMostVolumes = 1 << 20;

constexpr double kGridTolerance = 0.0001;

/// Distance of the frames of a dose grid; 0 with the reason where it varies.
SliceSpacing gridSpacingOf(const KtDArray<float>& offsets) {
  const float step = offsets[1] - offsets[0];
  for (std::size_t i = 2; i < offsets.size(); ++i) {
    const float deviation = offsets[i] - offsets[i - 1] - step;
    if (std::fabs(static_cast<double>(deviation)) > kGridTolerance) {
      return {0.0F, false, kGridVaries};
    }
  }
  return {step, step < 0, kGridStands};
}

const Pointer* findPointer(const OFString& pointer) {
  const auto* const found =
      std::find_if(kPointers.begin(), kPointers.end(),
                   [&pointer](const Pointer& known) { return pointer == known.text; });
  return found != kPointers.end() ? found : nullptr;
}

/// The number at the start of a token, 0 where there is none. Vectors hold plain digits, thousands
/// of them, which need no text of their own.
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

/// What may be wrong with a vector.
struct VectorReasons {
  FailureText length;
  FailureText number;
};

/// The 1-based numbers of a vector as indices, one for each frame and all below `count`. Stops at
/// the first number that cannot be right, so a vector much longer than the dataset has frames is
/// not built.
Result<std::vector<int>> indicesIn(const OFString& text, unsigned int frames, int count,
                                   const VectorReasons& reasons) {
  constexpr std::string_view kDelimiters = " \\";
  const std::string_view numbers(text.c_str(), text.size());
  std::vector<int> indices;
  indices.reserve(std::min<std::size_t>(frames, text.size() / 2 + 1));  // digits and delimiters
  std::size_t begin = numbers.find_first_not_of(kDelimiters);
  while (begin != std::string_view::npos) {
    const std::size_t end = std::min(numbers.find_first_of(kDelimiters, begin), numbers.size());
    const int number = numberIn(numbers.substr(begin, end - begin));
    if (indices.size() == frames) {
      return reasons.length;
    }
    if (number < 1 || number > count) {
      return reasons.number;
    }
    indices.push_back(number - 1);
    begin = numbers.find_first_not_of(kDelimiters, end);
  }
  if (indices.size() != frames) {
    return reasons.length;
  }
  return indices;
}

/// How many slices the frames are to have.
Result<int> readNumberOfSlices(DcmItem& item, PointerKind kind, int frames) {
  if (kind == PointerKind::OneSlicePerFrame) {
    if (frames < 2) {
      return kOneFrame;
    }
    return frames;
  }
  const std::optional<int> slices = readInt(item, DCM_NumberOfSlices);
  if (!slices) {
    return kNoNumberOfSlices;
  }
  if (*slices < 2) {
    return kTooFewSlices;
  }
  return *slices;
}

/// Slices of the frames; an empty vector when frame i is slice i. The indices are not spelled out
/// then: the number of frames is but a claim yet.
Result<std::vector<int>> readSlices(DcmItem& item, int slices, unsigned int frames) {
  const std::optional<OFString> text = readValueTexts(item, DCM_SliceVector);
  if (!text) {
    if (static_cast<unsigned int>(slices) != frames) {
      return kNoSliceVector;
    }
    return std::vector<int>();
  }
  return indicesIn(*text, frames, slices, {kSliceVectorLength, kSliceVectorNumber});
}

/// All values of a vector; empty, which fits no dataset, when it is missing.
OFString readVector(DcmItem& item, const DcmTagKey& tag) {
  return readValueTexts(item, tag).value_or(OFString());
}

/// Adds the gates to the indices; nothing when all is well, otherwise the reason.
Result<void> readGates(DcmItem& item, FrameIndices& indices) {
  const int timeSlots = readInt(item, DCM_NumberOfTimeSlots).value_or(0);
  if (timeSlots < 1) {
    return kNoTimeSlots;
  }
  const int rrIntervals = readInt(item, DCM_NumberOfRRIntervals).value_or(0);
  if (rrIntervals < 1) {
    return kNoRrIntervals;
  }
  if (std::int64_t{timeSlots} * std::int64_t{rrIntervals} > kMostVolumes) {
    return kTooManyVolumes;
  }
  auto ofRrIntervals = indicesIn(readVector(item, DCM_RRIntervalVector), indices.frames,
                                 rrIntervals, {kRrVectorLength, kRrVectorNumber});
  if (!ofRrIntervals) {
    return ofRrIntervals.reason();
  }
  auto ofTimeSlots = indicesIn(readVector(item, DCM_TimeSlotVector), indices.frames, timeSlots,
                               {kTimeSlotVectorLength, kTimeSlotVectorNumber});
  if (!ofTimeSlots) {
    return ofTimeSlots.reason();
  }
  indices.timeSlots = static_cast<unsigned int>(timeSlots);
  indices.rrIntervals = static_cast<unsigned int>(rrIntervals);
  indices.rrIntervalOfFrame = std::move(*ofRrIntervals);
  indices.timeSlotOfFrame = std::move(*ofTimeSlots);
  return {};
}

constexpr int kNoFrame = -1;

unsigned int sliceOf(const FrameIndices& indices, unsigned int frame) {
  return indices.sliceOfFrame.empty() ? frame
                                      : static_cast<unsigned int>(indices.sliceOfFrame[frame]);
}

/// All frames as one volume, which they must fill.
Result<FramesOfVolumes> oneVolume(const FrameIndices& indices) {
  std::vector<int> frameOfSlice(indices.frames, kNoFrame);
  for (unsigned int frame = 0; frame < indices.frames; ++frame) {
    const unsigned int slice = sliceOf(indices, frame);
    if (slice >= indices.frames) {
      return kSliceBeyondFrames;
    }
    if (frameOfSlice[slice] != kNoFrame) {
      return kSliceTwice;  // and so there is a slice that no frame has
    }
    frameOfSlice[slice] = static_cast<int>(frame);
  }
  FramesOfVolumes volumes;
  volumes.push_back(std::move(frameOfSlice));
  return volumes;
}

/// A frame of a gated volume with the slice that it claims.
struct Claim {
  unsigned int frame;
  unsigned int slice;
};

/// The frames of one gated volume, in the order of the dataset.
using Claims = std::vector<Claim>;

std::vector<Claims> claimsOfVolumes(const FrameIndices& indices) {
  std::vector<Claims> volumes(std::size_t{indices.timeSlots} * indices.rrIntervals);
  for (unsigned int frame = 0; frame < indices.frames; ++frame) {
    const auto timeSlot = static_cast<std::size_t>(indices.timeSlotOfFrame[frame]);
    const auto rrInterval = static_cast<std::size_t>(indices.rrIntervalOfFrame[frame]);
    volumes[timeSlot * indices.rrIntervals + rrInterval].push_back(
        {frame, sliceOf(indices, frame)});
  }
  return volumes;
}

/// Frames by slice up to the first gap; no two may claim the same place.
Result<std::vector<int>> framesInOrder(const Claims& claims) {
  std::vector<int> frameOfSlice(claims.size(), kNoFrame);  // as many places as there are frames
  for (const auto& [frame, slice] : claims) {
    // Deliberate: a slice beyond the frames of its volume is dropped without notice.
    // Test: GatedSplitting.DropsSlicesBeyondTheFramesOfTheirVolume
    if (slice >= frameOfSlice.size()) {
      continue;
    }
    if (frameOfSlice[slice] != kNoFrame) {
      return kSliceTwiceInVolume;
    }
    frameOfSlice[slice] = static_cast<int>(frame);
  }
  // Deliberate: the first gap ends the volume silently, what comes after it is lost.
  // Test: GatedSplitting.EndsAVolumeAtItsFirstGap
  frameOfSlice.erase(std::find(frameOfSlice.begin(), frameOfSlice.end(), kNoFrame),
                     frameOfSlice.end());
  return frameOfSlice;
}

Result<FramesOfVolumes> gatedVolumes(const FrameIndices& indices) {
  FramesOfVolumes volumes;
  for (const Claims& claims : claimsOfVolumes(indices)) {
    Result<std::vector<int>> frames = framesInOrder(claims);
    if (!frames) {
      return frames.reason();
    }
    volumes.push_back(std::move(*frames));
  }
  return volumes;
}

bool isColour(DcmItem& item) {
  const ImageAttributes attributes = readImageAttributes(item, nullptr);
  return !attributes.photometricInterpretation.empty() && !attributes.monochrome;
}

FrameOrder orderOf(const FrameIndices& indices, const SliceSpacing& spacing,
                   const FramesOfVolumes& volumes) {
  FrameOrder order;
  for (const std::vector<int>& frames : volumes) {
    order.volumes.emplace_back(frames.begin(), frames.end());
  }
  order.frames = indices.frames;
  order.timeSlots = indices.timeSlots;
  order.rrIntervals = indices.rrIntervals;
  order.spacingMm = std::fabs(spacing.mm);
  order.reversed = spacing.reversed.value_or(false);
  return order;
}

Result<FrameOrder> readOrder(DcmItem& item) {
  const Result<int> frames = readNumberOfFrames(item);
  if (!frames) {
    return frames.reason();
  }
  const Result<OFString> pointer = readPointer(item);
  if (!pointer || pointer->empty()) {
    return kNoPointer;
  }
  if (*frames < 0) {
    return kNegativeFrames;
  }
  if (*frames > kMostFrames) {
    return kTooManyFrames;
  }
  if (isColour(item)) {
    return FailureText{kColourFramesStayTogether};
  }
  const SliceSpacing spacing = readSliceSpacing(item, static_cast<unsigned int>(*frames));
  if (spacing.mm == 0) {
    return spacing.reason;
  }
  const Result<FrameIndices> indices = readFrameIndices(item, *pointer, *frames);
  if (!indices) {
    return indices.reason();
  }
  const Result<FramesOfVolumes> volumes = sortFrames(*indices);
  if (!volumes) {
    return volumes.reason();
  }
  return orderOf(*indices, spacing, *volumes);
}

}  // namespace

Result<int> readNumberOfFrames(DcmItem& item) {
  const int frames = readInt(item, DCM_NumberOfFrames).value_or(0);
  if (frames == 0) {
    return kNoNumberOfFrames;
  }
  return frames;
}

Result<OFString> readPointer(DcmItem& item) {
  std::optional<OFString> pointer = readValueTexts(item, DCM_FrameIncrementPointer);
  if (!pointer) {
    return kNoPointer;
  }
  return std::move(*pointer);
}

SliceSpacing readSliceSpacing(DcmItem& item, unsigned int frames) {
  if (const std::optional<OFString> text = readValueText(item, DCM_SpacingBetweenSlices)) {
    // A spacing that is no number still keeps the grid from being asked.
    const std::optional<float> spacing = floatOf(*text);
    if (!spacing) {
      return {0.0F, std::nullopt, kSpacingUnusable};
    }
    return {*spacing, *spacing < 0, kSpacingUnusable};
  }
  const std::optional<OFString> text = readValueTexts(item, DCM_GridFrameOffsetVector);
  if (!text) {
    return {0.0F, std::nullopt, kNoSpacing};
  }
  const KtDArray<float> offsets = ExDicomUtilities::stringToFloats(*text, frames);
  if (offsets.size() < 2) {
    const bool noNumbers = offsets.empty() && !text->empty();
    return {0.0F, std::nullopt, noNumbers ? kGridNoNumbers : kGridTooShort};
  }
  return frames < 2 ? SliceSpacing{0.0F, std::nullopt, kOneFrame} : gridSpacingOf(offsets);
}

Result<FrameIndices> readFrameIndices(DcmItem& item, const OFString& pointer, int frames) {
  const Pointer* const known = findPointer(pointer);
  if (known == nullptr) {
    return kUnknownPointer;
  }
  const Result<int> slices = readNumberOfSlices(item, known->kind, frames);
  if (!slices) {
    return slices.reason();
  }
  FrameIndices indices;
  indices.frames = static_cast<unsigned int>(frames);
  Result<std::vector<int>> sliceOfFrame = readSlices(item, *slices, indices.frames);
  if (!sliceOfFrame) {
    return sliceOfFrame.reason();
  }
  indices.sliceOfFrame = std::move(*sliceOfFrame);
  if (known->kind == PointerKind::GatedNm) {
    if (const Result<void> gates = readGates(item, indices); !gates) {
      return gates.reason();
    }
  }
  return indices;
}

Result<FramesOfVolumes> sortFrames(const FrameIndices& indices) {
  return indices.isGated() ? gatedVolumes(indices) : oneVolume(indices);
}

}  // namespace Volumes

FrameIncrement readFrameIncrement(DcmItem& item) {
  FrameIncrement increment;
  const Result<OFString> pointer = Volumes::readPointer(item);
  if (pointer) {
    const Volumes::Pointer* const known = Volumes::findPointer(*pointer);
    increment.pointer.assign(pointer->c_str(), pointer->size());
    increment.meaning = known != nullptr ? known->meaning : nullptr;
    increment.gated = known != nullptr && known->kind == Volumes::PointerKind::GatedNm;
  }
  return increment;
}

bool readFrameOrder(DcmItem& item, FrameOrder& order, std::string& reason) {
  reason.clear();
  Result<FrameOrder> read = Volumes::readOrder(item);
  if (!read) {
    reason = read.reason().text;
    return false;
  }
  order = std::move(*read);
  return true;
}

}  // namespace Zrg
