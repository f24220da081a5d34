// SPDX-License-Identifier: BSD-3-Clause
// The table of output formats, and what each row writes.
#include "support/TempDir.h"
#include "zrimaging/Error.h"
#include "zrimaging/Output.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>
#include <zrimaging/Formats.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zr::OutputFormat;
using zr::SampleArray;
using zr::SampleType;

std::vector<std::string> namesOf(const std::vector<const OutputFormat*>& formats) {
  std::vector<std::string> names;
  for (const OutputFormat* format : formats) {
    names.emplace_back(format->name);
  }
  return names;
}

/// Two frames of one row with three samples of two bytes.
class WrittenArray : public testing::Test {
protected:
  SampleArray samples() const {
    return {reinterpret_cast<const unsigned char*>(values_.data()), SampleType::kU16, 2, 1, 3, 1};
  }

  std::string bytesAs(const char* name, const zr::ArrayToWrite& array) const {
    const std::filesystem::path target = folder_.file("out");
    zr::writeArray(*zr::formatNamed(name), target, zr::ProtectedInputs(), array);
    std::ifstream stream(target, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  }

  support::TempDir folder_;
  std::array<std::uint16_t, 6> values_ = {0x0102, 3, 4, 5, 6, 0xFFFE};
};

constexpr char kSamplesInLittleEndian[] = "\x02\x01\x03\x00\x04\x00\x05\x00\x06\x00\xFE\xFF";
const std::string kSampleBytes(kSamplesInLittleEndian, 12);

TEST(Formats, AreListedInTheOrderOfTheirRows) {
  const std::vector<std::string> names = namesOf(zr::formats());

  EXPECT_EQ(std::vector<std::string>(names.begin(), names.begin() + 4),
            (std::vector<std::string>{"npy", "nrrd", "raw", "png"}));
}

TEST(Formats, AreFoundByWhatTheyHold) {
  EXPECT_THAT(namesOf(zr::formatsWith(zr::kForEyes)), ElementsAre("png"));
  EXPECT_THAT(namesOf(zr::formatsWith(zr::kDescription)), ElementsAre("nrrd"));
  EXPECT_THAT(namesOf(zr::formatsWith(zr::kDescription | zr::kForEyes)), IsEmpty());
}

TEST(Formats, AreFoundByEndingInCapitalsOrNot) {
  EXPECT_STREQ(zr::formatOf("folder.png/a.NRRD")->name, "nrrd");
  EXPECT_EQ(zr::formatOf("a.tiff"), nullptr);
  EXPECT_EQ(zr::formatOf("npy"), nullptr);
}

TEST(Formats, AreFoundByName) {
  EXPECT_STREQ(zr::formatNamed("raw")->ending, ".raw");
  EXPECT_EQ(zr::formatNamed("tiff"), nullptr);
}

TEST_F(WrittenArray, AsRawIsTheSamplesInLittleEndian) {
  EXPECT_EQ(bytesAs("raw", zr::arrayOf(samples())), kSampleBytes);
}

TEST_F(WrittenArray, AsNpyHasItsShapeInTheHeader) {
  const std::string text = "{'descr': '<u2', 'fortran_order': False, 'shape': (2, 1, 3), }";

  const std::string bytes = bytesAs("npy", zr::arrayOf(samples()));

  EXPECT_EQ(bytes, std::string("\x93NUMPY\x01\x00\x76\x00", 10) + text +
                       std::string(128 - 10 - text.size() - 1, ' ') + "\n" + kSampleBytes);
}

TEST_F(WrittenArray, AsNrrdHasItsDescriptionInTheHeader) {
  zr::ArrayDescription description;
  description.spacingMm = {0.5, 0.25, zr::ArrayDescription::kUnknown};
  description.content = "a\nb";
  description.attributes = {{"modality unit", "HU"}};

  EXPECT_EQ(bytesAs("nrrd", zr::arrayOf(samples(), description)),
            "NRRD0004\ncontent: a b\ntype: uint16\ndimension: 3\nsizes: 3 1 2\n"
            "spacings: 0.5 0.25 nan\nkinds: domain domain domain\nendian: little\nencoding: raw\n"
            "modality unit:=HU\n\n" +
                kSampleBytes);
}

TEST_F(WrittenArray, ComesFrameByFrame) {
  std::vector<std::size_t> asked;
  const SampleArray all = samples();
  const auto frameAt = [&](std::size_t index) {
    asked.push_back(index);
    return all.frame(index);
  };

  EXPECT_EQ(bytesAs("raw", {all, frameAt, {}}), kSampleBytes);
  EXPECT_THAT(asked, ElementsAre(0U, 1U));
}

TEST_F(WrittenArray, IsRefusedByAFormatThatDoesNotHoldIt) {
  try {
    (void)bytesAs("png", zr::arrayOf(samples()));
    FAIL() << "two frames in one picture";
  } catch (const zr::Error& error) {
    EXPECT_EQ(error.reason(), zr::Reason::Unsupported);
    EXPECT_EQ(error.what(), "cannot write " + folder_.file("out").string() +
                                ": files of the format png do not hold several frames");
  }
  EXPECT_FALSE(std::filesystem::exists(folder_.file("out")));
}

TEST_F(WrittenArray, AsPictureIsPng) {
  const std::filesystem::path target = folder_.file("out");

  zr::writePicture(target, zr::ProtectedInputs(), samples().frame(1));

  std::ifstream stream(target, std::ios::binary);
  std::string header(29, '\0');
  stream.read(header.data(), 29);
  // Signature, IHDR: 3 columns, 1 row, 16 bits, gray.
  EXPECT_EQ(header,
            std::string("\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR\0\0\0\x03\0\0\0\x01\x10\0\0\0\0", 29));
}

// ---- a format of a program's own ----

void writeCount(const std::filesystem::path& target, const zr::ProtectedInputs& inputs,
                const zr::ArrayToWrite& array) {
  zr::OutputFile file(target, inputs);
  file.write(std::to_string(array.layout.frames));
  file.commit();
}

TEST_F(WrittenArray, AsAFormatOfOnesOwnNeedsOneRow) {
  static const OutputFormat count = {"count", ".count", zr::kSixteenBits | zr::kSeveralFrames,
                                     "the number of frames", writeCount};

  zr::addFormat(count);

  EXPECT_EQ(zr::formatOf("a.count"), &count);
  EXPECT_EQ(zr::formats().back(), &count);
  EXPECT_EQ(bytesAs("count", zr::arrayOf(samples())), "2");
  EXPECT_THROW(zr::addFormat(count), zr::Error);
}

}  // namespace
