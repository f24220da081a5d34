// SPDX-License-Identifier: BSD-3-Clause
// Walks over the headers of a JPEG 2000 image, never into its packets. All numbers are big endian.
//
// JP2 file (T.800 Annex I), a row of boxes, the codestream in one of them:
//
//   Uint32 length with this header (1: a Uint64 follows the type; 0: to the end), Uint32 type,
//   content
//
// Codestream (T.800 Annex A): SOC (FF4F), SIZ, other segments of the main header, tile-parts, EOC
// (FFD9). A segment is a marker and a Uint16 length that counts itself; markers FF30 to FF3F stand
// alone.
//
//   SIZ  Uint16 capabilities, Uint32 X, Y (end of the image), XO, YO (its begin), XT, YT (size of a
//        tile), XTO, YTO (begin of the tiles), Uint16 components, each Uint8 sign (bit 7) and
//        precision - 1, Uint8 horizontal, Uint8 vertical distance of samples
//   COD  Uint8 flags (1: precincts are given), Uint8 order, Uint16 layers, Uint8 colour transform,
//        then Uint8 decomposition levels, width and height of code-blocks (exponent - 2), style,
//        wavelet, and for each resolution Uint8: exponents of the precinct's width (low bits) and
//        height
//   COC  component (Uint8, or Uint16 with more than 256), Uint8 flags, then as COD from the levels
//        on
//   SOT  Uint16 tile, Uint32 bytes of the tile-part from its marker on (0: to the end of the
//        codestream), Uint8 tile-part, Uint8 their number; more segments up to SOD (FF93), then
//        packets
//
// What each check keeps away from OpenJPEG:
//
//   other size, components, precision   samples that do not fill the frame, or fill it twice
//   tiles                               a structure of 7 KB for each, 65,535 of them in a header of
//                                       100 bytes
//   tiles that are missing              "decoded" to zeros without a word
//   packets                             each takes a byte at least; those of 1 x 1 precincts take
//                                       gigabytes
//   positions                           precincts narrow in one resolution and flat in another are
//                                       looked for at each pixel
//   code-blocks                         half a KB for each, coded or not
#include "streams/Jpeg2000Stream.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <optional>

namespace Zrg {

namespace {

using std::uint16_t;
using std::uint32_t;
using std::uint64_t;
using std::uint8_t;

constexpr FailureText kNoCodestream{"JPEG 2000 codestream not found"};
constexpr FailureText kCutHeader{"JPEG 2000 headers are damaged or cut short"};
constexpr FailureText kPart2{"JPEG 2000 stream uses transforms of Part 2"};
constexpr FailureText kOtherSize{"JPEG 2000 stream has another size than the image"};
constexpr FailureText kOtherComponents{"JPEG 2000 stream has other components than the image"};
constexpr FailureText kTooPrecise{"JPEG 2000 stream has more bits than the samples of the image"};
constexpr FailureText kTooManySamples{"JPEG 2000 stream has more samples than allowed"};
constexpr FailureText kBadTiles{"JPEG 2000 stream has no tiles or too many for its size"};
constexpr FailureText kBadCoding{"JPEG 2000 stream has a coding style that does not exist"};
constexpr FailureText kBadTilePart{"JPEG 2000 tile-part reaches beyond the stream"};
constexpr FailureText kMissingTile{"JPEG 2000 stream lacks tiles"};
constexpr FailureText kTooManyPackets{"JPEG 2000 stream promises more packets than it has bytes"};
constexpr FailureText kTooManyBlocks{"JPEG 2000 stream promises more code-blocks than it can hold"};

constexpr unsigned int kStartOfCodestream = 0xFF4F;
constexpr unsigned int kSize = 0xFF51;
constexpr unsigned int kCodingDefault = 0xFF52;
constexpr unsigned int kCodingOfComponent = 0xFF53;
constexpr unsigned int kStartOfTilePart = 0xFF90;
constexpr unsigned int kStartOfData = 0xFF93;
constexpr unsigned int kFirstWithoutLength = 0xFF30;
constexpr unsigned int kLastWithoutLength = 0xFF3F;
constexpr std::array<unsigned int, 4> kPart2Markers = {0xFF74, 0xFF75, 0xFF77, 0xFF78};

constexpr uint32_t kCodestreamBox = 0x6A703263;  // "jp2c"
constexpr std::array<uint8_t, 12> kSignatureBox = {0,    0,    0,    12,   0x6A, 0x50,
                                                   0x20, 0x20, 0x0D, 0x0A, 0x87, 0x0A};

constexpr unsigned int kMostComponents = 4;
constexpr unsigned int kMostPrecision = 16;
constexpr unsigned int kMostLevels = 32;
constexpr unsigned int kMostBlockExponent = 10;
constexpr unsigned int kMostBlockExponents = 12;  // of width and height together
constexpr uint8_t kLargestPrecinct = 0xFF;
constexpr unsigned int kMostPrecinctExponent = 15 + kMostLevels;  // in pixels of the image
constexpr uint8_t kHighThroughputStyle = 0x40;

constexpr uint64_t kLeastTilePartBytes = 14;  // SOT and SOD
constexpr uint64_t kSamplesOfATile = 1024;    // on average, in images of more tiles than a few
constexpr uint64_t kAFewTiles = 256;
constexpr uint64_t kSamplesOfABlock = 256;
constexpr uint64_t kBlocksOfAByte = 4;
constexpr uint64_t kAFewBlocks = 4096;
constexpr uint64_t kPositionsOfAByte = 32;
constexpr uint64_t kAFewPositions = 1U << 16U;

/// Bytes that are read forward; what lies beyond the end reads as 0 and is remembered.
class Cursor {
public:
  Cursor(const uint8_t* bytes, std::size_t begin, std::size_t end)
      : bytes_(bytes), position_(begin), end_(end) {}

