// SPDX-License-Identifier: BSD-3-Clause
// zrdcm export: what it writes, what it fills in, and which key it blames.
#include "support/DatasetBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace {

using nlohmann::json;
using support::DatasetBuilder;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using tools::Outcome;
using tools::runZrdcm;

class ZrdcmExport : public testing::Test {
protected:
  ZrdcmExport() {
    tools::writeFile(folder_.file("image.raw"), std::string("\x00\x00\x01\x02\xff\xff\x34\x12", 8));
  }

  /// Writes 2 x 2 samples with these attributes.
  Outcome exportTags(const std::string& tags, const std::vector<std::string>& further = {}) {
    tools::writeFile(folder_.file("tags.json"), tags);
    std::vector<std::string> all = {"--tags", path("tags.json")};
    all.insert(all.end(), further.begin(), further.end());
    return exportWith(all);
  }

  Outcome exportWith(const std::vector<std::string>& further) {
    std::vector<std::string> all = {"export",    "--pixels", path("image.raw"),
                                    "--columns", "2",        "--rows",
                                    "2",         "-o",       path("out.dcm")};
    all.insert(all.end(), further.begin(), further.end());
    return runZrdcm(all);
  }

  std::string path(const std::string& name) const { return folder_.file(name).string(); }

  std::unique_ptr<DcmFileFormat> written() const {
    auto file = std::make_unique<DcmFileFormat>();
    if (file->loadFile(path("out.dcm").c_str()).bad() || file->loadAllDataIntoMemory().bad()) {
      throw std::runtime_error("out.dcm cannot be read");
    }
    return file;
  }

  std::string text(const DcmTagKey& key) const {
    OFString value;
    return written()->getDataset()->findAndGetOFStringArray(key, value).good() ? value
                                                                               : "(missing)";
  }

  support::TempDir folder_;
};

TEST_F(ZrdcmExport, WritesAttributesByKeywordAndKey) {
  const Outcome run = exportTags(R"({"PatientName": "Doe^John", "G0010-0020": "P1",
                                     "PixelSpacing": "0.5\\0.75", "PatientBirthDate": ""})");

  ASSERT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(run.output, "");
  EXPECT_EQ(text(DCM_PatientName), "Doe^John");
  EXPECT_EQ(text(DCM_PatientID), "P1");
  EXPECT_EQ(text(DCM_PixelSpacing), "0.5\\0.75");
  EXPECT_EQ(text(DCM_PatientBirthDate), "");
}

TEST_F(ZrdcmExport, WritesTheSamples) {
  ASSERT_EQ(exportTags("{}").status, 0);

  const auto file = written();
  const Uint16* words = nullptr;
  unsigned long count = 0;
  ASSERT_TRUE(file->getDataset()->findAndGetUint16Array(DCM_PixelData, words, &count).good());
  EXPECT_THAT(std::vector<std::uint16_t>(words, words + count),
              ElementsAre(0, 0x0201, 0xffff, 0x1234));
}

TEST_F(ZrdcmExport, PadsAnOddNumberOf8BitSamples) {
  tools::writeFile(folder_.file("image.raw"), std::string("\x01\x02\xff", 3));
  tools::writeFile(folder_.file("tags.json"), "{}");

  const Outcome run =
      runZrdcm({"export", "--tags", path("tags.json"), "--pixels", path("image.raw"), "--columns",
                "3", "--rows", "1", "--type", "u8", "-o", path("out.dcm")});
  ASSERT_EQ(run.status, 0) << run.errors;
  const auto file = written();
  const Uint16* words = nullptr;
  unsigned long count = 0;
  ASSERT_TRUE(file->getDataset()->findAndGetUint16Array(DCM_PixelData, words, &count).good());
  EXPECT_THAT(std::vector<std::uint16_t>(words, words + count), ElementsAre(0x0201, 0x00ff));
  EXPECT_EQ(text(DCM_BitsAllocated), "8");
  EXPECT_EQ(text(DCM_HighBit), "7");
}

TEST_F(ZrdcmExport, FillsInWhatTheSamplesTell) {
  ASSERT_EQ(exportTags("{}", {"--type", "s16"}).status, 0);

  EXPECT_EQ(text(DCM_Rows), "2");
  EXPECT_EQ(text(DCM_Columns), "2");
  EXPECT_EQ(text(DCM_SamplesPerPixel), "1");
  EXPECT_EQ(text(DCM_BitsAllocated), "16");
  EXPECT_EQ(text(DCM_BitsStored), "16");
  EXPECT_EQ(text(DCM_HighBit), "15");
  EXPECT_EQ(text(DCM_PixelRepresentation), "1");
  EXPECT_EQ(text(DCM_PhotometricInterpretation), "MONOCHROME2");
}

