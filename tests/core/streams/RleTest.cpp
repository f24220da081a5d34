// SPDX-License-Identifier: BSD-3-Clause
// RLE frames: their header, and what the guard says of them.
#include "streams/FragmentStream.h"
#include "streams/Rle.h"
#include "streams/StreamFixtures.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using streams::fragmentsIn;
using streams::guardOf;
using support::ImageBuilder;
using support::monochromeImage;

const ImageBuilder kSmallImage = monochromeImage(24, 24).unsigned8();

TEST(RleFrame, HasASegmentAtLeast) {
  const auto dataset =
      decoding::encapsulate(*kSmallImage.build(), EXS_RLELossless, {decoding::rleFrame({}, {})});
  Zrg::Fragments fragments = fragmentsIn(*dataset, EXS_RLELossless);
  Zrg::FragmentStream stream(fragments, 1, fragments.count());

  EXPECT_FALSE(Zrg::passRleFrame(stream, {0, 24 * 24}));
}

// --- What the guard is asked of frames

class CodecGuardOf : public testing::Test {
protected:
  CodecGuardOf(const ImageBuilder& builder, E_TransferSyntax syntax)
      : dataset_(support::compress(*builder.build(), syntax)) {}

  Zrg::CodecGuard guard() { return guardOf(*dataset_); }

  std::unique_ptr<DcmDataset> dataset_;
};

class CodecGuardOfRle : public CodecGuardOf {
protected:
  CodecGuardOfRle()
      : CodecGuardOf(monochromeImage(64, 64).unsigned8().frames(3), EXS_RLELossless) {}
};

TEST_F(CodecGuardOfRle, LetsEveryRangeOfItsFramesPass) {
  EXPECT_TRUE(guard().framesAreSafe(0, 3));
  EXPECT_TRUE(guard().framesAreSafe(2, 1));
  EXPECT_TRUE(guard().frameIsSafe(2, 0, 64 * 64));
  EXPECT_TRUE(guard().frameIsSafe(2, 3, 64 * 64));
}

TEST_F(CodecGuardOfRle, RefusesFramesBehindTheLast) {
  EXPECT_FALSE(guard().framesAreSafe(3, 1));
  EXPECT_FALSE(guard().framesAreSafe(2, 2));
  EXPECT_FALSE(guard().frameIsSafe(3, 0, 64 * 64));
  EXPECT_FALSE(guard().frameIsSafe(3, 4, 64 * 64));
}

TEST_F(CodecGuardOfRle, RefusesFramesOfAnotherSize) {
  EXPECT_FALSE(guard().frameIsSafe(0, 0, 64 * 64 - 1));
  EXPECT_FALSE(guard().frameIsSafe(0, 0, 64 * 64 + 1));
}

TEST_F(CodecGuardOfRle, BelievesAtLeastOneFrame) {
  ASSERT_TRUE(dataset_->putAndInsertString(DCM_NumberOfFrames, "-5").good());

  EXPECT_TRUE(guard().allFramesAreSafe());
  EXPECT_TRUE(guard().isCountable());
}

TEST_F(CodecGuardOfRle, RefusesRangesThatNobodyCanCount) {
  ASSERT_TRUE(dataset_->putAndInsertUint16(DCM_Rows, 65535).good());
  ASSERT_TRUE(dataset_->putAndInsertUint16(DCM_Columns, 65535).good());
  ASSERT_TRUE(dataset_->putAndInsertUint16(DCM_BitsAllocated, 16).good());

  EXPECT_FALSE(guard().framesAreSafe(0, 1));
  EXPECT_FALSE(guard().frameIsSafe(0, 0, 65535ULL * 65535 * 2));
}

}  // namespace
