// SPDX-License-Identifier: BSD-3-Clause
// Colour and palettes: interleaved 8-bit RGB whatever is stored.
#include "SliceDecodingFixtures.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using decoding::decodeAll;
using decoding::decodeInto;
using decoding::decodeRange;
using decoding::frameOf;
using decoding::Outcome;
using decoding::samplesOf;
using support::ImageBuilder;
using support::paletteImage;
using support::rgbImage;

using Bytes = std::vector<int>;

// Two pixels of two frames, all samples different.
const Bytes kTwoFrames = {10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110, 120};

std::unique_ptr<DcmDataset> encode(DcmDataset& native, E_TransferSyntax syntax) {
  return DcmXfer(syntax).isEncapsulated() ? support::compress(native, syntax)
                                          : support::readBack(native, syntax);
}

// --- What comes out is RGB

struct ColourImage {
  const char* name;
  ImageBuilder builder;
  E_TransferSyntax syntax;
  Bytes rgb;
  int tolerance = 0;  // DCMTK rounds down where it computes RGB
};

/// A row is printed by its name, not by its bytes.
void PrintTo(const ColourImage& image, std::ostream* stream) {
  *stream << image.name;
}

void expectNear(const Bytes& samples, const Bytes& expected, int tolerance) {
  ASSERT_EQ(samples.size(), expected.size());
  for (std::size_t i = 0; i < samples.size(); ++i) {
    EXPECT_LE(std::abs(samples[i] - expected[i]), tolerance) << "sample " << i;
  }
}

class SliceDecodingColourOf : public testing::TestWithParam<ColourImage> {
protected:
  std::unique_ptr<DcmDataset> dataset = encode(*GetParam().builder.build(), GetParam().syntax);
};

TEST_P(SliceDecodingColourOf, AllFramesIsInterleavedRgb) {
  const Outcome outcome = decodeAll(*dataset);

  ASSERT_TRUE(outcome.done) << outcome.errorText;
  EXPECT_EQ(outcome.slice.samplesPerPixel, 3U);
  EXPECT_EQ(outcome.slice.bytesPerSample, 1U);
  EXPECT_EQ(outcome.slice.sampleOffset, 0);
  expectNear(samplesOf(outcome.slice), GetParam().rgb, GetParam().tolerance);
}

TEST_P(SliceDecodingColourOf, TheFirstFrameAloneIsTheSame) {
  const Outcome outcome = decodeRange(*dataset, 0, 0);

  ASSERT_TRUE(outcome.done) << outcome.errorText;
  const Bytes rgb = samplesOf(outcome.slice);
  ASSERT_FALSE(rgb.empty());
  expectNear(rgb, frameOf(GetParam().rgb, rgb.size(), 0), GetParam().tolerance);
}

TEST_P(SliceDecodingColourOf, ATargetIsFilledAndNotAByteMore) {
  std::vector<unsigned char> target(GetParam().rgb.size());

  const Outcome outcome = decodeInto(target, *dataset, decoding::kAllFrames, 0);

  ASSERT_TRUE(outcome.done) << outcome.errorText;
  EXPECT_EQ(outcome.slice.buffer, nullptr);
  expectNear(decoding::numbers(target), GetParam().rgb, GetParam().tolerance);
}

TEST_P(SliceDecodingColourOf, APlainItemGivesTheSame) {
  const std::unique_ptr<DcmItem> item = decoding::asItem(*dataset);

  const Outcome outcome = decodeAll(*item);

  ASSERT_TRUE(outcome.done) << outcome.errorText;
  expectNear(samplesOf(outcome.slice), GetParam().rgb, GetParam().tolerance);
}

TEST_P(SliceDecodingColourOf, ASecondTimeIsTheSame) {
  Zrg::SliceImage slice;
  std::string errorText;

  for (int i = 0; i < 2; ++i) {
    ASSERT_TRUE(slice.process(*dataset, errorText, decoding::kAllFrames, 0, nullptr, 0))
        << errorText;
    expectNear(samplesOf(slice), GetParam().rgb, GetParam().tolerance);
  }
}

