// SPDX-License-Identifier: BSD-3-Clause
// One frame by its number: the right one in every coding, and a reason where there is none.
#include "FrameTesting.h"
#include "SliceDecodingFixtures.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace {

using frames::Frame;
using support::ImageBuilder;
using support::monochromeImage;
using support::rgbImage;
using testing::AllOf;
using testing::AnyOf;
using testing::Each;
using testing::ElementsAre;
using testing::SizeIs;

constexpr Uint16 kColumns = 16;
constexpr Uint16 kRows = 8;
constexpr unsigned kFrames = 5;
constexpr int kFrameStep = 40;
constexpr int kChannelStep = 20;

// Every frame has one value, and every channel of it; even lossy codings keep them apart.
ImageBuilder clip(ImageBuilder image, std::size_t channels, bool byPlane = false) {
  std::vector<int> samples;
  const std::size_t pixels = std::size_t{kColumns} * kRows;
  for (unsigned frame = 0; frame < kFrames; ++frame) {
    for (std::size_t i = 0; i < pixels * channels; ++i) {
      const std::size_t channel = byPlane ? i / pixels : i % channels;
      samples.push_back(static_cast<int>(kFrameStep * frame + kChannelStep * channel));
    }
  }
  return image.frames(kFrames).samples(samples);
}

ImageBuilder grey() {
  return clip(monochromeImage(kColumns, kRows).unsigned8(), 1);
}
ImageBuilder rgb() {
  return clip(rgbImage(kColumns, kRows), 3);
}
ImageBuilder rgbByPlane() {
  return clip(rgbImage(kColumns, kRows).planar(1), 3, true);
}
ImageBuilder palette() {
  return clip(support::paletteImage(kColumns, kRows), 1);
}

using Colour = std::array<int, 3>;

// What the frames look like, worked out by hand.
Colour greyOf(int value) {
  return {value, -1, -1};
}
Colour rgbOf(int value) {
  return {value, value + kChannelStep, value + 2 * kChannelStep};
}
Colour paletteOf(int value) {
  return {value, 255 - value, 128};
}

struct Coding {
  const char* name;
  ImageBuilder (*image)();
  E_TransferSyntax syntax;
  Colour (*pixel)(int value);
  int tolerance;
};

void PrintTo(const Coding& coding, std::ostream* stream) {
  *stream << coding.name;
}

class DecodeFrame : public testing::TestWithParam<Coding> {
protected:
  static std::unique_ptr<DcmDataset> dataset() {
    const auto native = GetParam().image().build();
    return DcmXfer(GetParam().syntax).isEncapsulated()
               ? support::compress(*native, GetParam().syntax)
               : support::readBack(*native, GetParam().syntax);
  }

  static void expectFrame(const Frame& frame, unsigned number) {
    ASSERT_TRUE(frame.done) << frame.errorText;
    const Colour wanted = GetParam().pixel(kFrameStep * static_cast<int>(number));
    const std::size_t channels = wanted[1] < 0 ? 1 : 3;
    ASSERT_EQ(frame.bytes.size(), kColumns * kRows * channels);
    for (std::size_t i = 0; i < frame.bytes.size(); ++i) {
      ASSERT_NEAR(frame.bytes[i], wanted[i % channels], GetParam().tolerance) << "sample " << i;
    }
  }
};

TEST_P(DecodeFrame, GivesTheFrameOfThatNumberInAnyOrder) {
  const auto image = dataset();

  for (const unsigned number : {3U, 0U, 4U, 4U, 1U, 2U}) {
    SCOPED_TRACE(number);
    expectFrame(frames::decode(*image, number), number);
  }
}

TEST_P(DecodeFrame, LeavesTheDatasetCompressed) {
  const auto image = dataset();
  ASSERT_TRUE(frames::decode(*image, 2).done);

  DcmElement* element = nullptr;
  ASSERT_TRUE(image->findAndGetElement(DCM_PixelData, element).good());
  auto* pixelData = dynamic_cast<DcmPixelData*>(element);
  ASSERT_NE(pixelData, nullptr);

  EXPECT_EQ(pixelData->hasRepresentation(EXS_LittleEndianExplicit, nullptr),
            !DcmXfer(GetParam().syntax).isEncapsulated());
}

