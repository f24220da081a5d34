// SPDX-License-Identifier: BSD-3-Clause
// Tables for tests, and tables as plain lists of numbers.
#pragma once

#include <ktlib/KtDArray.h>
#include <zrdcmexport/ExDicomUtilitiesLUT.h>

#include <cstdint>
#include <vector>

namespace luttest {

template <class T>
KtDArray<T> arrayOf(const std::vector<T>& values) {
  KtDArray<T> array;
  for (const T value : values) {
    array.append(value);
  }
  return array;
}

inline ExDicomUtilities::LUT table8(const std::vector<unsigned char>& values,
                                    unsigned nComponents = 1, int firstMapped = 0) {
  ExDicomUtilities::LUT lut;
  lut.set(arrayOf(values), {}, nComponents, firstMapped, false);
  return lut;
}

inline ExDicomUtilities::LUT table16(const std::vector<unsigned short>& values,
                                     unsigned nComponents = 1, int firstMapped = 0) {
  ExDicomUtilities::LUT lut;
  lut.set({}, arrayOf(values), nComponents, firstMapped, true);
  return lut;
}

/// All values of a contiguous table in order; empty for the empty table.
inline std::vector<int> valuesOf(const ExDicomUtilities::LUT& lut) {
  std::vector<int> values;
  if (lut.entries.isNull() || !lut.entries->hasData()) {
    return values;
  }
  const ZrDataAccess& entries = *lut.entries;
  const bool is8 = entries.primType() == KtPrimType::U8;
  const auto count = entries.dims().x * static_cast<long long>(entries.nDataVar());
  for (long long i = 0; i < count; ++i) {
    values.push_back(is8 ? static_cast<const std::uint8_t*>(entries.dataPtr(0))[i]
                         : static_cast<const std::uint16_t*>(entries.dataPtr(0))[i]);
  }
  return values;
}

inline long long entryCount(const ExDicomUtilities::LUT& lut) {
  return lut.entries.isNull() ? 0 : lut.entries->dims().x;
}

inline bool is8(const ExDicomUtilities::LUT& lut) {
  return lut.entries.isNotNull() && lut.entries->primType() == KtPrimType::U8;
}

inline bool is16(const ExDicomUtilities::LUT& lut) {
  return lut.entries.isNotNull() && lut.entries->primType() == KtPrimType::U16;
}

}  // namespace luttest
