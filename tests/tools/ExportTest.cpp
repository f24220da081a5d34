// SPDX-License-Identifier: BSD-3-Clause
// zrdcm export: what it writes, and what it fills in.
#include "tools/ExportFixture.h"
#include "tools/ZrdcmRunner.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace {

using nlohmann::json;
using testing::ElementsAre;
using tools::Outcome;
using tools::runZrdcm;
using tools::ZrdcmExport;

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

TEST_F(ZrdcmExport, WritesThePaddingOfUnsignedSamples) {
  const Outcome run = exportTags(R"({"PixelPaddingValue": "65535"})");

  ASSERT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(text(DCM_PixelPaddingValue), "65535");
}

}  // namespace