TEST_F(ZrdcmExport, FillsInFreshUids) {
  const json first = json::parse(exportTags("{}", {"--json"}).output);
  const json second = json::parse(exportTags("{}", {"--json"}).output);

  EXPECT_EQ(text(DCM_SOPClassUID), "1.2.840.10008.5.1.4.1.1.7");
  EXPECT_EQ(text(DCM_SOPInstanceUID), second["sopInstanceUid"]);
  for (const char* uid : {"sopInstanceUid", "studyInstanceUid", "seriesInstanceUid"}) {
    EXPECT_NE(first[uid], second[uid]);
    EXPECT_THAT(first[uid].get<std::string>(), testing::MatchesRegex("2\\.25\\.[1-9][0-9]*"));
    EXPECT_LE(first[uid].get<std::string>().size(), 44U);
  }
}

TEST_F(ZrdcmExport, KeepsUidsThatAreGiven) {
  ASSERT_EQ(exportTags(R"({"SOPInstanceUID": "1.2.3", "SOPClassUID": "1.2.4"})").status, 0);

  EXPECT_EQ(text(DCM_SOPInstanceUID), "1.2.3");
  EXPECT_EQ(text(DCM_SOPClassUID), "1.2.4");
}

TEST_F(ZrdcmExport, WritesSequences) {
  ASSERT_EQ(exportTags(R"({"SourceImageSequence": [
      {"ReferencedSOPInstanceUID": "1.1", "PurposeOfReferenceCodeSequence": [{"CodeValue": "c"}]},
      {"ReferencedSOPInstanceUID": "1.2"}]})")
                .status,
            0);

  const auto file = written();
  DcmSequenceOfItems* sequence = nullptr;
  ASSERT_TRUE(file->getDataset()->findAndGetSequence(DCM_SourceImageSequence, sequence).good());
  ASSERT_EQ(sequence->card(), 2U);
  OFString uid;
  ASSERT_TRUE(sequence->getItem(1)->findAndGetOFString(DCM_ReferencedSOPInstanceUID, uid).good());
  EXPECT_EQ(uid, "1.2");
  DcmItem* code = nullptr;
  ASSERT_TRUE(sequence->getItem(0)
                  ->findAndGetSequenceItem(DCM_PurposeOfReferenceCodeSequence, code)
                  .good());
  OFString value;
  EXPECT_TRUE(code->findAndGetOFString(DCM_CodeValue, value).good());
  EXPECT_EQ(value, "c");
}

TEST_F(ZrdcmExport, NamesTheCharacterSetOfItsLetters) {
  ASSERT_EQ(exportTags("{\"PatientName\": \"D\xc3\xb6\"}").status, 0);

  EXPECT_EQ(text(DCM_SpecificCharacterSet), "ISO_IR 192");
  EXPECT_EQ(text(DCM_PatientName), "D\xc3\xb6");
}

TEST_F(ZrdcmExport, NamesTheCharacterSetOfLettersWithinItems) {
  const Outcome run = exportTags("{\"SourceImageSequence\": [{\"ImageComments\": \"D\xc3\xb6\"}]}");

  ASSERT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(text(DCM_SpecificCharacterSet), "ISO_IR 192");
}

// ---- from another file ----

class ZrdcmExportFrom : public ZrdcmExport {
protected:
  void save(DatasetBuilder builder) {
    const auto dataset = builder.build();
    DcmFileFormat format(dataset.get());
    ASSERT_TRUE(format.saveFile(path("from.dcm").c_str(), EXS_LittleEndianExplicit).good());
  }

