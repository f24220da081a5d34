// SPDX-License-Identifier: BSD-3-Clause
// Tables over all samples that a type can hold. Not installed.
#pragma once

#include "samples/Kernels.h"

#include <vector>

namespace ExDicomUtilities::detail {

/// The result of every sample that there can be, so that shift, mask, clamp and lookup table are
/// one load. It is worth its making when the samples outnumber the values that they can take.
class DomainTable {
public:
  /// Converts every value of the source type once, by convertRun().
  ///
  /// The table stays empty where it would not pay: for few samples, for conversions without a
  /// lookup table (they are faster than any load) and for three values per 16-bit sample (half a
  /// MiB of entries, which the cache that serves one core does not hold beside the samples).
  /// @param samples how many samples are to be converted
  DomainTable(const SampleConversion& conversion, long long samples);

  /// Whether there is nothing to convert with; convertRun() does the work then.
  [[nodiscard]] bool isEmpty() const { return run_ == nullptr; }

  /// Does what detail::convertRun() does for the conversion of the constructor, with its
  /// conditions. Not to be called when empty.
  void convertRun(const void* source, void* target, long long count) const {
    run_(words_.data(), source, target, count);
  }

private:
  using Run = void (*)(const void* words, const void* source, void* target, long long count);

  // One result for each bit pattern of a sample, in containers of 1, 2, 4 or 8 bytes.
  std::vector<unsigned char> words_;
  Run run_ = nullptr;
};

}  // namespace ExDicomUtilities::detail
