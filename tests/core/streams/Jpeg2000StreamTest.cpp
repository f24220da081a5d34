// SPDX-License-Identifier: BSD-3-Clause
// Headers of JPEG 2000 images, written by hand: what passes, and what each kind of hostile header
// gives.
#include "streams/Jpeg2000Stream.h"
#include "support/RowName.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

void put(Bytes& bytes, std::uint64_t value, int size) {
  for (int shift = 8 * (size - 1); shift >= 0; shift -= 8) {
    bytes.push_back(static_cast<std::uint8_t>(value >> static_cast<unsigned int>(shift)));
  }
}

/// The fields of a codestream that tests change. As it is: 64 x 64 samples of 8 bits in one tile,
/// one component, two decomposition levels, code-blocks of 64 x 64, one layer.
struct Stream {
  std::uint32_t x1 = 64, y1 = 64, x0 = 0, y0 = 0;
  std::uint32_t tileWidth = 64, tileHeight = 64, tilesX = 0, tilesY = 0;
  std::uint16_t components = 1;
  Bytes ofComponents = {7, 1, 1};  // precision - 1 and sign, distances
  std::uint8_t precincts = 0;      // 1: given
  std::uint16_t layers = 1;
  Bytes coding = {2, 4, 4, 0, 1};  // levels, code-block, style, wavelet; precincts
  Bytes moreSegments = {};
  Bytes tileSegments = {};
  std::uint16_t firstTile = 0;
  std::uint16_t tiles = 1;
  std::uint32_t tilePartLength = 0;  // 0: what it is
  bool isLastLengthOpen = false;
  std::size_t dataOfATile = 100;
  Bytes behind = {0xFF, 0xD9};

  [[nodiscard]] Bytes bytes() const {
    Bytes all = {0xFF, 0x4F, 0xFF, 0x51};
    put(all, 38 + ofComponents.size(), 2);
    put(all, 0, 2);
    for (const std::uint32_t value : {x1, y1, x0, y0, tileWidth, tileHeight, tilesX, tilesY}) {
      put(all, value, 4);
    }
    put(all, components, 2);
    all.insert(all.end(), ofComponents.begin(), ofComponents.end());
    put(all, 0xFF52, 2);
    put(all, 7 + coding.size(), 2);
    put(all, precincts, 1);
    put(all, 0, 1);  // order
    put(all, layers, 2);
    put(all, 0, 1);  // colour transform
    all.insert(all.end(), coding.begin(), coding.end());
    all.insert(all.end(), moreSegments.begin(), moreSegments.end());
    for (std::uint16_t tile = 0; tile < tiles; ++tile) {
      putTile(all, tile);
    }
    all.insert(all.end(), behind.begin(), behind.end());
    return all;
  }

private:
  void putTile(Bytes& all, std::uint16_t tile) const {
    const bool isOpen = isLastLengthOpen && tile + 1 == tiles;
    const std::size_t length = 14 + tileSegments.size() + dataOfATile;
    put(all, 0xFF90, 2);
    put(all, 10, 2);
    put(all, static_cast<std::uint16_t>(firstTile + tile), 2);
    put(all, isOpen ? 0 : (tilePartLength != 0 ? tilePartLength : length), 4);
    put(all, 0x0001, 2);  // tile-part 0 of 1
    all.insert(all.end(), tileSegments.begin(), tileSegments.end());
    put(all, 0xFF93, 2);
    all.insert(all.end(), dataOfATile, 0);
  }
};

constexpr Zrg::Jpeg2000Frame kFrame = {64, 64, 1, 8, std::uint64_t{1} << 28U};

Zrg::Result<Zrg::Jpeg2000Image> read(const Bytes& bytes, const Zrg::Jpeg2000Frame& frame = kFrame) {
  return Zrg::readJpeg2000Image(bytes.data(), bytes.size(), frame);
}

struct Accepted {
  const char* name;
  std::function<void(Stream&)> change;
  Zrg::Jpeg2000Frame frame = kFrame;
};

class HarmlessJpeg2000 : public testing::TestWithParam<Accepted> {};

