// SPDX-License-Identifier: BSD-3-Clause
// The order of frames as attributes alone tell it, and why there is none. That splitting files
// frames by the same order stands in SplittingPropertyTest.cpp.
#include "support/ImageBuilder.h"
#include "support/RowName.h"

#include <zrdcmexport/ZrFrameOrder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

using support::ImageBuilder;
using testing::ElementsAre;

constexpr const char* kGatedPointer = "(0054,0060)\\(0054,0070)\\(0054,0080)";

ImageBuilder stack(unsigned int frames) {
  return support::monochromeImage(2, 2)
      .frames(frames)
      .frameIncrementPointer("(0018,1063)")
      .with(DCM_SpacingBetweenSlices, "2.5");
}

ImageBuilder sliceVectorStack(const std::vector<Uint16>& slices, Uint16 numberOfSlices) {
  return stack(static_cast<unsigned int>(slices.size()))
      .frameIncrementPointer("(0054,0080)")
      .withUint16(DCM_NumberOfSlices, numberOfSlices)
      .withUint16s(DCM_SliceVector, slices);
}

/// Two time slots of one R-R interval of two slices.
ImageBuilder gatedStack() {
  return sliceVectorStack({1, 2, 2, 1}, 2)
      .frameIncrementPointer(kGatedPointer)
      .withUint16(DCM_NumberOfTimeSlots, 2)
      .withUint16(DCM_NumberOfRRIntervals, 1)
      .withUint16s(DCM_TimeSlotVector, {1, 1, 2, 2})
      .withUint16s(DCM_RRIntervalVector, {1, 1, 1, 1});
}

Zrg::FrameOrder orderOf(const ImageBuilder& image) {
  Zrg::FrameOrder order;
  std::string reason = "left from before";
  EXPECT_TRUE(Zrg::readFrameOrder(*image.build(), order, reason));
  EXPECT_EQ(reason, "");
  return order;
}

TEST(FrameOrder, OfFramesInTimeIsOneVolume) {
  const Zrg::FrameOrder order = orderOf(stack(3));

  EXPECT_THAT(order.volumes, ElementsAre(ElementsAre(0, 1, 2)));
  EXPECT_EQ(order.frames, 3U);
  EXPECT_EQ(order.timeSlots, 0U);
  EXPECT_EQ(order.rrIntervals, 0U);
  EXPECT_EQ(order.spacingMm, 2.5F);
  EXPECT_FALSE(order.reversed);
}

TEST(FrameOrder, FollowsASliceVector) {
  EXPECT_THAT(orderOf(sliceVectorStack({3, 1, 4, 2}, 4)).volumes,
              ElementsAre(ElementsAre(1, 3, 0, 2)));
}

TEST(FrameOrder, OfGatedDataHasAVolumeForEveryGate) {
  const Zrg::FrameOrder order = orderOf(gatedStack());

  EXPECT_THAT(order.volumes, ElementsAre(ElementsAre(0, 1), ElementsAre(3, 2)));
  EXPECT_EQ(order.timeSlots, 2U);
  EXPECT_EQ(order.rrIntervals, 1U);
}

TEST(FrameOrder, TellsTheDirectionApartFromTheSpacing) {
  const Zrg::FrameOrder order = orderOf(stack(2).with(DCM_SpacingBetweenSlices, "-4"));

  EXPECT_TRUE(order.reversed);
  EXPECT_EQ(order.spacingMm, 4.0F);
}

TEST(FrameOrder, TakesTheSpacingFromADoseGrid) {
  const Zrg::FrameOrder order = orderOf(
      stack(3).without(DCM_SpacingBetweenSlices).with(DCM_GridFrameOffsetVector, "10\\7\\4"));

  EXPECT_TRUE(order.reversed);
  EXPECT_EQ(order.spacingMm, 3.0F);
}

TEST(FrameOrder, IsReadWithoutPixelData) {
  const auto dataset = stack(2).build();
  ASSERT_TRUE(dataset->findAndDeleteElement(DCM_PixelData).good());
  Zrg::FrameOrder order;
  std::string reason;

  ASSERT_TRUE(Zrg::readFrameOrder(*dataset, order, reason)) << reason;
  EXPECT_THAT(order.volumes, ElementsAre(ElementsAre(0, 1)));
}

TEST(FrameOrder, OfAllFramesThatAreDecodedIsRead) {
  EXPECT_EQ(orderOf(stack(2).with(DCM_NumberOfFrames, "65535")).volumes[0].size(), 65535U);
}

struct NoOrder {
  const char* name;
  std::function<ImageBuilder()> image;
  const char* reason;
};

class ReasonForNoOrder : public testing::TestWithParam<NoOrder> {};

