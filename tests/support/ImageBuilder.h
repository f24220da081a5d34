// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/DatasetBuilder.h"

#include <vector>

namespace support {

/// A place in an image: 0-based column and row.
struct Pixel {
  int column;
  int row;
};

/// Builds images that decode. What is not said gets a sensible value; the samples, unless given,
/// are a ramp 0, 1, 2, ... over all frames that wraps within the stored bits and is placed where
/// High Bit says. Attributes can be overruled with the verbs of every builder: `with`,
/// `withUint16`, `without`.
class ImageBuilder : public BuilderVerbs<ImageBuilder> {
public:
  ImageBuilder(Uint16 columns, Uint16 rows, Uint16 samplesPerPixel, const std::string& photometric);

  /// Size and sign of the samples; all bits are stored until bitsStored() says otherwise.
  ImageBuilder& unsigned8() { return container(8, 0); }
  ImageBuilder& signed8() { return container(8, 1); }
  ImageBuilder& unsigned16() { return container(16, 0); }
  ImageBuilder& signed16() { return container(16, 1); }

  /// Bits Stored, with High Bit just below: the stored bits are the lowest.
  ImageBuilder& bitsStored(Uint16 bits);
  ImageBuilder& highBit(Uint16 bit);

  /// Number of Frames; without it the attribute is absent and the image has one frame.
  ImageBuilder& frames(unsigned int count);
  ImageBuilder& frameIncrementPointer(const std::string& tags);

  ImageBuilder& photometric(const std::string& interpretation);
  /// Planar Configuration; 1 stores the default ramp plane by plane just as it is.
  ImageBuilder& planar(Uint16 configuration);

  ImageBuilder& rescale(const std::string& slope, const std::string& intercept);
  ImageBuilder& window(const std::string& centre, const std::string& width);
  /// Pixel Spacing in the attribute's order.
  ImageBuilder& spacing(const std::string& betweenRows, const std::string& betweenColumns);

  /// The samples of all frames, row by row; each is cut to its container, none is shifted.
  ImageBuilder& samples(const std::vector<int>& values);

  /// An overlay plane of the image's size in one bit of the samples: its attributes.
  ImageBuilder& overlayPlane(Uint16 group, Uint16 bitPosition);
  /// The same, and its bit set at the given places of one frame, clear elsewhere.
  ImageBuilder& overlayBits(Uint16 group, Uint16 bitPosition, const std::vector<Pixel>& places,
                            unsigned int frame = 0);

  /// The image as a dataset, or as an item that belongs to no dataset.
  [[nodiscard]] std::unique_ptr<DcmDataset> build() const;
  [[nodiscard]] std::unique_ptr<DcmItem> buildItem() const;

  /// The samples that build() stores: without pad byte, overlay bits included.
  [[nodiscard]] std::vector<Uint16> storedSamples() const;

private:
  struct OverlayBit {
    Uint16 bitPosition;
    unsigned int frame;
    Pixel place;
  };

  ImageBuilder& container(Uint16 bitsAllocated, Uint16 pixelRepresentation);
  std::vector<Uint16> ramp(std::size_t count) const;
  void addPixelData(DcmItem& item) const;

  Uint16 columns_;
  Uint16 rows_;
  Uint16 samplesPerPixel_;
  Uint16 bitsAllocated_ = 16;
  Uint16 bitsStored_ = 16;
  Uint16 highBit_ = 15;
  unsigned int frames_ = 1;
  std::vector<int> samples_;
  std::vector<Uint16> clearedBits_;
  std::vector<OverlayBit> overlayBits_;
};

/// MONOCHROME2, unsigned 16 bits; no modality, no rescale, no window, no spacing.
[[nodiscard]] ImageBuilder monochromeImage(Uint16 columns, Uint16 rows);

/// The same as a CT image.
[[nodiscard]] ImageBuilder ctSlice(Uint16 columns, Uint16 rows);

/// RGB, 8 bits a sample, interleaved.
[[nodiscard]] ImageBuilder rgbImage(Uint16 columns, Uint16 rows);

/// PALETTE COLOR, 8-bit indices into 256 entries of 16 bits: index i is red i, green 255 - i,
/// blue 128 (in the high bytes).
[[nodiscard]] ImageBuilder paletteImage(Uint16 columns, Uint16 rows);

}  // namespace support
