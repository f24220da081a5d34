// SPDX-License-Identifier: BSD-3-Clause
// CT of a chest: signed samples of 12 bits.
#include "Builder.h"
#include "Canvas.h"
#include "CtBody.h"
#include "Phantoms.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <cmath>
#include <numbers>

namespace phantoms {

namespace {

using ct::drawTree;
using ct::kAir;
using ct::kBone;
using ct::kFat;
using ct::kMarrow;
using ct::kSize;

constexpr double kLung = -870;

void drawSternum(Canvas& canvas, double y) {
  const Shape bone = stroke({-0.075, y}, {0.075, y}, 0.033, 0.033);
  canvas.fill(bone, kBone);
  canvas.fill(grown(bone, -0.012), kMarrow, 0.01);
}

void drawHeart(Canvas& canvas) {
  const Shape heart = outline({{-0.2, -0.2},
                               {-0.02, -0.36},
                               {0.22, -0.33},
                               {0.37, -0.15},
                               {0.33, 0.03},
                               {0.12, 0.14},
                               {-0.12, 0.1},
                               {-0.22, -0.04}});
  canvas.fill(grown(heart, 0.018), kFat, 0.02);
  canvas.fill(heart, 95, 0.012);
  canvas.fill(outline({{0.12, -0.2}, {0.24, -0.24}, {0.31, -0.14}, {0.27, -0.02}, {0.14, -0.02}}),
              240, 0.02);
  canvas.fill(outline({{-0.06, -0.31}, {0.08, -0.3}, {0.09, -0.14}, {-0.03, -0.14}}), 215, 0.02);
  canvas.fill(ellipse({-0.13, -0.1}, 0.065, 0.1, 0.3), 200, 0.02);
  canvas.fill(ellipse({0.03, 0.05}, 0.13, 0.055), 230, 0.02);
}

void drawLungs(Canvas& canvas, const Shape& right, const Shape& left) {
  const auto tissue = [](Point p) {
    return kLung + 70 * p.y + 25 * fractalNoise(p.x * 30, p.y * 30, 31, 3);
  };
  canvas.fill(right, tissue, 0.01);
  canvas.fill(left, tissue, 0.01);
  for (int i = 0; i < 6; ++i) {
    const double angle = std::numbers::pi - 1.25 + 0.5 * i;
    drawTree(canvas, right, {{-0.25, 0.02}, angle, 0.15, 0.0125, 6, i + 2}, 40, 41);
  }
  for (int i = 0; i < 5; ++i) {
    const double angle = -0.75 + 0.5 * i;
    drawTree(canvas, left, {{0.3, 0.06}, angle, 0.14, 0.012, 6, i + 2}, 40, 43);
  }
  for (const double side : {-1.0, 1.0}) {
    const Point hilum{side * 0.27, 0.07};
    canvas.fill(ellipse(hilum, 0.026, 0.03), 40, 0.01);
    canvas.fill(ellipse(hilum, 0.016, 0.02), kAir, 0.008);
  }
}

Canvas thorax() {
  Canvas canvas(kSize, kSize, kAir);
  ct::drawTable(canvas);
  ct::drawWall(canvas, 0.93, 0.68, 0.045, 0.075);
  const Shape right = outline({{-0.2, -0.42},
                               {-0.45, -0.42},
                               {-0.68, -0.2},
                               {-0.74, 0.08},
                               {-0.62, 0.36},
                               {-0.38, 0.47},
                               {-0.2, 0.4},
                               {-0.17, 0.22},
                               {-0.26, 0.06},
                               {-0.24, -0.16}});
  const Shape left = outline({{0.22, -0.42},
                              {0.46, -0.41},
                              {0.68, -0.2},
                              {0.74, 0.08},
                              {0.62, 0.36},
                              {0.38, 0.47},
                              {0.24, 0.4},
                              {0.21, 0.2},
                              {0.38, 0.06},
                              {0.41, -0.14},
                              {0.28, -0.34}});
  ct::drawRibs(canvas, 0.79, 0.53, 5);
  drawSternum(canvas, -0.53);
  drawLungs(canvas, right, left);
  drawHeart(canvas);
  ct::drawVertebra(canvas, {0, 0.33}, 0.105);
  canvas.fill(ellipse({0.135, 0.24}, 0.055, 0.055), 235, 0.012);  // descending aorta
  canvas.fill(ellipse({0.02, 0.18}, 0.035, 0.022), 45, 0.012);    // oesophagus
  canvas.fill(ellipse({0.02, 0.18}, 0.011, 0.005), -600, 0.01);
  canvas.fill(ellipse({-0.52, -0.14}, 0.034, 0.031), 45, 0.012);  // a nodule to find
  canvas.smooth(0.65);
  ct::addScannerNoise(canvas, 11, 51);
  return canvas;
}

}  // namespace

Phantom ctThorax(unsigned number) {
  Builder builder = ct::ctBuilder("Chest, signed samples", number);
  builder.with(DCM_BodyPartExamined, "CHEST");
  builder.withAxialPlane(0.75, 2.5, kSize);
  constexpr double kIntercept = -24;
  const std::vector<std::uint16_t> stored = ct::twelveBits(thorax(), kIntercept, -2048, 2047);
  builder.withPixels({kSize, kSize, 1, 1, 16, 12, true, "MONOCHROME2"}, stored);
  builder.withWindow(-150, 1500).withRescale(1, kIntercept, "HU");
  return {"ct-thorax-signed", "12-bit signed samples, rescale and window", builder.take(),
          ct::losslessSyntaxes()};
}

}  // namespace phantoms
