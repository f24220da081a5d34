// SPDX-License-Identifier: BSD-3-Clause
// Drawing by distance functions: a shape answers how far a point is from its edge, and the canvas
// turns that into smooth edges. Noise comes from a hash of the coordinates, so that the same
// phantom comes out everywhere.
#include "Canvas.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace phantoms {

namespace {

double length(double x, double y) {
  return std::sqrt(x * x + y * y);
}

double distanceToSegment(Point p, Point a, Point b) {
  const double dx = b.x - a.x;
  const double dy = b.y - a.y;
  const double squared = dx * dx + dy * dy;
  const double t =
      squared > 0 ? std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / squared, 0.0, 1.0) : 0.0;
  return length(p.x - a.x - t * dx, p.y - a.y - t * dy);
}

// Catmull-Rom: a smooth curve through the points themselves.
std::vector<Point> smoothed(const std::vector<Point>& points) {
  constexpr int kSteps = 12;
  std::vector<Point> curve;
  const std::size_t n = points.size();
  for (std::size_t i = 0; i < n; ++i) {
    const Point a = points[(i + n - 1) % n];
    const Point b = points[i];
    const Point c = points[(i + 1) % n];
    const Point d = points[(i + 2) % n];
    for (int step = 0; step < kSteps; ++step) {
      const double t = static_cast<double>(step) / kSteps;
      const auto along = [t](double p0, double p1, double p2, double p3) {
        return 0.5 * (2 * p1 + (p2 - p0) * t + (2 * p0 - 5 * p1 + 4 * p2 - p3) * t * t +
                      (3 * p1 - p0 - 3 * p2 + p3) * t * t * t);
      };
      curve.push_back({along(a.x, b.x, c.x, d.x), along(a.y, b.y, c.y, d.y)});
    }
  }
  return curve;
}

double signedDistance(Point p, const std::vector<Point>& polygon) {
  double nearest = 1e9;
  bool inside = false;
  for (std::size_t i = 0, j = polygon.size() - 1; i < polygon.size(); j = i++) {
    const Point a = polygon[i];
    const Point b = polygon[j];
    nearest = std::min(nearest, distanceToSegment(p, a, b));
    if ((a.y > p.y) != (b.y > p.y) && p.x < (b.x - a.x) * (p.y - a.y) / (b.y - a.y) + a.x) {
      inside = !inside;
    }
  }
  return inside ? -nearest : nearest;
}

Box boxAround(const std::vector<Point>& points) {
  Box box{points.front(), points.front()};
  for (const Point& point : points) {
    box.low = {std::min(box.low.x, point.x), std::min(box.low.y, point.y)};
    box.high = {std::max(box.high.x, point.x), std::max(box.high.y, point.y)};
  }
  return box;
}

Box widened(const Box& box, double by) {
  return {{box.low.x - by, box.low.y - by}, {box.high.x + by, box.high.y + by}};
}

// Pixels of one direction from the first to behind the last that touch [low, high].
std::pair<std::size_t, std::size_t> pixelsBetween(double low, double high, std::size_t count,
                                                  double halfRows) {
  const double middle = static_cast<double>(count) / 2;
  const double last = static_cast<double>(count);
  const double from = std::clamp(std::floor(low * halfRows + middle), 0.0, last);
  const double to = std::clamp(std::ceil(high * halfRows + middle), from, last);
  return {static_cast<std::size_t>(from), static_cast<std::size_t>(to)};
}

double fade(double t) {
  return t * t * (3 - 2 * t);
}

double coverage(double distance, double blur) {
  return std::clamp(0.5 - distance / blur, 0.0, 1.0);
}

void smoothLine(std::vector<double>& line, const std::vector<double>& bell) {
  const std::vector<double> source = line;
  const auto reach = static_cast<std::ptrdiff_t>(bell.size()) - 1;
  const auto last = static_cast<std::ptrdiff_t>(line.size()) - 1;
  for (std::ptrdiff_t i = 0; i <= last; ++i) {
    double sum = 0;
    for (std::ptrdiff_t k = -reach; k <= reach; ++k) {
      const std::ptrdiff_t from = std::clamp(i + k, std::ptrdiff_t{0}, last);
      sum += bell[static_cast<std::size_t>(std::abs(k))] * source[static_cast<std::size_t>(from)];
    }
    line[static_cast<std::size_t>(i)] = sum;
  }
}

