// SPDX-License-Identifier: BSD-3-Clause
// Padding of an image:
//
//   samples    value                             limit
//   integers   Pixel Padding Value               Pixel Padding Range Limit
//   float      Float Pixel Padding Value         Float Pixel Padding Range Limit
//   double     Double Float Pixel Padding Value  Double Float Pixel Padding Range Limit
//
// A limit may be below or above the value; both are padding.
#include "zrimaging/images/Padding.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <cstdint>

namespace zr {

namespace {

// US or SS by Pixel Representation, which also decides where the VR says otherwise.
std::optional<double> integerAt(DcmItem& item, const DcmTagKey& key) {
  Uint16 word = 0;
  Sint16 signedWord = 0;
  if (item.findAndGetSint16(key, signedWord).good()) {
    word = static_cast<Uint16>(signedWord);
  } else if (item.findAndGetUint16(key, word).bad()) {
    return std::nullopt;
  }
  Uint16 representation = 0;
  (void)item.findAndGetUint16(DCM_PixelRepresentation, representation);  // 0 when it is missing
  return representation == 1 ? static_cast<double>(static_cast<std::int16_t>(word))
                             : static_cast<double>(word);
}

std::optional<double> valueAt(DcmItem& item, SampleType type, bool limit) {
  if (type == SampleType::kF32) {
    Float32 value = 0;
    return item.findAndGetFloat32(
                   limit ? DCM_FloatPixelPaddingRangeLimit : DCM_FloatPixelPaddingValue, value)
                   .good()
               ? std::optional<double>(value)
               : std::nullopt;
  }
  if (type == SampleType::kF64) {
    Float64 value = 0;
    return item.findAndGetFloat64(
                   limit ? DCM_DoubleFloatPixelPaddingRangeLimit : DCM_DoubleFloatPixelPaddingValue,
                   value)
                   .good()
               ? std::optional<double>(value)
               : std::nullopt;
  }
  return integerAt(item, limit ? DCM_PixelPaddingRangeLimit : DCM_PixelPaddingValue);
}

}  // namespace

std::optional<PaddingRange> paddingOf(DcmItem& item, const FrameTraits& traits) {
  if (item.tagExists(DCM_ModalityLUTSequence)) {
    return std::nullopt;
  }
  const std::optional<double> value = valueAt(item, traits.type, false);
  if (!value) {
    return std::nullopt;
  }
  const double limit = valueAt(item, traits.type, true).value_or(*value);
  return PaddingRange{std::min(*value, limit) + traits.sampleOffset,
                      std::max(*value, limit) + traits.sampleOffset};
}

}  // namespace zr
