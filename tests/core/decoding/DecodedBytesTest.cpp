// SPDX-License-Identifier: BSD-3-Clause
// Memory that decoding takes, reckoned before it is taken.
#include "FrameTesting.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using support::ImageBuilder;
using support::monochromeImage;
using support::rgbImage;

struct Size {
  const char* name;
  ImageBuilder image;
  std::uint64_t first;
  std::uint64_t last;
  std::uint64_t bytes;
};

void PrintTo(const Size& row, std::ostream* stream) {
  *stream << row.name;
}

class DecodedBytes : public testing::TestWithParam<Size> {};

TEST_P(DecodedBytes, FollowFromTheAttributes) {
  const Size& row = GetParam();

  EXPECT_EQ(Zrg::decodedBytes(*row.image.build(), row.first, row.last), row.bytes);
}

constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();

INSTANTIATE_TEST_SUITE_P(
    Images, DecodedBytes,
    testing::Values(
        Size{"Grey8", monochromeImage(10, 5).unsigned8(), 0, 0, 50},
        Size{"Grey16", monochromeImage(10, 5), 0, 0, 100},
        Size{"GreyFrames", monochromeImage(10, 5), 2, 4, 300},
        Size{"GreyOfTwelveBitsAllocated", monochromeImage(10, 5).withUint16(DCM_BitsAllocated, 12),
             0, 0, 100},
        // The JPEG-LS decoder takes two bytes for them.
        Size{"GreyOfMoreBitsThanAllocated",
             monochromeImage(10, 5).unsigned8().withUint16(DCM_BitsStored, 12), 0, 0, 100},
        // 150 delivered, 2 x 150 containers, 150 rendered
        Size{"Rgb", rgbImage(10, 5), 0, 0, 600},
        // 3 x 150 delivered, and what one frame takes
        Size{"RgbFrames", rgbImage(10, 5), 7, 9, 900},
        // 150 delivered, 2 x 300 containers, 300 rendered
        Size{"Rgb16", rgbImage(10, 5).unsigned16(), 0, 0, 1050},
        // 150 delivered, 2 x 50 indices, 300 rendered
        Size{"Palette", support::paletteImage(10, 5), 0, 0, 550},
        Size{"BeyondAllNumbers",
             monochromeImage(1, 1).withUint16(DCM_Rows, 65535).withUint16(DCM_Columns, 65535), 0,
             kMost, kMost}),
    support::nameOf<Size>);

TEST(DecodedBytes, AreUnknownWithoutTheSizeOfAFrame) {
  for (const DcmTagKey& key : {DCM_Columns, DCM_Rows, DCM_BitsAllocated, DCM_SamplesPerPixel,
                               DCM_PhotometricInterpretation}) {
    EXPECT_EQ(Zrg::decodedBytes(*monochromeImage(2, 2).without(key).build(), 0, 0), std::nullopt);
  }
}

TEST(DecodedBytes, AreUnknownForARangeThatRunsBackwards) {
  EXPECT_EQ(Zrg::decodedBytes(*monochromeImage(2, 2).build(), 1, 0), std::nullopt);
}

}  // namespace
