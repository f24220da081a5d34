// SPDX-License-Identifier: BSD-3-Clause
// Frames that are deflated one by one.
#include "CodedImage.h"
#include "support/Compression.h"
#include "support/TempDir.h"

#define ZLIB_CONST
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>
#include <zlib.h>

namespace {

using support::ImageBuilder;
using testing::ElementsAre;

constexpr const char* kSyntax = "1.2.840.10008.1.2.8.1";

std::string deflated(const std::vector<std::uint8_t>& bytes) {
  z_stream stream{};
  if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY) !=
      Z_OK) {
    throw std::runtime_error("deflateInit2");
  }
  std::string result(deflateBound(&stream, bytes.size()), '\0');
  stream.next_in = bytes.data();
  stream.avail_in = static_cast<uInt>(bytes.size());
  stream.next_out = reinterpret_cast<Bytef*>(result.data());
  stream.avail_out = static_cast<uInt>(result.size());
  const int status = deflate(&stream, Z_FINISH);
  result.resize(stream.total_out);
  (void)deflateEnd(&stream);
  if (status != Z_STREAM_END) {
    throw std::runtime_error("deflate");
  }
  return result;
}

zr::Image imageOf(const ImageBuilder& attributes, const std::vector<std::uint8_t>& frame) {
  return coded::image(attributes, kSyntax, {coded::fragment(deflated(frame))});
}

ImageBuilder bits(Uint16 columns, Uint16 rows) {
  return support::monochromeImage(columns, rows)
      .withUint16(DCM_BitsAllocated, 1)
      .withUint16(DCM_BitsStored, 1)
      .withUint16(DCM_HighBit, 0);
}

TEST(DeflatedFrames, AreSamplesOfTheWidthThatTheAttributesSay) {
  const zr::Image bytes =
      imageOf(support::monochromeImage(3, 1).unsigned8().samples({0, 0, 0}), {1, 200, 3});
  const zr::Image words = imageOf(support::monochromeImage(2, 1).signed16(), {0xFE, 0xFF, 2, 1});

  EXPECT_THAT(coded::decode(bytes), ElementsAre(1, 200, 3));
  EXPECT_THAT(coded::decode(words), ElementsAre(0xFFFE, 0x0102));
  EXPECT_EQ(words.traits().type, zr::SampleType::kS16);
}

TEST(DeflatedFrames, OfOneBitBecomeAByteAPixelAndBeginWithAByteOfTheirOwn) {
  const zr::Image image = coded::image(bits(5, 2).frames(2), kSyntax,
                                       {coded::fragment(deflated({0b10100001, 0b00000010})),
                                        coded::fragment(deflated({0b00000010, 0b00000001}))});

  EXPECT_THAT(coded::decode(image), ElementsAre(1, 0, 0, 0, 0, 1, 0, 1, 0, 1,  // the first frame
                                                0, 1, 0, 0, 0, 0, 0, 0, 1, 0));
}

TEST(DeflatedFrames, OfColourAreWhatUncompressedOnesAre) {
  const std::vector<std::uint8_t> planes = {10, 40, 20, 50, 30, 60};
  const zr::Image image = imageOf(support::rgbImage(2, 1).planar(1), planes);

  for (const zr::Values values :
       {zr::Values::kSamples, zr::Values::kStored, zr::Values::kUnsigned, zr::Values::kDisplay}) {
    EXPECT_THAT(coded::decode(image, values), ElementsAre(10, 20, 30, 40, 50, 60));
  }
}

TEST(DeflatedFrames, OfColourKeepTheirDepth) {
  const zr::Image image =
      imageOf(support::rgbImage(1, 1).unsigned16(), {0x34, 0x12, 0x78, 0x56, 0xBC, 0x9A});

  EXPECT_THAT(coded::decode(image), ElementsAre(0x1234, 0x5678, 0x9ABC));
  EXPECT_THAT(coded::decode(image, zr::Values::kDisplay), ElementsAre(0x12, 0x56, 0x9A));
}

