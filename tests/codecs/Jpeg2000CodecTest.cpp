// SPDX-License-Identifier: BSD-3-Clause
// Images in JPEG 2000 against the same images uncompressed, along every way on which DCMTK decodes.
#include "codecs/CodecsFixture.h"
#include "codecs/Jpeg2000Encoding.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"

#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/dcmimage/diregist.h"
#include "dcmtk/dcmimgle/dcmimage.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace {

using jpeg2000::Encapsulation;
using jpeg2000::Order;
using jpeg2000::Settings;
using support::ImageBuilder;
using support::monochromeImage;
using support::rgbImage;

struct Twins {
  const char* name;
  std::function<ImageBuilder()> image;
  Settings settings;
  Encapsulation how = {};
};

/// What `process` gives: the samples, or the message.
std::string processed(DcmItem& item, int first, int last, bool intoTarget) {
  Zrg::SliceImage slice;
  std::string errorText;
  std::string target(intoTarget ? 1U << 20U : 0, '\0');
  if (!slice.process(item, errorText, first, last, intoTarget ? target.data() : nullptr,
                     target.size())) {
    return errorText;
  }
  const auto size = static_cast<std::size_t>(slice.extent.x * slice.extent.y * slice.extent.z) *
                    slice.samplesPerPixel * slice.bytesPerSample;
  const char* const begin = Zrg::firstSample(slice);
  return std::string(begin, size) + (slice.valid ? "" : "not valid");
}

class Jpeg2000Twins : public WithCodecs, public testing::WithParamInterface<Twins> {
protected:
  std::unique_ptr<DcmDataset> native_ = GetParam().image().build();
  std::unique_ptr<DcmDataset> compressed_ =
      jpeg2000::twinOf(*native_, GetParam().settings, GetParam().how);
  int frames_ = static_cast<int>(jpeg2000::framesOf(*native_).size());
};

TEST_P(Jpeg2000Twins, GiveTheSameRange) {
  for (int frame = 0; frame < frames_; ++frame) {
    EXPECT_EQ(processed(*compressed_, frame, frame, false),
              processed(*native_, frame, frame, false))
        << frame;
  }
}

TEST_P(Jpeg2000Twins, GiveTheSameRangeInATarget) {
  EXPECT_EQ(processed(*compressed_, 0, frames_ - 1, true),
            processed(*native_, 0, frames_ - 1, true));
}

TEST_P(Jpeg2000Twins, GiveTheSameImages) {
  EXPECT_EQ(processed(*compressed_, -1, -1, false), processed(*native_, -1, -1, false));
}

TEST_P(Jpeg2000Twins, LookTheSame) {
  DicomImage expected(native_.get(), EXS_LittleEndianExplicit);
  DicomImage image(compressed_.get(), compressed_->getOriginalXfer());
  ASSERT_EQ(image.getStatus(), EIS_Normal);
  for (unsigned long frame = 0; frame < static_cast<unsigned long>(frames_); ++frame) {
    std::string wanted(expected.getOutputDataSize(8), '\0');
    std::string given(image.getOutputDataSize(8), '\1');
    ASSERT_NE(expected.getOutputData(wanted.data(), wanted.size(), 8, frame), 0);
    ASSERT_NE(image.getOutputData(given.data(), given.size(), 8, frame), 0);
    EXPECT_EQ(given, wanted) << frame;
  }
}

/// Stored bits without any order, always the same.
std::vector<int> noise(std::size_t count, int bits) {
  std::vector<int> samples(count);
  std::minstd_rand random;  // as the standard defines it, everywhere
  for (int& sample : samples) {
    sample = static_cast<int>(random() >> 8U) & ((1 << bits) - 1);
  }
  return samples;
}

