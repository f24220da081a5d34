// SPDX-License-Identifier: BSD-3-Clause
// What a written file contains, and what is refused before one is written.
#include "core/writing/ExportFixture.h"
#include "support/LogCapture.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "writing/CallersSamples.h"
#include "writing/ZrDcmExportPrivate.h"

#include <gx/GxParamBundle.h>

#include "dcmtk/dcmdata/dcostrmb.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using exporting::load;
using exporting::textOf;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kTagsFailed = "[writeImage]failed to write dcm tags to dcmdataset!";
constexpr const char* kPixelDataFailed =
    "[writeImage]failed to write dcm pixel data to dcmdataset!";

class WriteImageAsIs : public testing::Test {
protected:
  /// Writes the twelve samples as 4 x 3 pixels of the given type.
  bool write(ZrDcmExportPrivate& writer, KtPrimType type = KtPrimType::U16) {
    return writer.writeImageAsIs(4, 3, pixels_.data(), type, 1);
  }

  std::unique_ptr<DcmFileFormat> written() const { return load(folder_.file("image.dcm")); }
  bool nothingWritten() const { return fs::is_empty(folder_.path()); }

  support::LogCapture log_;
  support::TempDir folder_;
  std::vector<std::uint16_t> pixels_ = exporting::twelveSamples();
};

// ---- what is refused ----

TEST_F(WriteImageAsIs, RefusesANullBuffer) {
  ZrDcmExportPrivate writer = exporting::secondaryCaptureWriter(folder_.path());

  EXPECT_FALSE(writer.writeImageAsIs(512, 512, nullptr, KtPrimType::U16, 1));

  EXPECT_EQ(writer.lastError(), "[writeImage] null pointer exception!");
  EXPECT_THAT(log_.texts(), ElementsAre("Reformat: [writeImage] null pointer exception!"));
  EXPECT_TRUE(nothingWritten());
}

struct Dimensions {
  const char* name;
  int dim1;
  int dim2;
  int samplesPerPixel;
};

class InvalidDimensions : public testing::TestWithParam<Dimensions> {};

TEST_P(InvalidDimensions, AreRefused) {
  const support::LogCapture log;
  const support::TempDir folder;
  ZrDcmExportPrivate writer = exporting::secondaryCaptureWriter(folder.path());
  std::vector<std::uint16_t> pixels = exporting::twelveSamples();
  const auto [name, dim1, dim2, samplesPerPixel] = GetParam();

  EXPECT_FALSE(writer.writeImageAsIs(dim1, dim2, pixels.data(), KtPrimType::U16, samplesPerPixel));

  EXPECT_EQ(writer.lastError(),
            KtString("[writeImage] invalid dimension parameters or samples per pixel argument!"));
  EXPECT_THAT(log.texts(), ElementsAre("Reformat: [writeImage] invalid dimension parameters or "
                                       "samples per pixel argument!"));
  EXPECT_TRUE(fs::is_empty(folder.path()));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, InvalidDimensions,
    testing::Values(Dimensions{"FirstZero", 0, 3, 1}, Dimensions{"SecondZero", 4, 0, 1},
                    Dimensions{"NoSamples", 4, 3, 0}, Dimensions{"FirstNegative", -4, 3, 1},
                    Dimensions{"BothNegative", -4, -3, 1}, Dimensions{"SamplesNegative", 4, 3, -1}),
    support::nameOf<Dimensions>);

TEST_F(WriteImageAsIs, ChecksTheBufferBeforeTheDimensions) {
  ZrDcmExportPrivate writer;

  EXPECT_FALSE(writer.writeImageAsIs(0, 0, nullptr, KtPrimType::U16, 0));

  EXPECT_EQ(writer.lastError(), "[writeImage] null pointer exception!");
}

TEST_F(WriteImageAsIs, ChecksTheDimensionsBeforeTheAttributes) {
  ZrDcmExportPrivate writer;
  ASSERT_TRUE(writer.setDicomTag("G0009-1001", "private"));

  EXPECT_FALSE(writer.writeImageAsIs(0, 3, pixels_.data(), KtPrimType::U16, 1));

  EXPECT_EQ(writer.lastError(),
            KtString("[writeImage] invalid dimension parameters or samples per pixel argument!"));
}

