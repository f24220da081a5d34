// SPDX-License-Identifier: BSD-3-Clause
// Converted samples, rescale, window, spacing and embedded overlays of real files, held against
// converted_samples.tsv, which converted_samples.py worked out with pydicom and NumPy.
#include "support/CorpusFixture.h"
#include "support/Md5.h"

#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <limits>
#include <sstream>
#include <string>
#include <utility>

namespace {

using Row = support::TsvTable::Row;

const support::TsvTable& table() {
  static const support::TsvTable peers(std::filesystem::path(ZRDCMEXPORT_PEER_TABLES) /
                                       "converted_samples.tsv");
  return peers;
}

/// One decoded file of the table; the dataset stays alive because the samples belong to it.
struct Decoded {
  DcmFileFormat file;
  Zrg::SliceImage slice;
};

/// Compares two numbers of which one was computed with 32-bit and the other with 64-bit floats.
bool agree(double ours, double theirs) {
  if (std::isnan(ours) || std::isnan(theirs)) {
    return std::isnan(ours) && std::isnan(theirs);
  }
  return std::abs(ours - theirs) <= 4e-6 * std::max({1.0, std::abs(ours), std::abs(theirs)});
}

std::pair<double, double> pairOf(const std::string& text) {
  std::istringstream stream(text);
  std::string first;
  std::string second;
  stream >> first >> second;
  return {std::stod(first), std::stod(second)};
}

std::size_t sampleCount(const Zrg::SliceImage& slice) {
  return static_cast<std::size_t>(slice.extent.x * slice.extent.y * slice.extent.z);
}

/// Smallest and largest sample as they stand in memory.
std::pair<double, double> range(const Zrg::SliceImage& slice) {
  std::uint32_t low = std::numeric_limits<std::uint32_t>::max();
  std::uint32_t high = 0;
  for (std::size_t i = 0; i < sampleCount(slice); ++i) {
    std::uint16_t sample = static_cast<unsigned char>(slice.data[i]);
    if (slice.bytesPerSample == 2) {
      std::memcpy(&sample, slice.data + 2 * i, 2);
    }
    low = std::min<std::uint32_t>(low, sample);
    high = std::max<std::uint32_t>(high, sample);
  }
  return {low, high};
}

std::string overlayText(const ZrOverlayData& overlays, int index) {
  std::ostringstream text;
  const KtVec2i origin = overlays.origin(index);
  const KtVec2i size = overlays.size(index);
  text << std::hex << overlays.group(index) << std::dec << ':' << overlays.frame(index) << ':'
       << origin.x << ':' << origin.y << ':' << size.x << ':' << size.y << ':'
       << overlays.mask(index).count();
  return text.str();
}

std::string overlayTexts(const Zrg::SliceImage& slice) {
  std::string all;
  for (int i = 0; slice.overlays.isNotNull() && i < slice.overlays->count(); ++i) {
    all += (all.empty() ? "" : ",") + overlayText(*slice.overlays.ptr(), i);
  }
  return all.empty() ? "-" : all;
}

class ConvertedSamples : public support::CorpusFixture {
protected:
  /// Decodes every file of the table and hands it to `check`; demands that none is missing.
  template <class Check>
  void forEachFile(Check check) {
    ASSERT_GE(table().rows().size(), 60U);
    for (const Row& row : table().rows()) {
      SCOPED_TRACE(row["file"]);
      Decoded decoded;
      ASSERT_TRUE(decoded.file.loadFile((corpus() / "files" / row["file"]).c_str()).good());
      std::string error;
      ASSERT_TRUE(decoded.slice.process(*decoded.file.getDataset(), error, -1, -1, nullptr, 0))
          << error;
      check(row, decoded.slice);
    }
  }
};

TEST_F(ConvertedSamples, AreThoseOfNumPy) {
  forEachFile([](const Row& row, const Zrg::SliceImage& slice) {
    EXPECT_EQ(support::md5Hex(slice.data, sampleCount(slice) * slice.bytesPerSample), row["md5"]);
    EXPECT_EQ(static_cast<double>(slice.sampleOffset), std::stod(row["offset"]));
  });
}

TEST_F(ConvertedSamples, MapToTheModalityValuesOfPydicom) {
  forEachFile([](const Row& row, const Zrg::SliceImage& slice) {
    const KtVec2f line = slice.result_MOD_LUT();
    EXPECT_TRUE(agree(line.x, std::stod(row["slope"]))) << line.x;
    EXPECT_TRUE(agree(line.y, std::stod(row["intercept"]))) << line.y;
    const auto [low, high] = range(slice);
    // The line is in 32-bit floats: its error is a few parts in ten million of the largest term.
    const double tolerance =
        1e-6 * std::max(std::abs(static_cast<double>(line.y)), std::abs(line.x * high)) + 1e-6;
    EXPECT_NEAR(line.x * low + line.y, std::stod(row["low"]), tolerance);
    EXPECT_NEAR(line.x * high + line.y, std::stod(row["high"]), tolerance);
  });
}

TEST_F(ConvertedSamples, ComeWithTheWindowAndSpacingThatPydicomReads) {
  forEachFile([](const Row& row, const Zrg::SliceImage& slice) {
    const auto [centre, width] = pairOf(row["window"]);
    EXPECT_TRUE(agree(slice.voiWindow.x, centre)) << slice.voiWindow.x;
    EXPECT_TRUE(agree(slice.voiWindow.y, width)) << slice.voiWindow.y;
    const auto [columnSpacing, rowSpacing] = pairOf(row["spacing"]);
    EXPECT_TRUE(agree(slice.pixelSpacing.x, columnSpacing)) << slice.pixelSpacing.x;
    EXPECT_TRUE(agree(slice.pixelSpacing.y, rowSpacing)) << slice.pixelSpacing.y;
  });
}

TEST_F(ConvertedSamples, ComeWithTheOverlaysThatNumPyFindsInTheSpareBits) {
  forEachFile([](const Row& row, const Zrg::SliceImage& slice) {
    EXPECT_EQ(overlayTexts(slice), row["overlays"]);
  });
}

}  // namespace
