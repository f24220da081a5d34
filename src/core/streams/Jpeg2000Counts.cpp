// SPDX-License-Identifier: BSD-3-Clause
// Packets and code-blocks that a JPEG 2000 image promises, counted from its headers (T.800 Annex
// B): OpenJPEG takes memory for each of them, and time for each place where one may be.
#include "dicom/FrameSize.h"
#include "streams/Jpeg2000Headers.h"

#include <algorithm>

namespace Zrg {

namespace {

using Jpeg2000::Area;
using Jpeg2000::Coding;
using Jpeg2000::ComponentCoding;
using Jpeg2000::Headers;
using Jpeg2000::kBadCoding;
using Jpeg2000::kMostLevels;
using Jpeg2000::Sizes;
using std::uint64_t;

constexpr FailureText kTooManyPackets{"JPEG 2000 stream promises more packets than it has bytes"};
constexpr FailureText kTooManyBlocks{"JPEG 2000 stream promises more code-blocks than it can hold"};

constexpr unsigned int kMostPrecinctExponent = 15 + kMostLevels;  // in pixels of the image
constexpr uint64_t kSamplesOfABlock = 256;
constexpr uint64_t kBlocksOfAByte = 4;
constexpr uint64_t kAFewBlocks = 4096;
constexpr uint64_t kPositionsOfAByte = 32;
constexpr uint64_t kAFewPositions = 1U << 16U;

/// value / 2^shift, rounded up or down.
uint64_t shiftUp(uint64_t value, unsigned int shift) {
  return (value + (uint64_t{1} << shift) - 1) >> shift;
}
uint64_t shiftDown(uint64_t value, unsigned int shift) {
  return value >> shift;
}

/// How many intervals of 2^exponent, counted from 0, lie in begin to end - 1.
uint64_t intervals(uint64_t begin, uint64_t end, unsigned int exponent) {
  return end > begin ? shiftUp(end, exponent) - shiftDown(begin, exponent) : 0;
}

Area tileArea(const Sizes& sizes, uint64_t tile) {
  const uint64_t x = sizes.tilesX + tile % sizes.tilesAcross * sizes.tileWidth;
  const uint64_t y = sizes.tilesY + tile / sizes.tilesAcross * sizes.tileHeight;
  const Area& image = sizes.image;
  return {std::max(x, image.x0), std::max(y, image.y0), std::min(x + sizes.tileWidth, image.x1),
          std::min(y + sizes.tileHeight, image.y1)};
}

/// Code-blocks of the bands of one resolution. @see T.800 B.5, B.7
uint64_t countBlocks(const Area& component, const ComponentCoding& coding,
                     unsigned int resolution) {
  const unsigned int precinct = coding.precincts[resolution];
  const unsigned int ofBand = resolution > 0 ? 1 : 0;
  const unsigned int width = std::min(coding.blockWidth, (precinct & 0x0FU) - ofBand);
  const unsigned int height = std::min(coding.blockHeight, (precinct >> 4U) - ofBand);
  const unsigned int level = std::min(coding.levels - resolution + ofBand, kMostLevels + 1);
  const uint64_t half = level > 0 ? uint64_t{1} << (level - 1) : 0;
  uint64_t blocks = 0;
  for (unsigned int band = resolution > 0 ? 1 : 0; band <= (resolution > 0 ? 3U : 0U); ++band) {
    const uint64_t x = (band & 1U) != 0 ? half : 0;
    const uint64_t y = (band & 2U) != 0 ? half : 0;
    const auto edge = [level](uint64_t at, uint64_t offset) {
      return at > offset ? shiftUp(at - offset, level) : 0;
    };
    blocks += intervals(edge(component.x0, x), edge(component.x1, x), width) *
              intervals(edge(component.y0, y), edge(component.y1, y), height);
  }
  return blocks;
}

/// The precincts of a tile, as far as OpenJPEG's search for them depends on them.
struct PrecinctSearch {
  unsigned int narrowest = kMostPrecinctExponent;
  unsigned int flattest = kMostPrecinctExponent;
  uint64_t mostPrecincts = 0;
  unsigned int mostResolutions = 0;
};

/// Packets and code-blocks of all tiles.
class Counter {
public:
  Counter(const std::vector<Jpeg2000Component>& components, std::size_t size)
      : components_(components), size_(size) {}

