// SPDX-License-Identifier: BSD-3-Clause
// Ultrasound clip of a beating heart: a fan of speckle in gray, flow in colour, a trace of the
// ECG. Written as RGB and as YBR_FULL.
#include "Builder.h"
#include "Canvas.h"
#include "Letters.h"
#include "Phantoms.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <string>

namespace phantoms {

namespace {

constexpr std::size_t kColumns = 320;
constexpr std::size_t kRows = 256;
constexpr std::size_t kFrames = 12;
constexpr Point kApex{0, -1.02};
constexpr double kFanHalfAngle = 0.72;
constexpr double kFanRadius = 1.72;

using Rgb = std::array<std::uint8_t, 3>;

/// 0 wide (filled) to 1 squeezed, over one beat.
double squeeze(double beat) {
  const double t = beat < 0.45 ? beat / 0.45 : (1 - beat) / 0.55;
  return 0.5 - 0.5 * std::cos(std::numbers::pi * t);
}

/// The four chambers at one moment.
struct Heart {
  explicit Heart(double beat)
      : tight(squeeze(beat)),
        leftVentricle(outline({{0.02, -0.5},
                               {0.2 - 0.06 * tight, -0.36},
                               {0.34 - 0.09 * tight, -0.05 + 0.05 * tight},
                               {0.3 - 0.06 * tight, 0.12},
                               {0.06 + 0.03 * tight, 0.12},
                               {0.0 + 0.03 * tight, -0.2}})),
        rightVentricle(outline({{-0.13, -0.36},
                                {-0.06, -0.2},
                                {-0.05, 0.12},
                                {-0.3 + 0.06 * tight, 0.12},
                                {-0.31 + 0.08 * tight, -0.06}})),
        leftAtrium(ellipse({0.2, 0.33}, 0.17 + 0.03 * tight, 0.15 + 0.02 * tight)),
        rightAtrium(ellipse({-0.19, 0.33}, 0.16 + 0.03 * tight, 0.14 + 0.02 * tight)) {}

  double tight;
  Shape leftVentricle;
  Shape rightVentricle;
  Shape leftAtrium;
  Shape rightAtrium;

  Shape chambers() const {
    return either(either(leftVentricle, rightVentricle), either(leftAtrium, rightAtrium));
  }
};

// Leaflets hang at the rims of the valve and meet while the ventricle is squeezed.
Shape valve(Point left, Point right, double tight) {
  const double open = 1 - std::clamp(2.2 * tight, 0.0, 1.0);
  const Point middle{(left.x + right.x) / 2, left.y};
  const Point leftTip{std::lerp(middle.x, left.x + 0.03, open), left.y - 0.02 - 0.12 * open};
  const Point rightTip{std::lerp(middle.x, right.x - 0.03, open), right.y - 0.02 - 0.12 * open};
  return either(stroke(left, leftTip, 0.011, 0.008), stroke(right, rightTip, 0.011, 0.008));
}

Canvas echoes(const Heart& heart) {
  Canvas canvas(kColumns, kRows, 0.16);
  const Shape chambers = heart.chambers();
  canvas.fill(ellipse({0.02, 0.0}, 0.56, 0.72), 0.3, 0.1);
  canvas.fill(grown(chambers, 0.115), 0.5, 0.05);
  canvas.fill(rim(grown(chambers, 0.125), 0.012), 0.85, 0.03);  // the bright outer skin
  canvas.fill(chambers, 0.055, 0.03);
  canvas.fill(rim(chambers, 0.008), 0.72, 0.025);
  canvas.fill(valve({0.05, 0.16}, {0.34, 0.16}, heart.tight), 0.95, 0.015);
  canvas.fill(valve({-0.32, 0.16}, {-0.07, 0.16}, heart.tight), 0.9, 0.015);
  return canvas;
}

// Speckle is as fine along the beam as the pulse is short, and widens across it with the depth.
double speckle(double radius, double angle, std::uint64_t seed) {
  const double a = noise(radius * 75, angle * 58, seed);
  const double b = noise(radius * 75 + 13, angle * 58 + 7, seed + 1);
  return std::sqrt((a * a + b * b) / 2);
}

struct Flow {
  double towards;   ///< speed towards the transducer, -1 to 1
  double strength;  ///< 0 where there is no colour
};

// In filling, blood streams from the atrium towards the apex of the ventricle; in the squeeze it
// leaves beside the septum.
Flow flowAt(Point p, const Heart& heart, double beat) {
  const bool filling = beat >= 0.45;
  const double pulse = std::sin(std::numbers::pi * (filling ? (beat - 0.45) / 0.55 : beat / 0.45));
  const double x = p.x - (filling ? 0.19 : 0.09);
  const double y = p.y - (filling ? 0.06 : 0.02);
  const double jet = std::exp(-(x * x) / 0.008 - (y * y) / 0.06);
  const double inside = std::clamp(
      -std::min(heart.leftVentricle(p), grown(heart.leftAtrium, 0.03)(p)) / 0.03 + 0.3, 0.0, 1.0);
  const double swirl = 0.8 + 0.35 * noise(p.x * 14, p.y * 14 + beat * 9, 401);
  return {filling ? jet : -jet, jet * pulse * inside * swirl};
}

Rgb flowColour(double towards) {
  const double speed = std::min(std::abs(towards), 1.0);
  const auto channel = [](double value) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
  };
  return towards > 0 ? Rgb{channel(150 + 105 * speed), channel(230 * speed * speed), channel(20)}
                     : Rgb{channel(10), channel(200 * speed * speed), channel(150 + 105 * speed)};
}

class Frame {
public:
  explicit Frame(std::vector<std::uint8_t>& samples, std::size_t index)
      : pixels_(&samples[index * kColumns * kRows * 3]) {}

