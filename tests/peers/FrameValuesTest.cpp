// SPDX-License-Identifier: BSD-3-Clause
// What the command line says about the frames of real files, held against frame_values.tsv, which
// frame_values.py worked out with pydicom and NumPy: values out of functional groups and dose
// grids, and the modality values that samples come to with the line that is said.
#include "support/CorpusFixture.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

namespace {

using nlohmann::json;
using Row = support::TsvTable::Row;
using Numbers = std::vector<double>;

const support::TsvTable& table() {
  static const support::TsvTable peers(std::filesystem::path(ZRDCMEXPORT_PEER_TABLES) /
                                       "frame_values.tsv");
  return peers;
}

/// The value of each frame in a cell; one stands for all.
std::vector<std::string> textsOf(const std::string& cell, std::size_t frames) {
  std::vector<std::string> texts;
  std::istringstream stream(cell);
  for (std::string text; std::getline(stream, text, '|');) {
    texts.push_back(text);
  }
  return texts.size() == 1 ? std::vector<std::string>(frames, texts.front()) : texts;
}

/// Empty where nothing is known.
Numbers numbersOf(const std::string& text) {
  Numbers numbers;
  std::istringstream stream(text == "-" ? "" : text);
  for (double number = 0; stream >> number;) {
    numbers.push_back(number);
  }
  return numbers;
}

/// The value of a frame in a report: under its name, or frame by frame.
json valueOf(const json& report, const std::string& name, std::size_t frame) {
  const json& perFrame = report["perFrame"];
  return perFrame.is_object() && perFrame.contains(name) ? perFrame[name].at(frame) : report[name];
}

void expectNumbers(const json& ours, const Numbers& theirs, const std::string& name) {
  if (theirs.empty() || ours.is_null()) {
    EXPECT_TRUE(theirs.empty() && ours.is_null()) << name << ": " << ours;
    return;
  }
  ASSERT_EQ(ours.size(), theirs.size()) << name;
  for (std::size_t i = 0; i < theirs.size(); ++i) {
    EXPECT_NEAR(ours[i].get<double>(), theirs[i], 1e-9 * std::max(1.0, std::abs(theirs[i])))
        << name;
  }
}

/// Smallest and largest sample of a frame of 1 or 2 bytes a sample, little endian.
std::pair<double, double> rangeOf(const std::string& bytes, std::size_t frame, std::size_t count,
                                  bool wide) {
  double low = std::numeric_limits<double>::infinity();
  double high = -low;
  const std::size_t size = wide ? 2 : 1;
  for (std::size_t i = 0; i < count; ++i) {
    const char* const sample = bytes.data() + (frame * count + i) * size;
    std::uint16_t value = static_cast<unsigned char>(*sample);
    if (wide) {
      std::memcpy(&value, sample, sizeof value);
    }
    low = std::min<double>(low, value);
    high = std::max<double>(high, value);
  }
  return {low, high};
}

class ValuesOfFrames : public support::CorpusFixture {
protected:
  std::string pathOf(const Row& row) const { return (corpus() / "files" / row["file"]).string(); }

  support::TempDir folder_;
};

TEST_F(ValuesOfFrames, AreThoseOfPydicom) {
  ASSERT_GE(table().rows().size(), 17U);
  for (const Row& row : table().rows()) {
    SCOPED_TRACE(row["file"]);
    const json report = json::parse(tools::runZrdcm({"info", "--json", pathOf(row)}).output).at(0);
    ASSERT_EQ(report["ok"], true) << report["error"];
    const json& image = report["image"];
    const auto frames = image["frames"].get<std::size_t>();
    for (const auto& [column, name] : {std::pair{"rescale", "rescale"},
                                       {"window", "voiWindow"},
                                       {"spacing", "pixelSpacing"},
                                       {"position", "position"},
                                       {"orientation", "orientation"}}) {
      const std::vector<std::string> theirs = textsOf(row[column], frames);
      ASSERT_EQ(theirs.size(), frames) << column;
      for (std::size_t frame = 0; frame < frames; ++frame) {
        expectNumbers(valueOf(image, name, frame), numbersOf(theirs[frame]), name);
      }
    }
    EXPECT_EQ(image["rescaleUnit"], row["unit"] == "-" ? json(nullptr) : json(row["unit"]));
  }
}

TEST_F(ValuesOfFrames, MapSamplesToTheModalityValuesOfNumPy) {
  for (const Row& row : table().rows()) {
    if (row["low"] == "-") {
      continue;
    }
    SCOPED_TRACE(row["file"]);
    const std::string target = folder_.file("out.raw").string();
    const json report = json::parse(
        tools::runZrdcm({"decode", pathOf(row), "-o", target, "--json", "--values", "unsigned"})
            .output);
    const std::string bytes = tools::readFile(target);
    const auto frames = report["shape"][0].get<std::size_t>();
    const std::size_t count =
        report["shape"][1].get<std::size_t>() * report["shape"][2].get<std::size_t>();
    const std::vector<std::string> lows = textsOf(row["low"], frames);
    const std::vector<std::string> highs = textsOf(row["high"], frames);
    for (std::size_t frame = 0; frame < frames; ++frame) {
      const json line = valueOf(report, "modality", frame);
      const double slope = line.is_null() ? 1 : line[0].get<double>();
      const double intercept = line.is_null() ? 0 : line[1].get<double>();
      const auto [low, high] = rangeOf(bytes, frame, count, report["type"] == "uint16");
      const Numbers theirs = {numbersOf(lows[frame]).at(0), numbersOf(highs[frame]).at(0)};
      EXPECT_NEAR(slope * low + intercept, theirs[0], 1e-9 * std::max(1.0, std::abs(theirs[0])));
      EXPECT_NEAR(slope * high + intercept, theirs[1], 1e-9 * std::max(1.0, std::abs(theirs[1])));
    }
  }
}

}  // namespace
