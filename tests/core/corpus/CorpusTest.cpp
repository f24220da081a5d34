// SPDX-License-Identifier: BSD-3-Clause
// Real files against what independent decoders say of them (`expected.tsv` of the corpus). Every
// row of that table falls to exactly one of three tests:
//
//   monochrome   samples of 8 or 16 bits that DCMTK decodes: the stored samples, whole and each
//                frame alone, have the expected MD5
//   colour       colour and palettes that DCMTK renders: the 8-bit RGB has the expected MD5, or
//                that of DCMTK's own rendering where the table says how little that differs
//   the rest     refused with one of the library's messages, without a crash
//
// Each test prints what it did with which file, and fails when it had fewer files than it must.
#include "support/Compression.h"
#include "support/CorpusFixture.h"
#include "support/Md5.h"

#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Row = support::TsvTable::Row;

// A corpus that shrinks, or a condition below that lets files slip through, must not go unnoticed.
constexpr int kLeastMonochromeFiles = 84;
constexpr int kLeastColourFiles = 47;
constexpr int kLeastOtherFiles = 44;

constexpr int kAllFrames = -1;

// The largest difference of DCMTK's rendering that counts as rounding.
constexpr int kRounding = 2;

// DCMTK would say on stderr what is wrong with every damaged file.
const bool kSilent = support::silenceDcmtk();

enum class Kind { Monochrome, Colour, Other };

struct Corpus {
  std::filesystem::path folder;
  support::TsvTable expected;
  support::TsvTable manifest;

  explicit Corpus(const std::filesystem::path& path)
      : folder(path), expected(path / "expected.tsv"), manifest(path / "manifest.tsv") {}

  const Row& about(const Row& row) const {
    const Row* const found = manifest.find("file", row["file"]);
    if (found == nullptr) {
      throw std::runtime_error("no row in the manifest for " + row["file"]);
    }
    return *found;
  }
};

/// The samples of a file of colour that DCMTK decodes can nevertheless be beyond its renderer,
/// which the table shows by a missing MD5 of the rendering.
Kind kindOf(const Row& expected, const Row& manifest) {
  if (expected["status"] != "ok" || expected["dcmtk_3_6_7"] != "same") {
    return Kind::Other;
  }
  const std::string& photometric = manifest["photometric"];
  if (photometric.rfind("MONOCHROME", 0) != 0) {
    return expected["rgb8_dcmtk_md5"].empty() ? Kind::Other : Kind::Colour;
  }
  const std::string& bitsAllocated = manifest["bits_allocated"];
  return bitsAllocated == "8" || bitsAllocated == "16" ? Kind::Monochrome : Kind::Other;
}

/// What became of one file, as a line of the printed table.
class Report {
public:
  void line(const Row& row, const std::string& outcome) {
    std::cout << "  " << std::left << std::setw(56) << row["file"] << ' ' << outcome << '\n';
    ++count_;
  }
  int count() const { return count_; }

private:
  int count_ = 0;
};

class CorpusTest : public support::CorpusFixture {
protected:
  void SetUp() override {
    CorpusFixture::SetUp();
    if (!IsSkipped()) {
      corpus_ = std::make_unique<Corpus>(corpus());
    }
  }

  /// Calls `check` for every row of a kind and reports what it answers.
  template <class Check>
  int forEach(Kind kind, Check check) {
    Report report;
    for (const Row& row : corpus_->expected.rows()) {
      if (kindOf(row, corpus_->about(row)) == kind) {
        SCOPED_TRACE(row["file"]);
        report.line(row, check(row));
      }
    }
    std::cout << report.count() << " files\n";
    return report.count();
  }

  bool load(const Row& row, DcmFileFormat& file) const {
    return file.loadFile((corpus_->folder / "files" / row["file"]).c_str()).good();
  }

private:
  std::unique_ptr<Corpus> corpus_;
};

std::size_t byteCount(const Zrg::SliceImage& slice) {
  return static_cast<std::size_t>(slice.extent.x * slice.extent.y * slice.extent.z) *
         slice.samplesPerPixel * slice.bytesPerSample;
}

const char* start(const Zrg::SliceImage& slice) {
  return Zrg::firstSample(slice);
}

std::string md5Of(const Zrg::SliceImage& slice) {
  return support::md5Hex(start(slice), byteCount(slice));
}

long long frameCount(DcmItem& item) {
  OFString text;
  const bool there = item.findAndGetOFString(DCM_NumberOfFrames, text).good();
  return there ? std::max(1, std::atoi(text.c_str())) : 1;
}

/// All frames, each decoded alone, one behind the other.
std::vector<char> frameByFrame(DcmItem& item, long long frames) {
  std::vector<char> samples;
  for (int frame = 0; frame < frames; ++frame) {
    Zrg::SliceImage slice;
    slice.convertSamples = false;
    std::string errorText;
    EXPECT_TRUE(slice.process(item, errorText, frame, frame, nullptr, 0))
        << "frame " << frame << ": " << errorText;
    if (!slice.valid) {
      break;
    }
    samples.insert(samples.end(), start(slice), start(slice) + byteCount(slice));
  }
  return samples;
}