  void set(int column, int row, const Rgb& colour) {
    if (column >= 0 && row >= 0 && column < static_cast<int>(kColumns) &&
        row < static_cast<int>(kRows)) {
      const std::size_t pixel =
          static_cast<std::size_t>(row) * kColumns + static_cast<std::size_t>(column);
      std::copy(colour.begin(), colour.end(), pixels_ + 3 * pixel);
    }
  }

private:
  std::uint8_t* pixels_;
};

void drawFan(Frame& frame, const Canvas& tissue, const Heart& heart, double beat,
             std::uint64_t seed) {
  for (std::size_t row = 0; row < kRows; ++row) {
    for (std::size_t column = 0; column < kColumns; ++column) {
      const Point p = tissue.pointOf(column, row);
      const double radius =
          std::sqrt((p.x - kApex.x) * (p.x - kApex.x) + (p.y - kApex.y) * (p.y - kApex.y));
      const double angle = std::atan2(p.x - kApex.x, p.y - kApex.y);
      if (std::abs(angle) > kFanHalfAngle || radius > kFanRadius || radius < 0.06) {
        continue;
      }
      const double echo = tissue.at(column, row) * (0.35 + 1.5 * speckle(radius, angle, seed)) *
                          (1.05 - 0.2 * radius);
      const double level = 255 * std::pow(std::clamp(echo, 0.0, 1.0), 0.75);
      const auto gray = static_cast<std::uint8_t>(std::lround(level));
      const Flow flow = flowAt(p, heart, beat);
      frame.set(static_cast<int>(column), static_cast<int>(row),
                flow.strength > 0.16 ? flowColour(flow.towards) : Rgb{gray, gray, gray});
    }
  }
}

double heartTrace(double t) {
  const auto bump = [t](double at, double width, double height) {
    return height * std::exp(-std::pow((t - at) / width, 2));
  };
  return bump(0.88, 0.035, 0.18) - bump(0.985, 0.008, 0.2) + bump(1.0, 0.01, 1.0) +
         bump(0.0, 0.01, 1.0) - bump(0.018, 0.009, 0.3) + bump(0.3, 0.05, 0.28);
}

void drawTrace(Frame& frame, double beat) {
  const int base = static_cast<int>(kRows) - 14;
  int before = base;
  for (int column = 0; column < static_cast<int>(kColumns); ++column) {
    const double t = std::fmod(2.0 * column / static_cast<double>(kColumns), 1.0);
    const int row = base - static_cast<int>(std::lround(20 * heartTrace(t)));
    for (int y = std::min(row, before); y <= std::max(row, before); ++y) {
      frame.set(column, y, {40, 210, 90});
    }
    before = row;
  }
  const int now = static_cast<int>(beat * static_cast<double>(kColumns) / 2);
  for (int y = base - 24; y < base + 8; ++y) {
    frame.set(now, y, {255, 255, 255});
    frame.set(now + static_cast<int>(kColumns) / 2, y, {255, 255, 255});
  }
}

void drawScales(Frame& frame) {
  for (int y = 0; y < 70; ++y) {
    const double towards = 1 - y / 34.5;
    for (int x = 0; x < 8; ++x) {
      frame.set(x + 8, y + 24, flowColour(towards));
      const auto gray = static_cast<std::uint8_t>(255 - y * 255 / 69);
      frame.set(static_cast<int>(kColumns) - 16 + x, y + 24, {gray, gray, gray});
    }
  }
  drawLabel("61", 6, 12, 1, [&frame](int x, int y) { frame.set(x, y, {220, 220, 220}); });
  drawLabel("-61", 4, 98, 1, [&frame](int x, int y) { frame.set(x, y, {220, 220, 220}); });
  drawLabel("CM/S", 4, 110, 1, [&frame](int x, int y) { frame.set(x, y, {150, 150, 150}); });
}

std::vector<std::uint8_t> clip() {
  std::vector<std::uint8_t> samples(kColumns * kRows * 3 * kFrames);
  for (std::size_t index = 0; index < kFrames; ++index) {
    const double beat = static_cast<double>(index) / kFrames;
    const Heart heart(beat);
    const Canvas tissue = echoes(heart);
    Frame frame(samples, index);
    drawFan(frame, tissue, heart, beat, 411 + 2 * index);
    drawScales(frame);
    drawTrace(frame, beat);
    drawLabel("FRAME " + std::to_string(index), static_cast<int>(kColumns) - 54, 6, 1,
              [&frame](int x, int y) {
                frame.set(x, y, {230, 230, 120});
              });
  }
  return samples;
}

// PS3.3 C.7.6.3.1.2: full range, the chroma centred on 128.
std::vector<std::uint8_t> inYbrFull(std::vector<std::uint8_t> samples) {
  const auto byte = [](double value) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
  };
  for (std::size_t i = 0; i < samples.size(); i += 3) {
    const double r = samples[i];
    const double g = samples[i + 1];
    const double b = samples[i + 2];
    samples[i] = byte(0.2990 * r + 0.5870 * g + 0.1140 * b);
    samples[i + 1] = byte(-0.1687 * r - 0.3313 * g + 0.5000 * b + 128);
    samples[i + 2] = byte(0.5000 * r - 0.4187 * g - 0.0813 * b + 128);
  }
  return samples;
}

