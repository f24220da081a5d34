// SPDX-License-Identifier: BSD-3-Clause
// A reader keeps what it knows of an image between frames: each frame is the one that decodeFrame
// gives.
#include "FrameTesting.h"
#include "SliceDecodingFixtures.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace {

using decoding::Fragment;
using support::ImageBuilder;
using testing::Each;

constexpr unsigned kFrames = 5;
constexpr int kStep = 40;

// Every frame has one value in all its samples.
std::unique_ptr<DcmDataset> clip(ImageBuilder image, std::size_t channels,
                                 E_TransferSyntax syntax) {
  std::vector<int> samples;
  for (unsigned frame = 0; frame < kFrames; ++frame) {
    samples.insert(samples.end(), 16 * 16 * channels, kStep * static_cast<int>(frame));
  }
  const auto native = image.frames(kFrames).samples(samples).build();
  return DcmXfer(syntax).isEncapsulated() ? support::compress(*native, syntax)
                                          : support::readBack(*native, syntax);
}

ImageBuilder grey() {
  return support::monochromeImage(16, 16).unsigned8();
}

std::vector<std::uint8_t> read(Zrg::FrameReader& reader, std::uint64_t frame) {
  std::vector<std::uint8_t> bytes(reader.format().frameBytes(), 0xA5);
  std::string errorText = "left over";
  EXPECT_TRUE(reader.decode(frame, bytes.data(), bytes.size(), errorText)) << errorText;
  EXPECT_EQ(errorText, "");
  return bytes;
}

Zrg::FrameReader open(DcmItem& item) {
  Zrg::FrameReader reader;
  std::string errorText;
  EXPECT_TRUE(reader.open(item, errorText)) << errorText;
  return reader;
}

struct Coding {
  const char* name;
  bool colour;
  E_TransferSyntax syntax;
};

void PrintTo(const Coding& coding, std::ostream* stream) {
  *stream << coding.name;
}

class FrameReaderOf : public testing::TestWithParam<Coding> {
protected:
  std::unique_ptr<DcmDataset> image_ = GetParam().colour
                                           ? clip(support::rgbImage(16, 16), 3, GetParam().syntax)
                                           : clip(grey(), 1, GetParam().syntax);
};

TEST_P(FrameReaderOf, ImageGivesFramesInAnyOrder) {
  Zrg::FrameReader reader = open(*image_);

  for (const unsigned frame : {0U, 1U, 2U, 4U, 3U, 3U, 0U}) {
    EXPECT_THAT(read(reader, frame), Each(kStep * frame)) << frame;
  }
}

TEST_P(FrameReaderOf, ImageGoesOnWhenTheImageIsDecompressedMeanwhile) {
  Zrg::FrameReader reader = open(*image_);
  EXPECT_THAT(read(reader, 2), Each(2 * kStep));

  ASSERT_TRUE(image_->chooseRepresentation(EXS_LittleEndianExplicit, nullptr).good());
  image_->removeAllButCurrentRepresentations();

  EXPECT_THAT(read(reader, 3), Each(3 * kStep));
}

TEST_P(FrameReaderOf, ImagePassesTheCheckAndStaysAsItIs) {
  Zrg::FrameReader reader = open(*image_);
  std::string errorText = "left over";

  for (const unsigned frame : {4U, 0U, 1U}) {
    EXPECT_TRUE(reader.check(frame, errorText)) << frame;
    EXPECT_EQ(errorText, "");
    EXPECT_THAT(read(reader, frame), Each(kStep * frame)) << frame;
  }
  EXPECT_TRUE(image_->canWriteXfer(GetParam().syntax, EXS_Unknown));
}

INSTANTIATE_TEST_SUITE_P(Codings, FrameReaderOf,
                         testing::Values(Coding{"GreyNative", false, EXS_LittleEndianExplicit},
                                         Coding{"GreyRle", false, EXS_RLELossless},
                                         Coding{"GreyJpeg", false, EXS_JPEGProcess14SV1},
                                         Coding{"GreyJpegLs", false, EXS_JPEGLSLossless},
                                         Coding{"RgbNative", true, EXS_LittleEndianExplicit},
                                         Coding{"RgbRle", true, EXS_RLELossless},
                                         Coding{"RgbJpegLs", true, EXS_JPEGLSLossless}),
                         support::nameOf<Coding>);

TEST(FrameReader, FindsFramesOfSeveralFragmentsByTheirStarts) {
  const auto whole = clip(grey(), 1, EXS_JPEGProcess14SV1);
  std::vector<Fragment> fragments;
  for (const Fragment& frame : decoding::fragmentsOf(*whole)) {
    for (const Fragment& part : decoding::cut(frame, frame.size() / 4 * 2)) {
      fragments.push_back(part);
    }
  }
  const auto image = decoding::encapsulate(*whole, EXS_JPEGProcess14SV1, fragments);
  Zrg::FrameReader reader = open(*image);

  for (const unsigned frame : {3U, 1U, 4U}) {
    EXPECT_THAT(read(reader, frame), Each(kStep * frame)) << frame;
  }
}

