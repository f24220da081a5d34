// SPDX-License-Identifier: BSD-3-Clause
// Compressed frames that break decoders which trust them. Each must be refused with a message, with
// nothing read or written where it must not be, and nothing delivered that no decoder wrote.
#include "SliceDecodingFixtures.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using decoding::decodeAll;
using decoding::decodeInto;
using decoding::decodeRange;
using decoding::endlessMarkers;
using decoding::Fragment;
using decoding::Outcome;
using decoding::rleFrame;
using support::ImageBuilder;
using support::monochromeImage;
using support::paletteImage;
using support::rgbImage;

constexpr const char* kWholeRefused = "Pixel data can't be decompressed";
constexpr const char* kFrameRefused = "Error decompressing frames";
constexpr const char* kNothingToRender = "Uncompressed data has size 0";
constexpr const char* kDirectRefused =
    "DcmPixelData::getUncompressedFrame() failed: Pixel representation cannot be changed";
constexpr const char* kTooLarge =
    "pixel data has an unsupported uncompressed size of more than 4GB";

/// A frame of 64 x 64 pixels of one byte: runs of 128 equal bytes.
Fragment wholeStripe() {
  Fragment stripe;
  for (int run = 0; run < 32; ++run) {
    stripe.insert(stripe.end(), {129, static_cast<Uint8>(run)});
  }
  return stripe;
}

/// The last run is of 127 bytes.
Fragment shortStripe() {
  Fragment stripe = wholeStripe();
  stripe[stripe.size() - 2] = 130;
  return stripe;
}

Fragment halfStripe() {
  Fragment stripe = wholeStripe();
  stripe.resize(stripe.size() / 2);
  return stripe;
}

/// The plane is 128 bytes short of full where a control byte says that there is nothing to do.
Fragment with128BeforeTheLastRun() {
  Fragment stripe = wholeStripe();
  stripe.insert(stripe.end() - 2, 128);
  return stripe;
}

// --- RLE

struct RleHazard {
  const char* name;
  std::vector<Fragment> fragments;
  bool wholeRefused;  // decoded together, frames may be spread over fragments
};

class SliceDecodingHostileRle : public testing::TestWithParam<RleHazard> {
protected:
  std::unique_ptr<DcmDataset> encode(const ImageBuilder& builder) {
    return decoding::encapsulate(*builder.build(), EXS_RLELossless, GetParam().fragments);
  }
};

TEST_P(SliceDecodingHostileRle, IsRefusedByFrame) {
  const auto dataset = encode(monochromeImage(64, 64).unsigned8());
  std::vector<unsigned char> target(64 * 64);

  const Outcome outcome = decodeInto(target, *dataset, 0, 0);

  EXPECT_FALSE(outcome.done);
  EXPECT_EQ(outcome.errorText, kFrameRefused);
}

TEST_P(SliceDecodingHostileRle, IsRefusedAsAWholeUnlessItIsWhole) {
  const auto dataset = encode(monochromeImage(64, 64).unsigned8());

  const Outcome outcome = decodeAll(*dataset);

  EXPECT_EQ(outcome.done, !GetParam().wholeRefused) << outcome.errorText;
  EXPECT_EQ(outcome.errorText, GetParam().wholeRefused ? kWholeRefused : "");
}

TEST_P(SliceDecodingHostileRle, IsRefusedForPalettes) {
  const auto dataset = encode(paletteImage(64, 64));

  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, kNothingToRender);
  EXPECT_EQ(decodeAll(*dataset).errorText, GetParam().wholeRefused ? kNothingToRender : "");
}