TEST_P(DecodeFrame, GivesItAfterTheDatasetWasDecodedInPlace) {
  const auto image = dataset();
  Zrg::SliceImage slice;
  slice.convertSamples = false;
  std::string error;
  ASSERT_TRUE(slice.process(*image, error, -1, -1, nullptr, 0)) << error;

  expectFrame(frames::decode(*image, 3), 3);
}

TEST_P(DecodeFrame, GivesFramesOfAFile) {
  const support::TempDir folder;
  const auto file = folder.file("clip.dcm");
  support::saveFile(*dataset(), file, GetParam().syntax);
  DcmFileFormat format;
  ASSERT_TRUE(format.loadFile(OFFilename(file.c_str())).good());

  expectFrame(frames::decode(*format.getDataset(), 4), 4);
  expectFrame(frames::decode(*format.getDataset(), 1), 1);
}

INSTANTIATE_TEST_SUITE_P(
    Codings, DecodeFrame,
    testing::Values(Coding{"GreyNative", grey, EXS_LittleEndianExplicit, greyOf, 0},
                    Coding{"GreyRle", grey, EXS_RLELossless, greyOf, 0},
                    Coding{"GreyJpegBaseline", grey, EXS_JPEGProcess1, greyOf, 1},
                    Coding{"GreyJpegLossless", grey, EXS_JPEGProcess14SV1, greyOf, 0},
                    Coding{"GreyJpegLs", grey, EXS_JPEGLSLossless, greyOf, 0},
                    Coding{"RgbNative", rgb, EXS_LittleEndianExplicit, rgbOf, 0},
                    Coding{"RgbBigEndian", rgb, EXS_BigEndianExplicit, rgbOf, 0},
                    Coding{"RgbRle", rgb, EXS_RLELossless, rgbOf, 0},
                    Coding{"RgbJpegBaseline", rgb, EXS_JPEGProcess1, rgbOf, 2},
                    Coding{"RgbJpegLossless", rgb, EXS_JPEGProcess14SV1, rgbOf, 0},
                    Coding{"RgbJpegLs", rgb, EXS_JPEGLSLossless, rgbOf, 0},
                    Coding{"RgbByPlaneNative", rgbByPlane, EXS_LittleEndianExplicit, rgbOf, 0},
                    Coding{"RgbByPlaneRle", rgbByPlane, EXS_RLELossless, rgbOf, 0},
                    Coding{"RgbByPlaneJpegLs", rgbByPlane, EXS_JPEGLSLossless, rgbOf, 0},
                    Coding{"PaletteNative", palette, EXS_LittleEndianExplicit, paletteOf, 0},
                    Coding{"PaletteRle", palette, EXS_RLELossless, paletteOf, 0},
                    Coding{"PaletteJpegLossless", palette, EXS_JPEGProcess14SV1, paletteOf, 0},
                    Coding{"PaletteJpegLs", palette, EXS_JPEGLSLossless, paletteOf, 0}),
    support::nameOf<Coding>);

// ---- what is delivered

TEST(DecodeFrameCells, AreAsTheyAreStored) {
  const auto image = monochromeImage(2, 1)
                         .signed16()
                         .bitsStored(12)
                         .frames(2)
                         .samples({1, 2, -3, 0x7004})
                         .rescale("2", "-24")
                         .build();

  EXPECT_THAT(frames::decode(*image, 1).words(), ElementsAre(0xFFFD, 0x7004));
}

TEST(DecodeFrameCells, OfThirtyTwoBitsAreDelivered) {
  const auto image = monochromeImage(1, 1)
                         .frames(2)
                         .withUint16(DCM_BitsAllocated, 32)
                         .withUint16(DCM_BitsStored, 32)
                         .withUint16(DCM_HighBit, 31)
                         .withPixels16({1, 2, 0x5678, 0x1234})
                         .build();

  EXPECT_THAT(frames::decode(*image, 1).bytes, ElementsAre(0x78, 0x56, 0x34, 0x12));
}

