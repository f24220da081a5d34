// SPDX-License-Identifier: BSD-3-Clause
// JPEG streams: the search for a frame header, and how much coded data a frame must have.
#include "streams/FragmentStream.h"
#include "streams/Jpeg.h"
#include "streams/StreamFixtures.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <vector>

namespace {

using streams::Fragment;
using streams::fragmentsIn;
using streams::guardOf;
using streams::HeaderSearch;
using streams::joined;
using streams::kEnd;
using streams::kStart;
using streams::underMarker;
using support::monochromeImage;

class JpegFrameHeaderSearch : public testing::TestWithParam<HeaderSearch> {};

TEST_P(JpegFrameHeaderSearch, EndsAtTheFrameOrAtWhatCannotPrecedeIt) {
  streams::SearchedImage image(GetParam(), EXS_JPEGProcess1);

  streams::expectHeader(Zrg::readJpegFrameHeader(image.stream()), GetParam());
}

const Fragment kBaselineFrame = {0xFF, 0xC0, 0, 17, 12, 1, 2, 3, 4, 3};

INSTANTIATE_TEST_SUITE_P(
    Streams, JpegFrameHeaderSearch,
    testing::Values(
        HeaderSearch{"AtOnce", {joined({kStart, kBaselineFrame})}, true},
        HeaderSearch{"BehindASegment",
                     {joined({kStart, {0xFF, 0xE0, 0, 4, 0xFF, 0xC0}, kBaselineFrame})},
                     true},
        HeaderSearch{"BehindTables",
                     {joined({kStart, {0xFF, 0xC4, 0, 3, 9}, {0xFF, 0xDB, 0, 2}, kBaselineFrame})},
                     true},
        HeaderSearch{
            "BehindFillBytes", {joined({kStart, {0xFF, 0xFF, 0xFF}, kBaselineFrame})}, true},
        HeaderSearch{"BehindARestart", {joined({kStart, {0xFF, 0xD3}, kBaselineFrame})}, true},
        HeaderSearch{
            "BehindAReservedMarker", {joined({kStart, {0xFF, 0x30}, kBaselineFrame})}, true},
        HeaderSearch{
            "BehindATemporaryMarker", {joined({kStart, {0xFF, 0x01}, kBaselineFrame})}, false},
        HeaderSearch{
            "BehindTheScan", {joined({kStart, {0xFF, 0xDA, 0, 2}, kBaselineFrame})}, false},
        HeaderSearch{"BehindTheEnd", {joined({kStart, {0xFF, 0xD9}, kBaselineFrame})}, false},
        HeaderSearch{"WithoutAStart", {kBaselineFrame}, false},
        HeaderSearch{"CutShort", {joined({kStart, {0xFF, 0xC0, 0, 17, 12, 1}})}, false},
        HeaderSearch{"SpreadOverFragments",
                     {joined({kStart, {0xFF, 0xE0, 0, 6, 1, 2}}), joined({{3, 4}, kBaselineFrame})},
                     true},
        HeaderSearch{"BehindAnEmptyFragment", {kStart, {}, kBaselineFrame}, true}),
    support::nameOf<HeaderSearch>);

/// A frame header of 3 components under another marker.
Fragment frameOfKind(Uint8 marker) {
  return underMarker(marker, kBaselineFrame);
}

Fragment jpegBehind(const Fragment& segment) {
  return joined({kStart, segment, kBaselineFrame});
}

INSTANTIATE_TEST_SUITE_P(
    Markers, JpegFrameHeaderSearch,
    testing::Values(
        HeaderSearch{"SequentialFrame", {joined({kStart, frameOfKind(0xC1)})}, true},
        HeaderSearch{"LosslessFrame", {joined({kStart, frameOfKind(0xC3)})}, true},
        HeaderSearch{"LastFrameKind", {joined({kStart, frameOfKind(0xCF)})}, true},
        HeaderSearch{"BehindAnExtension", {jpegBehind({0xFF, 0xC8, 0, 2})}, true},
        HeaderSearch{"BehindConditioning", {jpegBehind({0xFF, 0xCC, 0, 2})}, true},
        HeaderSearch{"BehindTheFirstReserved", {jpegBehind({0xFF, 0x03})}, true},
        HeaderSearch{"BehindTheLastReserved", {jpegBehind({0xFF, 0xBF})}, true},
        HeaderSearch{"BehindTheFirstRestart", {jpegBehind({0xFF, 0xD0})}, true},
        HeaderSearch{"BehindASecondStart", {jpegBehind({0xFF, 0xD8})}, true},
        HeaderSearch{"BehindAStuffedZero", {jpegBehind({0xFF, 0x00})}, false},
        HeaderSearch{"BehindAnUndefinedMarker", {jpegBehind({0xFF, 0x02})}, false},
        HeaderSearch{"BehindATemporarySegment", {jpegBehind({0xFF, 0x01, 0, 2})}, false},
        HeaderSearch{"BehindAZeroSegment", {jpegBehind({0xFF, 0x00, 0, 2})}, false},
        HeaderSearch{"BehindAnUndefinedSegment", {jpegBehind({0xFF, 0x02, 0, 2})}, false},
        HeaderSearch{"BehindAnEndSegment", {jpegBehind({0xFF, 0xD9, 0, 2})}, false},
        HeaderSearch{"BehindNoMarker", {jpegBehind({0xFE, 0xE0, 0, 2})}, false},
        HeaderSearch{"OfNothing", {{}}, false},
        HeaderSearch{"OfAnotherStart", {joined({{0xFF, 0xD9}, kBaselineFrame})}, false},
        HeaderSearch{"EndingInFillBytes", {joined({kStart, {0xFF, 0xFF}})}, false},
        HeaderSearch{"EndingInALength", {joined({kStart, {0xFF, 0xFF, 0xE0, 0}})}, false},
        HeaderSearch{"EndingBeforeALength", {joined({kStart, {0xFF, 0xE0}})}, false}),
    support::nameOf<HeaderSearch>);

/// A frame header that says it has `length` bytes and is cut to `bytes`, marker included.
Fragment cutFrame(Uint8 length, std::size_t bytes) {
  Fragment frame = kBaselineFrame;
  frame[3] = length;
  frame.resize(bytes);
  // DCMTK pads fragments to an even number of bytes, a fill byte keeps it from that.
  return joined({kStart, bytes % 2 != 0 ? Fragment{0xFF} : Fragment{}, frame});
}

INSTANTIATE_TEST_SUITE_P(
    Lengths, JpegFrameHeaderSearch,
    testing::Values(HeaderSearch{"SegmentOfOneByte", {jpegBehind({0xFF, 0xE0, 0, 1})}, false},
                    HeaderSearch{"SegmentOfTwoBytes", {jpegBehind({0xFF, 0xE0, 0, 2})}, true},
                    HeaderSearch{"SegmentOfManyBytes", {jpegBehind({0xFF, 0xE0, 1, 0})}, false},
                    HeaderSearch{"FrameOfAllItsFields", {cutFrame(8, 10)}, true},
                    HeaderSearch{"FrameWithoutComponents", {cutFrame(7, 10)}, false},
                    HeaderSearch{"FrameOfHalfItsColumns", {cutFrame(6, 10)}, false},
                    HeaderSearch{"FrameWithoutRows", {cutFrame(3, 10)}, false},
                    HeaderSearch{"FrameOfNothing", {cutFrame(2, 10)}, false},
                    HeaderSearch{"FrameCutBeforeItsPrecision", {cutFrame(17, 4)}, false},
                    HeaderSearch{"FrameCutBeforeItsRows", {cutFrame(17, 5)}, false},
                    HeaderSearch{"FrameCutBeforeItsColumns", {cutFrame(17, 7)}, false},
                    HeaderSearch{"FrameCutInsideItsColumns", {cutFrame(17, 8)}, false},
                    HeaderSearch{"FrameCutBeforeItsComponents", {cutFrame(17, 9)}, false}),
    support::nameOf<HeaderSearch>);

// --- What the guard is asked of frames

class CodecGuardOfJpeg : public testing::Test {
protected:
  CodecGuardOfJpeg()
      : dataset_(support::compress(*monochromeImage(48, 48).unsigned8().frames(3).build(),
                                   EXS_JPEGProcess14SV1)) {}