ImageBuilder grey(int bits, bool isSigned) {
  ImageBuilder image = monochromeImage(67, 45);
  if (bits <= 8) {
    isSigned ? image.signed8() : image.unsigned8();
  } else {
    isSigned ? image.signed16() : image.unsigned16();
  }
  return image.bitsStored(static_cast<Uint16>(bits)).frames(3).samples(noise(67 * 45 * 3, bits));
}

Twins greyTwins(const char* name, int bits, bool isSigned) {
  return {name,
          [=] { return grey(bits, isSigned); },
          {.bits = static_cast<unsigned int>(bits), .isSigned = isSigned}};
}

INSTANTIATE_TEST_SUITE_P(
    Grey, Jpeg2000Twins,
    testing::Values(greyTwins("OneBit", 1, false), greyTwins("TwoBits", 2, false),
                    greyTwins("SevenBits", 7, false), greyTwins("EightBits", 8, false),
                    greyTwins("NineBits", 9, false), greyTwins("TwelveBits", 12, false),
                    greyTwins("FifteenBits", 15, false), greyTwins("SixteenBits", 16, false),
                    greyTwins("TwoSignedBits", 2, true), greyTwins("EightSignedBits", 8, true),
                    greyTwins("ElevenSignedBits", 11, true),
                    greyTwins("TwelveSignedBits", 12, true),
                    greyTwins("SixteenSignedBits", 16, true)),
    support::nameOf<Twins>);

ImageBuilder twelveBits() {
  return grey(12, false);
}

INSTANTIATE_TEST_SUITE_P(
    Streams, Jpeg2000Twins,
    testing::Values(Twins{"Tiles", twelveBits, {.bits = 12, .tileSize = 16, .levels = 2}},
                    Twins{"NoLevels", twelveBits, {.bits = 12, .levels = 0}},
                    Twins{"Layers", twelveBits, {.bits = 12, .layers = 4}},
                    Twins{
                        "Precincts", twelveBits, {.bits = 12, .levels = 2, .precinctExponent = 6}},
                    Twins{"Rlcp", twelveBits, {.bits = 12, .order = Order::Rlcp}},
                    Twins{"Rpcl", twelveBits, {.bits = 12, .order = Order::Rpcl}},
                    Twins{"Pcrl", twelveBits, {.bits = 12, .order = Order::Pcrl}},
                    Twins{"Cprl", twelveBits, {.bits = 12, .order = Order::Cprl}},
                    Twins{"Markers", twelveBits, {.bits = 12, .hasMarkers = true}},
                    Twins{"File", twelveBits, {.bits = 12, .isFile = true}},
                    Twins{"UnsignedWhereTheImageIsSigned",
                          [] { return grey(8, true).samples(std::vector<int>(67 * 45 * 3, 77)); },
                          {.bits = 8, .isSigned = false}}),
    support::nameOf<Twins>);

INSTANTIATE_TEST_SUITE_P(
    Fragments, Jpeg2000Twins,
    testing::Values(
        Twins{"Three", twelveBits, {.bits = 12}, {3, Encapsulation::Table::Empty}},
        Twins{"ThreeAndATable", twelveBits, {.bits = 12}, {3, Encapsulation::Table::Right}},
        Twins{"ThreeAndAWrongTable", twelveBits, {.bits = 12}, {3, Encapsulation::Table::Wrong}},
        Twins{"OneAndATable", twelveBits, {.bits = 12}, {1, Encapsulation::Table::Right}},
        Twins{"OneAndAWrongTable", twelveBits, {.bits = 12}, {1, Encapsulation::Table::Wrong}},
        Twins{"ThreeOfOneFrame",
              [] { return twelveBits().frames(1).samples(noise(67 * 45, 12)); },
              {.bits = 12},
              {3, Encapsulation::Table::Empty}},
        Twins{"ThreeOfFiles",
              twelveBits,
              {.bits = 12, .isFile = true},
              {3, Encapsulation::Table::Empty}}),
    support::nameOf<Twins>);

