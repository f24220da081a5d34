// SPDX-License-Identifier: BSD-3-Clause
// The arithmetic of contact sheets: tries tile sizes from large to small, first for a sheet that a
// screen shows whole, then for the largest sheet, and leaves out frames at last.
#include "zrimaging/pictures/SheetLayout.h"

#include <algorithm>
#include <cmath>

namespace zr {

namespace {

constexpr std::size_t kScreenSide = 1600;
constexpr std::size_t kSmallestOnScreen = 96;
constexpr std::size_t kLargestTile = 512;
constexpr std::size_t kLargestTileOfMany = 128;
constexpr double kMostEnlarged = 4;
constexpr double kLandscape = 4.0 / 3.0;
constexpr std::size_t kNarrowestSheet = 420;  // room for the lines at the top
constexpr std::size_t kTitleNeeds = 640;      // from this width on the title is large
constexpr std::size_t kWideSheet = 1800;      // likewise for the largest
constexpr std::size_t kTileStep = 8;

std::size_t ceilDivide(std::size_t a, std::size_t b) {
  return (a + b - 1) / b;
}

// One column more or less where that fills the last row better.
std::size_t fullestRows(std::size_t columns, std::size_t frames) {
  const auto empty = [frames](std::size_t count) {
    return ceilDivide(frames, count) * count - frames;
  };
  std::size_t best = std::clamp<std::size_t>(columns, 1, std::max<std::size_t>(1, frames));
  for (const std::size_t other : {best - 1, best + 1}) {
    if (other >= 1 && other <= frames && empty(other) < empty(best)) {
      best = other;
    }
  }
  return best;
}

std::size_t columnsFor(const SheetNeeds& needs, const SheetLayout& layout) {
  if (needs.wantedColumns != 0) {
    return needs.wantedColumns;
  }
  const double perRow =
      std::sqrt(static_cast<double>(needs.frames) * kLandscape *
                static_cast<double>(layout.stepY()) / static_cast<double>(layout.stepX()));
  return fullestRows(static_cast<std::size_t>(std::ceil(perRow)), needs.frames);
}

void measure(const SheetNeeds& needs, SheetLayout& layout) {
  layout.sheetWidth = std::max(kNarrowestSheet, 2 * SheetLayout::kMargin - SheetLayout::kGap +
                                                    layout.columns * layout.stepX());
  layout.titleScale = layout.sheetWidth >= kWideSheet    ? 3
                      : layout.sheetWidth >= kTitleNeeds ? 2
                                                         : 1;
  const auto lineHeight = static_cast<std::size_t>(7 * layout.titleScale + 8);
  layout.headerHeight = SheetLayout::kMargin + (needs.headerLines + 1) * lineHeight + 8;
  layout.sheetHeight =
      layout.headerHeight + layout.rows * layout.stepY() - SheetLayout::kGap + SheetLayout::kMargin;
}

SheetLayout withTiles(const SheetNeeds& needs, std::size_t side) {
  const double scale = static_cast<double>(side) / std::max(needs.frameWidth, needs.frameHeight);
  SheetLayout layout;
  layout.shown = needs.frames;
  layout.tileWidth = static_cast<std::size_t>(std::max(1.0, std::round(needs.frameWidth * scale)));
  layout.tileHeight =
      static_cast<std::size_t>(std::max(1.0, std::round(needs.frameHeight * scale)));
  layout.textScale = layout.tileWidth >= 176 ? 2 : 1;
  layout.columns = columnsFor(needs, layout);
  layout.rows = ceilDivide(needs.frames, layout.columns);
  measure(needs, layout);
  return layout;
}

bool fits(const SheetLayout& layout, std::size_t side) {
  return layout.sheetWidth <= side && layout.sheetHeight <= side;
}

// The smallest tiles, as many as there is room for.
SheetLayout withFramesLeftOut(const SheetNeeds& needs) {
  SheetNeeds fewer = needs;
  ++fewer.headerLines;  // tells that frames are left out
  SheetLayout layout = withTiles(fewer, SheetLayout::kSmallestTile);
  const std::size_t room =
      SheetLayout::kLargestSide - SheetLayout::kMargin - layout.headerHeight + SheetLayout::kGap;
  const std::size_t mostRows = room / layout.stepY();
  if (needs.wantedColumns == 0) {
    layout.columns =
        (SheetLayout::kLargestSide - 2 * SheetLayout::kMargin + SheetLayout::kGap) / layout.stepX();
  }
  layout.every = ceilDivide(needs.frames, layout.columns * mostRows);
  layout.shown = ceilDivide(needs.frames, layout.every);
  layout.rows = ceilDivide(layout.shown, layout.columns);
  measure(layout.every > 1 ? fewer : needs, layout);
  return layout;
}

}  // namespace

std::size_t SheetLayout::labelHeight() const {
  return static_cast<std::size_t>(7 * textScale + 7);
}

SheetLayout layOutSheet(const SheetNeeds& needs) {
  const double frameSide = std::max(needs.frameWidth, needs.frameHeight);
  const auto enlarged = static_cast<std::size_t>(frameSide * kMostEnlarged);
  const std::size_t largest = std::clamp(enlarged, kSmallestOnScreen, kLargestTile);
  for (std::size_t side = largest; side >= kSmallestOnScreen; side -= kTileStep) {
    const SheetLayout layout = withTiles(needs, side);
    if (fits(layout, kScreenSide)) {
      return layout;
    }
  }
  for (std::size_t side = std::min(largest, kLargestTileOfMany); side >= SheetLayout::kSmallestTile;
       side -= kTileStep) {
    const SheetLayout layout = withTiles(needs, side);
    if (fits(layout, SheetLayout::kLargestSide)) {
      return layout;
    }
  }
  return withFramesLeftOut(needs);
}

}  // namespace zr