  static DatasetBuilder source() {
    return DatasetBuilder()
        .with(DCM_SOPClassUID, "1.2.840.10008.5.1.4.1.1.2")
        .with(DCM_SOPInstanceUID, "1.2.3")
        .with(DCM_StudyInstanceUID, "1.2.4")
        .with(DCM_SeriesInstanceUID, "1.2.5")
        .with(DCM_ImageType, "ORIGINAL\\PRIMARY\\AXIAL")
        .with(DCM_PatientID, "P1")
        .withUint16(DCM_Rows, 512)
        .withUint16(DCM_BitsStored, 12)
        .with(DCM_SmallestImagePixelValue, EVR_US, "7")
        .with(DCM_PixelPaddingValue, EVR_US, "5")
        .with(DcmTagKey(0x0009, 0x0010), EVR_LO, "MAKER")
        .withBytes(DCM_ICCProfile, {1, 2})
        .withItem(DCM_ModalityLUTSequence, DatasetBuilder().with(DCM_ModalityLUTType, "HU"))
        .withItem(DCM_SourceImageSequence,
                  DatasetBuilder().with(DCM_ReferencedSOPInstanceUID, "1.9"))
        .withPixels16({1, 2, 3, 4});
  }
};

TEST_F(ZrdcmExportFrom, TakesOverWhatIsNotOfTheOldImage) {
  save(source());

  const Outcome run = exportWith({"--from", path("from.dcm")});

  ASSERT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(text(DCM_SOPClassUID), "1.2.840.10008.5.1.4.1.1.2");
  EXPECT_EQ(text(DCM_StudyInstanceUID), "1.2.4");
  EXPECT_EQ(text(DCM_PatientID), "P1");
  EXPECT_EQ(text(DCM_ImageType), "DERIVED\\SECONDARY\\AXIAL");
  EXPECT_TRUE(written()->getDataset()->tagExists(DCM_SourceImageSequence));
}

TEST_F(ZrdcmExportFrom, LeavesOutWhatBelongsToTheOldImage) {
  save(source());

  ASSERT_EQ(exportWith({"--from", path("from.dcm")}).status, 0);

  EXPECT_THAT(text(DCM_SOPInstanceUID), StartsWith("2.25."));
  EXPECT_THAT(text(DCM_SeriesInstanceUID), StartsWith("2.25."));
  EXPECT_EQ(text(DCM_Rows), "2");
  EXPECT_EQ(text(DCM_BitsStored), "16");
  const auto file = written();
  for (const DcmTagKey& key :
       {DCM_SmallestImagePixelValue, DCM_PixelPaddingValue, DcmTagKey(0x0009, 0x0010),
        DCM_ICCProfile, DCM_ModalityLUTSequence}) {
    EXPECT_FALSE(file->getDataset()->tagExists(key)) << key.toString();
  }
}

TEST_F(ZrdcmExportFrom, TakesOverWhatIsEmpty) {
  save(source().withBytes(DCM_EncapsulatedDocument, {}).withEmpty(DCM_PatientName));

  const Outcome run = exportWith({"--from", path("from.dcm")});

  ASSERT_EQ(run.status, 0) << run.errors;
  for (const DcmTagKey& key : {DCM_EncapsulatedDocument, DCM_PatientName}) {
    EXPECT_TRUE(written()->getDataset()->tagExists(key)) << key;
    EXPECT_FALSE(written()->getDataset()->tagExistsWithValue(key)) << key;
  }
}

TEST_F(ZrdcmExportFrom, LetsTheTagsWin) {
  save(source());

  ASSERT_EQ(exportTags(R"({"PatientID": "P2", "ImageType": "DERIVED\\SECONDARY\\REFORMATTED"})",
                       {"--from", path("from.dcm")})
                .status,
            0);

  EXPECT_EQ(text(DCM_PatientID), "P2");
  EXPECT_EQ(text(DCM_ImageType), "DERIVED\\SECONDARY\\REFORMATTED");
}

