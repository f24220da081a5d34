// SPDX-License-Identifier: BSD-3-Clause
// Compressed data of an unusual form that is right all the same, and what decoding it does to the
// samples that are there already.
#include "SliceDecodingFixtures.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"
#include "dcmtk/dcmjpls/djencode.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

using decoding::decodeAll;
using decoding::decodeInto;
using decoding::decodeRange;
using decoding::Outcome;
using decoding::samplesOf;
using support::ImageBuilder;
using support::monochromeImage;
using support::rgbImage;

// --- Presets of JPEG-LS

struct Preset {
  const char* name;
  Uint16 reset;
  DJLSCodecParameter::interleaveMode interleave;
  ImageBuilder builder;
};

class SliceDecodingJpegLsPreset : public testing::TestWithParam<Preset> {
protected:
  /// The encoder of every other test has its usual parameters again afterwards.
  static std::unique_ptr<DcmDataset> encode() {
    DJLSEncoderRegistration::cleanup();
    DJLSEncoderRegistration::registerCodecs(0, 0, 0, GetParam().reset, OFFalse, 0, OFTrue,
                                            EJLSUC_default, OFFalse, GetParam().interleave);
    auto dataset = support::compress(*GetParam().builder.build(), EXS_JPEGLSLossless);
    DJLSEncoderRegistration::cleanup();
    return dataset;
  }
};

TEST_P(SliceDecodingJpegLsPreset, GivesTheSamplesThatWereStored) {
  const std::vector<int> stored = samplesOf(decodeAll(*GetParam().builder.build()).slice);
  const auto dataset = encode();

  const Outcome frame = decodeRange(*dataset, 0, 0);
  const Outcome all = decodeAll(*dataset);

  ASSERT_TRUE(frame.done) << frame.errorText;
  EXPECT_EQ(samplesOf(frame.slice), stored);
  ASSERT_TRUE(all.done) << all.errorText;
  EXPECT_EQ(samplesOf(all.slice), stored);
}

const ImageBuilder kGrey8 = monochromeImage(48, 40).unsigned8();
const ImageBuilder kGrey16 = monochromeImage(48, 40).unsigned16();
const ImageBuilder kGrey12 = monochromeImage(48, 40).unsigned16().bitsStored(12);

INSTANTIATE_TEST_SUITE_P(
    Presets, SliceDecodingJpegLsPreset,
    testing::Values(Preset{"Grey8Reset3", 3, DJLSCodecParameter::interleaveDefault, kGrey8},
                    Preset{"Grey8Reset32", 32, DJLSCodecParameter::interleaveDefault, kGrey8},
                    Preset{"Grey8Reset255", 255, DJLSCodecParameter::interleaveDefault, kGrey8},
                    Preset{"Grey12Reset63", 63, DJLSCodecParameter::interleaveDefault, kGrey12},
                    Preset{"Grey16Reset63", 63, DJLSCodecParameter::interleaveDefault, kGrey16},
                    Preset{"Grey16Reset255", 255, DJLSCodecParameter::interleaveDefault, kGrey16},
                    Preset{"RgbByLine", 32, DJLSCodecParameter::interleaveLine, rgbImage(48, 40)}),
    support::nameOf<Preset>);

// --- Number of Frames beyond 16 bits

struct Promise {
  const char* name;
  E_TransferSyntax syntax;
  ImageBuilder builder;
};

class SliceDecodingPromise : public testing::TestWithParam<Promise> {};

// Decoders believe the fragments, not Number of Frames, of which 16 bits count.
TEST_P(SliceDecodingPromise, OfSixteenBitsAndAFrameIsAPromiseOfOne) {
  const auto dataset = support::compress(*GetParam().builder.build(), GetParam().syntax);
  const std::vector<int> stored = samplesOf(
      decodeAll(*support::compress(*GetParam().builder.build(), GetParam().syntax)).slice);
  for (const char* const frames : {"65536", "65537", "2147418113"}) {
    const auto copy = std::make_unique<DcmDataset>(*dataset);
    ASSERT_TRUE(copy->putAndInsertString(DCM_NumberOfFrames, frames).good());

    const Outcome outcome = decodeAll(*copy);

    ASSERT_TRUE(outcome.done) << frames << ": " << outcome.errorText;
    EXPECT_EQ(outcome.slice.extent.z, 1) << frames;
    EXPECT_EQ(samplesOf(outcome.slice), stored) << frames;
  }
}

INSTANTIATE_TEST_SUITE_P(Images, SliceDecodingPromise,
                         testing::Values(Promise{"GreyRle", EXS_RLELossless, kGrey16},
                                         Promise{"GreyJpeg", EXS_JPEGProcess14SV1, kGrey16},
                                         Promise{"GreyJpegLs", EXS_JPEGLSLossless, kGrey16},
                                         Promise{"RgbRle", EXS_RLELossless, rgbImage(48, 40)},
                                         Promise{"RgbJpeg", EXS_JPEGProcess1, rgbImage(48, 40)},
                                         Promise{"RgbJpegLs", EXS_JPEGLSLossless,
                                                 rgbImage(48, 40)}),
                         support::nameOf<Promise>);

TEST(SliceDecodingCompressed, PromisesOfFramesThatAreNotThereTakeNoMemory) {
  // 65535 frames of 1000 x 1000 pixels would be 65 and 197 GB.
  const auto grey =
      support::compress(*monochromeImage(1000, 1000).unsigned8().build(), EXS_RLELossless);
  ASSERT_TRUE(grey->putAndInsertString(DCM_NumberOfFrames, "65535").good());
  const auto colour = support::compress(*rgbImage(1000, 1000).build(), EXS_RLELossless);
  ASSERT_TRUE(colour->putAndInsertString(DCM_NumberOfFrames, "65535").good());

  EXPECT_EQ(decodeAll(*grey).errorText,
            "Pixel data incomplete, expected 65535000000 bytes, found 1000000 bytes");
  EXPECT_EQ(decodeAll(*colour).errorText,
            "pixel data has an unsupported uncompressed size of more than 4GB");
}

// --- Samples that an earlier slice points at

TEST(SliceDecodingCompressed, AFailureLeavesTheSamplesOfAnEarlierSliceAlone) {
  const ImageBuilder builder = monochromeImage(48, 40).unsigned16().frames(2);
  const auto dataset = support::compress(*builder.build(), EXS_RLELossless);
  const Outcome earlier = decodeAll(*dataset);
  ASSERT_TRUE(earlier.done) << earlier.errorText;
  const std::vector<int> samples = samplesOf(earlier.slice);
  // As an application does that is about to write the dataset as it came.
  ASSERT_TRUE(dataset->chooseRepresentation(EXS_RLELossless, nullptr).good());
  std::vector<unsigned char> tooSmall(1);

  EXPECT_FALSE(decodeInto(tooSmall, *dataset, 0, 0).done);

  DcmElement* element = nullptr;
  ASSERT_TRUE(dataset->findAndGetElement(DCM_PixelData, element).good());
  EXPECT_TRUE(
      dynamic_cast<DcmPixelData&>(*element).hasRepresentation(EXS_LittleEndianExplicit, nullptr));
  EXPECT_EQ(samplesOf(earlier.slice), samples);
}

}  // namespace