std::vector<double> bellOf(double sigma) {
  std::vector<double> bell(static_cast<std::size_t>(std::ceil(3 * sigma)) + 1);
  double sum = 0;
  for (std::size_t k = 0; k < bell.size(); ++k) {
    const double at = static_cast<double>(k) / sigma;
    bell[k] = std::exp(-0.5 * at * at);
    sum += k == 0 ? bell[k] : 2 * bell[k];
  }
  for (double& weight : bell) {
    weight /= sum;
  }
  return bell;
}

}  // namespace

Shape ellipse(Point centre, double rx, double ry, double angle) {
  const double c = std::cos(angle);
  const double s = std::sin(angle);
  const auto distance = [=](Point p) {
    const double x = c * (p.x - centre.x) + s * (p.y - centre.y);
    const double y = -s * (p.x - centre.x) + c * (p.y - centre.y);
    const double k = length(x / rx, y / ry);
    const double slope = length(x / (rx * rx), y / (ry * ry));
    return slope > 0 ? k * (k - 1) / slope : -std::min(rx, ry);
  };
  const double reach = std::max(rx, ry);
  return {distance, widened({centre, centre}, reach)};
}

Shape stroke(Point a, Point b, double ra, double rb) {
  const double dx = b.x - a.x;
  const double dy = b.y - a.y;
  const double squared = dx * dx + dy * dy;
  const auto distance = [=](Point p) {
    const double t =
        squared > 0 ? std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / squared, 0.0, 1.0) : 0.0;
    return length(p.x - a.x - t * dx, p.y - a.y - t * dy) - (ra + t * (rb - ra));
  };
  return {distance, widened(boxAround({a, b}), std::max(ra, rb))};
}

Shape outline(const std::vector<Point>& points) {
  const std::vector<Point> curve = smoothed(points);
  return {[curve](Point p) { return signedDistance(p, curve); }, boxAround(curve)};
}

Shape both(Shape a, Shape b) {
  const Box box{{std::max(a.box.low.x, b.box.low.x), std::max(a.box.low.y, b.box.low.y)},
                {std::min(a.box.high.x, b.box.high.x), std::min(a.box.high.y, b.box.high.y)}};
  return {[a = std::move(a), b = std::move(b)](Point p) { return std::max(a(p), b(p)); }, box};
}

Shape either(Shape a, Shape b) {
  const Box box{{std::min(a.box.low.x, b.box.low.x), std::min(a.box.low.y, b.box.low.y)},
                {std::max(a.box.high.x, b.box.high.x), std::max(a.box.high.y, b.box.high.y)}};
  return {[a = std::move(a), b = std::move(b)](Point p) { return std::min(a(p), b(p)); }, box};
}

Shape without(Shape a, Shape b) {
  const Box box = a.box;
  return {[a = std::move(a), b = std::move(b)](Point p) { return std::max(a(p), -b(p)); }, box};
}

Shape rim(Shape shape, double halfWidth) {
  const Box box = widened(shape.box, halfWidth);
  return {[shape = std::move(shape), halfWidth](Point p) { return std::abs(shape(p)) - halfWidth; },
          box};
}

Shape grown(Shape shape, double by) {
  const Box box = widened(shape.box, std::max(by, 0.0));
  return {[shape = std::move(shape), by](Point p) { return shape(p) - by; }, box};
}

double hash(std::int64_t x, std::int64_t y, std::uint64_t seed) {
  // The finaliser of SplitMix64 over a mix of the coordinates; the wrap is what makes it a hash.
  std::uint64_t z = seed * 0x9E3779B97F4A7C15ULL +
                    static_cast<std::uint64_t>(x) * 0xD1B54A32D192ED03ULL +
                    static_cast<std::uint64_t>(y) * 0x8CB92BA72F3D8DD7ULL;
  z = (z ^ (z >> 30U)) * 0xBF58476D1CE4E5B9ULL;
  z = (z ^ (z >> 27U)) * 0x94D049BB133111EBULL;
  z ^= z >> 31U;
  return static_cast<double>(z >> 11U) * 0x1p-53;
}

