// SPDX-License-Identifier: BSD-3-Clause
// JPEG and JPEG-LS frames that break decoders which trust them. Each must be refused with a
// message, with nothing read or written where it must not be, and nothing delivered that no decoder
// wrote.
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
using decoding::endlessMarkers;
using decoding::Outcome;
using streams::find;
using streams::Fragment;
using streams::kDirectRefused;
using streams::kFrameRefused;
using streams::kNothingToRender;
using streams::kWholeRefused;
using streams::streamOf;
using streams::withoutTables;
using support::ImageBuilder;
using support::monochromeImage;
using support::paletteImage;
using support::rgbImage;

struct JpegHazard {
  const char* name;
  E_TransferSyntax syntax;
  Fragment stream;
};

class HostileJpeg : public testing::TestWithParam<JpegHazard> {
protected:
  std::unique_ptr<DcmDataset> encode(const ImageBuilder& builder) {
    return decoding::encapsulate(*builder.build(), GetParam().syntax, {GetParam().stream});
  }
};

TEST_P(HostileJpeg, IsRefusedForMonochrome) {
  const auto dataset = encode(monochromeImage(48, 48).unsigned8());
  std::vector<unsigned char> target(48 * 48);

  EXPECT_EQ(decodeInto(target, *dataset, 0, 0).errorText, kFrameRefused);
  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
}

TEST_P(HostileJpeg, IsRefusedForPalettes) {
  const auto dataset = encode(paletteImage(48, 48));

  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, kNothingToRender);
  EXPECT_EQ(decodeAll(*dataset).errorText, kNothingToRender);
}

TEST_P(HostileJpeg, IsRefusedForRgb) {
  const auto dataset = encode(rgbImage(48, 48));
  std::vector<unsigned char> target(48 * 48 * 3);

  const Outcome range = decodeInto(target, *dataset, 0, 0);

  EXPECT_FALSE(range.done);
  EXPECT_EQ(range.errorText, kDirectRefused);
  EXPECT_EQ(decodeAll(*dataset).errorText, kDirectRefused);
}

const ImageBuilder kSmallImage = monochromeImage(24, 24).unsigned8();

INSTANTIATE_TEST_SUITE_P(
    Streams, HostileJpeg,
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
        JpegHazard{"SmallerBaseline", EXS_JPEGProcess1, streamOf(kSmallImage, EXS_JPEGProcess1)},
        JpegHazard{"SmallerLossless", EXS_JPEGProcess14SV1,
                   streamOf(kSmallImage, EXS_JPEGProcess14SV1)},
        JpegHazard{"SmallerJpegLs", EXS_JPEGLSLossless, streamOf(kSmallImage, EXS_JPEGLSLossless)}),
    support::nameOf<JpegHazard>);

TEST(HostileJpegFrame, LosslessOfSixteenBitsThatIsCalledBaselineIsRefused) {
  const ImageBuilder builder = monochromeImage(48, 48);
  const auto dataset = decoding::encapsulate(*builder.build(), EXS_JPEGProcess1,
                                             {streamOf(builder, EXS_JPEGProcess14SV1)});

  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, kFrameRefused);
  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
}

TEST(HostileJpegFrame, ThatPromisesGigabytesIsRefused) {
  const auto dataset = support::compress(*kSmallImage.build(), EXS_JPEGProcess1);
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Rows, 65535).good());
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Columns, 65535).good());

  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, kFrameRefused);
}

TEST(HostileJpegFrame, OfEightBitsForSamplesOfSixteenIsRefusedByFrame) {
  // Decoded, it would fill half of each frame.
  const auto dataset =
      decoding::encapsulate(*monochromeImage(48, 48).build(), EXS_JPEGProcess1,
                            {streamOf(monochromeImage(48, 48).unsigned8(), EXS_JPEGProcess1)});

  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, kFrameRefused);
  EXPECT_EQ(decodeAll(*dataset).errorText,
            "Pixel data incomplete, expected 4608 bytes, found 2304 bytes");
}

