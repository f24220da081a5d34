// SPDX-License-Identifier: BSD-3-Clause
// RLE frames that break decoders which trust them. Each must be refused with a message, with
// nothing read or written where it must not be, and nothing delivered that no decoder wrote.
#include "streams/StreamFixtures.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

using decoding::decodeAll;
using decoding::decodeInto;
using decoding::decodeRange;
using decoding::Outcome;
using decoding::rleFrame;
using streams::Fragment;
using streams::kDirectRefused;
using streams::kFrameRefused;
using streams::kNothingToRender;
using streams::kSixtyFourMebibytes;
using streams::kWholeRefused;
using streams::peakOfAddressSpace;
using support::ImageBuilder;
using support::monochromeImage;
using support::paletteImage;
using support::rgbImage;

/// A frame of 64 x 64 pixels of one byte: runs of 128 equal bytes.
Fragment wholeStripe() {
  Fragment segment;
  for (int run = 0; run < 32; ++run) {
    segment.insert(segment.end(), {129, static_cast<Uint8>(run)});
  }
  return segment;
}

/// The last run is of 127 bytes.
Fragment shortStripe() {
  Fragment segment = wholeStripe();
  segment[segment.size() - 2] = 130;
  return segment;
}

Fragment halfStripe() {
  Fragment segment = wholeStripe();
  segment.resize(segment.size() / 2);
  return segment;
}

/// The plane is 128 bytes short of full where a control byte says that there is nothing to do.
Fragment with128BeforeTheLastRun() {
  Fragment segment = wholeStripe();
  segment.insert(segment.end() - 2, 128);
  return segment;
}

struct RleHazard {
  const char* name;
  std::vector<Fragment> fragments;
  bool wholeRefused;  // decoded together, frames may be spread over fragments
};

class HostileRle : public testing::TestWithParam<RleHazard> {
protected:
  std::unique_ptr<DcmDataset> encode(const ImageBuilder& builder) {
    return decoding::encapsulate(*builder.build(), EXS_RLELossless, GetParam().fragments);
  }
};

TEST_P(HostileRle, IsRefusedByFrame) {
  const auto dataset = encode(monochromeImage(64, 64).unsigned8());
  std::vector<unsigned char> target(64 * 64);

  const Outcome outcome = decodeInto(target, *dataset, 0, 0);

  EXPECT_FALSE(outcome.done);
  EXPECT_EQ(outcome.errorText, kFrameRefused);
}

TEST_P(HostileRle, IsRefusedAsAWholeUnlessItIsWhole) {
  const auto dataset = encode(monochromeImage(64, 64).unsigned8());

  const Outcome outcome = decodeAll(*dataset);

  EXPECT_EQ(outcome.done, !GetParam().wholeRefused) << outcome.errorText;
  EXPECT_EQ(outcome.errorText, GetParam().wholeRefused ? kWholeRefused : "");
}

TEST_P(HostileRle, IsRefusedForPalettes) {
  const auto dataset = encode(paletteImage(64, 64));

  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, kNothingToRender);
  EXPECT_EQ(decodeAll(*dataset).errorText, GetParam().wholeRefused ? kNothingToRender : "");
}

INSTANTIATE_TEST_SUITE_P(
    Frames, HostileRle,
    testing::Values(
        RleHazard{"FragmentOfFourBytes", {{1, 0, 0, 0}}, true},
        RleHazard{"EmptyFragment", {{}}, true},
        RleHazard{"NoStripe", {rleFrame({}, {wholeStripe()})}, true},
        RleHazard{
            "TwoStripesForOneByte", {rleFrame({64, 128}, {wholeStripe(), wholeStripe()})}, true},
        RleHazard{"SixteenStripes", {rleFrame(std::vector<Uint32>(15, 64), {wholeStripe()})}, true},
        RleHazard{"OffsetBeyondTheFragment", {rleFrame({0x7FFFFF00}, {wholeStripe()})}, true},
        RleHazard{"OffsetAtTheEnd", {rleFrame({128}, {wholeStripe()})}, true},
        RleHazard{"OffsetInsideTheHeader", {rleFrame({4}, {wholeStripe()})}, true},
        RleHazard{"EmptyStripe", {rleFrame({64}, {})}, true},
        RleHazard{"SegmentOfHalfAPlane", {rleFrame({64}, {halfStripe()})}, true},
        RleHazard{"SegmentOneByteShort", {rleFrame({64}, {shortStripe()})}, true},
        RleHazard{"RunWithoutItsByte", {rleFrame({64}, {halfStripe(), {129}})}, true},
        RleHazard{"LiteralsBeyondTheEnd", {rleFrame({64}, {halfStripe(), {127, 1, 2}})}, true},
        RleHazard{"ControlByteOf128", {rleFrame({64}, {{128}, wholeStripe()})}, true},
        RleHazard{"ControlByteOf128BeforeTheLastRun",
                  {rleFrame({64}, {with128BeforeTheLastRun()})},
                  true},
        RleHazard{"ControlByteOf128AtTheEndOfAFragment",
                  decoding::cut(rleFrame({64}, {with128BeforeTheLastRun()}), 64 + 63), true},
        RleHazard{"SpreadOverFragments", decoding::cut(rleFrame({64}, {wholeStripe()}), 100),
                  false},
        RleHazard{"SpreadInsideTheHeader", decoding::cut(rleFrame({64}, {wholeStripe()}), 32),
                  true}),
    support::nameOf<RleHazard>);

TEST(HostileRleFrame, SegmentsAreFoundInTheFragmentsThatFollow) {
  const Fragment frame = rleFrame({64, 128}, {wholeStripe(), wholeStripe()});
  const auto dataset = decoding::encapsulate(*monochromeImage(64, 64).unsigned16().build(),
                                             EXS_RLELossless, decoding::cut(frame, 100));

  EXPECT_EQ(decodeAll(*dataset).errorText, "");
}

