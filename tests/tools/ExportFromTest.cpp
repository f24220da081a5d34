// SPDX-License-Identifier: BSD-3-Clause
// zrdcm export --from: what the new file takes over from another one.
#include "support/DatasetBuilder.h"
#include "tools/ExportFixture.h"
#include "tools/ZrdcmRunner.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using support::DatasetBuilder;
using testing::HasSubstr;
using testing::StartsWith;
using tools::Outcome;
using tools::ZrdcmExportFrom;

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

TEST_F(ZrdcmExportFrom, SaysWhichFileCannotBeRead) {
  const Outcome run = exportWith({"--from", "nowhere.dcm"});

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, StartsWith("zrdcm: nowhere.dcm: "));
  EXPECT_EQ(run.errorLines(), 1U);
}

}  // namespace