TEST(DecodeFrameCells, MayBeOddInNumber) {
  for (const E_TransferSyntax syntax : {EXS_RLELossless, EXS_JPEGLSLossless}) {
    const auto image = support::compress(
        *monochromeImage(3, 1).unsigned8().frames(3).samples({1, 2, 3, 4, 5, 6, 7, 8, 9}).build(),
        syntax);

    EXPECT_THAT(frames::decode(*image, 1).bytes, ElementsAre(4, 5, 6));
  }
}

TEST(DecodeFrameColour, OfAnOddNumberOfBytesIsRendered) {
  const auto image = support::compress(
      *rgbImage(1, 1).frames(3).samples({1, 2, 3, 4, 5, 6, 7, 8, 9}).build(), EXS_RLELossless);

  EXPECT_THAT(frames::decode(*image, 2).bytes, ElementsAre(7, 8, 9));
}

// The streams of JPEG have their own order of samples, whatever the attribute says.
TEST(DecodeFrameColour, OfJpegIsInterleavedWhateverPlanarConfigurationSays) {
  for (const E_TransferSyntax syntax : {EXS_JPEGProcess14SV1, EXS_JPEGLSLossless}) {
    auto image = support::compress(*rgbImage(2, 1).samples({1, 2, 3, 4, 5, 6}).build(), syntax);
    for (const Uint16 configuration : {Uint16{0}, Uint16{1}}) {
      ASSERT_TRUE(image->putAndInsertUint16(DCM_PlanarConfiguration, configuration).good());

      EXPECT_THAT(frames::decode(*image, 0).bytes, ElementsAre(1, 2, 3, 4, 5, 6)) << configuration;
    }
  }
}

TEST(DecodeFrameColour, NeedsNoPlanarConfiguration) {
  for (const E_TransferSyntax syntax : {EXS_RLELossless, EXS_JPEGProcess14SV1}) {
    auto image = support::compress(*rgbImage(2, 1).samples({1, 2, 3, 4, 5, 6}).build(), syntax);
    ASSERT_TRUE(image->findAndDeleteElement(DCM_PlanarConfiguration).good());

    EXPECT_THAT(frames::decode(*image, 0).bytes, ElementsAre(1, 2, 3, 4, 5, 6));
  }
}

// YBR of equal luminance and no colour difference is grey; DCMTK reckons green in integers.
TEST(DecodeFrameColour, ComesOutOfYbrAsRgb) {
  std::vector<int> samples;
  for (int frame = 0; frame < 3; ++frame) {
    for (int pixel = 0; pixel < 4; ++pixel) {
      samples.insert(samples.end(), {50 * frame, 128, 128});
    }
  }
  const auto native = rgbImage(2, 2).photometric("YBR_FULL").frames(3).samples(samples).build();
  const auto packed = support::compress(*native, EXS_RLELossless);

  EXPECT_THAT(frames::decode(*native, 2).bytes, AllOf(SizeIs(12), Each(AnyOf(99, 100))));
  EXPECT_THAT(frames::decode(*packed, 1).bytes, AllOf(SizeIs(12), Each(AnyOf(49, 50))));
}

TEST(DecodeFrameColour, OfSixteenBitsBecomesEight) {
  const auto native =
      rgbImage(1, 1).unsigned16().frames(2).samples({0, 0, 0, 0xFFFF, 0x8080, 0x0101}).build();
  const auto packed = support::compress(*native, EXS_RLELossless);

  EXPECT_THAT(frames::decode(*native, 1).bytes, ElementsAre(255, 128, 1));
  EXPECT_THAT(frames::decode(*packed, 1).bytes, ElementsAre(255, 128, 1));
}

// Two luminances share both differences: four bytes are two pixels. DCMTK's green is one less.
TEST(DecodeFrameColour, OfNativePairsIsRendered) {
  const auto image = rgbImage(2, 1)
                         .photometric("YBR_FULL_422")
                         .frames(2)
                         .withPixels8({10, 20, 128, 128, 30, 40, 128, 128})
                         .build();

  EXPECT_THAT(frames::decode(*image, 1).bytes, ElementsAre(30, 29, 30, 40, 39, 40));
}

