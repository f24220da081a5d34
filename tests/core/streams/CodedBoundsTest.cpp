// SPDX-License-Identifier: BSD-3-Clause
// The fewest bits of coded frames, worked out by hand.
#include "streams/CodedBounds.h"
#include "support/RowName.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <optional>

namespace {

using Zrg::JpegFrameHeader;

constexpr Uint8 kBaseline = 0xC0;
constexpr Uint8 kSequential = 0xC1;
constexpr Uint8 kProgressive = 0xC2;
constexpr Uint8 kLossless = 0xC3;

struct Jpeg {
  const char* name;
  Uint8 marker;
  Uint16 columns;
  Uint16 rows;
  Uint8 components;
  std::array<Uint8, 3> sampling;
  std::optional<unsigned long long> bits;
};

JpegFrameHeader headerOf(const Jpeg& jpeg) {
  JpegFrameHeader header{};
  header.marker = jpeg.marker;
  header.columns = jpeg.columns;
  header.rows = jpeg.rows;
  header.components = jpeg.components;
  std::copy(jpeg.sampling.begin(), jpeg.sampling.end(), header.sampling.begin());
  return header;
}

class LeastJpegBits : public testing::TestWithParam<Jpeg> {};

TEST_P(LeastJpegBits, AreThoseOfItsBlocksOrSamples) {
  EXPECT_EQ(Zrg::leastJpegBits(headerOf(GetParam())), GetParam().bits);
}

TEST_P(LeastJpegBits, AreNotFewerThanThoseOfAFrameOfAnyKind) {
  if (GetParam().bits) {
    EXPECT_GE(*GetParam().bits, Zrg::leastJpegBitsOfAnyKind(GetParam().columns, GetParam().rows));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Frames, LeastJpegBits,
    testing::Values(Jpeg{"OneBlock", kBaseline, 8, 8, 1, {0x11}, 2},
                    Jpeg{"OnePixel", kBaseline, 1, 1, 1, {0x11}, 2},
                    Jpeg{"EightByEightBlocks", kBaseline, 64, 64, 1, {0x11}, 128},
                    Jpeg{"AColumnMore", kBaseline, 65, 64, 1, {0x11}, 144},
                    Jpeg{"ARowMore", kBaseline, 64, 65, 1, {0x11}, 144},
                    Jpeg{"Extended", kSequential, 64, 64, 1, {0x11}, 128},
                    Jpeg{"Progressive", kProgressive, 64, 64, 1, {0x11}, 64},
                    Jpeg{"Lossless", kLossless, 47, 61, 1, {0x11}, 2867},
                    Jpeg{"GreySampledTwice", kBaseline, 64, 64, 1, {0x22}, 128},
                    Jpeg{"Colour", kBaseline, 64, 64, 3, {0x11, 0x11, 0x11}, 384},
                    Jpeg{"HalfTheColour", kBaseline, 64, 64, 3, {0x21, 0x11, 0x11}, 256},
                    Jpeg{"AQuarterOfTheColour", kBaseline, 64, 64, 3, {0x22, 0x11, 0x11}, 192},
                    Jpeg{"OddColumnsOfHalfTheColour", kBaseline, 17, 8, 3, {0x21, 0x11, 0x11}, 14},
                    Jpeg{"LosslessColour", kLossless, 5, 3, 3, {0x11, 0x11, 0x11}, 45},
                    Jpeg{"LosslessHalfTheColour", kLossless, 5, 3, 3, {0x21, 0x11, 0x11}, 33},
                    Jpeg{"TheWorstSampling", kProgressive, 64, 64, 2, {0x41, 0x14}, 32},
                    Jpeg{"TheLargest", kBaseline, 65535, 65535, 1, {0x11}, 134217728},
                    Jpeg{"Hierarchical", 0xC5, 8, 8, 1, {0x11}, std::nullopt},
                    Jpeg{"Arithmetic", 0xC9, 8, 8, 1, {0x11}, std::nullopt},
                    Jpeg{"ArithmeticLossless", 0xCB, 8, 8, 1, {0x11}, std::nullopt},
                    Jpeg{"NoFrame", 0xBF, 8, 8, 1, {0x11}, std::nullopt},
                    Jpeg{"NoComponent", kBaseline, 8, 8, 0, {0x11}, std::nullopt},
                    Jpeg{"TooManyComponents", kBaseline, 8, 8, 11, {0x11}, std::nullopt},
                    Jpeg{"NotSampledAlongALine", kBaseline, 8, 8, 1, {0x01}, std::nullopt},
                    Jpeg{"NotSampledDownAColumn", kBaseline, 8, 8, 1, {0x10}, std::nullopt},
                    Jpeg{"SampledFourTimes", kBaseline, 8, 8, 1, {0x44}, 2},
                    Jpeg{"SampledFiveTimesAlongALine", kBaseline, 8, 8, 1, {0x51}, std::nullopt},
                    Jpeg{"SampledFiveTimesDownAColumn", kBaseline, 8, 8, 1, {0x15}, std::nullopt},
                    Jpeg{"SecondNotSampled", kBaseline, 8, 8, 2, {0x11, 0x00}, std::nullopt}),
    support::nameOf<Jpeg>);

struct JpegLs {
  const char* name;
  Uint16 columns;
  Uint16 rows;
  Uint8 components;
  Uint8 interleaveMode;
  unsigned long long bits;
};

class LeastJpegLsBits : public testing::TestWithParam<JpegLs> {};

TEST_P(LeastJpegLsBits, AreThoseOfOneRunAfterTheOther) {
  JpegFrameHeader header{};
  header.columns = GetParam().columns;
  header.rows = GetParam().rows;
  header.components = GetParam().components;

  EXPECT_EQ(Zrg::leastJpegLsBits(header, GetParam().interleaveMode), GetParam().bits);
}

// Runs of 1, 1, 1, 1, 2, 2, 2, 2, 4 ... pixels. Three lines of 3: 1 1 1, then 1 2, then 2 and the 1
// that is left.
INSTANTIATE_TEST_SUITE_P(
    Frames, LeastJpegLsBits,
    testing::Values(JpegLs{"OnePixel", 1, 1, 1, 0, 1}, JpegLs{"FourPixels", 4, 1, 1, 0, 4},
                    JpegLs{"SixPixels", 6, 1, 1, 0, 5}, JpegLs{"SevenPixels", 7, 1, 1, 0, 6},
                    JpegLs{"ThreeLines", 3, 3, 1, 0, 7}, JpegLs{"OneColumn", 1, 1000, 1, 0, 1000},
                    JpegLs{"TheLongestLine", 65535, 1, 1, 0, 32},
                    JpegLs{"TwoOfThem", 65535, 2, 1, 0, 34}, JpegLs{"PlaneByPlane", 3, 3, 3, 0, 21},
                    JpegLs{"LineByLine", 3, 3, 3, 1, 21}, JpegLs{"PixelByPixel", 3, 3, 3, 2, 7},
                    JpegLs{"Nothing", 0, 9, 3, 0, 0}),
    support::nameOf<JpegLs>);

TEST(LeastRleBytes, AreAHeaderAndTwoForEachRun) {
  EXPECT_EQ(Zrg::leastRleBytes(1, 128), 66);
  EXPECT_EQ(Zrg::leastRleBytes(1, 129), 68);
  EXPECT_EQ(Zrg::leastRleBytes(3, 64 * 64), 64 + 3 * 64);
  EXPECT_EQ(Zrg::leastRleBytes(2, 0), 64);
}

}  // namespace
