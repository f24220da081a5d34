// SPDX-License-Identifier: BSD-3-Clause
// Monochrome samples as they are stored: every transfer syntax, size and sign, whole and by frame,
// into memory of the slice, of the item and of the caller.
#include "SliceDecodingFixtures.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using decoding::decodeAll;
using decoding::decodeInto;
using decoding::decodeRange;
using decoding::frameOf;
using decoding::numbers;
using decoding::Outcome;
using decoding::Samples;
using decoding::samplesOf;
using support::ImageBuilder;
using support::monochromeImage;
using testing::Combine;
using testing::ValuesIn;

constexpr unsigned int kFrames = 3;

std::unique_ptr<DcmDataset> encode(DcmDataset& native, E_TransferSyntax syntax) {
  return DcmXfer(syntax).isEncapsulated() ? support::compress(native, syntax)
                                          : support::readBack(native, syntax);
}

// --- Every lossless syntax with every kind of sample

struct Syntax {
  const char* name;
  E_TransferSyntax syntax;
};

struct Image {
  const char* name;
  std::size_t bytesPerSample;
  ImageBuilder builder;
};

const std::vector<Syntax> kLosslessSyntaxes = {{"ImplicitLittleEndian", EXS_LittleEndianImplicit},
                                               {"ExplicitLittleEndian", EXS_LittleEndianExplicit},
                                               {"ExplicitBigEndian", EXS_BigEndianExplicit},
                                               {"Deflated", EXS_DeflatedLittleEndianExplicit},
                                               {"Rle", EXS_RLELossless},
                                               {"JpegLossless", EXS_JPEGProcess14},
                                               {"JpegLosslessFirstOrder", EXS_JPEGProcess14SV1},
                                               {"JpegLs", EXS_JPEGLSLossless}};

// Not smaller: DCMTK's JPEG-LS encoder writes beyond its buffer for images of a few pixels.
std::vector<Image> images() {
  return {
      {"Unsigned8", 1, monochromeImage(20, 14).unsigned8().frames(kFrames)},
      {"Unsigned8OddFrame", 1, monochromeImage(19, 13).unsigned8().frames(kFrames)},
      {"Signed8", 1, monochromeImage(20, 14).signed8().frames(kFrames)},
      {"Unsigned16", 2, monochromeImage(19, 13).unsigned16().frames(kFrames)},
      {"Unsigned12Of16", 2, monochromeImage(80, 60).unsigned16().bitsStored(12).frames(kFrames)},
      {"Signed16", 2, monochromeImage(19, 13).signed16().frames(kFrames)},
      {"Monochrome1", 2, monochromeImage(20, 14).photometric("MONOCHROME1").frames(kFrames)},
  };
}

class SliceDecodingLossless : public testing::TestWithParam<std::tuple<Syntax, Image>> {
protected:
  SliceDecodingLossless()
      : dataset(encode(*builder().build(), std::get<Syntax>(GetParam()).syntax)) {}

  static const ImageBuilder& builder() { return std::get<Image>(GetParam()).builder; }

  std::unique_ptr<DcmDataset> dataset;
  const std::vector<int> stored = numbers(builder().storedSamples());
  const std::size_t frameSize = stored.size() / kFrames;
};

TEST_P(SliceDecodingLossless, GivesAllFramesAsTheyWereStored) {
  const Outcome outcome = decodeAll(*dataset, Samples::Stored);

  ASSERT_TRUE(outcome.done) << outcome.errorText;
  EXPECT_EQ(outcome.slice.samplesPerPixel, 1U);
  EXPECT_EQ(outcome.slice.extent.z, kFrames);
  EXPECT_EQ(samplesOf(outcome.slice), stored);
}

TEST_P(SliceDecodingLossless, GivesEachFrameAloneAsItWasStored) {
  for (unsigned int frame = 0; frame < kFrames; ++frame) {
    const int number = static_cast<int>(frame);

    const Outcome outcome = decodeRange(*dataset, number, number, Samples::Stored);

    ASSERT_TRUE(outcome.done) << outcome.errorText;
    EXPECT_EQ(outcome.slice.extent.z, 1);
    EXPECT_EQ(samplesOf(outcome.slice), frameOf(stored, frameSize, frame)) << "frame " << frame;
  }
}

TEST_P(SliceDecodingLossless, GivesARangeOfFrames) {
  const Outcome outcome = decodeRange(*dataset, 1, 2, Samples::Stored);

  ASSERT_TRUE(outcome.done) << outcome.errorText;
  const std::vector<int> samples = samplesOf(outcome.slice);
  EXPECT_EQ(frameOf(samples, frameSize, 0), frameOf(stored, frameSize, 1));
  EXPECT_EQ(frameOf(samples, frameSize, 1), frameOf(stored, frameSize, 2));
}

