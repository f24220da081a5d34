// SPDX-License-Identifier: BSD-3-Clause
// Files that were made to mislead decoders, by hand and from phantoms. They are not part of the
// project: where their folder is missing the tests skip themselves. The tests of the guard build
// the same hazards with the project's own means.
#include "support/Compression.h"
#include "support/Corpus.h"
#include "support/RowName.h"

#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

const bool kSilent = support::silenceDcmtk();

constexpr int kAllFrames = -1;
constexpr const char* kWholeRefused = "Pixel data can't be decompressed";
constexpr const char* kFrameRefused = "Error decompressing frames";
constexpr const char* kNothingToRender = "Uncompressed data has size 0";
constexpr const char* kDirectRefused =
    "DcmPixelData::getUncompressedFrame() failed: Pixel representation cannot be changed";

struct Hazard {
  const char* name;  ///< of the file, without its ending
  const char* whole;
  const char* frame;
};

class HazardFile : public testing::TestWithParam<Hazard> {
protected:
  void SetUp() override {
    const auto folder = support::hazardsFolder();
    if (!folder) {
      GTEST_SKIP() << "no folder of misleading files; ZRDCMEXPORT_HAZARDS names one";
    }
    const std::filesystem::path path = *folder / (std::string(GetParam().name) + ".dcm");
    ASSERT_TRUE(file_.loadFile(path.c_str()).good());
  }

  std::string errorOf(int firstFrame, int lastFrame) {
    Zrg::SliceImage slice;
    std::string errorText;
    EXPECT_FALSE(slice.process(*file_.getDataset(), errorText, firstFrame, lastFrame, nullptr, 0));
    return errorText;
  }

  DcmFileFormat file_;
};

TEST_P(HazardFile, IsRefusedByFrame) {
  EXPECT_EQ(errorOf(0, 0), GetParam().frame);
}

TEST_P(HazardFile, IsRefusedAsAWhole) {
  EXPECT_EQ(errorOf(kAllFrames, 0), GetParam().whole);
}

INSTANTIATE_TEST_SUITE_P(Files, HazardFile,
                         testing::Values(Hazard{"noop8", kWholeRefused, kFrameRefused},
                                         Hazard{"noop12", kWholeRefused, kFrameRefused},
                                         Hazard{"noopc", kDirectRefused, kDirectRefused},
                                         Hazard{"stale128_planar1", kNothingToRender,
                                                kNothingToRender},
                                         Hazard{"lie_m_end0", kWholeRefused, kFrameRefused},
                                         Hazard{"lie_c_scan2_0", kDirectRefused, kDirectRefused},
                                         Hazard{"prec12_alloc8", kWholeRefused, kFrameRefused},
                                         Hazard{"huge", kWholeRefused, kFrameRefused}),
                         support::nameOf<Hazard>);

}  // namespace
