// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ktlib/KtHandle.h>
#include <zrdcmexport/ExDicomUtilitiesLUT.h>
#include <zrdcmexport/ZrSliceImage.h>
#include <zrvolren/ZrDataAccess.h>

class DcmItem;

namespace zrdcm {

/// A modality table whose values are not as wide as the samples: 8-bit samples and values of 16
/// bits, or the other way round. The slice decoder converts in place and refuses such images; they
/// are decoded unconverted and sent through the table here.
class ModalityTable {
public:
  /// Reads the table; call it before decoding, which may rewrite the attributes it depends on.
  explicit ModalityTable(DcmItem& item);

  /// Whether `convert` is needed because the decoder cannot do it.
  bool differsInWidth() const { return differs_; }

  /// The modality values of unconverted samples, 16 bits unsigned, frame after frame.
  /// @param samples first sample of the first frame to convert
  /// @param extent columns, rows and frames to convert
  /// @throws std::bad_alloc when there is no room for the converted samples
  KtHandle<ZrDataAccess> convert(char* samples, const KtVec3l& extent,
                                 unsigned bytesPerSample) const;

private:
  ExDicomUtilities::LUT table_;
  bool differs_ = false;
  bool signed_ = false;
  unsigned bitsStored_ = 0;
  unsigned highBit_ = 0;
};

}  // namespace zrdcm