// An odd number of samples; frames of an even one take another way through the library.
ImageBuilder oddColour() {
  return rgbImage(33, 21).frames(2).samples(noise(33 * 21 * 3 * 2, 8));
}
ImageBuilder colour() {
  return rgbImage(32, 20).frames(2).samples(noise(32 * 20 * 3 * 2, 8));
}
ImageBuilder colourOf16Bits() {
  return rgbImage(32, 20).unsigned16().frames(2).samples(noise(32 * 20 * 3 * 2, 16));
}

/// The transfer syntax of lossy streams, which may hold lossless ones too.
constexpr E_TransferSyntax kEither = EXS_JPEG2000;

INSTANTIATE_TEST_SUITE_P(
    Colour, Jpeg2000Twins,
    testing::Values(
        Twins{"OddRgb", oddColour, {}},
        Twins{"OddRgbTransformed", oddColour, {.hasColourTransform = true}},
        Twins{"OddRgbPlaneByPlane", [] { return oddColour().planar(1); }, {}},
        Twins{"OddYbrFull", [] { return oddColour().photometric("YBR_FULL"); }, {}},
        Twins{"Rgb", colour, {}}, Twins{"RgbTransformed", colour, {.hasColourTransform = true}},
        Twins{"RgbPlaneByPlane", [] { return colour().planar(1); }, {}},
        Twins{"RgbTransformedPlaneByPlane",
              [] { return colour().planar(1); },
              {.hasColourTransform = true}},
        Twins{"RgbOf16Bits", colourOf16Bits, {.bits = 16}},
        Twins{"YbrFull", [] { return colour().photometric("YBR_FULL"); }, {}},
        Twins{"YbrFullPlaneByPlane", [] { return colour().photometric("YBR_FULL").planar(1); }, {}},
        Twins{"EitherRgb", colour, {.syntax = kEither}},
        Twins{"EitherRgbPlaneByPlane", [] { return colour().planar(1); }, {.syntax = kEither}},
        Twins{
            "EitherYbrFull", [] { return colour().photometric("YBR_FULL"); }, {.syntax = kEither}},
        Twins{"EitherOddYbrFull",
              [] { return oddColour().photometric("YBR_FULL"); },
              {.syntax = kEither}}),
    support::nameOf<Twins>);

class Jpeg2000Codec : public WithCodecs {};

OFString photometricOf(DcmItem& item) {
  OFString text;
  (void)item.findAndGetOFString(DCM_PhotometricInterpretation, text);
  return text;
}

TEST_F(Jpeg2000Codec, MakesRgbOfColoursThatOnlyJpeg2000Has) {
  for (const char* photometric : {"YBR_RCT", "YBR_ICT"}) {
    const auto native = colour().build();
    const auto compressed = jpeg2000::twinOf(*native, {.hasColourTransform = true});
    ASSERT_TRUE(compressed->putAndInsertString(DCM_PhotometricInterpretation, photometric).good());

    ASSERT_TRUE(compressed->chooseRepresentation(EXS_LittleEndianExplicit, nullptr).good());

    EXPECT_EQ(photometricOf(*compressed), "RGB");
    EXPECT_EQ(processed(*compressed, -1, -1, false), processed(*native, -1, -1, false));
    EXPECT_FALSE(compressed->canWriteXfer(EXS_JPEG2000LosslessOnly)) << "of other colours";
  }
}

TEST_F(Jpeg2000Codec, TellsTheColourOfAFrameAndLeavesTheAttributeAlone) {
  const auto compressed = jpeg2000::twinOf(*colour().build(), {.hasColourTransform = true});
  ASSERT_TRUE(compressed->putAndInsertString(DCM_PhotometricInterpretation, "YBR_RCT").good());
  DcmElement* element = nullptr;
  ASSERT_TRUE(compressed->findAndGetElement(DCM_PixelData, element).good());
  auto& pixelData = dynamic_cast<DcmPixelData&>(*element);
  std::vector<Uint8> frame(32 * 20 * 3);
  Uint32 fragment = 0;
  OFString colourModel;

  ASSERT_TRUE(pixelData
                  .getUncompressedFrame(compressed.get(), 1, fragment, frame.data(),
                                        static_cast<Uint32>(frame.size()), colourModel)
                  .good());

  EXPECT_EQ(colourModel, "RGB");
  EXPECT_EQ(fragment, 3U);
  EXPECT_EQ(photometricOf(*compressed), "YBR_RCT");
}

