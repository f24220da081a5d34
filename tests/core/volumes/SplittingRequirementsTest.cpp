// SPDX-License-Identifier: BSD-3-Clause
// What a dataset needs to be split: a spacing, a known pointer, frames that are there.
#include "SplittingFixtures.h"
#include "support/Compression.h"
#include "support/RowName.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;

const bool kSilent = support::silenceDcmtk();

// --- spacing ------------------------------------------------------------------------------------

struct Spacing {
  const char* name;
  const char* spacingBetweenSlices;  // null: absent
  const char* gridFrameOffsets;      // null: absent
  bool splits;
  bool reversed;
};

class SliceSpacing : public testing::TestWithParam<Spacing> {};

TEST_P(SliceSpacing, DecidesWhetherADatasetSplitsAndItsDirection) {
  support::ImageBuilder image = frameStack(4).without(DCM_SpacingBetweenSlices);
  if (GetParam().spacingBetweenSlices != nullptr) {
    image.with(DCM_SpacingBetweenSlices, GetParam().spacingBetweenSlices);
  }
  if (GetParam().gridFrameOffsets != nullptr) {
    image.with(DCM_GridFrameOffsetVector, GetParam().gridFrameOffsets);
  }

  SplitDataset split(image);

  EXPECT_EQ(split.done(), GetParam().splits);
  EXPECT_EQ(split.volumes().isReversed(), GetParam().reversed);
}

INSTANTIATE_TEST_SUITE_P(
    Spacings, SliceSpacing,
    testing::Values(Spacing{"None", nullptr, nullptr, false, false},
                    Spacing{"Rising", "2.5", nullptr, true, false},
                    Spacing{"Falling", "-2.5", nullptr, true, true},
                    Spacing{"Zero", "0", nullptr, false, false},
                    Spacing{"Exponent", "25e-1", nullptr, true, false},
                    Spacing{"NoNumber", "abc", nullptr, false, false},
                    Spacing{"NoNumberHidesTheGrid", "abc", "0\\5\\10\\15", false, false},
                    Spacing{"EmptyHidesTheGrid", "", "0\\-5\\-10\\-15", false, false},
                    Spacing{"ZeroHidesTheGrid", "0", "0\\5\\10\\15", false, false},
                    Spacing{"SpacingBeforeGrid", "-1", "0\\5\\10\\15", true, true},
                    Spacing{"RisingGrid", nullptr, "0\\5\\10\\15", true, false},
                    Spacing{"FallingGrid", nullptr, "0\\-5\\-10\\-15", true, true},
                    Spacing{"GridOfThree", nullptr, "0\\-5\\-10", true, true},
                    Spacing{"GridOfTwo", nullptr, "3\\1", true, true},
                    Spacing{"IrregularGrid", nullptr, "0\\5\\11\\15", false, false},
                    Spacing{"IrregularFallingGrid", nullptr, "0\\-5\\-11\\-15", false, false},
                    Spacing{"GridWithinTolerance", nullptr, "0\\5\\10.00005\\15", true, false},
                    Spacing{"GridBeyondTolerance", nullptr, "0\\5\\10.0002\\15", false, false},
                    Spacing{"GridWithoutSteps", nullptr, "5\\5\\5\\5", false, false},
                    Spacing{"GridOfOne", nullptr, "5", false, false},
                    Spacing{"EmptyGrid", nullptr, "", false, false},
                    Spacing{"GridWithAWord", nullptr, "0\\five\\10\\15", false, false}),
    support::nameOf<Spacing>);

TEST(SliceSpacing, OfAGridCountsForWholeDatasetsToo) {
  SplitDataset whole(
      frameStack(3).without(DCM_SpacingBetweenSlices).with(DCM_GridFrameOffsetVector, "9\\6\\3"),
      false);

  EXPECT_TRUE(whole.done());
  EXPECT_TRUE(whole.volumes().isReversed());
}

TEST(SliceSpacing, OfAGridNeedsTwoFrames) {
  SplitDataset whole(
      frameStack(1).without(DCM_SpacingBetweenSlices).with(DCM_GridFrameOffsetVector, "9\\6\\3"),
      false);

  EXPECT_TRUE(whole.done());
  EXPECT_FALSE(whole.volumes().isReversed());
}

