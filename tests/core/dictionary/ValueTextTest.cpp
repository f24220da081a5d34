// SPDX-License-Identifier: BSD-3-Clause
#include "support/RowName.h"
#include "support/TempDir.h"

#include <zrdcmexport/ExDCM.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <locale>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

using ElementOwner = std::unique_ptr<DcmOtherByteOtherWord>;

const DcmTagKey kUnknownKey(0x0071, 0x10fe);  // no entry, whatever the creator

DcmTag tagOf(const DcmTagKey& key, DcmEVR vr, const char* creator) {
  DcmTag tag(key, DcmVR(vr));
  if (creator != nullptr) {
    tag.setPrivateCreator(creator);
  }
  return tag;
}

// An element of bytes; `vr` is one of OB, UN and the unknown VR.
ElementOwner byteElement(const DcmTagKey& key, DcmEVR vr, const char* creator,
                         std::string_view bytes) {
  auto element = std::make_unique<DcmOtherByteOtherWord>(tagOf(key, vr, creator));
  EXPECT_TRUE(
      element->putUint8Array(reinterpret_cast<const Uint8*>(bytes.data()), bytes.size()).good());
  return element;
}

ElementOwner wordElement(const std::vector<Uint16>& words) {
  auto element = std::make_unique<DcmOtherByteOtherWord>(
      tagOf(DCM_RETIRED_TrianglePointIndexList, EVR_OW, nullptr));
  EXPECT_TRUE(element->putUint16Array(words.data(), words.size()).good());
  return element;
}

// The words that a list of numbers takes in the memory of a little-endian machine.
template <class Number>
ElementOwner elementOfNumbers(const std::vector<Number>& numbers) {
  std::vector<Uint16> words(numbers.size() * sizeof(Number) / sizeof(Uint16));
  std::memcpy(words.data(), numbers.data(), words.size() * sizeof(Uint16));
  return wordElement(words);
}

DcmEVR vrOf(const ElementOwner& element) {
  return element->getTag().getEVR();
}

class ValueText : public testing::Test {
protected:
  static void SetUpTestSuite() { ExDCM::registerPrivateDicomTags(); }

  std::string text_ = "left over";
};

// ---- unknown values ----

using GetOFStringFromUN = ValueText;

TEST_F(GetOFStringFromUN, GivesAllBytesOfAPrivateText) {
  const auto element = byteElement(ExDCM::PrivateTag::CropBox, EVR_UN, "Zorlan", "ABC ");

  EXPECT_TRUE(ExDCM::getOFStringFromUN(element.get(), text_));

  EXPECT_EQ(text_, "ABC ");
}

TEST_F(GetOFStringFromUN, KeepsZeroBytes) {
  const std::string bytes("1.2\0.3\0\0", 8);
  const auto element = byteElement(DCM_SOPInstanceUID, EVR_UN, nullptr, bytes);

  EXPECT_TRUE(ExDCM::getOFStringFromUN(element.get(), text_));

  EXPECT_EQ(text_, bytes);
}

TEST_F(GetOFStringFromUN, TakesTheUnknownVROfImplicitFilesForUN) {
  const auto element = byteElement(DCM_PatientID, EVR_UNKNOWN, nullptr, "PAT1");

  EXPECT_TRUE(ExDCM::getOFStringFromUN(element.get(), text_));

  EXPECT_EQ(text_, "PAT1");
}

