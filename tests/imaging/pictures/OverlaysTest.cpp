// SPDX-License-Identifier: BSD-3-Clause
// Overlays with data of their own beside those in the samples.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>
#include <zrimaging/File.h>
#include <zrimaging/Image.h>
#include <zrimaging/MemoryBudget.h>
#include <zrimaging/Overlays.h>
#include <zrimaging/Pictures.h>

namespace {

using support::ImageBuilder;
using support::monochromeImage;
using testing::ElementsAre;
using testing::IsEmpty;
using Samples = std::vector<unsigned char>;

/// Adds a plane with data; the origin counts from 1, its row first.
ImageBuilder& addPlane(ImageBuilder& image, Uint16 group, Uint16 rows, Uint16 columns,
                       const std::vector<Sint16>& origin, const std::vector<Uint8>& data) {
  image.withUint16(DcmTagKey(group, 0x0010), rows);
  image.withUint16(DcmTagKey(group, 0x0011), columns);
  image.withSint16s(DcmTagKey(group, 0x0050), origin);
  image.withUint16(DcmTagKey(group, 0x0100), 1);
  image.withUint16(DcmTagKey(group, 0x0102), 0);
  return image.withBytes(DcmTagKey(group, 0x3000), data);
}

class OverlaysOfAFile : public testing::Test {
protected:
  zr::Image open(const ImageBuilder& image) const {
    support::saveFile(*image.build(), folder_.file("in.dcm"));
    return zr::Image(zr::File(folder_.file("in.dcm")));
  }

  zr::FramesRecord read(const ImageBuilder& image) const {
    zr::DecodeRequest request;
    request.overlays = true;
    return open(image).decode(request, {}).record();
  }

  std::vector<zr::OverlayPlane> describe(const ImageBuilder& image) const {
    return zr::describeOverlays(open(image).file());
  }

  /// The mask of the first overlay.
  Samples mask(const ImageBuilder& image) const { return zr::overlayMask(read(image), 0).samples; }

  /// Frames that the overlays are on, in their order.
  std::vector<int> frames(const ImageBuilder& image) const {
    const zr::FramesRecord record = read(image);
    std::vector<int> frames;
    for (int i = 0; record.overlays.isNotNull() && i < record.overlays->count(); ++i) {
      frames.push_back(record.overlays->frame(i));
    }
    return frames;
  }

