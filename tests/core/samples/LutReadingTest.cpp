// SPDX-License-Identifier: BSD-3-Clause
// Modality LUTs out of items: what is read, what is repaired, what is warned about.
#include "FakeItem.h"
#include "LutTables.h"
#include "support/DatasetBuilder.h"
#include "support/LogCapture.h"
#include "support/RowName.h"

#include <zrdcmexport/ExDicomUtilitiesLUT.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <optional>

namespace {

using ExDicomUtilities::LUT;
using luttest::entryCount;
using luttest::FakeItem;
using luttest::is16;
using luttest::is8;
using luttest::table8;
using luttest::valuesOf;
using support::DatasetBuilder;
using support::LogCapture;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kWarning = "Modality LUT inconsistent.";

using Bytes = std::vector<Uint8>;
using Words = std::vector<Uint16>;

// A read table and what the log received meanwhile.
struct Reading {
  LUT lut;
  std::vector<std::string> log;
};

Reading readModality(Wex::Item& item) {
  const LogCapture log;
  Reading reading;
  reading.lut = table8({9, 9, 9}, 1, 9);  // must not shine through
  LUT::dcmDatasetRead(reading.lut, item, false);
  reading.log = log.texts();
  return reading;
}

Reading readModality(DcmItem& item) {
  const LogCapture log;
  Reading reading;
  LUT::dcmDatasetRead(reading.lut, item, false);
  reading.log = log.texts();
  return reading;
}

// An image whose Modality LUT Sequence has one item with a descriptor.
class ModalityItem {
public:
  explicit ModalityItem(const std::string& descriptor) {
    container.text(DCM_LUTDescriptor, descriptor);
    image.item(DCM_ModalityLUTSequence, container);
  }