INSTANTIATE_TEST_SUITE_P(
    Frames, SliceDecodingHostileRle,
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
        RleHazard{"StripeOfHalfAPlane", {rleFrame({64}, {halfStripe()})}, true},
        RleHazard{"StripeOneByteShort", {rleFrame({64}, {shortStripe()})}, true},
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

TEST(SliceDecodingHostile, RleStripesAreFoundInTheFragmentsThatFollow) {
  const Fragment frame = rleFrame({64, 128}, {wholeStripe(), wholeStripe()});
  const auto dataset = decoding::encapsulate(*monochromeImage(64, 64).unsigned16().build(),
                                             EXS_RLELossless, decoding::cut(frame, 100));

  EXPECT_EQ(decodeAll(*dataset).errorText, "");
}

TEST(SliceDecodingHostile, AControlByteOf128IsRefusedInEverySegmentOfColour) {
  const Fragment plane = wholeStripe();
  const Fragment spoilt = with128BeforeTheLastRun();
  for (const std::vector<Fragment>& stripes : {std::vector<Fragment>{spoilt, plane, plane},
                                               {plane, spoilt, plane},
                                               {plane, plane, spoilt}}) {
    const auto first = static_cast<Uint32>(64 + stripes[0].size());
    const auto second = static_cast<Uint32>(first + stripes[1].size());
    const Fragment frame = rleFrame({64, first, second}, stripes);
    for (const Uint16 planar : {Uint16{0}, Uint16{1}}) {
      const auto dataset =
          decoding::encapsulate(*rgbImage(64, 64).planar(planar).build(), EXS_RLELossless, {frame});
      const char* const refused = planar == 0 ? kDirectRefused : kNothingToRender;

      EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, refused);
      EXPECT_EQ(decodeAll(*dataset).errorText, refused);
    }
  }
}

TEST(SliceDecodingHostile, AControlByteOf128BehindAFullSegmentMattersToNobody) {
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
TEST(SliceDecodingHostile, ALiteralRunMayBeCutByTheNextSegment) {
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

TEST(SliceDecodingHostile, RleStripeOutsideItsFragmentIsRefusedForDirectColour) {
  const auto dataset = decoding::encapsulate(
      *rgbImage(64, 64).build(), EXS_RLELossless,
      {rleFrame({64, 128, 0x7FFFFF00}, {wholeStripe(), wholeStripe(), wholeStripe()})});

  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, kDirectRefused);
  EXPECT_EQ(decodeAll(*dataset).errorText, kDirectRefused);
}

TEST(SliceDecodingHostile, RleStripesThatRunBackwardsAreRefused) {
  const auto dataset = decoding::encapsulate(*monochromeImage(64, 64).build(), EXS_RLELossless,
                                             {rleFrame({128, 64}, {wholeStripe(), wholeStripe()})});

  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, kFrameRefused);
  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
}

TEST(SliceDecodingHostile, RleFrameOfASmallerImageIsRefused) {
  const auto small =
      support::compress(*monochromeImage(64, 64).unsigned8().build(), EXS_RLELossless);
  ASSERT_TRUE(small->putAndInsertUint16(DCM_Rows, 256).good());

  EXPECT_EQ(decodeRange(*small, 0, 0).errorText, kFrameRefused);
  EXPECT_EQ(decodeAll(*small).errorText, kWholeRefused);
}

TEST(SliceDecodingHostile, ASecondRleFrameThatIsShortSpoilsTheWholeButNotTheFirst) {
  const auto dataset =
      decoding::encapsulate(*monochromeImage(64, 64).unsigned8().frames(2).build(), EXS_RLELossless,
                            {rleFrame({64}, {wholeStripe()}), rleFrame({64}, {halfStripe()})});

  EXPECT_TRUE(decodeRange(*dataset, 0, 0).done);
  EXPECT_EQ(decodeRange(*dataset, 0, 1).errorText, kFrameRefused);
  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
}

// --- JPEG and JPEG-LS

Fragment jpegOf(const ImageBuilder& builder, E_TransferSyntax syntax) {
  return decoding::fragmentsOf(*support::compress(*builder.build(), syntax))[0];
}

struct JpegHazard {
  const char* name;
  E_TransferSyntax syntax;
  Fragment stream;
};