TEST(Direction, StaysWhenTheNextDatasetHasNoSpacing) {
  SplitDataset split(frameStack(2).with(DCM_SpacingBetweenSlices, "-1"));
  ASSERT_TRUE(split.volumes().isReversed());

  ASSERT_TRUE(split.processAgain(frameStack(2).without(DCM_SpacingBetweenSlices), false));
  EXPECT_TRUE(split.volumes().isReversed());

  ASSERT_TRUE(split.processAgain(frameStack(2).with(DCM_SpacingBetweenSlices, "abc"), false));
  EXPECT_TRUE(split.volumes().isReversed());
}

TEST(Direction, IsForgottenOverAnIrregularGrid) {
  SplitDataset split(frameStack(2).with(DCM_SpacingBetweenSlices, "-1"));

  ASSERT_TRUE(split.processAgain(
      frameStack(3).without(DCM_SpacingBetweenSlices).with(DCM_GridFrameOffsetVector, "0\\-5\\-11"),
      false));

  EXPECT_FALSE(split.volumes().isReversed());
}

// --- pointers -----------------------------------------------------------------------------------

struct KnownPointer {
  const char* name;
  const char* text;
};

class SplittableByPointer : public testing::TestWithParam<KnownPointer> {};

TEST_P(SplittableByPointer, FilesOneSlicePerFrame) {
  SplitDataset split(frameStack(3).frameIncrementPointer(GetParam().text));

  ASSERT_TRUE(split.done());
  EXPECT_EQ(split.volumes().numVolumes(), 1U);
  EXPECT_THAT(split.frameNumbers(0), ElementsAre(0, 1, 2));
}

TEST_P(SplittableByPointer, FollowsASliceVector) {
  SplitDataset split(
      frameStack(3).frameIncrementPointer(GetParam().text).withUint16s(DCM_SliceVector, {2, 3, 1}));

  ASSERT_TRUE(split.done());
  EXPECT_THAT(split.frameNumbers(0), ElementsAre(2, 0, 1));
  EXPECT_THAT(split.framesInMemory(0), ElementsAre(2, 0, 1));
}

INSTANTIATE_TEST_SUITE_P(PointerKinds, SplittableByPointer,
                         testing::Values(KnownPointer{"Spacing", "(0018,0088)"},
                                         KnownPointer{"FrameTimeVector", "(0018,1065)"},
                                         KnownPointer{"FrameTime", "(0018,1063)"},
                                         KnownPointer{"SwappedFrameTime", "(1063,0018)"},
                                         KnownPointer{"DoseGrid", "(3004,000c)"}),
                         support::nameOf<KnownPointer>);

struct OtherPointer {
  const char* name;
  DcmEVR vr;
  const char* text;
};

class UnknownPointer : public testing::TestWithParam<OtherPointer> {};

TEST_P(UnknownPointer, IsNotSplit) {
  SplitDataset split(frameStack(3).with(DCM_FrameIncrementPointer, GetParam().vr, GetParam().text));

  EXPECT_FALSE(split.done());
}

INSTANTIATE_TEST_SUITE_P(Pointers, UnknownPointer,
                         testing::Values(OtherPointer{"AnotherAttribute", EVR_AT, "(0010,0010)"},
                                         OtherPointer{"Empty", EVR_AT, ""},
                                         OtherPointer{"TwoFrameTimes", EVR_AT,
                                                      "(0018,1063)\\(0018,1065)"},
                                         OtherPointer{"GatesInAnotherOrder", EVR_AT,
                                                      "(0054,0070)\\(0054,0060)\\(0054,0080)"},
                                         OtherPointer{"UpperCaseDoseGrid", EVR_LO, "(3004,000C)"},
                                         OtherPointer{"NoParentheses", EVR_LO, "0018,1063"},
                                         OtherPointer{"TextBehind", EVR_LO, "(0018,1063)x"}),
                         support::nameOf<OtherPointer>);

TEST(UnknownPointer, DoesNotIncludeTheRightTextInAnotherVr) {
  SplitDataset split(frameStack(3).with(DCM_FrameIncrementPointer, EVR_LO, "(3004,000c)"));

  EXPECT_TRUE(split.done());
}

// --- frames -------------------------------------------------------------------------------------

TEST(Frames, MustBeTwoAtLeast) {
  EXPECT_FALSE(SplitDataset(frameStack(1)).done());
  EXPECT_TRUE(SplitDataset(frameStack(2)).done());
}