/// Decodes frame 0 and gives the condition's text.
std::string decoded(DcmDataset& dataset) {
  return dataset.chooseRepresentation(EXS_LittleEndianExplicit, nullptr).text();
}

/// Decodes samples of 12 bits that the stream calls unsigned and the image signed.
std::vector<int> signedByTheImageAlone(Uint16 bitsStored) {
  const auto image = monochromeImage(2, 2).bitsStored(12).samples({0, 2047, 2048, 4095});
  const auto compressed = jpeg2000::twinOf(*image.build(), {.bits = 12, .levels = 0});
  EXPECT_TRUE(compressed->putAndInsertUint16(DCM_PixelRepresentation, 1).good());
  EXPECT_TRUE(compressed->putAndInsertUint16(DCM_BitsStored, bitsStored).good());
  EXPECT_EQ(decoded(*compressed), "Normal");
  const Uint16* words = nullptr;
  EXPECT_TRUE(compressed->findAndGetUint16Array(DCM_PixelData, words).good());
  return words != nullptr ? std::vector<int>(words, words + 4) : std::vector<int>();
}

TEST_F(Jpeg2000Codec, LeavesTheSignOfAnUnsignedStreamInTheStoredBits) {
  EXPECT_EQ(signedByTheImageAlone(12), (std::vector<int>{0, 2047, 2048, 4095}));
}

TEST_F(Jpeg2000Codec, ExtendsTheSignOfAnUnsignedStreamThatHasFewerBits) {
  EXPECT_EQ(signedByTheImageAlone(13), (std::vector<int>{0, 2047, 0xF800, 0xFFFF}));
}

TEST_F(Jpeg2000Codec, KeepsTheStoredBitsOfASignedStreamWhoseImageIsUnsigned) {
  const auto image = monochromeImage(2, 2).signed16().bitsStored(12).samples({0, 2047, 2048, 4095});
  const auto compressed =
      jpeg2000::twinOf(*image.build(), {.bits = 12, .isSigned = true, .levels = 0});
  ASSERT_TRUE(compressed->putAndInsertUint16(DCM_PixelRepresentation, 0).good());

  ASSERT_EQ(decoded(*compressed), "Normal");

  const Uint16* words = nullptr;
  ASSERT_TRUE(compressed->findAndGetUint16Array(DCM_PixelData, words).good());
  EXPECT_EQ(words[2], 2048);
  EXPECT_EQ(words[3], 4095);
}

TEST_F(Jpeg2000Codec, GivesSubsampledColoursToAllPixelsThatShareThem) {
  std::vector<int> samples;
  for (int i = 0; i < 5 * 3; ++i) {
    samples.insert(samples.end(), {i, 100 + i, 200 + i});
  }
  const auto compressed =
      jpeg2000::twinOf(*rgbImage(5, 3).samples(samples).build(), {.levels = 0, .chroma = 2});

  ASSERT_EQ(decoded(*compressed), "Normal");

  const Uint8* bytes = nullptr;
  ASSERT_TRUE(compressed->findAndGetUint8Array(DCM_PixelData, bytes).good());
  const auto pixel = [&](int x, int y) {
    const Uint8* const at = bytes + 3 * (y * 5 + x);
    return std::vector<int>{at[0], at[1], at[2]};
  };
  EXPECT_EQ(pixel(0, 0), (std::vector<int>{0, 100, 200}));
  EXPECT_EQ(pixel(1, 1), (std::vector<int>{6, 100, 200}));
  EXPECT_EQ(pixel(4, 0), (std::vector<int>{4, 104, 204}));
  EXPECT_EQ(pixel(3, 2), (std::vector<int>{13, 112, 212}));
}

