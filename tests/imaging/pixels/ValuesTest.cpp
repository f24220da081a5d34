// SPDX-License-Identifier: BSD-3-Clause
// What decoded samples are: every kind that files hold, in every form that can be asked for.
#include "support/Compression.h"
#include "support/DatasetBuilder.h"
#include "support/ImageBuilder.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>
#include <zrimaging/Error.h>
#include <zrimaging/File.h>
#include <zrimaging/Image.h>
#include <zrimaging/MemoryBudget.h>

namespace {

using support::DatasetBuilder;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using zr::SampleType;
using zr::Values;

/// Samples with their type, as numbers.
struct Decoded {
  SampleType type = SampleType::kU8;
  std::size_t channels = 0;
  std::vector<double> numbers;
  std::vector<zr::Remark> remarks;
};

template <class Sample>
void addNumbers(const zr::SampleArray& samples, std::vector<double>& numbers) {
  for (std::size_t i = 0; i < samples.byteCount() / sizeof(Sample); ++i) {
    Sample sample{};
    std::memcpy(&sample, samples.bytes + i * sizeof(Sample), sizeof(Sample));
    numbers.push_back(static_cast<double>(sample));
  }
}

std::vector<double> numbersOf(const zr::SampleArray& samples) {
  std::vector<double> numbers;
  switch (samples.type) {
    case SampleType::kU8:
      addNumbers<std::uint8_t>(samples, numbers);
      break;
    case SampleType::kS8:
      addNumbers<std::int8_t>(samples, numbers);
      break;
    case SampleType::kU16:
      addNumbers<std::uint16_t>(samples, numbers);
      break;
    case SampleType::kS16:
      addNumbers<std::int16_t>(samples, numbers);
      break;
    case SampleType::kU32:
      addNumbers<std::uint32_t>(samples, numbers);
      break;
    case SampleType::kS32:
      addNumbers<std::int32_t>(samples, numbers);
      break;
    case SampleType::kF32:
      addNumbers<float>(samples, numbers);
      break;
    case SampleType::kF64:
      addNumbers<double>(samples, numbers);
      break;
  }
  return numbers;
}

/// Saves a dataset and decodes its file again.
Decoded decode(const DcmDataset& dataset, Values values,
               std::optional<zr::FrameRange> frames = std::nullopt,
               E_TransferSyntax syntax = EXS_LittleEndianExplicit) {
  const support::TempDir folder;
  support::saveFile(dataset, folder.file("in.dcm"), syntax);
  const zr::Image image{zr::File(folder.file("in.dcm"))};
  zr::DecodedFrames decoded = image.decode({frames, values, false}, {});
  const zr::SampleArray samples = decoded.samples();
  return {samples.type, samples.channels, numbersOf(samples), decoded.takeRemarks()};
}

std::string messageOf(const DcmDataset& dataset, Values values) {
  try {
    (void)decode(dataset, values);
  } catch (const zr::Error& error) {
    return error.what();
  }
  return "decoded";
}

DatasetBuilder imageOf(Uint16 columns, Uint16 rows, Uint16 bits, Uint16 pixelRepresentation) {
  return DatasetBuilder()
      .with(DCM_SOPClassUID, UID_SecondaryCaptureImageStorage)
      .with(DCM_PhotometricInterpretation, "MONOCHROME2")
      .withUint16(DCM_SamplesPerPixel, 1)
      .withUint16(DCM_Rows, rows)
      .withUint16(DCM_Columns, columns)
      .withUint16(DCM_BitsAllocated, bits)
      .withUint16(DCM_BitsStored, bits)
      .withUint16(DCM_HighBit, static_cast<Uint16>(bits - 1))
      .withUint16(DCM_PixelRepresentation, pixelRepresentation);
}

// ---- the stored bits alone
// ------------------------------------------------------------------------

TEST(Samples, AreTheStoredBitsWithTheirSign) {
  const auto image = support::monochromeImage(4, 1)
                         .signed16()
                         .bitsStored(12)
                         .samples({0x0FFF, 0x0800, 0x07FF, 0xF001})
                         .build();

  const Decoded decoded = decode(*image, Values::kSamples);

  EXPECT_EQ(decoded.type, SampleType::kS16);
  EXPECT_THAT(decoded.numbers, ElementsAre(-1, -2048, 2047, 1));
}

TEST(Samples, AreMovedDownFromTheTopOfTheirContainer) {
  const auto image = support::monochromeImage(2, 1)
                         .unsigned16()
                         .bitsStored(12)
                         .highBit(15)
                         .samples({0xFFF0, 0x0010})
                         .build();

  EXPECT_THAT(decode(*image, Values::kSamples).numbers, ElementsAre(4095, 1));
}

TEST(Samples, OfEightBitsKeepTheirSign) {
  const auto image = support::monochromeImage(2, 1).signed8().samples({-1, 127}).build();

  const Decoded decoded = decode(*image, Values::kSamples);

  EXPECT_EQ(decoded.type, SampleType::kS8);
  EXPECT_THAT(decoded.numbers, ElementsAre(-1, 127));
}

TEST(Samples, AreNotMappedByAModalityLut) {
  const auto image =
      support::monochromeImage(2, 1)
          .unsigned8()
          .samples({0, 1})
          .withItem(DCM_ModalityLUTSequence, DatasetBuilder()
                                                 .withUint16s(DCM_LUTDescriptor, {2, 0, 16})
                                                 .with(DCM_ModalityLUTType, "US")
                                                 .withWords(DCM_LUTData, {700, 900}))
          .build();

  EXPECT_THAT(decode(*image, Values::kSamples).numbers, ElementsAre(0, 1));
  EXPECT_THAT(decode(*image, Values::kUnsigned).numbers, ElementsAre(700, 900));
  EXPECT_THAT(decode(*image, Values::kModality).numbers, ElementsAre(700, 900));
}

// ---- samples of one bit
// -----------------------------------------------------------------------------

/// Three frames of 3 x 3 pixels: 27 bits, so that frames begin within bytes. Frame 0 has its first
/// pixel set, frame 1 its middle, frame 2 its last.
std::unique_ptr<DcmDataset> bits() {
  return imageOf(3, 3, 1, 0)
      .with(DCM_NumberOfFrames, "3")
      .withBytes(DCM_PixelData, {0x01, 0x20, 0x00, 0x04})
      .build();
}

TEST(SamplesOfOneBit, TakeAByteEach) {
  const Decoded decoded = decode(*bits(), Values::kSamples, zr::FrameRange{0, 0});

  EXPECT_EQ(decoded.type, SampleType::kU8);
  EXPECT_THAT(decoded.numbers, ElementsAre(1, 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST(SamplesOfOneBit, AreFoundInFramesThatBeginWithinAByte) {
  EXPECT_THAT(decode(*bits(), Values::kStored, zr::FrameRange{1, 1}).numbers,
              ElementsAre(0, 0, 0, 0, 1, 0, 0, 0, 0));
  EXPECT_THAT(decode(*bits(), Values::kUnsigned, zr::FrameRange{2, 2}).numbers,
              ElementsAre(0, 0, 0, 0, 0, 0, 0, 0, 1));
}

TEST(SamplesOfOneBit, AreRefusedWhenTheyEndEarly) {
  const auto image =
      imageOf(3, 3, 1, 0).with(DCM_NumberOfFrames, "3").withBytes(DCM_PixelData, {1, 2}).build();

  EXPECT_EQ(messageOf(*image, Values::kSamples),
            "Pixel data incomplete, expected 4 bytes, found 2 bytes");
}

// ---- samples of 32 bits and floating-point numbers
// --------------------------------------------------

std::unique_ptr<DcmDataset> wide(Uint16 pixelRepresentation) {
  return imageOf(2, 1, 32, pixelRepresentation)
      .withWords(DCM_PixelData, {0x0001, 0x0002, 0xFFFF, 0xFFFF})
      .build();
}

TEST(SamplesOfThirtyTwoBits, AreNumbersWithoutSign) {
  const Decoded decoded = decode(*wide(0), Values::kSamples);

  EXPECT_EQ(decoded.type, SampleType::kU32);
  EXPECT_THAT(decoded.numbers, ElementsAre(0x20001, 4294967295.0));
}

TEST(SamplesOfThirtyTwoBits, KeepTheirSign) {
  const Decoded decoded = decode(*wide(1), Values::kSamples);

  EXPECT_EQ(decoded.type, SampleType::kS32);
  EXPECT_THAT(decoded.numbers, ElementsAre(0x20001, -1));
}

TEST(SamplesOfThirtyTwoBits, AreShiftedWhenAskedForAsUnsigned) {
  const Decoded decoded = decode(*wide(1), Values::kUnsigned);

  EXPECT_EQ(decoded.type, SampleType::kU32);
  EXPECT_THAT(decoded.numbers, ElementsAre(2147483648.0 + 0x20001, 2147483647));
}

TEST(SamplesOfThirtyTwoBits, HaveTheirWordsInOrderInBigEndianFiles) {
  // As DCMTK holds the words, the high one comes first.
  const auto image =
      imageOf(2, 1, 32, 0).withWords(DCM_PixelData, {0x0002, 0x0001, 0, 0x0007}).build();

  EXPECT_THAT(decode(*image, Values::kSamples, std::nullopt, EXS_BigEndianExplicit).numbers,
              ElementsAre(0x20001, 7));
}

TEST(SamplesOfThirtyTwoBits, AreDoseWithItsScaling) {
  const auto image = imageOf(2, 1, 32, 0)
                         .with(DCM_SOPClassUID, UID_RTDoseStorage)
                         .with(DCM_DoseGridScaling, "0.001")
                         .with(DCM_DoseUnits, "GY")
                         .withWords(DCM_PixelData, {2000, 0, 0, 1})
                         .build();

  const Decoded decoded = decode(*image, Values::kModality);

  EXPECT_EQ(decoded.type, SampleType::kF32);
  EXPECT_THAT(decoded.numbers, ElementsAre(2, 65.536F));
}

std::unique_ptr<DcmDataset> floats() {
  auto image = imageOf(2, 1, 32, 0).build();
  auto element = std::make_unique<DcmOtherFloat>(DcmTag(DCM_FloatPixelData));
  const Float32 values[] = {0.5F, -3e30F};
  EXPECT_TRUE(element->putFloat32Array(values, 2).good());
  EXPECT_TRUE(image->insert(element.release()).good());
  return image;
}

TEST(FloatPixelData, IsDecodedAsItIs) {
  const Decoded decoded = decode(*floats(), Values::kSamples);

  EXPECT_EQ(decoded.type, SampleType::kF32);
  EXPECT_THAT(decoded.numbers, ElementsAre(0.5, -3e30F));
}

TEST(FloatPixelData, HasNoUnsignedForm) {
  EXPECT_EQ(messageOf(*floats(), Values::kUnsigned),
            "has floating-point samples, which have no unsigned form; ask for samples or modality "
            "values");
}

TEST(DoubleFloatPixelData, IsDecodedAsItIs) {
  auto image = imageOf(2, 1, 64, 0).build();
  auto element = std::make_unique<DcmOtherDouble>(DcmTag(DCM_DoubleFloatPixelData));
  const Float64 values[] = {1e300, -0.25};
  ASSERT_TRUE(element->putFloat64Array(values, 2).good());
  ASSERT_TRUE(image->insert(element.release()).good());

  const Decoded decoded = decode(*image, Values::kStored);

  EXPECT_EQ(decoded.type, SampleType::kF64);
  EXPECT_THAT(decoded.numbers, ElementsAre(1e300, -0.25));
}

// ---- modality values
// --------------------------------------------------------------------------------

TEST(ModalityValues, AreSamplesThroughTheRescaleLine) {
  const auto image = support::ctSlice(2, 1)
                         .signed16()
                         .bitsStored(12)
                         .samples({0x0FFF, 100})
                         .rescale("2", "-1024")
                         .build();

  const Decoded decoded = decode(*image, Values::kModality);

  EXPECT_EQ(decoded.type, SampleType::kF32);
  EXPECT_THAT(decoded.numbers, ElementsAre(-1026, -824));
  EXPECT_THAT(decoded.remarks, IsEmpty());
}

TEST(ModalityValues, SayWhenNothingMapsTheSamples) {
  const auto image = support::monochromeImage(2, 1).unsigned8().samples({1, 2}).build();

  const Decoded decoded = decode(*image, Values::kModality);

  EXPECT_THAT(decoded.numbers, ElementsAre(1, 2));
  ASSERT_THAT(decoded.remarks, SizeIs(1));
  EXPECT_EQ(decoded.remarks[0].text,
            "does not say how samples become modality values: they are left as they are");
}

TEST(ModalityValues, AreNoColours) {
  EXPECT_EQ(messageOf(*support::rgbImage(2, 1).build(), Values::kModality),
            "has colours, which have no modality values; ask for samples");
}

// ---- colours
// ----------------------------------------------------------------------------------------

TEST(SamplesOfColour, KeepTheirDepth) {
  const auto image =
      support::rgbImage(2, 1).unsigned16().samples({1000, 2000, 3000, 4, 5, 6}).build();

  const Decoded decoded = decode(*image, Values::kSamples);

  EXPECT_EQ(decoded.type, SampleType::kU16);
  EXPECT_EQ(decoded.channels, 3U);
  EXPECT_THAT(decoded.numbers, ElementsAre(1000, 2000, 3000, 4, 5, 6));
}

TEST(SamplesOfColour, AreTakenOutOfTheirPlanes) {
  const auto image =
      support::rgbImage(2, 1).unsigned16().planar(1).samples({1000, 4, 2000, 5, 3000, 6}).build();

  EXPECT_THAT(decode(*image, Values::kSamples).numbers, ElementsAre(1000, 2000, 3000, 4, 5, 6));
}

TEST(SamplesOfColour, KeepTheirDepthInRle) {
  const auto native =
      support::rgbImage(2, 1).unsigned16().samples({1000, 2000, 3000, 4, 5, 6}).build();

  const Decoded decoded = decode(*support::compress(*native, EXS_RLELossless), Values::kSamples,
                                 std::nullopt, EXS_RLELossless);

  EXPECT_THAT(decoded.numbers, ElementsAre(1000, 2000, 3000, 4, 5, 6));
}

TEST(SamplesOfColour, AreRgbOfEightBitsWhenAskedForAsUnsigned) {
  const auto image =
      support::rgbImage(2, 1).unsigned16().samples({0xFFFF, 0x8000, 0, 0, 0, 0x0100}).build();

  const Decoded decoded = decode(*image, Values::kUnsigned);

  EXPECT_EQ(decoded.type, SampleType::kU8);
  EXPECT_THAT(decoded.numbers, ElementsAre(255, 128, 0, 0, 0, 1));
}

// Y 1000, Cb and Cr in the middle of the range: grey. @see PS3.3 C.7.6.3.1.2
TEST(SamplesOfColour, AreRgbOfYbrInTheirDepth) {
  const auto image = support::rgbImage(1, 1)
                         .unsigned16()
                         .photometric("YBR_FULL")
                         .samples({1000, 0x8000, 0x8000})
                         .build();

  EXPECT_THAT(decode(*image, Values::kSamples).numbers, ElementsAre(1000, 1000, 1000));
  EXPECT_THAT(decode(*image, Values::kStored).numbers, ElementsAre(1000, 0x8000, 0x8000));
}

std::unique_ptr<DcmDataset> paletteOfSixteenBits() {
  return support::paletteImage(3, 1)
      .unsigned8()
      .samples({9, 10, 12})
      .withUint16s(DCM_RedPaletteColorLookupTableDescriptor, {2, 10, 16})
      .withUint16s(DCM_GreenPaletteColorLookupTableDescriptor, {2, 10, 16})
      .withUint16s(DCM_BluePaletteColorLookupTableDescriptor, {2, 10, 16})
      .withWords(DCM_RedPaletteColorLookupTableData, {1001, 2001})
      .withWords(DCM_GreenPaletteColorLookupTableData, {1002, 2002})
      .withWords(DCM_BluePaletteColorLookupTableData, {1003, 2003})
      .build();
}

// Indices before the first entry mean it, those behind the last one mean that. @see PS3.3
// C.7.6.3.1.5
TEST(SamplesOfAPalette, AreItsEntriesInTheirDepth) {
  const Decoded decoded = decode(*paletteOfSixteenBits(), Values::kSamples);

  EXPECT_EQ(decoded.type, SampleType::kU16);
  EXPECT_THAT(decoded.numbers, ElementsAre(1001, 1002, 1003, 1001, 1002, 1003, 2001, 2002, 2003));
}

TEST(SamplesOfAPalette, AreIndicesAsTheyAreStored) {
  const Decoded decoded = decode(*paletteOfSixteenBits(), Values::kStored);

  EXPECT_EQ(decoded.channels, 1U);
  EXPECT_THAT(decoded.numbers, ElementsAre(9, 10, 12));
}

// ---- what is shown
// ----------------------------------------------------------------------------------

TEST(DisplayedValues, AreGreysThroughTheWindow) {
  const auto image = support::ctSlice(3, 1)
                         .signed16()
                         .samples({-1000, 40, 1000})
                         .rescale("1", "0")
                         .window("40", "400")
                         .build();

  const Decoded decoded = decode(*image, Values::kDisplay);

  EXPECT_EQ(decoded.type, SampleType::kU8);
  EXPECT_THAT(decoded.numbers, ElementsAre(0, 128, 255));
}

TEST(DisplayedValues, AreTurnedRoundWhereDarkIsHigh) {
  const auto image = support::monochromeImage(2, 1)
                         .unsigned8()
                         .photometric("MONOCHROME1")
                         .samples({0, 255})
                         .build();

  EXPECT_THAT(decode(*image, Values::kDisplay).numbers, ElementsAre(255, 0));
}

TEST(DecodedValues, TakeNoMoreMemoryThanTheyMay) {
  const support::TempDir folder;
  support::saveFile(*support::monochromeImage(16, 16).unsigned8().build(), folder.file("in.dcm"));
  const zr::Image image{zr::File(folder.file("in.dcm"))};

  try {
    (void)image.decode({std::nullopt, Values::kModality, false}, zr::MemoryBudget{1023});
    FAIL() << "256 numbers of 4 bytes";
  } catch (const zr::Error& error) {
    EXPECT_EQ(error.reason(), zr::Reason::TooLarge);
    EXPECT_STREQ(error.what(),
                 "takes 1024 bytes once it is decoded; the memory budget allows 1023 bytes");
  }
}

}  // namespace
