// SPDX-License-Identifier: BSD-3-Clause
// CT of an abdomen, with graphics in the spare bits of its samples.
#include "Builder.h"
#include "Canvas.h"
#include "CtBody.h"
#include "Letters.h"
#include "Phantoms.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <cmath>
#include <string>

namespace phantoms {

namespace {

using ct::drawTree;
using ct::kAir;
using ct::kFat;
using ct::kMarrow;
using ct::kMuscle;
using ct::kSize;

constexpr double kDisc = 80;

Shape liverShape() {
  return outline({{-0.7, 0.1},
                  {-0.64, -0.22},
                  {-0.42, -0.42},
                  {-0.12, -0.45},
                  {0.16, -0.38},
                  {0.12, -0.24},
                  {-0.06, -0.14},
                  {-0.18, 0.02},
                  {-0.26, 0.2},
                  {-0.42, 0.36},
                  {-0.6, 0.34}});
}

Shape lesionShape() {
  return outline({{-0.52, 0.0},
                  {-0.45, -0.075},
                  {-0.36, -0.055},
                  {-0.34, 0.03},
                  {-0.4, 0.085},
                  {-0.49, 0.07}});
}

void drawLiver(Canvas& canvas) {
  const Shape liver = liverShape();
  canvas.fill(
      liver, [](Point p) { return 112 + 9 * fractalNoise(p.x * 34, p.y * 34, 61, 3); }, 0.014);
  drawTree(canvas, liver, {{-0.1, -0.12}, -2.75, 0.13, 0.024, 5, 3}, 175, 62);
  drawTree(canvas, liver, {{-0.15, -0.08}, 2.45, 0.14, 0.022, 5, 5}, 175, 64);
  drawTree(canvas, liver, {{-0.06, -0.2}, -1.0, 0.1, 0.016, 4, 7}, 170, 66);
  canvas.fill(lesionShape(), 48, 0.03);
  canvas.fill(ellipse({-0.43, 0.005}, 0.035, 0.04), 22, 0.04);
  canvas.fill(ellipse({-0.12, -0.03}, 0.055, 0.08, 0.5), 8, 0.014);  // gallbladder
}

void drawStomachAndSpleen(Canvas& canvas) {
  const Shape stomach = outline({{0.13, -0.3},
                                 {0.36, -0.44},
                                 {0.58, -0.32},
                                 {0.6, -0.1},
                                 {0.44, 0.0},
                                 {0.3, -0.08},
                                 {0.2, -0.16}});
  canvas.fill(stomach, 70, 0.012);
  canvas.fill(grown(stomach, -0.022), 18, 0.012);
  const Shape gas = both(grown(stomach, -0.022), {[](Point p) { return p.y + 0.29; }});
  canvas.fill(gas, -960, 0.008);
  const Shape spleen =
      outline({{0.68, 0.06}, {0.71, 0.2}, {0.6, 0.4}, {0.45, 0.43}, {0.5, 0.3}, {0.56, 0.16}});
  canvas.fill(
      spleen, [](Point p) { return 128 + 7 * fractalNoise(p.x * 34, p.y * 34, 71, 3); }, 0.014);
  const Shape pancreas = either(stroke({0.0, 0.0}, {0.16, -0.03}, 0.045, 0.04),
                                stroke({0.16, -0.03}, {0.4, 0.1}, 0.04, 0.032));
  canvas.fill(
      pancreas, [](Point p) { return 88 + 30 * fractalNoise(p.x * 50, p.y * 50, 73, 2); }, 0.02);
}

void drawKidney(Canvas& canvas, Point at, double turn) {
  const double away = at.x < 0 ? 1.0 : -1.0;
  const Shape kidney = ellipse(at, 0.088, 0.125, turn);
  const Shape sinus = ellipse({at.x + away * 0.06, at.y - 0.01}, 0.05, 0.055, turn);
  canvas.fill(kidney, 205, 0.012);
  for (int i = 0; i < 7; ++i) {
    const double angle = 0.9 * i;
    canvas.fill(
        ellipse({at.x + 0.05 * std::cos(angle), at.y + 0.075 * std::sin(angle)}, 0.02, 0.024), 150,
        0.02);
  }
  canvas.fill(sinus, kFat + 20, 0.025);
  canvas.fill(ellipse({at.x + away * 0.055, at.y}, 0.02, 0.028), 15, 0.02);
}

void drawVesselsOfAbdomen(Canvas& canvas) {
  canvas.fill(ellipse({0.06, 0.16}, 0.052, 0.05), 260, 0.012);
  canvas.fill(rim(ellipse({0.06, 0.16}, 0.05, 0.048), 0.005), 330, 0.008);
  canvas.fill(ellipse({-0.11, 0.15}, 0.062, 0.045), 165, 0.014);
  canvas.fill(stroke({-0.02, 0.06}, {0.1, 0.04}, 0.022, 0.018), 185, 0.012);
}

void drawBowel(Canvas& canvas) {
  const Point loops[] = {{0.42, 0.1}, {0.36, 0.22}, {0.28, 0.06}, {0.24, 0.24}};
  for (const Point loop : loops) {
    canvas.fill(ellipse(loop, 0.058, 0.048, loop.x * 9), 75, 0.012);
    canvas.fill(ellipse(loop, 0.038, 0.029, loop.x * 9), 20, 0.012);
  }
  canvas.fill(ellipse({0.3, 0.05}, 0.018, 0.01), -800, 0.01);
}

Canvas abdomen() {
  Canvas canvas(kSize, kSize, kAir);
  ct::drawTable(canvas);
  ct::drawWall(canvas, 0.88, 0.64, 0.07, 0.05);
  ct::drawRibs(canvas, 0.735, 0.475, 9);
  for (const double side : {-1.0, 1.0}) {
    canvas.fill(
        ellipse({side * 0.17, 0.47}, 0.13, 0.075, side * 0.25),
        [](Point p) { return kMuscle + 35 * fractalNoise(p.x * 40, p.y * 40, 23, 2); }, 0.014);
    canvas.fill(ellipse({side * 0.15, 0.32}, 0.05, 0.06), kMuscle + 5, 0.014);  // psoas
  }
  drawBowel(canvas);
  drawStomachAndSpleen(canvas);
  drawLiver(canvas);
  drawKidney(canvas, {-0.33, 0.34}, 0.35);
  drawKidney(canvas, {0.36, 0.34}, -0.35);
  drawVesselsOfAbdomen(canvas);
  ct::drawVertebra(canvas, {0, 0.31}, 0.115);
  canvas.fill(ellipse({0, 0.31}, 0.05, 0.04), kDisc + kMarrow / 2, 0.06);
  canvas.smooth(0.7);
  ct::addScannerNoise(canvas, 9, 81);
  return canvas;
}

// Sets one bit of the samples wherever the shape is.
void setBit(std::vector<std::uint16_t>& samples, const Canvas& canvas, const Shape& shape,
            unsigned bit) {
  for (std::size_t row = 0; row < kSize; ++row) {
    for (std::size_t column = 0; column < kSize; ++column) {
      if (shape(canvas.pointOf(column, row)) < 0) {
        samples[row * kSize + column] |= static_cast<std::uint16_t>(1U << bit);
      }
    }
  }
}

void setBitForText(std::vector<std::uint16_t>& samples, const char* text, int column, int row,
                   unsigned bit) {
  drawLabel(text, column, row, 2, [&](int x, int y) {
    samples[static_cast<std::size_t>(y) * kSize + static_cast<std::size_t>(x)] |=
        static_cast<std::uint16_t>(1U << bit);
  });
}

Shape arrow(Point tip, double angle, double size) {
  const auto along = [&](double turn, double distance) {
    return Point{tip.x + distance * std::cos(angle + turn),
                 tip.y + distance * std::sin(angle + turn)};
  };
  return either(stroke(tip, along(0, size), 0.006, 0.006),
                either(stroke(tip, along(0.45, 0.35 * size), 0.006, 0.006),
                       stroke(tip, along(-0.45, 0.35 * size), 0.006, 0.006)));
}

Shape ruler() {
  Shape marks = stroke({0.93, -0.4}, {0.93, 0.4}, 0.003, 0.003);
  for (int i = 0; i <= 10; ++i) {
    const double y = -0.4 + 0.08 * i;
    marks = either(marks, stroke({i % 5 == 0 ? 0.89 : 0.91, y}, {0.93, y}, 0.003, 0.003));
  }
  return marks;
}

// An overlay plane that lies in a bit of the samples has no Overlay Data of its own (retired).
void describeOverlay(Builder& builder, Uint16 group, const char* label, unsigned bit) {
  const auto tag = [group](Uint16 element, DcmEVR vr) { return DcmTag(group, element, DcmVR(vr)); };
  const std::string size = std::to_string(kSize);
  builder.with(tag(0x0010, EVR_US), size).with(tag(0x0011, EVR_US), size);
  builder.with(tag(0x0022, EVR_LO), label).with(tag(0x0040, EVR_CS), "G");
  builder.with(tag(0x0050, EVR_SS), "1\\1").with(tag(0x0100, EVR_US), "16");
  builder.with(tag(0x0102, EVR_US), std::to_string(bit));
}

}  // namespace

Phantom ctAbdomenWithOverlays(unsigned number) {
  Builder builder = ct::ctBuilder("Abdomen, overlays in the samples", number);
  builder.with(DCM_BodyPartExamined, "ABDOMEN");
  builder.withAxialPlane(0.7, 3, kSize);
  constexpr double kIntercept = -1024;
  const Canvas canvas = abdomen();
  std::vector<std::uint16_t> stored = ct::twelveBits(canvas, kIntercept, 0, 4095);
  setBit(stored, canvas, arrow({-0.54, -0.1}, -2.35, 0.3), 12);
  setBitForText(stored, "LESION 31 MM", 28, 92, 12);
  setBitForText(stored, "R", 12, 250, 12);
  setBit(stored, canvas, ruler(), 12);
  setBit(stored, canvas, rim(grown(lesionShape(), 0.02), 0.004), 13);
  builder.withPixels({kSize, kSize, 1, 1, 16, 12, false, "MONOCHROME2"}, stored);
  builder.withWindow(60, 400).withRescale(1, kIntercept, "HU");
  describeOverlay(builder, 0x6000, "Annotation", 12);
  describeOverlay(builder, 0x6002, "Contour", 13);
  return {"ct-abdomen-overlays", "overlays in the spare bits 12 and 13", builder.take(),
          ct::losslessSyntaxes()};
}

}  // namespace phantoms
