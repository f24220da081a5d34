// SPDX-License-Identifier: BSD-3-Clause
// zrdcm text: values as text, and why some have none.
#include "support/DatasetBuilder.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <memory>
#include <string>
#include <vector>

namespace {

using nlohmann::json;
using support::DatasetBuilder;
using testing::HasSubstr;
using testing::StartsWith;
using tools::Outcome;
using tools::runZrdcm;

std::vector<Uint8> bytesOf(const std::string& text) {
  return {text.begin(), text.end()};
}

class ZrdcmText : public testing::Test {
protected:
  // A file with text, words, bytes, a sequence and private elements of UN.
  ZrdcmText() : file_(folder_.file("values.dcm").string()) {
    const auto dataset = DatasetBuilder()
                             .with(DCM_SOPClassUID, "1.2")
                             .with(DCM_SOPInstanceUID, "1.2.3")
                             .with(DCM_PatientID, "ID 7")
                             .with(DCM_PatientComments, "two\nlines")
                             .with(DCM_ImageType, "ORIGINAL\\PRIMARY")
                             .withUint16s(DCM_Rows, {512})
                             .withBytes(DCM_StudyID, bytesOf("STUDY1"), EVR_UN)
                             .withBytes(DCM_Columns, {1, 0}, EVR_UN)
                             .withBytes(DCM_EncapsulatedDocument, {1, 2, 3, 4}, EVR_OB)
                             .withWords(DCM_RETIRED_TrianglePointIndexList, {0xffff, 2, 0, 0x3fc0})
                             .withItem(DCM_SourceImageSequence, DatasetBuilder())
                             .with(DcmTagKey(0x7005, 0x0012), EVR_LO, "TOSHIBA_MEC_CT3")
                             .withBytes(DcmTagKey(0x7005, 0x1216), bytesOf("1.2.9 "), EVR_UN)
                             .build();
    save(*dataset);
  }

  void save(DcmDataset& dataset) const {
    DcmFileFormat format(&dataset);
    EXPECT_TRUE(format.saveFile(OFFilename(file_.c_str()), EXS_LittleEndianExplicit).good());
  }

  /// A file with this name of a patient.
  void saveInSet(const std::string& terms, const std::string& name) const {
    save(*DatasetBuilder()
              .with(DCM_SOPClassUID, "1.2")
              .with(DCM_SpecificCharacterSet, terms)
              .with(DCM_PatientName, name)
              .build());
  }

  Outcome textOf(const std::vector<std::string>& arguments) const {
    std::vector<std::string> all = {"text", file_};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return runZrdcm(all);
  }

  void expectText(const std::vector<std::string>& arguments, const std::string& text) const {
    const Outcome run = textOf(arguments);
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, text + "\n");
  }

  void expectRefused(const std::vector<std::string>& arguments, int status,
                     const std::string& message) const {
    const Outcome run = textOf(arguments);
    EXPECT_EQ(run.status, status);
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors, StartsWith("zrdcm: " + message));
  }

  const std::string& file() const { return file_; }

private:
  support::TempDir folder_;
  std::string file_;
};

TEST_F(ZrdcmText, FindsElementsByNumberAndKeyword) {
  expectText({"0010,0020"}, "ID 7");
  expectText({"(0010,0020)"}, "ID 7");
  expectText({"00100020"}, "ID 7");
  expectText({"PatientID"}, "ID 7");
}

TEST_F(ZrdcmText, FindsElementsWithinSequences) {
  save(*DatasetBuilder()
            .withItem(DCM_SourceImageSequence,
                      DatasetBuilder().with(DCM_ReferencedSOPInstanceUID, "1.2.1"))
            .withItem(DCM_SourceImageSequence,
                      DatasetBuilder().with(DCM_ReferencedSOPInstanceUID, "1.2.2"))
            .build());

  expectText({"SourceImageSequence/ReferencedSOPInstanceUID"}, "1.2.1");
  expectText({"0008,2112[1]/0008,1155"}, "1.2.2");
  expectRefused({"0008,2112[2]/0008,1155"}, 1, file() + ": has no element 0008,2112[2]/0008,1155");
  expectRefused({"0008,2112[x]/0008,1155"}, 2, "'0008,2112[x]/0008,1155' is neither the number");
}

TEST_F(ZrdcmText, PrintsAllValues) {
  expectText({"ImageType"}, "ORIGINAL\\PRIMARY");
  expectText({"Rows"}, "512");
}

TEST_F(ZrdcmText, PrintsUnknownValuesThatAreText) {
  expectText({"StudyID"}, "STUDY1");
}

TEST_F(ZrdcmText, FindsPrivateElementsInTheBlockOfTheirCreator) {
  expectText({"7005,16,TOSHIBA_MEC_CT3"}, "1.2.9 ");
  expectText({"7005,xx16,TOSHIBA_MEC_CT3"}, "1.2.9 ");
  expectText({"7005,1016,TOSHIBA_MEC_CT3"}, "1.2.9 ");
  expectText({"ToshibaVolumeUID"}, "1.2.9 ");
  expectText({"7005,1216"}, "1.2.9 ");
}

TEST_F(ZrdcmText, PrintsWordsAsTheTypeAsked) {
  expectText({"0066,0023"}, "65535\\2\\0\\16320");
  expectText({"0066,0023", "--as", "u16"}, "65535\\2\\0\\16320");
  expectText({"0066,0023", "--as", "s16"}, "-1\\2\\0\\16320");
  expectText({"0066,0023", "--as", "s32"}, "196607\\1069547520");
  expectText({"0066,0023", "--as", "f32"}, "2.75505e-40\\1.5");
  expectText({"0066,0023", "--as", "f64"}, "0.125");
}

