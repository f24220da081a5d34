// SPDX-License-Identifier: BSD-3-Clause
// What becomes of monochrome samples after they are decoded: stored bits, sign, modality LUT,
// overlays.
#include "SliceDecodingFixtures.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/LogCapture.h"
#include "support/RowName.h"

#include <gtest/gtest.h>

namespace {

using decoding::decodeAll;
using decoding::decodeInto;
using decoding::decodeRange;
using decoding::Outcome;
using decoding::Samples;
using decoding::samplesOf;
using support::ImageBuilder;
using support::monochromeImage;

// --- Stored bits and sign

struct Conversion {
  const char* name;
  ImageBuilder builder;
  std::vector<int> expected;
  float sampleOffset;
};

/// A row is printed by its name, not by its bytes.
void PrintTo(const Conversion& row, std::ostream* stream) {
  *stream << row.name;
}

class SliceDecodingConversion : public testing::TestWithParam<Conversion> {};

TEST_P(SliceDecodingConversion, MakesSamplesUnsignedAndRemembersTheShift) {
  const auto dataset = GetParam().builder.build();

  const Outcome outcome = decodeRange(*dataset, 0, 0);

  ASSERT_TRUE(outcome.done) << outcome.errorText;
  EXPECT_EQ(samplesOf(outcome.slice), GetParam().expected);
  EXPECT_EQ(outcome.slice.sampleOffset, GetParam().sampleOffset);
}

TEST_P(SliceDecodingConversion, DoesTheSameToAllFramesInPlace) {
  const auto dataset = GetParam().builder.build();

  const Outcome outcome = decodeAll(*dataset);

  ASSERT_TRUE(outcome.done) << outcome.errorText;
  EXPECT_EQ(samplesOf(outcome.slice), GetParam().expected);
  EXPECT_EQ(outcome.slice.sampleOffset, GetParam().sampleOffset);
}

TEST_P(SliceDecodingConversion, IsLeftOutWhenItIsNotWanted) {
  const auto dataset = GetParam().builder.build();
  std::vector<int> stored = decoding::numbers(GetParam().builder.storedSamples());

  const Outcome outcome = decodeRange(*dataset, 0, 0, Samples::Stored);

  ASSERT_TRUE(outcome.done) << outcome.errorText;
  EXPECT_EQ(samplesOf(outcome.slice), stored);
  EXPECT_EQ(outcome.slice.sampleOffset, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Samples, SliceDecodingConversion,
    testing::Values(
        Conversion{"Unsigned16", monochromeImage(3, 1).samples({0, 1, 65535}), {0, 1, 65535}, 0},
        Conversion{"Unsigned12Masks",
                   monochromeImage(3, 1).bitsStored(12).samples({0x0001, 0xF001, 0x0FFF}),
                   {1, 1, 0x0FFF},
                   0},
        Conversion{"HighBitAboveTheStoredBits",
                   // Taken for the lowest 12 bits, although the attributes say the highest.
                   monochromeImage(2, 1).bitsStored(12).highBit(15).samples({0x0010, 0xFFF0}),
                   {0x0010, 0x0FF0},
                   0},
        Conversion{"HighBitInTheMiddle",
                   // Bits 0 to 5, at the top of the 8 bits that are stored.
                   monochromeImage(1, 1).bitsStored(8).highBit(5).samples({0xFFD5}),
                   {0x0054},
                   0},
        Conversion{"Signed16",
                   monochromeImage(3, 1).signed16().samples({0, 0x8000, 0x7FFF}),
                   {32768, 0, 65535},
                   32768},
        Conversion{
            "Signed12",
            monochromeImage(3, 1).signed16().bitsStored(12).samples({0x0800, 0xF800, 0x07FF}),
            {30720, 30720, 34815},
            32768},
        Conversion{"Unsigned8", monochromeImage(2, 1).unsigned8().samples({0, 255}), {0, 255}, 0},
        Conversion{"Signed8",
                   monochromeImage(3, 1).signed8().samples({0x80, 0, 0x7F}),
                   {0, 128, 255},
                   128},
        Conversion{"HighBitBeyondTheSample",
                   monochromeImage(2, 1).unsigned8().samples({1, 255}).withUint16(DCM_HighBit, 40),
                   {1, 255},
                   0},
        Conversion{"HighBitMissing",
                   // Without it the stored bits are the highest.
                   monochromeImage(1, 1).bitsStored(12).samples({0xABC0}).without(DCM_HighBit),
                   {0x0ABC},
                   0},
        Conversion{"BitsStoredMissing",
                   monochromeImage(2, 1).samples({7, 65535}).without(DCM_BitsStored),
                   {0, 0},
                   0},
        Conversion{"BitsStoredZero",
                   monochromeImage(2, 1).samples({7, 65535}).withUint16(DCM_BitsStored, 0),
                   {0, 0},
                   0},
        Conversion{"MoreBitsStoredThanAllocated",
                   monochromeImage(2, 1).samples({7, 65535}).withUint16(DCM_BitsStored, 20),
                   {7, 65535},
                   0},
        Conversion{"NegativeBitsStored",
                   monochromeImage(1, 1).samples({7}).with(DCM_BitsStored, EVR_IS, "-3"),
                   {0},
                   0},
        Conversion{"NegativeHighBit",
                   // Taken for 0: only the lowest bit is left, at the top of what is stored.
                   monochromeImage(1, 1).samples({7}).with(DCM_HighBit, EVR_IS, "-3"),
                   {0x8000},
                   0},
        Conversion{
            "PixelRepresentationMissing",
            monochromeImage(1, 1).signed16().samples({0x8000}).without(DCM_PixelRepresentation),
            {0x8000},
            0},
        Conversion{"PixelRepresentationOtherThanOne",
                   monochromeImage(1, 1).samples({0x8000}).withUint16(DCM_PixelRepresentation, 2),
                   {0x8000},
                   0}),
    support::nameOf<Conversion>);

TEST(SliceDecodingConverted, FoldsTheShiftIntoTheModalityLine) {
  const auto dataset = monochromeImage(1, 1).signed16().rescale("2", "-1000").samples({0}).build();

  const Outcome outcome = decodeAll(*dataset);

  EXPECT_EQ(outcome.slice.result_MOD_LUT(), KtVec2f(2, -66536));
}

TEST(SliceDecodingConverted, ForgetsTheShiftOfAnEarlierImage) {
  const auto signedImage = monochromeImage(1, 1).signed16().build();
  const auto unsignedImage = monochromeImage(1, 1).build();
  Zrg::SliceImage slice;
  std::string errorText;
  ASSERT_TRUE(slice.process(*signedImage, errorText, 0, 0, nullptr, 0));
  ASSERT_EQ(slice.sampleOffset, 32768);

  ASSERT_TRUE(slice.process(*unsignedImage, errorText, 0, 0, nullptr, 0));

  EXPECT_EQ(slice.sampleOffset, 0);
}

TEST(SliceDecodingConverted, WorksInTheTarget) {
  const auto dataset = monochromeImage(2, 1).bitsStored(8).samples({0x1234, 0x5678}).build();
  std::vector<unsigned char> target(4);

  ASSERT_TRUE(decodeInto(target, *dataset, 0, 0, Samples::Converted).done);

  EXPECT_EQ(target, (std::vector<unsigned char>{0x34, 0, 0x78, 0}));
}

// --- Modality LUT

support::DatasetBuilder modalityLut(const std::vector<Uint16>& descriptor,
                                    const std::vector<Uint16>& entries) {
  support::DatasetBuilder item;
  item.withUint16s(DCM_LUTDescriptor, descriptor).withWords(DCM_LUTData, entries);
  return item;
}

TEST(SliceDecodingModalityLut, MapsSamplesAndReplacesTheRescale) {
  const auto dataset =
      monochromeImage(4, 1)
          .rescale("2", "5")
          .samples({9, 10, 11, 99})
          .withItem(DCM_ModalityLUTSequence, modalityLut({3, 10, 16}, {100, 1000, 50000}))
          .build();

  const Outcome outcome = decodeRange(*dataset, 0, 0);

  ASSERT_TRUE(outcome.done) << outcome.errorText;
  EXPECT_EQ(samplesOf(outcome.slice), (std::vector<int>{100, 100, 1000, 50000}));
  EXPECT_EQ(outcome.slice.rescale, KtVec2f(1, 0));
  EXPECT_EQ(outcome.slice.sampleOffset, 0);
}

TEST(SliceDecodingModalityLut, ReplacesTheRescaleEvenWhenSamplesStayAsTheyAre) {
  const auto dataset = monochromeImage(1, 1)
                           .rescale("2", "5")
                           .samples({1})
                           .withItem(DCM_ModalityLUTSequence, modalityLut({2, 0, 16}, {1000, 2000}))
                           .build();

  const Outcome outcome = decodeAll(*dataset, Samples::Stored);

  EXPECT_EQ(outcome.slice.rescale, KtVec2f(1, 0));
  EXPECT_EQ(samplesOf(outcome.slice), std::vector<int>{1});
}

TEST(SliceDecodingModalityLut, IsIgnoredWhenItsSequenceIsEmpty) {
  const auto dataset = monochromeImage(1, 1).rescale("2", "5").samples({1}).build();
  ASSERT_TRUE(dataset->insertEmptyElement(DCM_ModalityLUTSequence).good());

  EXPECT_EQ(decodeAll(*dataset).slice.rescale, KtVec2f(2, 5));
}

TEST(SliceDecodingModalityLut, OfWiderEntriesThanTheSamplesFails) {
  const support::LogCapture log;
  const auto dataset = monochromeImage(1, 1)
                           .unsigned8()
                           .samples({1})
                           .withItem(DCM_ModalityLUTSequence, modalityLut({2, 0, 16}, {1000, 2000}))
                           .build();

  const Outcome outcome = decodeAll(*dataset);

  EXPECT_FALSE(outcome.done);
  EXPECT_FALSE(outcome.slice.valid);
  EXPECT_EQ(outcome.errorText, "out of memory");
  ASSERT_EQ(log.texts().size(), 1U);
  EXPECT_EQ(log.texts()[0],
            "Error 2 at src/core/zrdcmexport/ZrSliceImage:<unknown function>, line 610: Internal "
            "Error (cond[res.isOk()])");
}

// --- Overlays in the spare bits

TEST(SliceDecodingOverlays, AreTakenOutOfTheSpareBits) {
  const auto dataset =
      monochromeImage(4, 4).bitsStored(12).overlayBits(0x6000, 12, {{1, 2}, {2, 2}}).build();

  const Outcome outcome = decodeAll(*dataset);

  ASSERT_TRUE(outcome.done) << outcome.errorText;
  ASSERT_TRUE(outcome.slice.overlays.isNotNull());
  ASSERT_EQ(outcome.slice.overlays->count(), 1);
  EXPECT_EQ(outcome.slice.overlays->group(0), 0x6000);
  EXPECT_TRUE(outcome.slice.overlays->test(0, 1, 2));
  EXPECT_TRUE(outcome.slice.overlays->test(0, 2, 2));
  EXPECT_FALSE(outcome.slice.overlays->test(0, 3, 2));
}

TEST(SliceDecodingOverlays, AreTakenFromCompressedSamplesAsWell) {
  const auto dataset = support::compress(
      *monochromeImage(4, 4).bitsStored(12).overlayBits(0x6002, 13, {{3, 0}}).build(),
      EXS_RLELossless);

  const Outcome outcome = decodeRange(*dataset, 0, 0);

  ASSERT_TRUE(outcome.slice.overlays.isNotNull());
  EXPECT_EQ(outcome.slice.overlays->group(0), 0x6002);
  EXPECT_TRUE(outcome.slice.overlays->test(0, 3, 0));
}

TEST(SliceDecodingOverlays, AreNotLookedForWhereAllBitsAreStored) {
  const auto dataset =
      monochromeImage(2, 2).overlayPlane(0x6000, 15).samples({-1, -1, -1, -1}).build();

  const Outcome outcome = decodeAll(*dataset);

  ASSERT_TRUE(outcome.done) << outcome.errorText;
  EXPECT_TRUE(outcome.slice.overlays.isNull());
}

TEST(SliceDecodingOverlays, OfAnEarlierImageStayWhereAllBitsAreStored) {
  const auto withOverlay =
      monochromeImage(4, 4).bitsStored(12).overlayBits(0x6000, 12, {{1, 2}}).build();
  const auto without = monochromeImage(4, 4).build();
  Zrg::SliceImage slice;
  std::string errorText;
  ASSERT_TRUE(slice.process(*withOverlay, errorText, 0, 0, nullptr, 0));
  ASSERT_TRUE(slice.overlays.isNotNull());

  ASSERT_TRUE(slice.process(*without, errorText, 0, 0, nullptr, 0));

  EXPECT_TRUE(slice.overlays.isNotNull());
}

TEST(SliceDecodingOverlays, OfAnEarlierImageGoWhereSpareBitsHoldNone) {
  const auto withOverlay =
      monochromeImage(4, 4).bitsStored(12).overlayBits(0x6000, 12, {{1, 2}}).build();
  const auto without = monochromeImage(4, 4).bitsStored(12).build();
  Zrg::SliceImage slice;
  std::string errorText;
  ASSERT_TRUE(slice.process(*withOverlay, errorText, 0, 0, nullptr, 0));

  ASSERT_TRUE(slice.process(*without, errorText, 0, 0, nullptr, 0));

  EXPECT_TRUE(slice.overlays.isNull());
}

}  // namespace
