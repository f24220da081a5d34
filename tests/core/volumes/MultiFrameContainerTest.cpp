// SPDX-License-Identifier: BSD-3-Clause
// The container by itself: filing, fetching, reversing; nothing is decoded here.
#include "support/RowName.h"

#include <zrdcmexport/ZrSliceImage.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <typeinfo>
#include <vector>

namespace {

using testing::ElementsAre;
using Zrg::MultiFrameImage;
using Zrg::SliceImage;

SliceImage imageOf(long long columns, long long rows, unsigned int bytesPerSample) {
  SliceImage image;
  image.extent = {columns, rows, 10};
  image.bytesPerSample = bytesPerSample;
  return image;
}

/// One volume with the frames 0, 1, 2 at offsets 0, 100, 200.
MultiFrameImage threeSlices() {
  MultiFrameImage volumes(true);
  volumes.setNumberOfVolumes(1);
  SliceImage image = imageOf(4, 3, 2);
  volumes.addImage(0, 0, image, 0);
  volumes.addImage(0, 100, image, 1);
  volumes.addImage(0, 200, image, 2);
  return volumes;
}

std::vector<int> offsetsOf(MultiFrameImage& volumes, int volume) {
  std::vector<int> offsets;
  SliceImage slice;
  for (unsigned int i = 0; volumes.getImage(volume, i, slice); ++i) {
    offsets.push_back(slice.frameOffset);
  }
  return offsets;
}

std::vector<unsigned int> frameNumbersOf(MultiFrameImage& volumes, int volume) {
  std::vector<unsigned int> numbers;
  unsigned int number = 0;
  for (unsigned int i = 0; volumes.getFrameNumber(volume, i, number); ++i) {
    numbers.push_back(number);
  }
  return numbers;
}

TEST(MultiFrameContainer, StartsEmpty) {
  MultiFrameImage volumes(true);

  EXPECT_EQ(volumes.numVolumes(), 0U);
  EXPECT_EQ(volumes.numFrames(), 0U);
  EXPECT_EQ(volumes.bytesPerPixel(), 2U);
  EXPECT_EQ(volumes.lossyCompression(), 0U);
  EXPECT_FALSE(volumes.isReversed());
}

TEST(MultiFrameContainer, FilesSlicesInTheOrderTheyCome) {
  MultiFrameImage volumes = threeSlices();

  EXPECT_EQ(volumes.numSlices(0), 3U);
  EXPECT_THAT(offsetsOf(volumes, 0), ElementsAre(0, 100, 200));
  EXPECT_THAT(frameNumbersOf(volumes, 0), ElementsAre(0, 1, 2));
}

TEST(MultiFrameContainer, KeepsVolumesApart) {
  MultiFrameImage volumes(true);
  volumes.setNumberOfVolumes(2);
  SliceImage image = imageOf(1, 1, 1);

  volumes.addImage(1, 40, image, 4);

  EXPECT_EQ(volumes.numSlices(0), 0U);
  EXPECT_EQ(volumes.numSlices(1), 1U);
  EXPECT_THAT(frameNumbersOf(volumes, 1), ElementsAre(4));
}

TEST(MultiFrameContainer, HoldsOneFrameASlice) {
  MultiFrameImage volumes = threeSlices();
  SliceImage slice;

  ASSERT_TRUE(volumes.getImage(0, 0, slice));

  EXPECT_EQ(slice.extent.x, 4);
  EXPECT_EQ(slice.extent.y, 3);
  EXPECT_EQ(slice.extent.z, 1);
}

TEST(MultiFrameContainer, TakesLayoutAndLossyFlagFromTheImage) {
  MultiFrameImage volumes(true);
  volumes.setNumberOfVolumes(1);
  SliceImage image = imageOf(1, 1, 1);
  image.samplesPerPixel = 3;
  image.lossy = true;
  image.valid = false;
  volumes.addImage(0, 0, image, 0);
  SliceImage slice;

  ASSERT_TRUE(volumes.getImage(0, 0, slice));

  EXPECT_EQ(slice.samplesPerPixel, 3U);
  EXPECT_TRUE(slice.lossy);
  EXPECT_TRUE(slice.valid);
}

TEST(MultiFrameContainer, ForgetsDisplayValues) {
  MultiFrameImage volumes(true);
  volumes.setNumberOfVolumes(1);
  SliceImage image = imageOf(1, 1, 2);
  image.rescale = {2, -1000};
  image.voiWindow = {40, 400};
  volumes.addImage(0, 0, image, 0);
  SliceImage slice;

  ASSERT_TRUE(volumes.getImage(0, 0, slice));

  EXPECT_TRUE(std::isnan(slice.rescale.x));
  EXPECT_TRUE(std::isnan(slice.voiWindow.y));
  EXPECT_EQ(image.rescale.x, 2) << "the image that was filed is left alone";
}

TEST(MultiFrameContainer, SharesMemoryAndOverlaysOfTheImage) {
  MultiFrameImage volumes(true);
  volumes.setNumberOfVolumes(1);
  SliceImage image = imageOf(1, 1, 1);
  image.buffer = std::make_shared<char>('x');
  image.convertSamples = false;
  const ZrMeta meta(false, true);
  image.overlays = new ZrOverlayData(&meta);
  volumes.addImage(0, 0, image, 0);
  SliceImage slice;

  ASSERT_TRUE(volumes.getImage(0, 0, slice));

  EXPECT_EQ(slice.buffer, image.buffer);
  EXPECT_EQ(slice.overlays.ptr(), image.overlays.ptr());
  EXPECT_FALSE(slice.convertSamples);
}

TEST(MultiFrameContainer, HandsOutSlicesThatOutliveIt) {
  SliceImage slice;
  {
    MultiFrameImage volumes(true);
    volumes.setNumberOfVolumes(1);
    SliceImage image = imageOf(1, 1, 1);
    image.buffer = std::make_shared<char>('x');
    volumes.addImage(0, 0, image, 0);
    ASSERT_TRUE(volumes.getImage(0, 0, slice));
  }

  EXPECT_EQ(*slice.buffer, 'x');
}

struct SampleSize {
  const char* name;
  unsigned int ofImage;
  unsigned int ofSlice;
};

class StoredSampleSize : public testing::TestWithParam<SampleSize> {};

TEST_P(StoredSampleSize, IsThatOfOneOfThreeSampleTypes) {
  MultiFrameImage volumes(true);
  volumes.setNumberOfVolumes(1);
  SliceImage image = imageOf(1, 1, GetParam().ofImage);
  volumes.addImage(0, 0, image, 0);
  SliceImage slice;

  ASSERT_TRUE(volumes.getImage(0, 0, slice));

  EXPECT_EQ(slice.bytesPerSample, GetParam().ofSlice);
}

INSTANTIATE_TEST_SUITE_P(Sizes, StoredSampleSize,
                         testing::Values(SampleSize{"One", 1, 1}, SampleSize{"Two", 2, 2},
                                         SampleSize{"Three", 3, 1}, SampleSize{"Four", 4, 4},
                                         SampleSize{"None", 0, 1}, SampleSize{"Eight", 8, 1}),
                         support::nameOf<SampleSize>);

TEST(MultiFrameContainer, RefusesAnIndexBehindTheLastSlice) {
  MultiFrameImage volumes = threeSlices();
  SliceImage slice;
  slice.frameOffset = 77;
  unsigned int number = 88;

  EXPECT_FALSE(volumes.getImage(0, volumes.numSlices(0), slice));
  EXPECT_FALSE(volumes.getFrameNumber(0, volumes.numSlices(0), number));
  EXPECT_FALSE(volumes.getImage(0, 4294967295U, slice));
  EXPECT_FALSE(volumes.getFrameNumber(0, 4294967295U, number));

  EXPECT_EQ(slice.frameOffset, 77);
  EXPECT_EQ(number, 88U);
}

TEST(MultiFrameContainer, EmptiesItsVolumesWhenTheyAreCounted) {
  MultiFrameImage volumes = threeSlices();

  volumes.setNumberOfVolumes(3);

  EXPECT_EQ(volumes.numVolumes(), 3U);
  for (int volume = 0; volume < 3; ++volume) {
    EXPECT_EQ(volumes.numSlices(volume), 0U);
    EXPECT_THAT(frameNumbersOf(volumes, volume), ElementsAre());
  }
}

TEST(MultiFrameContainer, EmptiesItsVolumesWhenTheCountStays) {
  MultiFrameImage volumes = threeSlices();

  volumes.setNumberOfVolumes(1);

  EXPECT_EQ(volumes.numSlices(0), 0U);
}

TEST(MultiFrameContainer, DropsVolumesBeyondTheCount) {
  MultiFrameImage volumes = threeSlices();

  volumes.setNumberOfVolumes(0);

  EXPECT_EQ(volumes.numVolumes(), 0U);
}

TEST(MultiFrameContainer, ReversesTheSlicesOfAVolume) {
  MultiFrameImage volumes = threeSlices();

  volumes.reverseOrder(0);

  EXPECT_THAT(offsetsOf(volumes, 0), ElementsAre(200, 100, 0));
}

TEST(MultiFrameContainer, KeepsFrameNumbersWhenItReversesSlices) {
  MultiFrameImage volumes = threeSlices();

  volumes.reverseOrder(0);

  EXPECT_THAT(frameNumbersOf(volumes, 0), ElementsAre(0, 1, 2));
}

TEST(MultiFrameContainer, ReversesAnEvenNumberOfSlices) {
  MultiFrameImage volumes = threeSlices();
  SliceImage image = imageOf(4, 3, 2);
  volumes.addImage(0, 300, image, 3);

  volumes.reverseOrder(0);

  EXPECT_THAT(offsetsOf(volumes, 0), ElementsAre(300, 200, 100, 0));
}

TEST(MultiFrameContainer, LeavesVolumesWithoutOrderAlone) {
  MultiFrameImage volumes(true);
  volumes.setNumberOfVolumes(2);
  SliceImage image = imageOf(1, 1, 1);
  volumes.addImage(1, 5, image, 0);

  volumes.reverseOrder(0);
  volumes.reverseOrder(1);

  EXPECT_EQ(volumes.numSlices(0), 0U);
  EXPECT_THAT(offsetsOf(volumes, 1), ElementsAre(5));
}

TEST(MultiFrameContainer, AnswersWhatItWasTold) {
  MultiFrameImage volumes(true);

  volumes.setLossyCompression(1);
  volumes.setBytesPerPixel(4);

  EXPECT_EQ(volumes.lossyCompression(), 1U);
  EXPECT_EQ(volumes.bytesPerPixel(), 4U);
}

TEST(MultiFrameContainer, GrowsToManySlices) {
  MultiFrameImage volumes(true);
  volumes.setNumberOfVolumes(1);
  SliceImage image = imageOf(1, 1, 1);
  for (unsigned int i = 0; i < 5000; ++i) {
    volumes.addImage(0, static_cast<int>(i), image, i);
  }
  SliceImage slice;
  unsigned int number = 0;

  ASSERT_TRUE(volumes.getImage(0, 4999, slice));
  ASSERT_TRUE(volumes.getFrameNumber(0, 4999, number));

  EXPECT_EQ(slice.frameOffset, 4999);
  EXPECT_EQ(number, 4999U);
}

}  // namespace