TEST_F(WriteImageAsIs, PutsTheAttributesBeforeThePixels) {
  ZrDcmExportPrivate writer = exporting::emptyWriter(folder_.path());
  ASSERT_TRUE(writer.setDicomTag("G0009-1001", "private"));

  EXPECT_FALSE(writer.writeImageAsIs(65536, 32768, pixels_.data(), KtPrimType::U16, 1));

  EXPECT_EQ(writer.lastError(), kTagsFailed);
}

TEST_F(WriteImageAsIs, PutsThePixelsBeforeItAsksForTheDirectory) {
  ZrDcmExportPrivate writer;

  // 2^31 samples: a negative count in 32 bits, which no element can hold.
  EXPECT_FALSE(writer.writeImageAsIs(65536, 32768, pixels_.data(), KtPrimType::U16, 1));

  EXPECT_EQ(writer.lastError(), kPixelDataFailed);
  EXPECT_THAT(log_.texts(), ElementsAre("Reformat: [writeImage]failed to write dcm pixel data to "
                                        "dcmdataset!"));
}

TEST_F(WriteImageAsIs, RefusesANegativeCountOf8BitSamples) {
  ZrDcmExportPrivate writer = exporting::emptyWriter(folder_.path());

  EXPECT_FALSE(writer.writeImageAsIs(65536, 32767, pixels_.data(), KtPrimType::U8, 2));

  EXPECT_EQ(writer.lastError(), kPixelDataFailed);
  EXPECT_TRUE(nothingWritten());
}

TEST_F(WriteImageAsIs, RequiresADirectory) {
  ZrDcmExportPrivate writer = exporting::secondaryCaptureWriter("");

  EXPECT_FALSE(write(writer));

  EXPECT_EQ(writer.lastError(), "[writeImage] no outputBaseDirectory specified!");
  EXPECT_THAT(log_.texts(),
              ElementsAre("Reformat: [writeImage] no outputBaseDirectory specified!"));
}

struct BadAttribute {
  const char* name;
  const char* key;
  const char* value;
  KtPrimType::Code type;
};

class AttributeThatCannotBePut : public testing::TestWithParam<BadAttribute> {};