TEST_P(HarmlessJpeg2000, EndsBehindItsLastTilePart) {
  Stream stream;
  GetParam().change(stream);
  const Bytes bytes = stream.bytes();

  const auto image = read(bytes, GetParam().frame);

  ASSERT_TRUE(image) << image.reason().text;
  EXPECT_EQ(image->begin, 0U);
  EXPECT_EQ(image->end, bytes.size() - stream.behind.size());
}

INSTANTIATE_TEST_SUITE_P(
    Streams, HarmlessJpeg2000,
    testing::Values(
        Accepted{"Plain", [](Stream&) {}},
        Accepted{"FourTiles",
                 [](Stream& s) {
                   s.tileWidth = s.tileHeight = 32;
                   s.tiles = 4;
                 }},
        Accepted{"TilesThatReachOver",
                 [](Stream& s) {
                   s.tileWidth = 63;
                   s.tiles = 2;
                 }},
        Accepted{"AnImageThatBeginsInside",
                 [](Stream& s) {
                   s.x0 = s.tilesX = 1000;
                   s.x1 = 1064;
                 }},
        Accepted{"NoEndMarker", [](Stream& s) { s.behind = {}; }},
        Accepted{"APadByte",
                 [](Stream& s) {
                   s.behind = {0xFF, 0xD9, 0};
                 }},
        Accepted{"BytesOfAContainerBehind",
                 [](Stream& s) {
                   s.behind = {0xFE, 0xFF, 0xDD, 0xE0};
                 }},
        Accepted{"AnOpenLength", [](Stream& s) { s.isLastLengthOpen = true; }},
        Accepted{"AnOpenLengthAndAPadByte",
                 [](Stream& s) {
                   s.isLastLengthOpen = true;
                   s.behind = {0xFF, 0xD9, 0};
                 }},
        Accepted{"ACommentAndAMarkerThatStandsAlone",
                 [](Stream& s) { s.moreSegments = {0xFF, 0x64, 0, 5, 0, 1, 'x', 0xFF, 0x30}; }},
        Accepted{"Colour",
                 [](Stream& s) {
                   s.components = 3;
                   s.ofComponents = {7, 1, 1, 7, 1, 1, 7, 1, 1};
                 },
                 {64, 64, 3, 8, 1U << 28U}},
        Accepted{"SubsampledColour",
                 [](Stream& s) {
                   s.components = 3;
                   s.ofComponents = {7, 1, 1, 7, 2, 2, 7, 2, 1};
                 },
                 {64, 64, 3, 8, 1U << 28U}},
        Accepted{"AsManyPacketsAsBytes",  // 3 resolutions; 175 bytes with header and end
                 [](Stream& s) { s.layers = 58; }},
        Accepted{"JustAsManySamplesAsAllowed", [](Stream&) {}, {64, 64, 1, 8, 4096}},
        Accepted{"SmallPrecincts",  // 16 + 4 + 1 packets
                 [](Stream& s) {
                   s.precincts = 1;
                   s.coding = {2, 1, 1, 0, 1, 0x44, 0x44, 0x44};
                 }}),
    support::nameOf<Accepted>);

struct Refused {
  const char* name;
  const char* reason;
  std::function<void(Stream&)> change;
  Zrg::Jpeg2000Frame frame = kFrame;
};

class HostileJpeg2000 : public testing::TestWithParam<Refused> {};

TEST_P(HostileJpeg2000, IsRefusedByItsHeaders) {
  Stream stream;
  GetParam().change(stream);

  const auto image = read(stream.bytes(), GetParam().frame);

  ASSERT_FALSE(image);
  EXPECT_EQ(image.reason().text, GetParam().reason);
}