/// All that a CT image must have, of samples with a sign.
DatasetBuilder completeCt() {
  return DatasetBuilder()
      .with(DCM_SOPClassUID, UID_CTImageStorage)
      .with(DCM_SOPInstanceUID, "1.2.3")
      .with(DCM_StudyInstanceUID, "1.2.4")
      .with(DCM_SeriesInstanceUID, "1.2.5")
      .with(DCM_FrameOfReferenceUID, "1.2.6")
      .with(DCM_ImageType, "ORIGINAL\\PRIMARY\\AXIAL")
      .with(DCM_StudyDate, "20240229")
      .with(DCM_StudyTime, "120000")
      .with(DCM_AccessionNumber, "")
      .with(DCM_Modality, "CT")
      .with(DCM_Manufacturer, "Maker")
      .with(DCM_ReferringPhysicianName, "")
      .with(DCM_PatientName, "Doe^John")
      .with(DCM_PatientID, "P1")
      .with(DCM_PatientBirthDate, "19700101")
      .with(DCM_PatientSex, "M")
      .with(DCM_BodyPartExamined, "HEAD")
      .with(DCM_KVP, "120")
      .with(DCM_PatientPosition, "HFS")
      .with(DCM_PositionReferenceIndicator, "")
      .with(DCM_StudyID, "1")
      .with(DCM_SeriesNumber, "2")
      .with(DCM_AcquisitionNumber, "1")
      .with(DCM_InstanceNumber, "9")
      .with(DCM_SliceThickness, "2")
      .with(DCM_ImagePositionPatient, "-10\\-20\\30")
      .with(DCM_ImageOrientationPatient, "1\\0\\0\\0\\1\\0")
      .with(DCM_PixelSpacing, "0.5\\0.5")
      .withUint16(DCM_SamplesPerPixel, 1)
      .with(DCM_PhotometricInterpretation, "MONOCHROME2")
      .withUint16(DCM_Rows, 1)
      .withUint16(DCM_Columns, 4)
      .withUint16(DCM_BitsAllocated, 16)
      .withUint16(DCM_BitsStored, 12)
      .withUint16(DCM_HighBit, 11)
      .withUint16(DCM_PixelRepresentation, 1)
      .with(DCM_PixelPaddingValue, EVR_SS, "-2000")
      .with(DCM_RescaleIntercept, "-1024")
      .with(DCM_RescaleSlope, "1")
      .with(DCM_WindowCenter, "40")
      .with(DCM_WindowWidth, "400")
      .withPixels16({1, 2, 3, 4});
}

constexpr const char* kCoronal = R"({"ImagePositionPatient": "-10\\-20\\32",
    "ImageOrientationPatient": "1\\0\\0\\0\\0\\-1", "PixelSpacing": "1\\0.5",
    "RescaleIntercept": "-33792", "InstanceNumber": "1"})";

TEST_F(ZrdcmExportFrom, WritesAReformattedImageOfACt) {
  save(completeCt());

  const Outcome run = exportTags(kCoronal, {"--from", path("from.dcm")});

  ASSERT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(text(DCM_SOPClassUID), UID_CTImageStorage);
  EXPECT_EQ(text(DCM_ImageType), "DERIVED\\SECONDARY\\AXIAL");
  EXPECT_EQ(text(DCM_PatientName), "Doe^John");
  EXPECT_EQ(text(DCM_StudyInstanceUID), "1.2.4");
  EXPECT_EQ(text(DCM_FrameOfReferenceUID), "1.2.6");
  EXPECT_EQ(text(DCM_KVP), "120");
  EXPECT_EQ(text(DCM_WindowCenter), "40");
  EXPECT_THAT(text(DCM_SOPInstanceUID), StartsWith("2.25."));
  EXPECT_THAT(text(DCM_SeriesInstanceUID), StartsWith("2.25."));
  EXPECT_EQ(text(DCM_ImagePositionPatient), "-10\\-20\\32");
  EXPECT_EQ(text(DCM_ImageOrientationPatient), "1\\0\\0\\0\\0\\-1");
  EXPECT_EQ(text(DCM_PixelSpacing), "1\\0.5");
  EXPECT_EQ(text(DCM_RescaleIntercept), "-33792");
  EXPECT_EQ(text(DCM_PixelRepresentation), "0");
  EXPECT_EQ(text(DCM_BitsStored), "16");
}

TEST_F(ZrdcmExportFrom, WritesACtImageThatDciodvfyTakes) {
  if (tools::runProgram({"sh", "-c", "command -v dciodvfy"}).status != 0) {
    FAIL() << "dciodvfy is not installed; make deps does it";
  }
  save(completeCt());
  ASSERT_EQ(exportTags(kCoronal, {"--from", path("from.dcm")}).status, 0);

  const Outcome check = tools::runProgram({"dciodvfy", path("out.dcm")});

  EXPECT_EQ(check.status, 0);
  EXPECT_THAT(check.errors, HasSubstr("CTImage"));
  EXPECT_THAT(check.errors, testing::Not(HasSubstr("Error")));
}

TEST_F(ZrdcmExportFrom, NamesTheKeyThatTheTagsGetWrong) {
  save(completeCt());

  const Outcome run =
      exportTags(R"({"SourceImageSequence": [{"G0009-1001": "x"}]})", {"--from", path("from.dcm")});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors,
            "zrdcm: SourceImageSequence[0].G0009-1001: private attributes cannot be written\n");
}