ImageBuilder twoFramesRgb() {
  return rgbImage(2, 1).samples(kTwoFrames).frames(2);
}

// DCMTK's JPEG-LS encoder writes beyond its buffer for images of a few pixels.
ImageBuilder largeRgb() {
  return rgbImage(20, 14).frames(2);
}

ImageBuilder largeOddRgb() {
  return rgbImage(19, 13);
}

ImageBuilder oddFrameRgb() {
  return rgbImage(1, 1).samples({11, 22, 33});
}

const std::vector<ColourImage> kColourImages = {
    {"RgbImplicit", twoFramesRgb(), EXS_LittleEndianImplicit, kTwoFrames},
    {"RgbExplicit", twoFramesRgb(), EXS_LittleEndianExplicit, kTwoFrames},
    {"RgbBigEndian", twoFramesRgb(), EXS_BigEndianExplicit, kTwoFrames},
    {"RgbDeflated", twoFramesRgb(), EXS_DeflatedLittleEndianExplicit, kTwoFrames},
    {"RgbRle", twoFramesRgb(), EXS_RLELossless, kTwoFrames},
    {"RgbJpegLossless", twoFramesRgb(), EXS_JPEGProcess14SV1, kTwoFrames},
    {"RgbJpegLs", largeRgb(), EXS_JPEGLSLossless, decoding::numbers(largeRgb().storedSamples())},
    {"RgbOddFrame", oddFrameRgb(), EXS_LittleEndianExplicit, {11, 22, 33}},
    {"RgbOddFrameRle", oddFrameRgb(), EXS_RLELossless, {11, 22, 33}},
    {"RgbOddFrameJpegLs", largeOddRgb(), EXS_JPEGLSLossless,
     decoding::numbers(largeOddRgb().storedSamples())},
    {"RgbByPlane",
     rgbImage(2, 1).planar(1).samples({10, 40, 20, 50, 30, 60}),
     EXS_LittleEndianExplicit,
     {10, 20, 30, 40, 50, 60}},
    {"RgbByPlaneRle",
     rgbImage(2, 1).planar(1).samples({10, 40, 20, 50, 30, 60}),
     EXS_RLELossless,
     {10, 20, 30, 40, 50, 60}},
    {"Rgb16Bit",
     rgbImage(2, 1).unsigned16().samples({0x0A00, 0x1400, 0x1E00, 0xFFFF, 0, 0x8000}),
     EXS_LittleEndianExplicit,
     {10, 20, 30, 255, 0, 128}},
    // Grey in YBR_FULL: luminance alone, both differences at their middle.
    {"YbrFullGrey",
     rgbImage(2, 1).photometric("YBR_FULL").samples({7, 128, 128, 200, 128, 128}),
     EXS_LittleEndianExplicit,
     {7, 7, 7, 200, 200, 200},
     1},
    {"YbrFullGreyRle",
     rgbImage(2, 1).photometric("YBR_FULL").samples({7, 128, 128, 200, 128, 128}),
     EXS_RLELossless,
     {7, 7, 7, 200, 200, 200},
     1},
    {"Palette",
     paletteImage(2, 1).samples({0, 200}),
     EXS_LittleEndianExplicit,
     {0, 255, 128, 200, 55, 128}},
    {"PaletteRle",
     paletteImage(2, 1).samples({0, 200}),
     EXS_RLELossless,
     {0, 255, 128, 200, 55, 128}},
    {"PaletteOddFrame", paletteImage(1, 1).samples({5}), EXS_LittleEndianImplicit, {5, 250, 128}},
};

INSTANTIATE_TEST_SUITE_P(Images, SliceDecodingColourOf, testing::ValuesIn(kColourImages),
                         support::nameOf<ColourImage>);