constexpr char kCut[] = "JPEG 2000 headers are damaged or cut short";
constexpr char kOtherSize[] = "JPEG 2000 stream has another size than the image";
constexpr char kOtherComponents[] = "JPEG 2000 stream has other components than the image";
constexpr char kTooPrecise[] = "JPEG 2000 stream has more bits than the samples of the image";
constexpr char kBadTiles[] = "JPEG 2000 stream has no tiles or too many for its size";
constexpr char kBadCoding[] = "JPEG 2000 stream has a coding style that does not exist";
constexpr char kBadTilePart[] = "JPEG 2000 tile-part reaches beyond the stream";
constexpr char kTooManyPackets[] = "JPEG 2000 stream promises more packets than it has bytes";
constexpr char kTooManyBlocks[] = "JPEG 2000 stream promises more code-blocks than it can hold";

INSTANTIATE_TEST_SUITE_P(
    Size, HostileJpeg2000,
    testing::Values(Refused{"AnotherWidth", kOtherSize, [](Stream& s) { s.x1 = 65; }},
                    Refused{"AnotherHeight", kOtherSize, [](Stream& s) { s.y1 = 63; }},
                    Refused{"EndsBeforeItBegins", kOtherSize, [](Stream& s) { s.x0 = 128; }},
                    Refused{"MoreSamplesThanAllowed",
                            "JPEG 2000 stream has more samples than allowed",
                            [](Stream&) {},
                            {64, 64, 1, 8, 4095}},
                    Refused{"MoreComponents", kOtherComponents,
                            [](Stream& s) {
                              s.components = 2;
                              s.ofComponents = {7, 1, 1, 7, 1, 1};
                            }},
                    Refused{"ComponentsThatAreNotThere",
                            kCut,
                            [](Stream& s) { s.components = 3; },
                            {64, 64, 3, 8, 1U << 28U}},
                    Refused{"NoComponents",
                            kOtherComponents,
                            [](Stream& s) {
                              s.components = 0;
                              s.ofComponents = {};
                            },
                            {64, 64, 0, 8, 1U << 28U}},
                    Refused{"TheFirstComponentSubsampled", kOtherComponents,
                            [](Stream& s) {
                              s.ofComponents = {7, 2, 1};
                            }},
                    Refused{"ADistanceOfNothing", kOtherComponents,
                            [](Stream& s) {
                              s.ofComponents = {7, 1, 0};
                            }},
                    Refused{"AComponentSubsampledByThree",
                            kOtherComponents,
                            [](Stream& s) {
                              s.components = 2;
                              s.ofComponents = {7, 1, 1, 7, 3, 1};
                            },
                            {64, 64, 2, 8, 1U << 28U}},
                    Refused{"NineBitsInABytes", kTooPrecise,
                            [](Stream& s) {
                              s.ofComponents = {8, 1, 1};
                            }},
                    Refused{"SeventeenBits",
                            kTooPrecise,
                            [](Stream& s) {
                              s.ofComponents = {16, 1, 1};
                            },
                            {64, 64, 1, 32, 1U << 28U}}),
    support::nameOf<Refused>);

INSTANTIATE_TEST_SUITE_P(
    Tiles, HostileJpeg2000,
    testing::Values(
        Refused{"OfNoWidth", kBadTiles, [](Stream& s) { s.tileWidth = 0; }},
        Refused{"BehindTheImage", kBadTiles, [](Stream& s) { s.tilesX = 1; }},
        Refused{"BeforeTheImage", kBadTiles,
                [](Stream& s) {
                  s.x0 = 100;
                  s.x1 = 164;
                }},
        Refused{"OfOnePixel", kBadTiles, [](Stream& s) { s.tileWidth = s.tileHeight = 1; }},
        Refused{"OfOnePixelInManyBytes", kBadTiles,
                [](Stream& s) {
                  s.tileWidth = s.tileHeight = 1;
                  s.dataOfATile = 1U << 20U;
                }},
        Refused{"OneMissing", "JPEG 2000 stream lacks tiles", [](Stream& s) { s.tileWidth = 32; }},
        Refused{"OneThatDoesNotExist", kBadTiles, [](Stream& s) { s.firstTile = 1; }},
        Refused{"BeyondTheStream", kBadTilePart, [](Stream& s) { s.tilePartLength = 117; }},
        Refused{"ShorterThanTheirHeader", kBadTilePart, [](Stream& s) { s.tilePartLength = 13; }}),
    support::nameOf<Refused>);