TEST_F(ZrdcmText, KeepsTerminalsSafeFromControlCharacters) {
  expectText({"PatientComments"}, "two lines");
}

TEST_F(ZrdcmText, PrintsJsonWithTheTextAsItIs) {
  const json element = json::parse(textOf({"ToshibaVolumeUID", "--json"}).output);

  EXPECT_EQ(element, (json{{"file", file()},
                           {"tag", "(7005,1216)"},
                           {"name", "ToshibaVolumeUID"},
                           {"vr", "UN"},
                           {"creator", "TOSHIBA_MEC_CT3"},
                           {"text", "1.2.9 "},
                           {"escaped", false}}));
  EXPECT_EQ(json::parse(textOf({"PatientComments", "--json"}).output)["text"], "two\nlines");
}

TEST_F(ZrdcmText, ConvertsFromTheCharacterSetOfTheFile) {
  saveInSet("\\ISO 2022 IR 87", "Yamada=\x1b$B;3ED\x1b(B");

  expectText({"PatientName"}, "Yamada=\u5c71\u7530");
  const json element = json::parse(textOf({"PatientName", "--json"}).output);
  EXPECT_EQ(element["text"], "Yamada=\u5c71\u7530");
  EXPECT_EQ(element["escaped"], false);
}

TEST_F(ZrdcmText, SaysInJsonThatBytesAreEscaped) {
  saveInSet("", "Buc^J\xe9r\xf4me");

  expectText({"PatientName"}, "Buc^J\\xE9r\\xF4me");
  const json element = json::parse(textOf({"PatientName", "--json"}).output);
  EXPECT_EQ(element["text"], "Buc^J\\xE9r\\xF4me");
  EXPECT_EQ(element["escaped"], true);
}

TEST_F(ZrdcmText, ConvertsUnknownValuesAndCreatorsToo) {
  const auto dataset = DatasetBuilder()
                           .with(DCM_SpecificCharacterSet, "ISO_IR 100")
                           .withBytes(DCM_StudyID, bytesOf("\xc9tudes"), EVR_UN)
                           .with(DcmTagKey(0x7005, 0x0010), EVR_LO, "SOCI\xc9T\xc9")
                           .with(DcmTagKey(0x7005, 0x1001), EVR_LO, "\xe9")
                           .build();
  save(*dataset);

  expectText({"StudyID"}, "\u00c9tudes");
  expectText({"7005,01,SOCI\u00c9T\u00c9"}, "\u00e9");
  const json element = json::parse(textOf({"7005,1001", "--json"}).output);
  EXPECT_EQ(element["creator"], "SOCI\u00c9T\u00c9");
}

TEST_F(ZrdcmText, FindsItsWayThroughTagsOfAnyLength) {
  const std::string many(40000, 'A');

  expectRefused({many}, 2, "'AAAA");
  expectRefused({"7005,16," + many}, 1, file() + ": has no element 7005,16,AAAA");
  expectRefused({std::string(40000, '(')}, 2, "'((((");
  expectRefused({"0010,0020" + std::string(40000, '0')}, 2, "'0010,00200000");
}

TEST_F(ZrdcmText, TakesNothingElseForANumber) {
  for (const char* const tag :
       {"",          "(",          ")",          "()",         "0010",        "0010,",
        "0010,002",  "0010,00200", "0010,0020,", "001g,0020",  "0010,0g20",   "-010,0020",
        "0x10,0020", "0010 0020",  "7005,6,X",   "7005,x016,", "7005,yy16,X", "7005,00016,X",
        "700516,X",  "7005,,X"}) {
    EXPECT_EQ(textOf({tag}).status, 2) << tag;
  }
}

TEST_F(ZrdcmText, SaysWhyAnElementHasNoText) {
  expectRefused({"EncapsulatedDocument"}, 1,
                file() + ": (0042,0011) EncapsulatedDocument (OB) has no text form");
  expectRefused({"SourceImageSequence"}, 1,
                file() + ": (0008,2112) SourceImageSequence (SQ) has no text form");
  expectRefused({"Columns"}, 1, file() + ": (0028,0011) Columns (UN) has no text form");
  expectRefused({"EncapsulatedDocument", "--as", "u16"}, 1,
                file() + ": (0042,0011) EncapsulatedDocument (OB) cannot be read as 16-bit words");
  expectRefused({"PatientID", "--as", "u16"}, 1,
                file() + ": (0010,0020) PatientID (LO) is no OW value, to which --as belongs");
}

TEST_F(ZrdcmText, SaysThatAnElementIsMissing) {
  expectRefused({"StudyDate"}, 1, file() + ": has no element StudyDate");
  expectRefused({"7005,05,TOSHIBA_MEC_CT3"}, 1, file() + ": has no element");
  expectRefused({"7005,16,SOMEBODY"}, 1, file() + ": has no element");
}

TEST_F(ZrdcmText, SaysWhichFileCannotBeRead) {
  const Outcome run = runZrdcm({"text", "nowhere.dcm", "PatientID"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "zrdcm: nowhere.dcm: does not exist\n");
}

TEST_F(ZrdcmText, RefusesWrongUsage) {
  expectRefused({"NoSuchKeyword"}, 2,
                "'NoSuchKeyword' is neither the number nor the keyword of an element");
  expectRefused({"0010"}, 2, "'0010' is neither");
  EXPECT_EQ(textOf({"PatientID", "--as", "f16"}).status, 2);
  EXPECT_EQ(runZrdcm({"text", file()}).status, 2);
}

}  // namespace
