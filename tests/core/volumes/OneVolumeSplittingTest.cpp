// SPDX-License-Identifier: BSD-3-Clause
// Datasets that become one volume: in the order of their frames or of a slice vector.
#include "SplittingFixtures.h"
#include "support/Compression.h"
#include "support/RowName.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace {

using testing::ElementsAre;

const bool kSilent = support::silenceDcmtk();

TEST(OneVolume, PlacesFramesOneFrameSizeApart) {
  SplitDataset split(frameStack(4).with(DCM_SpacingBetweenSlices, "2.5"));

  ASSERT_TRUE(split.done());
  EXPECT_EQ(split.volumes().numVolumes(), 1U);
  EXPECT_THAT(split.frameNumbers(0), ElementsAre(0, 1, 2, 3));
  EXPECT_THAT(split.offsets(0), ElementsAre(0, kFrameBytes, 2 * kFrameBytes, 3 * kFrameBytes));
  EXPECT_THAT(split.framesInMemory(0), ElementsAre(0, 1, 2, 3));
  EXPECT_FALSE(split.volumes().isReversed());
}

TEST(OneVolume, KeepsFrameOrderWhenTheSpacingIsNegative) {
  SplitDataset split(frameStack(3).with(DCM_SpacingBetweenSlices, "-2.5"));

  ASSERT_TRUE(split.done());
  EXPECT_TRUE(split.volumes().isReversed());
  EXPECT_THAT(split.framesInMemory(0), ElementsAre(0, 1, 2));
}

TEST(OneVolume, SharesThePixelMemoryOfTheDataset) {
  SplitDataset split(frameStack(2));

  ASSERT_TRUE(split.done());
  EXPECT_EQ(split.sliceAt(0, 0).data, split.sliceAt(0, 1).data);
  EXPECT_EQ(split.sliceAt(0, 0).buffer, nullptr);
}

TEST(OneVolume, MakesValidSlicesOfOneFrame) {
  SplitDataset split(frameStack(2).rescale("2", "-1000"));

  ASSERT_TRUE(split.done());
  const Zrg::SliceImage slice = split.sliceAt(0, 1);
  EXPECT_TRUE(slice.valid);
  EXPECT_EQ(slice.extent.x, 2);
  EXPECT_EQ(slice.extent.y, 2);
  EXPECT_EQ(slice.extent.z, 1);
  EXPECT_TRUE(std::isnan(slice.rescale.x)) << "display values are their owner's to set";
}

TEST(OneVolume, TellsTheBytesOfASample) {
  SplitDataset words(frameStack(2));
  SplitDataset bytes(frameStack(2).unsigned8());

  EXPECT_EQ(words.volumes().bytesPerPixel(), 2U);
  EXPECT_EQ(bytes.volumes().bytesPerPixel(), 1U);
  EXPECT_THAT(bytes.offsets(0), ElementsAre(0, 4));
}

TEST(OneVolume, ComesFromCompressedFramesAlike) {
  const auto dataset = support::compress(*frameStack(3).build(), EXS_RLELossless);
  Zrg::MultiFrameImage volumes(true);
  std::string errorText;

  ASSERT_TRUE(volumes.process(*dataset, errorText, true)) << errorText;

  Zrg::SliceImage slice;
  ASSERT_TRUE(volumes.getImage(0, 2, slice));
  const auto* samples =
      static_cast<const Uint16*>(static_cast<const void*>(Zrg::firstSample(slice)));
  EXPECT_EQ(samples[3], 11);
}

TEST(OneVolume, ReplacesWhatTheContainerHeld) {
  SplitDataset split(frameStack(5));
  ASSERT_TRUE(split.done());

  ASSERT_TRUE(split.processAgain(frameStack(2)));

  EXPECT_EQ(split.volumes().numSlices(0), 2U);
  EXPECT_EQ(split.volumes().numFrames(), 2U);
}

// --- slice vector -------------------------------------------------------------------------------

TEST(SliceVector, PutsFramesInSliceOrder) {
  SplitDataset split(nmStack({3, 1, 4, 2}, 4));

  ASSERT_TRUE(split.done());
  EXPECT_EQ(split.volumes().numVolumes(), 1U);
  EXPECT_THAT(split.frameNumbers(0), ElementsAre(1, 3, 0, 2));
  EXPECT_THAT(split.framesInMemory(0), ElementsAre(1, 3, 0, 2));
  EXPECT_THAT(split.offsets(0), ElementsAre(kFrameBytes, 3 * kFrameBytes, 0, 2 * kFrameBytes));
}