class SliceDecodingHostileJpeg : public testing::TestWithParam<JpegHazard> {
protected:
  std::unique_ptr<DcmDataset> encode(const ImageBuilder& builder) {
    return decoding::encapsulate(*builder.build(), GetParam().syntax, {GetParam().stream});
  }
};

TEST_P(SliceDecodingHostileJpeg, IsRefusedForMonochrome) {
  const auto dataset = encode(monochromeImage(48, 48).unsigned8());
  std::vector<unsigned char> target(48 * 48);

  EXPECT_EQ(decodeInto(target, *dataset, 0, 0).errorText, kFrameRefused);
  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
}

TEST_P(SliceDecodingHostileJpeg, IsRefusedForPalettes) {
  const auto dataset = encode(paletteImage(48, 48));

  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, kNothingToRender);
  EXPECT_EQ(decodeAll(*dataset).errorText, kNothingToRender);
}

TEST_P(SliceDecodingHostileJpeg, IsRefusedForRgb) {
  const auto dataset = encode(rgbImage(48, 48));
  std::vector<unsigned char> target(48 * 48 * 3);

  const Outcome range = decodeInto(target, *dataset, 0, 0);

  EXPECT_FALSE(range.done);
  EXPECT_EQ(range.errorText, kDirectRefused);
  EXPECT_EQ(decodeAll(*dataset).errorText, kDirectRefused);
}

const ImageBuilder kSmallImage = monochromeImage(24, 24).unsigned8();

INSTANTIATE_TEST_SUITE_P(
    Streams, SliceDecodingHostileJpeg,
    testing::Values(
        JpegHazard{"EndlessMarkers", EXS_JPEGProcess1, endlessMarkers()},
        JpegHazard{"EndlessMarkersInJpegLs", EXS_JPEGLSLossless, endlessMarkers()},
        JpegHazard{"NoImage", EXS_JPEGProcess1, {0, 1, 2, 3}},
        JpegHazard{"Empty", EXS_JPEGProcess14SV1, {}},
        JpegHazard{"StartOfImageOnly", EXS_JPEGProcess14SV1, {0xFF, 0xD8}},
        JpegHazard{"SegmentOfNoLength", EXS_JPEGProcess1, {0xFF, 0xD8, 0xFF, 0xE0, 0, 0, 0, 0}},
        JpegHazard{
            "SegmentBeyondTheEnd", EXS_JPEGProcess1, {0xFF, 0xD8, 0xFF, 0xE0, 0xFF, 0xFF, 0, 0}},
        JpegHazard{"ScanWithoutAFrame",
                   EXS_JPEGProcess1,
                   {0xFF, 0xD8, 0xFF, 0xDA, 0, 8, 1, 1, 0, 0, 63, 0, 0xFF, 0x01}},
        JpegHazard{"SmallerBaseline", EXS_JPEGProcess1, jpegOf(kSmallImage, EXS_JPEGProcess1)},
        JpegHazard{"SmallerLossless", EXS_JPEGProcess14SV1,
                   jpegOf(kSmallImage, EXS_JPEGProcess14SV1)},
        JpegHazard{"SmallerJpegLs", EXS_JPEGLSLossless, jpegOf(kSmallImage, EXS_JPEGLSLossless)}),
    support::nameOf<JpegHazard>);

TEST(SliceDecodingHostile, JpegLsThatEndsInsideItsScanIsRefused) {
  const ImageBuilder builder = monochromeImage(48, 48).unsigned8();
  Fragment stream = jpegOf(builder, EXS_JPEGLSLossless);
  stream.resize(stream.size() / 4 * 2);
  const auto dataset = decoding::encapsulate(*builder.build(), EXS_JPEGLSLossless, {stream});

  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, kFrameRefused);
  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
}

TEST(SliceDecodingHostile, LosslessJpegOfSixteenBitsThatIsCalledBaselineIsRefused) {
  const ImageBuilder builder = monochromeImage(48, 48);
  const auto dataset = decoding::encapsulate(*builder.build(), EXS_JPEGProcess1,
                                             {jpegOf(builder, EXS_JPEGProcess14SV1)});

  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, kFrameRefused);
  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
}

