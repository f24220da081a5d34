// SPDX-License-Identifier: BSD-3-Clause
//
// Private elements on their way into a file and back: VR, creator and value must survive, also
// where the file does not store the VR.
#include "DictionaryRows.h"
#include "support/RowName.h"
#include "support/TempDir.h"

#include <zrdcmexport/ExDCM.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

const std::vector<Uint8> kBytes = {1, 2, 0, 255};
constexpr Float32 kFloat = 0.25F;

// A value that the VR and the VM of the row allow.
std::string textValue(const dict::DictionaryRow& row) {
  switch (row.vr) {
    case EVR_DT:
      return "20240229123000";
    case EVR_TM:
      return "123000";
    case EVR_UI:
      return "1.2.3";
    case EVR_IS:
      return "-42";
    case EVR_DS:
      return row.vm == 1 ? "0.5" : row.vm == 2 ? "0.5\\-0.25" : "0.5\\-0.25\\3";
    default:
      return "TEXT";
  }
}

void insertValue(DcmItem& item, const DcmTag& tag, const dict::DictionaryRow& row) {
  switch (row.vr) {
    case EVR_OB:
      ASSERT_TRUE(item.putAndInsertUint8Array(tag, kBytes.data(), kBytes.size()).good());
      break;
    case EVR_FL:
      ASSERT_TRUE(item.putAndInsertFloat32(tag, kFloat).good());
      break;
    case EVR_US:
      ASSERT_TRUE(item.putAndInsertUint16(tag, 7).good());
      break;
    case EVR_SQ: {
      DcmItem* nested = nullptr;
      ASSERT_TRUE(item.findOrCreateSequenceItem(tag, nested).good());
      ASSERT_TRUE(nested->putAndInsertString(DCM_PatientID, "NESTED").good());
      break;
    }
    default:
      ASSERT_TRUE(item.putAndInsertString(tag, textValue(row).c_str()).good());
      break;
  }
}

void expectValue(DcmItem& item, const DcmTagKey& key, const dict::DictionaryRow& row) {
  DcmElement* element = nullptr;
  ASSERT_TRUE(item.findAndGetElement(key, element).good());
  EXPECT_EQ(element->getTag().getEVR(), row.vr);
  EXPECT_STREQ(element->getTag().getPrivateCreator(), row.creator);
  OFString text;
  switch (row.vr) {
    case EVR_OB: {
      Uint8* bytes = nullptr;
      ASSERT_TRUE(element->getUint8Array(bytes).good());
      EXPECT_EQ(std::vector<Uint8>(bytes, bytes + element->getLength()), kBytes);
      break;
    }
    case EVR_FL: {
      Float32 value = 0;
      ASSERT_TRUE(element->getFloat32(value).good());
      EXPECT_EQ(value, kFloat);
      break;
    }
    case EVR_US: {
      Uint16 value = 0;
      ASSERT_TRUE(element->getUint16(value).good());
      EXPECT_EQ(value, 7);
      break;
    }
    case EVR_SQ: {
      DcmItem* nested = nullptr;
      ASSERT_TRUE(item.findAndGetSequenceItem(key, nested).good());
      ASSERT_TRUE(nested->findAndGetOFString(DCM_PatientID, text).good());
      EXPECT_EQ(text, "NESTED");
      break;
    }
    default:
      ASSERT_TRUE(element->getOFStringArray(text).good());
      EXPECT_EQ(text, textValue(row));
      break;
  }
}

std::unique_ptr<DcmFileFormat> writeAndRead(DcmFileFormat& file, E_TransferSyntax syntax) {
  const support::TempDir folder;
  const OFFilename path(folder.file("private.dcm").c_str());
  EXPECT_TRUE(file.getDataset()->putAndInsertString(DCM_SOPClassUID, "1.2.3").good());
  EXPECT_TRUE(file.getDataset()->putAndInsertString(DCM_SOPInstanceUID, "1.2.3.4").good());
  EXPECT_TRUE(file.saveFile(path, syntax).good());
  auto read = std::make_unique<DcmFileFormat>();
  EXPECT_TRUE(read->loadFile(path).good());
  EXPECT_TRUE(read->loadAllDataIntoMemory().good());
  EXPECT_EQ(read->getDataset()->getOriginalXfer(), syntax);
  return read;
}

class RoundTrip : public testing::TestWithParam<dict::DictionaryRow> {
protected:
  static void SetUpTestSuite() { ExDCM::registerPrivateDicomTags(); }
};

class OwnElement : public RoundTrip {
protected:
  static void expectSurvives(E_TransferSyntax syntax) {
    DcmFileFormat file;
    const DcmTag creator(0x0071, 0x0010, DcmVR(EVR_LO));
    ASSERT_TRUE(file.getDataset()->putAndInsertString(creator, "Zorlan").good());
    insertValue(*file.getDataset(), ExDCM::zorlanTag(GetParam().key()), GetParam());

    const auto read = writeAndRead(file, syntax);

    expectValue(*read->getDataset(), GetParam().key(), GetParam());
  }
};

TEST_P(OwnElement, SurvivesExplicitVR) {
  expectSurvives(EXS_LittleEndianExplicit);
}

TEST_P(OwnElement, SurvivesImplicitVR) {
  expectSurvives(EXS_LittleEndianImplicit);
}

INSTANTIATE_TEST_SUITE_P(Rows, OwnElement, testing::ValuesIn(dict::ownRows()),
                         support::nameOf<dict::DictionaryRow>);

class VendorElement : public RoundTrip {};

TEST_P(VendorElement, IsReadFromImplicitVRInWhateverBlock) {
  const Uint16 block = 0x42;
  const DcmTagKey key(GetParam().group,
                      static_cast<Uint16>((block << 8U) | (GetParam().element & 0xffU)));
  DcmFileFormat file;
  const DcmTag creator(GetParam().group, block, DcmVR(EVR_LO));
  ASSERT_TRUE(file.getDataset()->putAndInsertString(creator, GetParam().creator).good());
  insertValue(*file.getDataset(), DcmTag(key, DcmVR(GetParam().vr)), GetParam());

  const auto read = writeAndRead(file, EXS_LittleEndianImplicit);

  expectValue(*read->getDataset(), key, GetParam());
}

// Two rows share their name, so the row's number tells them apart.
std::string numberedName(const testing::TestParamInfo<dict::DictionaryRow>& row) {
  return std::string(row.param.name) + std::to_string(row.index);
}

INSTANTIATE_TEST_SUITE_P(Rows, VendorElement, testing::ValuesIn(dict::vendorRows()), numberedName);

}  // namespace
