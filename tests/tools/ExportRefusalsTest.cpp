// SPDX-License-Identifier: BSD-3-Clause
// zrdcm export: what it refuses, and which key or file it blames.
#include "support/RowName.h"
#include "tools/ExportFixture.h"
#include "tools/ZrdcmRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <system_error>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using tools::Outcome;
using tools::runZrdcm;
using tools::ZrdcmExport;

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