Builder clipBuilder(const char* description, unsigned number) {
  Builder builder(UID_UltrasoundMultiframeImageStorage, "US", description, number);
  builder.with(DCM_ImageType, "ORIGINAL\\PRIMARY\\TTE\\0001").with(DCM_FrameTime, "66.67");
  builder.with(DCM_FrameIncrementPointer, "(0018,1063)").with(DCM_BodyPartExamined, "HEART");
  return builder;
}

}  // namespace

Phantom ultrasoundRgb(unsigned number) {
  Builder builder = clipBuilder("Heart, RGB", number);
  builder.withPixels({kColumns, kRows, kFrames, 3, 8, 8, false, "RGB"}, clip());
  builder.with(DCM_LossyImageCompression, "00");
  return {"us-heart-rgb",
          "RGB clip with Frame Time",
          builder.take(),
          {EXS_RLELossless, EXS_JPEGProcess14SV1, EXS_JPEGLSLossless, EXS_JPEGProcess1}};
}

Phantom ultrasoundYbr(unsigned number) {
  Builder builder = clipBuilder("Heart, YBR_FULL", number);
  builder.withPixels({kColumns, kRows, kFrames, 3, 8, 8, false, "YBR_FULL"}, inYbrFull(clip()));
  builder.with(DCM_LossyImageCompression, "00");
  return {"us-heart-ybr",
          "YBR_FULL clip with Frame Time",
          builder.take(),
          {EXS_RLELossless, EXS_JPEGProcess14SV1, EXS_JPEGLSLossless, EXS_JPEGProcess1}};
}

}  // namespace phantoms
