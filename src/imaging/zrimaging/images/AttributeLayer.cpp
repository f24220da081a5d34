// SPDX-License-Identifier: BSD-3-Clause
// The values that stand together in one place of a dataset: in the macros of a functional group, or
// flat in an item.
//
//   values        macro of an enhanced object              flat
//   rescale       Pixel Value Transformation               Rescale Slope and Intercept
//   windows       Frame VOI LUT                            Window Center and Width
//   voiTables     Frame VOI LUT                            VOI LUT Sequence
//   pixelSpacing  Pixel Measures                           Pixel Spacing
//   position      Plane Position (Patient), else (Volume)  Image Position (Patient)
//   orientation   Plane Orientation (Patient), else (Volume)  Image Orientation (Patient)
//   sliceSpacing  Pixel Measures                           Spacing Between Slices
//
// A macro is a sequence of one item in the functional groups (PS3.3 C.7.6.16).
#include "zrimaging/images/AttributeLayer.h"

#include "zrimaging/images/ItemValues.h"
#include "zrimaging/images/VoiTables.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace zr {

namespace {

bool holds(DcmItem& item, std::initializer_list<DcmTagKey> keys) {
  return std::all_of(keys.begin(), keys.end(),
                     [&item](const DcmTagKey& key) { return item.tagExistsWithValue(key); });
}

// The item that holds all of these attributes, so that none of a pair comes from elsewhere.
DcmItem* itemWith(const AttributePlace& place, const DcmTagKey& macro,
                  std::initializer_list<DcmTagKey> keys) {
  DcmItem* holder = place.item;
  if (place.macros && place.item != nullptr &&
      place.item->findAndGetSequenceItem(macro, holder, 0).bad()) {
    return nullptr;
  }
  return holder != nullptr && holds(*holder, keys) ? holder : nullptr;
}

VoiFunction functionOf(const std::string& text) {
  constexpr std::array<std::pair<std::string_view, VoiFunction>, 4> kFunctions = {{
      {"", VoiFunction::kLinear},
      {"LINEAR", VoiFunction::kLinear},
      {"LINEAR_EXACT", VoiFunction::kLinearExact},
      {"SIGMOID", VoiFunction::kSigmoid},
  }};
  for (const auto& [name, function] : kFunctions) {
    if (text == name) {
      return function;
    }
  }
  return VoiFunction::kOther;
}

std::optional<std::array<double, 2>> pixelSpacingOf(const AttributePlace& place) {
  DcmItem* const item = itemWith(place, DCM_PixelMeasuresSequence, {DCM_PixelSpacing});
  const auto rowsFirst = item == nullptr ? std::nullopt : numbersAt<2>(*item, DCM_PixelSpacing);
  if (!rowsFirst || (*rowsFirst)[0] <= 0 || (*rowsFirst)[1] <= 0) {
    return std::nullopt;
  }
  return std::array<double, 2>{(*rowsFirst)[1], (*rowsFirst)[0]};
}

std::optional<double> sliceSpacingOf(const AttributePlace& place) {
  DcmItem* const item = itemWith(place, DCM_PixelMeasuresSequence, {DCM_SpacingBetweenSlices});
  const std::optional<double> spacing =
      item == nullptr ? std::nullopt : numberAt(*item, DCM_SpacingBetweenSlices);
  return spacing && *spacing != 0 ? spacing : std::nullopt;
}

void readPlane(const AttributePlace& place, FrameAttributes& frame) {
  DcmItem* item = itemWith(place, DCM_PlanePositionSequence, {DCM_ImagePositionPatient});
  if (item != nullptr) {
    frame.position = numbersAt<3>(*item, DCM_ImagePositionPatient);
  }
  item = itemWith(place, DCM_PlaneOrientationSequence, {DCM_ImageOrientationPatient});
  if (item != nullptr) {
    frame.orientation = numbersAt<6>(*item, DCM_ImageOrientationPatient);
  }
  if (frame.position || frame.orientation || !place.macros) {
    return;
  }
  item = itemWith(place, DCM_PlanePositionVolumeSequence, {DCM_ImagePositionVolume});
  if (item != nullptr) {
    frame.position = numbersAt<3>(*item, DCM_ImagePositionVolume);
  }
  item = itemWith(place, DCM_PlaneOrientationVolumeSequence, {DCM_ImageOrientationVolume});
  if (item != nullptr) {
    frame.orientation = numbersAt<6>(*item, DCM_ImageOrientationVolume);
  }
  frame.inVolumeSpace = frame.position || frame.orientation;
}

template <class Value>
void takeIfUnknown(std::optional<Value>& value, const std::optional<Value>& other) {
  if (!value) {
    value = other;
  }
}

}  // namespace