TEST_F(CorpusTest, MonochromeSamplesAreThoseOfIndependentDecoders) {
  const int compared = forEach(Kind::Monochrome, [this](const Row& row) -> std::string {
    DcmFileFormat file;
    if (!load(row, file)) {
      ADD_FAILURE() << "cannot be read";
      return "not read";
    }
    DcmDataset& dataset = *file.getDataset();
    const long long frames = frameCount(dataset);

    // By frame first: decoding all frames leaves the item decompressed.
    EXPECT_EQ(support::md5Hex(frameByFrame(dataset, frames)), row["md5"]) << "frame by frame";

    Zrg::SliceImage slice;
    slice.convertSamples = false;
    std::string errorText;
    EXPECT_TRUE(slice.process(dataset, errorText, kAllFrames, 0, nullptr, 0)) << errorText;
    if (!slice.valid) {
      return "refused: " + errorText;
    }
    const std::string md5 = md5Of(slice);
    EXPECT_EQ(md5, row["md5"]) << "all frames";
    return (md5 == row["md5"] ? "same, " : "DIFFERENT, ") + std::to_string(frames) + " frames";
  });

  EXPECT_GE(compared, kLeastMonochromeFiles);
}

/// What the table allows the RGB of a row to be.
std::string compareColour(const std::string& md5, const Row& row) {
  if (md5 == row["rgb8_md5"]) {
    return "same";
  }
  if (md5 != row["rgb8_dcmtk_md5"]) {
    ADD_FAILURE() << "neither the expected RGB nor DCMTK's: " << md5;
    return "DIFFERENT";
  }
  if (row["rgb8_md5"].empty()) {
    return "as DCMTK renders it; nothing else to compare with";
  }
  const int difference = std::atoi(row["rgb8_maxdiff_to_dcmtk"].c_str());
  EXPECT_LE(difference, kRounding);
  return "differs by " + std::to_string(difference) + " at most";
}

TEST_F(CorpusTest, ColourIsTheRgbOfIndependentDecoders) {
  const int compared = forEach(Kind::Colour, [this](const Row& row) -> std::string {
    DcmFileFormat file;
    if (!load(row, file)) {
      ADD_FAILURE() << "cannot be read";
      return "not read";
    }
    Zrg::SliceImage slice;
    std::string errorText;
    EXPECT_TRUE(slice.process(*file.getDataset(), errorText, kAllFrames, 0, nullptr, 0))
        << errorText;
    return slice.valid ? compareColour(md5Of(slice), row) : "refused: " + errorText;
  });

  EXPECT_GE(compared, kLeastColourFiles);
}

bool isMessageOfTheLibrary(const std::string& text) {
  static const std::set<std::string> kMessages = {
      "File contains no pixel data",
      "File contains invalid pixel data",
      "File contains no pixel columns",
      "File contains no pixel rows",
      "File contains no bits allocated",
      "File contains no samples per pixel",
      "Dicom tag DCM_PhotometricInterpretation not found or cannot be read",
      "Dicom tag DCM_SamplesPerPixel does not have the expected value",
      "out of memory",
      "Error decompressing frames",
      "Pixel data can't be decompressed",
      "Only 8 or 16 bit pixel data is supported!",
      "Error reading pixel data!",
      "No pixel data",
      "Unable to locate DcmPixelData in DiDocument object",
      "Uncompressed data has size 0",
      "pixel data has an unsupported uncompressed size of more than 4GB",
      "DicomImage::getOutputData() failed"};
  static const std::array<std::string, 2> kBeginnings = {
      "Pixel data incomplete, expected ", "DcmPixelData::getUncompressedFrame() failed"};
  return kMessages.count(text) > 0 || text.rfind(kBeginnings[0], 0) == 0 ||
         text.rfind(kBeginnings[1], 0) == 0;
}

TEST_F(CorpusTest, EverythingElseIsRefusedWithAMessage) {
  const int refused = forEach(Kind::Other, [this](const Row& row) -> std::string {
    DcmFileFormat file;
    if (!load(row, file)) {
      return "DCMTK cannot read the file";
    }
    Zrg::SliceImage single;
    std::string frameText;
    if (!single.process(*file.getDataset(), frameText, 0, 0, nullptr, 0)) {
      EXPECT_PRED1(isMessageOfTheLibrary, frameText);
    }
    Zrg::SliceImage slice;
    std::string errorText;
    if (slice.process(*file.getDataset(), errorText, kAllFrames, 0, nullptr, 0)) {
      // Damaged files that one tolerant decoder makes something of: nobody is held to it.
      EXPECT_EQ(row["status"], "unreliable");
      return "decoded, and nobody knows what it should be";
    }
    EXPECT_PRED1(isMessageOfTheLibrary, errorText);
    return "refused: " + errorText;
  });

  EXPECT_GE(refused, kLeastOtherFiles);
}

}  // namespace
