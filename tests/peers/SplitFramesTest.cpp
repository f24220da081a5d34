// SPDX-License-Identifier: BSD-3-Clause
// Volumes, slices and their samples of every real file of several frames, held against
// split_frames.tsv, which split_frames.py worked out with pydicom and NumPy.
#include "support/Compression.h"
#include "support/CorpusFixture.h"
#include "support/Md5.h"

#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

using Row = support::TsvTable::Row;

const bool kSilent = support::silenceDcmtk();

const support::TsvTable& table() {
  static const support::TsvTable peers(std::filesystem::path(ZRDCMEXPORT_PEER_TABLES) /
                                       "split_frames.tsv");
  return peers;
}

/// The first digits of the MD5 of one slice's samples.
std::string digitsOf(const Zrg::SliceImage& slice) {
  const auto bytes = static_cast<std::size_t>(slice.extent.x * slice.extent.y * slice.extent.z) *
                     slice.samplesPerPixel * slice.bytesPerSample;
  return support::md5Hex(Zrg::firstSample(slice), bytes).substr(0, 8);
}

struct Texts {
  std::string frames;
  std::string digits;
};

/// Frame numbers and samples of all slices as the table spells them.
Texts textsOf(Zrg::MultiFrameImage& image) {
  Texts texts;
  for (unsigned int volume = 0; volume < image.numVolumes(); ++volume) {
    for (unsigned int i = 0; i < image.numSlices(static_cast<int>(volume)); ++i) {
      Zrg::SliceImage slice;
      unsigned int frame = 0;
      EXPECT_TRUE(image.getImage(static_cast<int>(volume), i, slice));
      EXPECT_TRUE(image.getFrameNumber(static_cast<int>(volume), i, frame));
      const char* const between = i > 0 ? "," : (volume > 0 ? "|" : "");
      texts.frames += between + std::to_string(frame);
      texts.digits += between + digitsOf(slice);
    }
  }
  return texts;
}

class SplitFrames : public support::CorpusFixture {
protected:
  /// Hands every file of the table to `check`, read anew because decoding rewrites datasets.
  template <class Check>
  void forEachFile(Check check) {
    ASSERT_GE(table().rows().size(), 50U);
    for (const Row& row : table().rows()) {
      SCOPED_TRACE(row["file"]);
      DcmFileFormat file;
      // What DCMTK cannot read to its end is split all the same, from what it has read.
      (void)file.loadFile((corpus() / "files" / row["file"]).c_str());
      check(row, *file.getDataset());
    }
  }
};

TEST_F(SplitFrames, AreTheVolumesAndSamplesOfPydicom) {
  int splits = 0;
  forEachFile([&splits](const Row& row, DcmDataset& dataset) {
    Zrg::MultiFrameImage image(false);
    std::string errorText;
    const bool split = image.process(dataset, errorText, true);

    ASSERT_EQ(split, row["volumes"] != "-") << errorText;
    if (split) {
      ++splits;
      const Texts texts = textsOf(image);
      EXPECT_EQ(texts.frames, row["volumes"]);
      EXPECT_EQ(texts.digits, row["md5"]);
      EXPECT_EQ(image.isReversed() ? "yes" : "no", row["reversed"]);
    }
  });
  EXPECT_GE(splits, 4);
}

TEST_F(SplitFrames, AreKeptWholeWhereTheyCanBeDecodedTogether) {
  forEachFile([](const Row& row, DcmDataset& dataset) {
    Zrg::MultiFrameImage image(false);
    std::string errorText;

    EXPECT_EQ(image.process(dataset, errorText, false) ? "yes" : "no", row["whole"]) << errorText;
  });
}

// A file of several frames that is missing from the table would be compared with nothing.
TEST_F(SplitFrames, AreThoseOfAllFilesOfSeveralFrames) {
  const support::TsvTable manifest(corpus() / "manifest.tsv");
  for (const Row& row : manifest.rows()) {
    const bool several = !row["number_of_frames"].empty() && row["number_of_frames"] != "1";
    if (several || !row["frame_increment_pointer"].empty()) {
      EXPECT_NE(table().find("file", row["file"]), nullptr) << row["file"];
    }
  }
}

}  // namespace
