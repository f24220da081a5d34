// SPDX-License-Identifier: BSD-3-Clause
#pragma once

/// Three 64-bit whole numbers: the extent of a volume (columns, rows, frames) or strides in bytes.
struct KtVec3l {
  long long x = 0;  ///< first component
  long long y = 0;  ///< second component
  long long z = 0;  ///< third component

  /// All components 0.
  constexpr KtVec3l() noexcept = default;
  /// The given components.
  constexpr KtVec3l(long long xValue, long long yValue, long long zValue) noexcept
      : x(xValue), y(yValue), z(zValue) {}

  /// Whether all components are equal.
  friend constexpr bool operator==(const KtVec3l& left, const KtVec3l& right) noexcept {
    return left.x == right.x && left.y == right.y && left.z == right.z;
  }
  /// Whether a component differs.
  friend constexpr bool operator!=(const KtVec3l& left, const KtVec3l& right) noexcept {
    return !(left == right);
  }
};
