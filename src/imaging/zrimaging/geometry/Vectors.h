// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cmath>

namespace zr {

/// A place or a direction in space: x, y, z; lengths in millimetres.
using Vector = std::array<double, 3>;

/// `from` moved by `distance` times `direction`.
inline Vector along(const Vector& from, const Vector& direction, double distance) {
  return {from[0] + distance * direction[0], from[1] + distance * direction[1],
          from[2] + distance * direction[2]};
}

inline double dot(const Vector& one, const Vector& other) {
  return one[0] * other[0] + one[1] * other[1] + one[2] * other[2];
}

inline double distance(const Vector& one, const Vector& other) {
  const Vector apart = along(one, other, -1);
  return std::sqrt(dot(apart, apart));
}

/// Row direction x column direction.
/// @param directions those of Image Orientation (PS3.3 C.7.6.2.1.1): of the rows, then of the
/// columns
inline Vector normalOf(const std::array<double, 6>& directions) {
  const auto& [rx, ry, rz, cx, cy, cz] = directions;
  return {ry * cz - rz * cy, rz * cx - rx * cz, rx * cy - ry * cx};
}

/// Whether a place is where even steps lead, as far as numbers written in decimals can tell.
/// @param deviation distance in millimetres between the place and where it is expected
/// @param step      length of a step in millimetres
inline bool isEven(double deviation, double step) {
  constexpr double kLeastMm = 0.01;
  constexpr double kShare = 0.001;
  return deviation <= std::fmax(kLeastMm, kShare * std::abs(step));
}

}  // namespace zr