TEST_P(AttributeThatCannotBePut, FailsTheFile) {
  const support::LogCapture log;
  const support::TempDir folder;
  ZrDcmExportPrivate writer = exporting::emptyWriter(folder.path());
  ASSERT_TRUE(writer.setDicomTag(GetParam().key, GetParam().value));
  std::vector<std::uint16_t> pixels = exporting::twelveSamples();

  EXPECT_FALSE(writer.writeImageAsIs(4, 3, pixels.data(), GetParam().type, 1));

  EXPECT_EQ(writer.lastError(), kTagsFailed);
  EXPECT_THAT(log.texts(),
              ElementsAre("Reformat: [writeImage]failed to write dcm tags to dcmdataset!"));
  EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST_P(AttributeThatCannotBePut, FailsTheFileFromWithinAnItem) {
  const support::LogCapture log;
  const support::TempDir folder;
  ZrDcmExportPrivate writer = exporting::emptyWriter(folder.path());
  ZrDcmSequence* sequence = writer.startSequence("G0008-1140", true);
  ASSERT_NE(sequence, nullptr);
  ASSERT_TRUE(
      sequence->items.append(ZrDcmData()).setDicomTag(GetParam().key, GetParam().value, true));
  std::vector<std::uint16_t> pixels = exporting::twelveSamples();

  EXPECT_FALSE(writer.writeImageAsIs(4, 3, pixels.data(), GetParam().type, 1));

  EXPECT_EQ(writer.lastError(), kTagsFailed);
  EXPECT_TRUE(fs::is_empty(folder.path()));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, AttributeThatCannotBePut,
    testing::Values(BadAttribute{"UsOrSsOfBytes", "G0028-0120", "0", KtPrimType::U8},
                    BadAttribute{"UsOrSsBelowTheRange", "G0028-0105", "0", KtPrimType::U16},
                    BadAttribute{"UsOrSsOfALut", "G0028-3002", "1\\0\\16", KtPrimType::U16},
                    BadAttribute{"UnknownBehindTheRange", "G0028-0112", "0", KtPrimType::U16},
                    BadAttribute{"Private", "G0009-1001", "x", KtPrimType::U16},
                    BadAttribute{"NoNumber", "G0028-0010", "many", KtPrimType::U16},
                    BadAttribute{"NoSignedNumber", "G0028-0120", "x", KtPrimType::S16},
                    BadAttribute{"PixelData", "G7fe0-0010", "0\\1", KtPrimType::U16},
                    BadAttribute{"SequenceAsText", "G0008-1140", "x", KtPrimType::U16},
                    BadAttribute{"NoKey", "PatientName", "x", KtPrimType::U16}),
    support::nameOf<BadAttribute>);

// ---- what is written ----

TEST_F(WriteImageAsIs, WritesAttributesAndSamples) {
  ZrDcmExportPrivate writer = exporting::secondaryCaptureWriter(folder_.path());

  ASSERT_TRUE(write(writer));

  const auto file = written();
  DcmDataset& dataset = *file->getDataset();
  EXPECT_EQ(textOf(dataset, DCM_PatientName), "Doe^John");
  EXPECT_EQ(textOf(dataset, DCM_Rows), "3");
  EXPECT_EQ(textOf(dataset, DCM_Columns), "4");
  EXPECT_EQ(exporting::samplesOf(dataset), exporting::twelveSamples());
  EXPECT_THAT(log_.texts(), IsEmpty());
  EXPECT_TRUE(writer.lastError().empty());
}

TEST_F(WriteImageAsIs, WritesTheMetaInformation) {
  ZrDcmExportPrivate writer = exporting::ctWriter(folder_.path());

  ASSERT_TRUE(write(writer));

  const auto file = written();
  DcmMetaInfo& meta = *file->getMetaInfo();
  EXPECT_EQ(textOf(meta, DCM_MediaStorageSOPClassUID), "1.2.840.10008.5.1.4.1.1.2");
  EXPECT_EQ(textOf(meta, DCM_MediaStorageSOPInstanceUID), "2.25.1.2.3");
  EXPECT_EQ(textOf(meta, DCM_TransferSyntaxUID), "1.2.840.10008.1.2.1");
  EXPECT_EQ(textOf(meta, DCM_ImplementationClassUID),
            "2.25.203826364080724706558992419398025887192.1.0.51.20070901");
  EXPECT_EQ(textOf(meta, DCM_ImplementationVersionName), "ZrDcmExport");
  EXPECT_EQ(file->getDataset()->getOriginalXfer(), EXS_LittleEndianExplicit);
}

TEST_F(WriteImageAsIs, LeavesSopUidsOfTheMetaInformationEmptyWithoutTheirAttributes) {
  ZrDcmExportPrivate writer = exporting::emptyWriter(folder_.path());

  ASSERT_TRUE(write(writer));

  const auto file = written();
  DcmMetaInfo& meta = *file->getMetaInfo();
  EXPECT_TRUE(meta.tagExists(DCM_MediaStorageSOPClassUID));
  EXPECT_TRUE(meta.tagExists(DCM_MediaStorageSOPInstanceUID));
  EXPECT_EQ(textOf(meta, DCM_MediaStorageSOPClassUID), "");
  EXPECT_EQ(textOf(meta, DCM_MediaStorageSOPInstanceUID), "");
}

TEST_F(WriteImageAsIs, BeginsWithPreambleAndPrefix) {
  ZrDcmExportPrivate writer = exporting::secondaryCaptureWriter(folder_.path());

  ASSERT_TRUE(write(writer));

  std::ifstream stream(folder_.file("image.dcm"), std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(stream)), {});
  ASSERT_GT(bytes.size(), 144U);
  EXPECT_EQ(bytes.substr(0, 128), std::string(128, '\0'));
  EXPECT_EQ(bytes.substr(128, 4), "DICM");
  // (0002,0000) UL of 4 bytes, then the bytes up to the first attribute of group 8
  EXPECT_EQ(bytes.substr(132, 8), std::string("\x02\x00\x00\x00UL\x04\x00", 8));
  const auto metaBytes = static_cast<std::size_t>(static_cast<unsigned char>(bytes[140])) +
                         256U * static_cast<unsigned char>(bytes[141]);
  EXPECT_EQ(bytes.substr(144 + metaBytes, 6), std::string("\x08\x00\x05\x00"
                                                          "CS",
                                                          6));
}

