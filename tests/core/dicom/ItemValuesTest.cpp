// SPDX-License-Identifier: BSD-3-Clause
// Values of an item, and that a missing one is nothing.
#include "dicom/ItemValues.h"
#include "support/DatasetBuilder.h"

#include <wexlib/WexItemOF.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

namespace {

using support::DatasetBuilder;

TEST(ItemValues, OfAMissingElementAreNothing) {
  DcmItem item;

  EXPECT_EQ(Zrg::topLevelElement(item, DCM_Rows), nullptr);
  EXPECT_FALSE(Zrg::readValueText(item, DCM_PatientName));
  EXPECT_FALSE(Zrg::readValueTexts(item, DCM_ImageType));
  EXPECT_FALSE(Zrg::readUint16(item, DCM_Rows));
  EXPECT_FALSE(Zrg::readSint16(item, DCM_OverlayOrigin));
  EXPECT_FALSE(Zrg::readInt(item, DCM_NumberOfFrames));
  EXPECT_FALSE(Zrg::readFloat(item, DCM_RescaleSlope));
}

TEST(ItemValues, AreReadByTheirPosition) {
  const auto dataset = DatasetBuilder().with(DCM_PixelSpacing, "0.5\\0.25").build();

  EXPECT_EQ(Zrg::readValueText(*dataset, DCM_PixelSpacing, 1), OFString("0.25"));
  EXPECT_EQ(Zrg::readValueTexts(*dataset, DCM_PixelSpacing), OFString("0.5\\0.25"));
  EXPECT_EQ(Zrg::readFloat(*dataset, DCM_PixelSpacing, 1), 0.25F);
  EXPECT_FALSE(Zrg::readFloat(*dataset, DCM_PixelSpacing, 2));
}

TEST(ItemValues, WithAnotherVrAreReadByTheirTextAlone) {
  const auto dataset = DatasetBuilder().with(DCM_NumberOfFrames, "12").build();

  EXPECT_FALSE(Zrg::readUint16(*dataset, DCM_NumberOfFrames));
  EXPECT_EQ(Zrg::readInt(*dataset, DCM_NumberOfFrames), 12);
}

TEST(ItemValues, ThatAreNoIntegersAreZeroAndNoFloats) {
  const auto dataset =
      DatasetBuilder().with(DCM_NumberOfFrames, "many").with(DCM_RescaleSlope, "steep").build();

  EXPECT_EQ(Zrg::readInt(*dataset, DCM_NumberOfFrames), 0);
  EXPECT_FALSE(Zrg::readFloat(*dataset, DCM_RescaleSlope));
}

TEST(ItemValues, AreReadThroughTheApplicationsItemsToo) {
  const auto dataset = DatasetBuilder().with(DCM_NumberOfFrames, "3").build();
  Wex::ItemOF item(*dataset);

  EXPECT_EQ(Zrg::readInt(item, DCM_NumberOfFrames), 3);
}

}  // namespace
