// SPDX-License-Identifier: BSD-3-Clause
// Asks the library to split a dataset and, where it does not, finds out why: the library only says
// that it did not. The reasons are looked for in the order of its own checks.
#include "Splitting.h"

#include "DicomFile.h"

#include <zrdcmexport/ZrNumbers.h>
#include <zrdcmexport/ZrSliceImage.h>
#include <zrvolren/ExDicomUtilitiesHelpers.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <vector>

namespace zrdcm {

namespace {

struct PointerKind {
  const char* pointer;
  const char* kind;
};

constexpr const char* kGated = "R-R interval, time slot and slice vectors";

constexpr std::array<PointerKind, 7> kPointerKinds = {{
    {"(0018,0088)", "spacing between slices"},
    {"(0018,1063)", "frame time"},
    {"(1063,0018)", "frame time, group and element swapped"},
    {"(0018,1065)", "frame time vector"},
    {"(3004,000c)", "grid frame offset vector"},
    {"(0054,0080)", "slice vector"},
    {"(0054,0060)\\(0054,0070)\\(0054,0080)", kGated},
}};

std::string valuesOf(DcmItem& item, const DcmTagKey& key) {
  OFString values;
  (void)item.findAndGetOFStringArray(key, values);  // stays empty when it is missing
  return values;
}

std::string kindOf(const std::string& pointer) {
  const auto* const found =
      std::find_if(kPointerKinds.begin(), kPointerKinds.end(),
                   [&pointer](const PointerKind& known) { return pointer == known.pointer; });
  return found == kPointerKinds.end() ? std::string() : found->kind;
}

int integerOf(DcmItem& item, const DcmTagKey& key) {
  return Zrg::intOf(textOf(item, key)).value_or(0);
}

std::string spacingObstacle(DcmItem& item) {
  if (item.tagExists(DCM_SpacingBetweenSlices)) {
    const std::optional<float> spacing = Zrg::floatOf(textOf(item, DCM_SpacingBetweenSlices));
    const bool usable = spacing && *spacing != 0;
    return usable ? "" : "Spacing Between Slices is 0 or no number";
  }
  if (!item.tagExists(DCM_GridFrameOffsetVector)) {
    return "neither Spacing Between Slices nor Grid Frame Offset Vector";
  }
  return "";
}

// What only shows when the vectors are read number by number.
std::string vectorObstacle(DcmItem& item) {
  if (!item.tagExists(DCM_SpacingBetweenSlices)) {
    const KtDArray<float> offsets =
        ExDicomUtilities::stringToFloats(valuesOf(item, DCM_GridFrameOffsetVector), 0);
    if (offsets.size() < 2) {
      return "Grid Frame Offset Vector has fewer than two numbers";
    }
    const float step = offsets[1] - offsets[0];
    for (std::size_t i = 1; i < offsets.size(); ++i) {
      if (step == 0 || std::fabs(offsets[i] - offsets[i - 1] - step) > 0.0001F) {
        return "the distances in Grid Frame Offset Vector vary";
      }
    }
  }
  return "the frame attributes describe no complete volumes";
}

void readVolumes(Zrg::MultiFrameImage& image, SplittingOutlook& outlook) {
  outlook.volumes.resize(image.numVolumes());
  for (std::size_t volume = 0; volume < outlook.volumes.size(); ++volume) {
    const int number = static_cast<int>(volume);
    for (unsigned slice = 0; slice < image.numSlices(number); ++slice) {
      unsigned frame = 0;
      if (image.getFrameNumber(number, slice, frame)) {
        outlook.volumes[volume].push_back(frame);
      }
    }
  }
}

}  // namespace

SplittingOutlook::Gate SplittingOutlook::gateOf(std::size_t volume) const {
  return {static_cast<unsigned>(volume / rrIntervals), static_cast<unsigned>(volume % rrIntervals)};
}

bool isGated(DcmItem& item) {
  return kindOf(valuesOf(item, DCM_FrameIncrementPointer)) == kGated;
}

std::string obstacleToSplitting(DcmDataset& dataset, bool monochrome) {
  const int frames = integerOf(dataset, DCM_NumberOfFrames);
  if (frames == 0) {
    return "no Number of Frames";
  }
  if (!dataset.tagExistsWithValue(DCM_FrameIncrementPointer)) {
    return "no Frame Increment Pointer";
  }
  if (!monochrome) {
    return "colour frames are kept together";
  }
  const std::string spacing = spacingObstacle(dataset);
  if (!spacing.empty()) {
    return spacing;
  }
  if (kindOf(valuesOf(dataset, DCM_FrameIncrementPointer)).empty()) {
    return "the Frame Increment Pointer names no known order of frames";
  }
  return frames < 2 ? "it has one frame" : "";
}

SplittingOutlook splittingOutlook(DcmDataset& dataset, bool monochrome,
                                  const MemoryBudget& memory) {
  SplittingOutlook outlook;
  outlook.pointer = valuesOf(dataset, DCM_FrameIncrementPointer);
  outlook.pointerKind = kindOf(outlook.pointer);
  outlook.reason = obstacleToSplitting(dataset, monochrome);
  const bool framesArePointedAt = integerOf(dataset, DCM_NumberOfFrames) != 0 &&
                                  dataset.tagExistsWithValue(DCM_FrameIncrementPointer);
  outlook.keptWhole = !monochrome && framesArePointedAt;
  if (!outlook.reason.empty()) {
    return outlook;
  }
  const auto timeSlots = static_cast<unsigned>(integerOf(dataset, DCM_NumberOfTimeSlots));
  const auto rrIntervals = static_cast<unsigned>(integerOf(dataset, DCM_NumberOfRRIntervals));
  memory.requireFor(dataset);
  Zrg::MultiFrameImage image(false);
  std::string error;
  outlook.splittable = image.process(dataset, error, true);
  if (!outlook.splittable) {
    outlook.reason = error.empty() ? vectorObstacle(dataset) : error;
    return outlook;
  }
  outlook.reversed = image.isReversed();
  if (outlook.pointerKind == kGated) {
    outlook.timeSlots = timeSlots;
    outlook.rrIntervals = rrIntervals;
  }
  readVolumes(image, outlook);
  return outlook;
}

}  // namespace zrdcm
