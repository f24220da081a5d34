// SPDX-License-Identifier: BSD-3-Clause
// How a phantom's dataset is put together.
#include "phantoms/Builder.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using phantoms::Builder;
using testing::HasSubstr;
using testing::ThrowsMessage;

std::string textOf(DcmItem& item, const DcmTagKey& key) {
  OFString text;
  return item.findAndGetOFStringArray(key, text).good() ? text : "(missing)";
}

Builder ctBuilder(unsigned number) {
  return {UID_CTImageStorage, "CT", "Chest", number};
}

TEST(PhantomBuilder, GivesEachNumberASeriesAndAnInstanceOfOneStudy) {
  const auto first = ctBuilder(1).take();
  const auto second = ctBuilder(2).take();

  EXPECT_EQ(textOf(*first, DCM_StudyInstanceUID), textOf(*second, DCM_StudyInstanceUID));
  EXPECT_NE(textOf(*first, DCM_SeriesInstanceUID), textOf(*second, DCM_SeriesInstanceUID));
  EXPECT_NE(textOf(*first, DCM_SOPInstanceUID), textOf(*second, DCM_SOPInstanceUID));
}

TEST(PhantomBuilder, DescribesTheSamplesThatItIsGiven) {
  phantoms::StoredPixels format;
  format.columns = 3;
  format.rows = 1;
  format.frames = 2;
  format.bitsStored = 12;
  format.isSigned = true;

  const auto dataset = ctBuilder(1).withPixels(format, std::vector<std::uint16_t>(6, 7)).take();

  EXPECT_EQ(textOf(*dataset, DCM_Columns), "3");
  EXPECT_EQ(textOf(*dataset, DCM_Rows), "1");
  EXPECT_EQ(textOf(*dataset, DCM_NumberOfFrames), "2");
  EXPECT_EQ(textOf(*dataset, DCM_BitsAllocated), "16");
  EXPECT_EQ(textOf(*dataset, DCM_BitsStored), "12");
  EXPECT_EQ(textOf(*dataset, DCM_HighBit), "11");
  EXPECT_EQ(textOf(*dataset, DCM_PixelRepresentation), "1");
}

TEST(PhantomBuilder, CentresTheAxialPlaneInThePatient) {
  const auto dataset = ctBuilder(1).withAxialPlane(0.5, 2, 5).take();

  EXPECT_EQ(textOf(*dataset, DCM_ImagePositionPatient), "-1\\-1\\0");
  EXPECT_EQ(textOf(*dataset, DCM_PixelSpacing), "0.5\\0.5");
}

TEST(PhantomBuilder, NamesTheAttributeThatDcmtkRefuses) {
  EXPECT_THAT([] { ctBuilder(1).with(DCM_Rows, "many"); },
              ThrowsMessage<std::runtime_error>(HasSubstr("cannot make Rows: ")));
}

TEST(PhantomBuilder, MakesTheItemsOfASequenceInOrder) {
  Builder builder = ctBuilder(1);
  phantoms::put(builder.item(DCM_SourceImageSequence, 0), DCM_InstanceNumber, "7");
  phantoms::put(builder.item(DCM_SourceImageSequence, 1), DCM_InstanceNumber, "8");

  const auto dataset = builder.take();

  DcmItem* item = nullptr;
  ASSERT_TRUE(dataset->findAndGetSequenceItem(DCM_SourceImageSequence, item, 1).good());
  EXPECT_EQ(textOf(*item, DCM_InstanceNumber), "8");
}

}  // namespace
