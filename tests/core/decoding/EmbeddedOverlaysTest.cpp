// SPDX-License-Identifier: BSD-3-Clause
// Which overlay groups of a dataset are embedded, for which frames, and how their masks are filed.
#include "support/ImageBuilder.h"
#include "support/RowName.h"

#include <zrdcmexport/ZrSliceImage.h>

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace {

using support::ImageBuilder;
using support::monochromeImage;
using support::Pixel;

/// A slice that holds the frames of an image as they are stored.
class StoredSlice {
public:
  StoredSlice(const ImageBuilder& image, long long columns, long long rows, long long frames)
      : samples_(image.storedSamples()), dataset_(image.build()) {
    slice_.setFrameOffset(0, 2, 1, {columns, rows, frames}, false, true);
    slice_.data = static_cast<char*>(static_cast<void*>(samples_.data()));
  }

  /// Overlays of the frames from first to last; a null handle when none were found.
  const KtHandle<ZrOverlayData>& overlaysOf(int firstFrame, int lastFrame) {
    slice_.extractEmbeddedOverlays(*dataset_, firstFrame, lastFrame);
    return slice_.overlays;
  }

  Zrg::SliceImage& slice() { return slice_; }

private:
  std::vector<Uint16> samples_;
  std::unique_ptr<DcmDataset> dataset_;
  Zrg::SliceImage slice_;
};

constexpr Uint16 kGroup = 0x6000;
const DcmTagKey kRows(kGroup, 0x0010);
const DcmTagKey kColumns(kGroup, 0x0011);
const DcmTagKey kFrames(kGroup, 0x0015);
const DcmTagKey kOrigin(kGroup, 0x0050);
const DcmTagKey kFrameOrigin(kGroup, 0x0051);
const DcmTagKey kBitPosition(kGroup, 0x0102);
const DcmTagKey kData(kGroup, 0x3000);

/// 8 x 4 pixels with 12 bits stored and one overlay pixel at (2, 1) in bit 15.
ImageBuilder imageWithOverlay() {
  return monochromeImage(8, 4).bitsStored(12).overlayBits(kGroup, 15, {{2, 1}});
}

int countOf(const ImageBuilder& image) {
  StoredSlice stored(image, 8, 4, 1);
  const KtHandle<ZrOverlayData>& overlays = stored.overlaysOf(0, 0);
  return overlays.isNull() ? -1 : overlays->count();
}

TEST(EmbeddedOverlays, AreCroppedToTheirSetBits) {
  const ImageBuilder image =
      monochromeImage(8, 4).bitsStored(12).overlayBits(kGroup, 15, {{2, 1}, {5, 3}});
  StoredSlice stored(image, 8, 4, 1);

  const KtHandle<ZrOverlayData>& overlays = stored.overlaysOf(0, 0);

  ASSERT_EQ(overlays->count(), 1);
  EXPECT_EQ(overlays->origin(0).x, 2);
  EXPECT_EQ(overlays->origin(0).y, 1);
  EXPECT_EQ(overlays->size(0).x, 4);
  EXPECT_EQ(overlays->size(0).y, 3);
}

TEST(EmbeddedOverlays, ShowTheirBitsInImageCoordinates) {
  StoredSlice stored(imageWithOverlay(), 8, 4, 1);

  const KtHandle<ZrOverlayData>& overlays = stored.overlaysOf(0, 0);

  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 8; ++column) {
      EXPECT_EQ(overlays->test(0, column, row), column == 2 && row == 1) << column << ',' << row;
    }
  }
}

TEST(EmbeddedOverlays, CarryTheirGroupAndFrame) {
  const ImageBuilder image = monochromeImage(8, 4)
                                 .bitsStored(12)
                                 .overlayBits(0x601E, 13, {{0, 0}})
                                 .overlayBits(0x6002, 14, {{7, 3}});
  StoredSlice stored(image, 8, 4, 1);

  const KtHandle<ZrOverlayData>& overlays = stored.overlaysOf(0, 0);

  ASSERT_EQ(overlays->count(), 2);
  EXPECT_EQ(overlays->group(0), 0x6002);
  EXPECT_EQ(overlays->group(1), 0x601E);
  EXPECT_EQ(overlays->frame(0), 0);
  EXPECT_TRUE(overlays->test(0, 7, 3));
  EXPECT_TRUE(overlays->test(1, 0, 0));
}