INSTANTIATE_TEST_SUITE_P(
    Coding, HostileJpeg2000,
    testing::Values(
        Refused{"NoLayers", kBadCoding, [](Stream& s) { s.layers = 0; }},
        Refused{"MoreLevelsThan32", kBadCoding, [](Stream& s) { s.coding[0] = 33; }},
        Refused{"CodeBlocksTooWide", kBadCoding, [](Stream& s) { s.coding[1] = 9; }},
        Refused{"CodeBlocksTooLarge", kBadCoding, [](Stream& s) { s.coding[1] = 5; }},
        Refused{"PrecinctsThatAreNotGiven", kBadCoding, [](Stream& s) { s.precincts = 1; }},
        Refused{"PrecinctsOfBandsWithoutASample", kBadCoding,
                [](Stream& s) {
                  s.precincts = 1;
                  s.coding = {2, 4, 4, 0, 1, 0x00, 0x10, 0x88};
                }},
        Refused{"ACodingForAComponentThatDoesNotExist", kBadCoding,
                [](Stream& s) { s.moreSegments = {0xFF, 0x53, 0, 9, 1, 0, 2, 4, 4, 0, 1}; }},
        Refused{"TransformsOfPart2", "JPEG 2000 stream uses transforms of Part 2",
                [](Stream& s) {
                  s.moreSegments = {0xFF, 0x74, 0, 2};
                }},
        Refused{"ASegmentBeyondTheStream", kCut,
                [](Stream& s) {
                  s.moreSegments = {0xFF, 0x64, 0xFF, 0xFF};
                }},
        Refused{"ASegmentShorterThanItsLength", kCut,
                [](Stream& s) {
                  s.moreSegments = {0xFF, 0x64, 0, 1};
                }},
        Refused{"NoMarker", kCut,
                [](Stream& s) {
                  s.moreSegments = {0, 0};
                }},
        Refused{"OnePacketMoreThanBytes", kTooManyPackets, [](Stream& s) { s.layers = 59; }},
        Refused{"LayersOfATile", kTooManyPackets,
                [](Stream& s) {
                  s.tileSegments = {0xFF, 0x52, 0, 12, 0, 0, 0xFF, 0xFF, 0, 2, 4, 4, 0, 1};
                }},
        Refused{"PrecinctsOfOneSample", kTooManyPackets,
                [](Stream& s) {
                  s.precincts = 1;
                  s.coding = {0, 4, 4, 0, 1, 0x00};
                }},
        Refused{"PrecinctsOfAComponent", kTooManyPackets,
                [](Stream& s) { s.moreSegments = {0xFF, 0x53, 0, 10, 0, 1, 0, 4, 4, 0, 1, 0x00}; }},
        Refused{"PrecinctsNarrowInOneResolutionAndFlatInAnother",
                kTooManyPackets,
                [](Stream& s) {
                  s.x1 = s.y1 = s.tileWidth = s.tileHeight = 16384;
                  s.precincts = 1;
                  s.coding = {1, 0, 0, 0, 1, 0xF0, 0x1F};
                  s.dataOfATile = 100000;
                },
                {16384, 16384, 1, 8, 1U << 28U}},
        Refused{"CodeBlocksOfSixteenSamples",
                kTooManyBlocks,
                [](Stream& s) {
                  s.x1 = s.y1 = s.tileWidth = s.tileHeight = 4096;
                  s.coding = {2, 0, 0, 0, 1};
                },
                {4096, 4096, 1, 8, 1U << 28U}}),
    support::nameOf<Refused>);

TEST(Jpeg2000Stream, IsRefusedWhereverItEnds) {
  const Bytes whole = Stream{}.bytes();
  for (std::size_t size = 0; size < whole.size() - 2; ++size) {
    const Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_FALSE(read(part)) << size;
  }
}