  Zrg::CodecGuard guard() { return guardOf(*dataset_); }

  std::unique_ptr<DcmDataset> dataset_;
};

TEST_F(CodecGuardOfJpeg, LetsEveryRangeOfItsFramesPass) {
  EXPECT_TRUE(guard().framesAreSafe(0, 3));
  EXPECT_TRUE(guard().framesAreSafe(2, 1));
  EXPECT_TRUE(guard().colourModelIsSafe());
}

TEST_F(CodecGuardOfJpeg, RefusesFramesBehindTheLast) {
  EXPECT_FALSE(guard().framesAreSafe(3, 1));
  EXPECT_FALSE(guard().frameIsSafe(3, 0, 48 * 48));
}

TEST_F(CodecGuardOfJpeg, RefusesOtherComponentsThanTheAttributesSay) {
  ASSERT_TRUE(dataset_->putAndInsertUint16(DCM_SamplesPerPixel, 3).good());

  EXPECT_FALSE(guard().allFramesAreSafe());
  EXPECT_FALSE(guard().colourModelIsSafe());
}

TEST_F(CodecGuardOfJpeg, RefusesSamplesOfMoreBitsThanAreAllocated) {
  EXPECT_TRUE(guard().frameIsSafe(0, 0, 48 * 48));

  ASSERT_TRUE(dataset_->putAndInsertUint16(DCM_BitsAllocated, 7).good());

  EXPECT_FALSE(guard().frameIsSafe(0, 0, 48 * 48));
  EXPECT_FALSE(guard().allFramesAreSafe());
}

// --- Coded data that is enough for the size, and just not

/// The coded data of a frame of 48 x 48 pixels: 36 blocks, 2304 samples.
struct CodedData {
  const char* name;
  E_TransferSyntax syntax;
  Fragment data;
  bool isEnough;
};

class CodecGuardOfCodedData : public testing::TestWithParam<CodedData> {};

TEST_P(CodecGuardOfCodedData, CountsItsBits) {
  const auto image = monochromeImage(48, 48).unsigned8().build();
  Fragment stream = decoding::fragmentsOf(*support::compress(*image, GetParam().syntax))[0];
  const Fragment startOfScan = {0xFF, 0xDA};
  const auto scan =
      std::search(stream.begin(), stream.end(), startOfScan.begin(), startOfScan.end());
  stream.erase(scan + 2 + scan[3], stream.end());
  const auto dataset =
      decoding::encapsulate(*image, GetParam().syntax, {joined({stream, GetParam().data, kEnd})});

  EXPECT_EQ(guardOf(*dataset).frameIsSafe(0, 0, 48 * 48), GetParam().isEnough);
}

Fragment bytes(std::size_t count, Uint8 value = 0x55) {
  return Fragment(count, value);
}

/// Pairs of FF and a stuffed zero: a byte of data each.
Fragment stuffed(std::size_t count) {
  Fragment data;
  for (std::size_t i = 0; i < count; ++i) {
    data.insert(data.end(), {0xFF, 0x00});
  }
  return data;
}

const Fragment kRestart = {0xFF, 0xD3};
const Fragment kComment = {0xFF, 0xFE, 0, 12, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
const Fragment kSecondScan = {0xFF, 0xDA, 0, 8, 1, 1, 0, 0, 63, 0};

INSTANTIATE_TEST_SUITE_P(
    Scans, CodecGuardOfCodedData,
    testing::Values(
        CodedData{"TwoBitsABlock", EXS_JPEGProcess1, bytes(9), true},
        CodedData{"LessThanTwoBitsABlock", EXS_JPEGProcess1, bytes(8), false},
        CodedData{"OneBitABlock", EXS_JPEGProcess10_12, bytes(5), true},
        CodedData{"LessThanOneBitABlock", EXS_JPEGProcess10_12, bytes(4), false},
        CodedData{"OneBitASample", EXS_JPEGProcess14SV1, bytes(288), true},
        CodedData{"LessThanOneBitASample", EXS_JPEGProcess14SV1, bytes(287), false},
        CodedData{"StuffedBytes", EXS_JPEGProcess1, stuffed(9), true},
        CodedData{"StuffedZerosAreNone", EXS_JPEGProcess1, stuffed(8), false},
        CodedData{"AroundARestart", EXS_JPEGProcess1, joined({bytes(4), kRestart, bytes(5)}), true},
        CodedData{"RestartsAreNone", EXS_JPEGProcess1, joined({bytes(4), kRestart, bytes(4)}),
                  false},
        CodedData{"InTwoScans", EXS_JPEGProcess1, joined({bytes(4), kSecondScan, bytes(5)}), true},
        CodedData{"ScanHeadersAreNone", EXS_JPEGProcess1, joined({bytes(4), kSecondScan, bytes(4)}),
                  false},
        CodedData{"CommentsAreNone", EXS_JPEGProcess1, joined({bytes(8), kComment}), false},
        CodedData{"BehindACommentBetweenScans", EXS_JPEGProcess1,
                  joined({bytes(8), kComment, kSecondScan, bytes(1)}), true},
        CodedData{"BytesBehindASegmentAreNone", EXS_JPEGProcess1,
                  joined({bytes(8), kComment, bytes(1)}), false},
        CodedData{"FillBytesAreNone", EXS_JPEGProcess1, joined({bytes(8), {0xFF, 0xFF, 0xFF}}),
                  false},
        CodedData{"BehindTheEndIsNone", EXS_JPEGProcess1,
                  joined({bytes(8), kEnd, kSecondScan, bytes(9)}), false}),
    support::nameOf<CodedData>);

// Of even length, so that nothing is padded.
TEST(CodecGuard, CountsCodedBytesOnceWhereAStreamEndsInAPrefix) {
  const auto image = monochromeImage(48, 48).unsigned8().build();
  const Fragment stream = streams::upToCodedData(
      decoding::fragmentsOf(*support::compress(*image, EXS_JPEGProcess1))[0]);
  const std::size_t count = stream.size() % 2 != 0 ? 8 : 7;
  const auto dataset =
      decoding::encapsulate(*image, EXS_JPEGProcess1, {joined({stream, bytes(count), {0xFF}})});

  EXPECT_FALSE(guardOf(*dataset).frameIsSafe(0, 0, 48 * 48));
}

}  // namespace
