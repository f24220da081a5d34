// SPDX-License-Identifier: BSD-3-Clause
// Headers that promise more than there is coded data for, and sizes that decoders cannot count.
// Each must be refused before memory is taken.
#include "streams/StreamFixtures.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using decoding::decodeAll;
using decoding::decodeInto;
using decoding::decodeRange;
using decoding::Outcome;
using streams::find;
using streams::Fragment;
using streams::kDirectRefused;
using streams::kFrameRefused;
using streams::kNothingToRender;
using streams::kSixtyFourMebibytes;
using streams::kTooLarge;
using streams::kWholeRefused;
using streams::peakOfAddressSpace;
using streams::streamOf;
using streams::upToCodedData;
using support::ImageBuilder;
using support::monochromeImage;
using support::paletteImage;
using support::rgbImage;

/// A stream of which nothing is left between the header of its only scan and its end.
Fragment withoutCodedData(const Fragment& stream) {
  return streams::joined({upToCodedData(stream), streams::kEnd});
}

/// The stream with other sizes in its frame header, whose marker is given.
Fragment ofSize(Fragment stream, Uint8 marker, Uint16 size) {
  auto field = find(stream, {0xFF, marker}) + 5;
  for (int i = 0; i < 2; ++i) {
    *field++ = static_cast<Uint8>(size >> 8);
    *field++ = static_cast<Uint8>(size & 0xFF);
  }
  return stream;
}

struct Stream {
  const char* name;
  E_TransferSyntax syntax;
  Uint8 marker;  ///< of its frame header
};

class HostilePromise : public testing::TestWithParam<Stream> {
protected:
  static Fragment emptyStreamOf(const ImageBuilder& builder) {
    return withoutCodedData(streamOf(builder, GetParam().syntax));
  }
};

// The decoders of JPEG would make grey of it, with success.
TEST_P(HostilePromise, IsRefused) {
  const ImageBuilder grey = monochromeImage(48, 48).unsigned8();
  const ImageBuilder rgb = rgbImage(48, 48);
  const E_TransferSyntax syntax = GetParam().syntax;
  const auto monochrome = decoding::encapsulate(*grey.build(), syntax, {emptyStreamOf(grey)});
  const auto colour = decoding::encapsulate(*rgb.build(), syntax, {emptyStreamOf(rgb)});
  const auto palette =
      decoding::encapsulate(*paletteImage(48, 48).build(), syntax, {emptyStreamOf(grey)});

  EXPECT_EQ(decodeRange(*monochrome, 0, 0).errorText, kFrameRefused);
  EXPECT_EQ(decodeAll(*monochrome).errorText, kWholeRefused);
  EXPECT_EQ(decodeRange(*palette, 0, 0).errorText, kNothingToRender);
  EXPECT_EQ(decodeAll(*palette).errorText, kNothingToRender);
  EXPECT_EQ(decodeRange(*colour, 0, 0).errorText, kDirectRefused);
  EXPECT_EQ(decodeAll(*colour).errorText, kDirectRefused);
}

// A few hundred bytes whose headers agree on 20,000 x 20,000 pixels.
TEST_P(HostilePromise, TakesNoMemoryForThePromisesOfHeaders) {
  constexpr Uint16 kLarge = 20000;
  const ImageBuilder small = monochromeImage(48, 48).unsigned8();
  const Fragment stream = ofSize(emptyStreamOf(small), GetParam().marker, kLarge);
  for (const ImageBuilder& builder : {small, paletteImage(48, 48)}) {
    const auto dataset = decoding::encapsulate(*builder.build(), GetParam().syntax, {stream});
    ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Rows, kLarge).good());
    ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Columns, kLarge).good());
    const long before = peakOfAddressSpace();

    EXPECT_FALSE(decodeRange(*dataset, 0, 0).done);
    EXPECT_FALSE(decodeAll(*dataset).done);

    EXPECT_LT(peakOfAddressSpace() - before, kSixtyFourMebibytes);
  }
}

INSTANTIATE_TEST_SUITE_P(Streams, HostilePromise,
                         testing::Values(Stream{"Baseline", EXS_JPEGProcess1, 0xC0},
                                         Stream{"Extended", EXS_JPEGProcess2_4, 0xC1},
                                         Stream{"Progressive", EXS_JPEGProcess10_12, 0xC2},
                                         Stream{"Lossless", EXS_JPEGProcess14SV1, 0xC3},
                                         Stream{"JpegLs", EXS_JPEGLSLossless, 0xF7}),
                         support::nameOf<Stream>);

