// SPDX-License-Identifier: BSD-3-Clause
// The slice as a record, the predicates that classify items, and what the library sets up when it
// is loaded: DCMTK's registration for colour images and the set of enhanced SOP classes. Decoding,
// overlays and multi-frame datasets have files of their own.
#include "ZrSliceImage.h"

#include "decoding/SliceAttributes.h"
#include "dicom/ItemValues.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"
// Defines the object that makes DCMTK render colour; no other source file may include it.
#include "dcmtk/dcmimage/diregist.h"

#include <array>
#include <cmath>
#include <set>
#include <string>

namespace Zrg {

namespace {

// The application's own choice: the multi-frame grayscale Secondary Capture classes and MR
// Spectroscopy count as enhanced although their names do not say so.
constexpr std::array<const char*, 17> kEnhancedSopClasses = {
    "1.2.840.10008.5.1.4.1.1.2.1",     // Enhanced CT Image Storage
    "1.2.840.10008.5.1.4.1.1.2.2",     // Legacy Converted Enhanced CT Image Storage
    "1.2.840.10008.5.1.4.1.1.4.1",     // Enhanced MR Image Storage
    "1.2.840.10008.5.1.4.1.1.4.4",     // Legacy Converted Enhanced MR Image Storage
    "1.2.840.10008.5.1.4.1.1.4.3",     // Enhanced MR Color Image Storage
    "1.2.840.10008.5.1.4.1.1.6.2",     // Enhanced US Volume Storage
    "1.2.840.10008.5.1.4.1.1.12.1.1",  // Enhanced XA Image Storage
    "1.2.840.10008.5.1.4.1.1.12.2.1",  // Enhanced XRF Image Storage
    "1.2.840.10008.5.1.4.1.1.130",     // Enhanced PET Image Storage
    "1.2.840.10008.5.1.4.1.1.128.1",   // Legacy Converted Enhanced PET Image Storage
    "1.2.840.10008.5.1.4.1.1.13.1.3",  // Breast Tomosynthesis Image Storage
    "1.2.840.10008.5.1.4.1.1.7.2",     // Multi-frame Grayscale Byte Secondary Capture
    "1.2.840.10008.5.1.4.1.1.7.3",     // Multi-frame Grayscale Word Secondary Capture
    "1.2.840.10008.5.1.4.1.1.77.1.6",  // VL Whole Slide Microscopy Image Storage
    "1.2.840.10008.5.1.4.1.1.4.2",     // MR Spectroscopy Storage
    "1.2.840.10008.5.1.4.1.1.13.1.1",  // X-Ray 3D Angiographic Image Storage
    "1.2.840.10008.5.1.4.1.1.13.1.2",  // X-Ray 3D Craniofacial Image Storage
};

std::set<std::string> initEnhancedDICOMSOPClassUIDS() {
  return {kEnhancedSopClasses.begin(), kEnhancedSopClasses.end()};
}

// Built when the library is loaded, so that predicates may be asked from any thread.
const std::set<std::string> enhancedDICOMSOPClassUIDS = initEnhancedDICOMSOPClassUIDS();

using Decoding::notSet;

bool isSet(const KtVec2f& pair) {
  return !std::isnan(pair.x) && !std::isnan(pair.y);
}

bool isEnhancedSopClass(const std::string& sopClassUid) {
  return enhancedDICOMSOPClassUIDS.contains(sopClassUid);
}

}  // namespace

SliceImage::SliceImage()
    : rescale(notSet()),
      sampleOffset(std::nanf("0")),
      voiWindow(notSet()),
      pixelSpacing(notSet()) {}

// Members go in the reverse order of their declaration: the overlays first, then the buffer.
SliceImage::~SliceImage() = default;

void SliceImage::setFrameOffset(int newFrameOffset, unsigned int newBytesPerSample,
                                unsigned int newSamplesPerPixel, const KtVec3l& newExtent,
                                bool isLossy, bool isValid) {
  frameOffset = newFrameOffset;
  bytesPerSample = newBytesPerSample;
  samplesPerPixel = newSamplesPerPixel;
  extent = newExtent;
  lossy = isLossy;
  valid = isValid;
  // Deliberate: a slice that is placed carries no values of the image it was copied from, its owner
  // sets them again. Test: SliceImage.ForgetsDisplayValuesWhenItIsPlaced
  rescale = notSet();
  sampleOffset = std::nanf("0");
  voiWindow = notSet();
  pixelSpacing = notSet();
}

KtVec2f SliceImage::result_MOD_LUT() const {
  return {rescale.x, rescale.y - sampleOffset * rescale.x};
}

KtVec2f SliceImage::result_VOI_LUT() const {
  if (isSet(voiWindow)) {
    return voiWindow;
  }
  const float width = bytesPerSample < 2 ? 256.0F : 4000.0F;
  return {width / 2, width};
}

bool isMultiFrame(DcmItem& item) {
  // Deliberate: a pointer in a nested item will do, without any the frames have no order.
  // Test: IsMultiFrame.AcceptsAPointerInANestedItem
  if (!item.tagExists(DCM_FrameIncrementPointer, OFTrue)) {
    return false;
  }
  return readInt(item, DCM_NumberOfFrames).value_or(0) >= 2;
}

bool isMultiFrameVolume(DcmItem& item) {
  if (!isMultiFrame(item)) {
    return false;
  }
  // Deliberate: functional groups hold the spacing in a nested item, a dose grid stands at the top.
  // Test: IsMultiFrameVolume.RefusesGridOffsetsInANestedItem
  return item.tagExists(DCM_SpacingBetweenSlices, OFTrue) ||
         item.tagExists(DCM_GridFrameOffsetVector, OFFalse);
}

bool isEnhancedDicom(DcmItem& item) {
  const std::optional<OFString> sopClassUid = readValueText(item, DCM_SOPClassUID);
  return sopClassUid && isEnhancedSopClass(*sopClassUid) && item.tagExists(DCM_NumberOfFrames) &&
         item.tagExists(DCM_PerFrameFunctionalGroupsSequence);
}

bool isEnhancedDicomSOPClassUID(const char* sopClassUID) {
  return sopClassUID != nullptr && isEnhancedSopClass(sopClassUID);
}

}  // namespace Zrg
