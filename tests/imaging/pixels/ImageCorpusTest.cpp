// SPDX-License-Identifier: BSD-3-Clause
// Real files through the imaging library against what independent decoders say of them
// (`expected.tsv` of the corpus): every file that any decoder reads, and none is left out. The
// stored samples have the expected MD5. Where those of the table are RGB, or colours are compressed
// with loss, that of the RGB counts, or that of DCMTK's own rendering where the table says how
// little it differs.
#include "support/Compression.h"
#include "support/CorpusFixture.h"
#include "support/Md5.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <set>
#include <string>
#include <zrimaging/Error.h>
#include <zrimaging/File.h>
#include <zrimaging/Frames.h>
#include <zrimaging/Image.h>
#include <zrimaging/MemoryBudget.h>

namespace {

using Row = support::TsvTable::Row;

constexpr int kFilesThatDecode = 156;
constexpr int kLeastColourPictures = 45;

/// The largest difference to DCMTK's rendering that counts as rounding.
constexpr int kRounding = 2;

const bool kSilent = support::silenceDcmtk();

std::string md5Of(const zr::Image& image, zr::Values values) {
  zr::DecodeRequest request;
  request.values = values;
  const zr::DecodedFrames frames = image.decode(request, {});
  return support::md5Hex(frames.samples().bytes, frames.samples().byteCount());
}

class ImageCorpus : public support::CorpusFixture {
protected:
  template <class Check>
  int countRows(const Check& check) const {
    const support::TsvTable expected(corpus() / "expected.tsv");
    int count = 0;
    for (const Row& row : expected.rows()) {
      if (row["status"] != "ok") {
        continue;
      }
      SCOPED_TRACE(row["file"]);
      try {
        count += check(row, zr::Image(zr::File(corpus() / "files" / row["file"]))) ? 1 : 0;
      } catch (const zr::Error& error) {
        ADD_FAILURE() << error.what();
      }
    }
    return count;
  }
};

/// Whether a rendering is what the table has, or DCMTK's where that hardly differs.
bool isRgbOf(const std::string& md5, const Row& row) {
  const int difference = std::atoi(row["rgb8_maxdiff_to_dcmtk"].c_str());
  return md5 == row["rgb8_md5"] || (md5 == row["rgb8_dcmtk_md5"] && difference <= kRounding);
}

TEST_F(ImageCorpus, HasTheStoredSamplesOfIndependentDecoders) {
  const int compared = countRows([](const Row& row, const zr::Image& image) {
    const std::string md5 = md5Of(image, zr::Values::kStored);
    EXPECT_TRUE(md5 == row["md5"] || (row["sample_space"] == "RGB" && isRgbOf(md5, row))) << md5;
    return true;
  });

  EXPECT_EQ(compared, kFilesThatDecode);
}

TEST_F(ImageCorpus, HasTheColoursOfIndependentDecoders) {
  const int compared = countRows([](const Row& row, const zr::Image& image) {
    if (row["rgb8_md5"].empty() && row["rgb8_dcmtk_md5"].empty()) {
      return false;
    }
    const std::string md5 = md5Of(image, zr::Values::kUnsigned);
    EXPECT_TRUE(isRgbOf(md5, row)) << md5;
    return true;
  });

  EXPECT_GE(compared, kLeastColourPictures);
}

}  // namespace