TEST_P(SliceDecodingLossless, FillsATargetAndNotAByteMore) {
  std::vector<unsigned char> target(stored.size() * std::get<Image>(GetParam()).bytesPerSample);

  Outcome outcome = decodeInto(target, *dataset, 0, kFrames - 1);

  ASSERT_TRUE(outcome.done) << outcome.errorText;
  EXPECT_EQ(outcome.slice.buffer, nullptr);
  outcome.slice.data = reinterpret_cast<char*>(target.data());
  EXPECT_EQ(samplesOf(outcome.slice), stored);
}

TEST_P(SliceDecodingLossless, GivesTheSameFromAPlainItem) {
  const std::unique_ptr<DcmItem> item = decoding::asItem(*dataset);

  const Outcome range = decodeRange(*item, 0, kFrames - 1, Samples::Stored);
  const Outcome all = decodeAll(*item, Samples::Stored);

  ASSERT_TRUE(range.done) << range.errorText;
  ASSERT_TRUE(all.done) << all.errorText;
  EXPECT_EQ(samplesOf(range.slice), stored);
  EXPECT_EQ(samplesOf(all.slice), stored);
}

TEST_P(SliceDecodingLossless, GivesTheSameWhenTheSliceIsUsedAgain) {
  Zrg::SliceImage slice;
  slice.convertSamples = false;
  std::string errorText;

  for (const int first : {decoding::kAllFrames, 0, decoding::kAllFrames}) {
    ASSERT_TRUE(slice.process(*dataset, errorText, first, kFrames - 1, nullptr, 0)) << errorText;
    EXPECT_EQ(samplesOf(slice), stored);
  }
}

std::string nameOfPair(const testing::TestParamInfo<std::tuple<Syntax, Image>>& info) {
  return std::string(std::get<Syntax>(info.param).name) + std::get<Image>(info.param).name;
}

INSTANTIATE_TEST_SUITE_P(Syntaxes, SliceDecodingLossless,
                         Combine(ValuesIn(kLosslessSyntaxes), ValuesIn(images())), nameOfPair);

// --- Lossy syntaxes: near the original, and the same whole and by frame

class SliceDecodingLossy : public testing::TestWithParam<Syntax> {};