TEST_P(ReasonForNoOrder, IsTold) {
  Zrg::FrameOrder order;
  order.frames = 7;
  std::string reason;

  EXPECT_FALSE(Zrg::readFrameOrder(*GetParam().image().build(), order, reason));

  EXPECT_EQ(reason, GetParam().reason);
  EXPECT_EQ(order.frames, 7U);
}

ImageBuilder grid(const char* offsets) {
  return stack(3).without(DCM_SpacingBetweenSlices).with(DCM_GridFrameOffsetVector, offsets);
}

INSTANTIATE_TEST_SUITE_P(
    Frames, ReasonForNoOrder,
    testing::Values(
        NoOrder{"NoNumber", [] { return stack(2).without(DCM_NumberOfFrames); },
                "no Number of Frames"},
        NoOrder{"Zero", [] { return stack(2).with(DCM_NumberOfFrames, "0"); },
                "no Number of Frames"},
        NoOrder{"Negative", [] { return stack(2).with(DCM_NumberOfFrames, "-2"); },
                "Number of Frames is negative"},
        NoOrder{"MoreThanAreDecoded", [] { return stack(2).with(DCM_NumberOfFrames, "65536"); },
                "Number of Frames is above 65535, and no more are decoded"},
        NoOrder{"One", [] { return stack(1).with(DCM_NumberOfFrames, "1"); }, "it has one frame"},
        NoOrder{"OneOfAGrid", [] { return grid("0\\1").with(DCM_NumberOfFrames, "1"); },
                "it has one frame"},
        NoOrder{"NoPointer", [] { return stack(2).without(DCM_FrameIncrementPointer); },
                "no Frame Increment Pointer"},
        NoOrder{"EmptyPointer", [] { return stack(2).withEmpty(DCM_FrameIncrementPointer); },
                "no Frame Increment Pointer"},
        NoOrder{"UnknownPointer", [] { return stack(2).frameIncrementPointer("(0018,1060)"); },
                "the Frame Increment Pointer names no known order of frames"},
        NoOrder{
            "Colour",
            [] { return support::rgbImage(2, 2).frames(2).frameIncrementPointer("(0018,1063)"); },
            "colour frames are kept together"}),
    support::nameOf<NoOrder>);

INSTANTIATE_TEST_SUITE_P(
    Spacing, ReasonForNoOrder,
    testing::Values(NoOrder{"None", [] { return stack(2).without(DCM_SpacingBetweenSlices); },
                            "neither Spacing Between Slices nor Grid Frame Offset Vector"},
                    NoOrder{"Zero", [] { return stack(2).with(DCM_SpacingBetweenSlices, "0"); },
                            "Spacing Between Slices is 0 or no number"},
                    NoOrder{"NoNumber",
                            [] { return stack(2).with(DCM_SpacingBetweenSlices, "abc"); },
                            "Spacing Between Slices is 0 or no number"},
                    NoOrder{"GridOfOne", [] { return grid("5"); },
                            "Grid Frame Offset Vector has fewer than two numbers"},
                    NoOrder{"EmptyGrid", [] { return grid(""); },
                            "Grid Frame Offset Vector has fewer than two numbers"},
                    NoOrder{"GridWithAWord", [] { return grid("0\\five\\10"); },
                            "Grid Frame Offset Vector holds what is no number"},
                    NoOrder{"UnevenGrid", [] { return grid("0\\5\\11"); },
                            "the distances in Grid Frame Offset Vector vary"},
                    NoOrder{"StandingGrid", [] { return grid("5\\5\\5"); },
                            "the distances in Grid Frame Offset Vector are 0"}),
    support::nameOf<NoOrder>);

INSTANTIATE_TEST_SUITE_P(
    Slices, ReasonForNoOrder,
    testing::Values(NoOrder{"NoNumber",
                            [] {
                              return sliceVectorStack({1, 2}, 2).without(DCM_NumberOfSlices);
                            },
                            "no Number of Slices"},
                    NoOrder{"One",
                            [] {
                              return sliceVectorStack({1, 1}, 1);
                            },
                            "Number of Slices is below 2"},
                    NoOrder{"NoVector",
                            [] {
                              return sliceVectorStack({1, 2}, 3).without(DCM_SliceVector);
                            },
                            "no Slice Vector, and Number of Slices is not Number of Frames"},
                    NoOrder{"ShortVector",
                            [] {
                              return sliceVectorStack({1, 2, 3}, 4).with(DCM_NumberOfFrames, "4");
                            },
                            "Slice Vector has not one number for each frame"},
                    NoOrder{"LongVector",
                            [] {
                              return sliceVectorStack({1, 2, 3}, 3).with(DCM_NumberOfFrames, "2");
                            },
                            "Slice Vector has not one number for each frame"},
                    NoOrder{"NumberZero",
                            [] {
                              return sliceVectorStack({0, 1}, 2);
                            },
                            "Slice Vector has a number below 1 or above the number of slices"},
                    NoOrder{"NumberAboveSlices",
                            [] {
                              return sliceVectorStack({1, 3}, 2);
                            },
                            "Slice Vector has a number below 1 or above the number of slices"},
                    NoOrder{"NumberAboveFrames",
                            [] {
                              return sliceVectorStack({1, 3}, 3);
                            },
                            "Slice Vector has a number above Number of Frames"},
                    NoOrder{"NumberTwice",
                            [] {
                              return sliceVectorStack({1, 1, 2}, 3);
                            },
                            "two frames have the same number in Slice Vector"}),
    support::nameOf<NoOrder>);