  FakeItem container;
  FakeItem image;
};

// ---- forms and repairs -------------------------------------------------------------------------

struct FormRow {
  const char* name;
  const char* descriptor;
  std::optional<Bytes> bytes;
  std::optional<Words> words;
  unsigned expectedWidth;
  std::vector<int> expected;
  bool warns;
};

class LutForms : public testing::TestWithParam<FormRow> {};

TEST_P(LutForms, AreReadAndRepaired) {
  const FormRow& row = GetParam();
  ModalityItem item(row.descriptor);
  if (row.bytes) {
    item.container.bytes(DCM_LUTData, *row.bytes);
  }
  if (row.words) {
    item.container.words(DCM_LUTData, *row.words);
  }

  const Reading reading = readModality(item.image);

  EXPECT_EQ(valuesOf(reading.lut), row.expected);
  ASSERT_TRUE(reading.lut.entries.isNotNull());
  EXPECT_EQ(8 * reading.lut.entries->primType().primTypeSize(), row.expectedWidth);
  EXPECT_EQ(reading.lut.entries->nDataVar(), 1U);
  EXPECT_EQ(reading.lut.firstMapped, 5);
  EXPECT_EQ(reading.log,
            row.warns ? std::vector<std::string>{kWarning} : std::vector<std::string>{});
}

const std::optional<Bytes> kNoBytes;
const std::optional<Words> kNoWords;

INSTANTIATE_TEST_SUITE_P(
    Data, LutForms,
    testing::Values(
        FormRow{"WordsAsAnnounced", "3\\5\\16", kNoBytes, Words{1, 2, 300}, 16, {1, 2, 300}, false},
        FormRow{"BytesAsAnnounced", "3\\5\\8", Bytes{1, 2, 255}, kNoWords, 8, {1, 2, 255}, false},
        FormRow{
            "SmallWordsStayWords", "3\\5\\16", kNoBytes, Words{1, 2, 255}, 16, {1, 2, 255}, false},
        FormRow{"SmallWordsAnnouncedAsBytes",
                "3\\5\\8",
                kNoBytes,
                Words{1, 2, 255},
                8,
                {1, 2, 255},
                true},
        FormRow{"LargeWordsAnnouncedAsBytes",
                "3\\5\\8",
                kNoBytes,
                Words{1, 2, 256},
                16,
                {1, 2, 256},
                true},
        FormRow{"PackedWordsAreNotUnpacked",
                "4\\5\\8",
                kNoBytes,
                Words{0x0201, 0x0403},
                16,
                {0x0201, 0x0403},
                true},
        FormRow{"BytesAnnouncedAsWords", "3\\5\\16", Bytes{1, 2, 3}, kNoWords, 8, {1, 2, 3}, true},
        FormRow{
            "TwelveBitsInWords", "3\\5\\12", kNoBytes, Words{1, 2, 4095}, 16, {1, 2, 4095}, false},
        FormRow{"SmallTwelveBitsInWordsStayWords",
                "3\\5\\12",
                kNoBytes,
                Words{1, 2, 3},
                16,
                {1, 2, 3},
                false},
        FormRow{"TwelveBitsInBytesAreNotRepaired",
                "3\\5\\12",
                Bytes{1, 2, 3},
                kNoWords,
                8,
                {1, 2, 3},
                false},
        FormRow{"NoBitsInWords", "3\\5\\0", kNoBytes, Words{1, 2, 3}, 16, {1, 2, 3}, false},
        FormRow{
            "BothFormsOfWords", "3\\5\\16", Bytes{7, 8, 9}, Words{1, 2, 3}, 16, {1, 2, 3}, true},
        FormRow{
            "BothFormsOfBytes", "3\\5\\8", Bytes{7, 8, 9}, Words{1, 2, 256}, 16, {1, 2, 256}, true},
        FormRow{"BothFormsOfBytesWithSmallWords",
                "3\\5\\8",
                Bytes{7, 8, 9},
                Words{1, 2, 3},
                8,
                {1, 2, 3},
                true},
        FormRow{"FewerWordsThanAnnounced",
                "4\\5\\16",
                kNoBytes,
                Words{1, 2, 300},
                16,
                {1, 2, 300},
                true},
        FormRow{"MoreWordsThanAnnounced",
                "2\\5\\16",
                kNoBytes,
                Words{1, 2, 300},
                16,
                {1, 2, 300},
                true},
        FormRow{"FewerBytesThanAnnounced", "4\\5\\8", Bytes{1, 2, 3}, kNoWords, 8, {1, 2, 3}, true},
        FormRow{"MoreBytesThanAnnounced", "2\\5\\8", Bytes{1, 2, 3}, kNoWords, 8, {1, 2, 3}, true},
        FormRow{"NegativeCount", "-3\\5\\16", kNoBytes, Words{1, 2, 300}, 16, {1, 2, 300}, true},
        FormRow{"CountOfZeroForFewWords",
                "0\\5\\16",
                kNoBytes,
                Words{1, 2, 300},
                16,
                {1, 2, 300},
                true},
        FormRow{"MoreThanThreeFields",
                "3\\5\\16\\1",
                kNoBytes,
                Words{1, 2, 300},
                16,
                {1, 2, 300},
                false},
        FormRow{
            "PaddedNumbers", " 3\\ 5\\16 ", kNoBytes, Words{1, 2, 300}, 16, {1, 2, 300}, false}),
    support::nameOf<FormRow>);

TEST(LutReading, CountsZeroAs65536Words) {
  ModalityItem item("0\\0\\16");
  item.container.words(DCM_LUTData, Words(65536, 1000));

  const Reading reading = readModality(item.image);

  EXPECT_EQ(entryCount(reading.lut), 65536);
  EXPECT_THAT(reading.log, IsEmpty());
}

TEST(LutReading, CountsZeroAs65536Bytes) {
  ModalityItem item("0\\0\\8");
  item.container.bytes(DCM_LUTData, Bytes(65536, 7));

  const Reading reading = readModality(item.image);

  EXPECT_EQ(entryCount(reading.lut), 65536);
  EXPECT_TRUE(is8(reading.lut));
  EXPECT_THAT(reading.log, IsEmpty());
}

TEST(LutReading, Loads4096WordsWhereZeroIsAnnouncedAndWarns) {
  ModalityItem item("0\\0\\16");
  item.container.words(DCM_LUTData, Words(4096, 1000));

  const Reading reading = readModality(item.image);

  EXPECT_EQ(entryCount(reading.lut), 4096);
  EXPECT_THAT(reading.log, ElementsAre(kWarning));
}

TEST(LutReading, ClearsTheTableFirst) {
  FakeItem image;

  const Reading reading = readModality(image);

  EXPECT_TRUE(reading.lut.entries.isNull());
  EXPECT_EQ(reading.lut.firstMapped, 0);
  EXPECT_EQ(reading.lut.hash(), LUT::hashOfEmptyLUT());
}

TEST(LutReading, IgnoresWhatFailedReadsLeaveBehind) {
  ModalityItem item("3\\0\\16");
  item.container.failsWithRubbish();
  item.container.words(DCM_LUTData, {1, 2, 300});

  const Reading reading = readModality(item.image);

  EXPECT_THAT(valuesOf(reading.lut), ElementsAre(1, 2, 300));
  EXPECT_THAT(reading.log, IsEmpty());
}

TEST(LutReading, IgnoresTheWordsThatAFailedReadLeavesBehind) {
  ModalityItem item("3\\0\\8");
  item.container.failsWithRubbish();
  item.container.bytes(DCM_LUTData, {1, 2, 3});

  const Reading reading = readModality(item.image);

  EXPECT_THAT(valuesOf(reading.lut), ElementsAre(1, 2, 3));
  EXPECT_THAT(reading.log, IsEmpty());
}

TEST(LutReading, TakesANullPointerForNoData) {
  ModalityItem item("3\\0\\8");
  item.container.findsNothingWithSuccess();
  item.container.bytes(DCM_LUTData, {1, 2, 3});

  const Reading reading = readModality(item.image);

  EXPECT_THAT(valuesOf(reading.lut), ElementsAre(1, 2, 3));
  EXPECT_THAT(reading.log, IsEmpty());
}

// ---- first mapped value ------------------------------------------------------------------------

struct FirstMappedRow {
  const char* name;
  const char* firstMapped;
  const char* pixelRepresentation;  // null: not there
  int expected;
};

class LutFirstMapped : public testing::TestWithParam<FirstMappedRow> {};

TEST_P(LutFirstMapped, IsSignedWhereTheSamplesAre) {
  const FirstMappedRow& row = GetParam();
  ModalityItem item(std::string("2\\") + row.firstMapped + "\\16");
  item.container.words(DCM_LUTData, {1000, 2000});
  if (row.pixelRepresentation != nullptr) {
    item.image.text(DCM_PixelRepresentation, row.pixelRepresentation);
  }

  const Reading reading = readModality(item.image);

  EXPECT_EQ(reading.lut.firstMapped, row.expected);
  EXPECT_THAT(reading.log, IsEmpty());
}
INSTANTIATE_TEST_SUITE_P(
    Values, LutFirstMapped,
    testing::Values(FirstMappedRow{"Signed63488", "63488", "1", -2048},
                    FirstMappedRow{"Signed65535", "65535", "1", -1},
                    FirstMappedRow{"Signed32768", "32768", "1", -32768},
                    FirstMappedRow{"Signed32767", "32767", "1", 32767},
                    FirstMappedRow{"SignedNegative", "-2048", "1", -2048},
                    FirstMappedRow{"SignedBeyond16Bits", "70000", "1", 4464},
                    FirstMappedRow{"Unsigned63488", "63488", "0", 63488},
                    FirstMappedRow{"UnsignedNegative", "-2048", "0", -2048},
                    FirstMappedRow{"NoRepresentation", "63488", nullptr, 63488},
                    FirstMappedRow{"OtherRepresentation", "63488", "2", 63488},
                    FirstMappedRow{"RepresentationIsNoNumber", "63488", "signed", 63488},
                    FirstMappedRow{"EmptyRepresentation", "63488", "", 63488},
                    FirstMappedRow{"FirstRepresentationCounts", "63488", "1\\0", -2048}),
    support::nameOf<FirstMappedRow>);

TEST(LutReading, AsksTheImageAndNotTheSequenceForTheSign) {
  ModalityItem item("2\\63488\\16");
  item.container.words(DCM_LUTData, {1000, 2000}).text(DCM_PixelRepresentation, "1");

  const Reading reading = readModality(item.image);

  EXPECT_EQ(reading.lut.firstMapped, 63488);
}

// ---- nothing to read ---------------------------------------------------------------------------

TEST(LutReading, IsSilentWithoutASequence) {
  FakeItem image;
  image.text(DCM_LUTDescriptor, "3\\0\\16").words(DCM_LUTData, {1, 2, 3});

  const Reading reading = readModality(image);

  EXPECT_TRUE(reading.lut.entries.isNull());
  EXPECT_THAT(reading.log, IsEmpty());
}

TEST(LutReading, IsSilentWithoutADescriptor) {
  FakeItem container;
  container.words(DCM_LUTData, {1, 2, 3});
  FakeItem image;
  image.item(DCM_ModalityLUTSequence, container);

  const Reading reading = readModality(image);

  EXPECT_TRUE(reading.lut.entries.isNull());
  EXPECT_THAT(reading.log, IsEmpty());
}

// ---- internal checks ---------------------------------------------------------------------------

// A failed check is reported with its position and condition; the one warning follows.
void expectFailedCheck(const Reading& reading, const char* condition) {
  EXPECT_TRUE(reading.lut.entries.isNull());
  EXPECT_EQ(reading.lut.firstMapped, 0);
  ASSERT_EQ(reading.log.size(), 2U);
  EXPECT_THAT(reading.log[0], HasSubstr("Internal Error"));
  EXPECT_THAT(reading.log[0],
              HasSubstr("src/core/zrdcmexport/ExDicomUtilitiesGlobal.h:<unknown function>"));
  EXPECT_THAT(reading.log[0], HasSubstr(condition));
  EXPECT_EQ(reading.log[1], kWarning);
}

TEST(LutReading, GivesNothingWhenTheSequenceHasNoItemToShow) {
  FakeItem image;
  image.noItem(DCM_ModalityLUTSequence);

  expectFailedCheck(readModality(image), "cond[lut_container!=0]");
}

class LutBrokenDescriptor : public testing::TestWithParam<const char*> {};

TEST_P(LutBrokenDescriptor, GivesNothingAndWarns) {
  ModalityItem item(GetParam());
  item.container.words(DCM_LUTData, Words(256, 1000));

  expectFailedCheck(readModality(item.image), "cond[numFields==3]");
}
INSTANTIATE_TEST_SUITE_P(Texts, LutBrokenDescriptor,
                         testing::Values("256\\0", "256\\0\\", "256", "256\\zero\\16", "a\\b\\c",
                                         "256,0,16", "\\0\\16", ""));

TEST(LutReading, GivesNothingWithoutData) {
  ModalityItem words("256\\7\\16");
  ModalityItem bytes("256\\7\\8");
  ModalityItem other("256\\7\\12");

  expectFailedCheck(readModality(words.image), "cond[data8!=0 || data16!=0]");
  expectFailedCheck(readModality(bytes.image), "cond[data8!=0 || data16!=0]");
  expectFailedCheck(readModality(other.image), "cond[data8!=0 || data16!=0]");
}

TEST(LutReading, WarnsOnceHoweverMuchDisagrees) {
  ModalityItem item("4\\0\\8");  // both forms, other depth, other counts
  item.container.bytes(DCM_LUTData, {1}).words(DCM_LUTData, {1, 2, 300});

  const Reading reading = readModality(item.image);

  EXPECT_THAT(valuesOf(reading.lut), ElementsAre(1, 2, 300));
  EXPECT_THAT(reading.log, ElementsAre(kWarning));
}

TEST(LutReading, WarnsAtWarningLevel) {
  ModalityItem item("4\\0\\16");
  item.container.words(DCM_LUTData, {1, 2, 300});
  const LogCapture log;

  LUT lut;
  LUT::dcmDatasetRead(lut, static_cast<Wex::Item&>(item.image), false);

  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_EQ(log.lines()[0].level, KtLogFile::Level::Warning);
}

// ---- through DCMTK -----------------------------------------------------------------------------

DatasetBuilder descriptorItem(const std::vector<Uint16>& descriptor) {
  return DatasetBuilder().withUint16s(DCM_LUTDescriptor, descriptor);
}

TEST(LutReadingFromDatasets, TakesOwData) {
  const auto dataset =
      DatasetBuilder()
          .withUint16(DCM_PixelRepresentation, 1)
          .withItem(DCM_ModalityLUTSequence,
                    descriptorItem({3, 63488, 16}).withWords(DCM_LUTData, {100, 2000, 65535}))
          .build();

  const Reading reading = readModality(*dataset);

  EXPECT_THAT(valuesOf(reading.lut), ElementsAre(100, 2000, 65535));
  EXPECT_EQ(reading.lut.firstMapped, -2048);
  EXPECT_THAT(reading.log, IsEmpty());
}

TEST(LutReadingFromDatasets, TakesUsData) {
  const auto dataset =
      DatasetBuilder()
          .withItem(DCM_ModalityLUTSequence,
                    descriptorItem({3, 63488, 16}).withUint16s(DCM_LUTData, {100, 2000, 65535}))
          .build();

  const Reading reading = readModality(*dataset);

  EXPECT_THAT(valuesOf(reading.lut), ElementsAre(100, 2000, 65535));
  EXPECT_EQ(reading.lut.firstMapped, 63488);
  EXPECT_THAT(reading.log, IsEmpty());
}

TEST(LutReadingFromDatasets, TakesObData) {
  const auto dataset = DatasetBuilder()
                           .withItem(DCM_ModalityLUTSequence, descriptorItem({4, 0, 8}).withBytes(
                                                                  DCM_LUTData, {1, 2, 3, 255}))
                           .build();

  const Reading reading = readModality(*dataset);

  EXPECT_THAT(valuesOf(reading.lut), ElementsAre(1, 2, 3, 255));
  EXPECT_TRUE(is8(reading.lut));
  EXPECT_THAT(reading.log, IsEmpty());
}

TEST(LutReadingFromDatasets, TakesASignedDescriptor) {
  const auto dataset =
      DatasetBuilder()
          .withItem(DCM_ModalityLUTSequence, DatasetBuilder()
                                                 .withSint16s(DCM_LUTDescriptor, {2, -100, 16})
                                                 .withWords(DCM_LUTData, {1, 2}))
          .build();

  const Reading reading = readModality(*dataset);

  EXPECT_EQ(reading.lut.firstMapped, -100);
  EXPECT_TRUE(is16(reading.lut));
}

TEST(LutReadingFromDatasets, ReadsTheFirstOfSeveralItems) {
  const auto dataset = DatasetBuilder()
                           .withItem(DCM_ModalityLUTSequence,
                                     descriptorItem({2, 0, 16}).withWords(DCM_LUTData, {1, 2}))
                           .withItem(DCM_ModalityLUTSequence,
                                     descriptorItem({2, 0, 16}).withWords(DCM_LUTData, {3, 4}))
                           .build();

  EXPECT_THAT(valuesOf(readModality(*dataset).lut), ElementsAre(1, 2));
}

TEST(LutReadingFromDatasets, GivesNothingForTwoDescriptorValues) {
  const auto dataset = DatasetBuilder()
                           .withItem(DCM_ModalityLUTSequence,
                                     descriptorItem({256, 0}).withWords(DCM_LUTData, Words(256, 1)))
                           .build();

  expectFailedCheck(readModality(*dataset), "cond[numFields==3]");
}

TEST(LutReadingFromDatasets, IsSilentWithoutASequence) {
  const auto dataset = DatasetBuilder().withUint16(DCM_PixelRepresentation, 1).build();

  const Reading reading = readModality(*dataset);

  EXPECT_TRUE(reading.lut.entries.isNull());
  EXPECT_THAT(reading.log, IsEmpty());
}

}  // namespace
