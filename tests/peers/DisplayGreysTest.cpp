// SPDX-License-Identifier: BSD-3-Clause
// Pictures of every real file that has a window or a VOI LUT, held against display_greys.tsv, which
// display_greys.py worked out with DCMTK's programs.
#include "support/CorpusFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>
#include <zrimaging/File.h>
#include <zrimaging/Image.h>
#include <zrimaging/MemoryBudget.h>
#include <zrimaging/Pictures.h>

namespace {

using Row = support::TsvTable::Row;

const support::TsvTable& table() {
  static const support::TsvTable peers(std::filesystem::path(ZRDCMEXPORT_PEER_TABLES) /
                                       "display_greys.tsv");
  return peers;
}

/// The first frame of a file as it is shown.
zr::Picture pictureOf(const std::filesystem::path& file) {
  const auto frames = zr::framesOf(zr::Image::forDisplay(zr::File(file)), {});
  const zr::Display display = zr::displayOf(*frames, frames->count(), std::nullopt);
  return zr::renderFrame(frames->record().traits, frames->frame(0), display.frame(0));
}

/// What the script takes of a picture: up to 256 pixels at equal steps.
std::vector<int> someOf(const zr::Picture& picture) {
  constexpr std::size_t kMostPixels = 256;
  const std::size_t step = std::max<std::size_t>(1, picture.samples.size() / kMostPixels);
  std::vector<int> some;
  for (std::size_t i = 0; i < picture.samples.size() && some.size() < kMostPixels; i += step) {
    some.push_back(picture.samples[i]);
  }
  return some;
}

std::vector<int> greysOf(const std::string& hexadecimal) {
  std::vector<int> greys;
  for (std::size_t i = 0; i < hexadecimal.size(); i += 2) {
    greys.push_back(std::stoi(hexadecimal.substr(i, 2), nullptr, 16));
  }
  return greys;
}

/// Largest difference of any two pixels.
int difference(const std::vector<int>& one, const std::vector<int>& other) {
  int largest = 0;
  for (std::size_t i = 0; i < one.size(); ++i) {
    largest = std::max(largest, std::abs(one[i] - other[i]));
  }
  return largest;
}

class DisplayGreys : public support::CorpusFixture {};

TEST_F(DisplayGreys, AreThoseOfDcmtkWithinOneLevel) {
  int compared = 0;
  for (const Row& row : table().rows()) {
    SCOPED_TRACE(row["file"]);
    const std::vector<int> expected = greysOf(row["greys"]);
    const std::vector<int> shown = someOf(pictureOf(corpus() / "files" / row["file"]));

    ASSERT_EQ(shown.size(), expected.size());
    if (row["rule"] == "same") {
      EXPECT_LE(difference(shown, expected), 1);
      ++compared;
    } else {
      EXPECT_GT(difference(shown, expected), 1);  // else its rule is the same
    }
  }
  EXPECT_GE(compared, 35);
}

}  // namespace