TEST(EmbeddedOverlays, ComeFromAllSixteenGroups) {
  ImageBuilder image = monochromeImage(8, 4).bitsStored(12);
  image.overlayBits(kGroup, 15, {{1, 1}});
  for (int i = 1; i < 16; ++i) {
    image.overlayPlane(static_cast<Uint16>(0x6000 + 2 * i), 15);
  }
  image.overlayPlane(0x6020, 15).overlayPlane(0x6001, 15);

  EXPECT_EQ(countOf(image), 16);
}

TEST(EmbeddedOverlays, LeaveTheSamplesAlone) {
  const ImageBuilder image = imageWithOverlay();
  StoredSlice stored(image, 8, 4, 1);

  stored.overlaysOf(0, 0);

  const auto* samples = static_cast<const Uint16*>(static_cast<void*>(stored.slice().data));
  EXPECT_EQ(std::vector<Uint16>(samples, samples + 32), image.storedSamples());
}

TEST(EmbeddedOverlays, AreReadFromEightBitSamples) {
  std::vector<unsigned char> samples = {0x80, 0x00, 0x00, 0x80};
  const auto dataset = monochromeImage(2, 2).unsigned8().overlayPlane(kGroup, 7).build();
  Zrg::SliceImage slice;
  slice.setFrameOffset(0, 1, 1, {2, 2, 1}, false, true);
  slice.data = static_cast<char*>(static_cast<void*>(samples.data()));

  slice.extractEmbeddedOverlays(*dataset, 0, 0);

  ASSERT_EQ(slice.overlays->count(), 1);
  EXPECT_TRUE(slice.overlays->test(0, 0, 0));
  EXPECT_FALSE(slice.overlays->test(0, 1, 0));
  EXPECT_TRUE(slice.overlays->test(0, 1, 1));
}

TEST(EmbeddedOverlays, AreReadAtTheirOwnOrigin) {
  const ImageBuilder image =
      imageWithOverlay().withUint16(kRows, 2).withUint16(kColumns, 3).withSint16s(kOrigin, {2, 3});
  StoredSlice stored(image, 8, 4, 1);

  const KtHandle<ZrOverlayData>& overlays = stored.overlaysOf(0, 0);

  ASSERT_EQ(overlays->count(), 1);
  EXPECT_EQ(overlays->origin(0).x, 2);
  EXPECT_EQ(overlays->origin(0).y, 1);
}

TEST(EmbeddedOverlays, AreNotRecordedWhenAllBitsAreClear) {
  const ImageBuilder image = monochromeImage(8, 4).bitsStored(12).overlayBits(kGroup, 15, {});

  EXPECT_EQ(countOf(image), 0) << "the container exists although its one mask is empty";
}

TEST(EmbeddedOverlays, ReplaceThoseOfAnEarlierImage) {
  StoredSlice stored(imageWithOverlay(), 8, 4, 1);
  stored.overlaysOf(0, 0);
  const auto plain = monochromeImage(8, 4).build();

  stored.slice().extractEmbeddedOverlays(*plain, 0, 0);

  EXPECT_TRUE(stored.slice().overlays.isNull());
}

TEST(EmbeddedOverlays, LeaveTheOverlaysOfCopiesAlone) {
  StoredSlice stored(imageWithOverlay(), 8, 4, 1);
  stored.overlaysOf(0, 0);
  const Zrg::SliceImage copy = stored.slice();
  const auto plain = monochromeImage(8, 4).build();

  stored.slice().extractEmbeddedOverlays(*plain, 0, 0);

  ASSERT_TRUE(copy.overlays.isNotNull());
  EXPECT_EQ(copy.overlays->count(), 1);
}