TEST_F(ZrdcmExportFrom, TakesOverTextsThatTheirFormForbids) {
  save(completeCt().with(DCM_PatientBirthDate, "1970-01-01"));

  ASSERT_EQ(exportWith({"--from", path("from.dcm")}).status, 0);

  EXPECT_EQ(text(DCM_PatientBirthDate), "1970-01-01");
}

// ---- character sets ----

const char* const kUnicodeTags = "{\"StudyDescription\": \"\u00f6\"}";

/// What a sequence's only item holds; "(missing)" when it does not.
std::string textInItem(const DcmFileFormat& file, const DcmTagKey& sequence, const DcmTagKey& key) {
  auto& dataset = *const_cast<DcmFileFormat&>(file).getDataset();
  DcmItem* item = nullptr;
  OFString value;
  const bool found = dataset.findAndGetSequenceItem(sequence, item).good() &&
                     item->findAndGetOFStringArray(key, value).good();
  return found ? value : "(missing)";
}

TEST_F(ZrdcmExportFrom, ConvertsTextsToTheUnicodeOfTheTags) {
  save(
      source()
          .with(DCM_SpecificCharacterSet, "\\ISO 2022 IR 87")
          .with(DCM_PatientName, "Yamada=\x1b$B;3ED\x1b(B")
          .withItem(DCM_ProcedureCodeSequence,
                    DatasetBuilder().with(DCM_CodeMeaning, "\x1b$B;3\x1b(B"))
          .withItem(DCM_RequestAttributesSequence, DatasetBuilder()
                                                       .with(DCM_SpecificCharacterSet, "ISO_IR 101")
                                                       .with(DCM_RequestedProcedureID, "\xe6")));

  const Outcome run = exportTags(kUnicodeTags, {"--from", path("from.dcm")});

  ASSERT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(text(DCM_SpecificCharacterSet), "ISO_IR 192");
  EXPECT_EQ(text(DCM_StudyDescription), "\u00f6");
  EXPECT_EQ(text(DCM_PatientName), "Yamada=\u5c71\u7530");
  const auto file = written();
  EXPECT_EQ(textInItem(*file, DCM_ProcedureCodeSequence, DCM_CodeMeaning), "\u5c71");
  EXPECT_EQ(textInItem(*file, DCM_RequestAttributesSequence, DCM_RequestedProcedureID), "\u0107");
  EXPECT_EQ(textInItem(*file, DCM_RequestAttributesSequence, DCM_SpecificCharacterSet),
            "ISO_IR 192");
}

TEST_F(ZrdcmExportFrom, ConvertsItemsOfAnotherSetUnderUnicodeToo) {
  save(
      source()
          .with(DCM_SpecificCharacterSet, "ISO_IR 192")
          .with(DCM_PatientName, "\u5c71")
          .withItem(DCM_RequestAttributesSequence, DatasetBuilder()
                                                       .with(DCM_SpecificCharacterSet, "ISO_IR 100")
                                                       .with(DCM_RequestedProcedureID, "\xe6")));

  ASSERT_EQ(exportTags(kUnicodeTags, {"--from", path("from.dcm")}).status, 0);

  EXPECT_EQ(text(DCM_PatientName), "\u5c71");
  EXPECT_EQ(textInItem(*written(), DCM_RequestAttributesSequence, DCM_RequestedProcedureID),
            "\u00e6");
}

TEST_F(ZrdcmExportFrom, LeavesTextsAsTheyAreWhereNoOtherSetIsNamed) {
  const std::string name = "Yamada=\x1b$B;3ED\x1b(B";
  save(source().with(DCM_SpecificCharacterSet, "\\ISO 2022 IR 87").with(DCM_PatientName, name));

  ASSERT_EQ(exportTags("{\"StudyID\": \"7\"}", {"--from", path("from.dcm")}).status, 0);

  EXPECT_EQ(text(DCM_SpecificCharacterSet), "\\ISO 2022 IR 87");
  EXPECT_EQ(text(DCM_PatientName), name);
}

TEST_F(ZrdcmExportFrom, RefusesTextsThatDoNotConvert) {
  save(source()
           .with(DCM_SpecificCharacterSet, "ISO_IR 999")
           .with(DCM_PatientName, "J\xe9r")
           .withItem(DCM_ProcedureCodeSequence, DatasetBuilder().with(DCM_CodeMeaning, "\xe9")));

  const Outcome run = exportTags(kUnicodeTags, {"--from", path("from.dcm")});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(
      run.errors,
      "zrdcm: ProcedureCodeSequence[0].CodeMeaning: holds bytes that are no characters of its "
      "SpecificCharacterSet: \\xE9\n");
  EXPECT_FALSE(std::filesystem::exists(path("out.dcm")));
}