TEST(FrameReader, SaysTheFormatOfTheImage) {
  const auto image = clip(support::rgbImage(16, 16), 3, EXS_LittleEndianExplicit);
  const Zrg::FrameReader reader = open(*image);

  EXPECT_EQ(reader.format().frames, kFrames);
  EXPECT_EQ(reader.format().samplesPerPixel, 3U);
  EXPECT_EQ(reader.format().frameBytes(), 16U * 16 * 3);
}

TEST(FrameReader, GoesOnAfterAFrameThatFails) {
  const auto image = clip(grey(), 1, EXS_RLELossless);
  Zrg::FrameReader reader = open(*image);
  std::vector<char> target(16 * 16);
  std::string errorText;

  EXPECT_FALSE(reader.decode(kFrames, target.data(), target.size(), errorText));
  EXPECT_EQ(errorText, "There is no frame 5: Number of Frames is 5");

  EXPECT_THAT(read(reader, 1), Each(kStep));
}

TEST(FrameReader, RefusesATargetThatIsTooSmall) {
  const auto image = clip(grey(), 1, EXS_RLELossless);
  Zrg::FrameReader reader = open(*image);
  std::vector<char> target(16 * 16 - 1);
  std::string errorText;

  EXPECT_FALSE(reader.decode(0, target.data(), target.size(), errorText));

  EXPECT_EQ(errorText, "Invalid target size: buffer 255 bytes, required 256 bytes");
}

TEST(FrameReader, WithoutAnImageFails) {
  Zrg::FrameReader reader;
  char target = 0;
  std::string errorText;

  EXPECT_FALSE(reader.decode(0, &target, 1, errorText));

  EXPECT_EQ(errorText, "No image is open to read frames of");
  EXPECT_EQ(reader.format().frames, 0U);
}

// ---- frames that cannot be there

struct Claim {
  const char* name;
  std::function<std::unique_ptr<DcmDataset>()> image;
  std::uint64_t frame;
  const char* reason;
};

void PrintTo(const Claim& claim, std::ostream* stream) {
  *stream << claim.name;
}

class FrameReaderCheck : public testing::TestWithParam<Claim> {};

TEST_P(FrameReaderCheck, RefusesWhatIsNotThere) {
  const auto image = GetParam().image();
  Zrg::FrameReader reader = open(*image);
  std::string errorText;

  EXPECT_FALSE(reader.check(GetParam().frame, errorText));

  EXPECT_EQ(errorText, GetParam().reason);
}

std::unique_ptr<DcmDataset> ofSize(std::unique_ptr<DcmDataset> image, Uint16 rows, Uint16 columns) {
  EXPECT_TRUE(image->putAndInsertUint16(DCM_Rows, rows).good());
  EXPECT_TRUE(image->putAndInsertUint16(DCM_Columns, columns).good());
  return image;
}

// A stream of 8 bits under attributes of 12 signed ones in 16.
std::unique_ptr<DcmDataset> withoutSigns() {
  auto image = clip(grey(), 1, EXS_JPEGProcess14SV1);
  EXPECT_TRUE(image->putAndInsertUint16(DCM_BitsAllocated, 16).good());
  EXPECT_TRUE(image->putAndInsertUint16(DCM_BitsStored, 12).good());
  EXPECT_TRUE(image->putAndInsertUint16(DCM_HighBit, 11).good());
  EXPECT_TRUE(image->putAndInsertUint16(DCM_PixelRepresentation, 1).good());
  return image;
}

INSTANTIATE_TEST_SUITE_P(
    Claims, FrameReaderCheck,
    testing::Values(
        Claim{"JpegOfAnotherSize",
              [] { return ofSize(clip(grey(), 1, EXS_JPEGProcess14SV1), 30000, 30000); }, 1,
              "The compressed image has 16 x 16 pixels of 1 samples with 8 bits, where the "
              "attributes say 30000 x 30000 pixels of 1 samples with 8 bits allocated"},
        Claim{"JpegLsOfAnotherSize",
              [] { return ofSize(clip(grey(), 1, EXS_JPEGLSLossless), 65535, 16); }, 0,
              "The compressed image has 16 x 16 pixels of 1 samples with 8 bits, where the "
              "attributes say 16 x 65535 pixels of 1 samples with 8 bits allocated"},
        Claim{"RleOfAnotherSize",
              [] {
                return ofSize(clip(support::rgbImage(16, 16), 3, EXS_RLELossless), 20000, 20000);
              },
              4, "The compressed data does not hold the whole frame"},
        Claim{"SignsThatAreLost", withoutSigns, 2,
              "The compressed image has 8 bits, where 12 signed bits are stored: its signs are "
              "lost"},
        Claim{"NativeThatEndsInTheFrame",
              [] { return ofSize(clip(grey(), 1, EXS_LittleEndianExplicit), 17, 16); }, 4,
              "Pixel data incomplete, expected 1360 bytes, found 1280 bytes"},
        Claim{"NativeColourThatEndsBeforeTheFrame",
              [] {
                return ofSize(clip(support::rgbImage(16, 16), 3, EXS_LittleEndianExplicit), 60, 16);
              },
              4, "Pixel data incomplete, expected 3841 bytes, found 3840 bytes"},
        Claim{"NoSuchFrame", [] { return clip(grey(), 1, EXS_RLELossless); }, kFrames,
              "There is no frame 5: Number of Frames is 5"}),
    support::nameOf<Claim>);