// The length is that of the file as long as the value stays there; loading it pads it to an even
// one.
TEST_F(GetOFStringFromUN, GivesTheOneByteOfAnOddValueThatIsNotLoadedYet) {
  const support::TempDir folder;
  std::ofstream(folder.file("odd"), std::ios::binary) << std::string(
      "\x10\x00\x20\x00UN\x00\x00\x01\x00\x00\x00"
      "A",
      13);
  constexpr Uint32 kLoadNothing = 0;
  DcmDataset read;
  ASSERT_TRUE(read.loadFile(folder.file("odd").c_str(), EXS_LittleEndianExplicit, EGL_noChange,
                            kLoadNothing)
                  .good());
  DcmElement* element = nullptr;
  ASSERT_TRUE(read.findAndGetElement(DCM_PatientID, element).good());
  ASSERT_EQ(element->getLength(), 1U);

  EXPECT_TRUE(ExDCM::getOFStringFromUN(dynamic_cast<DcmOtherByteOtherWord*>(element), text_));

  EXPECT_EQ(text_, "A");
}

TEST_F(GetOFStringFromUN, RefusesAnAttributeThatTheDictionaryDoesNotKnow) {
  for (const DcmEVR vr : {EVR_UN, EVR_UNKNOWN}) {
    for (const char* creator : {static_cast<const char*>(nullptr), "Zorlan", "Somebody"}) {
      const auto element = byteElement(kUnknownKey, vr, creator, "ABCD");

      EXPECT_FALSE(ExDCM::getOFStringFromUN(element.get(), text_));

      EXPECT_EQ(text_, "");
      EXPECT_EQ(vrOf(element), vr);
    }
  }
}

TEST_F(GetOFStringFromUN, NeedsThePrivateCreatorToKnowAPrivateElement) {
  const auto element = byteElement(ExDCM::PrivateTag::CropBox, EVR_UN, nullptr, "ABCD");

  EXPECT_FALSE(ExDCM::getOFStringFromUN(element.get(), text_));
}

TEST_F(GetOFStringFromUN, FindsVendorElementsInEveryBlock) {
  const auto element = byteElement(DcmTagKey(0x7005, 0x2316), EVR_UN, "TOSHIBA_MEC_CT3", "1.23");

  EXPECT_TRUE(ExDCM::getOFStringFromUN(element.get(), text_));

  EXPECT_EQ(text_, "1.23");
}

TEST_F(GetOFStringFromUN, RefusesAnEmptyValueAndKeepsTheVRFound) {
  const auto element = byteElement(DCM_PatientID, EVR_UN, nullptr, "");

  EXPECT_FALSE(ExDCM::getOFStringFromUN(element.get(), text_));

  EXPECT_EQ(text_, "");
  EXPECT_EQ(vrOf(element), EVR_LO);
}

TEST_F(GetOFStringFromUN, LeavesAKnownVRWithoutCreatorAlone) {
  const auto element = byteElement(DCM_PatientID, EVR_OB, nullptr, "ABCD");

  EXPECT_FALSE(ExDCM::getOFStringFromUN(element.get(), text_));

  EXPECT_EQ(text_, "");
  EXPECT_EQ(vrOf(element), EVR_OB);
}

TEST_F(GetOFStringFromUN, LooksUpAKnownVRWithCreator) {
  const auto element = byteElement(ExDCM::PrivateTag::CropBox, EVR_OB, "Zorlan", "ABCD");

  EXPECT_TRUE(ExDCM::getOFStringFromUN(element.get(), text_));

  EXPECT_EQ(text_, "ABCD");
  EXPECT_EQ(vrOf(element), EVR_LO);
}

TEST_F(GetOFStringFromUN, RefusesAByteElementWithCreatorThatTheDictionaryDoesNotKnow) {
  const auto element = byteElement(kUnknownKey, EVR_OB, "Zorlan", "ABCD");

  EXPECT_FALSE(ExDCM::getOFStringFromUN(element.get(), text_));

  EXPECT_EQ(vrOf(element), EVR_OB);
}

TEST_F(GetOFStringFromUN, RefusesAStandardAttributeTheSecondTime) {
  const auto element = byteElement(DCM_PatientID, EVR_UN, nullptr, "ABCD");
  ASSERT_TRUE(ExDCM::getOFStringFromUN(element.get(), text_));

  // Its VR is known by now, and it has no creator.
  EXPECT_FALSE(ExDCM::getOFStringFromUN(element.get(), text_));

  EXPECT_EQ(text_, "");
}

