// SPDX-License-Identifier: BSD-3-Clause
// New images as a program that links the library writes them.
#include "support/Compression.h"
#include "support/Files.h"
#include "support/ImageBuilder.h"
#include "support/TempDir.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>
#include <zrimaging/Export.h>
#include <zrimaging/File.h>

namespace {

using testing::ElementsAre;
using testing::StartsWith;

std::string errorOf(const std::function<void()>& work) {
  try {
    work();
  } catch (const zr::Error& error) {
    return std::string(zr::nameOf(error.reason())) + ": " + error.what();
  }
  return "";
}

std::string textOf(const zr::File& file, const char* path) {
  return file.text(zr::AttributePath::parse(path)).text;
}

TEST(NewImage, HoldsItsSamplesAndAttributes) {
  const support::TempDir folder;
  const std::vector<std::uint16_t> samples = {1, 2, 3, 4, 5, 65535};
  zr::NewImage image(3, 2, zr::ExportType::kU16);
  image.addTags(R"({"PatientName": "Doe^John", "G0028-1052": "-1024"})");
  image.complete();
  EXPECT_EQ(image.sampleBytes(), 12U);

  image.write(folder.file("out.dcm"), samples.data(), 12, zr::ProtectedInputs());

  const zr::File file(folder.file("out.dcm"));
  EXPECT_EQ(textOf(file, "PatientName"), "Doe^John");
  EXPECT_EQ(textOf(file, "RescaleIntercept"), "-1024");
  EXPECT_EQ(textOf(file, "Columns"), "3");
  EXPECT_EQ(textOf(file, "SOPClassUID"), "1.2.840.10008.5.1.4.1.1.7");
  EXPECT_EQ(textOf(file, "SOPInstanceUID"), image.text(0x0008, 0x0018));
  EXPECT_EQ(textOf(file, "PixelData"), "1\\2\\3\\4\\5\\65535");
}

TEST(NewImage, IsDerivedFromAnother) {
  const support::TempDir folder;
  support::saveFile(*support::ctSlice(4, 4)
                         .with(DCM_ImageType, "ORIGINAL\\PRIMARY\\AXIAL")
                         .with(DCM_SeriesInstanceUID, "1.2.3")
                         .with(DCM_StudyInstanceUID, "1.2")
                         .build(),
                    folder.file("in.dcm"));
  zr::NewImage image(1, 1, zr::ExportType::kU8);

  image.deriveFrom(zr::File(folder.file("in.dcm")));
  image.complete();

  EXPECT_EQ(image.text(0x0008, 0x0008), "DERIVED\\SECONDARY\\AXIAL");
  EXPECT_EQ(image.text(0x0020, 0x000D), "1.2");
  EXPECT_THAT(image.text(0x0020, 0x000E), StartsWith("2.25."));
  EXPECT_EQ(image.text(0x0028, 0x0010), "1");
}

TEST(NewImage, RefusesAttributesAtFaultBeforeItWrites) {
  zr::NewImage image(1, 1, zr::ExportType::kU8);

  EXPECT_EQ(errorOf([&] { image.addTags(R"({"ShoeSize": "44"})"); }),
            "CannotWrite: ShoeSize: neither a keyword of DICOM nor a key like G0008-0016");
  EXPECT_THAT(errorOf([&] { image.addTags("{", "tags.json"); }),
              StartsWith("CannotWrite: tags.json: no JSON: "));
  EXPECT_EQ(errorOf([&] { image.addTags("[]"); }), "CannotWrite: wants an object of attributes");
  image.addTags(R"({"Rows": "2"})");
  EXPECT_EQ(errorOf([&] { image.complete(); }),
            "CannotWrite: Rows: says 2, but the samples make it 1");
}

TEST(NewImage, RefusesSizesThatNoImageHas) {
  EXPECT_EQ(errorOf([] { const zr::NewImage image(0, 4, zr::ExportType::kU8); }),
            "TooLarge: no image has 0 x 4 samples");
  EXPECT_EQ(errorOf([] { const zr::NewImage image(4, 65536, zr::ExportType::kU8); }),
            "TooLarge: no image has 4 x 65536 samples");
  EXPECT_EQ(errorOf([] { const zr::NewImage image(65535, 65535, zr::ExportType::kU8); }),
            "TooLarge: too many samples for one image: 4294836225");
}

TEST(NewImage, RefusesSamplesOfAnotherSizeAndInputsAsTargets) {
  const support::TempDir folder;
  support::writeFile(folder.file("in"), "input");
  zr::NewImage first(2, 2, zr::ExportType::kS16);
  first.complete();
  const zr::NewImage image = std::move(first);
  const std::string samples(8, '\0');
  const std::string target = folder.file("out.dcm").string();

  EXPECT_EQ(errorOf([&] { image.write(target, samples.data(), 7, zr::ProtectedInputs()); }),
            "CannotWrite: cannot write " + target + ": 7 bytes of samples, where 8 are needed");
  EXPECT_THAT(errorOf([&] {
                image.write(folder.file("in"), samples.data(), 8,
                            zr::ProtectedInputs({folder.file("in").string()}));
              }),
              testing::HasSubstr("that would replace the input"));
  EXPECT_THAT(support::namesIn(folder.path()), ElementsAre("in"));
}

}  // namespace