TEST_F(ZrdcmExportFrom, DoesNotConvertWhatTheTagsReplace) {
  save(source().with(DCM_SpecificCharacterSet, "ISO_IR 999").with(DCM_PatientName, "J\xe9r"));

  const Outcome run = exportTags("{\"PatientName\": \"J\u00e9r\"}", {"--from", path("from.dcm")});

  ASSERT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(text(DCM_PatientName), "J\u00e9r");
}

// Escape sequences are ASCII byte by byte.
TEST_F(ZrdcmExportFrom, DoesNotMixCharacterSets) {
  save(source()
           .with(DCM_SpecificCharacterSet, "\\ISO 2022 IR 87")
           .with(DCM_PatientName, "\x1b$B;3ED\x1b(B"));

  const Outcome run =
      exportTags("{\"SpecificCharacterSet\": \"ISO_IR 100\"}", {"--from", path("from.dcm")});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "zrdcm: PatientName: is not in the SpecificCharacterSet ISO_IR 100\n");
}

TEST_F(ZrdcmExportFrom, LeavesItemsWithASetOfTheirOwnUnderAnotherSet) {
  save(
      source()
          .with(DCM_SpecificCharacterSet, "ISO_IR 101")
          .withItem(DCM_RequestAttributesSequence, DatasetBuilder()
                                                       .with(DCM_SpecificCharacterSet, "ISO_IR 144")
                                                       .with(DCM_RequestedProcedureID, "\xe6")));

  const Outcome run =
      exportTags("{\"SpecificCharacterSet\": \"ISO_IR 100\"}", {"--from", path("from.dcm")});

  ASSERT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(textInItem(*written(), DCM_RequestAttributesSequence, DCM_RequestedProcedureID),
            "\xe6");
  EXPECT_EQ(textInItem(*written(), DCM_RequestAttributesSequence, DCM_SpecificCharacterSet),
            "ISO_IR 144");
}

TEST_F(ZrdcmExportFrom, RefusesItemsThatWouldComeUnderAnotherSet) {
  save(source()
           .with(DCM_SpecificCharacterSet, "ISO_IR 101")
           .withItem(DCM_ProcedureCodeSequence, DatasetBuilder().with(DCM_CodeMeaning, "\xe6")));

  EXPECT_EQ(
      exportTags("{\"SpecificCharacterSet\": \"ISO_IR 100\"}", {"--from", path("from.dcm")}).errors,
      "zrdcm: ProcedureCodeSequence[0].CodeMeaning: is not in the SpecificCharacterSet "
      "ISO_IR 100\n");
}

TEST_F(ZrdcmExportFrom, TakesUnknownValuesOverAsTheTextsThatTheyAre) {
  save(source()
           .with(DCM_SpecificCharacterSet, "ISO_IR 100")
           .withBytes(DCM_StudyID, {0xc9, 't', 'u', 'd', 'e', ' '}, EVR_UN)
           .withBytes(DCM_NumberOfTimeSlots, {7, 0}, EVR_UN));

  ASSERT_EQ(exportWith({"--from", path("from.dcm")}).status, 0);

  EXPECT_EQ(text(DCM_StudyID), "\xc9tude");
  EXPECT_EQ(text(DCM_NumberOfTimeSlots), "(missing)");
  ASSERT_EQ(exportTags(kUnicodeTags, {"--from", path("from.dcm")}).status, 0);
  EXPECT_EQ(text(DCM_StudyID), "\u00c9tude");
}

TEST_F(ZrdcmExportFrom, SaysWhichFileCannotBeRead) {
  const Outcome run = exportWith({"--from", "nowhere.dcm"});

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, StartsWith("zrdcm: nowhere.dcm: "));
  EXPECT_EQ(run.errorLines(), 1U);
}

// ---- what is refused ----

struct BadTags {
  const char* name;
  const char* tags;
  const char* message;
  const char* type;
};

class ZrdcmExportRefuses : public ZrdcmExport, public testing::WithParamInterface<BadTags> {};

TEST_P(ZrdcmExportRefuses, AndNamesTheKey) {
  const Outcome run = exportTags(GetParam().tags, {"--type", GetParam().type});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "zrdcm: " + std::string(GetParam().message) + "\n");
  EXPECT_THAT(tools::namesIn(folder_.path()), ElementsAre("image.raw", "tags.json"));
}

