// SPDX-License-Identifier: BSD-3-Clause
// The public face of the export writer, used as an application uses it.
#include "core/writing/ExportFixture.h"
#include "core/writing/FailingMemory.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"

#include <gx/GxParamBase.h>
#include <gx/GxParamBundle.h>
#include <gx/GxParameter.h>
#include <zrdcmexport/ZrDcmExport.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <vector>

namespace {

namespace fs = std::filesystem;
using exporting::load;
using exporting::textOf;
using testing::ElementsAre;
using testing::IsEmpty;

/// Says that it is a bundle and is not.
class ImpostorBundle : public GxParamBase {
public:
  using GxParamBase::GxParamBase;
  [[nodiscard]] bool isBundle() const override { return true; }
};

class Export : public testing::Test {
protected:
  support::LogCapture log_;
  support::TempDir folder_;
  std::vector<std::uint16_t> pixels_ = exporting::twelveSamples();
};

TEST_F(Export, WritesAFile) {
  ZrDcmExport writer;
  EXPECT_TRUE(writer.setDicomTag(0x0008, 0x0016, "1.2.840.10008.5.1.4.1.1.7"));
  EXPECT_TRUE(writer.setDicomTag(0x0008, 0x0018, "2.25.7"));
  EXPECT_TRUE(writer.setDicomTag(0x0028, 0x0120, "65535"));
  EXPECT_TRUE(writer.setOutputBaseDirectory(folder_.path().c_str()));
  EXPECT_TRUE(writer.setFilename("image.dcm"));

  ASSERT_TRUE(writer.writeImageAsIs(4, 3, pixels_.data()));

  const auto file = load(folder_.file("image.dcm"));
  EXPECT_EQ(textOf(*file->getMetaInfo(), DCM_MediaStorageSOPInstanceUID), "2.25.7");
  EXPECT_EQ(exporting::samplesOf(*file->getDataset()), pixels_);
  // always unsigned: 65535 would not fit in SS
  EXPECT_EQ(textOf(*file->getDataset(), DCM_PixelPaddingValue), "65535");
  EXPECT_EQ(writer.lastError(), "");
  EXPECT_THAT(log_.texts(), IsEmpty());
}

TEST_F(Export, ReplacesATagThatIsSetAgain) {
  ZrDcmExport writer;
  EXPECT_TRUE(writer.setDicomTag(0x0010, 0x0010, "A"));
  EXPECT_TRUE(writer.setDicomTag(0x0010, 0x0010, "B"));
  EXPECT_TRUE(writer.setOutputBaseDirectory(folder_.path().c_str()));
  EXPECT_TRUE(writer.setFilename("image.dcm"));

  ASSERT_TRUE(writer.writeImageAsIs(4, 3, pixels_.data()));

  const auto file = load(folder_.file("image.dcm"));
  EXPECT_EQ(textOf(*file->getDataset(), DCM_PatientName), "B");
  EXPECT_EQ(file->getDataset()->card(), 2U);  // the name and the pixel data
}

TEST_F(Export, NamesTagsInSmallHexadecimalDigits) {
  ZrDcmExport writer;
  GxParamBundle bundle("root");
  bundle.addParameter("G0020-000e", "UI: 1.1");
  EXPECT_TRUE(writer.addParameters(&bundle));
  EXPECT_TRUE(writer.setDicomTag(0x0020, 0x000E, "1.2"));
  EXPECT_TRUE(writer.setOutputBaseDirectory(folder_.path().c_str()));
  EXPECT_TRUE(writer.setFilename("image.dcm"));

  ASSERT_TRUE(writer.writeImageAsIs(4, 3, pixels_.data()));

  EXPECT_EQ(textOf(*load(folder_.file("image.dcm"))->getDataset(), DCM_SeriesInstanceUID), "1.2");
}

TEST_F(Export, RefusesATagWithoutValueSilently) {
  ZrDcmExport writer;

  EXPECT_FALSE(writer.setDicomTag(0x0010, 0x0010, nullptr));

  EXPECT_EQ(writer.lastError(), "");
  EXPECT_THAT(log_.texts(), IsEmpty());
}

TEST_F(Export, RefusesANullBufferAndMakesNoFile) {
  ZrDcmExport writer;
  EXPECT_TRUE(writer.setOutputBaseDirectory(folder_.path().c_str()));
  EXPECT_TRUE(writer.setFilename("image.dcm"));

  EXPECT_FALSE(writer.writeImageAsIs(512, 512, nullptr));

  EXPECT_EQ(writer.lastError(), "[writeImage] null pointer exception!");
  EXPECT_TRUE(fs::is_empty(folder_.path()));
}

TEST_F(Export, RefusesADimensionOfZero) {
  ZrDcmExport writer;

  EXPECT_FALSE(writer.writeImageAsIs(0, 3, pixels_.data()));

  EXPECT_EQ(writer.lastError(),
            "[writeImage] invalid dimension parameters or samples per pixel argument!");
}

TEST_F(Export, ReportsARefusedDirectoryInTheLogAlone) {
  std::ofstream(folder_.file("file")) << "text";
  ZrDcmExport writer;

  EXPECT_FALSE(writer.setOutputBaseDirectory(folder_.file("file").c_str()));

  EXPECT_EQ(writer.lastError(), "");
  EXPECT_THAT(log_.texts(), ElementsAre("Reformat: base output directory " +
                                        folder_.file("file").string() + " is not a directory"));
}

TEST_F(Export, RefusesANullBundle) {
  ZrDcmExport writer;

  EXPECT_FALSE(writer.addParameters(nullptr));

  EXPECT_EQ(writer.lastError(), "[addParameters] No input data!");
  EXPECT_THAT(log_.texts(), ElementsAre("Reformat: [addParameters] No input data!"));
}

TEST_F(Export, LogsAFailureOfTheTreeTwice) {
  GxParamBundle bundle("root");
  bundle.add(std::make_unique<ImpostorBundle>("G0008-1140"));
  ZrDcmExport writer;

  EXPECT_FALSE(writer.addParameters(&bundle));

  EXPECT_EQ(writer.lastError(), "[addParameters] dynamic_cast to GxParamBundle * failed.");
  EXPECT_THAT(log_.texts(),
              ElementsAre("ZrDcmData: [addParameters] dynamic_cast to GxParamBundle * failed.",
                          "Reformat: [addParameters] dynamic_cast to GxParamBundle * failed."));
}

TEST_F(Export, WritesWhatABundleBrings) {
  GxParamBundle bundle("root");
  bundle.addParameter("G0010-0010", "PN: Doe^John");
  bundle.addParameter("G0028-0030", "DS: 0.5\\0.75");
  bundle.addBundle("G0008-1140").addBundle("Item_0").addParameter("G0008-1155", "UI: 1.6");
  ZrDcmExport writer;
  EXPECT_TRUE(writer.addParameters(&bundle));
  EXPECT_TRUE(writer.addParameters(&bundle)) << "bundles overwrite";
  EXPECT_TRUE(writer.setOutputBaseDirectory(folder_.path().c_str()));
  EXPECT_TRUE(writer.setFilename("image.dcm"));

  ASSERT_TRUE(writer.writeImageAsIs(4, 3, pixels_.data()));

  const auto file = load(folder_.file("image.dcm"));
  EXPECT_EQ(textOf(*file->getDataset(), DCM_PatientName), "Doe^John");
  EXPECT_EQ(textOf(*file->getDataset(), DCM_PixelSpacing), "0.5\\0.75");
  DcmItem* item = nullptr;
  ASSERT_TRUE(
      file->getDataset()->findAndGetSequenceItem(DCM_ReferencedImageSequence, item, 0).good());
  EXPECT_EQ(textOf(*item, DCM_ReferencedSOPInstanceUID), "1.6");
}

TEST_F(Export, AnswersFalseToEverythingWhenMemoryRanOutAtItsCreation) {
  int allocations = 0;
  for (bool failed = true; failed; ++allocations) {
    ASSERT_LT(allocations, 100);
    std::optional<ZrDcmExport> writer;
    {
      const exporting::FailingMemory memory(allocations);
      writer.emplace();
    }
    GxParamBundle bundle("root");
    failed = !writer->setFilename("image.dcm");
    if (failed) {
      EXPECT_FALSE(writer->setDicomTag(0x0010, 0x0010, "A"));
      EXPECT_FALSE(writer->setOutputBaseDirectory(folder_.path().c_str()));
      EXPECT_FALSE(writer->writeImageAsIs(4, 3, pixels_.data()));
      EXPECT_FALSE(writer->writeImageAsIs(4, 3, nullptr));
      EXPECT_FALSE(writer->addParameters(&bundle));
      EXPECT_EQ(writer->lastError(), "");
    }
  }
  EXPECT_GT(allocations, 2) << "no allocation of the writer has failed";
  EXPECT_THAT(log_.texts(), IsEmpty());
}

}  // namespace
