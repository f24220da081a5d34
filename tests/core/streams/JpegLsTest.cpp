// SPDX-License-Identifier: BSD-3-Clause
// JPEG-LS streams: which of them are whole and decodable, and where a frame in several fragments
// ends.
#include "streams/FragmentStream.h"
#include "streams/JpegLs.h"
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
using streams::jpegLsPresets;
using streams::kEnd;
using streams::kStart;
using streams::underMarker;
using support::monochromeImage;

class JpegLsImage : public testing::TestWithParam<HeaderSearch> {};

TEST_P(JpegLsImage, IsPassedWhenItIsWholeAndDecodable) {
  streams::SearchedImage image(GetParam(), EXS_JPEGLSLossless);

  const std::optional<Zrg::JpegLsImage> passed = Zrg::passJpegLsImage(image.stream());

  streams::expectHeader(passed ? std::optional(passed->header) : std::nullopt, GetParam());
}

const Fragment kJpegLsFrame = {0xFF, 0xF7, 0, 17, 12, 1, 2, 3, 4, 3, 1, 17, 0, 2, 17, 0, 3, 17, 0};
const Fragment kSamples = {1, 2, 0xFF, 0x7F, 3, 4};
Fragment jpegLsFrameOf(Uint8 precision) {
  Fragment frame = kJpegLsFrame;
  frame[4] = precision;
  return frame;
}

Fragment jpegLsScan(Uint8 interleaveMode) {
  return joined({{0xFF, 0xDA, 0, 8, 1, 1, 0, 0, interleaveMode, 0}, kSamples});
}

const Fragment kBaselineFrame = {0xFF, 0xC0, 0, 17, 12, 1, 2, 3, 4, 3};

INSTANTIATE_TEST_SUITE_P(
    Streams, JpegLsImage,
    testing::Values(
        HeaderSearch{"JpegLsByPixel", {joined({kStart, kJpegLsFrame, jpegLsScan(2), kEnd})}, true},
        HeaderSearch{
            "JpegLsByPlane",
            {joined({kStart, kJpegLsFrame, jpegLsScan(0), jpegLsScan(0), jpegLsScan(0), kEnd})},
            true},
        HeaderSearch{"JpegLsWithTooFewScans",
                     {joined({kStart, kJpegLsFrame, jpegLsScan(0), jpegLsScan(0), kEnd})},
                     false},
        HeaderSearch{"JpegLsWithSomethingElseBeforeItsLastScan",
                     {joined({kStart, kJpegLsFrame, jpegLsScan(0), jpegLsScan(0),
                              underMarker(0xFE, jpegLsScan(0)), kEnd})},
                     false},
        HeaderSearch{"JpegLsWithoutAnEnd", {joined({kStart, kJpegLsFrame, jpegLsScan(2)})}, false},
        HeaderSearch{"JpegLsWithoutAScan", {joined({kStart, kJpegLsFrame, kEnd})}, false},
        HeaderSearch{"JpegLsWithoutAFrame", {joined({kStart, jpegLsScan(2), kEnd})}, false},
        HeaderSearch{"JpegLsWithUsualPresets",
                     {joined({kStart, kJpegLsFrame, jpegLsPresets(64), jpegLsScan(2), kEnd})},
                     true},
        HeaderSearch{"JpegLsWithUnusualPresets",
                     {joined({kStart, jpegLsPresets(31), kJpegLsFrame, jpegLsScan(1), kEnd})},
                     true},
        HeaderSearch{"JpegLsWithUnusualPresetsByPixel",
                     {joined({kStart, jpegLsPresets(31), kJpegLsFrame, jpegLsScan(2), kEnd})},
                     false},
        HeaderSearch{"JpegLsWithUnusualPresetsByPixelInTheSecondScan",
                     {joined({kStart, jpegLsPresets(31), kJpegLsFrame, jpegLsScan(0), jpegLsScan(2),
                              jpegLsScan(0), kEnd})},
                     false},
        HeaderSearch{"JpegLsWithUnusualPresetsOfALowerMaximum",
                     {joined({kStart, jpegLsPresets(31, 0xFE), kJpegLsFrame, jpegLsScan(1), kEnd})},
                     false},
        HeaderSearch{"JpegLsWithUnusualPresetsOfSamplesThatAreTooLong",
                     {joined({kStart, jpegLsPresets(31), jpegLsFrameOf(255), jpegLsScan(1), kEnd})},
                     false},
        HeaderSearch{"JpegLsWithTheLeastReset",
                     {joined({kStart, jpegLsPresets(3), kJpegLsFrame, jpegLsScan(1), kEnd})},
                     true},
        HeaderSearch{"JpegLsWithTooSmallAReset",
                     {joined({kStart, jpegLsPresets(2), kJpegLsFrame, jpegLsScan(1), kEnd})},
                     false},
        HeaderSearch{"JpegLsWithTheLargestReset",
                     {joined({kStart, jpegLsPresets(255), kJpegLsFrame, jpegLsScan(1), kEnd})},
                     true},
        HeaderSearch{"JpegLsWithTooLargeAReset",
                     {joined({kStart, jpegLsPresets(256), kJpegLsFrame, jpegLsScan(1), kEnd})},
                     false},
        HeaderSearch{"JpegLsWithTheUsualPresetsBehindUnusualOnes",
                     {joined({kStart, jpegLsPresets(31), jpegLsPresets(64), kJpegLsFrame,
                              jpegLsScan(2), kEnd})},
                     true},
        HeaderSearch{
            "JpegLsInFragments", {joined({kStart, kJpegLsFrame, jpegLsScan(2)}), kEnd}, true},
        HeaderSearch{"OfTheOtherFamily", {joined({kStart, kBaselineFrame})}, false}),
    support::nameOf<HeaderSearch>);