TEST(SliceDecodingColour, OfLossyJpegIsNearTheOriginal) {
  std::vector<int> samples;
  for (int i = 0; i < 16 * 16; ++i) {  // soft ramps: what JPEG keeps well
    samples.insert(samples.end(), {i / 2, 255 - i / 2, 100});
  }
  const auto dataset =
      support::compress(*rgbImage(16, 16).samples(samples).build(), EXS_JPEGProcess1);

  const Outcome range = decodeRange(*dataset, 0, 0);
  const Outcome all = decodeAll(*dataset);

  ASSERT_TRUE(range.done) << range.errorText;
  ASSERT_TRUE(all.done) << all.errorText;
  EXPECT_TRUE(all.slice.lossy);
  const Bytes rgb = samplesOf(all.slice);
  EXPECT_EQ(samplesOf(range.slice), rgb);
  expectNear(rgb, samples, 24);
}

// --- Ranges of frames

struct Syntax {
  const char* name;
  E_TransferSyntax syntax;
};

class SliceDecodingColourRange : public testing::TestWithParam<Syntax> {};

TEST_P(SliceDecodingColourRange, OfRenderedFramesGivesThoseFrames) {
  constexpr int kPixels = 20 * 14;
  const auto dataset = encode(*paletteImage(20, 14).frames(3).build(), GetParam().syntax);

  const Outcome outcome = decodeRange(*dataset, 1, 2);

  ASSERT_TRUE(outcome.done) << outcome.errorText;
  EXPECT_EQ(outcome.slice.extent.z, 2);
  Bytes expected;
  for (int i = kPixels; i < 3 * kPixels; ++i) {
    expected.insert(expected.end(), {i % 256, 255 - i % 256, 128});
  }
  EXPECT_EQ(samplesOf(outcome.slice), expected);
}

INSTANTIATE_TEST_SUITE_P(Syntaxes, SliceDecodingColourRange,
                         testing::Values(Syntax{"Native", EXS_LittleEndianExplicit},
                                         Syntax{"Rle", EXS_RLELossless},
                                         Syntax{"JpegLs", EXS_JPEGLSLossless},
                                         Syntax{"JpegLossless", EXS_JPEGProcess14SV1}),
                         support::nameOf<Syntax>);

TEST(SliceDecodingColour, RangeOfNativeFramesGivesThoseFrames) {
  const auto dataset = twoFramesRgb().build();

  EXPECT_EQ(samplesOf(decodeRange(*dataset, 1, 1).slice), frameOf(kTwoFrames, 6, 1));
}

// The direct way is meant for single frames and always takes the first one.
TEST(SliceDecodingColour, RangeOfDirectlyDecodedFramesRepeatsTheFirstFrameOfTheDataset) {
  for (const E_TransferSyntax syntax :
       {EXS_RLELossless, EXS_JPEGProcess14SV1, EXS_JPEGLSLossless}) {
    const auto builder = rgbImage(10, 10).frames(3);
    const auto dataset = support::compress(*builder.build(), syntax);
    const Bytes first = frameOf(decoding::numbers(builder.storedSamples()), 300, 0);

    const Outcome outcome = decodeRange(*dataset, 1, 2);

    ASSERT_TRUE(outcome.done) << outcome.errorText;
    EXPECT_EQ(outcome.slice.extent.z, 2);
    EXPECT_EQ(frameOf(samplesOf(outcome.slice), 300, 0), first);
    EXPECT_EQ(frameOf(samplesOf(outcome.slice), 300, 1), first);
  }
}

// --- Memory and attributes

TEST(SliceDecodingColour, GivesTheItemAPlanarConfigurationWhenItHasNone) {
  const auto dataset = rgbImage(2, 1).without(DCM_PlanarConfiguration).build();

  ASSERT_TRUE(decodeAll(*dataset).done);

  Uint16 configuration = 7;
  ASSERT_TRUE(dataset->findAndGetUint16(DCM_PlanarConfiguration, configuration).good());
  EXPECT_EQ(configuration, 0);
}

