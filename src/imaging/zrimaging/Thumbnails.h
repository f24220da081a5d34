// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zrvolren/ZrOverlayData.h>

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>
#include <zrimaging/Pictures.h>
#include <zrimaging/Samples.h>
#include <zrimaging/ZrimagingApi.h>

namespace zr {

/// Renders frames of one size at another size, straight from their samples: the frame as a whole is
/// never there a second time. Smaller ones are averaged, larger ones interpolated.
class ZRIMAGING_API Thumbnailer {
public:
  /// @param frame  layout of the frames; its bytes are not used.
  /// @param columns,rows size of the thumbnails
  Thumbnailer(const SampleArray& frame, std::size_t columns, std::size_t rows);

  /// Shows the frames that follow with these grey levels. Colour needs none.
  void showThrough(Greys greys) { greys_ = std::move(greys); }

  /// One frame in RGB.
  Picture render(const SampleArray& frame) const;

  /// Draws an overlay of the frame into its thumbnail, in the colour of the overlay's group. Lines
  /// stay visible however small the thumbnail is.
  void drawOverlay(Picture& thumbnail, const ZrOverlayData& overlays, int index) const;

private:
  /// The share that a source pixel has in a pixel of the thumbnail.
  struct Tap {
    std::size_t place;
    float weight;
  };
  using Taps = std::vector<std::vector<Tap>>;

  static Taps tapsOfThumbnail(std::size_t source, std::size_t target);
  static Taps tapsOfSource(const Taps& tapsOfThumbnail, std::size_t source);
  void levelsOfRow(const SampleArray& frame, std::size_t row,
                   std::vector<unsigned char>& levels) const;
  void shrinkRow(const std::vector<unsigned char>& levels, std::vector<float>& line) const;

  SampleArray layout_;
  std::optional<Greys> greys_;
  std::size_t columns_;
  std::size_t rows_;
  Taps across_;  ///< for each column of the thumbnail the source columns
  Taps down_;    ///< for each source row the rows of the thumbnail
};

}  // namespace zr
