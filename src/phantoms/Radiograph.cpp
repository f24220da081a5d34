// SPDX-License-Identifier: BSD-3-Clause
// Radiograph of a hand, MONOCHROME1: the highest value is the blackest. Tissue and bone are drawn
// as the length of the way that the rays take through them.
#include "Builder.h"
#include "Canvas.h"
#include "Letters.h"
#include "Phantoms.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <cmath>

namespace phantoms {

namespace {

constexpr std::size_t kColumns = 480;
constexpr std::size_t kRows = 640;

/// Joints from the wrist to the tip, in pixels, and the half width of the flesh at both ends.
struct Finger {
  std::vector<Point> joints;
  double widthAtBase;
  double widthAtTip;
};

const std::vector<Finger>& fingers() {
  static const std::vector<Finger> kFingers{
      {{{182, 462}, {118, 396}, {78, 330}, {58, 280}}, 27, 17},
      {{{214, 430}, {178, 300}, {160, 208}, {150, 148}, {144, 104}}, 23, 15},
      {{{240, 424}, {232, 284}, {230, 180}, {229, 108}, {228, 58}}, 23, 15},
      {{{264, 428}, {284, 298}, {299, 202}, {308, 134}, {313, 86}}, 22, 15},
      {{{284, 438}, {330, 324}, {356, 252}, {370, 202}, {379, 162}}, 20, 13}};
  return kFingers;
}

/// Way through a round rod whose middle is `distance` away, in pixels.
double chord(double distance, double radius) {
  const double squared = radius * radius - distance * distance;
  return squared > 0 ? 2 * std::sqrt(squared) : 0;
}

struct Foot {
  double along;     ///< 0 at a, 1 at b, beyond them outside
  double distance;  ///< from the line
};

Foot footOn(Point p, Point a, Point b) {
  const double dx = b.x - a.x;
  const double dy = b.y - a.y;
  const double squared = dx * dx + dy * dy;
  return {((p.x - a.x) * dx + (p.y - a.y) * dy) / squared,
          std::abs((p.x - a.x) * dy - (p.y - a.y) * dx) / std::sqrt(squared)};
}

class HandDrawing {
public:
  HandDrawing() : flesh_(kColumns, kRows, 0), bone_(kColumns, kRows, 0) {}

  /// Rounded rod of flesh.
  void addFlesh(Point a, Point b, double ra, double rb) {
    forEachPixel(a, b, std::max(ra, rb), [&](Point p, std::size_t x, std::size_t y) {
      const double t = std::clamp(footOn(p, a, b).along, 0.0, 1.0);
      const double dx = p.x - std::lerp(a.x, b.x, t);
      const double dy = p.y - std::lerp(a.y, b.y, t);
      const double way = chord(std::sqrt(dx * dx + dy * dy), std::lerp(ra, rb, t));
      flesh_.at(x, y) = std::max(flesh_.at(x, y), way);
    });
  }

  /// Long bone: wide ends of spongy bone, a narrow shaft with a thick shell around the marrow.
  void addLongBone(Point a, Point b, double shaft, double head) {
    forEachPixel(a, b, head, [&](Point p, std::size_t x, std::size_t y) {
      const Foot foot = footOn(p, a, b);
      const double fromMiddle = std::abs(2 * foot.along - 1);
      const double flare = std::pow(std::min(fromMiddle, 1.0), 4.0);
      const double beyond = std::max(fromMiddle - 1.0, 0.0) * lengthOf(a, b) / 2;
      const double half = std::lerp(shaft, head, flare);
      const double radius = half * std::sqrt(std::max(1 - std::pow(beyond / (0.5 * half), 2), 0.0));
      const double hollow = radius * std::lerp(0.5, 0.86, flare);
      const double shell = chord(foot.distance, radius) - chord(foot.distance, hollow);
      const double sponge =
          std::lerp(0.12, 0.5, flare) + 0.1 * fractalNoise(p.x / 4, p.y / 4, 201, 2);
      add(x, y, shell + sponge * chord(foot.distance, hollow));
    });
  }

  /// Small bone of the wrist, a shell around spongy bone.
  void addCarpal(Point centre, double rx, double ry, double angle) {
    const Shape shape = ellipse(centre, rx, ry, angle);
    forEachPixel(centre, centre, std::max(rx, ry) + 1, [&](Point p, std::size_t x, std::size_t y) {
      const double inside = std::clamp(-shape(p) / std::min(rx, ry), 0.0, 1.0);
      const double way = 1.5 * std::min(rx, ry) * std::sqrt(1 - (1 - inside) * (1 - inside));
      const double shell = std::exp(-std::pow((inside - 0.12) / 0.12, 2));
      const double sponge = 0.5 + 0.14 * fractalNoise(p.x / 4, p.y / 4, 202, 2);
      add(x, y, way * (sponge + 0.55 * shell));
    });
  }

  Canvas& flesh() { return flesh_; }
  Canvas& bone() { return bone_; }

private:
  static double lengthOf(Point a, Point b) {
    return std::sqrt((b.x - a.x) * (b.x - a.x) + (b.y - a.y) * (b.y - a.y));
  }

  template <typename Function>
  void forEachPixel(Point a, Point b, double reach, const Function& function) {
    const auto limit = [](double value, std::size_t count) {
      return static_cast<std::size_t>(std::clamp(value, 0.0, static_cast<double>(count)));
    };
    const std::size_t endRow = limit(std::max(a.y, b.y) + reach + 1, kRows);
    const std::size_t endColumn = limit(std::max(a.x, b.x) + reach + 1, kColumns);
    for (std::size_t y = limit(std::min(a.y, b.y) - reach, kRows); y < endRow; ++y) {
      for (std::size_t x = limit(std::min(a.x, b.x) - reach, kColumns); x < endColumn; ++x) {
        function(Point{static_cast<double>(x) + 0.5, static_cast<double>(y) + 0.5}, x, y);
      }
    }
  }

