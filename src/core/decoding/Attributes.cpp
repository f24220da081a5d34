// SPDX-License-Identifier: BSD-3-Clause
// What decoding reads from an item before it touches a sample. Values are read as text where files
// are careless with VRs, and as numbers where the standard leaves no choice.
#include "decoding/SliceDecoding.h"

#include <wexlib/WexItemOF.h>
#include <zrdcmexport/ZrNumbers.h>
#include <zrvolren/ExDicomUtilitiesHelpers.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"
#include "dcmtk/dcmimgle/dcmimage.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace Zrg::Decoding {

namespace {

constexpr char kNoPixelData[] = "File contains no pixel data";
constexpr char kInvalidPixelData[] = "File contains invalid pixel data";
constexpr char kNoColumns[] = "File contains no pixel columns";
constexpr char kNoRows[] = "File contains no pixel rows";
constexpr char kNoBitsAllocated[] = "File contains no bits allocated";
constexpr char kNoSamplesPerPixel[] = "File contains no samples per pixel";
constexpr char kNoPhotometricInterpretation[] =
    "Dicom tag DCM_PhotometricInterpretation not found or cannot be read";

// Deliberate: deflated data counts as lossy, like every syntax that is not listed here, although no
// sample is lost. Test: SliceDecodingLossyFlag
constexpr std::array<E_TransferSyntax, 9> kLosslessTransferSyntaxes = {
    EXS_LittleEndianExplicit, EXS_BigEndianExplicit, EXS_LittleEndianImplicit,
    EXS_BigEndianImplicit,    EXS_RLELossless,       EXS_JPEGLSLossless,
    EXS_JPEGProcess14SV1,     EXS_JPEGProcess14,     EXS_JPEG2000LosslessOnly};

/// Reads a US value; sets the message when it is missing or no number.
bool requireUint16(DcmItem& item, const DcmTagKey& key, const char* message, Uint16& value,
                   std::string& errorText) {
  if (item.findAndGetUint16(key, value).bad()) {
    errorText = message;
    return false;
  }
  return true;
}

Uint16 readFrameCount(DcmItem& item) {
  OFString text;
  if (item.findAndGetOFString(DCM_NumberOfFrames, text).bad()) {
    return 1;
  }
  // Deliberate: counts are kept in 16 bits, so that 70000 frames are 4464 and 65536 are one.
  // Test: SliceDecodingFrameCount
  const auto frames = static_cast<Uint16>(intOf(text).value_or(0));
  return frames == 0 ? Uint16{1} : frames;
}

bool isMonochrome(const KtString& photometricInterpretation) {
  return photometricInterpretation == DicomImage::getString(EPI_Monochrome1) ||
         photometricInterpretation == DicomImage::getString(EPI_Monochrome2);
}

std::optional<float> readFloat(DcmItem& item, const DcmTagKey& key, unsigned long position) {
  OFString text;
  if (item.findAndGetOFString(key, text, position).bad()) {
    return std::nullopt;
  }
  return floatOf(text);
}

/// Two numbers, the first one first; nothing when one of them is missing or not a number.
std::optional<KtVec2f> readPair(DcmItem& item, const DcmTagKey& firstKey,
                                const DcmTagKey& secondKey, unsigned long secondPosition) {
  const std::optional<float> first = readFloat(item, firstKey, 0);
  if (!first) {
    return std::nullopt;
  }
  const std::optional<float> second = readFloat(item, secondKey, secondPosition);
  if (!second || std::isnan(*first) || std::isnan(*second)) {
    return std::nullopt;
  }
  return KtVec2f(*first, *second);
}

KtVec2f notSet() {
  return {std::nanf("0"), std::nanf("0")};
}

}  // namespace

DcmPixelData* findPixelData(DcmItem& item, std::string& errorText) {
  DcmElement* element = nullptr;
  if (item.findAndGetElement(DCM_PixelData, element).bad()) {
    errorText = kNoPixelData;
    return nullptr;
  }
  auto* const pixelData = dynamic_cast<DcmPixelData*>(element);
  if (pixelData == nullptr) {
    errorText = kInvalidPixelData;
  }
  return pixelData;
}

bool isLossy(DcmItem& item) {
  Wex::ItemOF wrapped(item);
  OFString text;
  if (wrapped.findAndGetOFString(DCM_LossyImageCompression, text).good() &&
      intOf(text).value_or(0) > 0) {
    return true;
  }
  const E_TransferSyntax syntax = wrapped.transferSyntax();
  return std::find(kLosslessTransferSyntaxes.begin(), kLosslessTransferSyntaxes.end(), syntax) ==
         kLosslessTransferSyntaxes.end();
}

std::optional<ImageAttributes> readImageAttributes(DcmItem& item, DcmPixelData& pixelData,
                                                   std::string& errorText) {
  ImageAttributes attributes;
  if (!requireUint16(item, DCM_Columns, kNoColumns, attributes.columns, errorText) ||
      !requireUint16(item, DCM_Rows, kNoRows, attributes.rows, errorText)) {
    return std::nullopt;
  }
  attributes.frames = readFrameCount(item);

  Uint16 samplesPerPixel = 0;  // here it only has to be there
  if (!requireUint16(item, DCM_BitsAllocated, kNoBitsAllocated, attributes.bitsAllocated,
                     errorText) ||
      !requireUint16(item, DCM_SamplesPerPixel, kNoSamplesPerPixel, samplesPerPixel, errorText)) {
    return std::nullopt;
  }
  attributes.bytesPerSample = (attributes.bitsAllocated + 7U) / 8;

  const DcmRepresentationParameter* parameter = nullptr;
  pixelData.getOriginalRepresentationKey(attributes.storedSyntax, parameter);

  if (!ExDicomUtilities::getAndFixPhotometricInterpretation(&item, attributes.storedSyntax,
                                                            attributes.photometricInterpretation)) {
    errorText = kNoPhotometricInterpretation;
    return std::nullopt;
  }
  attributes.monochrome = isMonochrome(attributes.photometricInterpretation);
  return attributes;
}

KtVec2f readRescale(DcmItem& item) {
  const std::optional<KtVec2f> rescale = readPair(item, DCM_RescaleSlope, DCM_RescaleIntercept, 0);
  return rescale && rescale->x != 0 ? *rescale : KtVec2f(1.0F, 0.0F);
}

KtVec2f readWindow(DcmItem& item) {
  return readPair(item, DCM_WindowCenter, DCM_WindowWidth, 0).value_or(notSet());
}

KtVec2f readSpacing(DcmItem& item) {
  const std::optional<KtVec2f> rowsAndColumns =
      readPair(item, DCM_PixelSpacing, DCM_PixelSpacing, 1);
  return rowsAndColumns ? KtVec2f(rowsAndColumns->y, rowsAndColumns->x) : notSet();
}

std::optional<bool> isMonochrome(DcmItem& item) {
  KtString interpretation;
  if (!ExDicomUtilities::getAndFixPhotometricInterpretation(&item, EXS_Unknown, interpretation)) {
    return std::nullopt;
  }
  return isMonochrome(interpretation);
}

FrameRange clampFrames(int firstFrame, int lastFrame, int frames) {
  if (firstFrame < 0) {
    return {0, frames - 1, frames, true};
  }
  const int first = std::min(firstFrame, frames - 1);
  const int last = std::clamp(lastFrame, first, frames - 1);
  return {first, last, last - first + 1, false};
}

}  // namespace Zrg::Decoding