TEST_F(GetOFStringFromUN, GivesAPrivateTextEveryTime) {
  const auto element = byteElement(ExDCM::PrivateTag::CropBox, EVR_UN, "Zorlan", "ABCD");
  ASSERT_TRUE(ExDCM::getOFStringFromUN(element.get(), text_));

  EXPECT_TRUE(ExDCM::getOFStringFromUN(element.get(), text_));

  EXPECT_EQ(text_, "ABCD");
}

TEST_F(GetOFStringFromUN, NeverMakesAByteElementASequence) {
  const auto element = byteElement(ExDCM::PrivateTag::VolumeSourceImages, EVR_UN, "Zorlan", "ABCD");

  EXPECT_FALSE(ExDCM::getOFStringFromUN(element.get(), text_));

  EXPECT_EQ(text_, "");
  EXPECT_EQ(vrOf(element), EVR_UN);
}

TEST_F(GetOFStringFromUN, LeavesADatasetWithASequenceInBytesUsable) {
  DcmDataset dataset;
  auto element = byteElement(DCM_SourceImageSequence, EVR_UN, nullptr, "ABCD");
  DcmOtherByteOtherWord* const bytes = element.get();
  ASSERT_TRUE(dataset.insert(element.release()).good());

  EXPECT_FALSE(ExDCM::getOFStringFromUN(bytes, text_));

  DcmItem* item = nullptr;
  EXPECT_TRUE(dataset.findAndGetSequenceItem(DCM_SourceImageSequence, item).bad());
}

TEST_F(GetOFStringFromUN, RefusesAValueThatIsGone) {
  const support::TempDir folder;
  const OFFilename path(folder.file("gone.dcm").c_str());
  const std::string longText(8192, 'x');  // longer than what DCMTK keeps in memory
  DcmFileFormat file;
  auto owned = byteElement(DCM_TextValue, EVR_UN, nullptr, longText);
  ASSERT_TRUE(file.getDataset()->insert(owned.release()).good());
  ASSERT_TRUE(file.getDataset()->putAndInsertString(DCM_SOPClassUID, "1.2").good());
  ASSERT_TRUE(file.getDataset()->putAndInsertString(DCM_SOPInstanceUID, "1.2").good());
  ASSERT_TRUE(file.saveFile(path, EXS_LittleEndianExplicit).good());
  DcmFileFormat read;
  ASSERT_TRUE(read.loadFile(path).good());
  std::filesystem::remove(folder.file("gone.dcm"));
  DcmElement* element = nullptr;
  ASSERT_TRUE(read.getDataset()->findAndGetElement(DCM_TextValue, element).good());

  EXPECT_FALSE(ExDCM::getOFStringFromUN(dynamic_cast<DcmOtherByteOtherWord*>(element), text_));

  EXPECT_EQ(text_, "");
}

// A dataset that was read before its private entry was known is what this function is for.
TEST_F(GetOFStringFromUN, RecoversAnImplicitElementReadBeforeItsEntryWasKnown) {
  const support::TempDir folder;
  const OFFilename path(folder.file("implicit.dcm").c_str());
  const DcmTagKey key(0x0099, 0x1001);
  DcmFileFormat file;
  DcmDataset& dataset = *file.getDataset();
  ASSERT_TRUE(dataset.putAndInsertString(DCM_SOPClassUID, "1.2").good());
  ASSERT_TRUE(dataset.putAndInsertString(DCM_SOPInstanceUID, "1.2").good());
  ASSERT_TRUE(
      dataset.putAndInsertString(DcmTag(0x0099, 0x0010, DcmVR(EVR_LO)), "LATECOMER").good());
  ASSERT_TRUE(dataset.putAndInsertString(DcmTag(key, DcmVR(EVR_SH)), "late").good());
  ASSERT_TRUE(file.saveFile(path, EXS_LittleEndianImplicit).good());
  DcmFileFormat read;
  ASSERT_TRUE(read.loadFile(path).good());
  dcmDataDict.wrlock().addEntry(
      new DcmDictEntry(0x0099, 0x0001, DcmVR(EVR_SH), "Late", 1, 1, nullptr, OFTrue, "LATECOMER"));
  dcmDataDict.wrunlock();
  DcmElement* element = nullptr;
  ASSERT_TRUE(read.getDataset()->findAndGetElement(key, element).good());
  ASSERT_EQ(element->getTag().getEVR(), EVR_UNKNOWN);

  EXPECT_TRUE(ExDCM::getOFStringFromUN(dynamic_cast<DcmOtherByteOtherWord*>(element), text_));

  EXPECT_EQ(text_, "late");
}

