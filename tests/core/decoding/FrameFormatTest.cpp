// SPDX-License-Identifier: BSD-3-Clause
// What is known of frames before one is decoded.
#include "FrameTesting.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"

#include <gtest/gtest.h>

namespace {

using support::monochromeImage;

struct Count {
  const char* name;
  const char* numberOfFrames;
  std::uint64_t frames;
};

void PrintTo(const Count& row, std::ostream* stream) {
  *stream << row.name;
}

class NumberOfFrames : public testing::TestWithParam<Count> {};

TEST_P(NumberOfFrames, IsWhatTheItemHas) {
  const auto image = monochromeImage(1, 1).with(DCM_NumberOfFrames, GetParam().numberOfFrames);

  EXPECT_EQ(Zrg::numberOfFrames(*image.build()), GetParam().frames);
}

INSTANTIATE_TEST_SUITE_P(Values, NumberOfFrames,
                         testing::Values(Count{"One", "1", 1}, Count{"Blank", " 12 ", 12},
                                         Count{"Sign", "+3", 3}, Count{"Full", "65540", 65540},
                                         Count{"Large", "2147483647", 2147483647},
                                         Count{"Larger", "4294967297", 4294967297U},
                                         Count{"Zero", "0", 1}, Count{"Negative", "-4", 1},
                                         Count{"Empty", "", 1}, Count{"Word", "many", 1}),
                         support::nameOf<Count>);

TEST(NumberOfFrames, IsOneWithoutTheAttribute) {
  EXPECT_EQ(Zrg::numberOfFrames(*monochromeImage(1, 1).build()), 1U);
}

TEST(ReadFrameFormat, SaysWhatGreyFramesAre) {
  const auto image = monochromeImage(3, 2).frames(70000).with(DCM_NumberOfFrames, "70001").build();
  Zrg::FrameFormat format;
  std::string error = "old";

  ASSERT_TRUE(Zrg::readFrameFormat(*image, format, error)) << error;

  EXPECT_EQ(error, "");
  EXPECT_EQ(format.frames, 70001U);
  EXPECT_EQ(format.columns, 3U);
  EXPECT_EQ(format.rows, 2U);
  EXPECT_EQ(format.samplesPerPixel, 1U);
  EXPECT_EQ(format.bytesPerSample, 2U);
  EXPECT_TRUE(format.monochrome);
  EXPECT_EQ(format.frameBytes(), 12U);
}

TEST(ReadFrameFormat, SaysThatColourBecomesRgb) {
  const auto image = support::paletteImage(3, 2).build();
  Zrg::FrameFormat format;
  std::string error;

  ASSERT_TRUE(Zrg::readFrameFormat(*image, format, error)) << error;

  EXPECT_EQ(format.samplesPerPixel, 3U);
  EXPECT_EQ(format.bytesPerSample, 1U);
  EXPECT_FALSE(format.monochrome);
  EXPECT_EQ(format.frameBytes(), 18U);
}

TEST(ReadFrameFormat, LeavesTheFormatAloneWhenItFails) {
  const auto image = monochromeImage(3, 2).without(DCM_Columns).build();
  Zrg::FrameFormat format;
  format.rows = 77;
  std::string error;

  EXPECT_FALSE(Zrg::readFrameFormat(*image, format, error));

  EXPECT_EQ(error, "File contains no pixel columns");
  EXPECT_EQ(format.rows, 77U);
}

TEST(DescribeImage, FillsTheRecordWithoutDecoding) {
  const auto image = support::rgbImage(4, 2)
                         .frames(3)
                         .with(DCM_NumberOfFrames, "70000")
                         .rescale("2", "-5")
                         .window("40", "400")
                         .spacing("0.5", "0.25")
                         .with(DCM_LossyImageCompression, "01")
                         .build();
  Zrg::SliceImage slice;
  slice.valid = true;
  std::string error;

  ASSERT_TRUE(Zrg::describeImage(*image, slice, error)) << error;

  EXPECT_EQ(slice.extent.x, 4);
  EXPECT_EQ(slice.extent.y, 2);
  EXPECT_EQ(slice.extent.z, 70000);
  EXPECT_EQ(slice.samplesPerPixel, 3U);
  EXPECT_EQ(slice.bytesPerSample, 1U);
  EXPECT_TRUE(slice.lossy);
  EXPECT_EQ(slice.rescale.x, 2.0F);
  EXPECT_EQ(slice.rescale.y, -5.0F);
  EXPECT_EQ(slice.voiWindow.x, 40.0F);
  EXPECT_EQ(slice.pixelSpacing.x, 0.25F);
  EXPECT_FALSE(slice.valid);
  EXPECT_EQ(slice.data, nullptr);
}

TEST(DescribeImage, LeavesTheRecordAloneWhenItFails) {
  const auto image = monochromeImage(3, 2).withUint16(DCM_BitsAllocated, 1).build();
  Zrg::SliceImage slice;
  slice.extent = KtVec3l(9, 9, 9);
  std::string error;

  EXPECT_FALSE(Zrg::describeImage(*image, slice, error));

  EXPECT_EQ(slice.extent.x, 9);
  EXPECT_NE(error, "");
}

}  // namespace