TEST(HostileJpegFrame, SamplesOfMoreBitsThanAreAllocatedAreRefused) {
  for (const E_TransferSyntax syntax : {EXS_JPEGProcess14SV1, EXS_JPEGLSLossless}) {
    const Fragment stream = streamOf(monochromeImage(48, 48).bitsStored(12), syntax);
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

TEST(HostileJpegFrame, ASecondThatIsSmallerSpoilsTheWholeButNotTheFirst) {
  const ImageBuilder builder = monochromeImage(48, 48).unsigned8().frames(2);
  const auto dataset = decoding::encapsulate(
      *builder.build(), EXS_JPEGProcess14SV1,
      {streamOf(builder, EXS_JPEGProcess14SV1), streamOf(kSmallImage, EXS_JPEGProcess14SV1)});

  EXPECT_TRUE(decodeRange(*dataset, 0, 0).done);
  EXPECT_EQ(decodeRange(*dataset, 1, 1).errorText, kFrameRefused);
  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
}

/// A lossless stream that says so many bits of its samples.
Fragment ofPrecision(Uint8 precision, Fragment stream) {
  *std::next(find(stream, {0xFF, 0xC3}), 4) = precision;
  return stream;
}

TEST(HostileJpegFrame, ASecondOfLongerSamplesSpoilsTheWholeButNotItself) {
  const ImageBuilder builder = monochromeImage(48, 48);
  const Fragment stream = streamOf(builder, EXS_JPEGProcess14SV1);
  const auto dataset =
      decoding::encapsulate(*monochromeImage(48, 48).frames(2).build(), EXS_JPEGProcess14SV1,
                            {ofPrecision(12, stream), stream});

  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
  EXPECT_TRUE(decodeRange(*dataset, 0, 0).done);
  EXPECT_EQ(decoding::samplesOf(decodeRange(*dataset, 1, 1).slice),
            decoding::numbers(builder.storedSamples()));
}

TEST(HostileJpegFrame, ASecondOfShorterSamplesIsDecodedAsIfAlone) {
  const Fragment stream = streamOf(monochromeImage(48, 48), EXS_JPEGProcess14SV1);
  const auto dataset =
      decoding::encapsulate(*monochromeImage(48, 48).frames(2).build(), EXS_JPEGProcess14SV1,
                            {stream, ofPrecision(12, stream)});
  const std::vector<int> alone = decoding::samplesOf(decodeRange(*dataset, 1, 1).slice);

  const Outcome outcome = decodeAll(*dataset);

  ASSERT_TRUE(outcome.done) << outcome.errorText;
  EXPECT_EQ(decoding::frameOf(decoding::samplesOf(outcome.slice), 48 * 48, 1), alone);
}

TEST(HostileJpegFrame, FramesOfOneDecoderMayDifferInPrecision) {
  const Fragment stream = streamOf(monochromeImage(48, 48), EXS_JPEGProcess14SV1);
  const auto dataset =
      decoding::encapsulate(*monochromeImage(48, 48).frames(2).build(), EXS_JPEGProcess14SV1,
                            {ofPrecision(13, stream), stream});

  EXPECT_TRUE(decodeAll(*dataset).done);
}

TEST(HostileJpegFrame, ADecoderThatFailsMidwayLeavesNoSamplesForTheNextCall) {
  const ImageBuilder builder = monochromeImage(48, 48).unsigned8().frames(2);
  const Fragment good = streamOf(builder, EXS_JPEGProcess14SV1);
  const auto dataset =
      decoding::encapsulate(*builder.build(), EXS_JPEGProcess14SV1, {good, withoutTables(good)});

  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
  EXPECT_EQ(decodeRange(*dataset, 1, 1).errorText, kFrameRefused);
  EXPECT_TRUE(decodeRange(*dataset, 0, 0).done);
}

}  // namespace