struct VRRow {
  const char* name;
  DcmTagKey key;
  DcmEVR vr;
};

class TextVR : public testing::TestWithParam<VRRow> {};

TEST_P(TextVR, IsRenderedAndKept) {
  const auto element = byteElement(GetParam().key, EVR_UN, nullptr, "12 4");
  std::string text;

  EXPECT_TRUE(ExDCM::getOFStringFromUN(element.get(), text));

  EXPECT_EQ(text, "12 4");
  EXPECT_EQ(vrOf(element), GetParam().vr);
}

INSTANTIATE_TEST_SUITE_P(
    VRs, TextVR,
    testing::Values(VRRow{"AS", DCM_PatientAge, EVR_AS}, VRRow{"CS", DCM_Modality, EVR_CS},
                    VRRow{"DA", DCM_StudyDate, EVR_DA}, VRRow{"DS", DCM_SliceThickness, EVR_DS},
                    VRRow{"DT", DCM_AcquisitionDateTime, EVR_DT},
                    VRRow{"IS", DCM_InstanceNumber, EVR_IS}, VRRow{"LO", DCM_PatientID, EVR_LO},
                    VRRow{"LT", DCM_AdditionalPatientHistory, EVR_LT},
                    VRRow{"PN", DCM_PatientName, EVR_PN}, VRRow{"SH", DCM_StudyID, EVR_SH},
                    VRRow{"ST", DCM_InstitutionAddress, EVR_ST}, VRRow{"TM", DCM_StudyTime, EVR_TM},
                    VRRow{"UI", DCM_StudyInstanceUID, EVR_UI}, VRRow{"UT", DCM_TextValue, EVR_UT}),
    support::nameOf<VRRow>);

class RefusedVR : public testing::TestWithParam<VRRow> {};

TEST_P(RefusedVR, GivesNoTextAndIsKept) {
  const auto element = byteElement(GetParam().key, EVR_UN, nullptr, "12 45 78");
  std::string text = "left over";

  EXPECT_FALSE(ExDCM::getOFStringFromUN(element.get(), text));

  EXPECT_EQ(text, "");
  EXPECT_EQ(vrOf(element), GetParam().vr);
}

INSTANTIATE_TEST_SUITE_P(
    VRs, RefusedVR,
    testing::Values(
        VRRow{"AE", DCM_RetrieveAETitle, EVR_AE}, VRRow{"US", DCM_Rows, EVR_US},
        VRRow{"UC", DCM_SelectorUCValue, EVR_UC}, VRRow{"UR", DCM_RetrieveURL, EVR_UR},
        VRRow{"SS", DCM_SelectorSSValue, EVR_SS}, VRRow{"UL", DCM_SelectorULValue, EVR_UL},
        VRRow{"SL", DCM_SelectorSLValue, EVR_SL}, VRRow{"FL", DCM_SelectorFLValue, EVR_FL},
        VRRow{"FD", DCM_SelectorFDValue, EVR_FD}, VRRow{"AT", DCM_FrameIncrementPointer, EVR_AT},
        VRRow{"OB", DCM_EncapsulatedDocument, EVR_OB},
        VRRow{"OW", DCM_RedPaletteColorLookupTableData, EVR_OW},
        VRRow{"OF", DCM_FloatPixelData, EVR_OF},
        VRRow{"USOrSS", DCM_SmallestImagePixelValue, EVR_xs}, VRRow{"USOrOW", DCM_LUTData, EVR_lt}),
    support::nameOf<VRRow>);