TEST_F(WriteImageAsIs, NeverWritesFileMetaAttributesOfTheTree) {
  ZrDcmExportPrivate writer = exporting::secondaryCaptureWriter(folder_.path());
  ASSERT_TRUE(writer.setDicomTag("G0002-0010", "1.2.840.10008.1.2.2"));
  ASSERT_TRUE(writer.setDicomTag("G0002-0013", "SOMEBODY"));
  ASSERT_TRUE(writer.setDicomTag("G0002", "nothing"));

  ASSERT_TRUE(write(writer));

  const auto file = written();
  EXPECT_EQ(textOf(*file->getMetaInfo(), DCM_TransferSyntaxUID), "1.2.840.10008.1.2.1");
  EXPECT_EQ(textOf(*file->getMetaInfo(), DCM_ImplementationVersionName), "ZrDcmExport");
  EXPECT_FALSE(file->getDataset()->tagExists(DCM_TransferSyntaxUID));
  EXPECT_FALSE(file->getDataset()->tagExists(DCM_ImplementationVersionName));
}

// Keys are told by their text: these name attributes of the group too, and are written like any
// other.
TEST_F(WriteImageAsIs, WritesOtherSpellingsOfTheFileMetaGroupIntoTheDataset) {
  GxParamBundle bundle("root");
  bundle.addParameter("G2-10", "UI: 1.2.840.10008.1.2.2");
  bundle.addParameter("G02-0016", "AE: SOMEBODY");
  ZrDcmExportPrivate writer = exporting::secondaryCaptureWriter(folder_.path());
  ASSERT_TRUE(writer.addParameters(&bundle));

  ASSERT_TRUE(write(writer));

  const auto file = written();
  EXPECT_EQ(textOf(*file->getMetaInfo(), DCM_TransferSyntaxUID), "1.2.840.10008.1.2.1");
  EXPECT_FALSE(file->getMetaInfo()->tagExists(DCM_SourceApplicationEntityTitle));
  EXPECT_EQ(textOf(*file->getDataset(), DCM_TransferSyntaxUID), "1.2.840.10008.1.2.2");
  EXPECT_EQ(textOf(*file->getDataset(), DCM_SourceApplicationEntityTitle), "SOMEBODY");
}

TEST_F(WriteImageAsIs, WritesAnEmptyValueAsAnEmptyElement) {
  ZrDcmExportPrivate writer = exporting::secondaryCaptureWriter(folder_.path());
  ASSERT_TRUE(writer.setDicomTag("G0010-0030", ""));

  ASSERT_TRUE(write(writer));

  const auto file = written();
  EXPECT_EQ(textOf(*file->getDataset(), DCM_PatientBirthDate), "");
}

TEST_F(WriteImageAsIs, LetsTheSecondOfTwoKeysOfOneAttributeReplaceTheFirst) {
  ZrDcmExportPrivate writer = exporting::emptyWriter(folder_.path());
  ASSERT_TRUE(writer.setDicomTag("G0010-0010", "first"));
  ASSERT_TRUE(writer.setDicomTag("G10-10", "second"));

  ASSERT_TRUE(write(writer));

  EXPECT_EQ(textOf(*written()->getDataset(), DCM_PatientName), "second");
}

struct SampleAttribute {
  const char* name;
  const char* key;
  DcmTagKey tag;
};

