// SPDX-License-Identifier: BSD-3-Clause
// Multi-frame datasets that are kept as one slice, and what holds whether they are split or not.
#include "SplittingFixtures.h"
#include "support/Compression.h"
#include "support/RowName.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using support::ImageBuilder;
using testing::ElementsAre;

const bool kSilent = support::silenceDcmtk();

TEST(WholeDataset, IsOneSliceOfOneVolume) {
  SplitDataset whole(frameStack(10), false);

  ASSERT_TRUE(whole.done());
  EXPECT_EQ(whole.volumes().numVolumes(), 1U);
  EXPECT_EQ(whole.volumes().numFrames(), 10U);
  EXPECT_THAT(whole.frameNumbers(0), ElementsAre(0));
  EXPECT_THAT(whole.offsets(0), ElementsAre(0));
}

TEST(WholeDataset, NeedsNoSpacing) {
  SplitDataset whole(frameStack(10).without(DCM_SpacingBetweenSlices), false);

  EXPECT_TRUE(whole.done());
  EXPECT_EQ(whole.volumes().numSlices(0), 1U);
}

TEST(WholeDataset, MayHaveAnyPointer) {
  SplitDataset whole(frameStack(10).frameIncrementPointer("(0010,0010)\\(0054,0080)"), false);

  EXPECT_TRUE(whole.done());
}

TEST(WholeDataset, MayHaveColour) {
  SplitDataset whole(support::rgbImage(2, 2).frames(3).frameIncrementPointer("(0018,1063)"), false);

  ASSERT_TRUE(whole.done());
  EXPECT_EQ(whole.sliceAt(0, 0).samplesPerPixel, 3U);
  EXPECT_EQ(whole.volumes().bytesPerPixel(), 1U);
}

TEST(WholeDataset, MayHaveOneFrame) {
  SplitDataset whole(frameStack(1), false);

  EXPECT_TRUE(whole.done());
  EXPECT_EQ(whole.volumes().numFrames(), 1U);
}

TEST(WholeDataset, AcceptsANegativeNumberOfFrames) {
  // -65535 counts one frame in the 16 bits that decoding looks at.
  SplitDataset whole(frameStack(1).with(DCM_NumberOfFrames, "-65535"), false);

  EXPECT_TRUE(whole.done());
  EXPECT_EQ(whole.volumes().numFrames(), 4294901761U);
}

TEST(WholeDataset, LeavesAnEarlierDatasetsMemoryAlone) {
  SplitDataset container(support::rgbImage(2, 1).frames(2).frameIncrementPointer("(0018,1063)"),
                         false);
  ASSERT_TRUE(container.done());
  const Zrg::SliceImage fetched = container.sliceAt(0, 0);
  const std::vector<char> before(fetched.buffer.get(), fetched.buffer.get() + 12);

  // Larger than the first and of other samples: it must not be written over the first.
  ASSERT_TRUE(container.processAgain(support::rgbImage(64, 64)
                                         .samples(std::vector<int>(64 * 64 * 3 * 2, 200))
                                         .frames(2)
                                         .frameIncrementPointer("(0018,1063)"),
                                     false));

  EXPECT_EQ(std::vector<char>(fetched.buffer.get(), fetched.buffer.get() + 12), before);
  EXPECT_NE(container.sliceAt(0, 0).buffer, fetched.buffer);
}

struct NoFrames {
  const char* name;
  const char* numberOfFrames;
};

class NumberOfFrames : public testing::TestWithParam<NoFrames> {};

TEST_P(NumberOfFrames, MustBeANumberOtherThanZero) {
  for (const bool splitFrames : {false, true}) {
    SplitDataset split(frameStack(2).with(DCM_NumberOfFrames, GetParam().numberOfFrames),
                       splitFrames);

    EXPECT_FALSE(split.done());
    EXPECT_EQ(split.volumes().numVolumes(), 0U);
    EXPECT_EQ(split.volumes().numFrames(), 0U);
  }
}