// ---- words as numbers ----

using GetOFStringFromOBOW = ValueText;

TEST_F(GetOFStringFromOBOW, ListsUnsignedWords) {
  const auto element = wordElement({1, 2, 3});

  EXPECT_TRUE(ExDCM::getOFStringFromOBOW(element.get(), 0, text_));

  EXPECT_EQ(text_, "1\\2\\3");
}

TEST_F(GetOFStringFromOBOW, PrintsNegativeWordsAsTheirTypeSays) {
  const auto element = wordElement({0xffff, 0x8000, 0x7fff});

  EXPECT_TRUE(ExDCM::getOFStringFromOBOW(element.get(), 1, text_));
  EXPECT_EQ(text_, "-1\\-32768\\32767");

  EXPECT_TRUE(ExDCM::getOFStringFromOBOW(element.get(), 0, text_));
  EXPECT_EQ(text_, "65535\\32768\\32767");
}

TEST_F(GetOFStringFromOBOW, IgnoresBytesThatDoNotFillANumber) {
  const auto element = wordElement({0x0000, 0x3fc0, 0x1234});  // 1.5F and one word

  EXPECT_TRUE(ExDCM::getOFStringFromOBOW(element.get(), 2, text_));
  EXPECT_EQ(text_, "1.5");

  EXPECT_TRUE(ExDCM::getOFStringFromOBOW(element.get(), 4, text_));
  EXPECT_EQ(text_, "1069547520");  // 0x3fc00000
}

TEST_F(GetOFStringFromOBOW, GivesAnEmptyTextForLessThanOneNumber) {
  const auto element = wordElement({1, 2, 3});

  EXPECT_TRUE(ExDCM::getOFStringFromOBOW(element.get(), 3, text_));

  EXPECT_EQ(text_, "");
}

TEST_F(GetOFStringFromOBOW, PrintsFloatsWithSixDigits) {
  const auto element = elementOfNumbers<float>(
      {3.14159265F, -0.25F, 1e6F, 999999.0F, 1e-4F, 1e-5F, 3.4028235e38F, 100.0F});

  EXPECT_TRUE(ExDCM::getOFStringFromOBOW(element.get(), 2, text_));

  EXPECT_EQ(text_, "3.14159\\-0.25\\1e+06\\999999\\0.0001\\1e-05\\3.40282e+38\\100");
}

TEST_F(GetOFStringFromOBOW, PrintsDoublesWithSixDigits) {
  const auto element = elementOfNumbers<double>({2.718281828459, -1e300, 0.1, 12345678.0});

  EXPECT_TRUE(ExDCM::getOFStringFromOBOW(element.get(), 3, text_));

  EXPECT_EQ(text_, "2.71828\\-1e+300\\0.1\\1.23457e+07");
}

TEST_F(GetOFStringFromOBOW, PrintsLongs) {
  const auto element = elementOfNumbers<std::int32_t>({INT_MIN, -1, 0, INT_MAX});

  EXPECT_TRUE(ExDCM::getOFStringFromOBOW(element.get(), 4, text_));

  EXPECT_EQ(text_, "-2147483648\\-1\\0\\2147483647");
}