class AttributeOfSampleValues : public testing::TestWithParam<SampleAttribute> {
protected:
  /// VR and value with which the attribute of the row is written.
  std::string writtenAs(KtPrimType type, const char* value) {
    const support::LogCapture log;
    const support::TempDir folder;
    ZrDcmExportPrivate writer = exporting::emptyWriter(folder.path());
    std::vector<std::uint16_t> pixels = exporting::twelveSamples();
    if (!writer.setDicomTag(GetParam().key, value) ||
        !writer.writeImageAsIs(4, 3, pixels.data(), type, 1)) {
      return writer.lastError();
    }
    const auto file = load(folder.file("image.dcm"));
    DcmElement* element = nullptr;
    if (file->getDataset()->findAndGetElement(GetParam().tag, element).bad()) {
      return "(missing)";
    }
    return std::string(DcmVR(element->ident()).getVRName()) + " " +
           textOf(*file->getDataset(), GetParam().tag);
  }
};

TEST_P(AttributeOfSampleValues, IsUnsignedForUnsignedSamples) {
  EXPECT_EQ(writtenAs(KtPrimType::U16, "0"), "US 0");
  EXPECT_EQ(writtenAs(KtPrimType::U16, "65535"), "US 65535");
}

TEST_P(AttributeOfSampleValues, IsSignedForSignedSamples) {
  EXPECT_EQ(writtenAs(KtPrimType::S16, "0"), "SS 0");
  EXPECT_EQ(writtenAs(KtPrimType::S16, "-2000"), "SS -2000");
}

TEST_P(AttributeOfSampleValues, CannotBeWrittenForOtherSamples) {
  EXPECT_EQ(writtenAs(KtPrimType::U8, "0"), kTagsFailed);
  EXPECT_EQ(writtenAs(KtPrimType::F32, "0"), kTagsFailed);
}

INSTANTIATE_TEST_SUITE_P(
    Attributes, AttributeOfSampleValues,
    testing::Values(
        SampleAttribute{"SmallestImagePixelValue", "G0028-0106", DCM_SmallestImagePixelValue},
        SampleAttribute{"LargestImagePixelValue", "G0028-0107", DCM_LargestImagePixelValue},
        SampleAttribute{"SmallestPixelValueInSeries", "G0028-0108", DCM_SmallestPixelValueInSeries},
        SampleAttribute{"LargestPixelValueInSeries", "G0028-0109", DCM_LargestPixelValueInSeries},
        SampleAttribute{"SmallestInPlane", "G0028-0110", DcmTagKey(0x0028, 0x0110)},
        SampleAttribute{"LargestInPlane", "G0028-0111", DcmTagKey(0x0028, 0x0111)},
        SampleAttribute{"PixelPaddingValue", "G0028-0120", DCM_PixelPaddingValue}),
    support::nameOf<SampleAttribute>);

TEST_F(WriteImageAsIs, GivesTheVrOfSamplesToAttributesWithinItemsToo) {
  ZrDcmExportPrivate writer = exporting::emptyWriter(folder_.path());
  ZrDcmSequence* sequence = writer.startSequence("G0008-1140", true);
  ASSERT_NE(sequence, nullptr);
  ASSERT_TRUE(sequence->items.append(ZrDcmData()).setDicomTag("G0028-0120", "-1", true));

  ASSERT_TRUE(write(writer, KtPrimType::S16));

  const auto file = written();
  DcmItem* item = nullptr;
  ASSERT_TRUE(
      file->getDataset()->findAndGetSequenceItem(DCM_ReferencedImageSequence, item, 0).good());
  Sint16 padding = 0;
  ASSERT_TRUE(item->findAndGetSint16(DCM_PixelPaddingValue, padding).good());
  EXPECT_EQ(padding, -1);
}

TEST_F(WriteImageAsIs, WritesSignedSamplesAsTheyStand) {
  ZrDcmExportPrivate writer = exporting::secondaryCaptureWriter(folder_.path());

  ASSERT_TRUE(write(writer, KtPrimType::S16));

  EXPECT_EQ(exporting::samplesOf(*written()->getDataset()), exporting::twelveSamples());
}

