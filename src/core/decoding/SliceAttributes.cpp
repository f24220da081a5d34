// SPDX-License-Identifier: BSD-3-Clause
// What a slice says besides its samples. Values are read as text, because files are careless with
// VRs.
#include "decoding/SliceAttributes.h"

#include "dicom/ImageAttributes.h"
#include "dicom/ItemValues.h"
#include "streams/TransferSyntaxes.h"

#include <wexlib/WexItemOF.h>
#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace Zrg::Decoding {

namespace {

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

}  // namespace

KtVec2f notSet() {
  return {std::nanf("0"), std::nanf("0")};
}

bool isLossy(DcmItem& item) {
  Wex::ItemOF wrapped(item);
  if (readInt(wrapped, DCM_LossyImageCompression).value_or(0) > 0) {
    return true;
  }
  return countsAsLossy(wrapped.transferSyntax());
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

void storeAttributes(SliceImage& slice, DcmItem& item, const ImageAttributes& attributes) {
  slice.extent = KtVec3l(attributes.size.columns, attributes.size.rows, attributes.frames.in16Bits);
  slice.bytesPerSample = attributes.size.bytesPerSample();
  slice.sampleOffset = 0.0F;
  slice.rescale = readRescale(item);
  slice.voiWindow = readWindow(item);
  slice.pixelSpacing = readSpacing(item);
}

}  // namespace Zrg::Decoding