  support::TempDir folder_;
};

TEST_F(OverlaysOfAFile, AreReadFromTheLowestBitOn) {
  ImageBuilder image = monochromeImage(3, 2);

  // 1 0 1 / 0 1 1
  EXPECT_EQ(mask(addPlane(image, 0x6000, 2, 3, {1, 1}, {0b110101, 0})),
            (Samples{255, 0, 255, 0, 255, 255}));
}

TEST_F(OverlaysOfAFile, BeginAtTheirOrigin) {
  ImageBuilder image = monochromeImage(3, 2);

  EXPECT_EQ(mask(addPlane(image, 0x6000, 1, 1, {2, 3}, {1, 0})), (Samples{0, 0, 0, 0, 0, 255}));
}

TEST_F(OverlaysOfAFile, AreCutAtTheEdgesOfTheImage) {
  ImageBuilder negative = monochromeImage(2, 1);
  ImageBuilder beyond = monochromeImage(2, 1);

  // Of 0 0 0 / 0 1 1 around the image's first pixel the lower right is in it.
  EXPECT_EQ(mask(addPlane(negative, 0x6000, 2, 3, {0, 0}, {0b110000, 0})), (Samples{255, 255}));
  EXPECT_EQ(mask(addPlane(beyond, 0x6000, 2, 3, {1, 2}, {0xFF, 0})), (Samples{0, 255}));
}

TEST_F(OverlaysOfAFile, OutsideOfTheImageAreLeftOut) {
  ImageBuilder image = monochromeImage(2, 1);

  EXPECT_THAT(frames(addPlane(image, 0x6000, 1, 1, {-5, 100}, {1, 0})), IsEmpty());
}

TEST_F(OverlaysOfAFile, OfSeveralFramesFollowEachOtherWithoutGaps) {
  ImageBuilder image = monochromeImage(3, 1).frames(3);
  addPlane(image, 0x6002, 1, 3, {1, 1}, {0b100001, 0});
  image.with(DcmTagKey(0x6002, 0x0015), EVR_IS, "2").withUint16(DcmTagKey(0x6002, 0x0051), 2);

  const zr::FramesRecord record = read(image);

  EXPECT_THAT(frames(image), ElementsAre(1, 2));
  EXPECT_EQ(zr::overlayMask(record, 0).samples, (Samples{255, 0, 0}));
  EXPECT_EQ(zr::overlayMask(record, 1).samples, (Samples{0, 0, 255}));
}

TEST_F(OverlaysOfAFile, AreOnAllFramesWhereTheySayOfNone) {
  ImageBuilder image = monochromeImage(1, 1).frames(2);

  EXPECT_THAT(frames(addPlane(image, 0x6000, 1, 1, {1, 1}, {1, 0})), ElementsAre(0, 1));
}

TEST_F(OverlaysOfAFile, OfFramesThatTheDataDoesNotHoldAreLeftOut) {
  ImageBuilder image = monochromeImage(1, 1).frames(3);
  addPlane(image, 0x6000, 1, 8, {1, 1}, {1, 1});  // two frames
  image.with(DcmTagKey(0x6000, 0x0015), EVR_IS, "3");

  EXPECT_THAT(frames(image), ElementsAre(0, 1));
}

TEST_F(OverlaysOfAFile, WithLessDataThanAFrameTellWhy) {
  ImageBuilder image = monochromeImage(2, 2);
  addPlane(image, 0x6000, 65535, 65535, {1, 1}, {1, 0});

  EXPECT_THAT(frames(image), IsEmpty());
  ASSERT_EQ(describe(image).size(), 1U);
  EXPECT_EQ(describe(image)[0].problem,
            "has less data than a frame of 65535 rows and 65535 columns takes");
}

TEST_F(OverlaysOfAFile, OfOddGroupsAreNamedAndNotRead) {
  ImageBuilder image = monochromeImage(1, 1);
  addPlane(image, 0x6001, 1, 1, {1, 1}, {1, 0});

  EXPECT_THAT(frames(image), IsEmpty());
  ASSERT_EQ(describe(image).size(), 1U);
  EXPECT_EQ(describe(image)[0].group, 0x6001U);
  EXPECT_EQ(describe(image)[0].problem, "is of an odd group, which is private");
}

TEST_F(OverlaysOfAFile, OfSeveralBitsAPixelAreNotRead) {
  ImageBuilder image = monochromeImage(1, 1);
  addPlane(image, 0x6000, 1, 1, {1, 1}, {1, 0}).withUint16(DcmTagKey(0x6000, 0x0100), 16);

  EXPECT_THAT(frames(image), IsEmpty());
  EXPECT_EQ(describe(image)[0].problem, "has 16 bits a pixel");
}

TEST_F(OverlaysOfAFile, AreDescribedWithoutDecoding) {
  ImageBuilder image = monochromeImage(4, 4).bitsStored(8).overlayBits(0x6000, 12, {{1, 0}});
  addPlane(image, 0x6002, 2, 3, {0, 5}, {1, 0});
  image.with(DcmTagKey(0x6002, 0x0040), EVR_CS, "R").with(DcmTagKey(0x6002, 0x1500), EVR_LO, "ROI");

  const std::vector<zr::OverlayPlane> planes = describe(image);

  ASSERT_EQ(planes.size(), 2U);
  EXPECT_EQ(planes[0].storage, zr::OverlayStorage::kEmbedded);
  EXPECT_EQ(planes[0].bitPosition, 12U);
  EXPECT_EQ(planes[1].storage, zr::OverlayStorage::kOwnData);
  EXPECT_EQ(planes[1].originRow, -1);
  EXPECT_EQ(planes[1].originColumn, 4);
  EXPECT_EQ(planes[1].type, "R");
  EXPECT_EQ(planes[1].label.utf8, "ROI");
  EXPECT_TRUE(planes[1].onAllFrames);
}

TEST_F(OverlaysOfAFile, OfBothKindsAreReadTogether) {
  ImageBuilder image = monochromeImage(2, 1).bitsStored(8).overlayBits(0x6000, 12, {{1, 0}});
  addPlane(image, 0x6002, 1, 1, {1, 1}, {1, 0});

  const zr::FramesRecord record = read(image);

  ASSERT_EQ(record.overlays->count(), 2);
  EXPECT_EQ(zr::overlayMask(record, 0).samples, (Samples{0, 255}));
  EXPECT_EQ(zr::overlayMask(record, 1).samples, (Samples{255, 0}));
}

TEST_F(OverlaysOfAFile, AreDrawnOnColourToo) {
  ImageBuilder image = support::rgbImage(2, 1).samples({1, 2, 3, 4, 5, 6});
  const zr::FramesRecord record = read(addPlane(image, 0x6000, 1, 1, {1, 2}, {1, 0}));
  const zr::Picture colour{1, 2, 3, {1, 2, 3, 4, 5, 6}};

  EXPECT_THAT(zr::burnOverlays(colour, record, 0).samples, ElementsAre(1, 2, 3, 255, 196, 0));
}

TEST_F(OverlaysOfAFile, OfFramesOnDemandAreThoseOfAllFrames) {
  ImageBuilder image = support::rgbImage(1, 1).frames(2).samples({1, 2, 3, 4, 5, 6});
  addPlane(image, 0x6000, 1, 1, {1, 1}, {1, 0});

  const auto frames = zr::framesOf(open(image), {});

  ASSERT_TRUE(frames->record().overlays.isNotNull());
  EXPECT_EQ(frames->record().overlays->frame(1), 1);
}

}  // namespace
