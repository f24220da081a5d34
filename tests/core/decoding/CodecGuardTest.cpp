// SPDX-License-Identifier: BSD-3-Clause
// What the guard in front of the decoders says of compressed frames, and how it finds the frame
// header of a JPEG stream. What becomes of images that it refuses: SliceDecodingGuardTest.cpp.
#include "SliceDecodingFixtures.h"
#include "streams/CodecGuard.h"
#include "streams/FragmentStream.h"
#include "streams/Jpeg.h"
#include "streams/JpegLs.h"
#include "streams/Rle.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <stdexcept>
#include <vector>

namespace {

using decoding::endlessMarkers;
using decoding::Fragment;
using support::ImageBuilder;
using support::monochromeImage;

const ImageBuilder kSmallImage = monochromeImage(24, 24).unsigned8();

struct Countable {
  const char* name;
  Uint16 columns;
  Uint16 rows;
  Uint16 bitsAllocated;
  Uint16 bitsStored;
  unsigned long long frames;
  bool countable;
};

class CodecGuardSize : public testing::TestWithParam<Countable> {};

TEST_P(CodecGuardSize, IsCountableUpToTheLastEvenNumberOfBytes) {
  const auto dataset = support::compress(*kSmallImage.build(), EXS_JPEGLSLossless);
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Columns, GetParam().columns).good());
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Rows, GetParam().rows).good());
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_BitsAllocated, GetParam().bitsAllocated).good());
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_BitsStored, GetParam().bitsStored).good());
  DcmElement* element = nullptr;
  ASSERT_TRUE(dataset->findAndGetElement(DCM_PixelData, element).good());

  const Zrg::CodecGuard guard(*dataset, dynamic_cast<DcmPixelData&>(*element));

  EXPECT_EQ(guard.isCountable(GetParam().frames), GetParam().countable);
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, CodecGuardSize,
    testing::Values(Countable{"Small", 512, 512, 16, 12, 200, true},
                    Countable{"JustBelow", 65535, 65535, 8, 8, 1, true},
                    Countable{"TwiceAsMany", 65535, 65535, 8, 8, 2, false},
                    Countable{"ExactlyFourGigabytes", 32768, 32768, 16, 16, 2, false},
                    Countable{"OneFrameLess", 32768, 32768, 16, 16, 1, true},
                    Countable{"WiderStoredThanAllocated", 65535, 65535, 8, 12, 1, false},
                    Countable{"OneByteMoreThanAnEvenNumber", 65535, 1, 8, 8, 65537, false},
                    Countable{"TheLastEvenNumber", 1, 2, 8, 8, 2147483647, true},
                    Countable{"NoSamples", 0, 512, 16, 16, ~0ULL, true}),
    support::nameOf<Countable>);

TEST(CodecGuard, NeverRefusesNativeData) {
  const auto dataset = monochromeImage(2, 2).with(DCM_NumberOfFrames, "99999999").build();
  DcmElement* element = nullptr;
  ASSERT_TRUE(dataset->findAndGetElement(DCM_PixelData, element).good());
  Zrg::CodecGuard guard(*dataset, dynamic_cast<DcmPixelData&>(*element));

  EXPECT_TRUE(guard.isCountable());
  EXPECT_TRUE(guard.allFramesAreSafe());
  EXPECT_TRUE(guard.framesAreSafe(7, 3));
  EXPECT_TRUE(guard.frameIsSafe(7, 0, 1));
}

// --- The search for a frame header

std::optional<Zrg::JpegFrameHeader> readHeader(Zrg::FragmentStream& stream,
                                               E_TransferSyntax syntax) {
  if (syntax != EXS_JPEGLSLossless) {
    return Zrg::readJpegFrameHeader(stream);
  }
  const std::optional<Zrg::JpegLsImage> image = Zrg::passJpegLsImage(stream);
  return image ? std::optional(image->header) : std::nullopt;
}