Bytes boxed(const Bytes& codestream, std::uint64_t length) {
  Bytes bytes = {0, 0, 0, 12, 'j', 'P', ' ', ' ', 0x0D, 0x0A, 0x87, 0x0A};
  const Bytes fileType = {0, 0, 0, 16, 'f', 't', 'y', 'p', 'j', 'p', '2', ' ', 0, 0, 0, 0};
  bytes.insert(bytes.end(), fileType.begin(), fileType.end());
  put(bytes, length > 0xFFFFFFFFU ? 1 : length, 4);
  for (const char letter : std::string("jp2c")) {
    bytes.push_back(static_cast<std::uint8_t>(letter));
  }
  if (length > 0xFFFFFFFFU) {
    put(bytes, codestream.size() + 16, 8);
  }
  bytes.insert(bytes.end(), codestream.begin(), codestream.end());
  return bytes;
}

TEST(Jpeg2000File, HasItsCodestreamInABox) {
  const Bytes codestream = Stream{}.bytes();

  const auto image = read(boxed(codestream, codestream.size() + 8));

  ASSERT_TRUE(image) << image.reason().text;
  EXPECT_EQ(image->begin, 36U);
  EXPECT_EQ(image->end, 36 + codestream.size() - 2);
}

TEST(Jpeg2000File, MayLeaveTheLengthOfItsLastBoxOpen) {
  const auto image = read(boxed(Stream{}.bytes(), 0));

  ASSERT_TRUE(image) << image.reason().text;
  EXPECT_EQ(image->begin, 36U);
}

TEST(Jpeg2000File, MayHaveALongLength) {
  const auto image = read(boxed(Stream{}.bytes(), std::uint64_t{1} << 32U));

  ASSERT_TRUE(image) << image.reason().text;
  EXPECT_EQ(image->begin, 44U);
}

TEST(Jpeg2000File, WithABoxOfNoLengthAtAllIsRefused) {
  const auto image = read(boxed(Stream{}.bytes(), 7));

  ASSERT_FALSE(image);
  EXPECT_EQ(image.reason().text, "JPEG 2000 codestream not found");
}

TEST(Jpeg2000Stream, OfAnotherKindIsRefused) {
  const auto image = read({0xFF, 0xD8, 0xFF, 0xE0, 0, 2});

  ASSERT_FALSE(image);
  EXPECT_EQ(image.reason().text, "JPEG 2000 codestream not found");
}

TEST(Jpeg2000Stream, TellsItsComponents) {
  Stream stream;
  stream.components = 3;
  stream.ofComponents = {11, 1, 1, 0x80 | 12, 2, 2, 15, 2, 1};

  const auto image = read(stream.bytes(), {64, 64, 3, 16, 1U << 28U});

  ASSERT_TRUE(image) << image.reason().text;
  ASSERT_EQ(image->components.size(), 3U);
  EXPECT_EQ(image->components[0].precision, 12);
  EXPECT_FALSE(image->components[0].isSigned);
  EXPECT_EQ(image->components[1].precision, 13);
  EXPECT_TRUE(image->components[1].isSigned);
  EXPECT_EQ(image->components[2].horizontal, 2);
  EXPECT_EQ(image->components[2].vertical, 1);
}

TEST(Jpeg2000Stream, TellsHighThroughputByTheStyleOfItsBlocks) {
  Stream stream;
  EXPECT_FALSE(read(stream.bytes())->isHighThroughput);
  stream.coding[3] = 0x40;
  EXPECT_TRUE(read(stream.bytes())->isHighThroughput);
}

TEST(Jpeg2000Stream, BeginsWithACodestreamOrASignature) {
  const Bytes codestream = Stream{}.bytes();
  const Bytes file = boxed(codestream, 0);

  EXPECT_TRUE(Zrg::beginsJpeg2000(codestream.data(), 4));
  EXPECT_FALSE(Zrg::beginsJpeg2000(codestream.data(), 3));
  EXPECT_TRUE(Zrg::beginsJpeg2000(file.data(), 12));
  EXPECT_FALSE(Zrg::beginsJpeg2000(file.data(), 11));
  EXPECT_FALSE(Zrg::beginsJpeg2000(codestream.data() + 2, 12));
}

}  // namespace