TEST(SliceDecodingHostile, JpegLsInSeveralFragmentsIsReadToItsEnd) {
  const ImageBuilder builder = monochromeImage(48, 48).unsigned8();
  const Fragment whole = jpegOf(builder, EXS_JPEGLSLossless);
  const auto dataset = decoding::encapsulate(*builder.build(), EXS_JPEGLSLossless,
                                             decoding::cut(whole, whole.size() / 4 * 2));

  EXPECT_EQ(decodeAll(*dataset).errorText, "");
}

TEST(SliceDecodingHostile, JpegLsThatWouldEndInTheNextFrameIsRefused) {
  const ImageBuilder builder = monochromeImage(48, 48).unsigned8().frames(2);
  const Fragment whole = jpegOf(builder, EXS_JPEGLSLossless);
  const Fragment half = decoding::cut(whole, whole.size() / 4 * 2)[0];
  const auto dataset = decoding::encapsulate(*builder.build(), EXS_JPEGLSLossless, {half, whole});

  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, kFrameRefused);
  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
}

// The decoder takes what stands before the next start of an image for a frame, be it nothing.
TEST(SliceDecodingHostile, JpegLsFramesOfEmptyFragmentsAreRefused) {
  const ImageBuilder builder = monochromeImage(48, 48).unsigned8().frames(2);
  const Fragment whole = jpegOf(builder, EXS_JPEGLSLossless);
  const auto before =
      decoding::encapsulate(*builder.build(), EXS_JPEGLSLossless, {{}, whole, whole});
  const auto between =
      decoding::encapsulate(*builder.build(), EXS_JPEGLSLossless, {whole, {}, whole});

  EXPECT_EQ(decodeAll(*before).errorText, kWholeRefused);
  EXPECT_EQ(decodeRange(*before, 0, 0).errorText, kFrameRefused);
  EXPECT_EQ(decodeAll(*between).errorText, kWholeRefused);
}

TEST(SliceDecodingHostile, JpegThatPromisesGigabytesIsRefused) {
  const auto dataset = support::compress(*kSmallImage.build(), EXS_JPEGProcess1);
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Rows, 65535).good());
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Columns, 65535).good());

  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, kFrameRefused);
}

TEST(SliceDecodingHostile, JpegOfEightBitsForSamplesOfSixteenIsRefusedByFrame) {
  // Decoded, it would fill half of each frame.
  const auto dataset =
      decoding::encapsulate(*monochromeImage(48, 48).build(), EXS_JPEGProcess1,
                            {jpegOf(monochromeImage(48, 48).unsigned8(), EXS_JPEGProcess1)});

  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, kFrameRefused);
  EXPECT_EQ(decodeAll(*dataset).errorText,
            "Pixel data incomplete, expected 4608 bytes, found 2304 bytes");
}

// Decoded, they would be twice as many as the attributes say, in halves.
TEST(SliceDecodingHostile, SamplesOfMoreBitsThanAreAllocatedAreRefused) {
  for (const E_TransferSyntax syntax : {EXS_JPEGProcess14SV1, EXS_JPEGLSLossless}) {
    const Fragment stream = jpegOf(monochromeImage(48, 48).bitsStored(12), syntax);
    const ImageBuilder grey = monochromeImage(48, 48).unsigned8();
    const auto dataset = decoding::encapsulate(*grey.build(), syntax, {stream});
    const auto storedWider = decoding::encapsulate(
        *ImageBuilder(grey).withUint16(DCM_BitsStored, 12).build(), syntax, {stream});
    const auto palette = decoding::encapsulate(*paletteImage(48, 48).build(), syntax, {stream});
    std::vector<unsigned char> target(48 * 48);

    EXPECT_EQ(decodeInto(target, *dataset, 0, 0).errorText, kFrameRefused);
    EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
    EXPECT_EQ(decodeInto(target, *storedWider, 0, 0).errorText, kFrameRefused);
    EXPECT_EQ(decodeAll(*storedWider).errorText, kWholeRefused);
    EXPECT_EQ(decodeRange(*palette, 0, 0).errorText, kNothingToRender);
    EXPECT_EQ(decodeAll(*palette).errorText, kNothingToRender);
  }
}

