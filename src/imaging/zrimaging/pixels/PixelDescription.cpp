// SPDX-License-Identifier: BSD-3-Clause
#include "zrimaging/pixels/PixelDescription.h"

#include "zrimaging/Error.h"
#include "zrimaging/File.h"
#include "zrimaging/pixels/OwnReaders.h"

#include <zrdcmexport/ZrFrames.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <optional>

namespace zr {

namespace {

std::optional<unsigned> unsignedAt(DcmItem& item, const DcmTagKey& key) {
  Uint16 value = 0;
  return item.findAndGetUint16(key, value).good() ? std::optional<unsigned>(value) : std::nullopt;
}

PixelDescription::Element pixelElementOf(DcmItem& item) {
  if (!item.tagExists(DCM_PixelData)) {
    if (item.tagExists(DCM_FloatPixelData)) {
      return PixelDescription::Element::kFloatPixelData;
    }
    if (item.tagExists(DCM_DoubleFloatPixelData)) {
      return PixelDescription::Element::kDoubleFloatPixelData;
    }
  }
  return PixelDescription::Element::kPixelData;
}

bool isEncapsulated(DcmItem& item) {
  DcmElement* element = nullptr;
  if (item.findAndGetElement(DCM_PixelData, element).bad()) {
    return false;
  }
  auto* const pixelData = dynamic_cast<DcmPixelData*>(element);
  E_TransferSyntax syntax = EXS_Unknown;
  const DcmRepresentationParameter* parameter = nullptr;
  DcmPixelSequence* sequence = nullptr;
  if (pixelData == nullptr || pixelData->hasRepresentation(EXS_LittleEndianExplicit, nullptr)) {
    return false;
  }
  pixelData->getOriginalRepresentationKey(syntax, parameter);
  return pixelData->getEncapsulatedRepresentation(syntax, parameter, sequence).good() &&
         sequence != nullptr;
}

bool hasKnownWidth(const PixelDescription& pixels) {
  switch (pixels.element) {
    case PixelDescription::Element::kPixelData:
      return pixels.bitsAllocated == 1 || pixels.bitsAllocated == 8 || pixels.bitsAllocated == 16 ||
             pixels.bitsAllocated == 32;
    case PixelDescription::Element::kFloatPixelData:
      return pixels.bitsAllocated == 32;
    case PixelDescription::Element::kDoubleFloatPixelData:
      break;
  }
  return pixels.bitsAllocated == 64;
}

}  // namespace

SampleType PixelDescription::containerType() const {
  if (element != Element::kPixelData) {
    return element == Element::kFloatPixelData ? SampleType::kF32 : SampleType::kF64;
  }
  if (bitsAllocated <= 8) {
    return isSigned && bitsAllocated == 8 ? SampleType::kS8 : SampleType::kU8;
  }
  if (bitsAllocated <= 16) {
    return isSigned ? SampleType::kS16 : SampleType::kU16;
  }
  return isSigned ? SampleType::kS32 : SampleType::kU32;
}

PixelDescription readPixelDescription(const File& file) {
  DcmItem& item = file.dataset();
  PixelDescription pixels;
  pixels.element = pixelElementOf(item);
  pixels.frames = Zrg::numberOfFrames(item);
  pixels.photometricInterpretation = file.photometricInterpretation();
  pixels.transferSyntax = file.statedTransferSyntax();
  pixels.encapsulated = isEncapsulated(item);
  pixels.hasNativeFrames =
      !pixels.encapsulated || pixels.transferSyntax == kDeflatedImageFrameCompression;
  const auto rows = unsignedAt(item, DCM_Rows);
  const auto columns = unsignedAt(item, DCM_Columns);
  const auto bits = unsignedAt(item, DCM_BitsAllocated);
  const auto samples = unsignedAt(item, DCM_SamplesPerPixel);
  if (!rows || !columns || !bits || !samples || pixels.photometricInterpretation.empty()) {
    throw Error(Reason::MissingAttribute, "lacks what an image needs");
  }
  pixels.rows = *rows;
  pixels.columns = *columns;
  pixels.bitsAllocated = *bits;
  pixels.samplesPerPixel = *samples;
  pixels.bitsStored = std::min(unsignedAt(item, DCM_BitsStored).value_or(*bits), *bits);
  pixels.highBit = std::min(unsignedAt(item, DCM_HighBit).value_or(*bits - 1), *bits - 1);
  pixels.isSigned = unsignedAt(item, DCM_PixelRepresentation) == 1U;
  pixels.planesApart = unsignedAt(item, DCM_PlanarConfiguration) == 1U && *samples > 1;
  if (pixels.pixels() == 0) {
    throw Error(Reason::NoPixelData, "has an image without pixels");
  }
  if (!hasKnownWidth(pixels) || *samples == 0 || *samples > 4) {
    throw Error(Reason::Unsupported, "has samples of " + std::to_string(*bits) + " bits, " +
                                         std::to_string(*samples) +
                                         " a pixel, which are not decoded");
  }
  return pixels;
}

}  // namespace zr