TEST(HostileRleFrame, AControlByteOf128IsRefusedInEverySegmentOfColour) {
  const Fragment plane = wholeStripe();
  const Fragment spoilt = with128BeforeTheLastRun();
  for (const std::vector<Fragment>& segments : {std::vector<Fragment>{spoilt, plane, plane},
                                                {plane, spoilt, plane},
                                                {plane, plane, spoilt}}) {
    const auto first = static_cast<Uint32>(64 + segments[0].size());
    const auto second = static_cast<Uint32>(first + segments[1].size());
    const Fragment frame = rleFrame({64, first, second}, segments);
    for (const Uint16 planar : {Uint16{0}, Uint16{1}}) {
      const auto dataset =
          decoding::encapsulate(*rgbImage(64, 64).planar(planar).build(), EXS_RLELossless, {frame});
      const char* const refused = planar == 0 ? kDirectRefused : kNothingToRender;

      EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, refused);
      EXPECT_EQ(decodeAll(*dataset).errorText, refused);
    }
  }
}

TEST(HostileRleFrame, AControlByteOf128BehindAFullSegmentMattersToNobody) {
  const ImageBuilder builder = monochromeImage(64, 64).unsigned8();
  const auto plain =
      decoding::encapsulate(*builder.build(), EXS_RLELossless, {rleFrame({64}, {wholeStripe()})});
  const auto padded = decoding::encapsulate(*builder.build(), EXS_RLELossless,
                                            {rleFrame({64}, {wholeStripe(), {128, 128}})});

  const Outcome frame = decodeRange(*padded, 0, 0);
  const Outcome all = decodeAll(*padded);

  const std::vector<int> expected = decoding::samplesOf(decodeAll(*plain).slice);
  ASSERT_TRUE(frame.done) << frame.errorText;
  ASSERT_TRUE(all.done) << all.errorText;
  EXPECT_EQ(decoding::samplesOf(frame.slice), expected);
  EXPECT_EQ(decoding::samplesOf(all.slice), expected);
}

// What is left of the run in the segment completes the plane.
TEST(HostileRleFrame, ALiteralRunMayBeCutByTheNextSegment) {
  const Fragment high = {1, 0x01, 0x02, 3, 0x03, 0x04};
  const Fragment low = {3, 0x11, 0x22, 0x33, 0x44};
  const auto dataset = decoding::encapsulate(*monochromeImage(4, 1).build(), EXS_RLELossless,
                                             {rleFrame({64, 70}, {high, low})});
  const std::vector<int> expected = {0x0111, 0x0222, 0x0333, 0x0444};

  const Outcome frame = decodeRange(*dataset, 0, 0);
  const Outcome all = decodeAll(*dataset);

  ASSERT_TRUE(frame.done) << frame.errorText;
  ASSERT_TRUE(all.done) << all.errorText;
  EXPECT_EQ(decoding::samplesOf(frame.slice), expected);
  EXPECT_EQ(decoding::samplesOf(all.slice), expected);
}

TEST(HostileRleFrame, SegmentOutsideItsFragmentIsRefusedForDirectColour) {
  const auto dataset = decoding::encapsulate(
      *rgbImage(64, 64).build(), EXS_RLELossless,
      {rleFrame({64, 128, 0x7FFFFF00}, {wholeStripe(), wholeStripe(), wholeStripe()})});

  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, kDirectRefused);
  EXPECT_EQ(decodeAll(*dataset).errorText, kDirectRefused);
}

TEST(HostileRleFrame, SegmentsThatRunBackwardsAreRefused) {
  const auto dataset = decoding::encapsulate(*monochromeImage(64, 64).build(), EXS_RLELossless,
                                             {rleFrame({128, 64}, {wholeStripe(), wholeStripe()})});

  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, kFrameRefused);
  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
}

TEST(HostileRleFrame, OfASmallerImageIsRefused) {
  const auto small =
      support::compress(*monochromeImage(64, 64).unsigned8().build(), EXS_RLELossless);
  ASSERT_TRUE(small->putAndInsertUint16(DCM_Rows, 256).good());

  EXPECT_EQ(decodeRange(*small, 0, 0).errorText, kFrameRefused);
  EXPECT_EQ(decodeAll(*small).errorText, kWholeRefused);
}

TEST(HostileRleFrame, ASecondThatIsShortSpoilsTheWholeButNotTheFirst) {
  const auto dataset =
      decoding::encapsulate(*monochromeImage(64, 64).unsigned8().frames(2).build(), EXS_RLELossless,
                            {rleFrame({64}, {wholeStripe()}), rleFrame({64}, {halfStripe()})});

  EXPECT_TRUE(decodeRange(*dataset, 0, 0).done);
  EXPECT_EQ(decodeRange(*dataset, 0, 1).errorText, kFrameRefused);
  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
}

TEST(HostileRleFrame, TakesNoMemoryForThePromisesOfHeaders) {
  for (const ImageBuilder& builder : {monochromeImage(24, 24).unsigned8(), paletteImage(24, 24)}) {
    const auto dataset = support::compress(*builder.build(), EXS_RLELossless);
    ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Rows, 20000).good());
    ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Columns, 20000).good());
    const long before = peakOfAddressSpace();

    EXPECT_FALSE(decodeRange(*dataset, 0, 0).done);
    EXPECT_FALSE(decodeAll(*dataset).done);

    EXPECT_LT(peakOfAddressSpace() - before, kSixtyFourMebibytes);
  }
}

}  // namespace