TEST_F(WriteImageAsIs, Writes8BitSamplesAndPadsAnOddCount) {
  ZrDcmExportPrivate writer = exporting::emptyWriter(folder_.path());
  std::vector<std::uint8_t> bytes = {0, 1, 127, 128, 254, 255, 7, 8, 9};

  ASSERT_TRUE(writer.writeImageAsIs(3, 3, bytes.data(), KtPrimType::U8, 1));

  const auto file = written();
  const Uint8* values = nullptr;
  unsigned long count = 0;
  ASSERT_TRUE(file->getDataset()->findAndGetUint8Array(DCM_PixelData, values, &count).good());
  EXPECT_THAT(std::vector<std::uint8_t>(values, values + count),
              ElementsAre(0, 1, 127, 128, 254, 255, 7, 8, 9, 0));
}

TEST_F(WriteImageAsIs, WritesAllSamplesOfAPixel) {
  ZrDcmExportPrivate writer = exporting::emptyWriter(folder_.path());

  ASSERT_TRUE(writer.writeImageAsIs(2, 2, pixels_.data(), KtPrimType::U16, 3));

  EXPECT_EQ(exporting::samplesOf(*written()->getDataset()), exporting::twelveSamples());
}

struct OtherType {
  const char* name;
  KtPrimType::Code code;
};

class SamplesOfAnotherType : public testing::TestWithParam<OtherType> {};

TEST_P(SamplesOfAnotherType, MakeAFileWithoutPixelData) {
  const support::TempDir folder;
  ZrDcmExportPrivate writer = exporting::secondaryCaptureWriter(folder.path());
  std::vector<std::uint16_t> pixels = exporting::twelveSamples();

  EXPECT_TRUE(writer.writeImageAsIs(1, 1, pixels.data(), GetParam().code, 1));

  const auto file = load(folder.file("image.dcm"));
  EXPECT_EQ(textOf(*file->getDataset(), DCM_PatientName), "Doe^John");
  EXPECT_FALSE(file->getDataset()->tagExists(DCM_PixelData));
}

INSTANTIATE_TEST_SUITE_P(Types, SamplesOfAnotherType,
                         testing::Values(OtherType{"S32", KtPrimType::S32},
                                         OtherType{"F32", KtPrimType::F32},
                                         OtherType{"F64", KtPrimType::F64},
                                         OtherType{"U32", KtPrimType::U32},
                                         OtherType{"S8", KtPrimType::S8}),
                         support::nameOf<OtherType>);

TEST_F(WriteImageAsIs, CountsSamplesIn32Bits) {
  ZrDcmExportPrivate writer = exporting::emptyWriter(folder_.path());

  // 65536 x 65537 is 2^32 + 65536, of which 32 bits keep 65536.
  std::vector<std::uint16_t> pixels(65536, 7);
  EXPECT_TRUE(writer.writeImageAsIs(65536, 65537, pixels.data(), KtPrimType::U16, 1));

  EXPECT_EQ(exporting::samplesOf(*written()->getDataset()), pixels);
}

// ---- sequences ----

TEST_F(WriteImageAsIs, WritesItemsInTheirOrder) {
  ZrDcmExportPrivate writer = exporting::emptyWriter(folder_.path());
  ZrDcmSequence* sequence = writer.startSequence("G0008-1140", true);
  ASSERT_NE(sequence, nullptr);
  for (const char* uid : {"1.1", "1.2", "1.3"}) {
    ASSERT_TRUE(sequence->items.append(ZrDcmData()).setDicomTag("G0008-1155", uid, true));
  }

  ASSERT_TRUE(write(writer));

  const auto file = written();
  DcmSequenceOfItems* items = nullptr;
  ASSERT_TRUE(file->getDataset()->findAndGetSequence(DCM_ReferencedImageSequence, items).good());
  ASSERT_EQ(items->card(), 3U);
  EXPECT_EQ(textOf(*items->getItem(0), DCM_ReferencedSOPInstanceUID), "1.1");
  EXPECT_EQ(textOf(*items->getItem(1), DCM_ReferencedSOPInstanceUID), "1.2");
  EXPECT_EQ(textOf(*items->getItem(2), DCM_ReferencedSOPInstanceUID), "1.3");
}