struct Header {
  const char* name;
  E_TransferSyntax syntax;
  std::vector<Fragment> fragments;
  bool found;
};

Zrg::Fragments fragmentsOf(DcmDataset& dataset, E_TransferSyntax syntax) {
  DcmElement* element = nullptr;
  DcmPixelSequence* sequence = nullptr;
  if (dataset.findAndGetElement(DCM_PixelData, element).bad() ||
      dynamic_cast<DcmPixelData&>(*element)
          .getEncapsulatedRepresentation(syntax, nullptr, sequence)
          .bad()) {
    throw std::logic_error("no compressed frames");
  }
  return Zrg::Fragments(*sequence);
}

TEST(RleFrame, HasAStripeAtLeast) {
  const auto dataset =
      decoding::encapsulate(*kSmallImage.build(), EXS_RLELossless, {decoding::rleFrame({}, {})});
  Zrg::Fragments fragments = fragmentsOf(*dataset, EXS_RLELossless);
  Zrg::FragmentStream stream(fragments, 1, fragments.count());

  EXPECT_FALSE(Zrg::passRleFrame(stream, {0, 24 * 24}));
}

class JpegFrameHeaderSearch : public testing::TestWithParam<Header> {};

TEST_P(JpegFrameHeaderSearch, EndsAtTheFrameOrAtWhatCannotPrecedeIt) {
  const auto dataset =
      decoding::encapsulate(*kSmallImage.build(), GetParam().syntax, GetParam().fragments);
  Zrg::Fragments fragments = fragmentsOf(*dataset, GetParam().syntax);
  Zrg::FragmentStream stream(fragments, 1, fragments.count());

  const auto header = readHeader(stream, GetParam().syntax);

  ASSERT_EQ(header.has_value(), GetParam().found);
  if (header) {
    EXPECT_EQ(header->precision, 12);
    EXPECT_EQ(header->rows, 0x0102);
    EXPECT_EQ(header->columns, 0x0304);
    EXPECT_EQ(header->components, 3);
  }
}

