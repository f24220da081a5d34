// SPDX-License-Identifier: BSD-3-Clause
// Resampling with a tent as wide as a pixel of the coarser grid, first along the rows, then down.
// A source row is shrunk once and added to the rows of the thumbnail that it has a share in.
#include "zrimaging/Thumbnails.h"

#include "zrimaging/Boundary.h"

#include <algorithm>
#include <cmath>

namespace zr {

namespace {

/// Places from `begin` to before `end`.
struct Range {
  int begin;
  int end;
};

double ratio(std::size_t source, std::size_t target) {
  return static_cast<double>(source) / static_cast<double>(target);
}

// The source pixels that fall into a pixel of the thumbnail: at least one.
Range sourceOf(int place, std::size_t source, std::size_t target) {
  const double scale = ratio(source, target);
  const int begin = static_cast<int>(place * scale);
  return {begin, std::max(begin + 1, static_cast<int>((place + 1) * scale))};
}

// The pixels of the thumbnail that these source pixels may fall into.
Range shrunk(Range range, std::size_t source, std::size_t target) {
  const double scale = ratio(source, target);
  return {std::max(0, static_cast<int>(range.begin / scale) - 1),
          std::min(static_cast<int>(target), static_cast<int>(range.end / scale) + 1)};
}

int countIn(const ZrOverlayData& overlays, int index, Range columns, Range rows) {
  int count = 0;
  for (int y = rows.begin; y < rows.end; ++y) {
    for (int x = columns.begin; x < columns.end; ++x) {
      count += overlays.test(index, x, y) ? 1 : 0;
    }
  }
  return count;
}

void blend(unsigned char* pixel, const Colour& colour, double share) {
  for (std::size_t channel = 0; channel < colour.size(); ++channel) {
    const double mixed = std::lerp(static_cast<double>(pixel[channel]),
                                   static_cast<double>(colour.at(channel)), share);
    pixel[channel] = static_cast<unsigned char>(std::lround(mixed));
  }
}

}  // namespace

Thumbnailer::Thumbnailer(const SampleArray& frame, std::size_t columns, std::size_t rows)
    : layout_(frame),
      columns_(columns),
      rows_(rows),
      across_(atBoundary([&] { return tapsOfThumbnail(frame.columns, columns); })),
      down_(
          atBoundary([&] { return tapsOfSource(tapsOfThumbnail(frame.rows, rows), frame.rows); })) {
}

Thumbnailer::Taps Thumbnailer::tapsOfThumbnail(std::size_t source, std::size_t target) {
  Taps taps(target);
  const double scale = static_cast<double>(source) / static_cast<double>(target);
  const double reach = std::max(1.0, scale);
  const double last = static_cast<double>(source) - 1;
  for (std::size_t i = 0; i < target; ++i) {
    const double centre = (static_cast<double>(i) + 0.5) * scale - 0.5;
    const double from = std::clamp(std::ceil(centre - reach), 0.0, last);
    const double to = std::clamp(std::floor(centre + reach), from, last);
    double sum = 0;
    for (double k = from; k <= to; ++k) {
      const double weight = 1 - std::abs(k - centre) / reach;
      if (weight > 0) {
        taps[i].push_back({static_cast<std::size_t>(k), static_cast<float>(weight)});
        sum += weight;
      }
    }
    for (Tap& tap : taps[i]) {
      tap.weight /= static_cast<float>(sum);
    }
  }
  return taps;
}

Thumbnailer::Taps Thumbnailer::tapsOfSource(const Taps& tapsOfThumbnail, std::size_t source) {
  Taps taps(source);
  for (std::size_t place = 0; place < tapsOfThumbnail.size(); ++place) {
    for (const Tap& tap : tapsOfThumbnail[place]) {
      taps[tap.place].push_back({place, tap.weight});
    }
  }
  return taps;
}

void Thumbnailer::levelsOfRow(const SampleArray& frame, std::size_t row,
                              std::vector<unsigned char>& levels) const {
  const std::size_t start = row * levels.size();
  if (greys_) {
    greys_->render(frame, start, levels.size(), levels.data());
    return;
  }
  std::copy_n(frame.bytes + start, levels.size(), levels.begin());
}

void Thumbnailer::shrinkRow(const std::vector<unsigned char>& levels,
                            std::vector<float>& line) const {
  const std::size_t channels = layout_.channels;
  for (std::size_t column = 0; column < columns_; ++column) {
    for (std::size_t channel = 0; channel < channels; ++channel) {
      float sum = 0;
      for (const Tap& tap : across_[column]) {
        sum += tap.weight * static_cast<float>(levels[tap.place * channels + channel]);
      }
      line[column * channels + channel] = sum;
    }
  }
}

Picture Thumbnailer::render(const SampleArray& frame) const {
  return atBoundary([&] {
    const std::size_t channels = layout_.channels;
    std::vector<unsigned char> levels(layout_.columns * channels);
    std::vector<float> line(columns_ * channels);
    std::vector<float> sums(rows_ * line.size(), 0.0F);
    for (std::size_t row = 0; row < layout_.rows; ++row) {
      levelsOfRow(frame, row, levels);
      shrinkRow(levels, line);
      for (const Tap& tap : down_[row]) {
        float* const target = &sums[tap.place * line.size()];
        for (std::size_t i = 0; i < line.size(); ++i) {
          target[i] += tap.weight * line[i];
        }
      }
    }
    Picture thumbnail{rows_, columns_, 3, std::vector<unsigned char>(rows_ * columns_ * 3)};
    for (std::size_t i = 0; i < thumbnail.samples.size(); ++i) {
      const float value = sums[channels == 3 ? i : i / 3];
      thumbnail.samples[i] = static_cast<unsigned char>(std::clamp(std::lround(value), 0L, 255L));
    }
    return thumbnail;
  });
}

void Thumbnailer::drawOverlay(Picture& thumbnail, const ZrOverlayData& overlays, int index) const {
  const Colour colour = overlayColour(overlays.group(index));
  const KtVec2i origin = overlays.origin(index);
  const KtVec2i size = overlays.size(index);
  const Range lines = shrunk({origin.y, origin.y + size.y}, layout_.rows, rows_);
  const Range pixels = shrunk({origin.x, origin.x + size.x}, layout_.columns, columns_);
  // A straight line one pixel wide covers this many of the pixels that fall into one.
  const double full = std::max({1.0, ratio(layout_.columns, columns_), ratio(layout_.rows, rows_)});
  for (int row = lines.begin; row < lines.end; ++row) {
    for (int column = pixels.begin; column < pixels.end; ++column) {
      const int covered = countIn(overlays, index, sourceOf(column, layout_.columns, columns_),
                                  sourceOf(row, layout_.rows, rows_));
      if (covered != 0) {
        const std::size_t pixel =
            static_cast<std::size_t>(row) * columns_ + static_cast<std::size_t>(column);
        blend(&thumbnail.samples[3 * pixel], colour, std::min(1.0, covered / full));
      }
    }
  }
}

}  // namespace zr
