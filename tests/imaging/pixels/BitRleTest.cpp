// SPDX-License-Identifier: BSD-3-Clause
// RLE of pixels of one bit: one segment of packed pixels a frame (PS3.5 G).
#include "core/decoding/SliceDecodingFixtures.h"
#include "support/Compression.h"
#include "support/DatasetBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "zrimaging/Error.h"
#include "zrimaging/File.h"
#include "zrimaging/Image.h"
#include "zrimaging/MemoryBudget.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace {

using decoding::Fragment;
using testing::ElementsAre;

/// 12 pixels of one bit a frame, one fragment each.
std::unique_ptr<DcmDataset> imageOf(const std::vector<Fragment>& frames) {
  const auto module = support::DatasetBuilder()
                          .with(DCM_SOPClassUID, UID_SegmentationStorage)
                          .with(DCM_PhotometricInterpretation, "MONOCHROME2")
                          .with(DCM_NumberOfFrames, std::to_string(frames.size()))
                          .withUint16(DCM_SamplesPerPixel, 1)
                          .withUint16(DCM_Rows, 2)
                          .withUint16(DCM_Columns, 6)
                          .withUint16(DCM_BitsAllocated, 1)
                          .withUint16(DCM_BitsStored, 1)
                          .withUint16(DCM_HighBit, 0)
                          .withUint16(DCM_PixelRepresentation, 0)
                          .build();
  return decoding::encapsulate(*module, EXS_RLELossless, frames);
}

std::vector<int> decode(DcmDataset& dataset, std::size_t frame) {
  const support::TempDir folder;
  support::saveFile(dataset, folder.file("in.dcm"), EXS_RLELossless);
  const zr::Image image{zr::File(folder.file("in.dcm"))};
  const zr::DecodedFrames decoded =
      image.decode({zr::FrameRange{frame, frame}, zr::Values::kSamples, false}, {});
  const zr::SampleArray& samples = decoded.samples();
  return {samples.bytes, samples.bytes + samples.byteCount()};
}

TEST(RleOfOneBit, HasEveryFrameBeginWithAByteOfItsOwn) {
  const auto image = imageOf({decoding::rleFrame({64}, {{0x01, 0x01, 0x0F}}),
                              decoding::rleFrame({64}, {{0x01, 0x80, 0x08}})});

  EXPECT_THAT(decode(*image, 0), ElementsAre(1, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1));
  EXPECT_THAT(decode(*image, 1), ElementsAre(0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 1));
}

TEST(RleOfOneBit, MayHaveRunsAndBytesThatMeanNothing) {
  const auto image = imageOf({decoding::rleFrame({64}, {{0x80, 0xFF, 0x03, 0x80}})});

  EXPECT_THAT(decode(*image, 0), ElementsAre(1, 1, 0, 0, 0, 0, 0, 0, 1, 1, 0, 0));
}

struct Damage {
  const char* name;
  Fragment frame;
};

void PrintTo(const Damage& row, std::ostream* stream) {
  *stream << row.name;
}

class DamagedRleOfOneBit : public testing::TestWithParam<Damage> {};

TEST_P(DamagedRleOfOneBit, IsRefused) {
  const auto image = imageOf({GetParam().frame});

  try {
    (void)decode(*image, 0);
    FAIL() << "decoded";
  } catch (const zr::Error& error) {
    EXPECT_THAT(error.reason(), testing::AnyOf(zr::Reason::Damaged, zr::Reason::Undecodable));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Frames, DamagedRleOfOneBit,
    testing::Values(Damage{"TwoSegments", decoding::rleFrame({64, 66}, {{0x01, 0x01, 0x0F}})},
                    Damage{"OffsetInTheHeader", decoding::rleFrame({8}, {{0x01, 0x01, 0x0F}})},
                    Damage{"OffsetBehindTheEnd", decoding::rleFrame({80}, {{0x01, 0x01, 0x0F}})},
                    Damage{"NoByteOfARun", decoding::rleFrame({64}, {{0x80, 0xFF}})},
                    Damage{"TooFewBytes", decoding::rleFrame({64}, {{0x01, 0x01}})},
                    Damage{"OneByteShort", decoding::rleFrame({64}, {{0x00, 0x01}})},
                    Damage{"HeaderAlone", decoding::rleFrame({64}, {})}),
    support::nameOf<Damage>);

}  // namespace