Fragment joined(const std::vector<Fragment>& parts) {
  Fragment all;
  for (const Fragment& part : parts) {
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}

const Fragment kStart = {0xFF, 0xD8};
const Fragment kBaselineFrame = {0xFF, 0xC0, 0, 17, 12, 1, 2, 3, 4, 3};
constexpr E_TransferSyntax kJpeg = EXS_JPEGProcess1;
constexpr E_TransferSyntax kJpegLs = EXS_JPEGLSLossless;

const Fragment kJpegLsFrame = {0xFF, 0xF7, 0, 17, 12, 1, 2, 3, 4, 3, 1, 17, 0, 2, 17, 0, 3, 17, 0};
const Fragment kSamples = {1, 2, 0xFF, 0x7F, 3, 4};
const Fragment kEnd = {0xFF, 0xD9};

Fragment jpegLsFrameOf(Uint8 precision) {
  Fragment frame = kJpegLsFrame;
  frame[4] = precision;
  return frame;
}

Fragment jpegLsScan(Uint8 interleaveMode) {
  return joined({{0xFF, 0xDA, 0, 8, 1, 1, 0, 0, interleaveMode, 0}, kSamples});
}

Fragment underMarker(Uint8 marker, Fragment segment) {
  segment[1] = marker;
  return segment;
}

/// The largest sample is that of 12 bits, unless its low byte is given.
Fragment jpegLsPresets(Uint16 reset, Uint8 maxvalLow = 0xFF) {
  const auto high = static_cast<Uint8>(reset >> 8);
  const auto low = static_cast<Uint8>(reset & 0xFF);
  return {0xFF, 0xF8, 0, 13, 1, 0x0F, maxvalLow, 0, 18, 0, 67, 1, 20, high, low};
}

INSTANTIATE_TEST_SUITE_P(
    Streams, JpegFrameHeaderSearch,
    testing::Values(
        Header{"AtOnce", kJpeg, {joined({kStart, kBaselineFrame})}, true},
        Header{
            "JpegLsByPixel", kJpegLs, {joined({kStart, kJpegLsFrame, jpegLsScan(2), kEnd})}, true},
        Header{"JpegLsByPlane",
               kJpegLs,
               {joined({kStart, kJpegLsFrame, jpegLsScan(0), jpegLsScan(0), jpegLsScan(0), kEnd})},
               true},
        Header{"JpegLsWithTooFewScans",
               kJpegLs,
               {joined({kStart, kJpegLsFrame, jpegLsScan(0), jpegLsScan(0), kEnd})},
               false},
        Header{"JpegLsWithSomethingElseBeforeItsLastScan",
               kJpegLs,
               {joined({kStart, kJpegLsFrame, jpegLsScan(0), jpegLsScan(0),
                        underMarker(0xFE, jpegLsScan(0)), kEnd})},
               false},
        Header{
            "JpegLsWithoutAnEnd", kJpegLs, {joined({kStart, kJpegLsFrame, jpegLsScan(2)})}, false},
        Header{"JpegLsWithoutAScan", kJpegLs, {joined({kStart, kJpegLsFrame, kEnd})}, false},
        Header{"JpegLsWithoutAFrame", kJpegLs, {joined({kStart, jpegLsScan(2), kEnd})}, false},
        Header{"JpegLsWithUsualPresets",
               kJpegLs,
               {joined({kStart, kJpegLsFrame, jpegLsPresets(64), jpegLsScan(2), kEnd})},
               true},
        Header{"JpegLsWithUnusualPresets",
               kJpegLs,
               {joined({kStart, jpegLsPresets(31), kJpegLsFrame, jpegLsScan(1), kEnd})},
               true},
        Header{"JpegLsWithUnusualPresetsByPixel",
               kJpegLs,
               {joined({kStart, jpegLsPresets(31), kJpegLsFrame, jpegLsScan(2), kEnd})},
               false},
        Header{"JpegLsWithUnusualPresetsByPixelInTheSecondScan",
               kJpegLs,
               {joined({kStart, jpegLsPresets(31), kJpegLsFrame, jpegLsScan(0), jpegLsScan(2),
                        jpegLsScan(0), kEnd})},
               false},
        Header{"JpegLsWithUnusualPresetsOfALowerMaximum",
               kJpegLs,
               {joined({kStart, jpegLsPresets(31, 0xFE), kJpegLsFrame, jpegLsScan(1), kEnd})},
               false},
        Header{"JpegLsWithUnusualPresetsOfSamplesThatAreTooLong",
               kJpegLs,
               {joined({kStart, jpegLsPresets(31), jpegLsFrameOf(255), jpegLsScan(1), kEnd})},
               false},
        Header{"JpegLsWithTheLeastReset",
               kJpegLs,
               {joined({kStart, jpegLsPresets(3), kJpegLsFrame, jpegLsScan(1), kEnd})},
               true},
        Header{"JpegLsWithTooSmallAReset",
               kJpegLs,
               {joined({kStart, jpegLsPresets(2), kJpegLsFrame, jpegLsScan(1), kEnd})},
               false},
        Header{"JpegLsWithTheLargestReset",
               kJpegLs,
               {joined({kStart, jpegLsPresets(255), kJpegLsFrame, jpegLsScan(1), kEnd})},
               true},
        Header{"JpegLsWithTooLargeAReset",
               kJpegLs,
               {joined({kStart, jpegLsPresets(256), kJpegLsFrame, jpegLsScan(1), kEnd})},
               false},
        Header{"JpegLsWithTheUsualPresetsBehindUnusualOnes",
               kJpegLs,
               {joined({kStart, jpegLsPresets(31), jpegLsPresets(64), kJpegLsFrame, jpegLsScan(2),
                        kEnd})},
               true},
        Header{"JpegLsInFragments",
               kJpegLs,
               {joined({kStart, kJpegLsFrame, jpegLsScan(2)}), kEnd},
               true},
        Header{"OfTheOtherFamily", kJpegLs, {joined({kStart, kBaselineFrame})}, false},
        Header{"BehindASegment",
               kJpeg,
               {joined({kStart, {0xFF, 0xE0, 0, 4, 0xFF, 0xC0}, kBaselineFrame})},
               true},
        Header{"BehindTables",
               kJpeg,
               {joined({kStart, {0xFF, 0xC4, 0, 3, 9}, {0xFF, 0xDB, 0, 2}, kBaselineFrame})},
               true},
        Header{
            "BehindFillBytes", kJpeg, {joined({kStart, {0xFF, 0xFF, 0xFF}, kBaselineFrame})}, true},
        Header{"BehindARestart", kJpeg, {joined({kStart, {0xFF, 0xD3}, kBaselineFrame})}, true},
        Header{
            "BehindAReservedMarker", kJpeg, {joined({kStart, {0xFF, 0x30}, kBaselineFrame})}, true},
        Header{"BehindATemporaryMarker",
               kJpeg,
               {joined({kStart, {0xFF, 0x01}, kBaselineFrame})},
               false},
        Header{
            "BehindTheScan", kJpeg, {joined({kStart, {0xFF, 0xDA, 0, 2}, kBaselineFrame})}, false},
        Header{"BehindTheEnd", kJpeg, {joined({kStart, {0xFF, 0xD9}, kBaselineFrame})}, false},
        Header{"WithoutAStart", kJpeg, {kBaselineFrame}, false},
        Header{"CutShort", kJpeg, {joined({kStart, {0xFF, 0xC0, 0, 17, 12, 1}})}, false},
        Header{"SpreadOverFragments",
               kJpeg,
               {joined({kStart, {0xFF, 0xE0, 0, 6, 1, 2}}), joined({{3, 4}, kBaselineFrame})},
               true},
        Header{"BehindAnEmptyFragment", kJpeg, {kStart, {}, kBaselineFrame}, true}),
    support::nameOf<Header>);

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
        Header{"SequentialFrame", kJpeg, {joined({kStart, frameOfKind(0xC1)})}, true},
        Header{"LosslessFrame", kJpeg, {joined({kStart, frameOfKind(0xC3)})}, true},
        Header{"LastFrameKind", kJpeg, {joined({kStart, frameOfKind(0xCF)})}, true},
        Header{"BehindAnExtension", kJpeg, {jpegBehind({0xFF, 0xC8, 0, 2})}, true},
        Header{"BehindConditioning", kJpeg, {jpegBehind({0xFF, 0xCC, 0, 2})}, true},
        Header{"BehindTheFirstReserved", kJpeg, {jpegBehind({0xFF, 0x03})}, true},
        Header{"BehindTheLastReserved", kJpeg, {jpegBehind({0xFF, 0xBF})}, true},
        Header{"BehindTheFirstRestart", kJpeg, {jpegBehind({0xFF, 0xD0})}, true},
        Header{"BehindASecondStart", kJpeg, {jpegBehind({0xFF, 0xD8})}, true},
        Header{"BehindAStuffedZero", kJpeg, {jpegBehind({0xFF, 0x00})}, false},
        Header{"BehindAnUndefinedMarker", kJpeg, {jpegBehind({0xFF, 0x02})}, false},
        Header{"BehindATemporarySegment", kJpeg, {jpegBehind({0xFF, 0x01, 0, 2})}, false},
        Header{"BehindAZeroSegment", kJpeg, {jpegBehind({0xFF, 0x00, 0, 2})}, false},
        Header{"BehindAnUndefinedSegment", kJpeg, {jpegBehind({0xFF, 0x02, 0, 2})}, false},
        Header{"BehindAnEndSegment", kJpeg, {jpegBehind({0xFF, 0xD9, 0, 2})}, false},
        Header{"BehindNoMarker", kJpeg, {jpegBehind({0xFE, 0xE0, 0, 2})}, false},
        Header{"OfNothing", kJpeg, {{}}, false},
        Header{"OfAnotherStart", kJpeg, {joined({{0xFF, 0xD9}, kBaselineFrame})}, false},
        Header{"EndingInFillBytes", kJpeg, {joined({kStart, {0xFF, 0xFF}})}, false},
        Header{"EndingInALength", kJpeg, {joined({kStart, {0xFF, 0xFF, 0xE0, 0}})}, false},
        Header{"EndingBeforeALength", kJpeg, {joined({kStart, {0xFF, 0xE0}})}, false}),
    support::nameOf<Header>);

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
    testing::Values(Header{"SegmentOfOneByte", kJpeg, {jpegBehind({0xFF, 0xE0, 0, 1})}, false},
                    Header{"SegmentOfTwoBytes", kJpeg, {jpegBehind({0xFF, 0xE0, 0, 2})}, true},
                    Header{"SegmentOfManyBytes", kJpeg, {jpegBehind({0xFF, 0xE0, 1, 0})}, false},
                    Header{"FrameOfAllItsFields", kJpeg, {cutFrame(8, 10)}, true},
                    Header{"FrameWithoutComponents", kJpeg, {cutFrame(7, 10)}, false},
                    Header{"FrameOfHalfItsColumns", kJpeg, {cutFrame(6, 10)}, false},
                    Header{"FrameWithoutRows", kJpeg, {cutFrame(3, 10)}, false},
                    Header{"FrameOfNothing", kJpeg, {cutFrame(2, 10)}, false},
                    Header{"FrameCutBeforeItsPrecision", kJpeg, {cutFrame(17, 4)}, false},
                    Header{"FrameCutBeforeItsRows", kJpeg, {cutFrame(17, 5)}, false},
                    Header{"FrameCutBeforeItsColumns", kJpeg, {cutFrame(17, 7)}, false},
                    Header{"FrameCutInsideItsColumns", kJpeg, {cutFrame(17, 8)}, false},
                    Header{"FrameCutBeforeItsComponents", kJpeg, {cutFrame(17, 9)}, false}),
    support::nameOf<Header>);

