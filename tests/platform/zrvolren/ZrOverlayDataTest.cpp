// SPDX-License-Identifier: BSD-3-Clause

#include <ktlib/KtHandle.h>
#include <zrvolren/ZrMeta.h>
#include <zrvolren/ZrOverlayData.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <random>
#include <string>
#include <vector>

namespace {

// A picture in which '#' is a set bit; one text a row, all of the same length.
using Picture = std::vector<std::string>;

unsigned long rowBits(int columns) {
  return (static_cast<unsigned long>(columns) + 31) / 32 * 32;
}

KtVec2i sizeOf(const Picture& picture) {
  return {picture.empty() ? 0 : static_cast<int>(picture[0].size()),
          static_cast<int>(picture.size())};
}

KtBitfield maskOf(const Picture& picture) {
  const KtVec2i size = sizeOf(picture);
  KtBitfield mask;
  mask.resize(rowBits(size.x) * static_cast<unsigned long>(size.y), KtBitfield::CLEARED);
  for (int y = 0; y < size.y; ++y) {
    for (int x = 0; x < size.x; ++x) {
      if (picture[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] == '#') {
        mask.set(static_cast<unsigned long>(y) * rowBits(size.x) + static_cast<unsigned long>(x));
      }
    }
  }
  return mask;
}

Picture pictureOf(const KtVec2i& size, const KtBitfield& mask) {
  Picture picture(static_cast<std::size_t>(size.y),
                  std::string(static_cast<std::size_t>(size.x), '.'));
  for (int y = 0; y < size.y; ++y) {
    for (int x = 0; x < size.x; ++x) {
      if (mask.test(static_cast<unsigned long>(y) * rowBits(size.x) +
                    static_cast<unsigned long>(x))) {
        picture[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] = '#';
      }
    }
  }
  return picture;
}

// An overlay at entry or return of cropping.
struct Overlay {
  KtVec2i origin;
  KtVec2i size;
  KtBitfield mask;