TEST(SliceDecodingColour, KeepsThePlanarConfigurationOfTheItem) {
  const auto dataset = rgbImage(2, 1).planar(1).build();

  ASSERT_TRUE(decodeAll(*dataset).done);

  Uint16 configuration = 7;
  ASSERT_TRUE(dataset->findAndGetUint16(DCM_PlanarConfiguration, configuration).good());
  EXPECT_EQ(configuration, 1);
}

TEST(SliceDecodingColour, KeepsRescaleAndWindowAndReadsNoModalityLut) {
  support::DatasetBuilder lut;
  lut.withUint16s(DCM_LUTDescriptor, {2, 0, 16}).withWords(DCM_LUTData, {1000, 2000});
  const auto dataset = rgbImage(1, 1)
                           .samples({1, 2, 3})
                           .rescale("2", "3")
                           .window("40", "80")
                           .withItem(DCM_ModalityLUTSequence, lut)
                           .build();

  const Outcome outcome = decodeAll(*dataset);

  EXPECT_EQ(outcome.slice.rescale, KtVec2f(2, 3));
  EXPECT_EQ(outcome.slice.voiWindow, KtVec2f(40, 80));
  EXPECT_EQ(outcome.slice.sampleOffset, 0);
  EXPECT_EQ(samplesOf(outcome.slice), (Bytes{1, 2, 3}));
}

TEST(SliceDecodingColour, BurnsNoOverlayIn) {
  const auto dataset = paletteImage(2, 1)
                           .samples({0, 200})
                           .overlayPlane(0x6000, 0)
                           .withBytes(DcmTagKey(0x6000, 0x3000), {0xFF, 0xFF})
                           .build();

  EXPECT_EQ(samplesOf(decodeAll(*dataset).slice), (Bytes{0, 255, 128, 200, 55, 128}));
}

TEST(SliceDecodingColour, OwnsItsMemoryWhenThereIsNoTarget) {
  auto dataset = rgbImage(1, 1).samples({1, 2, 3}).build();

  const Outcome outcome = decodeAll(*dataset);
  dataset.reset();

  EXPECT_EQ(outcome.slice.data, nullptr);
  ASSERT_NE(outcome.slice.buffer, nullptr);
  EXPECT_EQ(samplesOf(outcome.slice), (Bytes{1, 2, 3}));
}

TEST(SliceDecodingColour, WritesIntoTheMemoryThatTheSliceHas) {
  const auto dataset = rgbImage(1, 1).samples({1, 2, 3}).build();
  std::vector<unsigned char> own(4, 0x5A);
  std::vector<unsigned char> target(1, 0x5A);
  Zrg::SliceImage slice;
  slice.data = reinterpret_cast<char*>(own.data());
  std::string errorText;

  ASSERT_TRUE(
      slice.process(*dataset, errorText, decoding::kAllFrames, 0, target.data(), target.size()));

  EXPECT_EQ(own, (std::vector<unsigned char>{1, 2, 3, 0x5A}));
  EXPECT_EQ(target, std::vector<unsigned char>(1, 0x5A));
}

TEST(SliceDecodingColour, HonoursTheFrameOffsetOfTheSlice) {
  const auto dataset = rgbImage(1, 1).samples({1, 2, 3}).build();
  std::vector<unsigned char> own(8, 0x5A);
  Zrg::SliceImage slice;
  slice.data = reinterpret_cast<char*>(own.data());
  slice.frameOffset = 4;
  std::string errorText;

  ASSERT_TRUE(slice.process(*dataset, errorText, decoding::kAllFrames, 0, nullptr, 0));

  EXPECT_EQ(own, (std::vector<unsigned char>{0x5A, 0x5A, 0x5A, 0x5A, 1, 2, 3, 0x5A}));
}

