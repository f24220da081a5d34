// SPDX-License-Identifier: BSD-3-Clause
// Tile-parts of a codestream (T.800 A.4.2), each a header and packets, into which nobody looks
// here:
//
//   SOT  Uint16 tile, Uint32 bytes of the tile-part from its marker on (0: to the end of the
//        codestream), Uint8 tile-part, Uint8 their number; more segments up to SOD (FF93), then
//        packets
#include "dicom/FrameSize.h"
#include "streams/Jpeg2000Headers.h"

#include <algorithm>

namespace Zrg {

namespace {

using Jpeg2000::Codestream;
using Jpeg2000::Coding;
using Jpeg2000::Cursor;
using Jpeg2000::Headers;
using Jpeg2000::kBadTiles;
using Jpeg2000::kCutHeader;
using Jpeg2000::Sizes;
using std::uint16_t;
using std::uint32_t;
using std::uint64_t;

constexpr FailureText kBadTilePart{"JPEG 2000 tile-part reaches beyond the stream"};
constexpr FailureText kMissingTile{"JPEG 2000 stream lacks tiles"};

constexpr uint64_t kLeastTilePartBytes = 14;  // SOT and SOD
constexpr uint64_t kSamplesOfATile = 1024;    // on average, in images of more tiles than a few
constexpr uint64_t kAFewTiles = 256;

/// The headers of tile-parts, one after the other.
class TilePartReader {
public:
  TilePartReader(Cursor& stream, const Codestream& codestream, Headers& headers, std::size_t tiles)
      : stream_(stream), codestream_(codestream), headers_(headers), seen_(tiles, false) {}

  /// Takes a tile-part whose marker has been taken.
  std::optional<FailureText> read();

  [[nodiscard]] bool hasSeenAll() const {
    return std::find(seen_.begin(), seen_.end(), false) == seen_.end();
  }

private:
  Cursor& stream_;
  const Codestream& codestream_;
  Headers& headers_;
  std::vector<bool> seen_;
};

std::optional<FailureText> TilePartReader::read() {
  const uint64_t begin = stream_.position() - 2;
  Cursor segment = segmentOf(stream_);
  const uint16_t tile = segment.u16();
  const uint32_t length = segment.u32();
  (void)segment.u16();  // number of the tile-part, and of all
  if (!segment.isGood()) {
    return kCutHeader;
  }
  if (tile >= seen_.size()) {
    return kBadTiles;
  }
  const uint64_t end = length == 0 ? codestream_.endMarker : begin + length;
  const auto known = headers_.ofTiles.find(tile);
  Coding coding = known != headers_.ofTiles.end() ? known->second : headers_.coding;
  if (const std::optional<FailureText> failure =
          readSegments(stream_, Jpeg2000::kStartOfData, headers_.components.size(), coding)) {
    return failure;
  }
  if (end > codestream_.end || end < stream_.position()) {
    return kBadTilePart;
  }
  headers_.ofTiles.insert_or_assign(tile, coding);
  seen_[tile] = true;
  stream_.skip(end - stream_.position());
  return std::nullopt;
}

/// How many tiles there are; nothing when they are too many for the bytes or the pixels.
std::optional<std::size_t> countTiles(const Codestream& codestream, const Jpeg2000Frame& frame,
                                      Sizes& sizes) {
  sizes.tilesAcross = dividedUp(sizes.image.x1 - sizes.tilesX, sizes.tileWidth);
  sizes.tilesDown = dividedUp(sizes.image.y1 - sizes.tilesY, sizes.tileHeight);
  const uint64_t tiles = sizes.tilesAcross * sizes.tilesDown;
  const uint64_t pixels = uint64_t{1} * frame.columns * frame.rows;
  if (tiles > (codestream.end - codestream.begin) / kLeastTilePartBytes ||
      tiles > pixels / kSamplesOfATile + kAFewTiles) {
    return std::nullopt;
  }
  return static_cast<std::size_t>(tiles);
}

}  // namespace

Result<std::size_t> Jpeg2000::readTileParts(Cursor& stream, const Codestream& codestream,
                                            const Jpeg2000Frame& frame, Headers& headers) {
  const std::optional<std::size_t> tiles = countTiles(codestream, frame, headers.sizes);
  if (!tiles) {
    return kBadTiles;
  }
  TilePartReader reader(stream, codestream, headers, *tiles);
  std::size_t end = 0;
  bool isTilePart = true;
  while (isTilePart) {
    if (const std::optional<FailureText> failure = reader.read()) {
      return *failure;
    }
    end = stream.position();
    isTilePart = stream.left() >= 2 && stream.u16() == kStartOfTilePart;
  }
  if (!reader.hasSeenAll()) {
    return kMissingTile;
  }
  return end;
}

}  // namespace Zrg