ValueText unitNamed(const ValueText& type) {
  return type.utf8 == "US" ? ValueText{} : type;
}

std::optional<RescaleLine> rescaleOf(const AttributePlace& place) {
  DcmItem* const item = itemWith(place, DCM_PixelValueTransformationSequence,
                                 {DCM_RescaleSlope, DCM_RescaleIntercept});
  if (item == nullptr) {
    return std::nullopt;
  }
  const std::optional<double> slope = numberAt(*item, DCM_RescaleSlope);
  const std::optional<double> intercept = numberAt(*item, DCM_RescaleIntercept);
  if (!slope || !intercept || *slope == 0) {
    return std::nullopt;
  }
  ValueText unit = unitNamed(nameAt(*item, DCM_RescaleType));
  if (unit.utf8.empty()) {
    unit = nameAt(*item, DCM_Units);  // of positron emission (PS3.3 C.8.9.1)
  }
  return RescaleLine{*slope, *intercept, unit};
}

namespace {

std::vector<VoiWindow> windowsOf(const AttributePlace& place) {
  std::vector<VoiWindow> windows;
  DcmItem* const item =
      itemWith(place, DCM_FrameVOILUTSequence, {DCM_WindowCenter, DCM_WindowWidth});
  if (item == nullptr) {
    return windows;
  }
  const VoiFunction function = functionOf(textAt(*item, DCM_VOILUTFunction));
  const std::vector<ValueText> names = namesAt(*item, DCM_WindowCenterWidthExplanation);
  constexpr unsigned long kMostWindows = 16;
  for (unsigned long i = 0; i < kMostWindows; ++i) {
    const std::optional<double> centre = numberAt(*item, DCM_WindowCenter, i);
    const std::optional<double> width = numberAt(*item, DCM_WindowWidth, i);
    if (!centre || !width) {
      break;
    }
    windows.push_back({*centre, *width, function, i < names.size() ? names[i] : ValueText{}});
  }
  return windows;
}

}  // namespace

void readVoi(const AttributePlace& place, FrameAttributes& frame) {
  frame.windows = windowsOf(place);
  DcmItem* const item = itemWith(place, DCM_FrameVOILUTSequence, {DCM_VOILUTSequence});
  if (item != nullptr) {
    frame.voiTables = readVoiTables(*item);
  }
}

FrameAttributes readLayer(const AttributePlace& place) {
  FrameAttributes frame;
  frame.rescale = rescaleOf(place);
  readVoi(place, frame);
  frame.pixelSpacing = pixelSpacingOf(place);
  frame.sliceSpacing = sliceSpacingOf(place);
  readPlane(place, frame);
  return frame;
}

void addLayer(FrameAttributes& frame, const FrameAttributes& layer) {
  const bool placed = frame.position || frame.orientation;
  takeIfUnknown(frame.rescale, layer.rescale);
  takeIfUnknown(frame.pixelSpacing, layer.pixelSpacing);
  takeIfUnknown(frame.sliceSpacing, layer.sliceSpacing);
  // A position in one space has no orientation in another.
  if (!placed || frame.inVolumeSpace == layer.inVolumeSpace) {
    takeIfUnknown(frame.position, layer.position);
    takeIfUnknown(frame.orientation, layer.orientation);
    frame.inVolumeSpace = frame.inVolumeSpace || layer.inVolumeSpace;
  }
  // Windows and tables of one place are alternatives of each other.
  if (frame.windows.empty() && frame.voiTables.empty()) {
    frame.windows = layer.windows;
    frame.voiTables = layer.voiTables;
  }
}

}  // namespace zr