TEST(DecodeFrame, CountsInMoreThanSixteenBits) {
  std::vector<int> samples(std::size_t{4} * 65540);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    samples[i] = static_cast<int>(i / 4 % 251);
  }
  const auto image = monochromeImage(2, 2).unsigned8().frames(65540).samples(samples).build();

  EXPECT_THAT(frames::decode(*image, 65539).bytes, Each(65539 % 251));
}

// ---- nothing else is looked at

TEST(DecodeFrame, DoesNotTouchOtherFrames) {
  for (const E_TransferSyntax syntax :
       {EXS_RLELossless, EXS_JPEGProcess1, EXS_JPEGProcess14SV1, EXS_JPEGLSLossless}) {
    const auto whole = support::compress(*rgb().build(), syntax);
    std::vector<decoding::Fragment> fragments = decoding::fragmentsOf(*whole);
    for (std::size_t i = 0; i < fragments.size(); ++i) {
      if (i != 3) {
        fragments[i].assign(fragments[i].size(), 0x55);
      }
    }
    const auto damaged = decoding::encapsulate(*whole, syntax, fragments);

    const Frame frame = frames::decode(*damaged, 3);

    ASSERT_TRUE(frame.done) << frame.errorText;
    EXPECT_NEAR(frame.bytes[0], 120, 2);
    EXPECT_NEAR(frame.bytes[1], 140, 2);
    EXPECT_FALSE(frames::decode(*damaged, 0).done);
  }
}

// ---- streams and attributes that differ

TEST(DecodeFrameNarrow, WidensAStreamOfEightBitsToItsCells) {
  auto image = support::compress(
      *monochromeImage(2, 1).unsigned8().frames(2).samples({1, 2, 200, 255}).build(),
      EXS_JPEGProcess14SV1);
  ASSERT_TRUE(image->putAndInsertUint16(DCM_BitsAllocated, 16).good());

  EXPECT_THAT(frames::decode(*image, 1).words(), ElementsAre(200, 255));
  EXPECT_THAT(frames::decode(*image, 0).words(), ElementsAre(1, 2));
}

TEST(DecodeFrameNarrow, RefusesToGuessSigns) {
  auto image = support::compress(*monochromeImage(2, 1).unsigned8().samples({1, 200}).build(),
                                 EXS_JPEGProcess14SV1);
  ASSERT_TRUE(image->putAndInsertUint16(DCM_BitsAllocated, 16).good());
  ASSERT_TRUE(image->putAndInsertUint16(DCM_BitsStored, 12).good());
  ASSERT_TRUE(image->putAndInsertUint16(DCM_PixelRepresentation, 1).good());

  EXPECT_EQ(frames::decode(*image, 0).errorText,
            "The compressed image has 8 bits, where 12 signed bits are stored: its signs are lost");
}

TEST(DecodeFrame, SaysWhatAStreamHoldsThatTheAttributesDeny) {
  auto image = support::compress(*grey().build(), EXS_JPEGProcess14SV1);
  ASSERT_TRUE(image->putAndInsertUint16(DCM_SamplesPerPixel, 3).good());
  ASSERT_TRUE(image->putAndInsertString(DCM_PhotometricInterpretation, "RGB").good());

  EXPECT_EQ(frames::decode(*image, 1).errorText,
            "The compressed image has 16 x 8 pixels of 1 samples with 8 bits, where the attributes "
            "say 16 x 8 pixels of 3 samples with 8 bits allocated");
}

// ---- refusals

struct Refusal {
  const char* name;
  std::function<std::unique_ptr<DcmDataset>()> image;
  std::uint64_t frame;
  const char* reason;
};

void PrintTo(const Refusal& refusal, std::ostream* stream) {
  *stream << refusal.name;
}

class DecodeFrameRefusal : public testing::TestWithParam<Refusal> {};

TEST_P(DecodeFrameRefusal, IsOneLine) {
  const auto image = GetParam().image();

  const Frame frame = frames::decode(*image, GetParam().frame);

  EXPECT_FALSE(frame.done);
  EXPECT_EQ(frame.errorText, GetParam().reason);
}