double noise(double x, double y, std::uint64_t seed) {
  const double fx = std::floor(x);
  const double fy = std::floor(y);
  const auto ix = static_cast<std::int64_t>(fx);
  const auto iy = static_cast<std::int64_t>(fy);
  const double tx = fade(x - fx);
  const double ty = fade(y - fy);
  const double top = std::lerp(hash(ix, iy, seed), hash(ix + 1, iy, seed), tx);
  const double bottom = std::lerp(hash(ix, iy + 1, seed), hash(ix + 1, iy + 1, seed), tx);
  return 2 * std::lerp(top, bottom, ty) - 1;
}

double fractalNoise(double x, double y, std::uint64_t seed, int octaves) {
  double sum = 0;
  double weight = 0.5;
  for (int octave = 0; octave < octaves; ++octave) {
    sum += weight * noise(x, y, seed + static_cast<std::uint64_t>(octave));
    x *= 2.03;
    y *= 2.03;
    weight *= 0.5;
  }
  return sum * 1.4;
}

double grain(std::int64_t x, std::int64_t y, std::uint64_t seed) {
  double sum = 0;
  for (std::uint64_t i = 0; i < 4; ++i) {
    sum += hash(x, y, seed * 4 + i) - 0.5;
  }
  return sum * std::numbers::sqrt3;  // four uniform numbers have variance 1/3
}

Canvas::Canvas(std::size_t columns, std::size_t rows, double background)
    : columns_(columns), rows_(rows), values_(columns * rows, background) {}

Point Canvas::pointOf(std::size_t column, std::size_t row) const {
  const double half = static_cast<double>(rows_) / 2;
  return {(static_cast<double>(column) + 0.5 - static_cast<double>(columns_) / 2) / half,
          (static_cast<double>(row) + 0.5) / half - 1};
}

void Canvas::fill(const Shape& shape, double value, double blur) {
  fill(
      shape, [value](Point) { return value; }, blur);
}

void Canvas::fill(const Shape& shape, const std::function<double(Point)>& value, double blur) {
  const double edge = std::max(blur, pixel());
  const Box box = widened(shape.box, edge);
  const double half = static_cast<double>(rows_) / 2;
  const auto [firstRow, endRow] = pixelsBetween(box.low.y, box.high.y, rows_, half);
  const auto [firstColumn, endColumn] = pixelsBetween(box.low.x, box.high.x, columns_, half);
  for (std::size_t row = firstRow; row < endRow; ++row) {
    for (std::size_t column = firstColumn; column < endColumn; ++column) {
      const Point point = pointOf(column, row);
      const double covered = coverage(shape(point), edge);
      if (covered > 0) {
        double& old = at(column, row);
        old = std::lerp(old, value(point), covered);
      }
    }
  }
}

void Canvas::map(const std::function<double(Point, double)>& function) {
  for (std::size_t row = 0; row < rows_; ++row) {
    for (std::size_t column = 0; column < columns_; ++column) {
      at(column, row) = function(pointOf(column, row), at(column, row));
    }
  }
}

void Canvas::smooth(double sigmaPixels) {
  const std::vector<double> bell = bellOf(sigmaPixels);
  std::vector<double> line(columns_);
  for (std::size_t row = 0; row < rows_; ++row) {
    for (std::size_t column = 0; column < columns_; ++column) {
      line[column] = at(column, row);
    }
    smoothLine(line, bell);
    for (std::size_t column = 0; column < columns_; ++column) {
      at(column, row) = line[column];
    }
  }
  line.resize(rows_);
  for (std::size_t column = 0; column < columns_; ++column) {
    for (std::size_t row = 0; row < rows_; ++row) {
      line[row] = at(column, row);
    }
    smoothLine(line, bell);
    for (std::size_t row = 0; row < rows_; ++row) {
      at(column, row) = line[row];
    }
  }
}

}  // namespace phantoms