// --- which groups count -------------------------------------------------------------------------

constexpr int kNoContainer = -1;

struct Attributes {
  const char* name;
  std::function<void(ImageBuilder&)> change;
  int count;
};

class OverlayAttributes : public testing::TestWithParam<Attributes> {};

TEST_P(OverlayAttributes, DecideWhetherAGroupIsEmbedded) {
  ImageBuilder image = imageWithOverlay();
  GetParam().change(image);

  EXPECT_EQ(countOf(image), GetParam().count);
}

INSTANTIATE_TEST_SUITE_P(
    Groups, OverlayAttributes,
    testing::Values(
        Attributes{"Complete", [](ImageBuilder&) {}, 1},
        Attributes{"NoRows", [](ImageBuilder& i) { i.without(kRows); }, kNoContainer},
        Attributes{"NoColumns", [](ImageBuilder& i) { i.without(kColumns); }, kNoContainer},
        Attributes{"NoBitPosition", [](ImageBuilder& i) { i.without(kBitPosition); }, kNoContainer},
        Attributes{"OwnData",
                   [](ImageBuilder& i) {
                     i.withWords(kData, {0xFFFF, 0xFFFF});
                   },
                   kNoContainer},
        Attributes{"EmptyOwnData", [](ImageBuilder& i) { i.withWords(kData, {}); }, kNoContainer},
        Attributes{"NoOrigin", [](ImageBuilder& i) { i.without(kOrigin); }, 1},
        Attributes{"RowOfOriginAlone", [](ImageBuilder& i) { i.withSint16(kOrigin, 1); }, 1},
        Attributes{"OriginZero",
                   [](ImageBuilder& i) {
                     i.withSint16s(kOrigin, {0, 0});
                   },
                   kNoContainer},
        Attributes{"RowZero",
                   [](ImageBuilder& i) {
                     i.withSint16s(kOrigin, {0, 1});
                   },
                   kNoContainer},
        Attributes{"ColumnZero",
                   [](ImageBuilder& i) {
                     i.withSint16s(kOrigin, {1, 0});
                   },
                   kNoContainer},
        Attributes{"OneRowTooLow",
                   [](ImageBuilder& i) {
                     i.withSint16s(kOrigin, {2, 1});
                   },
                   kNoContainer},
        Attributes{"OneColumnTooFar",
                   [](ImageBuilder& i) {
                     i.withSint16s(kOrigin, {1, 2});
                   },
                   kNoContainer},
        Attributes{"TooManyRows", [](ImageBuilder& i) { i.withUint16(kRows, 5); }, kNoContainer},
        Attributes{"TooManyColumns", [](ImageBuilder& i) { i.withUint16(kColumns, 9); },
                   kNoContainer},
        Attributes{"LargestRows", [](ImageBuilder& i) { i.withUint16(kRows, 65535); },
                   kNoContainer},
        Attributes{"NoColumnsAtAll", [](ImageBuilder& i) { i.withUint16(kColumns, 0); }, 0},
        Attributes{"NoRowsAtAll", [](ImageBuilder& i) { i.withUint16(kRows, 0); }, 0},
        Attributes{"BitBeyondTheSample", [](ImageBuilder& i) { i.withUint16(kBitPosition, 16); },
                   0},
        Attributes{"BitModulo32", [](ImageBuilder& i) { i.withUint16(kBitPosition, 47); }, 1},
        Attributes{"FrameOriginOne", [](ImageBuilder& i) { i.withUint16(kFrameOrigin, 1); }, 1},
        Attributes{"FrameOriginZero", [](ImageBuilder& i) { i.withUint16(kFrameOrigin, 0); }, 1},
        Attributes{"FrameOriginBehindTheImage",
                   [](ImageBuilder& i) { i.withUint16(kFrameOrigin, 2); }, kNoContainer},
        Attributes{"NoNumberOfFrames", [](ImageBuilder& i) { i.with(kFrames, "none"); }, 1},
        Attributes{"NegativeFrames", [](ImageBuilder& i) { i.with(kFrames, "-7"); }, 1},
        Attributes{"MostFrames", [](ImageBuilder& i) { i.with(kFrames, "2147483647"); }, 1}),
    support::nameOf<Attributes>);

