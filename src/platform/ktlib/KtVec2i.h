// SPDX-License-Identifier: BSD-3-Clause
#pragma once

/// Two whole numbers: a position or a size in an image (columns, rows).
struct KtVec2i {
  int x = 0;  ///< first component
  int y = 0;  ///< second component

  /// Both components 0.
  constexpr KtVec2i() noexcept = default;
  /// The given components.
  constexpr KtVec2i(int xValue, int yValue) noexcept : x(xValue), y(yValue) {}

  /// Whether all components are equal.
  friend constexpr bool operator==(const KtVec2i& left, const KtVec2i& right) noexcept {
    return left.x == right.x && left.y == right.y;
  }
  /// Whether a component differs.
  friend constexpr bool operator!=(const KtVec2i& left, const KtVec2i& right) noexcept {
    return !(left == right);
  }
};
