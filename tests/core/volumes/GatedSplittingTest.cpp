// SPDX-License-Identifier: BSD-3-Clause
// Gated nuclear medicine: one volume for each time slot of each R-R interval.
#include "SplittingFixtures.h"
#include "support/Compression.h"
#include "support/RowName.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

namespace {

using support::ImageBuilder;
using testing::ElementsAre;

const bool kSilent = support::silenceDcmtk();

using Numbers = std::vector<Uint16>;

struct Gates {
  Numbers rrIntervals;
  Numbers timeSlots;
  Numbers slices;
};

ImageBuilder gatedStack(const Gates& gates, Uint16 rrIntervals, Uint16 timeSlots, Uint16 slices) {
  return frameStack(static_cast<unsigned int>(gates.slices.size()))
      .frameIncrementPointer("(0054,0060)\\(0054,0070)\\(0054,0080)")
      .withUint16(DCM_NumberOfRRIntervals, rrIntervals)
      .withUint16(DCM_NumberOfTimeSlots, timeSlots)
      .withUint16(DCM_NumberOfSlices, slices)
      .withUint16s(DCM_RRIntervalVector, gates.rrIntervals)
      .withUint16s(DCM_TimeSlotVector, gates.timeSlots)
      .withUint16s(DCM_SliceVector, gates.slices);
}

/// Two R-R intervals of two time slots of two slices, R-R interval slowest, slice fastest.
const Gates kEightFrames = {{1, 1, 1, 1, 2, 2, 2, 2},  //
                            {1, 1, 2, 2, 1, 1, 2, 2},  //
                            {1, 2, 1, 2, 1, 2, 1, 2}};

ImageBuilder eightFrames() {
  return gatedStack(kEightFrames, 2, 2, 2);
}

TEST(GatedSplitting, OrdersVolumesByTimeSlotThenInterval) {
  SplitDataset split(eightFrames());

  ASSERT_TRUE(split.done());
  ASSERT_EQ(split.volumes().numVolumes(), 4U);
  EXPECT_THAT(split.framesInMemory(0), ElementsAre(0, 1));  // slot 1, interval 1
  EXPECT_THAT(split.framesInMemory(1), ElementsAre(4, 5));  // slot 1, interval 2
  EXPECT_THAT(split.framesInMemory(2), ElementsAre(2, 3));  // slot 2, interval 1
  EXPECT_THAT(split.framesInMemory(3), ElementsAre(6, 7));  // slot 2, interval 2
  EXPECT_THAT(split.frameNumbers(3), ElementsAre(6, 7));
}

TEST(GatedSplitting, OrdersSlicesWithinAVolume) {
  SplitDataset split(gatedStack({{1, 1, 1}, {1, 1, 1}, {3, 1, 2}}, 1, 1, 3));

  ASSERT_TRUE(split.done());
  EXPECT_THAT(split.framesInMemory(0), ElementsAre(1, 2, 0));
}

TEST(GatedSplitting, FilesAHeartOf1024Frames) {
  Gates gates;
  for (Uint16 interval = 1; interval <= 2; ++interval) {
    for (Uint16 slot = 1; slot <= 8; ++slot) {
      for (Uint16 slice = 1; slice <= 64; ++slice) {
        gates.rrIntervals.push_back(interval);
        gates.timeSlots.push_back(slot);
        gates.slices.push_back(slice);
      }
    }
  }

  SplitDataset split(gatedStack(gates, 2, 8, 64));

  ASSERT_TRUE(split.done());
  ASSERT_EQ(split.volumes().numVolumes(), 16U);
  for (int volume = 0; volume < 16; ++volume) {
    EXPECT_EQ(split.volumes().numSlices(volume), 64U);
  }
  // Slot 6 of interval 2 is volume (6 - 1) * 2 + 1; its first frame comes after 8 + 5 runs of 64.
  EXPECT_EQ(split.frameNumbers(11).front(), 832U);
}

TEST(GatedSplitting, LeavesVolumesWithoutFramesEmpty) {
  SplitDataset split(gatedStack({{1, 1}, {2, 2}, {1, 2}}, 2, 3, 2));

  ASSERT_TRUE(split.done());
  ASSERT_EQ(split.volumes().numVolumes(), 6U);
  EXPECT_EQ(split.volumes().numSlices(0), 0U);
  EXPECT_THAT(split.framesInMemory(2), ElementsAre(0, 1));
  EXPECT_EQ(split.volumes().numSlices(5), 0U);
}

TEST(GatedSplitting, EndsAVolumeAtItsFirstGap) {
  // Three frames make three places: slices 1 and 3 take theirs, slice 4 has none, slice 2 is the
  // gap.
  SplitDataset split(gatedStack({{1, 1, 1}, {1, 1, 1}, {1, 3, 4}}, 1, 1, 4));

  ASSERT_TRUE(split.done());
  EXPECT_THAT(split.framesInMemory(0), ElementsAre(0));
}

TEST(GatedSplitting, LosesAVolumeThatLacksItsFirstSlice) {
  SplitDataset split(gatedStack({{1, 1}, {1, 1}, {2, 3}}, 1, 1, 3));

  ASSERT_TRUE(split.done());
  EXPECT_EQ(split.volumes().numVolumes(), 1U);
  EXPECT_EQ(split.volumes().numSlices(0), 0U);
}

TEST(GatedSplitting, DropsSlicesBeyondTheFramesOfTheirVolume) {
  SplitDataset split(gatedStack({{1, 1, 1}, {1, 1, 1}, {1, 2, 4}}, 1, 1, 4));

  ASSERT_TRUE(split.done());
  EXPECT_THAT(split.framesInMemory(0), ElementsAre(0, 1));
}

TEST(GatedSplitting, RefusesTwoFramesOfOneSliceInAVolume) {
  EXPECT_FALSE(SplitDataset(gatedStack({{1, 1, 1}, {1, 1, 1}, {1, 2, 2}}, 1, 1, 3)).done());
}

TEST(GatedSplitting, DropsTwoFramesOfOneSliceBeyondTheVolume) {
  // Both claim slice 3 of a volume of two frames: they are dropped before they can meet.
  SplitDataset split(gatedStack({{1, 1}, {1, 1}, {3, 3}}, 1, 1, 3));

  ASSERT_TRUE(split.done());
  EXPECT_EQ(split.volumes().numSlices(0), 0U);
}

TEST(GatedSplitting, WithoutASliceVectorNumbersFramesAcrossVolumes) {
  // Frames 2 and 3 are slices 3 and 4 of a volume of two: beyond it, and dropped.
  SplitDataset split(
      gatedStack({{1, 1, 1, 1}, {1, 1, 2, 2}, {1, 1, 1, 1}}, 1, 2, 4).without(DCM_SliceVector));

  ASSERT_TRUE(split.done());
  EXPECT_THAT(split.framesInMemory(0), ElementsAre(0, 1));
  EXPECT_EQ(split.volumes().numSlices(1), 0U);
}

struct Defect {
  const char* name;
  std::function<void(ImageBuilder&)> damage;
};

class DamagedGates : public testing::TestWithParam<Defect> {};

TEST_P(DamagedGates, AreNotSplit) {
  ImageBuilder image = eightFrames();
  GetParam().damage(image);

  EXPECT_FALSE(SplitDataset(image).done());
}

const Numbers kEightOnes(8, 1);

INSTANTIATE_TEST_SUITE_P(
    Defects, DamagedGates,
    testing::Values(
        Defect{"NoIntervalVector", [](ImageBuilder& i) { i.without(DCM_RRIntervalVector); }},
        Defect{"NoTimeSlotVector", [](ImageBuilder& i) { i.without(DCM_TimeSlotVector); }},
        Defect{"NoNumberOfIntervals", [](ImageBuilder& i) { i.without(DCM_NumberOfRRIntervals); }},
        Defect{"NoNumberOfTimeSlots", [](ImageBuilder& i) { i.without(DCM_NumberOfTimeSlots); }},
        Defect{"NoNumberOfSlices", [](ImageBuilder& i) { i.without(DCM_NumberOfSlices); }},
        Defect{"NoIntervals", [](ImageBuilder& i) { i.withUint16(DCM_NumberOfRRIntervals, 0); }},
        Defect{"NoTimeSlots", [](ImageBuilder& i) { i.withUint16(DCM_NumberOfTimeSlots, 0); }},
        Defect{"OneSlice", [](ImageBuilder& i) { i.withUint16(DCM_NumberOfSlices, 1); }},
        Defect{"NegativeIntervals",
               [](ImageBuilder& i) { i.with(DCM_NumberOfRRIntervals, EVR_IS, "-2"); }},
        Defect{"IntervalAboveTheirNumber",
               [](ImageBuilder& i) {
                 i.withUint16s(DCM_RRIntervalVector, {1, 1, 1, 1, 2, 2, 2, 3});
               }},
        Defect{"IntervalZero",
               [](ImageBuilder& i) {
                 i.withUint16s(DCM_RRIntervalVector, {0, 1, 1, 1, 2, 2, 2, 2});
               }},
        Defect{"TimeSlotAboveTheirNumber",
               [](ImageBuilder& i) {
                 i.withUint16s(DCM_TimeSlotVector, {1, 1, 2, 2, 1, 1, 2, 3});
               }},
        Defect{"TimeSlotZero",
               [](ImageBuilder& i) {
                 i.withUint16s(DCM_TimeSlotVector, {1, 1, 2, 2, 1, 1, 2, 0});
               }},
        Defect{"SliceAboveTheirNumber",
               [](ImageBuilder& i) {
                 i.withUint16s(DCM_SliceVector, {1, 2, 1, 2, 1, 2, 1, 3});
               }},
        Defect{"ShortIntervalVector",
               [](ImageBuilder& i) {
                 i.withUint16s(DCM_RRIntervalVector, {1, 1, 1, 1, 2, 2, 2});
               }},
        Defect{"LongTimeSlotVector",
               [](ImageBuilder& i) {
                 i.withUint16s(DCM_TimeSlotVector, {1, 1, 2, 2, 1, 1, 2, 2, 2});
               }},
        Defect{"SameTimeSlotTwice",
               [](ImageBuilder& i) { i.withUint16s(DCM_TimeSlotVector, kEightOnes); }},
        Defect{"SameSliceTwice",
               [](ImageBuilder& i) { i.withUint16s(DCM_SliceVector, kEightOnes); }},
        Defect{
            "MoreVolumesThanAnyStudy",
            [](ImageBuilder& i) {
              i.withUint16(DCM_NumberOfTimeSlots, 65535).withUint16(DCM_NumberOfRRIntervals, 65535);
            }}),
    support::nameOf<Defect>);

}  // namespace