  // Bones that lie over each other add up, as their shadows do.
  void add(std::size_t x, std::size_t y, double way) { bone_.at(x, y) += std::max(way, 0.0); }

  Canvas flesh_;
  Canvas bone_;
};

Point between(Point a, Point b, double t) {
  return {std::lerp(a.x, b.x, t), std::lerp(a.y, b.y, t)};
}

void drawFingers(HandDrawing& hand) {
  for (const Finger& finger : fingers()) {
    const std::size_t last = finger.joints.size() - 1;
    for (std::size_t i = 0; i < last; ++i) {
      const Point a = finger.joints[i];
      const Point b = finger.joints[i + 1];
      const double ta = static_cast<double>(i) / static_cast<double>(last);
      const double tb = static_cast<double>(i + 1) / static_cast<double>(last);
      const double ra = std::lerp(finger.widthAtBase, finger.widthAtTip, ta);
      const double rb = std::lerp(finger.widthAtBase, finger.widthAtTip, tb);
      hand.addFlesh(a, b, ra, rb);
      const double head = std::lerp(0.56, 0.44, ta) * ra;
      // A gap of cartilage at every joint; the last bone ends before the finger does.
      hand.addLongBone(between(a, b, i == 0 ? 0.02 : 0.06),
                       between(a, b, i + 1 == last ? 0.82 : 0.94), 0.62 * head, head);
    }
  }
}

void drawPalmAndWrist(HandDrawing& hand) {
  for (const double x : {178.0, 206.0, 234.0, 262.0, 286.0}) {
    hand.addFlesh({x, 470}, {x + (x - 234) * 0.45, 322}, 40, 30);
  }
  hand.addFlesh({150, 430}, {196, 470}, 34, 36);
  hand.addFlesh({236, 470}, {242, 660}, 62, 56);
  hand.addFlesh({214, 480}, {210, 660}, 48, 50);
  hand.addFlesh({264, 480}, {272, 660}, 46, 46);
  hand.addLongBone({212, 508}, {206, 760}, 19, 31);
  hand.addLongBone({268, 516}, {274, 760}, 13, 18);
  hand.addCarpal({205, 488}, 15, 20, 0.7);   // scaphoid
  hand.addCarpal({235, 494}, 17, 15, 0.1);   // lunate
  hand.addCarpal({264, 490}, 15, 13, 0.4);   // triquetrum
  hand.addCarpal({276, 480}, 8, 9, 0);       // pisiform
  hand.addCarpal({191, 462}, 15, 13, 0.5);   // trapezium
  hand.addCarpal({215, 452}, 11, 12, 0);     // trapezoid
  hand.addCarpal({239, 459}, 14, 23, 0.05);  // capitate
  hand.addCarpal({266, 460}, 15, 18, -0.3);  // hamate
  hand.addCarpal({158, 398}, 4.5, 4.5, 0);   // a sesamoid bone
}

// The value of unattenuated rays is the largest; every bit of the way takes some of it.
std::vector<std::uint16_t> exposure(HandDrawing& hand) {
  hand.flesh().smooth(5);
  hand.bone().smooth(0.7);
  constexpr double kOpen = 3950;
  std::vector<std::uint16_t> samples;
  samples.reserve(kColumns * kRows);
  for (std::size_t row = 0; row < kRows; ++row) {
    for (std::size_t column = 0; column < kColumns; ++column) {
      const auto x = static_cast<std::int64_t>(column);
      const auto y = static_cast<std::int64_t>(row);
      const double way =
          0.0085 * hand.flesh().at(column, row) + 0.034 * hand.bone().at(column, row);
      const double value = 320 + (kOpen - 320) * std::exp(-way) + 9 * grain(x, y, 211);
      samples.push_back(static_cast<std::uint16_t>(std::lround(std::clamp(value, 0.0, 4095.0))));
    }
  }
  return samples;
}

// The lead letter that tells the side.
void addSideMarker(std::vector<std::uint16_t>& samples) {
  drawLabel("L", 410, 560, 5, [&samples](int x, int y) {
    samples[static_cast<std::size_t>(y) * kColumns + static_cast<std::size_t>(x)] = 60;
  });
}

}  // namespace

Phantom radiographInverse(unsigned number) {
  Builder builder(UID_ComputedRadiographyImageStorage, "CR", "Hand, high is dark", number);
  builder.with(DCM_ImageType, "ORIGINAL\\PRIMARY").with(DCM_BodyPartExamined, "HAND");
  builder.with(DCM_ViewPosition, "PA").with(DCM_ImagerPixelSpacing, "0.4\\0.4");
  builder.with(DCM_PixelSpacing, "0.4\\0.4").with(DCM_Laterality, "L");
  HandDrawing hand;
  drawPalmAndWrist(hand);
  drawFingers(hand);
  std::vector<std::uint16_t> samples = exposure(hand);
  addSideMarker(samples);
  builder.withPixels({kColumns, kRows, 1, 1, 16, 12, false, "MONOCHROME1"}, samples);
  builder.withWindow(2050, 3900).withRescale(1, 0, "US");
  return {"cr-hand-monochrome1",
          "MONOCHROME1, the highest value is black",
          builder.take(),
          {EXS_RLELossless, EXS_JPEGProcess14SV1, EXS_JPEGLSLossless}};
}

}  // namespace phantoms
