// SPDX-License-Identifier: BSD-3-Clause
// Frames that are spread over several fragments, with and without an offset table.
#include "FrameTesting.h"
#include "SliceDecodingFixtures.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"

#include <zrdcmexport/ZrFrames.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using decoding::Fragment;
using frames::Frame;
using testing::Each;

constexpr unsigned kFrames = 4;

std::unique_ptr<DcmDataset> clip(E_TransferSyntax syntax) {
  std::vector<int> samples;
  for (unsigned frame = 0; frame < kFrames; ++frame) {
    samples.insert(samples.end(), std::size_t{16} * 16, static_cast<int>(50 * frame));
  }
  return support::compress(
      *support::monochromeImage(16, 16).unsigned8().frames(kFrames).samples(samples).build(),
      syntax);
}

/// Every frame in two fragments.
std::unique_ptr<DcmDataset> spread(E_TransferSyntax syntax, bool withTable) {
  const auto whole = clip(syntax);
  std::vector<Fragment> fragments;
  std::vector<std::size_t> starts;
  for (const Fragment& frame : decoding::fragmentsOf(*whole)) {
    starts.push_back(fragments.size());
    for (const Fragment& part : decoding::cut(frame, frame.size() / 4 * 2)) {
      fragments.push_back(part);
    }
  }
  return decoding::encapsulate(*whole, syntax, fragments,
                               withTable ? decoding::offsetTable(fragments, starts) : Fragment{});
}

struct Spread {
  const char* name;
  E_TransferSyntax syntax;
  bool withTable;
};

void PrintTo(const Spread& row, std::ostream* stream) {
  *stream << row.name;
}

class FramesInSeveralFragments : public testing::TestWithParam<Spread> {};

TEST_P(FramesInSeveralFragments, AreFoundInAnyOrder) {
  const auto image = spread(GetParam().syntax, GetParam().withTable);

  for (const unsigned number : {2U, 3U, 0U, 1U}) {
    const Frame frame = frames::decode(*image, number);
    ASSERT_TRUE(frame.done) << number << ": " << frame.errorText;
    EXPECT_THAT(frame.bytes, Each(50 * number)) << number;
  }
}

INSTANTIATE_TEST_SUITE_P(Codings, FramesInSeveralFragments,
                         testing::Values(Spread{"JpegTable", EXS_JPEGProcess14SV1, true},
                                         Spread{"JpegNoTable", EXS_JPEGProcess14SV1, false},
                                         Spread{"BaselineNoTable", EXS_JPEGProcess1, false},
                                         Spread{"JpegLsTable", EXS_JPEGLSLossless, true},
                                         Spread{"JpegLsNoTable", EXS_JPEGLSLossless, false}),
                         support::nameOf<Spread>);

// RLE has no start that can be told from other bytes, and one fragment a frame. @see PS3.5 A.4.2
TEST(FramesInSeveralFragments, OfRleAreRefusedWithoutATable) {
  const auto image = spread(EXS_RLELossless, false);

  EXPECT_EQ(frames::decode(*image, 2).errorText,
            "Neither the offset table nor the fragments tell where frame 2 begins");
}

TEST(FramesInSeveralFragments, OfRleAreRefusedWithATable) {
  const auto image = spread(EXS_RLELossless, true);

  EXPECT_EQ(frames::decode(*image, 2).errorText,
            "The compressed data does not hold the whole frame");
}

TEST(FramesInSeveralFragments, AreNotGuessedWhenOneIsMissing) {
  const auto whole = spread(EXS_JPEGProcess14SV1, false);
  std::vector<Fragment> fragments = decoding::fragmentsOf(*whole);
  fragments.erase(fragments.begin() + 2, fragments.begin() + 4);
  const auto image = decoding::encapsulate(*whole, EXS_JPEGProcess14SV1, fragments);

  EXPECT_EQ(frames::decode(*image, 2).errorText,
            "Neither the offset table nor the fragments tell where frame 2 begins");
}

// DCMTK does not read this table. @see PS3.3 C.7.6.3.1.8
TEST(FramesInSeveralFragments, AreFoundByAnExtendedOffsetTable) {
  const auto image = spread(EXS_RLELossless, false);
  std::vector<Uint64> offsets;
  Uint64 offset = 0;
  for (const Fragment& fragment : decoding::fragmentsOf(*image)) {
    offsets.push_back(offset);
    offset += fragment.size() + 8;
  }
  const std::vector<Uint64> ofFrames{offsets[0], offsets[2], offsets[4], offsets[6]};
  auto table = std::make_unique<DcmOther64bitVeryLong>(DcmTag(DCM_ExtendedOffsetTable));
  ASSERT_TRUE(table->putUint64Array(ofFrames.data(), 4).good());
  ASSERT_TRUE(image->insert(table.release()).good());

  Zrg::FrameFragmentIndex index(*image);

  const auto last = index.fragmentsOf(3);
  ASSERT_TRUE(last.has_value());
  EXPECT_EQ(last->first, 7U);
  EXPECT_EQ(last->last, 8U);
}

TEST(FrameFragmentIndex, KnowsTheFragmentsOfEachFrame) {
  const auto image = spread(EXS_JPEGProcess14SV1, false);

  Zrg::FrameFragmentIndex index(*image);

  for (unsigned frame = 0; frame < kFrames; ++frame) {
    const auto fragments = index.fragmentsOf(frame);
    ASSERT_TRUE(fragments.has_value()) << frame;
    EXPECT_EQ(fragments->first, 2 * frame + 1);
    EXPECT_EQ(fragments->last, 2 * frame + 2);
  }
}

TEST(FrameFragmentIndex, HasNoFrameBehindTheLast) {
  const auto image = spread(EXS_JPEGProcess14SV1, true);

  EXPECT_FALSE(Zrg::FrameFragmentIndex(*image).fragmentsOf(kFrames).has_value());
}

TEST(FrameFragmentIndex, HasNoFramesOfNativeData) {
  const auto image = support::monochromeImage(2, 2).build();

  EXPECT_FALSE(Zrg::FrameFragmentIndex(*image).fragmentsOf(0).has_value());
}

TEST(FrameFragmentIndex, DoesNotBelieveATableThatPointsIntoAFragment) {
  const auto whole = spread(EXS_RLELossless, false);
  const std::vector<Fragment> fragments = decoding::fragmentsOf(*whole);
  Fragment table = decoding::offsetTable(fragments, {0, 2, 4, 6});
  ++table[8];  // the lowest byte of the offset of frame 2
  const auto image = decoding::encapsulate(*whole, EXS_RLELossless, fragments, table);

  Zrg::FrameFragmentIndex index(*image);

  EXPECT_TRUE(index.fragmentsOf(0).has_value());
  EXPECT_FALSE(index.fragmentsOf(1).has_value()) << "where it ends is not known";
  EXPECT_FALSE(index.fragmentsOf(2).has_value());
  EXPECT_TRUE(index.fragmentsOf(3).has_value());
}

}  // namespace