TEST(SliceDecodingHostile, ASecondJpegThatIsSmallerSpoilsTheWholeButNotTheFirst) {
  const ImageBuilder builder = monochromeImage(48, 48).unsigned8().frames(2);
  const auto dataset = decoding::encapsulate(
      *builder.build(), EXS_JPEGProcess14SV1,
      {jpegOf(builder, EXS_JPEGProcess14SV1), jpegOf(kSmallImage, EXS_JPEGProcess14SV1)});

  EXPECT_TRUE(decodeRange(*dataset, 0, 0).done);
  EXPECT_EQ(decodeRange(*dataset, 1, 1).errorText, kFrameRefused);
  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
}

Fragment::iterator find(Fragment& stream, const Fragment& marker) {
  const auto found = std::search(stream.begin(), stream.end(), marker.begin(), marker.end());
  if (found == stream.end()) {
    throw std::logic_error("no such marker");
  }
  return found;
}

/// A stream whose frame header is in order and which no decoder can decode: its tables are a comment.
Fragment withoutTables(Fragment stream) {
  *std::next(find(stream, {0xFF, 0xC4})) = 0xFE;
  return stream;
}

/// A lossless stream that says so many bits of its samples.
Fragment ofPrecision(Uint8 precision, Fragment stream) {
  *std::next(find(stream, {0xFF, 0xC3}), 4) = precision;
  return stream;
}

// The decoder of the first would drop the lowest bits of the second.
TEST(SliceDecodingHostile, ASecondJpegOfLongerSamplesSpoilsTheWholeButNotItself) {
  const ImageBuilder builder = monochromeImage(48, 48);
  const Fragment stream = jpegOf(builder, EXS_JPEGProcess14SV1);
  const auto dataset =
      decoding::encapsulate(*monochromeImage(48, 48).frames(2).build(), EXS_JPEGProcess14SV1,
                            {ofPrecision(12, stream), stream});

  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
  EXPECT_TRUE(decodeRange(*dataset, 0, 0).done);
  EXPECT_EQ(decoding::samplesOf(decodeRange(*dataset, 1, 1).slice),
            decoding::numbers(builder.storedSamples()));
}

TEST(SliceDecodingHostile, ASecondJpegOfShorterSamplesIsDecodedAsIfAlone) {
  const Fragment stream = jpegOf(monochromeImage(48, 48), EXS_JPEGProcess14SV1);
  const auto dataset =
      decoding::encapsulate(*monochromeImage(48, 48).frames(2).build(), EXS_JPEGProcess14SV1,
                            {stream, ofPrecision(12, stream)});
  const std::vector<int> alone = decoding::samplesOf(decodeRange(*dataset, 1, 1).slice);

  const Outcome outcome = decodeAll(*dataset);

  ASSERT_TRUE(outcome.done) << outcome.errorText;
  EXPECT_EQ(decoding::frameOf(decoding::samplesOf(outcome.slice), 48 * 48, 1), alone);
}

TEST(SliceDecodingHostile, FramesOfOneDecoderMayDifferInPrecision) {
  const Fragment stream = jpegOf(monochromeImage(48, 48), EXS_JPEGProcess14SV1);
  const auto dataset =
      decoding::encapsulate(*monochromeImage(48, 48).frames(2).build(), EXS_JPEGProcess14SV1,
                            {ofPrecision(13, stream), stream});

  EXPECT_TRUE(decodeAll(*dataset).done);
}