TEST(FrameReader, LetsPassAStreamOfEightBitsForContainersOfSixteen) {
  auto image = clip(grey(), 1, EXS_JPEGProcess14SV1);
  ASSERT_TRUE(image->putAndInsertUint16(DCM_BitsAllocated, 16).good());
  Zrg::FrameReader reader = open(*image);
  std::string errorText;

  EXPECT_TRUE(reader.check(3, errorText)) << errorText;
}

TEST(FrameReader, LetsPassAColourFrameThatIsThereInPart) {
  const auto image = ofSize(clip(support::rgbImage(16, 16), 3, EXS_LittleEndianExplicit), 59, 16);
  Zrg::FrameReader reader = open(*image);
  std::string errorText;

  EXPECT_TRUE(reader.check(4, errorText)) << errorText;
}

TEST(FrameReader, WithoutAnImageHasNoFrameToCheck) {
  Zrg::FrameReader reader;
  std::string errorText;

  EXPECT_FALSE(reader.check(0, errorText));

  EXPECT_EQ(errorText, "No image is open to read frames of");
}

TEST(FrameReader, LetsGoOfAnImageWhenAnotherOneDoesNotOpen) {
  const auto image = clip(grey(), 1, EXS_RLELossless);
  Zrg::FrameReader reader = open(*image);
  DcmItem empty;
  std::string errorText;

  EXPECT_FALSE(reader.open(empty, errorText));

  EXPECT_EQ(errorText, "File contains no pixel data");
  EXPECT_EQ(reader.format().frames, 0U);
}

TEST(FrameReader, TakesItsImageAlongWhenItMoves) {
  const auto image = clip(grey(), 1, EXS_RLELossless);
  Zrg::FrameReader reader = open(*image);

  Zrg::FrameReader other = std::move(reader);

  EXPECT_THAT(read(other, 2), Each(2 * kStep));
}

// ---- containers as the decoder leaves them
// ---------------------------------------------------------

TEST(ContainersOfFrames, KeepTheDepthOfColour) {
  const auto native =
      support::rgbImage(2, 1).unsigned16().samples({1000, 2000, 3000, 4, 5, 6}).build();
  const auto image = support::compress(*native, EXS_RLELossless);
  Zrg::FrameReader reader = open(*image);
  ASSERT_EQ(reader.containerBytes(), 12U);
  std::vector<std::uint16_t> words(6);
  std::string interpretation;
  std::string errorText;

  ASSERT_TRUE(reader.decodeContainers(0, words.data(), 12, interpretation, errorText)) << errorText;

  EXPECT_EQ(interpretation, "RGB");
  EXPECT_THAT(words, testing::ElementsAre(1000, 2000, 3000, 4, 5, 6));
}

TEST(ContainersOfFrames, AreThoseOfCompressedDataAlone) {
  const auto image = support::rgbImage(2, 1).build();
  Zrg::FrameReader reader = open(*image);
  std::vector<std::uint8_t> bytes(6);
  std::string interpretation;
  std::string errorText;

  EXPECT_FALSE(reader.decodeContainers(0, bytes.data(), 6, interpretation, errorText));

  EXPECT_EQ(errorText, "The samples of the image are not compressed");
}

TEST(ContainersOfFrames, AreNotPutWhereTheyDoNotFit) {
  const auto image = clip(support::rgbImage(16, 16), 3, EXS_RLELossless);
  Zrg::FrameReader reader = open(*image);
  std::vector<std::uint8_t> bytes(reader.containerBytes() - 1);
  std::string interpretation;
  std::string errorText;

  EXPECT_FALSE(reader.decodeContainers(0, bytes.data(), bytes.size(), interpretation, errorText));

  EXPECT_EQ(errorText, "Invalid target size: buffer 767 bytes, required 768 bytes");
}

}  // namespace