TEST_F(GetOFStringFromOBOW, IsNotImpressedByTheHostsLocale) {
  struct Grouping : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  const auto words = wordElement({12345});
  const auto floats = elementOfNumbers<float>({1.5F});
  const std::locale before = std::locale::global(std::locale(std::locale(), new Grouping));
  std::string wordText;
  std::string floatText;

  const bool wordsDone = ExDCM::getOFStringFromOBOW(words.get(), 0, wordText);
  const bool floatsDone = ExDCM::getOFStringFromOBOW(floats.get(), 2, floatText);
  std::locale::global(before);

  EXPECT_TRUE(wordsDone && floatsDone);
  EXPECT_EQ(wordText, "12345");
  EXPECT_EQ(floatText, "1.5");
}

TEST_F(GetOFStringFromOBOW, RefusesOtherValueTypes) {
  const auto element = wordElement({1, 2, 3, 4});

  for (const int valueType : {5, 6, -1, INT_MIN, INT_MAX}) {
    text_ = "left over";
    EXPECT_FALSE(ExDCM::getOFStringFromOBOW(element.get(), valueType, text_)) << valueType;
    EXPECT_EQ(text_, "") << valueType;
  }
}

TEST_F(GetOFStringFromOBOW, RefusesBytesForEveryValueType) {
  for (const DcmEVR vr : {EVR_OB, EVR_UN, EVR_UNKNOWN}) {
    const auto element = byteElement(kUnknownKey, vr, nullptr, "12345678");
    for (int valueType = 0; valueType <= 4; ++valueType) {
      text_ = "left over";
      EXPECT_FALSE(ExDCM::getOFStringFromOBOW(element.get(), valueType, text_)) << valueType;
      EXPECT_EQ(text_, "") << valueType;
    }
  }
}

TEST_F(GetOFStringFromOBOW, GivesAnEmptyTextForAnEmptyValue) {
  for (int valueType = 0; valueType <= 4; ++valueType) {
    const auto element = wordElement({});
    text_ = "left over";

    EXPECT_TRUE(ExDCM::getOFStringFromOBOW(element.get(), valueType, text_)) << valueType;

    EXPECT_EQ(text_, "") << valueType;
  }
}

TEST_F(GetOFStringFromOBOW, ReadsTheWordsOfPixelDataInBytes) {
  DcmPixelData pixels(DCM_PixelData);
  pixels.setVR(EVR_OB);
  const std::vector<Uint8> bytes = {0x01, 0x00, 0x02, 0x01};
  ASSERT_TRUE(pixels.putUint8Array(bytes.data(), bytes.size()).good());

  EXPECT_TRUE(ExDCM::getOFStringFromOBOW(&pixels, 0, text_));

  EXPECT_EQ(text_, "1\\258");
}

TEST_F(GetOFStringFromOBOW, RefusesAValueThatIsGone) {
  const support::TempDir folder;
  const OFFilename path(folder.file("gone.dcm").c_str());
  DcmFileFormat file;
  const std::vector<Uint16> words(8192, 1);
  ASSERT_TRUE(
      file.getDataset()
          ->putAndInsertUint16Array(DCM_RETIRED_TrianglePointIndexList, words.data(), words.size())
          .good());
  ASSERT_TRUE(file.getDataset()->putAndInsertString(DCM_SOPClassUID, "1.2").good());
  ASSERT_TRUE(file.getDataset()->putAndInsertString(DCM_SOPInstanceUID, "1.2").good());
  ASSERT_TRUE(file.saveFile(path, EXS_LittleEndianExplicit).good());
  DcmFileFormat read;
  ASSERT_TRUE(read.loadFile(path).good());
  std::filesystem::remove(folder.file("gone.dcm"));
  DcmElement* element = nullptr;
  ASSERT_TRUE(
      read.getDataset()->findAndGetElement(DCM_RETIRED_TrianglePointIndexList, element).good());

  EXPECT_FALSE(ExDCM::getOFStringFromOBOW(dynamic_cast<DcmOtherByteOtherWord*>(element), 0, text_));

  EXPECT_EQ(text_, "");
}

}  // namespace