TEST(HostileSize, ARangeOfFramesWithoutDataTakesNoMemory) {
  constexpr int kFrames = 400;
  const ImageBuilder grey =
      monochromeImage(1024, 1024).unsigned8().samples(std::vector<int>(1024 * 1024));
  const ImageBuilder rgb = rgbImage(1024, 1024).samples(std::vector<int>(3 * 1024 * 1024));
  for (const ImageBuilder& builder : {grey, rgb}) {
    for (const E_TransferSyntax syntax : {EXS_RLELossless, EXS_JPEGProcess1, EXS_JPEGLSLossless}) {
      std::vector<Fragment> fragments(kFrames);
      fragments[0] = streamOf(builder, syntax);
      const auto dataset = decoding::encapsulate(
          *ImageBuilder(builder).with(DCM_NumberOfFrames, std::to_string(kFrames)).build(), syntax,
          fragments);
      EXPECT_TRUE(decodeRange(*dataset, 0, 0).done) << syntax;
      const long before = peakOfAddressSpace();

      EXPECT_FALSE(decodeRange(*dataset, 0, kFrames - 1).done) << syntax;

      EXPECT_LT(peakOfAddressSpace() - before, kSixtyFourMebibytes) << syntax;
    }
  }
}

TEST(HostileSize, NativeColourOfMoreThanFourGigabytesInSeveralFramesIsRefused) {
  constexpr Uint16 kLarge = 30000;  // 2.7 GB a frame
  const auto dataset = rgbImage(24, 24).frames(2).build();
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Rows, kLarge).good());
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Columns, kLarge).good());
  std::vector<unsigned char> target(24);

  const Outcome all = decodeAll(*dataset);

  EXPECT_EQ(all.errorText, kTooLarge);
  EXPECT_EQ(all.slice.samplesPerPixel, 3);
  EXPECT_EQ(all.slice.bytesPerSample, 1);
  EXPECT_EQ(decodeRange(*dataset, 0, 1).errorText, kTooLarge);
  EXPECT_EQ(decodeInto(target, *dataset, 0, 1).errorText, kTooLarge);
}

// 4 GiB are too many, 196,608 bytes less are not.
TEST(HostileSize, NativeColourOfSeveralFramesEndsAtFourGigabytes) {
  const auto dataset = rgbImage(24, 24).frames(2).build();
  std::vector<unsigned char> target(24);
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Columns, 32768).good());
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Rows, 21846).good());
  EXPECT_EQ(decodeInto(target, *dataset, 0, 1).errorText, kTooLarge);

  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Rows, 21845).good());
  EXPECT_NE(decodeInto(target, *dataset, 0, 1).errorText, kTooLarge);
}

// --- Sizes that decoders cannot count

/// Two frames that are no larger than others, but say so: each can be counted, both together
/// cannot.
std::unique_ptr<DcmDataset> largeFrames(const ImageBuilder& builder, Uint16 rowsAndColumns) {
  auto dataset = support::compress(*builder.build(), EXS_RLELossless);
  EXPECT_TRUE(dataset->putAndInsertUint16(DCM_Rows, rowsAndColumns).good());
  EXPECT_TRUE(dataset->putAndInsertUint16(DCM_Columns, rowsAndColumns).good());
  return dataset;
}

TEST(HostileSize, CompressedFramesOfMoreThanFourGigabytesAreRefused) {
  const auto monochrome = largeFrames(monochromeImage(24, 24).unsigned8().frames(2), 50000);
  const auto colour = largeFrames(rgbImage(24, 24).frames(2), 30000);

  EXPECT_EQ(decodeAll(*monochrome).errorText, kWholeRefused);
  EXPECT_EQ(decodeAll(*colour).errorText, kTooLarge);
  EXPECT_EQ(decodeRange(*colour, 0, 0).errorText, kDirectRefused);
}

// 4,294,967,295 bytes: made even in 32 bits they are none.
TEST(HostileSize, CompressedFramesOfAnOddNumberOfBytesBelowFourGigabytesAreRefused) {
  const ImageBuilder line = monochromeImage(65535, 1).unsigned8().samples(std::vector<int>(65535));
  const Fragment stream = streamOf(line, EXS_JPEGLSLossless);
  const auto dataset =
      decoding::encapsulate(*ImageBuilder(line).with(DCM_NumberOfFrames, "65537").build(),
                            EXS_JPEGLSLossless, std::vector<Fragment>(65537, stream));

  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
}

TEST(HostileSize, ARenderedFrameOfMoreThanFourGigabytesIsRefused) {
  const auto dataset = support::compress(*paletteImage(24, 24).build(), EXS_RLELossless);
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Rows, 65535).good());
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Columns, 65535).good());
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_BitsAllocated, 16).good());

  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, kTooLarge);
  EXPECT_EQ(decodeAll(*dataset).errorText, kTooLarge);
}

}  // namespace