  uint8_t u8() { return static_cast<uint8_t>(number(1)); }
  uint16_t u16() { return static_cast<uint16_t>(number(2)); }
  uint32_t u32() { return static_cast<uint32_t>(number(4)); }
  uint64_t u64() { return number(8); }
  void skip(uint64_t count) {
    isGood_ = isGood_ && count <= left();
    position_ += isGood_ ? static_cast<std::size_t>(count) : 0;
  }

  /// The next `count` bytes as a cursor of their own, which are skipped here.
  Cursor part(uint64_t count) {
    const std::size_t begin = position_;
    skip(count);
    return {bytes_, begin, position_};
  }

  [[nodiscard]] bool isGood() const { return isGood_; }
  [[nodiscard]] std::size_t position() const { return position_; }
  [[nodiscard]] std::size_t left() const { return end_ - position_; }

private:
  uint64_t number(std::size_t size) {
    isGood_ = isGood_ && size <= left();
    uint64_t value = 0;
    for (std::size_t i = 0; isGood_ && i < size; ++i) {
      value = value << 8U | bytes_[position_++];
    }
    return value;
  }

  const uint8_t* bytes_;
  std::size_t position_;
  std::size_t end_;
  bool isGood_ = true;
};

/// A segment behind its marker: what its length leaves for the content.
Cursor segmentOf(Cursor& stream) {
  const uint16_t length = stream.u16();
  return stream.part(length >= 2 ? length - 2U : stream.left() + 1);  // no such part: turns bad
}

uint64_t divideUp(uint64_t value, uint64_t divisor) {
  return value / divisor + (value % divisor != 0 ? 1 : 0);
}

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

struct Area {
  uint64_t x0 = 0, y0 = 0, x1 = 0, y1 = 0;
};

struct Sizes {
  Area image;
  uint32_t tileWidth = 0, tileHeight = 0, tilesX = 0, tilesY = 0;
  uint64_t tilesAcross = 0, tilesDown = 0;
};

/// How the samples of one component are coded.
struct ComponentCoding {
  unsigned int levels = 0;
  unsigned int blockWidth = 0;  // exponents
  unsigned int blockHeight = 0;
  bool isHighThroughput = false;
  std::array<uint8_t, kMostLevels + 1> precincts{};
};

/// How a tile is coded.
struct Coding {
  uint64_t layers = 0;  // 0: not said yet
  std::array<ComponentCoding, kMostComponents> components{};
};

class Walk {
public:
  Walk(const uint8_t* bytes, std::size_t size, const Jpeg2000Frame& frame)
      : bytes_(bytes), size_(size), frame_(frame), stream_(bytes, 0, 0) {}

