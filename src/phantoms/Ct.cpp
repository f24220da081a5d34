// SPDX-License-Identifier: BSD-3-Clause
// CT cross-sections drawn in Hounsfield units: a chest, and an abdomen with graphics in the spare
// bits of its samples.
#include "Canvas.h"
#include "Phantoms.h"
#include "zrimaging/pictures/Letters.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace phantoms {

namespace {

constexpr std::size_t kSize = 512;
constexpr double kAir = -1000;
constexpr double kLung = -870;
constexpr double kFat = -100;
constexpr double kMuscle = 55;
constexpr double kBone = 700;
constexpr double kMarrow = 220;
constexpr double kDisc = 80;

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

void drawTable(Canvas& canvas) {
  const Shape top = rim(ellipse({0, -0.55}, 1.5, 1.36), 0.012);
  const Shape inField{[](Point p) { return std::max(std::abs(p.x) - 0.86, 0.5 - p.y); }};
  canvas.fill(both(top, inField), -350);
  canvas.fill(both(rim(ellipse({0, -0.55}, 1.5, 1.43), 0.008), inField), -450);
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

// Ribs run obliquely through the slice, so each shows as a piece of the wall.
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

void drawSternum(Canvas& canvas, double y) {
  const Shape bone = stroke({-0.075, y}, {0.075, y}, 0.033, 0.033);
  canvas.fill(bone, kBone);
  canvas.fill(grown(bone, -0.012), kMarrow, 0.01);
}

struct Branch {
  Point from;
  double angle;
  double length;
  double width;
  int depth;
  std::int64_t id;
};

// Vessels that fork until they are too thin to see, inside of the organ only.
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

// What the rings of both cross-sections share: skin, fat, muscle.
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
  drawTable(canvas);
  drawWall(canvas, 0.93, 0.68, 0.045, 0.075);
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
  drawRibs(canvas, 0.79, 0.53, 5);
  drawSternum(canvas, -0.53);
  drawLungs(canvas, right, left);
  drawHeart(canvas);
  drawVertebra(canvas, {0, 0.33}, 0.105);
  canvas.fill(ellipse({0.135, 0.24}, 0.055, 0.055), 235, 0.012);  // descending aorta
  canvas.fill(ellipse({0.02, 0.18}, 0.035, 0.022), 45, 0.012);    // oesophagus
  canvas.fill(ellipse({0.02, 0.18}, 0.011, 0.005), -600, 0.01);
  canvas.fill(ellipse({-0.52, -0.14}, 0.034, 0.031), 45, 0.012);  // a nodule to find
  canvas.smooth(0.65);
  addScannerNoise(canvas, 11, 51);
  return canvas;
}

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
  drawTable(canvas);
  drawWall(canvas, 0.88, 0.64, 0.07, 0.05);
  drawRibs(canvas, 0.735, 0.475, 9);
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
  drawVertebra(canvas, {0, 0.31}, 0.115);
  canvas.fill(ellipse({0, 0.31}, 0.05, 0.04), kDisc + kMarrow / 2, 0.06);
  canvas.smooth(0.7);
  addScannerNoise(canvas, 9, 81);
  return canvas;
}

// Stored words of `canvas` mapped by (value - intercept) and kept in 12 bits.
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
  zr::drawText(text, column, row, 2, [&](int x, int y) {
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
void describeOverlay(PhantomBuilder& builder, Uint16 group, const char* label, unsigned bit) {
  const auto tag = [group](Uint16 element, DcmEVR vr) { return DcmTag(group, element, DcmVR(vr)); };
  const std::string size = std::to_string(kSize);
  builder.with(tag(0x0010, EVR_US), size).with(tag(0x0011, EVR_US), size);
  builder.with(tag(0x0022, EVR_LO), label).with(tag(0x0040, EVR_CS), "G");
  builder.with(tag(0x0050, EVR_SS), "1\\1").with(tag(0x0100, EVR_US), "16");
  builder.with(tag(0x0102, EVR_US), std::to_string(bit));
}

PhantomBuilder ctBuilder(const char* description, unsigned number) {
  PhantomBuilder builder(UID_CTImageStorage, "CT", description, number);
  builder.with(DCM_ImageType, "ORIGINAL\\PRIMARY\\AXIAL").with(DCM_KVP, "120");
  builder.with(DCM_AcquisitionNumber, "1").with(DCM_SliceLocation, "0");
  return builder;
}

const std::vector<E_TransferSyntax> kLossless{EXS_RLELossless, EXS_JPEGProcess14SV1,
                                              EXS_JPEGLSLossless};

}  // namespace

Phantom ctThorax(unsigned number) {
  PhantomBuilder builder = ctBuilder("Chest, signed samples", number);
  builder.with(DCM_BodyPartExamined, "CHEST");
  builder.withAxialPlane(0.75, 2.5, kSize);
  constexpr double kIntercept = -24;
  const std::vector<std::uint16_t> stored = twelveBits(thorax(), kIntercept, -2048, 2047);
  builder.withPixels({kSize, kSize, 1, 1, 16, 12, true, "MONOCHROME2"}, stored);
  builder.withWindow(-150, 1500).withRescale(1, kIntercept, "HU");
  return {"ct-thorax-signed", "12-bit signed samples, rescale and window", builder.take(),
          kLossless};
}

Phantom ctAbdomenWithOverlays(unsigned number) {
  PhantomBuilder builder = ctBuilder("Abdomen, overlays in the samples", number);
  builder.with(DCM_BodyPartExamined, "ABDOMEN");
  builder.withAxialPlane(0.7, 3, kSize);
  constexpr double kIntercept = -1024;
  const Canvas canvas = abdomen();
  std::vector<std::uint16_t> stored = twelveBits(canvas, kIntercept, 0, 4095);
  setBit(stored, canvas, arrow({-0.54, -0.1}, -2.35, 0.3), 12);
  setBitForText(stored, "LESION 31 MM", 28, 92, 12);
  setBitForText(stored, "R", 12, 250, 12);
  setBit(stored, canvas, ruler(), 12);
  setBit(stored, canvas, rim(grown(lesionShape(), 0.02), 0.004), 13);
  builder.withPixels({kSize, kSize, 1, 1, 16, 12, false, "MONOCHROME2"}, stored);
  builder.withWindow(60, 400).withRescale(1, kIntercept, "HU");
  describeOverlay(builder, 0x6000, "Annotation", 12);
  describeOverlay(builder, 0x6002, "Contour", 13);
  return {"ct-abdomen-overlays", "overlays in the spare bits 12 and 13", builder.take(), kLossless};
}

}  // namespace phantoms