TEST(Frames, MustNotBeNegative) {
  EXPECT_FALSE(SplitDataset(frameStack(2).with(DCM_NumberOfFrames, "-2")).done());
}

TEST(Frames, MustBeOfOneSampleAPixel) {
  SplitDataset split(support::rgbImage(2, 2)
                         .frames(3)
                         .frameIncrementPointer("(0018,1063)")
                         .with(DCM_SpacingBetweenSlices, "1"));

  EXPECT_FALSE(split.done());
}

TEST(Frames, ThatPixelDataLacksAreRefusedByDecoding) {
  SplitDataset split(frameStack(3).withPixels16(std::vector<Uint16>(8)));

  EXPECT_FALSE(split.done());
  EXPECT_EQ(split.errorText(), "Pixel data incomplete, expected 24 bytes, found 16 bytes");
}

struct Coding {
  const char* name;
  E_TransferSyntax syntax;
};

class CompressedFrames : public testing::TestWithParam<Coding> {};

// The decoders for JPEG cut Number of Frames to the fragments that there are, and say nothing.
TEST_P(CompressedFrames, ThatAreNotThereAreRefused) {
  const auto dataset = support::compress(*support::monochromeImage(16, 16)
                                              .unsigned8()
                                              .frames(3)
                                              .frameIncrementPointer("(0018,1063)")
                                              .with(DCM_SpacingBetweenSlices, "1")
                                              .build(),
                                         GetParam().syntax);
  ASSERT_TRUE(dataset->putAndInsertString(DCM_NumberOfFrames, "4").good());
  Zrg::MultiFrameImage volumes(true);
  std::string errorText;

  EXPECT_FALSE(volumes.process(*dataset, errorText, true));
  EXPECT_NE(errorText, "");
}

INSTANTIATE_TEST_SUITE_P(Codings, CompressedFrames,
                         testing::Values(Coding{"Rle", EXS_RLELossless},
                                         Coding{"JpegLossless", EXS_JPEGProcess14SV1},
                                         Coding{"JpegBaseline", EXS_JPEGProcess1},
                                         Coding{"JpegLs", EXS_JPEGLSLossless}),
                         support::nameOf<Coding>);

// Decoding counts frames in 16 bits: 65537 are one frame to it, whose samples are there.
TEST(Frames, ThatDecodingDoesNotCountAreRefused) {
  SplitDataset split(
      frameStack(1).with(DCM_NumberOfFrames, "65537").withPixels16(std::vector<Uint16>(4)));

  EXPECT_FALSE(split.done());
  EXPECT_EQ(split.errorText(), "");
}

// All samples are there, but decoding converts 65538 modulo 65536 of the frames and leaves the
// rest.
TEST(Frames, BeyondSixteenBitsAreRefused) {
  const support::ImageBuilder image = support::monochromeImage(1, 1)
                                          .frames(65538)
                                          .frameIncrementPointer("(0018,1063)")
                                          .with(DCM_SpacingBetweenSlices, "1");

  EXPECT_FALSE(SplitDataset(image).done());
  EXPECT_FALSE(SplitDataset(image, false).done());
}

TEST(Frames, ThatSixteenBitsCountAreFiled) {
  SplitDataset split(support::monochromeImage(1, 1)
                         .frames(65535)
                         .frameIncrementPointer("(0018,1063)")
                         .with(DCM_SpacingBetweenSlices, "1"));

  ASSERT_TRUE(split.done()) << split.errorText();
  EXPECT_EQ(split.volumes().numSlices(0), 65535U);
  EXPECT_EQ(split.sliceAt(0, 65534).frameOffset, 2 * 65534);
}

// Two thousand million claimed frames must cost nothing: an index for each would be 8 GB.
TEST(Frames, ThatNoPixelDataCouldBackAreRefusedCheaply) {
  SplitDataset split(
      frameStack(1).with(DCM_NumberOfFrames, "2147418113").withPixels16(std::vector<Uint16>(4)));

  EXPECT_FALSE(split.done());
  EXPECT_EQ(split.volumes().numVolumes(), 0U);
}

TEST(Frames, WithoutSamplesAreRefused) {
  SplitDataset split(frameStack(2).withUint16(DCM_Columns, 0));

  EXPECT_FALSE(split.done());
}

}  // namespace