  Overlay(const KtVec2i& place, const Picture& picture)
      : origin(place), size(sizeOf(picture)), mask(maskOf(picture)) {}
  void crop() { ZrOverlayData::cropOverlayData(origin, size, mask); }
};

// ---- cropping

TEST(Cropping, KeepsTheTightBox) {
  Overlay overlay({10, 20}, {"........",  //
                             "..#.....",  //
                             "....#...",  //
                             "..##....",  //
                             "........"});
  overlay.crop();

  EXPECT_EQ(overlay.origin, KtVec2i(12, 21));
  EXPECT_EQ(overlay.size, KtVec2i(3, 3));
  EXPECT_EQ(pictureOf(overlay.size, overlay.mask), (Picture{"#..", "..#", "##."}));
}

TEST(Cropping, RepacksRowsToWholeWords) {
  Overlay overlay({0, 0}, {std::string(40, '.') + std::string(33, '#') + std::string(23, '.'),
                           std::string(40, '.') + "#" + std::string(55, '.')});
  overlay.crop();

  EXPECT_EQ(overlay.size, KtVec2i(33, 2));
  ASSERT_EQ(overlay.mask.size(), 128U);
  EXPECT_EQ(overlay.mask.words()[0], 0xFFFFFFFFU);
  EXPECT_EQ(overlay.mask.words()[1], 1U);
  EXPECT_EQ(overlay.mask.words()[2], 1U);
  EXPECT_EQ(overlay.mask.words()[3], 0U);
}

TEST(Cropping, LeavesATightMaskAsItIs) {
  const Picture tight(3, std::string(64, '#'));
  Overlay overlay({4, 5}, tight);

  overlay.crop();

  EXPECT_EQ(overlay.origin, KtVec2i(4, 5));
  EXPECT_EQ(overlay.size, KtVec2i(64, 3));
  EXPECT_EQ(pictureOf(overlay.size, overlay.mask), tight);
}

TEST(Cropping, OfASingleBitLeavesOnePixel) {
  for (std::size_t column = 0; column < 96; ++column) {
    Picture picture(3, std::string(96, '.'));
    picture[1][column] = '#';
    Overlay overlay({0, 0}, picture);

    overlay.crop();

    EXPECT_EQ(overlay.origin, KtVec2i(static_cast<int>(column), 1));
    EXPECT_EQ(overlay.size, KtVec2i(1, 1)) << column;
    ASSERT_EQ(overlay.mask.size(), 32U) << column;
    EXPECT_EQ(overlay.mask.words()[0], 1U) << column;
  }
}

TEST(Cropping, OfAClearMaskLeavesNothing) {
  Overlay overlay({7, 8}, Picture(4, std::string(32, '.')));

  overlay.crop();

  EXPECT_EQ(overlay.origin, KtVec2i(7, 8));
  EXPECT_EQ(overlay.size, KtVec2i(0, 0));
  EXPECT_EQ(overlay.mask.size(), 0U);
}

TEST(Cropping, IgnoresBitsBehindTheLastColumn) {
  Overlay overlay({0, 0}, {std::string(40, '.'), std::string(40, '.')});
  overlay.mask.set(45);  // row 0, behind column 39
  overlay.mask.set(64 + 3);

  overlay.crop();

  EXPECT_EQ(overlay.origin, KtVec2i(3, 1));
  EXPECT_EQ(overlay.size, KtVec2i(1, 1));
}

TEST(Cropping, DropsBitsBehindTheLastColumnFromTheResult) {
  Overlay overlay({0, 0}, {"#.........", "#........#"});
  overlay.mask.set(15);  // row 0, behind column 9

  overlay.crop();

  EXPECT_EQ(overlay.size, KtVec2i(10, 2));
  EXPECT_EQ(overlay.mask.words()[0], 1U);
}

class CroppingASizeWithoutPixels : public testing::TestWithParam<KtVec2i> {};

TEST_P(CroppingASizeWithoutPixels, LeavesNothing) {
  Overlay overlay({1, 2}, Picture(2, std::string(32, '#')));
  overlay.size = GetParam();

  overlay.crop();

  EXPECT_EQ(overlay.size, KtVec2i(0, 0));
  EXPECT_EQ(overlay.mask.size(), 0U);
  EXPECT_EQ(overlay.origin, KtVec2i(1, 2));
}
INSTANTIATE_TEST_SUITE_P(Sizes, CroppingASizeWithoutPixels,
                         testing::Values(KtVec2i(0, 2), KtVec2i(32, 0), KtVec2i(-1, 2),
                                         KtVec2i(32, -2), KtVec2i(INT_MIN, INT_MIN)));

TEST(Cropping, OfAMaskWithoutBitsLeavesNothing) {
  KtVec2i origin(1, 2);
  KtVec2i size(INT_MAX, INT_MAX);
  KtBitfield mask;

  ZrOverlayData::cropOverlayData(origin, size, mask);

  EXPECT_EQ(size, KtVec2i(0, 0));
}

TEST(Cropping, TakesRowsThatTheMaskIsTooShortForAsClear) {
  Overlay overlay({0, 0}, {std::string(64, '#'), std::string(64, '#')});
  overlay.mask.resize(64 + 32 + 3, KtBitfield::KEEP);  // the second row ends after 35 bits
  overlay.size = KtVec2i(64, 1000);

  overlay.crop();

  EXPECT_EQ(overlay.size, KtVec2i(64, 2));
  EXPECT_EQ(pictureOf(overlay.size, overlay.mask),
            (Picture{std::string(64, '#'), std::string(35, '#') + std::string(29, '.')}));
}

TEST(Cropping, OfASizeFarBeyondTheMaskReadsTheMaskAlone) {
  KtVec2i origin(0, 0);
  KtVec2i size(INT_MAX, INT_MAX);
  KtBitfield mask;
  mask.resize(70, KtBitfield::CLEARED);
  mask.set(66);
  mask.set(69);

  ZrOverlayData::cropOverlayData(origin, size, mask);

  EXPECT_EQ(origin, KtVec2i(66, 0));
  EXPECT_EQ(size, KtVec2i(4, 1));
  EXPECT_EQ(mask.words()[0], 0b1001U);
}

TEST(Cropping, IgnoresRowsOfTheMaskBehindTheSize) {
  Overlay overlay({0, 0}, {"#...", ".#..", "...#"});
  overlay.size.y = 2;

  overlay.crop();

  EXPECT_EQ(pictureOf(overlay.size, overlay.mask), (Picture{"#.", ".#"}));
}

// The same by looking at one pixel after the other.
struct Cropped {
  KtVec2i offset;
  Picture picture;
};
Cropped cropPixelByPixel(const Picture& picture) {
  int left = INT_MAX;
  int right = -1;
  int top = INT_MAX;
  int bottom = -1;
  const KtVec2i size = sizeOf(picture);
  for (int y = 0; y < size.y; ++y) {
    for (int x = 0; x < size.x; ++x) {
      if (picture[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] == '#') {
        left = std::min(left, x);
        right = std::max(right, x);
        top = std::min(top, y);
        bottom = std::max(bottom, y);
      }
    }
  }
  Cropped result;
  for (int y = top; y <= bottom; ++y) {
    result.offset = KtVec2i(left, top);
    result.picture.push_back(picture[static_cast<std::size_t>(y)].substr(
        static_cast<std::size_t>(left), static_cast<std::size_t>(right - left + 1)));
  }
  return result;
}

class CroppingRandomMasks : public testing::TestWithParam<int> {};

TEST_P(CroppingRandomMasks, AgreesWithCroppingPixelByPixel) {
  std::mt19937 random(static_cast<unsigned>(GetParam()));
  for (int round = 0; round < 300; ++round) {
    // From a few bits to many, so that boxes of all sizes occur, none among them.
    Picture picture(1 + random() % 9, std::string(static_cast<std::size_t>(GetParam()), '.'));
    for (auto bits = random() % 12; bits > 0; --bits) {
      picture[random() % picture.size()][random() % picture[0].size()] = '#';
    }
    const KtVec2i place(static_cast<int>(random() % 100), static_cast<int>(random() % 100));
    Overlay overlay(place, picture);

    overlay.crop();

    const Cropped expected = cropPixelByPixel(picture);
    ASSERT_EQ(pictureOf(overlay.size, overlay.mask), expected.picture) << "round " << round;
    ASSERT_EQ(overlay.origin, KtVec2i(place.x + expected.offset.x, place.y + expected.offset.y));
    ASSERT_EQ(overlay.mask.size(),
              rowBits(overlay.size.x) * static_cast<unsigned long>(overlay.size.y));
    ASSERT_EQ(overlay.mask.count(), maskOf(picture).count());
  }
}
INSTANTIATE_TEST_SUITE_P(Widths, CroppingRandomMasks,
                         testing::Values(1, 5, 31, 32, 33, 63, 64, 65, 96, 128, 200));

// ---- the container

// Two overlays: 3 x 2 pixels at (5, 7) on frame 0 and 40 x 1 at (0, 0) on frame 3.
class OverlayData : public testing::Test {
protected:
  OverlayData() {
    const Picture corner = {"#..", ".#."};
    const Picture line = {std::string(39, '.') + "#"};
    first_ = overlays_.addOverlayData({5, 7}, sizeOf(corner), maskOf(corner), 0);
    second_ = overlays_.addOverlayData({0, 0}, sizeOf(line), maskOf(line), 3);
  }

