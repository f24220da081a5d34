// SPDX-License-Identifier: BSD-3-Clause
#pragma once

/// Two single-precision numbers, such as slope and intercept or centre and width.
struct KtVec2f {
  float x = 0;  ///< first component
  float y = 0;  ///< second component

  /// Both components 0.
  constexpr KtVec2f() noexcept = default;
  /// The given components.
  constexpr KtVec2f(float xValue, float yValue) noexcept : x(xValue), y(yValue) {}

  /// Whether all components are equal; a NaN equals nothing, itself included.
  friend constexpr bool operator==(const KtVec2f& left, const KtVec2f& right) noexcept {
    return left.x == right.x && left.y == right.y;
  }
  /// Whether a component differs.
  friend constexpr bool operator!=(const KtVec2f& left, const KtVec2f& right) noexcept {
    return !(left == right);
  }
};