  Result<Jpeg2000Image> image();

private:
  std::optional<FailureText> findCodestream();
  std::optional<FailureText> readSizes();
  std::optional<FailureText> readComponents(Cursor& segment);
  std::optional<FailureText> checkSizes() const;
  std::optional<FailureText> readHeader(unsigned int lastMarker, Coding& coding);
  std::optional<FailureText> readTileParts();
  std::optional<FailureText> readTilePart(uint64_t begin, std::vector<bool>& seen);
  [[nodiscard]] std::size_t endOfCodestream() const;
  std::optional<FailureText> countAll() const;
  std::optional<FailureText> countTile(const Area& tile, const Coding& coding, uint64_t& packets,
                                       uint64_t& blocks) const;
  [[nodiscard]] bool readCodingDefault(Cursor& segment, Coding& coding) const;
  [[nodiscard]] bool readCodingOfComponent(Cursor& segment, Coding& coding) const;
  [[nodiscard]] Area tileArea(uint64_t tile) const;

  const uint8_t* bytes_;
  std::size_t size_;
  Jpeg2000Frame frame_;
  Cursor stream_;
  Jpeg2000Image image_{};
  Sizes sizes_;
  Coding coding_;                       // of the main header
  std::map<uint32_t, Coding> ofTiles_;  // of tiles with a coding of their own
};

std::optional<FailureText> Walk::findCodestream() {
  image_.begin = 0;
  image_.end = size_;
  if (size_ >= kSignatureBox.size() &&
      std::equal(kSignatureBox.begin(), kSignatureBox.end(), bytes_)) {
    Cursor boxes(bytes_, 0, size_);
    for (bool isFound = false; !isFound;) {
      const std::size_t begin = boxes.position();
      uint64_t length = boxes.u32();
      const uint32_t type = boxes.u32();
      length = length == 1 ? boxes.u64() : length;
      length = length == 0 ? size_ - begin : length;
      const uint64_t header = boxes.position() - begin;
      isFound = type == kCodestreamBox;
      image_.begin = boxes.position();
      if (isFound && boxes.isGood() && length - header > boxes.left() && length >= header) {
        length = header + boxes.left();  // cut short, which matters only if a tile-part is
      }
      boxes.skip(length >= header ? length - header : boxes.left() + 1);
      image_.end = boxes.position();
      if (!boxes.isGood()) {
        return kNoCodestream;
      }
    }
  }
  stream_ = Cursor(bytes_, image_.begin, image_.end);
  return stream_.u16() == kStartOfCodestream ? std::nullopt : std::optional(kNoCodestream);
}

std::optional<FailureText> Walk::readSizes() {
  if (stream_.u16() != kSize) {
    return kCutHeader;
  }
  Cursor segment = segmentOf(stream_);
  (void)segment.u16();  // capabilities: the coding styles say what is used
  sizes_.image.x1 = segment.u32();
  sizes_.image.y1 = segment.u32();
  sizes_.image.x0 = segment.u32();
  sizes_.image.y0 = segment.u32();
  sizes_.tileWidth = segment.u32();
  sizes_.tileHeight = segment.u32();
  sizes_.tilesX = segment.u32();
  sizes_.tilesY = segment.u32();
  if (const std::optional<FailureText> reason = readComponents(segment)) {
    return reason;
  }
  return checkSizes();
}

std::optional<FailureText> Walk::readComponents(Cursor& segment) {
  const uint16_t components = segment.u16();
  if (!segment.isGood()) {
    return kCutHeader;
  }
  if (components != frame_.samplesPerPixel || components == 0 || components > kMostComponents) {
    return kOtherComponents;
  }
  for (unsigned int i = 0; i < components; ++i) {
    const unsigned int sample = segment.u8();
    Jpeg2000Component component{};
    component.precision = static_cast<uint8_t>((sample & 0x7FU) + 1);
    component.isSigned = (sample & 0x80U) != 0;
    component.horizontal = segment.u8();
    component.vertical = segment.u8();
    const unsigned int most = i == 0 ? 1 : 2;
    if (!segment.isGood()) {
      return kCutHeader;
    }
    if (component.horizontal < 1 || component.horizontal > most || component.vertical < 1 ||
        component.vertical > most) {
      return kOtherComponents;
    }
    if (component.precision > kMostPrecision || component.precision > frame_.bitsAllocated) {
      return kTooPrecise;
    }
    image_.components.push_back(component);
  }
  return std::nullopt;
}

std::optional<FailureText> Walk::checkSizes() const {
  const Area& image = sizes_.image;
  if (image.x1 <= image.x0 || image.y1 <= image.y0 || image.x1 - image.x0 != frame_.columns ||
      image.y1 - image.y0 != frame_.rows) {
    return kOtherSize;
  }
  if (uint64_t{1} * frame_.columns * frame_.rows * frame_.samplesPerPixel > frame_.mostSamples) {
    return kTooManySamples;
  }
  const bool coversBegin = sizes_.tilesX <= image.x0 && sizes_.tilesY <= image.y0 &&
                           uint64_t{1} * sizes_.tilesX + sizes_.tileWidth > image.x0 &&
                           uint64_t{1} * sizes_.tilesY + sizes_.tileHeight > image.y0;
  return coversBegin && sizes_.tileWidth > 0 && sizes_.tileHeight > 0 ? std::nullopt
                                                                      : std::optional(kBadTiles);
}

/// What COD and COC have in common, from the levels on.
bool readComponentCoding(Cursor& segment, bool hasPrecincts, ComponentCoding& coding) {
  coding.levels = segment.u8();
  coding.blockWidth = segment.u8() + 2U;
  coding.blockHeight = segment.u8() + 2U;
  coding.isHighThroughput = (segment.u8() & kHighThroughputStyle) != 0;
  (void)segment.u8();  // wavelet
  if (!segment.isGood() || coding.levels > kMostLevels || coding.blockWidth > kMostBlockExponent ||
      coding.blockHeight > kMostBlockExponent ||
      coding.blockWidth + coding.blockHeight > kMostBlockExponents) {
    return false;
  }
  coding.precincts.fill(kLargestPrecinct);
  for (unsigned int resolution = 0; hasPrecincts && resolution <= coding.levels; ++resolution) {
    const uint8_t precinct = segment.u8();
    coding.precincts[resolution] = precinct;
    // Precincts of bands have half the size: those of one sample have none.
    if (resolution > 0 && ((precinct & 0x0FU) == 0 || precinct >> 4U == 0)) {
      return false;
    }
  }
  return segment.isGood();
}

bool Walk::readCodingDefault(Cursor& segment, Coding& coding) const {
  const bool hasPrecincts = (segment.u8() & 1U) != 0;
  (void)segment.u8();  // order of packets
  coding.layers = segment.u16();
  (void)segment.u8();  // colour transform
  ComponentCoding ofAll;
  if (!readComponentCoding(segment, hasPrecincts, ofAll)) {
    return false;
  }
  coding.components.fill(ofAll);
  return coding.layers > 0;
}

bool Walk::readCodingOfComponent(Cursor& segment, Coding& coding) const {
  const uint8_t component = segment.u8();
  const bool hasPrecincts = (segment.u8() & 1U) != 0;
  return component < frame_.samplesPerPixel && coding.layers > 0 &&
         readComponentCoding(segment, hasPrecincts, coding.components[component]);
}

/// Reads segments up to the marker that ends a main or tile-part header, which is taken.
std::optional<FailureText> Walk::readHeader(unsigned int lastMarker, Coding& coding) {
  while (true) {
    const unsigned int marker = stream_.u16();
    if (!stream_.isGood() || marker < 0xFF01) {
      return kCutHeader;
    }
    if (marker == lastMarker) {
      return std::nullopt;
    }
    if (std::find(kPart2Markers.begin(), kPart2Markers.end(), marker) != kPart2Markers.end()) {
      return kPart2;
    }
    if (marker >= kFirstWithoutLength && marker <= kLastWithoutLength) {
      continue;
    }
    Cursor segment = segmentOf(stream_);
    if (!stream_.isGood()) {
      return kCutHeader;
    }
    if ((marker == kCodingDefault && !readCodingDefault(segment, coding)) ||
        (marker == kCodingOfComponent && !readCodingOfComponent(segment, coding))) {
      return kBadCoding;
    }
  }
}

/// Where the end marker is, behind which a container may have put a byte to make its length even.
std::size_t Walk::endOfCodestream() const {
  for (const std::size_t padding : {0U, 1U}) {
    const std::size_t end = image_.end - padding;
    if (image_.end - image_.begin >= 2 + padding && bytes_[end - 2] == 0xFF &&
        bytes_[end - 1] == 0xD9) {
      return end - 2;
    }
  }
  return image_.end;
}

/// Takes a tile-part whose marker has been taken.
std::optional<FailureText> Walk::readTilePart(uint64_t begin, std::vector<bool>& seen) {
  Cursor segment = segmentOf(stream_);
  const uint16_t tile = segment.u16();
  const uint32_t length = segment.u32();
  (void)segment.u16();  // number of the tile-part, and of all
  if (!segment.isGood()) {
    return kCutHeader;
  }
  if (tile >= seen.size()) {
    return kBadTiles;
  }
  const uint64_t end = length == 0 ? endOfCodestream() : begin + length;
  Coding coding = ofTiles_.contains(tile) ? ofTiles_[tile] : coding_;
  if (const std::optional<FailureText> reason = readHeader(kStartOfData, coding)) {
    return reason;
  }
  if (end > image_.end || end < stream_.position()) {
    return kBadTilePart;
  }
  ofTiles_.insert_or_assign(tile, coding);
  seen[tile] = true;
  stream_.skip(end - stream_.position());
  return std::nullopt;
}

/// Takes the tile-parts, the first of whose markers has been taken. Behind the last of them an end
/// marker may be missing, and bytes of the container may follow.
std::optional<FailureText> Walk::readTileParts() {
  sizes_.tilesAcross = divideUp(sizes_.image.x1 - sizes_.tilesX, sizes_.tileWidth);
  sizes_.tilesDown = divideUp(sizes_.image.y1 - sizes_.tilesY, sizes_.tileHeight);
  const uint64_t tiles = sizes_.tilesAcross * sizes_.tilesDown;
  const uint64_t pixels = uint64_t{1} * frame_.columns * frame_.rows;
  if (tiles > (image_.end - image_.begin) / kLeastTilePartBytes ||
      tiles > pixels / kSamplesOfATile + kAFewTiles) {
    return kBadTiles;
  }
  std::vector<bool> seen(static_cast<std::size_t>(tiles), false);
  bool isTilePart = true;
  while (isTilePart) {
    if (const std::optional<FailureText> reason = readTilePart(stream_.position() - 2, seen)) {
      return reason;
    }
    const std::size_t end = stream_.position();
    isTilePart = stream_.left() >= 2 && stream_.u16() == kStartOfTilePart;
    if (!isTilePart) {
      image_.end = end;
    }
  }
  return std::find(seen.begin(), seen.end(), false) == seen.end() ? std::nullopt
                                                                  : std::optional(kMissingTile);
}

Area Walk::tileArea(uint64_t tile) const {
  const uint64_t x = sizes_.tilesX + tile % sizes_.tilesAcross * sizes_.tileWidth;
  const uint64_t y = sizes_.tilesY + tile / sizes_.tilesAcross * sizes_.tileHeight;
  const Area& image = sizes_.image;
  return {std::max(x, image.x0), std::max(y, image.y0), std::min(x + sizes_.tileWidth, image.x1),
          std::min(y + sizes_.tileHeight, image.y1)};
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

/// Adds the packets and the code-blocks of one tile, and looks at the places where OpenJPEG would
/// search for its precincts.
std::optional<FailureText> Walk::countTile(const Area& tile, const Coding& coding,
                                           uint64_t& packets, uint64_t& blocks) const {
  unsigned int narrowest = kMostPrecinctExponent;
  unsigned int flattest = kMostPrecinctExponent;
  uint64_t mostPrecincts = 0;
  unsigned int mostResolutions = 0;
  for (std::size_t i = 0; i < image_.components.size(); ++i) {
    const ComponentCoding& how = coding.components[i];
    const unsigned int dx = image_.components[i].horizontal;
    const unsigned int dy = image_.components[i].vertical;
    const Area area = {divideUp(tile.x0, dx), divideUp(tile.y0, dy), divideUp(tile.x1, dx),
                       divideUp(tile.y1, dy)};
    mostResolutions = std::max(mostResolutions, how.levels + 1);
    for (unsigned int resolution = 0; resolution <= how.levels; ++resolution) {
      const unsigned int shift = how.levels - resolution;
      const unsigned int width = how.precincts[resolution] & 0x0FU;
      const unsigned int height = how.precincts[resolution] >> 4U;
      const uint64_t precincts =
          intervals(shiftUp(area.x0, shift), shiftUp(area.x1, shift), width) *
          intervals(shiftUp(area.y0, shift), shiftUp(area.y1, shift), height);
      narrowest = std::min(narrowest, width + shift);
      flattest = std::min(flattest, height + shift);
      mostPrecincts = std::max(mostPrecincts, precincts);
      packets += precincts * coding.layers;
      blocks += countBlocks(area, how, resolution);
      if (packets > size_) {
        return kTooManyPackets;
      }
    }
  }
  // OpenJPEG numbers packets, and steps over positions, as if all resolutions were like the
  // largest.
  const uint64_t each =
      std::max(uint64_t{1}, uint64_t{1} * mostResolutions * image_.components.size());
  const uint64_t most = kPositionsOfAByte * size_ + kAFewPositions;
  const uint64_t positions =
      intervals(tile.x0, tile.x1, narrowest) * intervals(tile.y0, tile.y1, flattest);
  if (positions > most / each || mostPrecincts * coding.layers > most / each) {
    return kTooManyPackets;
  }
  return std::nullopt;
}

std::optional<FailureText> Walk::countAll() const {
  const uint64_t samples = uint64_t{1} * frame_.columns * frame_.rows * frame_.samplesPerPixel;
  const uint64_t mostBlocks = samples / kSamplesOfABlock + kBlocksOfAByte * size_ + kAFewBlocks;
  uint64_t packets = 0;
  uint64_t blocks = 0;
  for (const auto& [tile, coding] : ofTiles_) {
    if (coding.layers == 0) {
      return kBadCoding;
    }
    if (const std::optional<FailureText> reason =
            countTile(tileArea(tile), coding, packets, blocks)) {
      return reason;
    }
    if (blocks > mostBlocks) {
      return kTooManyBlocks;
    }
  }
  return std::nullopt;
}

Result<Jpeg2000Image> Walk::image() {
  std::optional<FailureText> reason = findCodestream();
  if (!reason) {
    reason = readSizes();
  }
  if (!reason) {
    reason = readHeader(kStartOfTilePart, coding_);
  }
  if (!reason) {
    reason = readTileParts();
  }
  if (!reason) {
    reason = countAll();
  }
  if (reason) {
    return *reason;
  }
  const auto& components = coding_.components;
  image_.isHighThroughput = std::any_of(components.begin(), components.end(),
                                        [](const auto& how) { return how.isHighThroughput; });
  return image_;
}

}  // namespace

Result<Jpeg2000Image> readJpeg2000Image(const uint8_t* bytes, std::size_t size,
                                        const Jpeg2000Frame& frame) {
  return Walk(bytes, size, frame).image();
}

bool beginsJpeg2000(const uint8_t* bytes, std::size_t size) {
  constexpr std::array<uint8_t, 4> kCodestream = {0xFF, 0x4F, 0xFF, 0x51};
  return (size >= kCodestream.size() &&
          std::equal(kCodestream.begin(), kCodestream.end(), bytes)) ||
         (size >= kSignatureBox.size() &&
          std::equal(kSignatureBox.begin(), kSignatureBox.end(), bytes));
}

}  // namespace Zrg