  const ZrMeta meta_ = ZrMeta(false, true);
  ZrOverlayData overlays_ = ZrOverlayData(&meta_);
  int first_ = -1;
  int second_ = -1;
};

TEST_F(OverlayData, NumbersOverlaysFromZero) {
  EXPECT_EQ(first_, 0);
  EXPECT_EQ(second_, 1);
  EXPECT_EQ(overlays_.count(), 2);
}

TEST_F(OverlayData, KeepsPlaceSizeMaskAndFrame) {
  EXPECT_EQ(overlays_.origin(0), KtVec2i(5, 7));
  EXPECT_EQ(overlays_.size(0), KtVec2i(3, 2));
  EXPECT_EQ(overlays_.frame(1), 3);
  EXPECT_EQ(pictureOf(overlays_.size(0), overlays_.mask(0)), (Picture{"#..", ".#."}));
}

TEST_F(OverlayData, KeepsACopyOfTheMask) {
  KtBitfield mask;
  mask.resize(32, KtBitfield::SET);
  const int index = overlays_.addOverlayData({0, 0}, {32, 1}, mask, 0);

  mask.resize(32, KtBitfield::CLEARED);

  EXPECT_EQ(overlays_.mask(index).count(), 32U);
}

TEST_F(OverlayData, RecordsTheGroup) {
  EXPECT_EQ(overlays_.group(1), 0);

  EXPECT_TRUE(overlays_.setOverlayGroup(1, 3, 0x601E).isOk());

  EXPECT_EQ(overlays_.group(1), 0x601E);
  EXPECT_EQ(overlays_.group(0), 0);
}

TEST_F(OverlayData, RefusesAGroupForAWrongIndexOrFrame) {
  EXPECT_TRUE(overlays_.setOverlayGroup(-1, 0, 0x6000).isBad());
  EXPECT_TRUE(overlays_.setOverlayGroup(2, 0, 0x6000).isBad());
  EXPECT_TRUE(overlays_.setOverlayGroup(1, 2, 0x6000).isBad());

  EXPECT_EQ(overlays_.group(0), 0);
  EXPECT_EQ(overlays_.group(1), 0);
}

TEST_F(OverlayData, TestsPixelsInImageCoordinates) {
  EXPECT_TRUE(overlays_.test(0, 5, 7));
  EXPECT_FALSE(overlays_.test(0, 6, 7));
  EXPECT_TRUE(overlays_.test(0, 6, 8));
  EXPECT_TRUE(overlays_.test(1, 39, 0));
}

TEST_F(OverlayData, HasNoPixelsOutsideOfTheMask) {
  EXPECT_FALSE(overlays_.test(0, 4, 7));
  EXPECT_FALSE(overlays_.test(0, 8, 7));
  EXPECT_FALSE(overlays_.test(0, 5, 6));
  EXPECT_FALSE(overlays_.test(0, 5, 9));
  EXPECT_FALSE(overlays_.test(0, INT_MIN, INT_MIN));
  EXPECT_FALSE(overlays_.test(0, INT_MAX, INT_MAX));
}

TEST_F(OverlayData, HasNoPixelsWhereTheMaskGoesOnBehindItsSize) {
  KtBitfield mask;
  mask.resize(96, KtBitfield::SET);
  const int index = overlays_.addOverlayData({0, 0}, {20, 2}, mask, 0);

  EXPECT_TRUE(overlays_.test(index, 19, 1));
  EXPECT_FALSE(overlays_.test(index, 20, 1));
  EXPECT_FALSE(overlays_.test(index, 19, 2));
}

TEST_F(OverlayData, HasNoPixelsWhereTheMaskIsTooShort) {
  KtBitfield mask;
  mask.resize(32, KtBitfield::SET);
  const int index = overlays_.addOverlayData({0, 0}, {INT_MAX, INT_MAX}, mask, 0);

  EXPECT_TRUE(overlays_.test(index, 31, 0));
  EXPECT_FALSE(overlays_.test(index, 32, 0));
  EXPECT_FALSE(overlays_.test(index, INT_MAX - 1, INT_MAX - 1));
}

TEST_F(OverlayData, AnswersNeutrallyForWrongIndices) {
  for (const int index : {-1, 2, INT_MAX, INT_MIN}) {
    EXPECT_EQ(overlays_.origin(index), KtVec2i(0, 0));
    EXPECT_EQ(overlays_.size(index), KtVec2i(0, 0));
    EXPECT_EQ(overlays_.mask(index).size(), 0U);
    EXPECT_EQ(overlays_.frame(index), -1);
    EXPECT_EQ(overlays_.group(index), 0);
    EXPECT_FALSE(overlays_.test(index, 0, 0));
  }
}

TEST(OverlayDataMeta, IsCopiedFromATemporary) {
  const auto made = [](const ZrMeta& meta) { return new ZrOverlayData(&meta); };
  const KtHandle<ZrOverlayData> overlays(made(ZrMeta(false, true)));

  EXPECT_FALSE(overlays->meta().isStored());
  EXPECT_TRUE(overlays->meta().isDerived());
}

TEST(OverlayDataMeta, IsNeitherStoredNorDerivedByDefault) {
  const ZrOverlayData overlays(nullptr);

  EXPECT_FALSE(overlays.meta().isStored());
  EXPECT_FALSE(overlays.meta().isDerived());
}

}  // namespace