TEST_F(Jpeg2000Codec, IsCloseToALossyImage) {
  const auto native = monochromeImage(64, 64).unsigned8().build();
  const auto compressed = jpeg2000::twinOf(*native, {.ratio = 3});
  const std::string given = processed(*compressed, 0, 0, false);
  const std::string wanted = processed(*native, 0, 0, false);

  ASSERT_EQ(given.size(), wanted.size());
  int largest = 0;
  for (std::size_t i = 0; i < given.size(); ++i) {
    largest = std::max(largest, std::abs(static_cast<unsigned char>(given[i]) -
                                         static_cast<unsigned char>(wanted[i])));
  }
  EXPECT_LE(largest, 16);
  EXPECT_GT(largest, 0) << "this stream was meant to be lossy";
}

struct Damage {
  const char* name;
  const char* text;
  std::function<void(std::vector<Uint8>&)> change;
};

/// Cuts the only tile-part in half and lets its header agree.
void loseHalfOfThePackets(std::vector<Uint8>& stream) {
  stream.resize(stream.size() / 2);
  const std::vector<Uint8> marker = {0xFF, 0x90, 0, 10};
  const auto at = std::search(stream.begin(), stream.end(), marker.begin(), marker.end());
  ASSERT_NE(at, stream.end());
  const auto length = static_cast<Uint32>(stream.end() - at);
  for (unsigned int i = 0; i < 4; ++i) {
    at[6 + static_cast<std::ptrdiff_t>(i)] = static_cast<Uint8>(length >> (24 - 8 * i));
  }
}

class DamagedJpeg2000 : public WithCodecs, public testing::WithParamInterface<Damage> {};