TEST(SliceVector, MayBeTextWithSigns) {
  SplitDataset split(
      nmStack({1, 1}, 2).without(DCM_SliceVector).with(DCM_SliceVector, EVR_IS, "+2\\+1"));

  ASSERT_TRUE(split.done());
  EXPECT_THAT(split.frameNumbers(0), ElementsAre(1, 0));
}

TEST(SliceVector, MayBeMissing) {
  SplitDataset split(nmStack({1, 1, 1}, 3).without(DCM_SliceVector));

  ASSERT_TRUE(split.done());
  EXPECT_THAT(split.frameNumbers(0), ElementsAre(0, 1, 2));
}

TEST(SliceVector, MissingNeedsASliceForEachFrame) {
  EXPECT_FALSE(SplitDataset(nmStack({1, 1, 1}, 2).without(DCM_SliceVector)).done());
  EXPECT_FALSE(SplitDataset(nmStack({1, 1, 1}, 4).without(DCM_SliceVector)).done());
}

TEST(SliceVector, OrdersFramesOfOtherPointersToo) {
  SplitDataset split(frameStack(3).withUint16s(DCM_SliceVector, {2, 3, 1}));

  ASSERT_TRUE(split.done());
  EXPECT_THAT(split.framesInMemory(0), ElementsAre(2, 0, 1));
}

TEST(SliceVector, MayStandInTextWithBlanks) {
  SplitDataset split(nmStack({1, 1, 1}, 3).with(DCM_SliceVector, EVR_LO, "3 1\\\\ 2"));

  ASSERT_TRUE(split.done());
  EXPECT_THAT(split.framesInMemory(0), ElementsAre(1, 2, 0));
}

struct Vector {
  const char* name;
  std::vector<Uint16> values;
  Uint16 slices;
  unsigned int frames;
};

class WrongSliceVector : public testing::TestWithParam<Vector> {};

TEST_P(WrongSliceVector, IsNotSplit) {
  const Vector& row = GetParam();
  SplitDataset split(nmStack(row.values, row.slices).frames(row.frames));

  EXPECT_FALSE(split.done());
}

INSTANTIATE_TEST_SUITE_P(
    Vectors, WrongSliceVector,
    testing::Values(Vector{"TwoFramesOfOneSlice", {1, 1, 2, 3}, 4, 4},
                    Vector{"OneValueTooFew", {1, 2, 3}, 4, 4},
                    Vector{"OneValueTooMany", {1, 2, 3, 4, 4}, 4, 4},
                    Vector{"AllFramesOfOneSlice", {2, 2, 2, 2}, 4, 4},
                    Vector{"NumberZero", {0, 1, 2, 3}, 4, 4},
                    Vector{"NumberAboveTheSlices", {1, 2, 3, 5}, 4, 4},
                    Vector{"LargestNumber", {1, 2, 3, 65535}, 4, 4},
                    Vector{"SliceBeyondTheFrames", {1, 2, 3, 5}, 8, 4},
                    Vector{"SliceFarBeyondTheFrames", {1, 2, 3, 65535}, 65535, 4},
                    Vector{"OneSlice", {1, 1}, 1, 2}, Vector{"NoSlices", {1, 2}, 0, 2}),
    support::nameOf<Vector>);

TEST(WrongSliceVector, IncludesWords) {
  EXPECT_FALSE(SplitDataset(nmStack({1, 1}, 2).with(DCM_SliceVector, EVR_LO, "one\\two")).done());
}

TEST(WrongSliceVector, IncludesOneOfAMillionNumbersForTwoFrames) {
  std::string numbers = "1\\2";
  for (int i = 2; i < 1000000; ++i) {
    numbers += "\\1";
  }

  EXPECT_FALSE(SplitDataset(nmStack({1, 1}, 2).with(DCM_SliceVector, EVR_UT, numbers)).done());
}

TEST(WrongSliceVector, IncludesAnEmptyOne) {
  EXPECT_FALSE(SplitDataset(nmStack({1, 1}, 2).with(DCM_SliceVector, EVR_LO, "")).done());
}

TEST(NumberOfSlices, MustBeThereForNmVectors) {
  EXPECT_FALSE(SplitDataset(nmStack({1, 2}, 2).without(DCM_NumberOfSlices)).done());
}

TEST(NumberOfSlices, MayExceedTheFrames) {
  SplitDataset split(nmStack({2, 1}, 9));

  ASSERT_TRUE(split.done());
  EXPECT_THAT(split.framesInMemory(0), ElementsAre(1, 0));
}

}  // namespace
