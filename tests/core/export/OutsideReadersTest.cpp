// SPDX-License-Identifier: BSD-3-Clause
// Files must be read by others as they are read by DCMTK: pydicom, GDCM, and the checkers of DCMTK
// and dicom3tools.
#include "core/export/ExportFixture.h"
#include "support/LogCapture.h"
#include "support/RowName.h"
#include "support/TempDir.h"

#include <zrdcmexport/ZrDcmExportPrivate.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

namespace {

using exporting::isInstalled;
using exporting::run;
using testing::HasSubstr;
using testing::Not;

struct Kind {
  const char* name;
  ZrDcmExportPrivate (*writer)(const std::filesystem::path&);
};

class FileOf : public testing::TestWithParam<Kind> {
protected:
  void SetUp() override {
    ZrDcmExportPrivate writer = GetParam().writer(folder_.path());
    ZrDcmSequence* sequence = writer.startSequence("G0008-1140", true);
    ASSERT_NE(sequence, nullptr);
    for (const char* uid : {"2.25.1.1", "2.25.1.2"}) {
      ZrDcmData& item = sequence->items.append(ZrDcmData());
      ASSERT_TRUE(item.setDicomTag("G0008-1150", "1.2.840.10008.5.1.4.1.1.2", true));
      ASSERT_TRUE(item.setDicomTag("G0008-1155", uid, true));
    }
    std::vector<std::uint16_t> pixels = exporting::twelveSamples();
    ASSERT_TRUE(writer.writeImageAsIs(4, 3, pixels.data(), KtPrimType::U16, 1))
        << writer.lastError().str();
  }

  std::string file() const { return folder_.file("image.dcm").string(); }

  support::LogCapture log_;
  support::TempDir folder_;
};

TEST_P(FileOf, IsADicomFileToDcmftest) {
  if (!isInstalled("dcmftest")) {
    GTEST_SKIP() << "dcmftest is not installed";
  }
  const exporting::CommandResult result = run("dcmftest " + file());

  EXPECT_EQ(result.status, 0) << result.output;
  EXPECT_THAT(result.output, HasSubstr("yes: "));
}

TEST_P(FileOf, IsDumpedByDcmdumpWithoutComplaint) {
  if (!isInstalled("dcmdump")) {
    GTEST_SKIP() << "dcmdump is not installed";
  }
  const exporting::CommandResult result = run("dcmdump " + file());

  EXPECT_EQ(result.status, 0) << result.output;
  EXPECT_THAT(result.output, HasSubstr("(0010,0010) PN [Doe^John]"));
  EXPECT_THAT(result.output, Not(HasSubstr("W: ")));
  EXPECT_THAT(result.output, Not(HasSubstr("E: ")));
}

TEST_P(FileOf, IsReadByPydicomWithTheSameTagsAndSamples) {
  const std::string python = "/usr/bin/python3";
  if (run(python + " -c 'import pydicom, numpy'").status != 0) {
    GTEST_SKIP() << "pydicom is not installed";
  }
  std::ofstream(folder_.file("read.py"))
      << "import sys, pydicom\n"
         "d = pydicom.dcmread(sys.argv[1])\n"
         "print(d.file_meta.TransferSyntaxUID, d.file_meta.MediaStorageSOPInstanceUID)\n"
         "print(d.file_meta.MediaStorageSOPClassUID == d.SOPClassUID)\n"
         "print(d.file_meta.ImplementationVersionName)\n"
         "print(d.PatientName, d.StudyDate, d.InstanceNumber, d.Rows, d.Columns)\n"
         "print([i.ReferencedSOPInstanceUID for i in d.ReferencedImageSequence])\n"
         "print(d.pixel_array.shape, d.pixel_array.dtype, d.pixel_array.flatten().tolist())\n";

  const exporting::CommandResult result =
      run(python + " " + folder_.file("read.py").string() + " " + file());

  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output,
            "1.2.840.10008.1.2.1 2.25.1.2.3\n"
            "True\n"
            "ZrDcmExport\n"
            "Doe^John 20200102 7 3 4\n"
            "['2.25.1.1', '2.25.1.2']\n"
            "(3, 4) uint16 [0, 1, 2, 255, 256, 257, 32767, 32768, 32769, 65534, 65535, 4095]\n");
}

TEST_P(FileOf, IsReadByGdcmWithTheSameTagsAndSamples) {
  if (!isInstalled("gdcmdump") || !isInstalled("gdcmraw")) {
    GTEST_SKIP() << "gdcmdump and gdcmraw are not installed";
  }
  const exporting::CommandResult dump = run("gdcmdump " + file());
  const std::string raw = folder_.file("samples.raw").string();
  const exporting::CommandResult extracted = run("gdcmraw -i " + file() + " -o " + raw);

  EXPECT_EQ(dump.status, 0) << dump.output;
  EXPECT_THAT(dump.output, HasSubstr("Doe^John"));
  EXPECT_THAT(dump.output, HasSubstr("2.25.1.2"));
  ASSERT_EQ(extracted.status, 0) << extracted.output;
  std::vector<std::uint16_t> samples(13);
  std::ifstream stream(raw, std::ios::binary);
  stream.read(reinterpret_cast<char*>(samples.data()), 26);
  ASSERT_EQ(stream.gcount(), 24);
  samples.resize(12);
  EXPECT_EQ(samples, exporting::twelveSamples());
}

TEST_P(FileOf, IsValidToDciodvfy) {
  if (!isInstalled("dciodvfy")) {
    GTEST_SKIP() << "dciodvfy is not installed";
  }
  const exporting::CommandResult result = run("dciodvfy " + file());

  EXPECT_EQ(result.status, 0) << result.output;
  EXPECT_THAT(result.output, Not(HasSubstr("Error"))) << result.output;
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, FileOf,
    testing::Values(Kind{"SecondaryCapture", exporting::secondaryCaptureWriter},
                    Kind{"CtImage", exporting::ctWriter}, Kind{"MrImage", exporting::mrWriter}),
    support::nameOf<Kind>);

}  // namespace