TEST_P(DamagedJpeg2000, IsNotDecoded) {
  const auto compressed =
      jpeg2000::twinOf(*twelveBits().build(), {.bits = 12}, {}, GetParam().change);

  EXPECT_EQ(decoded(*compressed), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Streams, DamagedJpeg2000,
    testing::Values(Damage{"NotJpeg2000", "JPEG 2000 codestream not found",
                           [](std::vector<Uint8>& s) { s[1] = 0xD8; }},
                    Damage{"Cut", "JPEG 2000 tile-part reaches beyond the stream",
                           [](std::vector<Uint8>& s) { s.resize(s.size() / 2); }},
                    Damage{"OfAnotherSize", "JPEG 2000 stream has another size than the image",
                           [](std::vector<Uint8>& s) { s[11] = 68; }},
                    Damage{"OfMissingPackets", "JPEG 2000 stream is damaged",
                           loseHalfOfThePackets}),
    support::nameOf<Damage>);

/// Five frames of colour, one of which has lost half of its packets.
std::unique_ptr<DcmDataset> colourWithADamagedFrame(Uint16 columns) {
  const auto native =
      rgbImage(columns, 20).frames(5).samples(noise(std::size_t{columns} * 20 * 3 * 5, 8)).build();
  int frame = 0;
  return jpeg2000::twinOf(*native, {}, {}, [&frame](std::vector<Uint8>& stream) {
    if (++frame == 4) {
      loseHalfOfThePackets(stream);
    }
  });
}

TEST_F(Jpeg2000Codec, FailsARangeOfColourThatHasADamagedFrame) {
  for (const Uint16 columns : {Uint16{32}, Uint16{33}}) {
    const auto compressed = colourWithADamagedFrame(columns);
    EXPECT_EQ(processed(*compressed, 1, 4, false),
              "DcmPixelData::getUncompressedFrame() failed: JPEG 2000 stream is damaged");
    EXPECT_EQ(processed(*compressed, 3, 3, false),
              "DcmPixelData::getUncompressedFrame() failed: JPEG 2000 stream is damaged");
    EXPECT_EQ(processed(*compressed, 0, 2, false).size(), std::size_t{3} * columns * 20 * 3);
  }
}

TEST_F(Jpeg2000Codec, FailsAllImagesOfColourWhenOneIsDamaged) {
  EXPECT_EQ(processed(*colourWithADamagedFrame(32), -1, -1, false),
            "DcmPixelData::getUncompressedFrame() failed: Pixel representation cannot be changed");
}

TEST_F(Jpeg2000Codec, IsNotHandedAStreamThatPromisesMorePacketsThanItHolds) {
  const auto manyLayers = [](std::vector<Uint8>& stream) {
    const std::vector<Uint8> marker = {0xFF, 0x52};
    const auto at = std::search(stream.begin(), stream.end(), marker.begin(), marker.end());
    at[6] = at[7] = 0xFF;
  };
  const auto grey = jpeg2000::twinOf(*twelveBits().build(), {.bits = 12}, {}, manyLayers);
  EXPECT_EQ(processed(*grey, -1, -1, false), "Pixel data can't be decompressed");
  EXPECT_EQ(processed(*grey, 0, 0, false), "Error decompressing frames");

  const auto rgb = jpeg2000::twinOf(*colour().build(), {}, {}, manyLayers);
  EXPECT_EQ(processed(*rgb, 1, 1, false),
            "DcmPixelData::getUncompressedFrame() failed: Pixel representation cannot be changed");
}

TEST_F(Jpeg2000Codec, DoesNotMissAnEndMarker) {
  const auto native = twelveBits().build();
  const auto compressed = jpeg2000::twinOf(*native, {.bits = 12}, {},
                                           [](std::vector<Uint8>& s) { s.resize(s.size() - 2); });

  EXPECT_EQ(processed(*compressed, -1, -1, false), processed(*native, -1, -1, false));
}

TEST_F(Jpeg2000Codec, RefusesMoreFramesThanThereAre) {
  const auto compressed = jpeg2000::twinOf(*twelveBits().build(), {.bits = 12});
  ASSERT_TRUE(compressed->putAndInsertString(DCM_NumberOfFrames, "4").good());

  EXPECT_EQ(decoded(*compressed), "Pixel representation cannot be changed");
}

TEST_F(Jpeg2000Codec, RefusesSamplesThatTake4GiB) {
  const auto compressed = jpeg2000::twinOf(*twelveBits().build(), {.bits = 12});
  ASSERT_TRUE(compressed->putAndInsertUint16(DCM_Columns, 65535).good());
  ASSERT_TRUE(compressed->putAndInsertUint16(DCM_Rows, 65535).good());

  EXPECT_EQ(decoded(*compressed), "Pixel representation cannot be changed");
}

TEST_F(Jpeg2000Codec, RefusesABufferThatIsTooSmall) {
  const auto compressed = jpeg2000::twinOf(*twelveBits().build(), {.bits = 12});
  DcmElement* element = nullptr;
  ASSERT_TRUE(compressed->findAndGetElement(DCM_PixelData, element).good());
  std::vector<Uint8> frame(67 * 45 * 2 - 2);
  Uint32 fragment = 0;
  OFString colourModel;

  const OFCondition status = dynamic_cast<DcmPixelData&>(*element).getUncompressedFrame(
      compressed.get(), 0, fragment, frame.data(), static_cast<Uint32>(frame.size()), colourModel);

  EXPECT_EQ(status, EC_IllegalCall);
}

TEST_F(Jpeg2000Codec, DoesNotEncode) {
  const auto native = twelveBits().build();

  EXPECT_TRUE(native->chooseRepresentation(EXS_JPEG2000LosslessOnly, nullptr).bad());
}

}  // namespace
