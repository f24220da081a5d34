// SPDX-License-Identifier: BSD-3-Clause
// zrdcm export: the character set of the new file, and texts that are converted to it.
#include "support/DatasetBuilder.h"
#include "tools/ExportFixture.h"
#include "tools/ZrdcmRunner.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

using support::DatasetBuilder;
using tools::Outcome;
using tools::ZrdcmExport;
using tools::ZrdcmExportFrom;

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

}  // namespace