/// A JPEG-LS image whose frame header follows the given segment.
Fragment jpegLsBehind(const Fragment& segment) {
  return joined({kStart, segment, kJpegLsFrame, jpegLsScan(2), kEnd});
}

/// A JPEG-LS image that ends with the given scan header and a marker.
Fragment jpegLsWithScan(const Fragment& scanHeader) {
  return joined({kStart, kJpegLsFrame, scanHeader, kEnd});
}

INSTANTIATE_TEST_SUITE_P(
    JpegLs, JpegFrameHeaderSearch,
    testing::Values(
        Header{"PresetsOfAnotherType", kJpegLs, {jpegLsBehind({0xFF, 0xF8, 0, 4, 2, 9})}, true},
        Header{"PresetsWithoutAType", kJpegLs, {jpegLsBehind({0xFF, 0xF8, 0, 2})}, false},
        Header{"PresetsOfTheDefaultReset", kJpegLs, {jpegLsBehind(jpegLsPresets(0))}, true},
        Header{"PresetsWithoutAReset",
               kJpegLs,
               {jpegLsBehind({0xFF, 0xF8, 0, 11, 1, 0x0F, 0xFF, 0, 18, 0, 67, 1, 20})},
               false},
        Header{"PresetsOfHalfAReset",
               kJpegLs,
               {jpegLsBehind({0xFF, 0xF8, 0, 12, 1, 0x0F, 0xFF, 0, 18, 0, 67, 1, 20, 0})},
               false},
        Header{"PresetsOfTooFewThresholds",
               kJpegLs,
               {jpegLsBehind({0xFF, 0xF8, 0, 9, 1, 0x0F, 0xFF, 0, 18, 0, 67})},
               false},
        Header{"PresetsWithMoreBehind",
               kJpegLs,
               {jpegLsBehind({0xFF, 0xF8, 0, 15, 1, 0x0F, 0xFF, 0, 18, 0, 67, 1, 20, 0, 64, 7, 7})},
               true},
        Header{"RestartBeforeTheFrame", kJpegLs, {jpegLsBehind({0xFF, 0xD0})}, false},
        Header{"SegmentBeforeTheFrame", kJpegLs, {jpegLsBehind({0xFF, 0xE8, 0, 3, 9})}, true},
        Header{"FrameBeyondTheEnd",
               kJpegLs,
               {joined({kStart, {0xFF, 0xF7, 0, 17, 12, 1, 2, 3, 4, 3, 1, 17}})},
               false},
        Header{"FrameWithoutComponentsInJpegLs",
               kJpegLs,
               {joined({kStart, {0xFF, 0xF7, 0, 7, 12, 1, 2, 3, 4}, jpegLsScan(2), kEnd})},
               false},
        Header{"ScanOfNoLength", kJpegLs, {jpegLsWithScan({0xFF, 0xDA, 0, 2})}, false},
        Header{"ScanOfTooManyComponents",
               kJpegLs,
               {jpegLsWithScan({0xFF, 0xDA, 0, 8, 4, 1, 0, 0, 2, 0})},
               false},
        Header{"ScanWithoutNear", kJpegLs, {jpegLsWithScan({0xFF, 0xDA, 0, 5, 1, 1, 0})}, false},
        Header{"ScanWithoutInterleaving",
               kJpegLs,
               {jpegLsWithScan({0xFF, 0xDA, 0, 6, 1, 1, 0, 0})},
               false},
        Header{"ScanWithoutItsLastByte",
               kJpegLs,
               {jpegLsWithScan({0xFF, 0xDA, 0, 7, 1, 1, 0, 0, 2})},
               true},
        Header{"ScanCutInItsHeader",
               kJpegLs,
               {joined({kStart, kJpegLsFrame, {0xFF, 0xDA, 0, 8, 1, 1, 0}})},
               false},
        Header{"SamplesEndingInAPrefix",
               kJpegLs,
               {joined({kStart, kJpegLsFrame, jpegLsScan(2), {0xFF}})},
               false},
        Header{"SamplesEndedByAnyMarker",
               kJpegLs,
               {joined({kStart, kJpegLsFrame, jpegLsScan(2), {0xFF, 0x80}})},
               true},
        Header{"PlanesBehindOneByLine",
               kJpegLs,
               {joined({kStart, kJpegLsFrame, jpegLsScan(1), jpegLsScan(0), kEnd})},
               true}),
    support::nameOf<Header>);