TEST(SliceDecodingHostile, ADecoderThatFailsMidwayLeavesNoSamplesForTheNextCall) {
  const ImageBuilder builder = monochromeImage(48, 48).unsigned8().frames(2);
  const Fragment good = jpegOf(builder, EXS_JPEGProcess14SV1);
  const auto dataset =
      decoding::encapsulate(*builder.build(), EXS_JPEGProcess14SV1, {good, withoutTables(good)});

  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
  EXPECT_EQ(decodeRange(*dataset, 1, 1).errorText, kFrameRefused);
  EXPECT_TRUE(decodeRange(*dataset, 0, 0).done);
}

/// A stream of which nothing is left between the header of its only scan and its end.
Fragment withoutCodedData(Fragment stream) {
  const auto scan = find(stream, {0xFF, 0xDA});
  stream.erase(scan + 2 + scan[3], stream.end());
  stream.insert(stream.end(), {0xFF, 0xD9});
  return stream;
}

/// The stream with other sizes in its frame header, whose marker is given.
Fragment ofSize(Fragment stream, Uint8 marker, Uint16 size) {
  auto field = find(stream, {0xFF, marker}) + 5;
  for (int i = 0; i < 2; ++i) {
    *field++ = static_cast<Uint8>(size >> 8);
    *field++ = static_cast<Uint8>(size & 0xFF);
  }
  return stream;
}

/// The largest address space that the process has had, in KiB.
long peakOfAddressSpace() {
  std::ifstream status("/proc/self/status");
  std::string word;
  long kibibytes = 0;
  while (status >> word && word != "VmPeak:") {
  }
  status >> kibibytes;
  EXPECT_GT(kibibytes, 0);
  return kibibytes;
}

constexpr long kSixtyFourMebibytes = 64L * 1024;

struct Stream {
  const char* name;
  E_TransferSyntax syntax;
  Uint8 marker;  ///< of its frame header
};

class SliceDecodingWithoutCodedData : public testing::TestWithParam<Stream> {
protected:
  static Fragment streamOf(const ImageBuilder& builder) {
    return withoutCodedData(jpegOf(builder, GetParam().syntax));
  }
};

// The decoders of JPEG would make grey of it, with success.
TEST_P(SliceDecodingWithoutCodedData, IsRefused) {
  const ImageBuilder grey = monochromeImage(48, 48).unsigned8();
  const ImageBuilder rgb = rgbImage(48, 48);
  const E_TransferSyntax syntax = GetParam().syntax;
  const auto monochrome = decoding::encapsulate(*grey.build(), syntax, {streamOf(grey)});
  const auto colour = decoding::encapsulate(*rgb.build(), syntax, {streamOf(rgb)});
  const auto palette =
      decoding::encapsulate(*paletteImage(48, 48).build(), syntax, {streamOf(grey)});

  EXPECT_EQ(decodeRange(*monochrome, 0, 0).errorText, kFrameRefused);
  EXPECT_EQ(decodeAll(*monochrome).errorText, kWholeRefused);
  EXPECT_EQ(decodeRange(*palette, 0, 0).errorText, kNothingToRender);
  EXPECT_EQ(decodeAll(*palette).errorText, kNothingToRender);
  EXPECT_EQ(decodeRange(*colour, 0, 0).errorText, kDirectRefused);
  EXPECT_EQ(decodeAll(*colour).errorText, kDirectRefused);
}

// A few hundred bytes whose headers agree on 20,000 x 20,000 pixels.
TEST_P(SliceDecodingWithoutCodedData, TakesNoMemoryForThePromisesOfHeaders) {
  constexpr Uint16 kLarge = 20000;
  const ImageBuilder small = monochromeImage(48, 48).unsigned8();
  const Fragment stream = ofSize(streamOf(small), GetParam().marker, kLarge);
  for (const ImageBuilder& builder : {small, paletteImage(48, 48)}) {
    const auto dataset = decoding::encapsulate(*builder.build(), GetParam().syntax, {stream});
    ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Rows, kLarge).good());
    ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Columns, kLarge).good());
    const long before = peakOfAddressSpace();

    EXPECT_FALSE(decodeRange(*dataset, 0, 0).done);
    EXPECT_FALSE(decodeAll(*dataset).done);

    EXPECT_LT(peakOfAddressSpace() - before, kSixtyFourMebibytes);
  }
}

