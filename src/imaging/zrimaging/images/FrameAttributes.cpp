// SPDX-License-Identifier: BSD-3-Clause
// Where the values of a frame stand:
//
//   values        macro of an enhanced object                   other objects, at the top level
//   rescale       Pixel Value Transformation                    Rescale Slope and Intercept; dose: Dose Grid Scaling
//   windows       Frame VOI LUT                                 Window Center and Width
//   pixelSpacing  Pixel Measures                                Pixel Spacing
//   position      Plane Position (Patient), else (Volume)       Image Position; dose: with the frame's offset
//   orientation   Plane Orientation (Patient), else (Volume)    Image Orientation
//   sliceSpacing  Pixel Measures                                Spacing Between Slices; dose: step of the grid
//
// A macro is a sequence of one item in the functional groups. The values that stand in the macros of an
// item are read as one layer, those that lie flat in it as another, and a frame takes each value from
// the first layer that has it. Names come in UTF-8, codes and numbers as they stand. The layers of the shared item are read once, whatever the number of
// frames, and texts and lists are cut to what is sensible: no file can make the reading expensive.
#include "zrimaging/images/FrameAttributes.h"

#include "zrimaging/texts/CharacterSet.h"

#include <zrdcmexport/ExDicomUtilitiesLUT.h>
#include <zrdcmexport/ZrNumbers.h>
#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

