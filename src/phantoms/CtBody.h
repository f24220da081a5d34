// SPDX-License-Identifier: BSD-3-Clause
// What CT cross-sections of a trunk share, drawn in Hounsfield units.
#pragma once

#include "Builder.h"
#include "Canvas.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcxfer.h"

#include <cstdint>
#include <vector>

namespace phantoms::ct {

inline constexpr std::size_t kSize = 512;  ///< columns and rows
inline constexpr double kAir = -1000;
inline constexpr double kFat = -100;
inline constexpr double kMuscle = 55;
inline constexpr double kBone = 700;
inline constexpr double kMarrow = 220;

/// The table that the body lies on.
void drawTable(Canvas& canvas);
/// Skin, fat and muscle of a trunk with half axes (rx, ry); `fat` and `muscle` are their thickness.
void drawWall(Canvas& canvas, double rx, double ry, double fat, double muscle);
/// Ribs run obliquely through the slice, so each shows as a piece of the wall.
void drawRibs(Canvas& canvas, double rx, double ry, int seed);
void drawVertebra(Canvas& canvas, Point at, double size);

/// A vessel and what forks from it.
struct Branch {
  Point from;
  double angle;
  double length;
  double width;
  int depth;  ///< how often it forks on
  std::int64_t id;
};
/// Vessels that fork until they are too thin to see, inside of the organ only.
void drawTree(Canvas& canvas, const Shape& organ, const Branch& branch, double value,
              std::uint64_t seed);

void addScannerNoise(Canvas& canvas, double sigma, std::uint64_t seed);

/// Samples of `canvas` as 12-bit words: (value - intercept), clamped to [low, high].
std::vector<std::uint16_t> twelveBits(const Canvas& canvas, double intercept, double low,
                                      double high);

/// A dataset with the attributes that both cross-sections have.
Builder ctBuilder(const char* description, unsigned number);

/// The syntaxes that keep all bits of the samples.
std::vector<E_TransferSyntax> losslessSyntaxes();

}  // namespace phantoms::ct
