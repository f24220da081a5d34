// SPDX-License-Identifier: BSD-3-Clause
// Multi-frame files of real devices: which of them split, into how many slices, and that the slices
// hold the frames that independent decoders found. Without the files the tests skip themselves.
#include "support/Compression.h"
#include "support/CorpusFixture.h"
#include "support/Md5.h"
#include "support/RowName.h"

#include <zrdcmexport/ZrSliceImage.h>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

const bool kSilent = support::silenceDcmtk();

/// A file of the corpus and what splitting it gives.
struct RealFile {
  const char* name;
  const char* file;
  unsigned int slices;         // 0: it is not split
  const char* splitErrorText;  // of the refusal; empty where the order of the frames is at fault
  const char* wholeErrorText;  // the same for the file as a whole
};

class RealDataset : public support::CorpusFixture, public testing::WithParamInterface<RealFile> {
protected:
  void SetUp() override {
    CorpusFixture::SetUp();
    if (!IsSkipped()) {
      ASSERT_TRUE(file_.loadFile((corpus() / "files" / GetParam().file).c_str()).good());
    }
  }

  bool split(bool splitFrames) {
    return volumes_.process(*file_.getDataset(), errorText_, splitFrames);
  }

  /// All slices of the one volume, put back in the order of their frame numbers.
  std::vector<char> frames() {
    std::vector<char> memory;
    for (unsigned int i = 0; i < volumes_.numSlices(0); ++i) {
      Zrg::SliceImage slice;
      unsigned int frame = 0;
      EXPECT_TRUE(volumes_.getImage(0, i, slice));
      EXPECT_TRUE(volumes_.getFrameNumber(0, i, frame));
      const auto bytes =
          static_cast<std::size_t>(slice.extent.x * slice.extent.y) * slice.bytesPerSample;
      memory.resize(std::size_t{volumes_.numSlices(0)} * bytes);
      std::memcpy(&memory.at(frame * bytes), Zrg::firstSample(slice), bytes);
    }
    return memory;
  }

  DcmFileFormat file_;
  Zrg::MultiFrameImage volumes_{false};
  std::string errorText_;
};

class SplittableFile : public RealDataset {};

TEST_P(SplittableFile, GivesOneVolumeOfTheFramesThatOthersDecode) {
  const support::TsvTable expected(corpus() / "expected.tsv");
  const support::TsvTable::Row* const row = expected.find("file", GetParam().file);
  ASSERT_NE(row, nullptr);

  ASSERT_TRUE(split(true)) << errorText_;

  EXPECT_EQ(volumes_.numVolumes(), 1U);
  EXPECT_EQ(volumes_.numSlices(0), GetParam().slices);
  EXPECT_FALSE(volumes_.isReversed());
  EXPECT_EQ(support::md5Hex(frames()), (*row)["md5"]);
}

INSTANTIATE_TEST_SUITE_P(
    Files, SplittableFile,
    testing::Values(RealFile{"NmHeart", "nm__NM-MONO2-16-13x-heart.dcm", 13, "", ""},
                    RealFile{"DoseGridOfFive", "rt__RD_095889.dcm", 5, "", ""},
                    RealFile{"OtherDoseGridOfFive", "rt__RD_688818.dcm", 5, "", ""},
                    RealFile{"DoseGridOf155", "rt__empty_dose.dcm", 155, "", ""}),
    support::nameOf<RealFile>);

class WholeFile : public RealDataset {};

TEST_P(WholeFile, IsNotSplitButKeptWhole) {
  EXPECT_FALSE(split(true));
  EXPECT_EQ(errorText_, GetParam().splitErrorText);

  ASSERT_TRUE(split(false)) << errorText_;
  EXPECT_EQ(volumes_.numVolumes(), 1U);
  EXPECT_EQ(volumes_.numSlices(0), 1U);
}

INSTANTIATE_TEST_SUITE_P(
    Files, WholeFile,
    testing::Values(RealFile{"ColourCine", "cine__I_000003.dcm", 0, "", ""},
                    RealFile{"CineOfFrameTimeVector", "cine__I_000007.dcm", 0, "", ""},
                    RealFile{"CineWithoutSpacing", "mono-raw__MR-MONO2-8-16x-heart.dcm", 0, "", ""},
                    RealFile{"CompressedCineWithoutSpacing", "modlut__I_000000.dcm", 0, "", ""},
                    RealFile{"PaletteCine", "palette__US-PAL-8-10x-echo.dcm", 0, "", ""}),
    support::nameOf<RealFile>);

class RefusedFile : public RealDataset {};

TEST_P(RefusedFile, IsNeitherSplitNorKeptWhole) {
  EXPECT_FALSE(split(true));
  EXPECT_EQ(errorText_, GetParam().splitErrorText);
  EXPECT_FALSE(split(false));
  EXPECT_EQ(errorText_, GetParam().wholeErrorText);
}

constexpr const char* kOnly8Or16 = "Only 8 or 16 bit pixel data is supported!";

INSTANTIATE_TEST_SUITE_P(
    Files, RefusedFile,
    testing::Values(
        RealFile{"EnhancedMrWithoutPointer", "enhanced__emri_small.dcm", 0, "", ""},
        RealFile{"EnhancedCtWithoutPointer", "enhanced__eCT_Supplemental.dcm", 0, "", ""},
        RealFile{"DoseGridWithoutPointer", "rt__rtdose_non_square_pixels.dcm", 0, "", ""},
        RealFile{"SpectroscopyWithoutPointer", "mrs__Mrs_Dti_Qa_MRSshortTELN_401_IM-0001-0002.dcm",
                 0, "", ""},
        RealFile{"DoseOf32Bits", "rt__rtdose.dcm", 0, kOnly8Or16, kOnly8Or16},
        // Pointer and grid have the VR UN, so their text is not there to be compared.
        RealFile{"DoseOfUnknownVrs", "mono-rle__rtdose_rle.dcm", 0, "", kOnly8Or16}),
    support::nameOf<RealFile>);

}  // namespace
