// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Samples.h"

#include <ktlib/KtHandle.h>
#include <ktlib/KtVec3l.h>
#include <zrdcmexport/ExDicomUtilitiesLUT.h>
#include <zrvolren/ZrDataAccess.h>

#include <cstddef>

class DcmItem;

namespace zr {

/// What makes samples that are shown of monochrome samples that are stored: the stored bits alone,
/// unsigned, mapped by the modality LUT where there is one. The library's transform does the work.
class SampleTransform {
public:
  /// Reads what it needs.
  /// @param bytesPerSample of stored samples: 1 or 2
  SampleTransform(DcmItem& item, std::size_t bytesPerSample);

  /// Type of the results.
  SampleType type() const { return type_; }
  /// What is added to signed samples.
  int offset() const { return offset_; }
  /// Whether results have the width of the samples, so that they may take their place.
  bool keepsWidth() const { return bytesOf(type_) == bytesPerSample_; }

  /// Transforms samples where they are; for results of their width.
  void apply(const KtVec3l& extent, void* samples) const;

  /// Transforms samples into other memory.
  /// @param target receives as many samples of `type()`
  void apply(const KtVec3l& extent, void* samples, void* target) const;

private:
  KtHandle<ZrDataAccess> source(const KtVec3l& extent, void* samples) const;
  int transform(const KtHandle<ZrDataAccess>& source, KtHandle<ZrDataAccess>& target,
                bool inPlace) const;

  ExDicomUtilities::LUT table_;
  std::size_t bytesPerSample_;
  bool signed_ = false;
  unsigned bitsStored_ = 0;
  unsigned highBit_ = 0;
  SampleType type_ = SampleType::kU8;
  int offset_ = 0;
};

}  // namespace zr
