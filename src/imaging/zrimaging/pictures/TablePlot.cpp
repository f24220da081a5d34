// SPDX-License-Identifier: BSD-3-Clause
// Lookup tables as curves.
#include "zrimaging/Boundary.h"
#include "zrimaging/Pictures.h"
#include "zrimaging/Tables.h"

#include <algorithm>
#include <array>

namespace zr {

namespace {

constexpr std::size_t kPlotColumns = 640;
constexpr std::size_t kPlotRows = 400;
constexpr std::size_t kMargin = 20;
constexpr std::size_t kStripRows = 24;
constexpr Colour kFrame = {160, 160, 160};
constexpr Colour kGrayCurve = {30, 30, 30};
constexpr std::array<Colour, 3> kColourCurves = {{{200, 30, 30}, {20, 140, 40}, {40, 60, 200}}};

void mark(Picture& picture, std::size_t column, std::size_t row, const Colour& colour) {
  std::copy(colour.begin(), colour.end(),
            picture.samples.begin() +
                static_cast<std::ptrdiff_t>((row * picture.columns + column) * picture.channels));
}

void markRun(Picture& picture, std::size_t column, std::size_t rowA, std::size_t rowB,
             const Colour& colour) {
  for (std::size_t row = std::min(rowA, rowB); row <= std::max(rowA, rowB); ++row) {
    mark(picture, column, row, colour);
  }
}

/// The box of one plot: its curves, and for a palette the strip under them.
struct Plot {
  std::size_t top;
  const TableValues& table;

  std::size_t left() const { return kMargin; }
  std::size_t width() const { return kPlotColumns - 2 * kMargin; }
  std::size_t curveTop() const { return top + kMargin; }
  std::size_t curveBottom() const {
    return top + kPlotRows - kMargin - (table.values == 3 ? kStripRows + kMargin : 0);
  }
  std::size_t entryAt(std::size_t x) const { return x * (table.entries() - 1) / (width() - 1); }
  std::size_t rowOf(unsigned number) const {
    const unsigned highest = (1U << table.bits) - 1U;
    return curveBottom() - (curveBottom() - curveTop()) * number / highest;
  }
};

void drawFrame(Picture& picture, const Plot& plot) {
  for (std::size_t x = 0; x < plot.width(); ++x) {
    mark(picture, plot.left() + x, plot.curveTop(), kFrame);
    mark(picture, plot.left() + x, plot.curveBottom(), kFrame);
  }
  markRun(picture, plot.left(), plot.curveTop(), plot.curveBottom(), kFrame);
  markRun(picture, plot.left() + plot.width() - 1, plot.curveTop(), plot.curveBottom(), kFrame);
}

void drawCurve(Picture& picture, const Plot& plot, std::size_t value, const Colour& colour) {
  std::size_t before = plot.rowOf(plot.table.at(0, value));
  for (std::size_t x = 0; x < plot.width(); ++x) {
    const std::size_t row = plot.rowOf(plot.table.at(plot.entryAt(x), value));
    markRun(picture, plot.left() + x, before, row, colour);
    before = row;
  }
}

void drawStrip(Picture& picture, const Plot& plot) {
  const std::size_t top = plot.curveBottom() + kMargin;
  const auto shift = static_cast<unsigned>(plot.table.bits - 8);
  for (std::size_t x = 0; x < plot.width(); ++x) {
    Colour colour{};
    for (std::size_t value = 0; value < colour.size(); ++value) {
      colour.at(value) = static_cast<unsigned char>(plot.table.at(plot.entryAt(x), value) >> shift);
    }
    markRun(picture, plot.left() + x, top, top + kStripRows - 1, colour);
  }
}

void drawPlot(Picture& picture, const Plot& plot) {
  drawFrame(picture, plot);
  if (plot.table.values == 1) {
    drawCurve(picture, plot, 0, kGrayCurve);
    return;
  }
  for (std::size_t value = 0; value < kColourCurves.size(); ++value) {
    drawCurve(picture, plot, value, kColourCurves.at(value));
  }
  drawStrip(picture, plot);
}

}  // namespace

Picture plotTables(const std::vector<TableValues>& tables) {
  return atBoundary([&] {
    Picture picture;
    picture.rows = kPlotRows * tables.size();
    picture.columns = kPlotColumns;
    picture.channels = 3;
    picture.samples.assign(picture.rows * picture.columns * picture.channels, 255);
    std::size_t top = 0;
    for (const TableValues& table : tables) {
      drawPlot(picture, Plot{top, table});
      top += kPlotRows;
    }
    return picture;
  });
}

}  // namespace zr