  /// Adds those of one tile, and looks at the places where OpenJPEG would search for its precincts.
  std::optional<FailureText> addTile(const Area& tile, const Coding& coding);

  [[nodiscard]] uint64_t blocks() const { return blocks_; }

private:
  /// False as soon as there are more packets than bytes.
  [[nodiscard]] bool addComponent(const Area& area, const ComponentCoding& how, uint64_t layers,
                                  PrecinctSearch& search);
  [[nodiscard]] bool isSearchedQuickly(const Area& tile, uint64_t layers,
                                       const PrecinctSearch& search) const;

  const std::vector<Jpeg2000Component>& components_;
  std::size_t size_;
  uint64_t packets_ = 0;
  uint64_t blocks_ = 0;
};

bool Counter::addComponent(const Area& area, const ComponentCoding& how, uint64_t layers,
                           PrecinctSearch& search) {
  search.mostResolutions = std::max(search.mostResolutions, how.levels + 1);
  for (unsigned int resolution = 0; resolution <= how.levels; ++resolution) {
    const unsigned int shift = how.levels - resolution;
    const unsigned int width = how.precincts[resolution] & 0x0FU;
    const unsigned int height = how.precincts[resolution] >> 4U;
    const uint64_t precincts = intervals(shiftUp(area.x0, shift), shiftUp(area.x1, shift), width) *
                               intervals(shiftUp(area.y0, shift), shiftUp(area.y1, shift), height);
    search.narrowest = std::min(search.narrowest, width + shift);
    search.flattest = std::min(search.flattest, height + shift);
    search.mostPrecincts = std::max(search.mostPrecincts, precincts);
    packets_ += precincts * layers;
    blocks_ += countBlocks(area, how, resolution);
    if (packets_ > size_) {
      return false;
    }
  }
  return true;
}

/// OpenJPEG numbers packets, and steps over positions, as if all resolutions were like the largest.
bool Counter::isSearchedQuickly(const Area& tile, uint64_t layers,
                                const PrecinctSearch& search) const {
  const uint64_t each =
      std::max(uint64_t{1}, uint64_t{1} * search.mostResolutions * components_.size());
  const uint64_t most = kPositionsOfAByte * size_ + kAFewPositions;
  const uint64_t positions =
      intervals(tile.x0, tile.x1, search.narrowest) * intervals(tile.y0, tile.y1, search.flattest);
  return positions <= most / each && search.mostPrecincts * layers <= most / each;
}

std::optional<FailureText> Counter::addTile(const Area& tile, const Coding& coding) {
  PrecinctSearch search;
  for (std::size_t i = 0; i < components_.size(); ++i) {
    const unsigned int dx = components_[i].horizontal;
    const unsigned int dy = components_[i].vertical;
    const Area area = {dividedUp(tile.x0, dx), dividedUp(tile.y0, dy), dividedUp(tile.x1, dx),
                       dividedUp(tile.y1, dy)};
    if (!addComponent(area, coding.components[i], coding.layers, search)) {
      return kTooManyPackets;
    }
  }
  return isSearchedQuickly(tile, coding.layers, search) ? std::nullopt
                                                        : std::optional(kTooManyPackets);
}

}  // namespace

std::optional<FailureText> Jpeg2000::checkCounts(const Headers& headers, const Jpeg2000Frame& frame,
                                                 std::size_t size) {
  const uint64_t samples = uint64_t{1} * frame.columns * frame.rows * frame.samplesPerPixel;
  const uint64_t mostBlocks = samples / kSamplesOfABlock + kBlocksOfAByte * size + kAFewBlocks;
  Counter counter(headers.components, size);
  for (const auto& [tile, coding] : headers.ofTiles) {
    if (coding.layers == 0) {
      return kBadCoding;
    }
    if (const std::optional<FailureText> failure =
            counter.addTile(tileArea(headers.sizes, tile), coding)) {
      return failure;
    }
    if (counter.blocks() > mostBlocks) {
      return kTooManyBlocks;
    }
  }
  return std::nullopt;
}

}  // namespace Zrg
