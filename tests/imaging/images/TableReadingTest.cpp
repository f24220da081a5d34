// SPDX-License-Identifier: BSD-3-Clause
// Lookup tables as plain numbers, and drawn.
#include "support/DatasetBuilder.h"
#include "support/TempDir.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <vector>
#include <zrimaging/File.h>
#include <zrimaging/Samples.h>
#include <zrimaging/Tables.h>

namespace {

using support::DatasetBuilder;
using testing::ElementsAre;

class TablesOfAFile : public testing::Test {
protected:
  zr::File save(const DatasetBuilder& builder) const {
    const auto dataset = builder.build();
    DcmFileFormat format(dataset.get());
    EXPECT_TRUE(format.saveFile(folder_.file("in.dcm").c_str(), EXS_LittleEndianExplicit).good());
    return zr::File(folder_.file("in.dcm"));
  }

private:
  support::TempDir folder_;
};

TEST_F(TablesOfAFile, AreAbsentWhereThereAreNone) {
  const zr::File file = save(DatasetBuilder().with(DCM_PatientID, "P1"));

  EXPECT_FALSE(zr::readModalityTable(file));
  EXPECT_FALSE(zr::readPalette(file));
}

TEST_F(TablesOfAFile, HaveTheNumbersOfAModalityTable) {
  const zr::File file = save(DatasetBuilder().withItem(
      DCM_ModalityLUTSequence, DatasetBuilder()
                                   .withUint16s(DCM_LUTDescriptor, {4, 10, 16})
                                   .withWords(DCM_LUTData, {0, 300, 20000, 65535})));

  const std::optional<zr::TableValues> table = zr::readModalityTable(file);

  ASSERT_TRUE(table);
  EXPECT_EQ(table->firstMapped, 10);
  EXPECT_EQ(table->bits, 16U);
  EXPECT_EQ(table->values, 1U);
  EXPECT_THAT(table->numbers, ElementsAre(0, 300, 20000, 65535));
}

TEST_F(TablesOfAFile, HaveTheColoursOfAPaletteSideBySide) {
  const std::vector<Uint16> descriptor = {2, 5, 16};
  const zr::File file =
      save(DatasetBuilder()
               .withUint16s(DCM_RedPaletteColorLookupTableDescriptor, descriptor)
               .withUint16s(DCM_GreenPaletteColorLookupTableDescriptor, descriptor)
               .withUint16s(DCM_BluePaletteColorLookupTableDescriptor, descriptor)
               .withWords(DCM_RedPaletteColorLookupTableData, {0, 65535})
               .withWords(DCM_GreenPaletteColorLookupTableData, {1000, 2000})
               .withWords(DCM_BluePaletteColorLookupTableData, {65535, 0}));

  const std::optional<zr::TableValues> table = zr::readPalette(file);

  ASSERT_TRUE(table);
  EXPECT_EQ(table->firstMapped, 5);
  EXPECT_EQ(table->entries(), 2U);
  EXPECT_EQ(table->values, 3U);
  EXPECT_THAT(table->numbers, ElementsAre(0, 1000, 65535, 65535, 2000, 0));
}

// ---- plots

std::vector<int> pixel(const zr::Picture& picture, std::size_t column, std::size_t row) {
  const std::size_t first = 3 * (row * picture.columns + column);
  return {picture.samples[first], picture.samples[first + 1], picture.samples[first + 2]};
}

TEST(PlotOfTables, DrawsACurveFromTheFirstEntryToTheLast) {
  const zr::TableValues rising{0, 8, 1, {0, 255}};

  const zr::Picture plot = zr::plotTables({rising});

  EXPECT_EQ(plot.columns, 640U);
  EXPECT_EQ(plot.rows, 400U);
  EXPECT_EQ(plot.channels, 3U);
  EXPECT_THAT(pixel(plot, 0, 0), ElementsAre(255, 255, 255));     // margin
  EXPECT_THAT(pixel(plot, 20, 380), ElementsAre(30, 30, 30));     // 0 is at the bottom
  EXPECT_THAT(pixel(plot, 619, 20), ElementsAre(30, 30, 30));     // 255 is at the top
  EXPECT_THAT(pixel(plot, 20, 200), ElementsAre(160, 160, 160));  // the frame between
}

TEST(PlotOfTables, DrawsThemOneAboveTheOtherWithTheColoursOfAPalette) {
  const zr::TableValues grey{0, 8, 1, {0, 255}};
  const zr::TableValues palette{0, 16, 3, {0, 1000, 65535, 65535, 2000, 0}};

  const zr::Picture plot = zr::plotTables({grey, palette});

  EXPECT_EQ(plot.rows, 800U);
  EXPECT_THAT(pixel(plot, 30, 765), ElementsAre(0, 3, 255));
  EXPECT_THAT(pixel(plot, 619, 765), ElementsAre(255, 7, 0));
}

}  // namespace