INSTANTIATE_TEST_SUITE_P(Streams, SliceDecodingWithoutCodedData,
                         testing::Values(Stream{"Baseline", EXS_JPEGProcess1, 0xC0},
                                         Stream{"Extended", EXS_JPEGProcess2_4, 0xC1},
                                         Stream{"Progressive", EXS_JPEGProcess10_12, 0xC2},
                                         Stream{"Lossless", EXS_JPEGProcess14SV1, 0xC3},
                                         Stream{"JpegLs", EXS_JPEGLSLossless, 0xF7}),
                         support::nameOf<Stream>);

TEST(SliceDecodingHostile, RleTakesNoMemoryForThePromisesOfHeaders) {
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

// One frame is there, the fragments of the others hold nothing.
TEST(SliceDecodingHostile, ARangeOfFramesWithoutDataTakesNoMemory) {
  constexpr int kFrames = 400;
  const ImageBuilder grey =
      monochromeImage(1024, 1024).unsigned8().samples(std::vector<int>(1024 * 1024));
  const ImageBuilder rgb = rgbImage(1024, 1024).samples(std::vector<int>(3 * 1024 * 1024));
  for (const ImageBuilder& builder : {grey, rgb}) {
    for (const E_TransferSyntax syntax : {EXS_RLELossless, EXS_JPEGProcess1, EXS_JPEGLSLossless}) {
      std::vector<Fragment> fragments(kFrames);
      fragments[0] = jpegOf(builder, syntax);
      const auto dataset = decoding::encapsulate(
          *ImageBuilder(builder).with(DCM_NumberOfFrames, std::to_string(kFrames)).build(), syntax,
          fragments);
      EXPECT_TRUE(decodeRange(*dataset, 0, 0).done) << syntax;
      const long before = peakOfAddressSpace();

      EXPECT_FALSE(decodeRange(*dataset, 0, kFrames - 1).done) << syntax;

      EXPECT_LT(peakOfAddressSpace() - before, kSixtyFourMebibytes) << syntax;
    }
  }
}

TEST(SliceDecodingHostile, NativeColourOfMoreThanFourGigabytesInSeveralFramesIsRefused) {
  constexpr Uint16 kLarge = 30000;  // 2.7 GB a frame
  const auto dataset = rgbImage(24, 24).frames(2).build();
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Rows, kLarge).good());
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Columns, kLarge).good());
  std::vector<unsigned char> target(24);

  const Outcome all = decodeAll(*dataset);

  EXPECT_EQ(all.errorText, kTooLarge);
  EXPECT_EQ(all.slice.samplesPerPixel, 3);
  EXPECT_EQ(all.slice.bytesPerSample, 1);
  EXPECT_EQ(decodeRange(*dataset, 0, 1).errorText, kTooLarge);
  EXPECT_EQ(decodeInto(target, *dataset, 0, 1).errorText, kTooLarge);
}

// 4 GiB are too many, 196,608 bytes less are not.
TEST(SliceDecodingHostile, NativeColourOfSeveralFramesEndsAtFourGigabytes) {
  const auto dataset = rgbImage(24, 24).frames(2).build();
  std::vector<unsigned char> target(24);
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Columns, 32768).good());
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Rows, 21846).good());
  EXPECT_EQ(decodeInto(target, *dataset, 0, 1).errorText, kTooLarge);

  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Rows, 21845).good());
  EXPECT_NE(decodeInto(target, *dataset, 0, 1).errorText, kTooLarge);
}