INSTANTIATE_TEST_SUITE_P(Texts, NumberOfFrames,
                         testing::Values(NoFrames{"Zero", "0"}, NoFrames{"NoNumber", "many"},
                                         NoFrames{"Empty", ""}),
                         support::nameOf<NoFrames>);

TEST(FrameCount, MustBeThere) {
  for (const bool splitFrames : {false, true}) {
    SplitDataset split(frameStack(2).without(DCM_NumberOfFrames), splitFrames);

    EXPECT_FALSE(split.done());
    EXPECT_EQ(split.volumes().numVolumes(), 0U);
  }
}

TEST(FrameCount, StaysAsItWasWhenTheNextDatasetHasNone) {
  SplitDataset split(frameStack(3));
  ASSERT_TRUE(split.done());

  ASSERT_FALSE(split.processAgain(frameStack(2).with(DCM_NumberOfFrames, "0")));

  EXPECT_EQ(split.volumes().numFrames(), 3U);
  EXPECT_EQ(split.volumes().numVolumes(), 0U);
}

TEST(FrameIncrementPointer, MustBeThere) {
  for (const bool splitFrames : {false, true}) {
    SplitDataset split(frameStack(10).without(DCM_FrameIncrementPointer), splitFrames);

    EXPECT_FALSE(split.done());
    EXPECT_EQ(split.volumes().numVolumes(), 0U);
    EXPECT_EQ(split.volumes().numFrames(), 10U);
  }
}

TEST(FrameIncrementPointer, InANestedItemDoesNotCount) {
  SplitDataset split(frameStack(10)
                         .without(DCM_FrameIncrementPointer)
                         .withItem(DCM_SourceImageSequence, frameStack(10)),
                     false);

  EXPECT_FALSE(split.done());
}

TEST(Decoding, GivesItsMessageToTheCaller) {
  SplitDataset split(frameStack(3).without(DCM_Columns));

  EXPECT_FALSE(split.done());
  EXPECT_EQ(split.errorText(), "File contains no pixel columns");
}

TEST(Decoding, IsNotReachedWhenTheOrderIsWrong) {
  auto dataset = frameStack(3).frameIncrementPointer("(0010,0010)").without(DCM_Columns).build();
  Zrg::MultiFrameImage volumes(true);
  std::string errorText = "as it was";

  EXPECT_FALSE(volumes.process(*dataset, errorText, true));
  EXPECT_EQ(errorText, "as it was");
}

TEST(Decoding, TellsLossyCompression) {
  const auto image = support::monochromeImage(16, 16)
                         .unsigned8()
                         .frames(2)
                         .frameIncrementPointer("(0018,1063)")
                         .with(DCM_SpacingBetweenSlices, "1");
  const auto lossy = support::compress(*image.build(), EXS_JPEGProcess1);
  Zrg::MultiFrameImage volumes(true);
  std::string errorText;

  ASSERT_TRUE(volumes.process(*lossy, errorText, true)) << errorText;
  EXPECT_EQ(volumes.lossyCompression(), 1U);
  EXPECT_EQ(volumes.numSlices(0), 2U);
  EXPECT_EQ(volumes.bytesPerPixel(), 1U);

  const auto native = image.build();
  ASSERT_TRUE(volumes.process(*native, errorText, true)) << errorText;
  EXPECT_EQ(volumes.lossyCompression(), 0U);
}

TEST(Decoding, ConvertsSamplesWhenAsked) {
  const ImageBuilder image = frameStack(2).signed16();
  for (const bool convertSamples : {true, false}) {
    const auto dataset = image.build();
    Zrg::MultiFrameImage volumes(convertSamples);
    std::string errorText;
    ASSERT_TRUE(volumes.process(*dataset, errorText, true)) << errorText;
    Zrg::SliceImage slice;
    ASSERT_TRUE(volumes.getImage(0, 1, slice));

    const auto* samples =
        static_cast<const Uint16*>(static_cast<const void*>(Zrg::firstSample(slice)));
    EXPECT_EQ(slice.convertSamples, convertSamples);
    EXPECT_EQ(samples[0], convertSamples ? 32768 + 4 : 4);
  }
}

}  // namespace