TEST(SliceDecodingColour, PutsSuccessiveFramesInSuccessiveCellsOfTheSamples) {
  const auto dataset = twoFramesRgb().build();

  const Outcome outcome = decodeAll(*dataset);

  EXPECT_EQ(outcome.slice.extent, KtVec3l(2, 1, 2));
  EXPECT_EQ(samplesOf(outcome.slice), kTwoFrames);
}

// --- What goes wrong

TEST(SliceDecodingColour, RefusesATargetThatIsOneByteTooSmallAndLeavesItAlone) {
  const auto dataset = twoFramesRgb().build();
  std::vector<unsigned char> target(11, 0x5A);

  const Outcome outcome = decodeInto(target, *dataset, decoding::kAllFrames, 0);

  EXPECT_FALSE(outcome.done);
  EXPECT_EQ(outcome.errorText, "Invalid target size: buffer 11 bytes, required 12 bytes");
  EXPECT_EQ(target, std::vector<unsigned char>(11, 0x5A));
}

TEST(SliceDecodingColour, RefusesATargetTooSmallForDirectlyDecodedFrames) {
  const auto dataset = support::compress(*twoFramesRgb().build(), EXS_RLELossless);
  std::vector<unsigned char> target(5, 0x5A);

  const Outcome outcome = decodeInto(target, *dataset, 0, 0);

  EXPECT_EQ(outcome.errorText, "Invalid target size: buffer 5 bytes, required 6 bytes");
  EXPECT_EQ(target, std::vector<unsigned char>(5, 0x5A));
}

TEST(SliceDecodingColour, LeavesTheRestOfALargerTargetAlone) {
  const auto dataset = rgbImage(1, 1).samples({1, 2, 3}).build();
  std::vector<unsigned char> target(5, 0x5A);

  ASSERT_TRUE(decodeInto(target, *dataset, 0, 0).done);

  EXPECT_EQ(target, (std::vector<unsigned char>{1, 2, 3, 0x5A, 0x5A}));
}

TEST(SliceDecodingColour, NeedsADatasetOrItemToOpen) {
  // Meta information can hold the same elements, but no image.
  DcmMetaInfo metaInfo;
  const auto image = rgbImage(1, 1).build();
  for (unsigned long i = 0; i < image->card(); ++i) {
    ASSERT_TRUE(metaInfo.insert(dynamic_cast<DcmElement*>(image->getElement(i)->clone())).good());
  }

  EXPECT_EQ(decodeAll(metaInfo).errorText, "Unable to create valid DiDocument object");
}

TEST(SliceDecodingColour, FindsNoPixelDataInAnEmptyElement) {
  const auto dataset = rgbImage(2, 2).build();
  ASSERT_TRUE(dataset->putAndInsertUint8Array(DCM_PixelData, nullptr, 0).good());

  EXPECT_EQ(decodeAll(*dataset).errorText, "Unable to locate DcmPixelData in DiDocument object");
}

TEST(SliceDecodingColour, RefusesWhatCannotBeRendered) {
  const auto dataset = rgbImage(2, 2).photometric("HSL").build();

  EXPECT_EQ(decodeAll(*dataset).errorText, "Uncompressed data has size 0");
}

TEST(SliceDecodingColour, RefusesBitsOutsideTheSamples) {
  const auto dataset = rgbImage(2, 2).withUint16(DCM_HighBit, 40).build();

  EXPECT_EQ(decodeAll(*dataset).errorText, "Uncompressed data has size 0");
  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, "Uncompressed data has size 0");
}

TEST(SliceDecodingColour, DeliversNothingThatIsNotRgbAfterAll) {
  // Grey JPEG under colour attributes: the decoder makes the image monochrome, a third of the size.
  const auto grey =
      support::compress(*support::monochromeImage(16, 16).unsigned8().build(), EXS_JPEGProcess1);
  ASSERT_TRUE(grey->putAndInsertString(DCM_PhotometricInterpretation, "YBR_FULL").good());

  EXPECT_EQ(decodeAll(*grey).errorText, "DicomImage::getOutputData() failed");
}

