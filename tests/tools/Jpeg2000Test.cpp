// SPDX-License-Identifier: BSD-3-Clause
// Real files in JPEG 2000 and HTJ2K, which the program decodes where it was built with codecs.
#include "support/CorpusFixture.h"
#include "support/Md5.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <zrimaging/Codecs.h>

namespace {

using tools::Outcome;
using tools::runZrdcm;

struct RealFile {
  const char* name;
  const char* file;
  const char* md5;  // of the samples as interleaved RGB
};

class RealFileInJpeg2000 : public support::CorpusFixture,
                           public testing::WithParamInterface<RealFile> {};

TEST_P(RealFileInJpeg2000, Decodes) {
  if (zr::decoderLibraries().empty()) {
    GTEST_SKIP() << "built without codecs";
  }
  const support::TempDir folder;
  const std::string file = (corpus() / "files" / GetParam().file).string();
  const std::filesystem::path samples = folder.file("out.raw");

  const Outcome outcome = runZrdcm({"decode", file, "-o", samples.string()});

  EXPECT_EQ(outcome.errors, "");
  const std::string bytes = tools::readFile(samples);
  EXPECT_EQ(support::md5Hex(bytes.data(), bytes.size()), GetParam().md5);
}

INSTANTIATE_TEST_SUITE_P(Files, RealFileInJpeg2000,
                         testing::Values(RealFile{"Jpeg2000", "colour-j2k__SC_rgb_gdcm_KY.dcm",
                                                  "6e292886c67969271076242ebef13e22"},
                                         RealFile{"HighThroughput",
                                                  "colour-j2k__HTJ2KLossless_08_RGB.dcm",
                                                  "aeec52decf5d154f49a4e69934bd42d5"}),
                         support::nameOf<RealFile>);

using HighThroughputFile = support::CorpusFixture;

TEST_F(HighThroughputFile, IsNotCopiedUnderAnotherName) {
  if (zr::decoderLibraries().empty()) {
    GTEST_SKIP() << "built without codecs";
  }
  const support::TempDir folder;
  const std::string file = (corpus() / "files" / "colour-j2k__HTJ2KLossless_08_RGB.dcm").string();

  const Outcome outcome = runZrdcm({"sort", file, "--copy", (folder.path() / "copies").string()});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.errors,
              testing::HasSubstr("1.2.840.10008.1.2.4.201, which DCMTK does not write"));
}

}  // namespace