INSTANTIATE_TEST_SUITE_P(
    Tags, ZrdcmExportRefuses,
    testing::Values(
        BadTags{"UnknownKeyword", R"({"PatientNam": "x"})",
                "PatientNam: neither a keyword of DICOM nor a key like G0008-0016", "u16"},
        BadTags{"PrivateKey", R"({"G0009-1001": "x"})",
                "G0009-1001: private attributes cannot be written", "u16"},
        BadTags{"NotInTheDictionary", R"({"G0028-0112": "0"})",
                "G0028-0112: is not in the dictionary of DICOM", "u16"},
        BadTags{"UsOrSs", R"({"G0028-3002": "1\\0\\16"})",
                "G0028-3002: has no text form (value representation xs)", "u16"},
        BadTags{"SignedPadding", R"({"PixelPaddingValue": "-1"})",
                "PixelPaddingValue: cannot be written beside signed samples", "s16"},
        BadTags{"NoNumber", R"({"WindowCenter": "40", "NumberOfFrames": "1", "Rows": "x"})",
                "Rows: says x, but the samples make it 2", "u16"},
        BadTags{"NoDate", R"({"PatientBirthDate": "1970-01-01"})",
                "PatientBirthDate: \"1970-01-01\" is no value of representation DA", "u16"},
        BadTags{"NoDecimal", R"({"WindowCenter": "40\\x"})",
                "WindowCenter: \"40\\x\" is no value of representation DS", "u16"},
        BadTags{"NoUidWithinAnItem",
                R"({"SourceImageSequence": [{"ReferencedSOPInstanceUID": "1.a"}]})",
                "SourceImageSequence[0].ReferencedSOPInstanceUID: \"1.a\" is no value of "
                "representation UI",
                "u16"},
        BadTags{"OtherSize", R"({"G0028-0011": "3"})",
                "G0028-0011: says 3, but the samples make it 2", "u16"},
        BadTags{"Samples", R"({"PixelData": "0"})", "PixelData: the samples come from --pixels",
                "u16"},
        BadTags{"FileMeta", R"({"TransferSyntaxUID": "1.2"})",
                "TransferSyntaxUID: the file meta information is the writer's own", "u16"},
        BadTags{"TextForASequence", R"({"SourceImageSequence": "x"})",
                "SourceImageSequence: is a sequence and wants a list of objects", "u16"},
        BadTags{"SequenceForAText", R"({"PatientName": [{}]})",
                "PatientName: is no sequence and wants a text", "u16"},
        BadTags{"SequenceWithoutItems", R"({"SourceImageSequence": []})",
                "SourceImageSequence: a sequence without items cannot be written", "u16"},
        BadTags{"WithinAnItem", R"({"SourceImageSequence": [{}, {"PatientNam": "x"}]})",
                "SourceImageSequence[1].PatientNam: neither a keyword of DICOM nor a key like "
                "G0008-0016",
                "u16"},
        BadTags{"EmptyWithinAnItem", R"({"SourceImageSequence": [{"CodeValue": ""}]})",
                "SourceImageSequence[0].CodeValue: cannot be empty within an item", "u16"},
        BadTags{"NeitherTextNorList", R"({"PatientName": 5})",
                "PatientName: wants a text, or a list of objects for a sequence", "u16"},
        BadTags{"ListOfTexts", R"({"SourceImageSequence": ["x"]})",
                "SourceImageSequence[0]: wants an object of attributes", "u16"},
        BadTags{"SameKeyTwice", R"({"PatientID": "a", "PatientID": "b"})", "PatientID: given twice",
                "u16"},
        BadTags{"KeyAndKeyword", R"({"PatientID": "a", "G0010-0020": "b"})",
                "G0010-0020: given twice", "u16"},
        BadTags{"LettersInAnotherSet",
                "{\"SpecificCharacterSet\": \"ISO_IR 100\", \"PatientName\": \"\xc3\xb6\"}",
                "PatientName: letters beyond ASCII need the SpecificCharacterSet ISO_IR 192",
                "u16"},
        BadTags{"LettersInAnItemOfAnotherSet",
                "{\"SourceImageSequence\": [{\"SpecificCharacterSet\": \"ISO_IR 100\", "
                "\"ImageComments\": \"\u00f6\"}]}",
                "SourceImageSequence[0].ImageComments: letters beyond ASCII need the "
                "SpecificCharacterSet ISO_IR 192",
                "u16"},
        BadTags{"KeyOfAnotherLength", R"({"G008-00016": "x"})",
                "G008-00016: neither a keyword of DICOM nor a key like G0008-0016", "u16"},
        BadTags{"TextForANumber", R"({"NumberOfTimeSlots": "x"})",
                "NumberOfTimeSlots: Corrupted data", "u16"},
        BadTags{"NulInAText", R"({"PatientID": "a\u0000b"})",
                "PatientID: holds a character that no text may hold", "u16"}),
    support::nameOf<BadTags>);