/// A JPEG-LS image whose frame header follows the given segment.
Fragment jpegLsBehind(const Fragment& segment) {
  return joined({kStart, segment, kJpegLsFrame, jpegLsScan(2), kEnd});
}

/// A JPEG-LS image that ends with the given scan header and a marker.
Fragment jpegLsWithScan(const Fragment& scanHeader) {
  return joined({kStart, kJpegLsFrame, scanHeader, kEnd});
}

INSTANTIATE_TEST_SUITE_P(
    Segments, JpegLsImage,
    testing::Values(
        HeaderSearch{"PresetsOfAnotherType", {jpegLsBehind({0xFF, 0xF8, 0, 4, 2, 9})}, true},
        HeaderSearch{"PresetsWithoutAType", {jpegLsBehind({0xFF, 0xF8, 0, 2})}, false},
        HeaderSearch{"PresetsOfTheDefaultReset", {jpegLsBehind(jpegLsPresets(0))}, true},
        HeaderSearch{"PresetsWithoutAReset",
                     {jpegLsBehind({0xFF, 0xF8, 0, 11, 1, 0x0F, 0xFF, 0, 18, 0, 67, 1, 20})},
                     false},
        HeaderSearch{"PresetsOfHalfAReset",
                     {jpegLsBehind({0xFF, 0xF8, 0, 12, 1, 0x0F, 0xFF, 0, 18, 0, 67, 1, 20, 0})},
                     false},
        HeaderSearch{"PresetsOfTooFewThresholds",
                     {jpegLsBehind({0xFF, 0xF8, 0, 9, 1, 0x0F, 0xFF, 0, 18, 0, 67})},
                     false},
        HeaderSearch{
            "PresetsWithMoreBehind",
            {jpegLsBehind({0xFF, 0xF8, 0, 15, 1, 0x0F, 0xFF, 0, 18, 0, 67, 1, 20, 0, 64, 7, 7})},
            true},
        HeaderSearch{"RestartBeforeTheFrame", {jpegLsBehind({0xFF, 0xD0})}, false},
        HeaderSearch{"SegmentBeforeTheFrame", {jpegLsBehind({0xFF, 0xE8, 0, 3, 9})}, true},
        HeaderSearch{"FrameBeyondTheEnd",
                     {joined({kStart, {0xFF, 0xF7, 0, 17, 12, 1, 2, 3, 4, 3, 1, 17}})},
                     false},
        HeaderSearch{"FrameWithoutComponentsInJpegLs",
                     {joined({kStart, {0xFF, 0xF7, 0, 7, 12, 1, 2, 3, 4}, jpegLsScan(2), kEnd})},
                     false},
        HeaderSearch{"ScanOfNoLength", {jpegLsWithScan({0xFF, 0xDA, 0, 2})}, false},
        HeaderSearch{"ScanOfTooManyComponents",
                     {jpegLsWithScan({0xFF, 0xDA, 0, 8, 4, 1, 0, 0, 2, 0})},
                     false},
        HeaderSearch{"ScanWithoutNear", {jpegLsWithScan({0xFF, 0xDA, 0, 5, 1, 1, 0})}, false},
        HeaderSearch{
            "ScanWithoutInterleaving", {jpegLsWithScan({0xFF, 0xDA, 0, 6, 1, 1, 0, 0})}, false},
        HeaderSearch{
            "ScanWithoutItsLastByte", {jpegLsWithScan({0xFF, 0xDA, 0, 7, 1, 1, 0, 0, 2})}, true},
        HeaderSearch{"ScanCutInItsHeader",
                     {joined({kStart, kJpegLsFrame, {0xFF, 0xDA, 0, 8, 1, 1, 0}})},
                     false},
        HeaderSearch{"SamplesEndingInAPrefix",
                     {joined({kStart, kJpegLsFrame, jpegLsScan(2), {0xFF}})},
                     false},
        HeaderSearch{"SamplesEndedByAnyMarker",
                     {joined({kStart, kJpegLsFrame, jpegLsScan(2), {0xFF, 0x80}})},
                     true},
        HeaderSearch{"PlanesBehindOneByLine",
                     {joined({kStart, kJpegLsFrame, jpegLsScan(1), jpegLsScan(0), kEnd})},
                     true}),
    support::nameOf<HeaderSearch>);

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

  Zrg::CodecGuard guard() { return guardOf(*dataset_); }

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
    return guardOf(dataset).frameIsSafe(frame, fragment, 48 * 48);
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

}  // namespace
