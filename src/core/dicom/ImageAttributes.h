// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dicom/FrameSize.h"
#include "dicom/Result.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctypes.h"
#include "dcmtk/dcmdata/dcxfer.h"

#include <cstdint>
#include <optional>
#include <string>

class DcmItem;
class DcmPixelData;

namespace Zrg {

/// Number of Frames, as those read it who have to agree on it. @see PS3.3 C.7.6.6.1.1
struct FrameCount {
  /// In full; 1 when it is missing, empty, 0 or no number.
  std::uint64_t inFull = 1;
  /// As SliceImage::process counts: the low 16 bits of the number, and 1 for 0.
  Uint16 in16Bits = 1;
  /// As DCMTK's decoders read it: 32 bits with a sign; 1 when it is not positive.
  std::uint64_t ofDecoders = 1;
};

/// What the Image Pixel and Multi-frame modules say of an image, and how its pixel data is stored:
/// read once, and shared by all that decode, guard or reckon. @see PS3.3 C.7.6.3, C.7.6.6
struct ImageAttributes {
  FrameSize size;  ///< 0 for what is missing
  FrameCount frames;
  std::string photometricInterpretation;  ///< as the standard spells it; empty when it is missing
  bool monochrome = false;                ///< MONOCHROME1 or MONOCHROME2
  bool isSigned = false;                  ///< Pixel Representation is 1
  /// How the pixel data holds its samples; unknown without pixel data.
  E_TransferSyntax storedSyntax = EXS_Unknown;
  /// The message for the first attribute that is missing and that no image can do without.
  std::optional<FailureText> missing;
};

/// Reads the attributes. Decoding with DCMTK may rewrite them: read them before.
///
/// @param item      the dataset, or the item that holds the pixel data; only read.
/// @param pixelData its pixel data, or null; only asked how it is stored.
[[nodiscard]] ImageAttributes readImageAttributes(DcmItem& item, DcmPixelData* pixelData);

/// Number of Frames of an item.
[[nodiscard]] FrameCount readFrameCount(DcmItem& item);

/// The transfer syntax in which pixel data holds its samples. DCMTK says Explicit VR Little Endian
/// of all that is not compressed, and of what JPEG decoders have decompressed.
[[nodiscard]] E_TransferSyntax storedSyntaxOf(DcmPixelData& pixelData);

/// The item's own pixel data element, or the message that there is none.
[[nodiscard]] Result<DcmPixelData*> findPixelData(DcmItem& item);

}  // namespace Zrg
