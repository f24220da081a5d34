// SPDX-License-Identifier: BSD-3-Clause
// Files that are not what they state, and files with more behind their last element.
#include "support/Files.h"
#include "support/HeaderWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>
#include <zrimaging/Error.h>
#include <zrimaging/File.h>
#include <zrimaging/Frames.h>
#include <zrimaging/Image.h>
#include <zrimaging/MemoryBudget.h>

namespace {

using support::HeaderWriter;
using support::kExplicit;
using support::kImplicit;
using support::metaInformation;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kSaysImplicit = "1.2.840.10008.1.2";
constexpr const char* kSaysExplicit = "1.2.840.10008.1.2.1";
constexpr const char* kSaysBaseline = "1.2.840.10008.1.2.4.50";

std::string word(const HeaderWriter& writer, unsigned element, unsigned value) {
  return writer.text(writer.tag(0x0028, element), "US", writer.number(value, 2));
}

/// Two pixels of 8 bits, 5 and 6.
std::string image(const HeaderWriter& writer) {
  return support::characterSet(writer) + writer.text(writer.tag(0x0008, 0x0060), "CS", "OT") +
         word(writer, 0x0002, 1) + writer.text(writer.tag(0x0028, 0x0004), "CS", "MONOCHROME2 ") +
         word(writer, 0x0010, 1) + word(writer, 0x0011, 2) + word(writer, 0x0100, 8) +
         word(writer, 0x0101, 8) + word(writer, 0x0102, 7) + word(writer, 0x0103, 0) +
         writer.longHeader(writer.tag(0x7FE0, 0x0010), "OB", 2) + "\5\6";
}

zr::File read(const std::string& bytes) {
  return zr::File::fromBytes(bytes.data(), bytes.size());
}

std::vector<int> samplesOf(const std::string& bytes) {
  const zr::DecodedFrames frames = zr::Image(read(bytes)).decode({}, {});
  return {frames.samples().sample(0), frames.samples().sample(1)};
}

struct Misstated {
  const char* name;
  std::string bytes;
  std::string remark;
};

TEST(MisstatedFile, IsReadAsItIsWrittenWithARemark) {
  for (const Misstated& file :
       {Misstated{"implicit", metaInformation(kSaysExplicit) + image(kImplicit),
                  "states transfer syntax Little Endian Explicit, but is written in implicit VR: "
                  "read as it is"},
        Misstated{"explicit", metaInformation(kSaysImplicit) + image(kExplicit),
                  "states transfer syntax Little Endian Implicit, but is written in explicit VR: "
                  "read as it is"}}) {
    EXPECT_THAT(samplesOf(file.bytes), ElementsAre(5, 6)) << file.name;
    EXPECT_THAT(read(file.bytes).remarks(), ElementsAre(file.remark)) << file.name;
  }
}

TEST(MisstatedFile, ThatIsNotCompressedIsReadAsItIs) {
  const std::string bytes = metaInformation(kSaysBaseline) + image(kExplicit);
  const zr::Image misstated(read(bytes));

  EXPECT_THAT(samplesOf(bytes), ElementsAre(5, 6));
  ASSERT_EQ(misstated.repairs().size(), 1U);
  EXPECT_EQ(misstated.repairs().front().text,
            "states transfer syntax JPEG Baseline (1.2.840.10008.1.2.4.50), but its pixel data is "
            "not compressed: read as it is");
}

TEST(FileInOrder, HasNoRemarks) {
  for (const std::string& bytes : {metaInformation(kSaysExplicit) + image(kExplicit),
                                   metaInformation(kSaysImplicit) + image(kImplicit)}) {
    EXPECT_THAT(samplesOf(bytes), ElementsAre(5, 6));
    EXPECT_THAT(read(bytes).remarks(), IsEmpty());
  }
}

TEST(BytesBehindThePixelData, AreLeftOut) {
  for (const std::string& rest :
       {std::string(1, '\0'), std::string(7, '\0'), std::string(64, '\xFF'),
        std::string("This was appended by somebody"),
        kExplicit.tag(0x0010, 0x0010) + "PN\xFF\x7F"}) {
    const std::string bytes = metaInformation(kSaysExplicit) + image(kExplicit) + rest;

    EXPECT_THAT(samplesOf(bytes), ElementsAre(5, 6)) << support::hex(rest);
    EXPECT_THAT(read(bytes).remarks(),
                ElementsAre("has bytes behind its pixel data that are no whole element: left out"))
        << support::hex(rest);
  }
}

TEST(BytesBehindThePixelData, DoNotBecomeElements) {
  const zr::File file = read(metaInformation(kSaysExplicit) + image(kExplicit) +
                             kExplicit.tag(0x7FE1, 0x0010) + "LO\xFF\x7F" + "cut");

  EXPECT_THROW((void)file.text(zr::AttributePath::parse("7fe1,0010")), zr::Error);
}

TEST(PixelDataCutShort, IsDamagedAsBefore) {
  const std::string whole = metaInformation(kSaysExplicit) + image(kExplicit);

  EXPECT_THROW((void)read(whole.substr(0, whole.size() - 1)), zr::Error);
}

}  // namespace
