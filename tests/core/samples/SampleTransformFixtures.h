// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zrdcmexport/ExDicomUtilitiesGlobal.h>

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>
#include <vector>

/// Containers of samples for the transform, and the two ways to call it.
namespace sampletest {

using Handle = KtHandle<ZrDataAccess>;

template <class T>
constexpr KtPrimType::Code kTypeOf = std::is_same_v<T, unsigned char>    ? KtPrimType::U8
                                     : std::is_same_v<T, signed char>    ? KtPrimType::S8
                                     : std::is_same_v<T, unsigned short> ? KtPrimType::U16
                                     : std::is_same_v<T, short>          ? KtPrimType::S16
                                     : std::is_same_v<T, int>            ? KtPrimType::S32
                                                                         : KtPrimType::U32;

template <class T>
Handle samples(const std::vector<T>& values) {
  const auto count = static_cast<long long>(values.size());
  Handle container(new ZrDataAccess(KtVec3l(count, 1, 1), kTypeOf<T>, 1, KtAllocator(1)));
  if (count > 0) {
    std::memcpy(container->dataPtr(0), values.data(), values.size() * sizeof(T));
  }
  return container;
}

template <class T>
std::vector<T> valuesOf(const Handle& container) {
  const auto* const first = static_cast<const T*>(container->dataPtr(0));
  return {first, first + static_cast<std::size_t>(container->size()) / sizeof(T)};
}

struct Transformed {
  Handle container;
  int offset = -1;
};

// Converts in place, as decoding does.
inline Transformed inPlace(const Handle& source, unsigned bitsStored, unsigned highBit,
                           const ExDicomUtilities::LUT& lut = ExDicomUtilities::LUT()) {
  Transformed transformed{source};
  EXPECT_TRUE(ExDicomUtilities::extractSample_applyLUT_makeUnsigned(
                  transformed.container, transformed.container, transformed.offset, lut, true,
                  bitsStored, highBit)
                  .isOk());
  return transformed;
}

inline Transformed outOfPlace(const Handle& source, unsigned bitsStored, unsigned highBit,
                              const ExDicomUtilities::LUT& lut = ExDicomUtilities::LUT()) {
  Transformed transformed;
  EXPECT_TRUE(ExDicomUtilities::extractSample_applyLUT_makeUnsigned(source, transformed.container,
                                                                    transformed.offset, lut, false,
                                                                    bitsStored, highBit)
                  .isOk());
  return transformed;
}

}  // namespace sampletest