namespace zr {

namespace {

using Triple = std::array<double, 3>;

/// Where the attributes of a layer stand.
struct Place {
  DcmItem* item = nullptr;  ///< null is a layer without values
  bool macros = false;      ///< in sequences within the item
};

// 64 characters of four bytes: no code, number or name may have more.
constexpr std::size_t kMostBytes = 256;

std::string textAt(DcmItem& item, const DcmTagKey& key, unsigned long position = 0) {
  OFString text;
  return item.findAndGetOFString(key, text, position).good() ? text.substr(0, kMostBytes) : "";
}

std::string cutBetweenCharacters(const std::string& utf8) {
  std::size_t size = std::min(utf8.size(), kMostBytes);
  while (size > 0 && size < utf8.size() &&
         (static_cast<unsigned char>(utf8[size]) & 0xC0U) == 0x80U) {
    --size;
  }
  return utf8.substr(0, size);
}

// The values of an attribute as people read them.
std::vector<ValueText> namesAt(DcmItem& item, const DcmTagKey& key) {
  DcmElement* element = nullptr;
  std::vector<ValueText> names;
  if (item.findAndGetElement(key, element).bad()) {
    return names;
  }
  const Utf8Text texts = utf8Of(item, *element).value_or(Utf8Text{});
  for (const std::string& text : texts.values) {
    // Backslashes of the file part values: one within a value is of an escape.
    const bool escaped = texts.escaped && text.find('\\') != std::string::npos;
    names.push_back({cutBetweenCharacters(text), escaped});
  }
  return names;
}

ValueText nameAt(DcmItem& item, const DcmTagKey& key) {
  const std::vector<ValueText> names = namesAt(item, key);
  return names.empty() ? ValueText{} : names.front();
}

std::optional<double> numberAt(DcmItem& item, const DcmTagKey& key, unsigned long position = 0) {
  DcmElement* element = nullptr;
  if (item.findAndGetElement(key, element).bad()) {
    return std::nullopt;
  }
  std::optional<double> number;
  if (element->ident() == EVR_FD) {
    Float64 value = 0;
    number = element->getFloat64(value, position).good() ? std::optional(value) : std::nullopt;
  } else {
    number = Zrg::doubleOf(textAt(item, key, position));
  }
  return number && std::isfinite(*number) ? number : std::nullopt;
}

// The numbers that an attribute begins with; nothing unless all of them are there.
template <std::size_t Count>
std::optional<std::array<double, Count>> numbersAt(DcmItem& item, const DcmTagKey& key) {
  std::array<double, Count> numbers{};
  for (std::size_t i = 0; i < Count; ++i) {
    const std::optional<double> number = numberAt(item, key, i);
    if (!number) {
      return std::nullopt;
    }
    numbers.at(i) = *number;
  }
  return numbers;
}

bool holds(DcmItem& item, std::initializer_list<DcmTagKey> keys) {
  return std::all_of(keys.begin(), keys.end(),
                     [&item](const DcmTagKey& key) { return item.tagExistsWithValue(key); });
}

// The item that holds all of these attributes, so that none of a pair comes from elsewhere.
DcmItem* holderOf(const Place& place, const DcmTagKey& macro,
                  std::initializer_list<DcmTagKey> keys) {
  DcmItem* holder = place.item;
  if (place.macros && place.item != nullptr &&
      place.item->findAndGetSequenceItem(macro, holder, 0).bad()) {
    return nullptr;
  }
  return holder != nullptr && holds(*holder, keys) ? holder : nullptr;
}

// US stands for "unspecified" (PS3.3 C.11.1.1.2), which says as much as nothing.
ValueText unitNamed(const ValueText& type) {
  return type.utf8 == "US" ? ValueText{} : type;
}

std::optional<RescaleLine> rescaleOf(const Place& place) {
  DcmItem* const item = holderOf(place, DCM_PixelValueTransformationSequence,
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

std::vector<VoiWindow> windowsOf(const Place& place) {
  std::vector<VoiWindow> windows;
  DcmItem* const item =
      holderOf(place, DCM_FrameVOILUTSequence, {DCM_WindowCenter, DCM_WindowWidth});
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

std::optional<std::array<double, 2>> pixelSpacingOf(const Place& place) {
  DcmItem* const item = holderOf(place, DCM_PixelMeasuresSequence, {DCM_PixelSpacing});
  const auto rowsFirst = item == nullptr ? std::nullopt : numbersAt<2>(*item, DCM_PixelSpacing);
  if (!rowsFirst || (*rowsFirst)[0] <= 0 || (*rowsFirst)[1] <= 0) {
    return std::nullopt;
  }
  return std::array<double, 2>{(*rowsFirst)[1], (*rowsFirst)[0]};
}

std::optional<double> sliceSpacingOf(const Place& place) {
  DcmItem* const item = holderOf(place, DCM_PixelMeasuresSequence, {DCM_SpacingBetweenSlices});
  const std::optional<double> spacing =
      item == nullptr ? std::nullopt : numberAt(*item, DCM_SpacingBetweenSlices);
  return spacing && *spacing != 0 ? spacing : std::nullopt;
}

void readPlane(const Place& place, FrameAttributes& frame) {
  DcmItem* item = holderOf(place, DCM_PlanePositionSequence, {DCM_ImagePositionPatient});
  if (item != nullptr) {
    frame.position = numbersAt<3>(*item, DCM_ImagePositionPatient);
  }
  item = holderOf(place, DCM_PlaneOrientationSequence, {DCM_ImageOrientationPatient});
  if (item != nullptr) {
    frame.orientation = numbersAt<6>(*item, DCM_ImageOrientationPatient);
  }
  if (frame.position || frame.orientation || !place.macros) {
    return;
  }
  item = holderOf(place, DCM_PlanePositionVolumeSequence, {DCM_ImagePositionVolume});
  if (item != nullptr) {
    frame.position = numbersAt<3>(*item, DCM_ImagePositionVolume);
  }
  item = holderOf(place, DCM_PlaneOrientationVolumeSequence, {DCM_ImageOrientationVolume});
  if (item != nullptr) {
    frame.orientation = numbersAt<6>(*item, DCM_ImageOrientationVolume);
  }
  frame.inVolumeSpace = frame.position || frame.orientation;
}

FrameAttributes readLayer(const Place& place) {
  FrameAttributes frame;
  frame.rescale = rescaleOf(place);
  frame.windows = windowsOf(place);
  frame.pixelSpacing = pixelSpacingOf(place);
  frame.sliceSpacing = sliceSpacingOf(place);
  readPlane(place, frame);
  return frame;
}

template <class Value>
void takeIfUnknown(std::optional<Value>& value, const std::optional<Value>& other) {
  if (!value) {
    value = other;
  }
}

// What the frame does not know yet.
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
  if (frame.windows.empty()) {
    frame.windows = layer.windows;
  }
}

DcmSequenceOfItems* sequenceAt(DcmItem& item, const DcmTagKey& key) {
  DcmSequenceOfItems* sequence = nullptr;
  return item.findAndGetSequence(key, sequence).good() ? sequence : nullptr;
}

// The sequence is a list: an item by its number costs a walk, so they are collected in one.
std::vector<DcmItem*> itemsOf(DcmSequenceOfItems* sequence) {
  std::vector<DcmItem*> items;
  if (sequence != nullptr) {
    for (DcmObject* object = sequence->nextInContainer(nullptr); object != nullptr;
         object = sequence->nextInContainer(object)) {
      items.push_back(dynamic_cast<DcmItem*>(object));
    }
  }
  return items;
}

// Secondary captures of several frames may have functional groups, and have their line and window at
// the top level all the same (PS3.3 C.8.6.3).
bool isSecondaryCapture(const std::string& sopClass) {
  return sopClass == UID_MultiframeGrayscaleByteSecondaryCaptureImageStorage ||
         sopClass == UID_MultiframeGrayscaleWordSecondaryCaptureImageStorage;
}

void readEnhanced(DcmItem& dataset, std::size_t count, ImageFrames& image) {
  const std::vector<DcmItem*> shared =
      itemsOf(sequenceAt(dataset, DCM_SharedFunctionalGroupsSequence));
  const std::vector<DcmItem*> own =
      itemsOf(sequenceAt(dataset, DCM_PerFrameFunctionalGroupsSequence));
  DcmItem* const sharedItem = shared.empty() ? nullptr : shared.front();
  const FrameAttributes sharedMacros = readLayer({sharedItem, true});
  const FrameAttributes sharedFlat = readLayer({sharedItem, false});
  FrameAttributes top;
  if (isSecondaryCapture(textAt(dataset, DCM_SOPClassUID))) {
    top.rescale = rescaleOf({&dataset, false});
    top.windows = windowsOf({&dataset, false});
  }
  image.frames.resize(count);
  for (std::size_t number = 0; number < count; ++number) {
    if (!own.empty() && number >= own.size()) {
      break;  // nobody knows whose items are missing
    }
    DcmItem* const ownItem = own.empty() ? nullptr : own[number];
    FrameAttributes& frame = image.frames[number];
    frame = readLayer({ownItem, true});
    addLayer(frame, sharedMacros);
    addLayer(frame, readLayer({ownItem, false}));
    addLayer(frame, sharedFlat);
    addLayer(frame, top);
  }
}

Triple normalOf(const std::array<double, 6>& directions) {
  const auto& [rx, ry, rz, cx, cy, cz] = directions;
  return {ry * cz - rz * cy, rz * cx - rx * cz, rx * cy - ry * cx};
}

Triple along(const Triple& from, const Triple& direction, double distance) {
  return {from[0] + distance * direction[0], from[1] + distance * direction[1],
          from[2] + distance * direction[2]};
}

double dot(const Triple& one, const Triple& other) {
  return one[0] * other[0] + one[1] * other[1] + one[2] * other[2];
}

double distance(const Triple& one, const Triple& other) {
  const Triple apart = along(one, other, -1);
  return std::sqrt(dot(apart, apart));
}

// Places that step evenly, as far as numbers written in decimals can.
bool isEven(double deviation, double step) {
  constexpr double kLeastMm = 0.01;
  constexpr double kShare = 0.001;
  return deviation <= std::max(kLeastMm, kShare * std::abs(step));
}

std::vector<double> gridOffsets(DcmItem& dataset) {
  std::vector<double> offsets;
  OFString texts;
  (void)dataset.findAndGetOFStringArray(DCM_GridFrameOffsetVector, texts);  // empty when missing
  std::istringstream values(texts);
  for (std::string text; std::getline(values, text, '\\');) {
    const std::optional<double> offset = Zrg::doubleOf(text);
    if (!offset || !std::isfinite(*offset)) {
      return {};
    }
    offsets.push_back(*offset);
  }
  return offsets;
}

std::optional<double> stepOf(const std::vector<double>& offsets) {
  if (offsets.size() < 2) {
    return std::nullopt;
  }
  const double step = (offsets.back() - offsets.front()) / static_cast<double>(offsets.size() - 1);
  for (std::size_t i = 0; i < offsets.size(); ++i) {
    if (!isEven(std::abs(offsets[i] - offsets.front() - static_cast<double>(i) * step), step)) {
      return std::nullopt;
    }
  }
  return step != 0 ? std::optional(step) : std::nullopt;
}

// Offsets that begin with 0 are distances from the first frame, along the normal; others are the
// frames' z in the patient, of transverse grids (PS3.3 C.8.8.3.2).
std::optional<Triple> placeInGrid(const FrameAttributes& first, const std::vector<double>& offsets,
                                  std::size_t number) {
  if (!first.position || !first.orientation || number >= offsets.size()) {
    return std::nullopt;
  }
  const Triple normal = normalOf(*first.orientation);
  if (offsets.front() == 0) {
    return along(*first.position, normal, offsets[number]);
  }
  constexpr double kTransverse = 0.999999;
  if (std::abs(normal[2]) < kTransverse) {
    return std::nullopt;
  }
  return Triple{(*first.position)[0], (*first.position)[1], offsets[number]};
}

bool isDoseGrid(DcmItem& dataset) {
  return textAt(dataset, DCM_SOPClassUID) == UID_RTDoseStorage ||
         dataset.tagExists(DCM_DoseGridScaling);
}

std::optional<RescaleLine> doseLine(DcmItem& dataset) {
  const std::optional<double> scaling = numberAt(dataset, DCM_DoseGridScaling);
  if (!scaling || *scaling == 0) {
    return std::nullopt;
  }
  const ValueText units = nameAt(dataset, DCM_DoseUnits);
  return RescaleLine{*scaling, 0, units.utf8 == "GY" ? ValueText{"Gy"} : units};
}

void readClassic(DcmItem& dataset, std::size_t count, ImageFrames& image) {
  FrameAttributes all = readLayer({&dataset, false});
  if (!all.sliceSpacing) {
    all.sliceSpacing = stepOf(gridOffsets(dataset));
  }
  image.frames.assign(count, all);
  for (std::size_t number = 1; number < count; ++number) {
    image.frames[number].position.reset();
  }
}

void readDoseGrid(DcmItem& dataset, std::size_t count, ImageFrames& image) {
  FrameAttributes all = readLayer({&dataset, false});
  all.rescale = doseLine(dataset);
  const std::vector<double> offsets = gridOffsets(dataset);
  if (const std::optional<double> step = stepOf(offsets)) {
    all.sliceSpacing = step;
  }
  image.frames.assign(count, all);
  for (std::size_t number = 0; number < count && count > 1; ++number) {
    image.frames[number].position = placeInGrid(all, offsets, number);
  }
}

bool hasModalityTable(DcmItem& dataset) {
  ExDicomUtilities::LUT table;
  ExDicomUtilities::LUT::dcmDatasetRead(table, dataset, false);
  return table.entries.isNotNull() && table.entries->hasData();
}

bool isAngiographyOrFluoroscopy(DcmItem& dataset) {
  constexpr std::array<const char*, 5> kClasses = {
      UID_XRayAngiographicImageStorage, UID_XRayRadiofluoroscopicImageStorage,
      UID_EnhancedXAImageStorage, UID_EnhancedXRFImageStorage,
      UID_RETIRED_XRayAngiographicBiPlaneImageStorage};
  const std::string sopClass = textAt(dataset, DCM_SOPClassUID);
  if (sopClass.empty()) {
    const std::string modality = textAt(dataset, DCM_Modality);
    return modality == "XA" || modality == "RF";
  }
  return std::any_of(kClasses.begin(), kClasses.end(),
                     [&sopClass](const char* known) { return sopClass == known; });
}

bool agreeInPlane(const FrameAttributes& one, const FrameAttributes& other) {
  return one.position && other.position && one.orientation == other.orientation &&
         one.inVolumeSpace == other.inVolumeSpace;
}

// By their positions, which all frames have.
std::optional<double> stepBetween(const std::vector<const FrameAttributes*>& frames) {
  const Triple& first = *frames.front()->position;
  const auto steps = static_cast<double>(frames.size() - 1);
  const Triple whole = along(*frames.back()->position, first, -1);
  const Triple step = {whole[0] / steps, whole[1] / steps, whole[2] / steps};
  const double length = std::sqrt(dot(step, step));
  const double forward = dot(step, normalOf(*frames.front()->orientation));
  for (std::size_t i = 0; i < frames.size(); ++i) {
    const Triple expected = along(first, step, static_cast<double>(i));
    if (!isEven(distance(*frames[i]->position, expected), length)) {
      return std::nullopt;
    }
  }
  // Steps within the plane of the frames are no distance between planes.
  constexpr double kLeastSlope = 0.1;
  if (!(length > 0) || std::abs(forward) < kLeastSlope * length) {
    return std::nullopt;
  }
  constexpr double kParts = 1e9;  // of a millimetre: what is finer comes from adding doubles
  return std::copysign(std::round(length * kParts) / kParts, forward);
}

}  // namespace

ImageFrames readFrameAttributes(DcmItem& dataset, std::size_t frames) {
  ImageFrames image;
  image.enhanced = dataset.tagExists(DCM_SharedFunctionalGroupsSequence) ||
                   dataset.tagExists(DCM_PerFrameFunctionalGroupsSequence) ||
                   Zrg::isEnhancedDicomSOPClassUID(textAt(dataset, DCM_SOPClassUID).c_str());
  if (image.enhanced) {
    readEnhanced(dataset, frames, image);
  } else if (isDoseGrid(dataset)) {
    readDoseGrid(dataset, frames, image);
  } else {
    readClassic(dataset, frames, image);
  }
  image.modalityTable = hasModalityTable(dataset);
  image.tableKeptOutOfDisplay = image.modalityTable && isAngiographyOrFluoroscopy(dataset);
  if (image.modalityTable) {
    DcmItem* item = nullptr;
    (void)dataset.findAndGetSequenceItem(DCM_ModalityLUTSequence, item, 0);  // null tells as much
    const ValueText unit =
        item == nullptr ? ValueText{} : unitNamed(nameAt(*item, DCM_ModalityLUTType));
    for (FrameAttributes& frame : image.frames) {
      frame.rescale = RescaleLine{1, 0, unit};
    }
  }
  return image;
}

bool keepTableOutOfDisplay(DcmItem& dataset) {
  return isAngiographyOrFluoroscopy(dataset) &&
         dataset.findAndDeleteElement(DCM_ModalityLUTSequence).good();
}

std::optional<double> frameSpacingMm(const ImageFrames& image,
                                     const std::vector<std::size_t>& numbers) {
  std::vector<const FrameAttributes*> frames;
  frames.reserve(numbers.size());
  for (const std::size_t number : numbers) {
    frames.push_back(&image.frames.at(number));
  }
  if (frames.empty()) {
    return std::nullopt;
  }
  const FrameAttributes& first = *frames.front();
  const bool placed = first.orientation &&
                      std::all_of(frames.begin(), frames.end(),
                                  [&](const auto* frame) { return agreeInPlane(first, *frame); });
  if (placed && frames.size() > 1) {
    return stepBetween(frames);
  }
  const bool said = std::all_of(frames.begin(), frames.end(), [&](const auto* frame) {
    return frame->sliceSpacing == first.sliceSpacing;
  });
  return said ? first.sliceSpacing : std::nullopt;
}

}  // namespace zr