TEST_F(WriteImageAsIs, WritesNoElementForASequenceWithoutItems) {
  ZrDcmExportPrivate writer = exporting::emptyWriter(folder_.path());
  ASSERT_NE(writer.startSequence("G0008-1140", true), nullptr);

  ASSERT_TRUE(write(writer));

  EXPECT_FALSE(written()->getDataset()->tagExists(DCM_ReferencedImageSequence));
}

TEST_F(WriteImageAsIs, WritesAnItemWithoutAttributes) {
  ZrDcmExportPrivate writer = exporting::emptyWriter(folder_.path());
  ZrDcmSequence* sequence = writer.startSequence("G0008-1140", true);
  ASSERT_NE(sequence, nullptr);
  sequence->items.append(ZrDcmData());

  ASSERT_TRUE(write(writer));

  const auto file = written();
  DcmItem* item = nullptr;
  ASSERT_TRUE(
      file->getDataset()->findAndGetSequenceItem(DCM_ReferencedImageSequence, item, 0).good());
  EXPECT_EQ(item->card(), 0U);
}

TEST_F(WriteImageAsIs, WritesSequencesWithinItems) {
  ZrDcmExportPrivate writer = exporting::emptyWriter(folder_.path());
  ZrDcmSequence* outer = writer.startSequence("G0008-1115", true);
  ASSERT_NE(outer, nullptr);
  ZrDcmSequence* inner = outer->items.append(ZrDcmData()).startSequence("G0008-1140", true);
  ASSERT_NE(inner, nullptr);
  ASSERT_TRUE(inner->items.append(ZrDcmData()).setDicomTag("G0008-1155", "1.6", true));

  ASSERT_TRUE(write(writer));

  const auto file = written();
  DcmItem* outerItem = nullptr;
  DcmItem* innerItem = nullptr;
  ASSERT_TRUE(
      file->getDataset()->findAndGetSequenceItem(DCM_ReferencedSeriesSequence, outerItem).good());
  ASSERT_TRUE(outerItem->findAndGetSequenceItem(DCM_ReferencedImageSequence, innerItem).good());
  EXPECT_EQ(textOf(*innerItem, DCM_ReferencedSOPInstanceUID), "1.6");
}

TEST_F(WriteImageAsIs, LeavesOutItemsThatDcmtkCannotMake) {
  ZrDcmExportPrivate writer = exporting::emptyWriter(folder_.path());
  ASSERT_TRUE(writer.setDicomTag("G0010-0010", "A"));
  // The attribute above is where the sequence would be, so there is no item to fill.
  ZrDcmSequence* sequence = writer.startSequence("G0010-0010", true);
  ASSERT_NE(sequence, nullptr);
  ASSERT_TRUE(sequence->items.append(ZrDcmData()).setDicomTag("G0009-1001", "x", true));

  EXPECT_TRUE(write(writer));

  EXPECT_EQ(textOf(*written()->getDataset(), DCM_PatientName), "A");
}

TEST_F(WriteImageAsIs, HandsItsFlagDownWithoutEffect) {
  ZrDcmExportPrivate writer;
  ZrDcmSequence* sequence = writer.startSequence("G0008-1140", true);
  ASSERT_NE(sequence, nullptr);
  ASSERT_TRUE(sequence->items.append(ZrDcmData()).setDicomTag("G0008-1155", "1.6", true));
  DcmDataset with;
  DcmDataset without;

  EXPECT_TRUE(writer.writeDicomTags(&with, &writer, KtPrimType::U16, true));
  EXPECT_TRUE(writer.writeDicomTags(&without, &writer, KtPrimType::U16, false));

  EXPECT_EQ(with.compare(without), 0);
  EXPECT_TRUE(with.tagExists(DCM_ReferencedImageSequence));
}

