// SPDX-License-Identifier: BSD-3-Clause
// The loops of the sample transform: runs of samples that stand side by side in memory. Containers,
// strides and the choice of target stay with the caller. Not installed.
#pragma once

#include <ktlib/KtPrimType.h>

namespace ExDicomUtilities::detail {

/// Where the stored bits of a sample stand in its container, as the work that isolates them.
///
/// At most one of the two ways is in use; none means that all bits of the container are stored.
struct StoredBits {
  unsigned leftShift = 0;   ///< moves the highest stored bit to the top of the container
  unsigned rightShift = 0;  ///< moves the lowest stored bit to the bottom afterwards
  bool masks = false;       ///< an AND with `mask` does instead of the shifts, which are 0 then
  unsigned mask = 0;        ///< may be 0, when no bit at all is stored

  /// Whether shifts are needed.
  [[nodiscard]] bool shifts() const { return leftShift != 0 || rightShift != 0; }

  /// Finds the work for samples of an integer type.
  ///
  /// Counts that do not fit the container are cut to it: more Bits Stored than it has bits mean
  /// all of them, a High Bit above the container means its highest bit.
  /// @see PS3.5 8.1.1 (Pixel Data Encoding)
  [[nodiscard]] static StoredBits of(KtPrimType type, unsigned bitsStored, unsigned highBit);
};

/// A lookup table as the loops read it.
struct LookupTable {
  const void* values = nullptr;  ///< entries of the conversion's target type, side by side
  int entries = 0;               ///< their number, at least 1 where there is a table
  unsigned valuesPerEntry = 0;   ///< 0: no table
  int firstMapped = 0;           ///< the input that maps to entry 0
};

/// What is done to every sample.
struct SampleConversion {
  KtPrimType source = KtPrimType::U8;  ///< type of the samples
  KtPrimType target = KtPrimType::U8;  ///< type of the results, unsigned
  StoredBits bits;
  LookupTable table;
  bool keepsSign = false;  ///< results keep the sign of the samples; without a table only
};

/// Whether convertRun() knows this combination of types and table.
[[nodiscard]] bool isConvertible(const SampleConversion& conversion);

/// What the conversion adds to signed samples to make them unsigned; 0 where nothing is added.
[[nodiscard]] int signOffset(const SampleConversion& conversion);

/// Converts `count` samples that stand side by side. Does nothing unless isConvertible().
///
/// @param source  aligned for its type
/// @param target  aligned for its type; room for `count` results, three times as many when the
///                table has three values per entry. Either `source` itself, if the results have its
///                size, or memory apart from it.
/// @param count   below 1 nothing happens
void convertRun(const SampleConversion& conversion, const void* source, void* target,
                long long count);

}  // namespace ExDicomUtilities::detail
