// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

namespace phantoms {

struct Point {
  double x;
  double y;
};

/// A place in a body; the phantom says where its axes are and what its unit is.
struct BodyPoint {
  double x;
  double y;
  double z;
};

/// A rectangle that a shape lies in; the default is the whole plane.
struct Box {
  static constexpr double kFar = 1e9;
  Point low{-kFar, -kFar};
  Point high{kFar, kFar};
};

/// A shape as the distance to its edge: negative inside, in the units of the coordinates; exact
/// enough near the edge, which is all that drawing needs. The box spares looking elsewhere.
struct Shape {
  std::function<double(Point)> distance;
  Box box{};

  double operator()(Point point) const { return distance(point); }
};

/// Ellipse with half axes (rx, ry), turned by `angle` radians.
Shape ellipse(Point centre, double rx, double ry, double angle = 0);
/// Stroke from a to b, its half width going from `ra` to `rb`, with round ends.
Shape stroke(Point a, Point b, double ra, double rb);
/// Closed smooth outline through the points.
Shape outline(const std::vector<Point>& points);
/// Where both are, either is, or the first without the second.
Shape both(Shape a, Shape b);
Shape either(Shape a, Shape b);
Shape without(Shape a, Shape b);
/// The rim of a shape: everything within `halfWidth` of its edge.
Shape rim(Shape shape, double halfWidth);
/// The shape with its edge pushed outwards (inwards when negative).
Shape grown(Shape shape, double by);

/// Uniform number in [0, 1) that depends on nothing but its arguments, on every machine the same.
double hash(std::int64_t x, std::int64_t y, std::uint64_t seed);
/// Smooth noise in [-1, 1] with features of size 1.
double noise(double x, double y, std::uint64_t seed);
/// Noise with finer and finer detail on top, about [-1, 1].
double fractalNoise(double x, double y, std::uint64_t seed, int octaves);
/// Bell-shaped noise of variance 1, without correlation between neighbours.
double grain(std::int64_t x, std::int64_t y, std::uint64_t seed);

/// A gray image in real numbers to draw on. Coordinates: (0, 0) is the centre, one unit is half of
/// the height, y points down.
class Canvas {
public:
  Canvas(std::size_t columns, std::size_t rows, double background);

  std::size_t columns() const { return columns_; }
  std::size_t rows() const { return rows_; }
  double& at(std::size_t column, std::size_t row) { return values_[row * columns_ + column]; }
  double at(std::size_t column, std::size_t row) const { return values_[row * columns_ + column]; }
  /// The coordinates of a pixel's centre.
  Point pointOf(std::size_t column, std::size_t row) const;
  /// Size of a pixel in coordinates.
  double pixel() const { return 2.0 / static_cast<double>(rows_); }

  /// Fills the shape; its edge is `blur` wide (at least a pixel).
  void fill(const Shape& shape, double value, double blur = 0);
  /// Fills the shape with a value of its own at every point.
  void fill(const Shape& shape, const std::function<double(Point)>& value, double blur = 0);
  /// Replaces every value by what the function makes of its place and the value.
  void map(const std::function<double(Point, double)>& function);
  /// Smooths with a bell of this standard deviation, in pixels.
  void smooth(double sigmaPixels);

private:
  std::size_t columns_;
  std::size_t rows_;
  std::vector<double> values_;
};

}  // namespace phantoms