void insertIcon(DcmDataset& dataset, const Fragment& stream) {
  DcmItem* icon = nullptr;
  ASSERT_TRUE(dataset.findOrCreateSequenceItem(DCM_IconImageSequence, icon, 0).good());
  const auto image = decoding::encapsulate(*kSmallImage.build(), EXS_JPEGProcess14SV1, {stream});
  for (unsigned long i = 0; i < image->card(); ++i) {
    ASSERT_TRUE(icon->insert(dynamic_cast<DcmElement*>(image->getElement(i)->clone())).good());
  }
}

TEST(SliceDecodingHostile, AnIconThatWouldHangTheDecoderIsRefusedTogetherWithItsImage) {
  const auto dataset = support::compress(*rgbImage(48, 48).build(), EXS_JPEGProcess14SV1);
  insertIcon(*dataset, endlessMarkers());

  EXPECT_EQ(decodeAll(*dataset).errorText, kDirectRefused);
  EXPECT_TRUE(decodeRange(*dataset, 0, 0).done);
}

TEST(SliceDecodingHostile, AnIconThatFailsIsNoHindranceToItsImage) {
  const ImageBuilder builder = rgbImage(48, 48);
  const auto dataset = support::compress(*builder.build(), EXS_JPEGProcess14SV1);
  insertIcon(*dataset, withoutTables(jpegOf(kSmallImage, EXS_JPEGProcess14SV1)));

  const Outcome outcome = decodeAll(*dataset);

  ASSERT_TRUE(outcome.done) << outcome.errorText;
  EXPECT_EQ(decoding::samplesOf(outcome.slice), decoding::numbers(builder.storedSamples()));
}

// --- Sizes that decoders cannot count

/// Two frames that are no larger than others, but say so: each can be counted, both together cannot.
std::unique_ptr<DcmDataset> largeFrames(const ImageBuilder& builder, Uint16 rowsAndColumns) {
  auto dataset = support::compress(*builder.build(), EXS_RLELossless);
  EXPECT_TRUE(dataset->putAndInsertUint16(DCM_Rows, rowsAndColumns).good());
  EXPECT_TRUE(dataset->putAndInsertUint16(DCM_Columns, rowsAndColumns).good());
  return dataset;
}

TEST(SliceDecodingHostile, CompressedFramesOfMoreThanFourGigabytesAreRefused) {
  const auto monochrome = largeFrames(monochromeImage(24, 24).unsigned8().frames(2), 50000);
  const auto colour = largeFrames(rgbImage(24, 24).frames(2), 30000);

  EXPECT_EQ(decodeAll(*monochrome).errorText, kWholeRefused);
  EXPECT_EQ(decodeAll(*colour).errorText, kTooLarge);
  EXPECT_EQ(decodeRange(*colour, 0, 0).errorText, kDirectRefused);
}

// 4,294,967,295 bytes: made even in 32 bits they are none.
TEST(SliceDecodingHostile, CompressedFramesOfAnOddNumberOfBytesBelowFourGigabytesAreRefused) {
  const ImageBuilder line = monochromeImage(65535, 1).unsigned8().samples(std::vector<int>(65535));
  const Fragment stream = jpegOf(line, EXS_JPEGLSLossless);
  const auto dataset =
      decoding::encapsulate(*ImageBuilder(line).with(DCM_NumberOfFrames, "65537").build(),
                            EXS_JPEGLSLossless, std::vector<Fragment>(65537, stream));

  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
}

TEST(SliceDecodingHostile, ARenderedFrameOfMoreThanFourGigabytesIsRefused) {
  const auto dataset = support::compress(*paletteImage(24, 24).build(), EXS_RLELossless);
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Rows, 65535).good());
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Columns, 65535).good());
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_BitsAllocated, 16).good());

  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, kTooLarge);
  EXPECT_EQ(decodeAll(*dataset).errorText, kTooLarge);
}

TEST(SliceDecodingHostile, ColourOfSixteenBitsIsNeverTakenFromTheDecoderDirectly) {
  const auto dataset = decoding::encapsulate(*rgbImage(48, 48).unsigned16().build(),
                                             EXS_JPEGProcess14SV1, {endlessMarkers()});

  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, kNothingToRender);
}

}  // namespace
