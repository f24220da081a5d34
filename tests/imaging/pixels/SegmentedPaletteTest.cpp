// SPDX-License-Identifier: BSD-3-Clause
// Palettes in segments, PS3.3 C.7.9.2.
#include "CodedImage.h"
#include "support/Compression.h"
#include "support/TempDir.h"
#include "zrimaging/pixels/SegmentedPalette.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using Bytes = std::vector<std::uint8_t>;
using Words = std::vector<Uint16>;

Bytes bytesOf(const Words& words) {
  Bytes bytes;
  for (const Uint16 word : words) {
    bytes.push_back(static_cast<std::uint8_t>(word & 0xFFU));
    bytes.push_back(static_cast<std::uint8_t>(word >> 8U));
  }
  return bytes;
}

std::vector<std::uint16_t> expanded(const Words& words, std::size_t size) {
  const zr::ExpandedColour colour = zr::expandSegments(bytesOf(words), 16, size);
  EXPECT_EQ(colour.fault, "");
  return colour.entries;
}

std::string faultOf(const Words& words, std::size_t size) {
  return zr::expandSegments(bytesOf(words), 16, size).fault;
}

TEST(SegmentedPalette, HasDiscreteSegmentsAsTheyAre) {
  EXPECT_THAT(expanded({0, 3, 7, 40000, 9}, 3), ElementsAre(7, 40000, 9));
}

TEST(SegmentedPalette, HasLinearSegmentsFromTheEntryBefore) {
  EXPECT_THAT(expanded({0, 1, 10, 1, 4, 20}, 5), ElementsAre(10, 13, 15, 18, 20));
  EXPECT_THAT(expanded({0, 1, 20, 1, 4, 10}, 5), ElementsAre(20, 17, 15, 12, 10));
}

TEST(SegmentedPalette, TakesSegmentsFromElsewhereOnceMore) {
  // The linear segment at byte 6 begins at the entry before it, wherever it is taken to.
  EXPECT_THAT(expanded({0, 1, 0, 1, 2, 4, 0, 1, 10, 2, 1, 6, 0}, 6),
              ElementsAre(0, 2, 4, 10, 7, 4));
}

TEST(SegmentedPalette, OfEightBitsHasNumbersOfEightBits) {
  const zr::ExpandedColour colour = zr::expandSegments({0, 2, 5, 250, 2, 1, 0, 0, 0, 0}, 8, 4);

  EXPECT_THAT(colour.entries, ElementsAre(5, 250, 5, 250));
}

TEST(SegmentedPalette, IsRefusedWithTheReason) {
  EXPECT_EQ(faultOf({0, 2, 1}, 2), "its segments end too early");
  EXPECT_EQ(faultOf({0}, 2), "its segments end too early");
  EXPECT_EQ(faultOf({0, 1, 5}, 2), "its segments make 1 of 2 entries");
  EXPECT_EQ(faultOf({0, 3, 1, 2, 3}, 2), "its segments make more than 2 entries");
  EXPECT_EQ(faultOf({1, 2, 9}, 2), "it begins with a linear segment, which needs an entry before");
  EXPECT_EQ(faultOf({7, 1, 9}, 2), "it has a segment of unknown kind 7");
  EXPECT_EQ(faultOf({0, 1, 5, 2, 1, 100, 0}, 2), "it has an indirect segment that leads out of it");
  EXPECT_EQ(faultOf({0, 1, 5, 2, 1, 6, 0}, 2),
            "it has an indirect segment that leads to another one");
}

TEST(SegmentedPalette, CutShortIsRefusedAtEveryPlace) {
  const Bytes whole = bytesOf({0, 1, 0, 1, 2, 4, 0, 1, 10, 2, 1, 6, 0});

  for (std::size_t length = 0; length < whole.size(); ++length) {
    const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
    EXPECT_NE(zr::expandSegments(cut, 16, 6).fault, "") << length;
  }
}

/// Indices 0 and 1; the colours are what the segments say, 16 bits an entry.
support::ImageBuilder segmentedImage(const Words& red, Uint16 entries, Uint16 bits = 16) {
  support::ImageBuilder image = support::paletteImage(2, 1).samples({0, 1});
  image.without(DCM_RedPaletteColorLookupTableData)
      .without(DCM_GreenPaletteColorLookupTableData)
      .without(DCM_BluePaletteColorLookupTableData);
  for (const DcmTagKey& key :
       {DCM_RedPaletteColorLookupTableDescriptor, DCM_GreenPaletteColorLookupTableDescriptor,
        DCM_BluePaletteColorLookupTableDescriptor}) {
    image.withUint16s(key, {entries, 0, bits});
  }
  return image.withWords(DCM_SegmentedRedPaletteColorLookupTableData, red)
      .withWords(DCM_SegmentedGreenPaletteColorLookupTableData,
                 bits == 8 ? Words{0x0200, 0x0403} : Words{0, 2, 0x0300, 0x0400})
      .withWords(DCM_SegmentedBluePaletteColorLookupTableData,
                 bits == 8 ? Words{0x0200, 0x0605} : Words{0, 2, 0x0500, 0x0600});
}

zr::Image imageOf(const support::ImageBuilder& image, const support::TempDir& folder) {
  support::saveFile(*image.build(), folder.file("in.dcm"));
  return zr::Image(zr::File(folder.file("in.dcm")));
}

TEST(SegmentedPalette, ColoursAnImageAsOneInFullDoes) {
  const support::TempDir folder;
  const zr::Image image = imageOf(segmentedImage({0, 1, 0x0100, 1, 1, 0x0200}, 2), folder);

  EXPECT_THAT(coded::decode(image, zr::Values::kDisplay), ElementsAre(1, 3, 5, 2, 4, 6));
  EXPECT_THAT(coded::decode(image), ElementsAre(0x0100, 0x0300, 0x0500, 0x0200, 0x0400, 0x0600));
}

TEST(SegmentedPalette, OfEightBitsColoursAnImageToo) {
  const support::TempDir folder;
  const zr::Image image = imageOf(segmentedImage({0x0200, 0x0201}, 2, 8), folder);

  EXPECT_THAT(coded::decode(image, zr::Values::kDisplay), ElementsAre(1, 3, 5, 2, 4, 6));
}

TEST(SegmentedPalette, ThatIsDamagedIsTheReasonForWhichAnImageHasNoColours) {
  const support::TempDir folder;
  const zr::Image image = imageOf(segmentedImage({0, 1, 0x0100}, 2), folder);

  EXPECT_EQ(coded::refusal(image),
            "SecondaryCaptureImageStorage has a palette in segments that is damaged: of red, its "
            "segments make 1 of 2 entries");
}

}  // namespace