// ---- one writer, several files ----

TEST_F(WriteImageAsIs, WritesFurtherFilesFromTheChangedTree) {
  ZrDcmExportPrivate writer = exporting::secondaryCaptureWriter(folder_.path());
  ASSERT_TRUE(write(writer));
  ASSERT_TRUE(writer.setDicomTag("G0020-0013", "8"));
  ASSERT_TRUE(writer.setFilename("second.dcm"));

  ASSERT_TRUE(write(writer));

  EXPECT_EQ(textOf(*written()->getDataset(), DCM_InstanceNumber), "7");
  const auto second = load(folder_.file("second.dcm"));
  EXPECT_EQ(textOf(*second->getDataset(), DCM_InstanceNumber), "8");
  EXPECT_EQ(textOf(*second->getDataset(), DCM_PatientName), "Doe^John");
}

TEST_F(WriteImageAsIs, OverwritesAnExistingFile) {
  std::ofstream(folder_.file("image.dcm")) << std::string(100000, 'x');
  ZrDcmExportPrivate writer = exporting::secondaryCaptureWriter(folder_.path());

  ASSERT_TRUE(write(writer));

  EXPECT_LT(fs::file_size(folder_.file("image.dcm")), 5000U);
  EXPECT_EQ(exporting::samplesOf(*written()->getDataset()), exporting::twelveSamples());
}

TEST_F(WriteImageAsIs, KeepsTheLastErrorAfterASuccess) {
  ZrDcmExportPrivate writer = exporting::secondaryCaptureWriter(folder_.path());
  ASSERT_FALSE(writer.writeImageAsIs(4, 3, nullptr, KtPrimType::U16, 1));

  ASSERT_TRUE(write(writer));

  EXPECT_EQ(writer.lastError(), "[writeImage] null pointer exception!");
}

// ---- samples that stay with the caller ----------------------------------------------------------

TEST(CallersSamples, AreTakenWhereALengthFieldCanTellTheirSize) {
  EXPECT_FALSE(ZrDcmCallersSamples::takes(0)) << "an empty value is DCMTK's";
  EXPECT_TRUE(ZrDcmCallersSamples::takes(2));
  EXPECT_FALSE(ZrDcmCallersSamples::takes(3)) << "the byte that makes it even is not there";
  EXPECT_TRUE(ZrDcmCallersSamples::takes(0xFFFFFFFEULL));
  EXPECT_FALSE(ZrDcmCallersSamples::takes(0xFFFFFFFFULL)) << "an undefined length";
  EXPECT_FALSE(ZrDcmCallersSamples::takes(0x100000000ULL));
}

class CallersSamplesIn : public testing::Test {
protected:
  /// Writes the samples into so many bytes of memory.
  OFCondition write(std::size_t capacity) {
    memory_.resize(capacity);
    DcmOutputBufferStream stream(memory_.data(), static_cast<offile_off_t>(memory_.size()));
    ZrDcmCallersSamples element(EVR_OW, samples_.data(), sizeof(samples_));
    element.transferInit();
    const OFCondition status =
        element.write(stream, EXS_LittleEndianExplicit, EET_ExplicitLength, nullptr);
    ready_ = element.transferState() == ERW_ready;
    return status;
  }

  std::array<Uint16, 3> samples_ = {0x0102, 0x0304, 0x0506};
  std::vector<unsigned char> memory_;
  bool ready_ = false;
};

TEST_F(CallersSamplesIn, EnoughMemoryAreAnElementWithItsHeader) {
  EXPECT_TRUE(write(18).good());

  EXPECT_TRUE(ready_);
  EXPECT_THAT(memory_,
              ElementsAre(0xE0, 0x7F, 0x10, 0x00, 'O', 'W', 0, 0, 6, 0, 0, 0, 2, 1, 4, 3, 6, 5));
}

TEST_F(CallersSamplesIn, TooLittleMemoryAreAFailure) {
  EXPECT_TRUE(write(17).bad());

  EXPECT_FALSE(ready_);
}

}  // namespace