// --- What the guard is asked of frames

class CodecGuardOf : public testing::Test {
protected:
  CodecGuardOf(const ImageBuilder& builder, E_TransferSyntax syntax)
      : dataset_(support::compress(*builder.build(), syntax)) {}

  Zrg::CodecGuard guard() {
    DcmElement* element = nullptr;
    EXPECT_TRUE(dataset_->findAndGetElement(DCM_PixelData, element).good());
    return {*dataset_, dynamic_cast<DcmPixelData&>(*element)};
  }

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

class CodecGuardOfJpeg : public CodecGuardOf {
protected:
  CodecGuardOfJpeg()
      : CodecGuardOf(monochromeImage(48, 48).unsigned8().frames(3), EXS_JPEGProcess14SV1) {}
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
  DcmElement* element = nullptr;
  ASSERT_TRUE(dataset->findAndGetElement(DCM_PixelData, element).good());

  EXPECT_EQ(
      Zrg::CodecGuard(*dataset, dynamic_cast<DcmPixelData&>(*element)).frameIsSafe(0, 0, 48 * 48),
      GetParam().isEnough);
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
  Fragment stream = decoding::fragmentsOf(*support::compress(*image, EXS_JPEGProcess1))[0];
  const Fragment startOfScan = {0xFF, 0xDA};
  const auto scan =
      std::search(stream.begin(), stream.end(), startOfScan.begin(), startOfScan.end());
  stream.erase(scan + 2 + scan[3], stream.end());
  const std::size_t count = stream.size() % 2 != 0 ? 8 : 7;
  const auto dataset =
      decoding::encapsulate(*image, EXS_JPEGProcess1, {joined({stream, bytes(count), {0xFF}})});
  DcmElement* element = nullptr;
  ASSERT_TRUE(dataset->findAndGetElement(DCM_PixelData, element).good());

