// SPDX-License-Identifier: BSD-3-Clause
// The attributes of an image, in the order in which they are missed.
#include "dicom/ImageAttributes.h"

#include "dicom/ItemValues.h"

#include <ktlib/KtString.h>
#include <zrvolren/ExDicomUtilitiesHelpers.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"
#include "dcmtk/dcmimgle/dcmimage.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace Zrg {

namespace {

constexpr char kFileHasNoPixelData[] = "File contains no pixel data";
constexpr char kFileHasInvalidPixelData[] = "File contains invalid pixel data";
constexpr char kFileHasNoColumns[] = "File contains no pixel columns";
constexpr char kFileHasNoRows[] = "File contains no pixel rows";
constexpr char kFileHasNoBitsAllocated[] = "File contains no bits allocated";
constexpr char kFileHasNoSamplesPerPixel[] = "File contains no samples per pixel";
constexpr char kNoPhotometricInterpretation[] =
    "Dicom tag DCM_PhotometricInterpretation not found or cannot be read";

/// Reads attributes of VR US and remembers the first one that is missing.
class AttributeReader {
public:
  AttributeReader(DcmItem& item, ImageAttributes& attributes)
      : item_(item), attributes_(attributes) {}

  void require(const DcmTagKey& key, const char* message, Uint16& value) {
    const std::optional<Uint16> found = readUint16(item_, key);
    value = found.value_or(0);
    miss(!found, message);
  }

  void requirePhotometricInterpretation() {
    KtString interpretation;
    miss(!ExDicomUtilities::getAndFixPhotometricInterpretation(&item_, attributes_.storedSyntax,
                                                               interpretation),
         kNoPhotometricInterpretation);
    attributes_.photometricInterpretation = interpretation.str();
  }

private:
  void miss(bool isMissing, const char* message) {
    if (isMissing && !attributes_.missing) {
      attributes_.missing = FailureText{message};
    }
  }

  DcmItem& item_;
  ImageAttributes& attributes_;
};

std::uint64_t countInFull(std::string_view digits) {
  digits.remove_prefix(std::min(digits.find_first_not_of(" +"), digits.size()));
  std::uint64_t frames = 0;
  (void)std::from_chars(digits.data(), digits.data() + digits.size(), frames);  // else it stays 0
  return std::max<std::uint64_t>(frames, 1);
}

}  // namespace

FrameCount readFrameCount(DcmItem& item) {
  FrameCount count;
  const std::optional<OFString> text = readValueText(item, DCM_NumberOfFrames);
  if (!text) {
    return count;
  }
  count.inFull = countInFull({text->data(), text->size()});
  // Deliberate: 70000 frames are 4464 here, and 65536 are one. Test: SliceDecodingFrameCount
  count.in16Bits = std::max<Uint16>(static_cast<Uint16>(intOf(*text).value_or(0)), 1);
  Sint32 ofDecoders = 0;
  if (item.findAndGetSint32(DCM_NumberOfFrames, ofDecoders).good() && ofDecoders > 0) {
    count.ofDecoders = static_cast<std::uint64_t>(ofDecoders);
  }
  return count;
}

E_TransferSyntax storedSyntaxOf(DcmPixelData& pixelData) {
  E_TransferSyntax syntax = EXS_Unknown;
  const DcmRepresentationParameter* parameter = nullptr;
  pixelData.getOriginalRepresentationKey(syntax, parameter);
  return syntax;
}

Result<DcmPixelData*> findPixelData(DcmItem& item) {
  DcmElement* const element = topLevelElement(item, DCM_PixelData);
  if (element == nullptr) {
    return FailureText{kFileHasNoPixelData};
  }
  auto* const pixelData = dynamic_cast<DcmPixelData*>(element);
  if (pixelData == nullptr) {
    return FailureText{kFileHasInvalidPixelData};
  }
  return pixelData;
}

ImageAttributes readImageAttributes(DcmItem& item, DcmPixelData* pixelData) {
  ImageAttributes attributes;
  if (pixelData != nullptr) {
    attributes.storedSyntax = storedSyntaxOf(*pixelData);
  }
  AttributeReader reader(item, attributes);
  reader.require(DCM_Columns, kFileHasNoColumns, attributes.size.columns);
  reader.require(DCM_Rows, kFileHasNoRows, attributes.size.rows);
  reader.require(DCM_BitsAllocated, kFileHasNoBitsAllocated, attributes.size.bitsAllocated);
  reader.require(DCM_SamplesPerPixel, kFileHasNoSamplesPerPixel, attributes.size.samplesPerPixel);
  reader.requirePhotometricInterpretation();

  attributes.frames = readFrameCount(item);
  attributes.size.bitsStored = readUint16(item, DCM_BitsStored).value_or(0);
  attributes.isSigned = readUint16(item, DCM_PixelRepresentation) == Uint16{1};
  attributes.monochrome =
      attributes.photometricInterpretation == DicomImage::getString(EPI_Monochrome1) ||
      attributes.photometricInterpretation == DicomImage::getString(EPI_Monochrome2);
  return attributes;
}

}  // namespace Zrg
