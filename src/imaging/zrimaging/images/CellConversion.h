// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ktlib/KtHandle.h>
#include <zrdcmexport/ExDicomUtilitiesLUT.h>
#include <zrdcmexport/ZrSliceImage.h>
#include <zrvolren/ZrDataAccess.h>

class DcmItem;

namespace zr {

/// The conversion of monochrome samples where the slice decoder's own does not do, with the library's
/// transform:
///
/// - a modality table whose values are not as wide as the samples, which cannot be applied in place;
/// - stored bits at the top of the sample (High Bit above Bits Stored - 1), which it takes for the
///   lowest.
///
/// Such images are decoded unconverted and sent through here.
class CellConversion {
public:
  /// Samples as they are shown: unsigned, with the modality table applied.
  struct Converted {
    KtHandle<ZrDataAccess> samples;  ///< frame after frame
    int offset = 0;                  ///< what was added to signed samples
  };

  /// Reads what it needs; call it before decoding, which may rewrite the attributes.
  explicit CellConversion(DcmItem& item);

  /// Whether the decoder cannot do it, or would do it wrongly.
  bool isNeeded() const { return tableDiffersInWidth_ || leftAligned_; }

  /// Whether the decoder would refuse the image because of its modality table.
  bool tableDiffersInWidth() const { return tableDiffersInWidth_; }

  /// Converts samples as they are stored.
  /// @param samples first sample of the first frame to convert
  /// @param extent columns, rows and frames to convert
  /// @throws std::bad_alloc when there is no room for the converted samples
  Converted convert(char* samples, const KtVec3l& extent, unsigned bytesPerSample) const;

private:
  ExDicomUtilities::LUT table_;
  bool tableDiffersInWidth_ = false;
  bool leftAligned_ = false;
  bool signed_ = false;
  unsigned bitsStored_ = 0;
  unsigned highBit_ = 0;
};

}  // namespace zr
