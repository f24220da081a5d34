// SPDX-License-Identifier: BSD-3-Clause
#include "CtBody.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace phantoms::ct {

namespace {

Shape body(double rx, double ry) {
  // Flat at the back, where it lies on the table, and a little square.
  return outline({{0, -ry},
                  {0.45 * rx, -0.95 * ry},
                  {0.85 * rx, -0.62 * ry},
                  {rx, -0.02 * ry},
                  {0.9 * rx, 0.6 * ry},
                  {0.55 * rx, 0.92 * ry},
                  {0.08 * rx, 0.93 * ry},
                  {0, 0.9 * ry},
                  {-0.08 * rx, 0.93 * ry},
                  {-0.55 * rx, 0.92 * ry},
                  {-0.9 * rx, 0.6 * ry},
                  {-rx, -0.02 * ry},
                  {-0.85 * rx, -0.62 * ry},
                  {-0.45 * rx, -0.95 * ry}});
}

}  // namespace

void drawTable(Canvas& canvas) {
  const Shape top = rim(ellipse({0, -0.55}, 1.5, 1.36), 0.012);
  const Shape inField{[](Point p) { return std::max(std::abs(p.x) - 0.86, 0.5 - p.y); }};
  canvas.fill(both(top, inField), -350);
  canvas.fill(both(rim(ellipse({0, -0.55}, 1.5, 1.43), 0.008), inField), -450);
}

void drawWall(Canvas& canvas, double rx, double ry, double fat, double muscle) {
  const Shape trunk = body(rx, ry);
  canvas.fill(trunk, 20);
  canvas.fill(
      grown(trunk, -0.012),
      [](Point p) { return kFat + 14 * fractalNoise(p.x * 18, p.y * 18, 21, 3); }, 0.01);
  canvas.fill(
      grown(trunk, -0.012 - fat),
      [](Point p) { return kMuscle + 30 * fractalNoise(p.x * 26, p.y * 26, 22, 2); }, 0.012);
  canvas.fill(grown(trunk, -0.012 - fat - muscle), kFat + 10, 0.012);
}

void drawRibs(Canvas& canvas, double rx, double ry, int seed) {
  constexpr int kRibs = 11;
  for (int i = 0; i < kRibs; ++i) {
    for (const double side : {-1.0, 1.0}) {
      const double jitter =
          0.06 * (hash(i, side > 0 ? 1 : 0, static_cast<std::uint64_t>(seed)) - 0.5);
      const double from = -1.12 + 0.235 * i + jitter;
      const double span = i % 2 == 0 ? 0.15 : 0.1;
      const Point a{side * rx * std::cos(from), ry * std::sin(from)};
      const Point b{side * rx * std::cos(from + span), ry * std::sin(from + span)};
      canvas.fill(stroke(a, b, 0.026, 0.023), kBone + 150);
      canvas.fill(stroke(a, b, 0.013, 0.011), kMarrow, 0.01);
    }
  }
}

void drawVertebra(Canvas& canvas, Point at, double size) {
  const auto place = [&](double x, double y) { return Point{at.x + size * x, at.y + size * y}; };
  const Shape vertebralBody = without(ellipse(place(0, 0), size, 0.8 * size),
                                      ellipse(place(0, 0.95 * 1.05), 0.55 * size, 0.32 * size));
  const Shape arch = either(stroke(place(-0.55, 0.7), place(0, 1.75), 0.2 * size, 0.17 * size),
                            stroke(place(0.55, 0.7), place(0, 1.75), 0.2 * size, 0.17 * size));
  const Shape processes =
      either(stroke(place(0, 1.7), place(0, 2.7), 0.16 * size, 0.1 * size),
             either(stroke(place(-0.6, 1.1), place(-1.55, 1.45), 0.2 * size, 0.14 * size),
                    stroke(place(0.6, 1.1), place(1.55, 1.45), 0.2 * size, 0.14 * size)));
  canvas.fill(either(arch, processes), kBone);
  canvas.fill(grown(processes, -0.07 * size), kMarrow + 120);
  canvas.fill(vertebralBody, kBone);
  canvas.fill(
      grown(vertebralBody, -0.09 * size),
      [](Point p) { return kMarrow + 70 * fractalNoise(p.x * 70, p.y * 70, 11, 2); }, 0.05 * size);
  canvas.fill(ellipse(place(0, 1.12), 0.46 * size, 0.38 * size), 15, 0.03 * size);
  canvas.fill(ellipse(place(0, 1.12), 0.24 * size, 0.19 * size), 40, 0.05 * size);
}

void drawTree(Canvas& canvas, const Shape& organ, const Branch& branch, double value,
              std::uint64_t seed) {
  const double bend = 0.35 * (hash(branch.id, branch.depth, seed) - 0.5);
  const Point to{branch.from.x + branch.length * std::cos(branch.angle + bend),
                 branch.from.y + branch.length * std::sin(branch.angle + bend)};
  const double endWidth = 0.72 * branch.width;
  canvas.fill(both(stroke(branch.from, to, branch.width, endWidth), grown(organ, -0.01)), value,
              0.006);
  if (branch.depth == 0 || organ(to) > -0.02) {
    return;
  }
  const double spread = 0.38 + 0.3 * hash(branch.id, branch.depth + 50, seed);
  for (const int side : {-1, 1}) {
    drawTree(canvas, organ,
             {to, branch.angle + bend + side * spread,
              branch.length * (0.72 + 0.16 * hash(branch.id, side, seed + 1)), endWidth,
              branch.depth - 1, branch.id * 2 + (side > 0 ? 1 : 0)},
             value, seed);
  }
}

void addScannerNoise(Canvas& canvas, double sigma, std::uint64_t seed) {
  for (std::size_t row = 0; row < canvas.rows(); ++row) {
    for (std::size_t column = 0; column < canvas.columns(); ++column) {
      const auto x = static_cast<std::int64_t>(column);
      const auto y = static_cast<std::int64_t>(row);
      canvas.at(column, row) += sigma * grain(x, y, seed);
    }
  }
}

std::vector<std::uint16_t> twelveBits(const Canvas& canvas, double intercept, double low,
                                      double high) {
  std::vector<std::uint16_t> samples;
  samples.reserve(canvas.columns() * canvas.rows());
  for (std::size_t row = 0; row < canvas.rows(); ++row) {
    for (std::size_t column = 0; column < canvas.columns(); ++column) {
      const double stored = std::clamp(canvas.at(column, row) - intercept, low, high);
      samples.push_back(static_cast<std::uint16_t>(std::lround(stored)));
    }
  }
  return samples;
}

Builder ctBuilder(const char* description, unsigned number) {
  Builder builder(UID_CTImageStorage, "CT", description, number);
  builder.with(DCM_ImageType, "ORIGINAL\\PRIMARY\\AXIAL").with(DCM_KVP, "120");
  builder.with(DCM_AcquisitionNumber, "1").with(DCM_SliceLocation, "0");
  return builder;
}

std::vector<E_TransferSyntax> losslessSyntaxes() {
  return {EXS_RLELossless, EXS_JPEGProcess14SV1, EXS_JPEGLSLossless};
}

}  // namespace phantoms::ct