  EXPECT_FALSE(
      Zrg::CodecGuard(*dataset, dynamic_cast<DcmPixelData&>(*element)).frameIsSafe(0, 0, 48 * 48));
}

// --- Where a JPEG-LS frame in several fragments ends

/// Three frames in up to two fragments each, and where an offset table says that they begin.
struct SpreadFrames {
  const char* name;
  std::vector<Fragment> fragments;
  std::vector<std::size_t> starts;  ///< fragments in which the table lets the frames begin
  bool safe;
};

class CodecGuardOfSpreadJpegLs : public testing::TestWithParam<SpreadFrames> {
protected:
  CodecGuardOfSpreadJpegLs()
      : dataset_(decoding::encapsulate(
            *monochromeImage(48, 48).unsigned8().frames(3).build(), EXS_JPEGLSLossless,
            GetParam().fragments, decoding::offsetTable(GetParam().fragments, GetParam().starts))) {
  }

  Zrg::CodecGuard guard() {
    DcmElement* element = nullptr;
    EXPECT_TRUE(dataset_->findAndGetElement(DCM_PixelData, element).good());
    return {*dataset_, dynamic_cast<DcmPixelData&>(*element)};
  }

  std::unique_ptr<DcmDataset> dataset_;
};

TEST_P(CodecGuardOfSpreadJpegLs, FindsTheEndsThatTheDecoderFinds) {
  EXPECT_EQ(guard().allFramesAreSafe(), GetParam().safe);
}

TEST_P(CodecGuardOfSpreadJpegLs, CallsSafeWhatTheDecoderDecodes) {
  EXPECT_EQ(decoding::decodeAll(*dataset_).done, GetParam().safe);
}

/// A frame in two fragments: all but the last bytes, which are fewer than a start of image takes or
/// more, and these.
struct Halves {
  Fragment head;
  Fragment tail;
};

Halves cutFromTheEnd(std::size_t bytes) {
  const auto whole = decoding::fragmentsOf(
      *support::compress(*monochromeImage(48, 48).unsigned8().build(), EXS_JPEGLSLossless))[0];
  const std::vector<Fragment> parts = decoding::cut(whole, whole.size() - bytes);
  return {parts[0], parts[1]};
}

const Halves kHalves = cutFromTheEnd(40);
const Halves kAlmostWhole = cutFromTheEnd(2);
const Fragment kWhole = joined({kHalves.head, kHalves.tail});
const std::vector<Fragment> kFirstIsSpread = {kHalves.head, kHalves.tail, kWhole, kWhole};
const std::vector<Fragment> kSecondIsSpread = {kWhole, kHalves.head, kHalves.tail, kWhole};
const std::vector<Fragment> kLastIsSpread = {kWhole, kWhole, kHalves.head, kHalves.tail};
const std::vector<Fragment> kShortTail = {kAlmostWhole.head, kAlmostWhole.tail, kWhole, kWhole};
const std::vector<Fragment> kOddStart = {kHalves.head, kHalves.tail,
                                         joined({{0xFF, 0xD8}, jpegLsPresets(64), kWhole}), kWhole};

INSTANTIATE_TEST_SUITE_P(
    Frames, CodecGuardOfSpreadJpegLs,
    testing::Values(SpreadFrames{"ByTheTable", kFirstIsSpread, {0, 2, 3}, true},
                    SpreadFrames{"ByTheTableInTheMiddle", kSecondIsSpread, {0, 1, 3}, true},
                    SpreadFrames{"ByTheStartsOfImages", kFirstIsSpread, {}, true},
                    SpreadFrames{"ByTheStartsOfImagesInTheMiddle", kSecondIsSpread, {}, true},
                    SpreadFrames{"TheLastTakesAllThatIsLeft", kLastIsSpread, {0, 1, 2}, true},
                    SpreadFrames{"TheLastTakesAllWithoutATable", kLastIsSpread, {}, true},
                    SpreadFrames{"TableIntoTheFirst", kFirstIsSpread, {0, 1, 3}, false},
                    SpreadFrames{"TableIntoTheSecond", kSecondIsSpread, {0, 1, 2}, false},
                    SpreadFrames{"TableIntoTheLast", kLastIsSpread, {0, 1, 3}, false},
                    SpreadFrames{"TableOfTooManyFrames", kFirstIsSpread, {0, 1, 2, 3}, true},
                    SpreadFrames{"TableThatGoesBack", kFirstIsSpread, {0, 0, 0}, true},
                    SpreadFrames{"ShortTailByTheTable", kShortTail, {0, 2, 3}, true},
                    SpreadFrames{"ShortTailWithoutATable", kShortTail, {}, false},
                    SpreadFrames{"FrameWithoutAnUsualStart", kOddStart, {}, false}),
    support::nameOf<SpreadFrames>);

TEST(CodecGuard, LetsAFramePassAloneOnlyWhenItIsWhole) {
  const auto image = monochromeImage(48, 48).unsigned8().frames(3).build();
  const auto honest = decoding::encapsulate(*image, EXS_JPEGLSLossless, kFirstIsSpread,
                                            decoding::offsetTable(kFirstIsSpread, {0, 2, 3}));
  const auto lying = decoding::encapsulate(*image, EXS_JPEGLSLossless, kFirstIsSpread,
                                           decoding::offsetTable(kFirstIsSpread, {0, 1, 3}));
  const auto isSafe = [](DcmDataset& dataset, Uint32 frame, Uint32 fragment) {
    DcmElement* element = nullptr;
    (void)dataset.findAndGetElement(DCM_PixelData, element);  // the cast says so
    return Zrg::CodecGuard(dataset, dynamic_cast<DcmPixelData&>(*element))
        .frameIsSafe(frame, fragment, 48 * 48);
  };

  EXPECT_TRUE(isSafe(*honest, 0, 0));
  EXPECT_TRUE(isSafe(*honest, 1, 0));
  EXPECT_TRUE(isSafe(*honest, 1, 3));
  EXPECT_TRUE(isSafe(*honest, 2, 0));
  EXPECT_FALSE(isSafe(*lying, 0, 0));
  EXPECT_FALSE(isSafe(*lying, 1, 0));
  EXPECT_TRUE(isSafe(*lying, 2, 0));
  EXPECT_FALSE(isSafe(*honest, 2, 5));
}

TEST(AllImagesAreSafe, WhereThereIsNone) {
  DcmItem item;
  DcmDataset dataset;

  EXPECT_TRUE(Zrg::allImagesAreSafe(item));
  EXPECT_TRUE(Zrg::allImagesAreSafe(dataset));
}

TEST(AllImagesAreSafe, NotInAnItemWhoseOwnImageIsHostile) {
  const auto hostile =
      decoding::encapsulate(*kSmallImage.build(), EXS_JPEGProcess14SV1, {endlessMarkers()});
  const auto good = support::compress(*kSmallImage.build(), EXS_JPEGProcess14SV1);

  EXPECT_FALSE(Zrg::allImagesAreSafe(*decoding::asItem(*hostile)));
  EXPECT_TRUE(Zrg::allImagesAreSafe(*decoding::asItem(*good)));
}

}  // namespace