ImageBuilder subsampledImage(Uint16 columns, Uint16 rows) {
  ImageBuilder builder = rgbImage(columns, rows);
  builder.photometric("YBR_FULL_422");
  return builder;
}

TEST(SliceDecodingColour, SharesColourBetweenPairsOfPixels) {
  const auto dataset = subsampledImage(2, 1).build();
  const std::vector<Uint8> grey = {10, 200, 128, 128};
  ASSERT_TRUE(dataset->putAndInsertUint8Array(DCM_PixelData, grey.data(), grey.size()).good());

  const Outcome outcome = decodeAll(*dataset);

  ASSERT_TRUE(outcome.done) << outcome.errorText;
  expectNear(samplesOf(outcome.slice), {10, 10, 10, 200, 200, 200}, 1);
}

TEST(SliceDecodingColour, RefusesPixelsThatHaveNoPartnerToShareColourWith) {
  const auto odd = subsampledImage(3, 1).build();
  const auto tooShort = subsampledImage(4, 1).build();
  const std::vector<Uint8> threePixels = {10, 200, 128, 128, 7, 7};
  ASSERT_TRUE(tooShort->putAndInsertUint8Array(DCM_PixelData, threePixels.data(), 6).good());

  EXPECT_EQ(decodeAll(*odd).errorText, "DicomImage::getOutputData() failed");
  EXPECT_EQ(decodeRange(*odd, 0, 0).errorText, "DicomImage::getOutputData() failed");
  EXPECT_EQ(decodeAll(*tooShort).errorText, "DicomImage::getOutputData() failed");
  EXPECT_EQ(decodeRange(*tooShort, 0, 0).errorText, "Uncompressed data has size 0");
}

TEST(SliceDecodingColour, RefusesPartnersThatAreMissingBehindOddBits) {
  // DCMTK takes any length for enough when samples are no whole bytes.
  const auto tooShort = subsampledImage(4, 1)
                            .withUint16(DCM_BitsAllocated, 7)
                            .withUint16(DCM_BitsStored, 7)
                            .withUint16(DCM_HighBit, 6)
                            .build();
  const std::vector<Uint8> threePixels = {10, 20, 30, 40, 7, 7};
  ASSERT_TRUE(tooShort->putAndInsertUint8Array(DCM_PixelData, threePixels.data(), 6).good());

  EXPECT_EQ(decodeRange(*tooShort, 0, 0).errorText, "DicomImage::getOutputData() failed");
}

ImageBuilder longSamples(ImageBuilder image) {
  return image.withUint16(DCM_BitsAllocated, 32)
      .withUint16(DCM_BitsStored, 32)
      .withUint16(DCM_HighBit, 31);
}

TEST(SliceDecodingColour, TakesTheHighestBitsOfLongSamples) {
  const auto dataset = longSamples(rgbImage(2, 1)).build();
  const std::vector<Uint16> words = {0, 0x1100, 0, 0x2200, 0, 0x3300, 0, 0xFF00, 0, 0, 0, 0x8000};
  ASSERT_TRUE(dataset->putAndInsertUint16Array(DCM_PixelData, words.data(), words.size()).good());

  const Outcome outcome = decodeAll(*dataset);

  ASSERT_TRUE(outcome.done) << outcome.errorText;
  EXPECT_EQ(samplesOf(outcome.slice), (Bytes{0x11, 0x22, 0x33, 0xFF, 0, 0x80}));
}

// DCMTK runs away over such a sample, through all of the memory that it can reach.
TEST(SliceDecodingColour, RefusesLongSamplesThatEndWithinOne) {
  const auto dataset =
      longSamples(subsampledImage(2, 2)).withUint16(DCM_SamplesPerPixel, 1).build();
  const std::vector<Uint16> words(35, 0x0707);
  ASSERT_TRUE(dataset->putAndInsertUint16Array(DCM_PixelData, words.data(), words.size()).good());

  EXPECT_EQ(decodeAll(*dataset).errorText, "Uncompressed data has size 0");
  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, "Uncompressed data has size 0");
}