INSTANTIATE_TEST_SUITE_P(
    Gates, ReasonForNoOrder,
    testing::Values(
        NoOrder{"NoTimeSlots", [] { return gatedStack().without(DCM_NumberOfTimeSlots); },
                "Number of Time Slots is missing or below 1"},
        NoOrder{"NoIntervals", [] { return gatedStack().withUint16(DCM_NumberOfRRIntervals, 0); },
                "Number of R-R Intervals is missing or below 1"},
        NoOrder{"TooManyVolumes",
                [] {
                  return gatedStack()
                      .withUint16(DCM_NumberOfTimeSlots, 1025)
                      .withUint16(DCM_NumberOfRRIntervals, 1024);
                },
                "time slots times R-R intervals are more than 1048576 volumes"},
        NoOrder{"NoIntervalVector", [] { return gatedStack().without(DCM_RRIntervalVector); },
                "R-R Interval Vector has not one number for each frame"},
        NoOrder{"IntervalAboveTheirNumber",
                [] {
                  return gatedStack().withUint16s(DCM_RRIntervalVector, {1, 1, 1, 2});
                },
                "R-R Interval Vector has a number below 1 or above Number of R-R Intervals"},
        NoOrder{"ShortTimeSlotVector",
                [] {
                  return gatedStack().withUint16s(DCM_TimeSlotVector, {1, 1, 2});
                },
                "Time Slot Vector has not one number for each frame"},
        NoOrder{"TimeSlotZero",
                [] {
                  return gatedStack().withUint16s(DCM_TimeSlotVector, {0, 1, 2, 2});
                },
                "Time Slot Vector has a number below 1 or above Number of Time Slots"},
        NoOrder{"SliceTwiceInAVolume",
                [] {
                  return gatedStack().withUint16s(DCM_SliceVector, {1, 1, 2, 1});
                },
                "two frames of one volume have the same number in Slice Vector"}),
    support::nameOf<NoOrder>);

// The first obstacle is the one that is told.
TEST(ReasonForNoOrder, IsColourBeforeSpacing) {
  Zrg::FrameOrder order;
  std::string reason;
  const auto dataset = stack(2).photometric("RGB").without(DCM_SpacingBetweenSlices).build();

  EXPECT_FALSE(Zrg::readFrameOrder(*dataset, order, reason));
  EXPECT_EQ(reason, Zrg::kColourFramesStayTogether);
}

struct Increment {
  const char* name;
  const char* pointer;
  const char* meaning;  // null: not known
  bool gated;
};

class FrameIncrements : public testing::TestWithParam<Increment> {};

TEST_P(FrameIncrements, SayWhatTheyPointAt) {
  const auto dataset = stack(2).frameIncrementPointer(GetParam().pointer).build();

  const Zrg::FrameIncrement increment = Zrg::readFrameIncrement(*dataset);

  EXPECT_EQ(increment.pointer, GetParam().pointer);
  EXPECT_STREQ(increment.meaning, GetParam().meaning);
  EXPECT_EQ(increment.gated, GetParam().gated);
}

INSTANTIATE_TEST_SUITE_P(
    Pointers, FrameIncrements,
    testing::Values(
        Increment{"Spacing", "(0018,0088)", "spacing between slices", false},
        Increment{"Time", "(0018,1063)", "frame time", false},
        Increment{"SwappedTime", "(1063,0018)", "frame time, group and element swapped", false},
        Increment{"TimeVector", "(0018,1065)", "frame time vector", false},
        Increment{"Grid", "(3004,000c)", "grid frame offset vector", false},
        Increment{"Slices", "(0054,0080)", "slice vector", false},
        Increment{"Gates", kGatedPointer, "R-R interval, time slot and slice vectors", true},
        Increment{"Unknown", "(0020,0013)", nullptr, false}),
    support::nameOf<Increment>);

TEST(FrameIncrements, MayBeMissing) {
  const auto dataset = stack(2).without(DCM_FrameIncrementPointer).build();

  const Zrg::FrameIncrement increment = Zrg::readFrameIncrement(*dataset);

  EXPECT_EQ(increment.pointer, "");
  EXPECT_EQ(increment.meaning, nullptr);
}

}  // namespace