TEST_P(SliceDecodingLossy, GivesSamplesNearTheOriginal) {
  constexpr int kTolerance = 8;  // quality 90, or near-lossless with an error of 2
  const ImageBuilder builder = monochromeImage(16, 16).unsigned8().frames(2);
  const auto dataset = support::compress(*builder.build(), GetParam().syntax);
  const std::vector<int> original = numbers(builder.storedSamples());

  const Outcome byFrame = decodeRange(*dataset, 0, 1, Samples::Stored);
  const Outcome whole = decodeAll(*dataset, Samples::Stored);

  ASSERT_TRUE(byFrame.done) << byFrame.errorText;
  ASSERT_TRUE(whole.done) << whole.errorText;
  const std::vector<int> samples = samplesOf(whole.slice);
  EXPECT_EQ(samplesOf(byFrame.slice), samples);
  ASSERT_EQ(samples.size(), original.size());
  for (std::size_t i = 0; i < samples.size(); ++i) {
    EXPECT_LE(std::abs(samples[i] - original[i]), kTolerance) << "sample " << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Syntaxes, SliceDecodingLossy,
                         testing::Values(Syntax{"JpegBaseline", EXS_JPEGProcess1},
                                         Syntax{"JpegLsNearLossless", EXS_JPEGLSLossy}),
                         support::nameOf<Syntax>);

// --- Where the samples are

TEST(SliceDecodingMonochrome, PointsIntoTheItemsOwnElementForAllFrames) {
  const auto dataset = monochromeImage(2, 2).build();
  std::vector<unsigned char> unused(3, 0x77);
  Zrg::SliceImage slice;
  std::string errorText;

  ASSERT_TRUE(
      slice.process(*dataset, errorText, decoding::kAllFrames, 0, unused.data(), unused.size()));

  const Uint16* words = nullptr;
  ASSERT_TRUE(dataset->findAndGetUint16Array(DCM_PixelData, words).good());
  EXPECT_EQ(slice.data, reinterpret_cast<const char*>(words));
  EXPECT_EQ(slice.buffer, nullptr);
  EXPECT_EQ(unused, std::vector<unsigned char>(3, 0x77));
}

TEST(SliceDecodingMonochrome, OwnsTheMemoryOfARangeOfFrames) {
  auto dataset = monochromeImage(2, 1).samples({7, 9}).build();

  const Outcome outcome = decodeRange(*dataset, 0, 0);
  dataset.reset();

  ASSERT_NE(outcome.slice.buffer, nullptr);
  EXPECT_EQ(outcome.slice.data, outcome.slice.buffer.get());
  EXPECT_EQ(samplesOf(outcome.slice), (std::vector<int>{7, 9}));
}

TEST(SliceDecodingMonochrome, TakesNewMemoryForEveryRangeOfFrames) {
  const auto first = monochromeImage(2, 1).samples({7, 9}).build();
  const auto second = monochromeImage(2, 1).samples({1, 2}).build();
  Zrg::SliceImage slice;
  std::string errorText;
  ASSERT_TRUE(slice.process(*first, errorText, 0, 0, nullptr, 0));
  const Zrg::SliceImage copy = slice;

  ASSERT_TRUE(slice.process(*second, errorText, 0, 0, nullptr, 0));

  EXPECT_EQ(samplesOf(copy), (std::vector<int>{7, 9}));
  EXPECT_EQ(samplesOf(slice), (std::vector<int>{1, 2}));
}

TEST(SliceDecodingMonochrome, DoesNotPointAtReleasedMemoryWhenALaterRangeFails) {
  const auto good = monochromeImage(2, 1).build();
  const auto bad = monochromeImage(2, 2).samples({1, 2}).withUint16(DCM_Rows, 200).build();
  Zrg::SliceImage slice;
  std::string errorText;
  ASSERT_TRUE(slice.process(*good, errorText, 0, 0, nullptr, 0));

  ASSERT_FALSE(slice.process(*bad, errorText, 0, 0, nullptr, 0));

  EXPECT_EQ(slice.data, nullptr);
}

TEST(SliceDecodingMonochrome, DecodesASinglePixelOfOneByte) {
  const auto dataset = monochromeImage(1, 1).unsigned8().samples({200}).build();
  std::vector<unsigned char> target(1);

  const Outcome outcome = decodeInto(target, *dataset, 0, 0);

  ASSERT_TRUE(outcome.done) << outcome.errorText;
  EXPECT_EQ(target, std::vector<unsigned char>{200});
}

TEST(SliceDecodingMonochrome, DecodesOnlyTheFirstFrameOfARangeThatRunsBackwards) {
  const ImageBuilder builder = monochromeImage(2, 2).frames(10);
  const auto dataset = builder.build();

  const Outcome outcome = decodeRange(*dataset, 5, 2, Samples::Stored);

  EXPECT_EQ(outcome.slice.extent.z, 1);
  EXPECT_EQ(samplesOf(outcome.slice), frameOf(numbers(builder.storedSamples()), 4, 5));
}

TEST(SliceDecodingMonochrome, DecodesTheLastFrameWhenTheRangeLiesBeyond) {
  const ImageBuilder builder = monochromeImage(2, 2).frames(10);
  const auto dataset = builder.build();

  const Outcome outcome = decodeRange(*dataset, 20, 25, Samples::Stored);

  EXPECT_EQ(outcome.slice.extent.z, 1);
  EXPECT_EQ(samplesOf(outcome.slice), frameOf(numbers(builder.storedSamples()), 4, 9));
}

TEST(SliceDecodingMonochrome, DecodesANestedItem) {
  const ImageBuilder icon = monochromeImage(3, 2).unsigned8();
  const auto dataset = monochromeImage(1, 1).build();
  DcmItem* nested = nullptr;
  ASSERT_TRUE(dataset->findOrCreateSequenceItem(DCM_IconImageSequence, nested, 0).good());
  const auto image = icon.buildItem();
  for (unsigned long i = 0; i < image->card(); ++i) {
    ASSERT_TRUE(nested->insert(dynamic_cast<DcmElement*>(image->getElement(i)->clone())).good());
  }

  const Outcome range = decodeRange(*nested, 0, 0, Samples::Stored);
  const Outcome all = decodeAll(*nested, Samples::Stored);

  EXPECT_EQ(samplesOf(range.slice), numbers(icon.storedSamples()));
  EXPECT_EQ(samplesOf(all.slice), numbers(icon.storedSamples()));
}

TEST(SliceDecodingMonochrome, DecodesFramesThatAreSpreadOverFragments) {
  const ImageBuilder builder = monochromeImage(40, 30).frames(2);
  const auto whole = support::compress(*builder.build(), EXS_JPEGProcess14SV1);
  std::vector<decoding::Fragment> fragments = decoding::fragmentsOf(*whole);
  ASSERT_EQ(fragments.size(), 2U);
  const auto first = decoding::cut(fragments[0], fragments[0].size() / 4 * 2);
  const std::vector<decoding::Fragment> spread = {first[0], first[1], fragments[1]};
  const auto dataset = decoding::encapsulate(*whole, EXS_JPEGProcess14SV1, spread,
                                             decoding::offsetTable(spread, {0, 2}));

  const Outcome second = decodeRange(*dataset, 1, 1, Samples::Stored);
  const Outcome all = decodeAll(*dataset, Samples::Stored);

  ASSERT_TRUE(second.done) << second.errorText;
  ASSERT_TRUE(all.done) << all.errorText;
  EXPECT_EQ(samplesOf(second.slice), frameOf(numbers(builder.storedSamples()), 1200, 1));
  EXPECT_EQ(samplesOf(all.slice), numbers(builder.storedSamples()));
}

TEST(SliceDecodingMonochrome, DecodesARleFrameThatIsSpreadOverFragmentsAsAWhole) {
  const ImageBuilder builder = monochromeImage(40, 30);
  const auto whole = support::compress(*builder.build(), EXS_RLELossless);
  const auto fragments = decoding::cut(decoding::fragmentsOf(*whole)[0], 700);
  const auto dataset = decoding::encapsulate(*whole, EXS_RLELossless, fragments);

  const Outcome outcome = decodeAll(*dataset, Samples::Stored);

  ASSERT_TRUE(outcome.done) << outcome.errorText;
  EXPECT_EQ(samplesOf(outcome.slice), numbers(builder.storedSamples()));
}

TEST(SliceDecodingMonochrome, ZeroesWhatSamplesOfHalfAByteLeaveOpen) {
  // DCMTK counts 4 x 2 samples of 12 bits as 12 bytes; a frame of the slice has 16.
  const auto dataset = monochromeImage(4, 2)
                           .withUint16(DCM_BitsAllocated, 12)
                           .samples({1, 2, 3, 4, 5, 6, 7, 8})
                           .build();
  std::vector<unsigned char> target(16, 0xEE);

  const Outcome outcome = decodeInto(target, *dataset, 0, 0);

  ASSERT_TRUE(outcome.done) << outcome.errorText;
  EXPECT_EQ(target, (std::vector<unsigned char>{1, 0, 2, 0, 3, 0, 4, 0, 5, 0, 6, 0, 0, 0, 0, 0}));
}

// --- What goes wrong

TEST(SliceDecodingMonochrome, RefusesATargetThatIsOneByteTooSmallAndLeavesItAlone) {
  const auto dataset = monochromeImage(4, 2).frames(2).build();
  std::vector<unsigned char> target(31, 0x5A);

  const Outcome outcome = decodeInto(target, *dataset, 0, 1);

  EXPECT_FALSE(outcome.done);
  EXPECT_EQ(outcome.errorText, "Invalid target size: buffer 31 bytes, required 32 bytes");
  EXPECT_EQ(target, std::vector<unsigned char>(31, 0x5A));
}

TEST(SliceDecodingMonochrome, LeavesTheRestOfALargerTargetAlone) {
  const auto dataset = monochromeImage(2, 1).samples({0x0102, 0x0304}).build();
  std::vector<unsigned char> target(6, 0x5A);

  const Outcome outcome = decodeInto(target, *dataset, 0, 0);

  ASSERT_TRUE(outcome.done) << outcome.errorText;
  EXPECT_EQ(target, (std::vector<unsigned char>{2, 1, 4, 3, 0x5A, 0x5A}));
}

TEST(SliceDecodingMonochrome, RefusesSeveralSamplesAPixel) {
  const auto dataset = support::rgbImage(2, 2).photometric("MONOCHROME2").build();

  EXPECT_EQ(decodeAll(*dataset).errorText,
            "Dicom tag DCM_SamplesPerPixel does not have the expected value");
}

class UnreadableText : public DcmUnsignedShort {
public:
  using DcmUnsignedShort::DcmUnsignedShort;
  OFCondition getOFString(OFString& /*value*/, const unsigned long /*pos*/,
                          OFBool /*normalize*/) override {
    return EC_IllegalCall;
  }
};

TEST(SliceDecodingMonochrome, RefusesSamplesPerPixelThatHaveNoText) {
  const auto dataset = monochromeImage(2, 2).build();
  auto* const element = new UnreadableText(DcmTag(DCM_SamplesPerPixel));
  ASSERT_TRUE(element->putUint16(1).good());
  ASSERT_TRUE(dataset->insert(element, OFTrue).good());

  EXPECT_EQ(decodeAll(*dataset).errorText, "Dicom tag DCM_SamplesPerPixel (0028,0002) not found");
}

TEST(SliceDecodingMonochrome, RefusesSyntaxesThatNoDecoderKnows) {
  const auto dataset =
      decoding::encapsulate(*monochromeImage(2, 2).build(), EXS_JPEG2000, {{1, 2, 3, 4}});

  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, "Error decompressing frames");
  EXPECT_EQ(decodeAll(*dataset).errorText, "Pixel data can't be decompressed");
}

