// SPDX-License-Identifier: BSD-3-Clause
// Which attribute stopped a file, and what the writer answers when it is asked beforehand.
#include "core/writing/ExportFixture.h"
#include "support/LogCapture.h"
#include "support/RowName.h"
#include "support/TempDir.h"

#include <gx/GxParamBundle.h>
#include <zrdcmexport/ZrDcmExport.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace {

class RefusedAttribute : public testing::Test {
protected:
  RefusedAttribute() {
    EXPECT_TRUE(writer_.setOutputBaseDirectory(folder_.path().c_str()));
    EXPECT_TRUE(writer_.setFilename("image.dcm"));
  }

  bool write() { return writer_.writeImageAsIs(4, 3, pixels_.data()); }

  support::LogCapture log_;
  support::TempDir folder_;
  std::vector<std::uint16_t> pixels_ = exporting::twelveSamples();
  ZrDcmExport writer_;
};

TEST_F(RefusedAttribute, IsEmptyBeforeAnythingWasWritten) {
  EXPECT_EQ(writer_.refusedAttribute(), "");
}

TEST_F(RefusedAttribute, IsNamedWithItsReason) {
  ASSERT_TRUE(writer_.setDicomTag(0x0010, 0x0020, "P1"));
  ASSERT_TRUE(writer_.setDicomTag(0x0028, 0x0010, "many"));

  ASSERT_FALSE(write());

  EXPECT_EQ(writer_.refusedAttribute(), "Rows: Corrupted data");
  EXPECT_EQ(writer_.lastError(), "[writeImage]failed to write dcm tags to dcmdataset!");
  EXPECT_FALSE(std::filesystem::exists(folder_.file("image.dcm")));
}

TEST_F(RefusedAttribute, HasItsNumbersForANameWhereTheDictionaryDoesNotKnowIt) {
  ASSERT_TRUE(writer_.setDicomTag(0x0028, 0x0112, "0"));

  ASSERT_FALSE(write());

  EXPECT_EQ(writer_.refusedAttribute(), "(0028,0112): is not in the dictionary of DICOM");
}

TEST_F(RefusedAttribute, IsNamedWithItsPlaceInSequences) {
  GxParamBundle bundle("attributes");
  GxParamBundle& images = bundle.addBundle("G0008-2112");
  images.addBundle("Item_0").addParameter("G0008-1155", "UI: 1.2");
  GxParamBundle& codes = images.addBundle("Item_1").addBundle("G0040-a170");
  codes.addBundle("Item_0").addParameter("G0028-0011", "US: many");
  ASSERT_TRUE(writer_.addParameters(&bundle));

  ASSERT_FALSE(write());

  EXPECT_EQ(writer_.refusedAttribute(),
            "SourceImageSequence[1].PurposeOfReferenceCodeSequence[0].Columns: Corrupted data");
}

TEST_F(RefusedAttribute, IsForgottenByTheNextFile) {
  ASSERT_TRUE(writer_.setDicomTag(0x0028, 0x0010, "many"));
  ASSERT_FALSE(write());
  ASSERT_TRUE(writer_.setDicomTag(0x0028, 0x0010, "3"));

  ASSERT_TRUE(write());

  EXPECT_EQ(writer_.refusedAttribute(), "");
}

TEST_F(RefusedAttribute, IsForgottenByAFileThatFailsForAnotherReason) {
  ASSERT_TRUE(writer_.setDicomTag(0x0028, 0x0010, "many"));
  ASSERT_FALSE(write());

  ASSERT_FALSE(writer_.writeImageAsIs(4, 3, nullptr));

  EXPECT_EQ(writer_.refusedAttribute(), "");
}

// ---- asked beforehand ----

struct Question {
  const char* name;
  unsigned short group;
  unsigned short element;
  std::string value;
  bool samplesAreSigned;
  const char* reason;
};

class ReasonNotWritable : public testing::TestWithParam<Question> {};

TEST_P(ReasonNotWritable, IsToldBeforehand) {
  const Question& asked = GetParam();

  EXPECT_EQ(ZrDcmExport::reasonNotWritable(asked.group, asked.element, asked.value,
                                           asked.samplesAreSigned),
            asked.reason);
}

constexpr bool kSigned = true;
constexpr bool kUnsigned = false;

INSTANTIATE_TEST_SUITE_P(
    Attributes, ReasonNotWritable,
    testing::Values(Question{"Text", 0x0010, 0x0010, "Doe^John", kUnsigned, ""},
                    Question{"EmptyText", 0x0010, 0x0010, "", kUnsigned, ""},
                    Question{"Number", 0x0028, 0x0010, "512", kUnsigned, ""},
                    Question{"NoNumber", 0x0028, 0x0010, "many", kUnsigned, "Corrupted data"},
                    Question{"NulWithinAText", 0x0010, 0x0010, std::string("a\0b", 3), kUnsigned,
                             "holds a character that no text may hold"},
                    Question{"Words", 0x0028, 0x3006, "1", kUnsigned,
                             "has no text form (value representation lt)"},
                    Question{"Sequence", 0x0008, 0x2112, "1", kUnsigned,
                             "has no text form (value representation SQ)"},
                    Question{"LutDescriptor", 0x0028, 0x3002, "1\\0\\16", kUnsigned,
                             "has no text form (value representation xs)"},
                    Question{"UnknownAttribute", 0x0028, 0x0112, "0", kUnsigned,
                             "is not in the dictionary of DICOM"},
                    Question{"PaddingOfUnsignedSamples", 0x0028, 0x0120, "65535", kUnsigned, ""},
                    Question{"PaddingOfSignedSamples", 0x0028, 0x0120, "5", kSigned,
                             "cannot be written beside signed samples"},
                    Question{"LargestValueOfSignedSamples", 0x0028, 0x0107, "5", kSigned,
                             "cannot be written beside signed samples"},
                    Question{"OtherNumberBesideSignedSamples", 0x0028, 0x0010, "512", kSigned, ""}),
    support::nameOf<Question>);

}  // namespace
