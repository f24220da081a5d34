// SPDX-License-Identifier: BSD-3-Clause
// zrdcm lut: tables as text, as JSON and as a plot.
#include "support/DatasetBuilder.h"
#include "support/TempDir.h"
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
using support::DatasetBuilder;
using testing::ElementsAre;
using testing::StartsWith;
using tools::Outcome;
using tools::runZrdcm;

/// Modality table of 4 entries from 10 on, 16 bits.
DatasetBuilder withModalityTable() {
  return DatasetBuilder().withItem(DCM_ModalityLUTSequence,
                                   DatasetBuilder()
                                       .withUint16s(DCM_LUTDescriptor, {4, 10, 16})
                                       .withWords(DCM_LUTData, {0, 300, 20000, 65535}));
}

DatasetBuilder withPalette(DatasetBuilder builder) {
  const std::vector<Uint16> descriptor = {2, 0, 16};
  return builder.withUint16s(DCM_RedPaletteColorLookupTableDescriptor, descriptor)
      .withUint16s(DCM_GreenPaletteColorLookupTableDescriptor, descriptor)
      .withUint16s(DCM_BluePaletteColorLookupTableDescriptor, descriptor)
      .withWords(DCM_RedPaletteColorLookupTableData, {0, 65535})
      .withWords(DCM_GreenPaletteColorLookupTableData, {1000, 2000})
      .withWords(DCM_BluePaletteColorLookupTableData, {65535, 0});
}

class ZrdcmLut : public testing::Test {
protected:
  std::string save(const DatasetBuilder& builder) {
    const auto dataset = builder.build();
    DcmFileFormat format(dataset.get());
    const std::string file = folder_.file("in.dcm").string();
    EXPECT_TRUE(format.saveFile(file.c_str(), EXS_LittleEndianExplicit).good());
    return file;
  }

  support::TempDir folder_;
};

TEST_F(ZrdcmLut, PrintsEveryEntry) {
  const Outcome run = runZrdcm({"lut", save(withPalette(withModalityTable()))});

  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(run.output,
            "modality: 4 entries of 1 x 16 bits\n"
            "  10 -> 0\n"
            "  11 -> 300\n"
            "  12 -> 20000\n"
            "  13 -> 65535\n"
            "palette: 2 entries of 3 x 16 bits\n"
            "  0 -> 0 1000 65535\n"
            "  1 -> 65535 2000 0\n");
}

TEST_F(ZrdcmLut, SaysThatThereIsNone) {
  const std::string file = save(DatasetBuilder().with(DCM_PatientID, "P1"));

  EXPECT_EQ(runZrdcm({"lut", file}).output, "modality: none\npalette: none\n");
  EXPECT_EQ(runZrdcm({"lut", file}).status, 0);
}

TEST_F(ZrdcmLut, PrintsJson) {
  const std::string file = save(withPalette(DatasetBuilder()));

  const json tables = json::parse(runZrdcm({"lut", file, "--json"}).output);

  EXPECT_EQ(tables, (json{{"file", file},
                          {"modality", nullptr},
                          {"palette",
                           {{"firstMapped", 0},
                            {"entries", 2},
                            {"bits", 16},
                            {"red", {0, 65535}},
                            {"green", {1000, 2000}},
                            {"blue", {65535, 0}}}}}));
}

TEST_F(ZrdcmLut, PlotsBothTables) {
  const std::string picture = folder_.file("plot.png").string();

  const Outcome run = runZrdcm({"lut", save(withPalette(withModalityTable())), "-o", picture});

  ASSERT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(run.output, "");
  const tools::Png png = tools::readPng(picture);
  EXPECT_EQ(png.columns, 640U);
  EXPECT_EQ(png.rows, 800U);
  EXPECT_EQ(png.channels, 3);
  const auto pixel = [&png](std::size_t column, std::size_t row) {
    const std::size_t first = 3 * (row * png.columns + column);
    return std::vector<std::uint16_t>(png.samples.begin() + static_cast<std::ptrdiff_t>(first),
                                      png.samples.begin() + static_cast<std::ptrdiff_t>(first) + 3);
  };
  EXPECT_THAT(pixel(0, 0), ElementsAre(255, 255, 255));  // margin
  EXPECT_THAT(pixel(20, 380), ElementsAre(30, 30, 30));  // modality: entry 0 is 0, at the bottom
  EXPECT_THAT(pixel(619, 20), ElementsAre(30, 30, 30));  // and the last is 65535, at the top
  EXPECT_THAT(pixel(30, 765), ElementsAre(0, 3, 255));   // strip: the first colour of the palette
  EXPECT_THAT(pixel(619, 765), ElementsAre(255, 7, 0));  // and the last
}

TEST_F(ZrdcmLut, HasNothingToPlotWithoutTables) {
  const std::string file = save(DatasetBuilder().with(DCM_PatientID, "P1"));

  const Outcome run = runZrdcm({"lut", file, "-o", folder_.file("plot.png").string()});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "zrdcm: " + file + ": holds no lookup table\n");
  EXPECT_THAT(tools::namesIn(folder_.path()), ElementsAre("in.dcm"));
}

TEST_F(ZrdcmLut, SaysWhichFileCannotBeRead) {
  const Outcome run = runZrdcm({"lut", "nowhere.dcm"});

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, StartsWith("zrdcm: nowhere.dcm: "));
}

TEST_F(ZrdcmLut, RefusesWrongUsage) {
  EXPECT_EQ(runZrdcm({"lut"}).status, 2);
}

}  // namespace
