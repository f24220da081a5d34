// SPDX-License-Identifier: BSD-3-Clause
// DCMTK before 3.6.9 reads a file in a transfer syntax that it does not know as Explicit VR Little
// Endian, and keeps the fragments of the pixel data. Put back as fragments of JPEG 2000, of which
// HTJ2K is a part (ITU-T T.814), they have a codec.
#include "zrcodecs/Syntaxes.h"

#include <zrcodecs/ZrCodecs.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <memory>
#include <optional>

namespace zrcodecs {

namespace {

std::optional<E_TransferSyntax> standFor(DcmMetaInfo& metaInfo) {
  OFString uid;
  if (metaInfo.findAndGetOFString(DCM_TransferSyntaxUID, uid).bad()) {
    return std::nullopt;
  }
  for (const Stand& stand : kStands) {
    if (uid == stand.uid) {
      return stand.syntax;
    }
  }
  return std::nullopt;
}

/// The fragments, if DCMTK took the pixel data for those of a syntax that it does not know.
DcmPixelSequence* fragmentsOf(DcmPixelData& pixelData) {
  E_TransferSyntax syntax = EXS_Unknown;
  const DcmRepresentationParameter* parameter = nullptr;
  pixelData.getOriginalRepresentationKey(syntax, parameter);
  DcmPixelSequence* sequence = nullptr;
  (void)pixelData.getEncapsulatedRepresentation(syntax, parameter, sequence);
  return sequence;
}

bool adopt(DcmFileFormat& file) {
  DcmMetaInfo* const metaInfo = file.getMetaInfo();
  DcmDataset* const dataset = file.getDataset();
  const auto syntax = metaInfo != nullptr ? standFor(*metaInfo) : std::nullopt;
  DcmElement* element = nullptr;
  if (!syntax || dataset == nullptr || dataset->findAndGetElement(DCM_PixelData, element).bad()) {
    return false;
  }
  auto* const pixelData = dynamic_cast<DcmPixelData*>(element);
  DcmPixelSequence* const sequence = pixelData != nullptr ? fragmentsOf(*pixelData) : nullptr;
  if (sequence == nullptr) {
    return false;
  }
  auto copy = std::make_unique<DcmPixelSequence>(*sequence);
  pixelData->putOriginalRepresentation(*syntax, nullptr, copy.release());
  dataset->updateOriginalXfer();
  return true;
}

}  // namespace

bool adoptTransferSyntax(DcmFileFormat& file) noexcept {
  try {
    return adopt(file);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

}  // namespace zrcodecs
