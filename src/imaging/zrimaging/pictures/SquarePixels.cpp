// SPDX-License-Identifier: BSD-3-Clause
// Pictures whose pixels are made square.
#include "zrimaging/Boundary.h"
#include "zrimaging/Pictures.h"
#include "zrimaging/Thumbnails.h"
#include "zrimaging/images/FrameNumbers.h"

#include <cmath>
#include <utility>

namespace zr {

namespace {

constexpr double kOddestPixel = 8;

std::size_t scaled(std::size_t pixels, double factor) {
  return static_cast<std::size_t>(std::lround(static_cast<double>(pixels) * factor));
}

}  // namespace

double pixelAspectOf(const FramesRecord& record, std::size_t index) {
  return atBoundary([&] {
    const auto& spacing = frameAt(record.attributes, index).pixelSpacing;
    const double aspect =
        spacing ? (*spacing)[1] / (*spacing)[0] : record.attributes.pixelAspect.value_or(1);
    return aspect > 1 / kOddestPixel && aspect < kOddestPixel ? aspect : 1;
  });
}

Picture withSquarePixels(const Picture& picture, double aspect) {
  return atBoundary([&]() -> Picture {
    const std::size_t columns = aspect < 1 ? scaled(picture.columns, 1 / aspect) : picture.columns;
    const std::size_t rows = aspect > 1 ? scaled(picture.rows, aspect) : picture.rows;
    if (columns == picture.columns && rows == picture.rows) {
      return picture;
    }
    Picture square = Thumbnailer(picture.view(), columns, rows).render(picture.view());
    if (picture.channels == 1) {
      for (std::size_t i = 0; i < rows * columns; ++i) {
        square.samples[i] = square.samples[3 * i];  // of equal red, green and blue
      }
      square.samples.resize(rows * columns);
      square.channels = 1;
    }
    return square;
  });
}

}  // namespace zr