TEST_F(ZrdcmExport, RefusesWhatIsNoJson) {
  EXPECT_THAT(exportTags("{").errors, HasSubstr("tags.json: no JSON: "));
  EXPECT_EQ(exportTags("[]").errors,
            "zrdcm: " + path("tags.json") + ": wants an object of attributes\n");
  EXPECT_EQ(exportTags("{").status, 1);
}

TEST_F(ZrdcmExport, RefusesSamplesOfAnotherSize) {
  const Outcome run = exportTags("{}", {"--type", "u8"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors,
            "zrdcm: " + path("image.raw") + ": holds 8 bytes, but 2 x 2 samples take 4\n");
}

TEST_F(ZrdcmExport, RefusesMoreSamplesThanTheWriterCanCount) {
  tools::writeFile(folder_.file("tags.json"), "{}");

  const Outcome run =
      runZrdcm({"export", "--tags", path("tags.json"), "--pixels", path("image.raw"), "--columns",
                "65535", "--rows", "65535", "-o", path("out.dcm")});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "zrdcm: too many samples for one image: 4294836225\n");
}

TEST_F(ZrdcmExport, WritesThePaddingOfUnsignedSamples) {
  const Outcome run = exportTags(R"({"PixelPaddingValue": "65535"})");

  ASSERT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(text(DCM_PixelPaddingValue), "65535");
}

TEST_F(ZrdcmExport, NamesTheFileThatIsNotThere) {
  EXPECT_EQ(exportWith({"--tags", path("missing")}).errors,
            "zrdcm: cannot read " + path("missing") + "\n");

  std::filesystem::remove(folder_.file("image.raw"));
  EXPECT_EQ(exportTags("{}").errors, "zrdcm: cannot read " + path("image.raw") + "\n");
  std::filesystem::create_directory(folder_.file("image.raw"));
  EXPECT_EQ(exportTags("{}").errors, "zrdcm: cannot read " + path("image.raw") + "\n");
}

// The kernel's files claim a page and hold less.
TEST_F(ZrdcmExport, NamesTheFileThatHoldsLessThanItClaims) {
  const std::string file = "/sys/devices/system/cpu/online";
  std::error_code none;
  if (std::filesystem::file_size(file, none) != 4096) {
    GTEST_SKIP() << "no such file of the kernel's";
  }
  tools::writeFile(folder_.file("tags.json"), "{}");

  const Outcome run =
      runZrdcm({"export", "--tags", path("tags.json"), "--pixels", file, "--columns", "64",
                "--rows", "64", "--type", "u8", "-o", path("out.dcm")});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "zrdcm: cannot read " + file + "\n");
}

TEST_F(ZrdcmExport, RefusesWrongUsage) {
  EXPECT_EQ(exportWith({}).status, 2);
  EXPECT_EQ(exportTags("{}", {"--type", "f32"}).status, 2);
  EXPECT_EQ(runZrdcm({"export", "--tags", "t", "--pixels", "p", "--columns", "0", "--rows", "1",
                      "-o", "x"})
                .status,
            2);
}

TEST_F(ZrdcmExport, LeavesAnOlderFileAloneWhenItFails) {
  tools::writeFile(folder_.file("out.dcm"), "older");

  EXPECT_EQ(exportTags(R"({"PatientNam": "x"})").status, 1);

  EXPECT_EQ(tools::readFile(folder_.file("out.dcm")), "older");
}

TEST_F(ZrdcmExport, ReportsADeviceThatIsFull) {
  tools::writeFile(folder_.file("tags.json"), "{}");

  const Outcome run =
      runZrdcm({"export", "--tags", path("tags.json"), "--pixels", path("image.raw"), "--columns",
                "2", "--rows", "2", "-o", "/dev/full"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "zrdcm: cannot write /dev/full: No space left on device\n");
}

}  // namespace
