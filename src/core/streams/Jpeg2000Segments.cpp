// SPDX-License-Identifier: BSD-3-Clause
// Marker segments of a main or tile-part header (T.800 Annex A). A segment is a marker and a Uint16
// length that counts itself; markers FF30 to FF3F stand alone.
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
#include "streams/Jpeg2000Headers.h"

#include <algorithm>

namespace Zrg {

namespace {

using Jpeg2000::Area;
using Jpeg2000::Coding;
using Jpeg2000::ComponentCoding;
using Jpeg2000::Cursor;
using Jpeg2000::kBadCoding;
using Jpeg2000::kBadTiles;
using Jpeg2000::kCutHeader;
using Jpeg2000::kMostComponents;
using Jpeg2000::kMostLevels;
using Jpeg2000::segmentOf;
using Jpeg2000::Sizes;
using std::uint16_t;
using std::uint64_t;
using std::uint8_t;

constexpr FailureText kPart2{"JPEG 2000 stream uses transforms of Part 2"};
constexpr FailureText kOtherSize{"JPEG 2000 stream has another size than the image"};
constexpr FailureText kOtherComponents{"JPEG 2000 stream has other components than the image"};
constexpr FailureText kTooPrecise{"JPEG 2000 stream has more bits than the samples of the image"};
constexpr FailureText kTooManySamples{"JPEG 2000 stream has more samples than allowed"};

constexpr unsigned int kSizeMarker = 0xFF51;
constexpr unsigned int kCodingDefault = 0xFF52;
constexpr unsigned int kCodingOfComponent = 0xFF53;
constexpr unsigned int kFirstWithoutLength = 0xFF30;
constexpr unsigned int kLastWithoutLength = 0xFF3F;
constexpr std::array<unsigned int, 4> kPart2Markers = {0xFF74, 0xFF75, 0xFF77, 0xFF78};

constexpr unsigned int kMostComponentBits = 16;
constexpr unsigned int kMostBlockExponent = 10;
constexpr unsigned int kMostBlockExponents = 12;  // of width and height together
constexpr uint8_t kLargestPrecinct = 0xFF;
constexpr uint8_t kHighThroughputStyle = 0x40;

std::optional<FailureText> readComponents(Cursor& segment, const Jpeg2000Frame& frame,
                                          std::vector<Jpeg2000Component>& read) {
  const uint16_t components = segment.u16();
  if (!segment.isGood()) {
    return kCutHeader;
  }
  if (components != frame.samplesPerPixel || components == 0 || components > kMostComponents) {
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
    if (component.precision > kMostComponentBits || component.precision > frame.bitsAllocated) {
      return kTooPrecise;
    }
    read.push_back(component);
  }
  return std::nullopt;
}

std::optional<FailureText> checkSizes(const Sizes& sizes, const Jpeg2000Frame& frame) {
  const Area& image = sizes.image;
  if (image.x1 <= image.x0 || image.y1 <= image.y0 || image.x1 - image.x0 != frame.columns ||
      image.y1 - image.y0 != frame.rows) {
    return kOtherSize;
  }
  if (uint64_t{1} * frame.columns * frame.rows * frame.samplesPerPixel > frame.mostSamples) {
    return kTooManySamples;
  }
  const bool coversBegin = sizes.tilesX <= image.x0 && sizes.tilesY <= image.y0 &&
                           uint64_t{1} * sizes.tilesX + sizes.tileWidth > image.x0 &&
                           uint64_t{1} * sizes.tilesY + sizes.tileHeight > image.y0;
  return coversBegin && sizes.tileWidth > 0 && sizes.tileHeight > 0 ? std::nullopt
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

bool readCodingDefault(Cursor& segment, Coding& coding) {
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

bool readCodingOfComponent(Cursor& segment, std::size_t components, Coding& coding) {
  const uint8_t component = segment.u8();
  const bool hasPrecincts = (segment.u8() & 1U) != 0;
  return component < components && coding.layers > 0 &&
         readComponentCoding(segment, hasPrecincts, coding.components[component]);
}

}  // namespace

std::optional<FailureText> Jpeg2000::readSizes(Cursor& stream, const Jpeg2000Frame& frame,
                                               Headers& headers) {
  if (stream.u16() != kSizeMarker) {
    return kCutHeader;
  }
  Cursor segment = segmentOf(stream);
  Sizes& sizes = headers.sizes;
  (void)segment.u16();  // capabilities: the coding styles say what is used
  sizes.image.x1 = segment.u32();
  sizes.image.y1 = segment.u32();
  sizes.image.x0 = segment.u32();
  sizes.image.y0 = segment.u32();
  sizes.tileWidth = segment.u32();
  sizes.tileHeight = segment.u32();
  sizes.tilesX = segment.u32();
  sizes.tilesY = segment.u32();
  if (const std::optional<FailureText> reason =
          readComponents(segment, frame, headers.components)) {
    return reason;
  }
  return checkSizes(sizes, frame);
}

std::optional<FailureText> Jpeg2000::readSegments(Cursor& stream, unsigned int lastMarker,
                                                  std::size_t components, Coding& coding) {
  while (true) {
    const unsigned int marker = stream.u16();
    if (!stream.isGood() || marker < 0xFF01) {
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
    Cursor segment = segmentOf(stream);
    if (!stream.isGood()) {
      return kCutHeader;
    }
    if ((marker == kCodingDefault && !readCodingDefault(segment, coding)) ||
        (marker == kCodingOfComponent && !readCodingOfComponent(segment, components, coding))) {
      return kBadCoding;
    }
  }
}

}  // namespace Zrg