TEST(SliceDecodingMonochrome, SaysHowMuchPixelDataIsMissing) {
  const auto dataset = monochromeImage(4, 4).withUint16(DCM_Rows, 5).build();

  EXPECT_EQ(decodeAll(*dataset).errorText,
            "Pixel data incomplete, expected 40 bytes, found 32 bytes");
}

TEST(SliceDecodingMonochrome, RefusesFramesBeyondShortPixelData) {
  const auto dataset = monochromeImage(4, 4).withUint16(DCM_Rows, 5).build();

  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, "Error decompressing frames");
}

TEST(SliceDecodingMonochrome, RefusesFramesThatAreNotThere) {
  const auto dataset = support::compress(*monochromeImage(4, 4).frames(2).build(), EXS_RLELossless);
  ASSERT_TRUE(dataset->putAndInsertString(DCM_NumberOfFrames, "3").good());

  EXPECT_EQ(decodeRange(*dataset, 2, 2).errorText, "Error decompressing frames");
  EXPECT_EQ(decodeAll(*dataset).errorText,
            "Pixel data incomplete, expected 96 bytes, found 64 bytes");
}

TEST(SliceDecodingMonochrome, RefusesSamplesOfFourBytes) {
  const auto dataset = monochromeImage(2, 2).withUint16(DCM_BitsAllocated, 32).build();
  const std::vector<Uint16> words(8, 1);
  ASSERT_TRUE(dataset->putAndInsertUint16Array(DCM_PixelData, words.data(), words.size()).good());

  EXPECT_EQ(decodeAll(*dataset).errorText, "Only 8 or 16 bit pixel data is supported!");
  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, "No pixel data");
}