TEST_P(DecodeFrameRefusal, IsKnownBeforeMemoryIsTaken) {
  const auto image = GetParam().image();
  Zrg::FrameReader reader;
  std::string errorText;

  const bool passed = reader.open(*image, errorText) && reader.check(GetParam().frame, errorText);

  EXPECT_FALSE(passed);
  EXPECT_EQ(errorText, GetParam().reason);
}

std::unique_ptr<DcmDataset> cutRle() {
  const auto whole = support::compress(*rgb().build(), EXS_RLELossless);
  std::vector<decoding::Fragment> fragments = decoding::fragmentsOf(*whole);
  fragments[2].resize(70);
  return decoding::encapsulate(*whole, EXS_RLELossless, fragments);
}

INSTANTIATE_TEST_SUITE_P(
    Reasons, DecodeFrameRefusal,
    testing::Values(
        Refusal{"NoSuchFrame", [] { return grey().build(); }, 5,
                "There is no frame 5: Number of Frames is 5"},
        Refusal{"NoFrameBeyondAllNumbers",
                [] { return grey().with(DCM_NumberOfFrames, "99999999999").build(); },
                std::uint64_t{1} << 32,
                "There is no frame 4294967296: Number of Frames is 99999999999"},
        Refusal{"NoPixelData", [] { return support::DatasetBuilder().build(); }, 0,
                "File contains no pixel data"},
        Refusal{"NoRows", [] { return grey().without(DCM_Rows).build(); }, 0,
                "File contains no pixel rows"},
        Refusal{
            "OneBit", [] { return grey().withUint16(DCM_BitsAllocated, 1).build(); }, 0,
            "Bits Allocated is 1: pixels of one bit stand packed in bytes, which is not decoded"},
        Refusal{"TwelveBits", [] { return grey().withUint16(DCM_BitsAllocated, 12).build(); }, 0,
                "Bits Allocated is 12: samples that do not fill 1, 2 or 4 bytes are not decoded"},
        Refusal{"ThreeGreySamples",
                [] { return grey().withUint16(DCM_SamplesPerPixel, 3).build(); }, 0,
                "Samples per Pixel is 3, where a monochrome image has 1"},
        Refusal{"CutRle", cutRle, 2, "The compressed data does not hold the whole frame"},
        Refusal{"NoDecoder",
                [] {
                  const auto fragments =
                      decoding::fragmentsOf(*support::compress(*grey().build(), EXS_RLELossless));
                  return decoding::encapsulate(*grey().build(), EXS_JPEG2000LosslessOnly,
                                               fragments);
                },
                0, "There is no decoder for the transfer syntax JPEG 2000 (Lossless only)"}),
    support::nameOf<Refusal>);

TEST(DecodeFrame, LeavesATargetAloneThatIsTooSmall) {
  const auto image = grey().build();
  std::vector<std::uint8_t> target(127, 9);
  std::string error;

  EXPECT_FALSE(Zrg::decodeFrame(*image, 0, target.data(), target.size(), error));

  EXPECT_EQ(error, "Invalid target size: buffer 127 bytes, required 128 bytes");
  EXPECT_THAT(target, Each(9));
}

TEST(DecodeFrame, FailsForNativeFramesThatAreNotThere) {
  const auto image = grey().with(DCM_NumberOfFrames, "7").build();

  const Frame frame = frames::decode(*image, 6);

  EXPECT_FALSE(frame.done);
  EXPECT_NE(frame.errorText, "");
}

TEST(DecodeFrame, FailsForColourFramesThatAreNotThere) {
  const auto image = rgb().with(DCM_NumberOfFrames, "7").build();

  const Frame frame = frames::decode(*image, 6);

  EXPECT_FALSE(frame.done);
  EXPECT_NE(frame.errorText, "");
}

TEST(DecodeFrame, TakesAnItemThatBelongsToNoDataset) {
  const auto item = grey().buildItem();

  EXPECT_THAT(frames::decode(*item, 2).bytes, Each(80));
}

}  // namespace
