// SPDX-License-Identifier: BSD-3-Clause
// Thresholds of JPEG-LS streams that do not say them.
#include "zrimaging/pixels/JpegLsThresholds.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kBehindFrameHeader = 15;
constexpr std::size_t kSegment = 15;

/// One component of 1 x 1 samples; no samples are needed here.
Bytes stream(std::uint8_t precision, std::uint8_t near = 0) {
  return {0xFF, 0xD8, 0xFF, 0xF7, 0, 11, precision, 0, 1,    0, 1, 1,    1,    0x11,
          0,    0xFF, 0xDA, 0,    8, 1,  1,         0, near, 0, 0, 0xAB, 0xFF, 0xD9};
}

Bytes inserted(const Bytes& mended) {
  return {mended.begin() + kBehindFrameHeader, mended.begin() + kBehindFrameHeader + kSegment};
}

// ITU-T T.87 C.2.4.1.1.1: MAXVAL 127 has the factor 2: 3, 7 and 21 become 1, 3 and 10, of which
// the first is below its least value, 2.
TEST(JpegLsThresholds, OfSevenBitsAreThoseOfTheStandard) {
  const Bytes mended = zr::withThresholds(stream(7));

  EXPECT_EQ(mended.size(), stream(7).size() + kSegment);
  EXPECT_EQ(inserted(mended), (Bytes{0xFF, 0xF8, 0, 13, 1, 0, 127, 0, 2, 0, 3, 0, 10, 0, 64}));
}

// MAXVAL 15 has the factor 16: 3, 7 and 21 become 0, 0 and 1, to which NEAR 3 adds 9, 15 and 21; 22
// is beyond MAXVAL and becomes the threshold before.
TEST(JpegLsThresholds, GrowWithTheDifferenceThatIsAllowed) {
  EXPECT_EQ(inserted(zr::withThresholds(stream(4, 3))),
            (Bytes{0xFF, 0xF8, 0, 13, 1, 0, 15, 0, 9, 0, 15, 0, 15, 0, 64}));
}

TEST(JpegLsThresholds, AreLeftToTheDecoderFromEightBitsOn) {
  EXPECT_EQ(zr::withThresholds(stream(8)), stream(8));
  EXPECT_EQ(zr::withThresholds(stream(12)), stream(12));
}

TEST(JpegLsThresholds, StayWhereTheStreamSaysThem) {
  const Bytes once = zr::withThresholds(stream(7));

  EXPECT_EQ(zr::withThresholds(once), once);
}

TEST(JpegLsThresholds, AreNotAddedToHeadersThatAreCutShort) {
  const Bytes whole = stream(7);
  constexpr std::size_t kBehindScanHeader = 25;

  for (std::size_t length = 0; length < kBehindScanHeader; ++length) {
    const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
    EXPECT_EQ(zr::withThresholds(cut), cut) << length;
  }
}

}  // namespace