TEST(SliceDecodingMonochrome, RefusesSamplesOfNoBits) {
  const auto dataset = monochromeImage(2, 2).withUint16(DCM_BitsAllocated, 0).build();

  EXPECT_EQ(decodeAll(*dataset).errorText, "Only 8 or 16 bit pixel data is supported!");
}

TEST(SliceDecodingMonochrome, FindsNoPixelDataInAnEmptyElement) {
  const auto dataset = monochromeImage(2, 0).build();
  ASSERT_TRUE(dataset->putAndInsertUint16Array(DCM_PixelData, nullptr, 0).good());

  EXPECT_EQ(decodeAll(*dataset).errorText, "No pixel data");
}

TEST(SliceDecodingMonochrome, SaysWhenTheFileOfThePixelDataIsGone) {
  const support::TempDir folder;
  const auto path = folder.file("image.dcm");
  support::saveFile(*monochromeImage(64, 64).build(), path);  // larger than what is loaded at once
  DcmFileFormat file;
  ASSERT_TRUE(file.loadFile(path.c_str()).good());
  std::filesystem::remove(path);

  EXPECT_EQ(decodeAll(*file.getDataset()).errorText, "Error reading pixel data!");
  EXPECT_EQ(decodeRange(*file.getDataset(), 0, 0).errorText, "Error decompressing frames");
}

TEST(SliceDecodingMonochrome, RefusesAnImageThatNoMemoryCanHold) {
  const auto dataset = monochromeImage(1, 1)
                           .withUint16(DCM_Columns, 65535)
                           .withUint16(DCM_Rows, 65535)
                           .with(DCM_NumberOfFrames, "65535")
                           .build();

  const Outcome outcome = decodeRange(*dataset, 0, 65534);

  EXPECT_FALSE(outcome.done);
  EXPECT_EQ(outcome.errorText, "out of memory");
}

TEST(SliceDecodingMonochrome, RefusesAFrameOfMoreThanFourGigabytes) {
  const auto dataset =
      monochromeImage(1, 1).withUint16(DCM_Columns, 65535).withUint16(DCM_Rows, 65535).build();
  char target = 0;
  Zrg::SliceImage slice;
  std::string errorText;

  // The size is a claim: the frame must be refused before a byte of the target is looked at.
  EXPECT_FALSE(slice.process(*dataset, errorText, 0, 0, &target, ~0UL));

  EXPECT_EQ(errorText, "Error decompressing frames");
}

}  // namespace