TEST(SliceDecodingColour, SharesColourInARangeBeforeSamplesThatAreMissing) {
  const auto dataset = subsampledImage(2, 1).frames(2).build();
  const std::vector<Uint8> pairAndHalf = {10, 200, 128, 128, 7, 7};
  ASSERT_TRUE(dataset->putAndInsertUint8Array(DCM_PixelData, pairAndHalf.data(), 6).good());

  const Outcome first = decodeRange(*dataset, 0, 0);
  const Outcome second = decodeRange(*dataset, 1, 1);

  ASSERT_TRUE(first.done) << first.errorText;
  expectNear(samplesOf(first.slice), {10, 10, 10, 200, 200, 200}, 1);
  EXPECT_EQ(second.errorText, "Uncompressed data has size 0");
}

TEST(SliceDecodingColour, DoesNotTakeFramesOfOneSampleForRgb) {
  // DCMTK does not know the interpretation and so cannot object to its single sample.
  const auto grey =
      support::compress(*support::monochromeImage(16, 16).unsigned8().build(), EXS_JPEGProcess1);
  ASSERT_TRUE(grey->putAndInsertString(DCM_PhotometricInterpretation, "HSL").good());

  EXPECT_FALSE(decodeRange(*grey, 0, 0).done);
}

TEST(SliceDecodingColour, SaysWhyADecoderRefusedAFrame) {
  const auto dataset =
      decoding::encapsulate(*rgbImage(2, 2).build(), EXS_JPEG2000LosslessOnly, {{1, 2, 3, 4}});

  EXPECT_EQ(decodeAll(*dataset).errorText,
            "DcmPixelData::getUncompressedFrame() failed: Pixel representation cannot be changed");
  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText,
            "DcmPixelData::getUncompressedFrame() failed: Pixel representation cannot be changed");
}

TEST(SliceDecodingColour, FailsAtAFrameThatIsNotThere) {
  // The number is -1 for DCMTK, which takes it for one frame, and 65535 in 16 bits.
  const auto dataset = rgbImage(2, 2).with(DCM_NumberOfFrames, "-1").build();

  EXPECT_EQ(decodeAll(*dataset).errorText, "DicomImage::getOutputData() failed");
}

TEST(SliceDecodingColour, NamesTheSizeWhenAFrameOfALargeImageIsNotThere) {
  // 65535 frames of 150 x 150 are more than 4 GiB; there is one, and memory for one.
  const auto dataset = rgbImage(150, 150).with(DCM_NumberOfFrames, "-1").build();
  std::vector<unsigned char> own(150 * 150 * 3);
  Zrg::SliceImage slice;
  slice.data = reinterpret_cast<char*>(own.data());
  std::string errorText;

  EXPECT_FALSE(slice.process(*dataset, errorText, decoding::kAllFrames, 0, nullptr, 0));

  EXPECT_EQ(errorText, "pixel data has an unsupported uncompressed size of more than 4GB");
}

TEST(SliceDecodingColour, LeavesTheSampleLayoutOfMonochromeToMonochrome) {
  const auto colour = rgbImage(2, 1).build();
  const auto monochrome = support::monochromeImage(2, 1).samples({3, 4}).build();
  Zrg::SliceImage slice;
  std::string errorText;
  ASSERT_TRUE(slice.process(*colour, errorText, decoding::kAllFrames, 0, nullptr, 0));

  ASSERT_TRUE(slice.process(*monochrome, errorText, decoding::kAllFrames, 0, nullptr, 0));

  EXPECT_EQ(slice.samplesPerPixel, 1U);
  EXPECT_EQ(slice.bytesPerSample, 2U);
  EXPECT_EQ(samplesOf(slice), (Bytes{3, 4}));
}

}  // namespace