// --- which frames -------------------------------------------------------------------------------

/// Four frames of 8 x 4 pixels; frame f has its overlay pixel in column f.
ImageBuilder fourFrames() {
  ImageBuilder image = monochromeImage(8, 4).bitsStored(12).frames(4);
  for (int frame = 0; frame < 4; ++frame) {
    image.overlayBits(kGroup, 15, {{frame, 0}}, static_cast<unsigned int>(frame));
  }
  return image.with(kFrames, "4");
}

struct Found {
  int frame;
  int column;
  bool operator==(const Found& other) const {
    return frame == other.frame && column == other.column;
  }
};

struct Frames {
  const char* name;
  const char* overlayFrames;
  Uint16 frameOrigin;
  int firstFrame;
  int lastFrame;
  std::vector<Found> found;
};

class OverlayFrames : public testing::TestWithParam<Frames> {};

TEST_P(OverlayFrames, AreCountedFromTheFirstDecodedFrame) {
  ImageBuilder image = fourFrames();
  image.with(kFrames, GetParam().overlayFrames).withUint16(kFrameOrigin, GetParam().frameOrigin);
  StoredSlice stored(image, 8, 4, 4);

  const KtHandle<ZrOverlayData>& overlays =
      stored.overlaysOf(GetParam().firstFrame, GetParam().lastFrame);

  std::vector<Found> found;
  for (int i = 0; overlays.isNotNull() && i < overlays->count(); ++i) {
    found.push_back({overlays->frame(i), overlays->origin(i).x});
  }
  EXPECT_EQ(found, GetParam().found);
  EXPECT_EQ(overlays.isNull(), GetParam().found.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Ranges, OverlayFrames,
    testing::Values(Frames{"All", "4", 1, 0, 3, {{0, 0}, {1, 1}, {2, 2}, {3, 3}}},
                    Frames{"FirstAlone", "1", 1, 0, 3, {{0, 0}}},
                    Frames{"FromTheThird", "2", 3, 0, 3, {{2, 2}, {3, 3}}},
                    Frames{"MoreThanTheImage", "9", 2, 0, 3, {{1, 1}, {2, 2}, {3, 3}}},
                    Frames{"DecodedFromTheSecond", "4", 1, 1, 2, {{0, 1}, {1, 2}}},
                    Frames{"BehindTheDecoded", "1", 4, 0, 2, {}},
                    Frames{"BeforeTheDecoded", "2", 1, 2, 3, {}}),
    support::nameOf<Frames>);

TEST(OverlayFrames, OfALaterGroupAreReadWhereThoseOfAnEarlierOneAreNotWanted) {
  const ImageBuilder image = monochromeImage(8, 4)
                                 .bitsStored(12)
                                 .frames(2)
                                 .overlayBits(0x6000, 15, {{2, 1}}, 0)
                                 .overlayBits(0x6002, 14, {{3, 2}}, 1)
                                 .withUint16(DcmTagKey(0x6002, 0x0051), 2);
  StoredSlice stored(image, 8, 4, 2);

  const KtHandle<ZrOverlayData>& overlays = stored.overlaysOf(1, 1);

  ASSERT_TRUE(overlays.isNotNull());
  ASSERT_EQ(overlays->count(), 1);
  EXPECT_EQ(overlays->group(0), 0x6002);
}

TEST(OverlayFrames, ThatTheSliceDoesNotHoldAreNotRead) {
  StoredSlice stored(fourFrames(), 8, 4, 2);  // a slice of frames 1 and 2 of the dataset

  const KtHandle<ZrOverlayData>& overlays = stored.overlaysOf(1, 2);

  // Position 1 of its memory is read for frame 1; there is no position 2.
  ASSERT_TRUE(overlays.isNotNull());
  ASSERT_EQ(overlays->count(), 1);
  EXPECT_EQ(overlays->frame(0), 0);
}

}  // namespace
