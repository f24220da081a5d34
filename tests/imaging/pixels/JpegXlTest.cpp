// SPDX-License-Identifier: BSD-3-Clause
// Frames in JPEG XL: streams are those of the encoder of libjxl, lossless.
#include "CodedImage.h"
#include "JpegXlEncoding.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>
#include <string>
#include <vector>

namespace {

using coded::XlImage;
using support::ImageBuilder;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* kLossless = "1.2.840.10008.1.2.4.110";
constexpr const char* kRecompressed = "1.2.840.10008.1.2.4.111";
constexpr const char* kLossy = "1.2.840.10008.1.2.4.112";

std::vector<int> ramp(std::size_t count, int step) {
  std::vector<int> values(count);
  for (std::size_t i = 0; i < count; ++i) {
    values[i] = static_cast<int>(i) * step;
  }
  return values;
}

zr::Image imageOf(const ImageBuilder& attributes, const XlImage& stream,
                  const std::string& syntax = kLossless) {
  return coded::image(attributes, syntax, {coded::fragment(coded::jpegXlOf(stream))});
}

TEST(JpegXlFrames, OfEightBitsAreLossless) {
  const std::vector<int> samples = ramp(256, 1);
  const zr::Image image =
      imageOf(support::monochromeImage(16, 16).unsigned8(), {16, 16, 1, 8, samples});

  EXPECT_EQ(coded::decode(image), samples);
  EXPECT_EQ(image.traits().type, zr::SampleType::kU8);
}

TEST(JpegXlFrames, OfSixteenBitsAreLosslessForEveryValue) {
  const std::vector<int> samples = ramp(65536, 1);
  const zr::Image image = imageOf(support::monochromeImage(256, 256).unsigned16().samples(samples),
                                  {256, 256, 1, 16, samples});

  EXPECT_EQ(coded::decode(image), samples);
}

TEST(JpegXlFrames, OfLessBitsThanTheirContainersAreLossless) {
  const std::vector<int> samples = ramp(4096, 1);
  const zr::Image image =
      imageOf(support::monochromeImage(64, 64).bitsStored(12), {64, 64, 1, 12, samples});

  EXPECT_EQ(coded::decode(image), samples);
}

TEST(JpegXlFrames, OfColourAreRgb) {
  const std::vector<int> samples = {255, 0, 0, 0, 255, 0, 1, 2, 3};
  const zr::Image image = imageOf(support::rgbImage(3, 1), {3, 1, 3, 8, samples}, kLossy);

  EXPECT_EQ(coded::decode(image), samples);
  EXPECT_EQ(coded::decode(image, zr::Values::kStored), samples);
  EXPECT_EQ(coded::decode(image, zr::Values::kDisplay), samples);
}

TEST(JpegXlFrames, OfColourKeepTheirDepth) {
  const std::vector<int> samples = {65535, 0x1234, 7};
  const zr::Image image =
      imageOf(support::rgbImage(1, 1).unsigned16(), {1, 1, 3, 16, samples}, kRecompressed);

  EXPECT_EQ(coded::decode(image), samples);
}

TEST(JpegXlFrames, AreDecodedByTheirNumbers) {
  const zr::Image image =
      coded::image(support::monochromeImage(2, 1).unsigned8().frames(2), kLossless,
                   {coded::fragment(coded::jpegXlOf({2, 1, 1, 8, {1, 2}})),
                    coded::fragment(coded::jpegXlOf({2, 1, 1, 8, {3, 4}}))});
  zr::DecodeRequest second;
  second.frames = zr::FrameRange{1, 1};

  EXPECT_THAT(coded::samplesOf(image.decode(second, {})), ElementsAre(3, 4));
}

TEST(JpegXlFrames, AreRefusedWhereTheStreamSaysOtherwise) {
  const ImageBuilder attributes = support::monochromeImage(2, 1).unsigned8();

  EXPECT_EQ(coded::refusal(imageOf(attributes, {1, 2, 1, 8, {1, 2}})),
            "has a frame in JPEG XL (number 0) of 1 columns and 2 rows");
  EXPECT_EQ(coded::refusal(imageOf(attributes, {2, 1, 3, 8, {1, 2, 3, 4, 5, 6}})),
            "has a frame in JPEG XL (number 0) of 3 samples a pixel");
  EXPECT_EQ(coded::refusal(imageOf(attributes, {2, 1, 1, 12, {1, 2}})),
            "has a frame in JPEG XL (number 0) of 12 bits a sample");
  EXPECT_EQ(coded::refusal(imageOf(attributes, {2, 1, 1, 8, {1, 2}, true})),
            "has a frame in JPEG XL (number 0) that is animated, turned or has a preview");
  EXPECT_EQ(coded::refusal(imageOf(attributes, {2, 1, 1, 8, {1, 255, 2, 255}, false, true})),
            "has a frame in JPEG XL (number 0) of 2 samples a pixel");
}

TEST(JpegXlFrames, OfSamplesWithASignAreRefused) {
  EXPECT_THAT(
      coded::refusal(imageOf(support::monochromeImage(2, 1).signed16(), {2, 1, 1, 16, {1, 2}})),
      HasSubstr("has samples in JPEG XL that are not decoded"));
}

TEST(JpegXlFrames, AreRefusedBeforeMemoryIsTakenForWhatTheyDoNotHold) {
  const ImageBuilder attributes = support::monochromeImage(1, 1)
                                      .unsigned8()
                                      .withUint16(DCM_Rows, 60000)
                                      .withUint16(DCM_Columns, 60000);

  EXPECT_EQ(coded::refusal(imageOf(attributes, {1, 1, 1, 8, {1}})),
            "has a frame in JPEG XL (number 0) of 1 columns and 1 rows");
}

TEST(JpegXlFrames, CutShortAreRefusedAtEveryPlace) {
  const std::vector<int> samples = ramp(64, 3);
  const std::string stream = coded::jpegXlOf({8, 8, 1, 8, samples});

  for (std::size_t length = 0; length < stream.size(); ++length) {
    EXPECT_THAT(coded::refusal(coded::image(support::monochromeImage(8, 8).unsigned8(), kLossless,
                                            {stream.substr(0, length)})),
                HasSubstr("in JPEG XL"))
        << length;
  }
}

TEST(JpegXlFrames, WithAnyBitTurnedRoundDecodeOrAreRefused) {
  const std::string stream = coded::jpegXlOf({8, 8, 1, 8, ramp(64, 3)});
  int refused = 0;

  for (std::size_t bit = 0; bit < 8 * stream.size(); ++bit) {
    std::string damaged = stream;
    damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ 1 << bit % 8);
    const std::string reason = coded::refusal(
        coded::image(support::monochromeImage(8, 8).unsigned8(), kLossless, {damaged}));
    EXPECT_TRUE(reason.empty() || reason.find("in JPEG XL") != std::string::npos) << reason;
    refused += reason.empty() ? 0 : 1;
  }

  EXPECT_GT(refused, 0);
}

}  // namespace
