// SPDX-License-Identifier: BSD-3-Clause
// What decoding reads before it touches a sample: what must be there, what is repaired, what
// becomes of the slice's attributes.
#include "SliceDecodingFixtures.h"
#include "decoding/SliceDecoding.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/LogCapture.h"
#include "support/RowName.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdict.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <iostream>

namespace {

using decoding::decodeAll;
using decoding::decodeRange;
using decoding::Outcome;
using support::ImageBuilder;
using support::monochromeImage;

bool isNotSet(const KtVec2f& pair) {
  return std::isnan(pair.x) && std::isnan(pair.y);
}

// --- What must be there

struct MissingElement {
  const char* name;
  DcmTagKey key;
  const char* message;
};

class SliceDecodingRequires : public testing::TestWithParam<MissingElement> {};

TEST_P(SliceDecodingRequires, AnAttributeAndNamesItWhenItIsMissing) {
  const auto dataset = monochromeImage(2, 2).without(GetParam().key).build();

  const Outcome outcome = decodeAll(*dataset);

  EXPECT_FALSE(outcome.done);
  EXPECT_FALSE(outcome.slice.valid);
  EXPECT_EQ(outcome.errorText, GetParam().message);
}

TEST_P(SliceDecodingRequires, AnAttributeForARangeOfFramesToo) {
  const auto dataset = monochromeImage(2, 2).without(GetParam().key).build();

  const Outcome outcome = decodeRange(*dataset, 0, 0);

  EXPECT_FALSE(outcome.done);
  EXPECT_EQ(outcome.errorText, GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Attributes, SliceDecodingRequires,
    testing::Values(
        MissingElement{"Columns", DCM_Columns, "File contains no pixel columns"},
        MissingElement{"Rows", DCM_Rows, "File contains no pixel rows"},
        MissingElement{"BitsAllocated", DCM_BitsAllocated, "File contains no bits allocated"},
        MissingElement{"SamplesPerPixel", DCM_SamplesPerPixel,
                       "File contains no samples per pixel"},
        MissingElement{"PhotometricInterpretation", DCM_PhotometricInterpretation,
                       "Dicom tag DCM_PhotometricInterpretation not found or cannot be read"}),
    support::nameOf<MissingElement>);

TEST(SliceDecodingDeathTest, WarnsOnceThatThereIsNoDictionary) {
  // In a process of its own: the warning is given once in each, and the others want the dictionary.
  GTEST_FLAG_SET(death_test_style, "threadsafe");

  EXPECT_EXIT(
      {
        const auto dataset = monochromeImage(2, 2).build();
        dcmDataDict.wrlock().clear();
        dcmDataDict.wrunlock();
        const support::LogCapture log;
        for (int time = 0; time < 3; ++time) {
          (void)decodeAll(*dataset);
        }
        std::cerr << log.texts().size() << " line: " << log.texts().front();
        std::exit(0);
      },
      testing::ExitedWithCode(0), "1 line: DCMTK has no data dictionary");
}

TEST(SliceDecoding, RefusesAnItemWithoutPixelData) {
  const auto dataset = monochromeImage(2, 2).build();
  (void)dataset->findAndDeleteElement(DCM_PixelData);

  const Outcome outcome = decodeAll(*dataset);

  EXPECT_FALSE(outcome.done);
  EXPECT_EQ(outcome.errorText, "File contains no pixel data");
}

TEST(SliceDecoding, RefusesAPixelDataElementThatIsNotPixelData) {
  const auto dataset = monochromeImage(2, 2).build();
  ASSERT_TRUE(
      dataset->insert(new DcmOtherByteOtherWord(DcmTag(DCM_PixelData, EVR_OW)), OFTrue).good());

  const Outcome outcome = decodeAll(*dataset);

  EXPECT_FALSE(outcome.done);
  EXPECT_EQ(outcome.errorText, "File contains invalid pixel data");
}

TEST(SliceDecoding, DoesNotLookForPixelDataInNestedItems) {
  support::DatasetBuilder nested;
  nested.withUint16(DCM_Columns, 2).withUint16(DCM_Rows, 1).withPixels8({1, 2});
  const auto dataset = support::DatasetBuilder().withItem(DCM_IconImageSequence, nested).build();

  const Outcome outcome = decodeAll(*dataset);

  EXPECT_FALSE(outcome.done);
  EXPECT_EQ(outcome.errorText, "File contains no pixel data");
}

TEST(SliceDecoding, ReportsTheFirstOfSeveralFaults) {
  const auto dataset = monochromeImage(2, 2).without(DCM_Rows).without(DCM_BitsAllocated).build();

  EXPECT_EQ(decodeAll(*dataset).errorText, "File contains no pixel rows");
}

TEST(SliceDecoding, TakesColumnsOnlyAsANumberOfTheRightKind) {
  const auto dataset = monochromeImage(2, 2).with(DCM_Columns, EVR_IS, "2").build();

  EXPECT_EQ(decodeAll(*dataset).errorText, "File contains no pixel columns");
}

TEST(SliceDecoding, ClearsTheErrorTextAndLeavesItEmptyOnSuccess) {
  const auto dataset = monochromeImage(2, 2).build();
  Zrg::SliceImage slice;
  std::string errorText = "of an earlier call";

  EXPECT_TRUE(slice.process(*dataset, errorText, decoding::kAllFrames, 0, nullptr, 0));

  EXPECT_EQ(errorText, "");
  EXPECT_TRUE(slice.valid);
}

TEST(SliceDecoding, InvalidatesTheSliceWhenALaterCallFails) {
  const auto good = monochromeImage(2, 2).build();
  const auto bad = monochromeImage(2, 2).without(DCM_Rows).build();
  Zrg::SliceImage slice;
  std::string errorText;
  ASSERT_TRUE(slice.process(*good, errorText, decoding::kAllFrames, 0, nullptr, 0));

  EXPECT_FALSE(slice.process(*bad, errorText, decoding::kAllFrames, 0, nullptr, 0));

  EXPECT_FALSE(slice.valid);
}

TEST(SliceDecoding, KeepsAttributesOfAnEarlierCallWhenAnAttributeIsMissing) {
  const auto good =
      monochromeImage(3, 2).rescale("2", "-5").window("40", "80").spacing("1", "2").build();
  const auto bad = monochromeImage(5, 5).rescale("7", "7").without(DCM_Rows).build();
  Zrg::SliceImage slice;
  std::string errorText;
  ASSERT_TRUE(slice.process(*good, errorText, decoding::kAllFrames, 0, nullptr, 0));

  EXPECT_FALSE(slice.process(*bad, errorText, decoding::kAllFrames, 0, nullptr, 0));

  EXPECT_EQ(slice.extent, KtVec3l(3, 2, 1));
  EXPECT_EQ(slice.bytesPerSample, 2U);
  EXPECT_EQ(slice.rescale, KtVec2f(2, -5));
  EXPECT_EQ(slice.voiWindow, KtVec2f(40, 80));
  EXPECT_EQ(slice.pixelSpacing, KtVec2f(2, 1));
}

// --- Number of Frames

struct FrameCount {
  const char* name;
  const char* numberOfFrames;
  long long expected;
};

class SliceDecodingFrameCount : public testing::TestWithParam<FrameCount> {};

// The image has no sample to decode, so that no number of frames is too large for a test.
TEST_P(SliceDecodingFrameCount, FollowsTheLowSixteenBitsOfNumberOfFrames) {
  const auto dataset =
      monochromeImage(0, 0).with(DCM_NumberOfFrames, GetParam().numberOfFrames).build();

  const Outcome outcome = decodeAll(*dataset);

  EXPECT_EQ(outcome.slice.extent.z, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    NumberOfFrames, SliceDecodingFrameCount,
    testing::Values(FrameCount{"One", "1", 1}, FrameCount{"Three", "3", 3},
                    FrameCount{"Zero", "0", 1}, FrameCount{"Empty", "", 1},
                    FrameCount{"Text", "many", 1}, FrameCount{"NumberBeforeText", "4x", 4},
                    FrameCount{"Largest", "65535", 65535}, FrameCount{"Wraps", "65536", 1},
                    FrameCount{"WrapsOnce", "70000", 4464}, FrameCount{"Negative", "-1", 65535}),
    support::nameOf<FrameCount>);

TEST(SliceDecoding, TakesAnAbsentNumberOfFramesForOneFrame) {
  const auto dataset = monochromeImage(2, 2).without(DCM_NumberOfFrames).build();

  EXPECT_EQ(decodeAll(*dataset).slice.extent, KtVec3l(2, 2, 1));
}

// --- Rescale, window, spacing

struct PairRow {
  const char* name;
  const char* first;
  const char* second;
  KtVec2f expected;
};

class SliceDecodingRescale : public testing::TestWithParam<PairRow> {};

TEST_P(SliceDecodingRescale, NeedsAWholePairAndASlopeOtherThanZero) {
  const auto dataset = monochromeImage(1, 1).rescale(GetParam().first, GetParam().second).build();

  const Outcome outcome = decodeAll(*dataset);

  ASSERT_TRUE(outcome.done) << outcome.errorText;
  EXPECT_EQ(outcome.slice.rescale, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Values, SliceDecodingRescale,
                         testing::Values(PairRow{"Whole", "2.5", "-1024", {2.5F, -1024}},
                                         PairRow{"ZeroSlope", "0", "7", {1, 0}},
                                         PairRow{"NegativeSlope", "-1", "7", {-1, 7}},
                                         PairRow{"EmptySlope", "", "7", {1, 0}},
                                         PairRow{"EmptyIntercept", "2", "", {1, 0}},
                                         PairRow{"NoNumber", "two", "7", {1, 0}},
                                         PairRow{"SlopeIsNotANumber", "nan", "7", {1, 0}},
                                         PairRow{"InterceptIsNotANumber", "2", "nan", {1, 0}},
                                         PairRow{"NumberBeforeText", "2x", "3y", {2, 3}},
                                         PairRow{"FirstOfSeveral", "2\\3", "4\\5", {2, 4}}),
                         support::nameOf<PairRow>);

TEST(SliceDecoding, KeepsTheIdentityWhenTheInterceptIsMissing) {
  const auto dataset = monochromeImage(1, 1).with(DCM_RescaleSlope, "2").build();

  EXPECT_EQ(decodeAll(*dataset).slice.rescale, KtVec2f(1, 0));
}

TEST(SliceDecoding, KeepsTheIdentityWhenTheSlopeIsMissing) {
  const auto dataset = monochromeImage(1, 1).with(DCM_RescaleIntercept, "2").build();

  EXPECT_EQ(decodeAll(*dataset).slice.rescale, KtVec2f(1, 0));
}

TEST(SliceDecoding, ReadsTheFirstWindow) {
  const auto dataset = monochromeImage(1, 1).window("40\\50", "400\\500").build();

  EXPECT_EQ(decodeAll(*dataset).slice.voiWindow, KtVec2f(40, 400));
}

TEST(SliceDecoding, StoresAWindowOfNoWidthAsItIs) {
  const auto dataset = monochromeImage(1, 1).window("-3.5", "0").build();

  EXPECT_EQ(decodeAll(*dataset).slice.voiWindow, KtVec2f(-3.5F, 0));
}

TEST(SliceDecoding, HasNoWindowWhenHalfOfItIsMissing) {
  const auto centreOnly = monochromeImage(1, 1).with(DCM_WindowCenter, "40").build();
  const auto widthOnly = monochromeImage(1, 1).with(DCM_WindowWidth, "400").build();

  EXPECT_TRUE(isNotSet(decodeAll(*centreOnly).slice.voiWindow));
  EXPECT_TRUE(isNotSet(decodeAll(*widthOnly).slice.voiWindow));
}

TEST(SliceDecoding, ForgetsTheWindowOfAnEarlierImage) {
  const auto withWindow = monochromeImage(1, 1).window("40", "80").spacing("1", "2").build();
  const auto without = monochromeImage(1, 1).build();
  Zrg::SliceImage slice;
  std::string errorText;
  ASSERT_TRUE(slice.process(*withWindow, errorText, decoding::kAllFrames, 0, nullptr, 0));

  ASSERT_TRUE(slice.process(*without, errorText, decoding::kAllFrames, 0, nullptr, 0));

  EXPECT_TRUE(isNotSet(slice.voiWindow));
  EXPECT_TRUE(isNotSet(slice.pixelSpacing));
}

TEST(SliceDecoding, PutsTheColumnSpacingFirst) {
  const auto dataset = monochromeImage(1, 1).spacing("0.5", "0.7").build();

  EXPECT_EQ(decodeAll(*dataset).slice.pixelSpacing, KtVec2f(0.7F, 0.5F));
}

TEST(SliceDecoding, HasNoSpacingWhenThereIsOneValueOnly) {
  const auto dataset = monochromeImage(1, 1).with(DCM_PixelSpacing, "0.5").build();

  EXPECT_TRUE(isNotSet(decodeAll(*dataset).slice.pixelSpacing));
}

// --- Lossy flag

struct LossyFlag {
  const char* name;
  E_TransferSyntax syntax;
  const char* attribute;  // null: there is none
  bool lossy;
};

class SliceDecodingLossyFlag : public testing::TestWithParam<LossyFlag> {};

// The flag is set before anything is decoded: the fragment is no image and does not have to be.
TEST_P(SliceDecodingLossyFlag, FollowsTheAttributeOrElseTheTransferSyntax) {
  ImageBuilder builder = monochromeImage(2, 2);
  if (GetParam().attribute != nullptr) {
    builder.with(DCM_LossyImageCompression, GetParam().attribute);
  }
  const auto native = builder.build();
  const auto dataset = DcmXfer(GetParam().syntax).isEncapsulated()
                           ? decoding::encapsulate(*native, GetParam().syntax, {{1, 2, 3, 4}})
                           : support::readBack(*native, GetParam().syntax);

  EXPECT_EQ(decodeRange(*dataset, 0, 0).slice.lossy, GetParam().lossy);
}

INSTANTIATE_TEST_SUITE_P(
    Syntaxes, SliceDecodingLossyFlag,
    testing::Values(LossyFlag{"ImplicitLittleEndian", EXS_LittleEndianImplicit, nullptr, false},
                    LossyFlag{"ExplicitLittleEndian", EXS_LittleEndianExplicit, nullptr, false},
                    LossyFlag{"ExplicitBigEndian", EXS_BigEndianExplicit, nullptr, false},
                    LossyFlag{"Deflated", EXS_DeflatedLittleEndianExplicit, nullptr, true},
                    LossyFlag{"Rle", EXS_RLELossless, nullptr, false},
                    LossyFlag{"JpegLossless", EXS_JPEGProcess14, nullptr, false},
                    LossyFlag{"JpegLosslessFirstOrder", EXS_JPEGProcess14SV1, nullptr, false},
                    LossyFlag{"JpegBaseline", EXS_JPEGProcess1, nullptr, true},
                    LossyFlag{"JpegExtended", EXS_JPEGProcess2_4, nullptr, true},
                    LossyFlag{"JpegLsLossless", EXS_JPEGLSLossless, nullptr, false},
                    LossyFlag{"JpegLsLossy", EXS_JPEGLSLossy, nullptr, true},
                    LossyFlag{"Jpeg2000Lossless", EXS_JPEG2000LosslessOnly, nullptr, false},
                    LossyFlag{"Jpeg2000", EXS_JPEG2000, nullptr, true},
                    LossyFlag{"AttributeSaysLossy", EXS_LittleEndianExplicit, "01", true},
                    LossyFlag{"AttributeSaysLossless", EXS_JPEGProcess1, "00", true},
                    LossyFlag{"AttributeIsEmpty", EXS_LittleEndianExplicit, "", false},
                    LossyFlag{"AttributeIsNoNumber", EXS_LittleEndianExplicit, "YES", false}),
    support::nameOf<LossyFlag>);

TEST(SliceDecoding, ClearsTheLossyFlagOfAnEarlierImage) {
  const auto lossy = monochromeImage(1, 1).with(DCM_LossyImageCompression, "01").build();
  const auto lossless = monochromeImage(1, 1).build();
  Zrg::SliceImage slice;
  std::string errorText;
  ASSERT_TRUE(slice.process(*lossy, errorText, decoding::kAllFrames, 0, nullptr, 0));
  ASSERT_TRUE(slice.lossy);

  ASSERT_TRUE(slice.process(*lossless, errorText, decoding::kAllFrames, 0, nullptr, 0));

  EXPECT_FALSE(slice.lossy);
}

TEST(SliceDecoding, SetsTheLossyFlagEvenWhenAnAttributeIsMissing) {
  const auto dataset =
      monochromeImage(1, 1).with(DCM_LossyImageCompression, "01").without(DCM_Rows).build();

  const Outcome outcome = decodeAll(*dataset);

  EXPECT_FALSE(outcome.done);
  EXPECT_TRUE(outcome.slice.lossy);
}

// --- Frame ranges

struct Clamping {
  const char* name;
  int firstFrame;
  int lastFrame;
  int frames;
  int first;
  int last;
  int count;
  bool all;
};

class SliceDecodingFrameRange : public testing::TestWithParam<Clamping> {};

TEST_P(SliceDecodingFrameRange, IsClampedIntoTheImage) {
  const Zrg::Decoding::FrameSelection range =
      Zrg::Decoding::selectFrames(GetParam().firstFrame, GetParam().lastFrame, GetParam().frames);

  EXPECT_EQ(range.first, GetParam().first);
  EXPECT_EQ(range.last, GetParam().last);
  EXPECT_EQ(range.count, GetParam().count);
  EXPECT_EQ(range.all, GetParam().all);
}

INSTANTIATE_TEST_SUITE_P(Ranges, SliceDecodingFrameRange,
                         testing::Values(Clamping{"Inside", 2, 4, 10, 2, 4, 3, false},
                                         Clamping{"All", -1, 0, 10, 0, 9, 10, true},
                                         Clamping{"AllWhateverTheLast", -7, 3, 10, 0, 9, 10, true},
                                         Clamping{"LastBeforeFirst", 5, 2, 10, 5, 5, 1, false},
                                         Clamping{"FirstBeyond", 20, 25, 10, 9, 9, 1, false},
                                         Clamping{"LastBeyond", 8, 25, 10, 8, 9, 2, false},
                                         Clamping{"NegativeLast", 3, -1, 10, 3, 3, 1, false},
                                         Clamping{"SingleFrame", 0, 0, 1, 0, 0, 1, false},
                                         Clamping{"WholeByNumbers", 0, 9, 10, 0, 9, 10, false}),
                         support::nameOf<Clamping>);

}  // namespace