TEST(DeflatedFrames, KeepSharedColourDifferencesAsTheyAreStored) {
  const std::vector<std::uint8_t> samples = {100, 200, 90, 160};
  const ImageBuilder attributes =
      support::rgbImage(2, 1).photometric("YBR_FULL_422").planar(0).withPixels8(samples);
  const support::TempDir folder;
  support::saveFile(*attributes.build(), folder.file("in.dcm"));
  const zr::Image uncompressed(zr::File(folder.file("in.dcm")));
  const zr::Image image = imageOf(attributes, samples);

  EXPECT_THAT(coded::decode(image, zr::Values::kStored), ElementsAre(100, 200, 90, 160));
  EXPECT_EQ(coded::decode(image, zr::Values::kDisplay),
            coded::decode(uncompressed, zr::Values::kDisplay));
}

struct NotAFrame {
  const char* name;
  std::vector<std::uint8_t> bytes;
};

TEST(DeflatedFrames, OfAnotherLengthAreRefused) {
  const ImageBuilder attributes = support::monochromeImage(2, 2).unsigned8().samples({0, 0, 0, 0});

  for (const NotAFrame& row :
       {NotAFrame{"one byte less", {1, 2, 3}}, NotAFrame{"one byte more", {1, 2, 3, 4, 5}}}) {
    EXPECT_EQ(coded::refusal(imageOf(attributes, row.bytes)),
              "has a deflated frame (number 0) that does not inflate to the 4 bytes of a frame")
        << row.name;
  }
}

TEST(DeflatedFrames, MayBeFollowedByOneByteAlone) {
  const ImageBuilder attributes = support::monochromeImage(3, 1).unsigned8().samples({0, 0, 0});
  const std::string stream = deflated({1, 2, 3});
  ASSERT_EQ(stream.size() % 2, 1U);

  EXPECT_THAT(coded::decode(coded::image(attributes, kSyntax, {stream + '\0'})),
              ElementsAre(1, 2, 3));
  EXPECT_NE(coded::refusal(coded::image(attributes, kSyntax, {stream + std::string(3, '\0')})), "");
}

TEST(DeflatedFrames, ThatCannotHoldAFrameAreRefusedBeforeMemoryIsTaken) {
  const ImageBuilder attributes = support::monochromeImage(1, 1)
                                      .unsigned8()
                                      .withUint16(DCM_Rows, 60000)
                                      .withUint16(DCM_Columns, 60000);
  const zr::Image image = imageOf(attributes, {1, 2, 3, 4});

  EXPECT_EQ(coded::refusal(image),
            "has a deflated frame (number 0) that does not inflate to the 3600000000 bytes of a "
            "frame");
}

TEST(DeflatedFrames, CutShortAreRefusedAtEveryPlace) {
  const ImageBuilder attributes = support::monochromeImage(8, 8).unsigned8();
  std::vector<std::uint8_t> samples(64);
  std::generate(samples.begin(), samples.end(), [seed = 1U]() mutable {
    return static_cast<std::uint8_t>(seed = seed * 75 % 65537);
  });
  const std::string stream = deflated(samples);

  for (std::size_t length = 0; length < stream.size(); ++length) {
    EXPECT_NE(coded::refusal(coded::image(attributes, kSyntax, {stream.substr(0, length)})), "")
        << length;
  }
}

TEST(DeflatedFrames, WithAnyBitTurnedRoundDecodeOrAreRefused) {
  const ImageBuilder attributes = support::monochromeImage(8, 4).unsigned8();
  const std::string stream = deflated(std::vector<std::uint8_t>(32, 7));
  int refused = 0;

  for (std::size_t bit = 0; bit < 8 * stream.size(); ++bit) {
    std::string damaged = stream;
    damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ 1 << bit % 8);
    const std::string reason = coded::refusal(coded::image(attributes, kSyntax, {damaged}));
    EXPECT_TRUE(reason.empty() || reason.find("deflated frame") != std::string::npos) << reason;
    refused += reason.empty() ? 0 : 1;
  }

  EXPECT_GT(refused, 0);
}

}  // namespace
