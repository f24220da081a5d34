// SPDX-License-Identifier: BSD-3-Clause
// Images of one value, the smallest streams that there are, from every encoder of DCMTK: none may
// be taken for a stream that lacks coded data. Zeros in JPEG-LS take exactly the fewest bits.
//
// ZRDCMEXPORT_LARGEST_CONSTANT_IMAGE=16384 tries squares up to that size, too (minutes, gigabytes).
#include "streams/CodecGuard.h"
#include "streams/CodedBounds.h"
#include "streams/FragmentStream.h"
#include "streams/Fragments.h"
#include "streams/Jpeg.h"
#include "streams/JpegLs.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"

#include <zrdcmexport/ZrSliceImage.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

const bool kSilent = support::silenceDcmtk();

constexpr int kAllFrames = -1;

struct Encoding {
  const char* name;
  E_TransferSyntax syntax;
  int predictor;  ///< of lossless JPEG; 0 for that of the syntax
  bool isFor16Bits;
};

struct Size {
  Uint16 columns;
  Uint16 rows;
};

std::vector<Size> sizes() {
  std::vector<Size> all = {{1, 1},    {1, 2},     {2, 1},     {7, 1},     {1, 9},      {8, 8},
                           {9, 17},   {63, 65},   {64, 64},   {255, 3},   {129, 127},  {1024, 1},
                           {1, 1024}, {500, 333}, {65500, 1}, {1, 65500}, {2048, 2048}};
  const char* const wanted = std::getenv("ZRDCMEXPORT_LARGEST_CONSTANT_IMAGE");
  const int largest = wanted != nullptr ? std::atoi(wanted) : 0;
  for (int side = 4096; side <= largest; side *= 2) {
    all.push_back({static_cast<Uint16>(side), static_cast<Uint16>(side)});
  }
  return all;
}

std::unique_ptr<DcmDataset> constantImage(const Size& size, bool isColour, bool has16Bits) {
  const std::size_t pixels = std::size_t{size.columns} * size.rows;
  auto builder = isColour ? support::rgbImage(size.columns, size.rows)
                          : support::monochromeImage(size.columns, size.rows);
  if (has16Bits) {
    builder.unsigned16().withPixels16(std::vector<Uint16>(pixels));
  } else {
    std::vector<Uint8> containers(isColour ? 3 * pixels : pixels);
    containers.resize(containers.size() + containers.size() % 2);
    builder.unsigned8().withPixels8(containers);
  }
  return builder.build();
}

std::unique_ptr<DcmDataset> encode(const DcmDataset& dataset, const Encoding& encoding) {
  return encoding.predictor > 0 ? support::compressWithPredictor(dataset, encoding.predictor)
                                : support::compress(dataset, encoding.syntax);
}

bool isAllZero(const Zrg::SliceImage& slice) {
  const char* const samples = Zrg::firstSample(slice);
  const auto bytes = static_cast<std::size_t>(slice.extent.x * slice.extent.y) *
                     slice.samplesPerPixel * slice.bytesPerSample;
  return std::all_of(samples, samples + bytes, [](char byte) { return byte == 0; });
}

/// Whether DCMTK's encoder keeps to its buffer, which in near-lossless JPEG-LS is as large as the
/// samples are: the headers of a stream (29 bytes, 41 of colour) do not fit into that of a few.
bool isSafelyEncoded(const Size& size, const Encoding& encoding) {
  constexpr unsigned int kFewestPixels = 64;
  return encoding.syntax != EXS_JPEGLSLossy || 1U * size.columns * size.rows >= kFewestPixels;
}

class ConstantImages : public testing::TestWithParam<Encoding> {
protected:
  static void expectDecoded(DcmDataset& dataset) {
    for (const int first : {0, kAllFrames}) {
      Zrg::SliceImage slice;
      std::string errorText;
      ASSERT_TRUE(slice.process(dataset, errorText, first, 0, nullptr, 0)) << errorText;
      EXPECT_TRUE(isAllZero(slice));
    }
  }
};

class ConstantColour : public ConstantImages {};

TEST_P(ConstantImages, OfGreyAreDecoded) {
  for (const Size& size : sizes()) {
    if (!isSafelyEncoded(size, GetParam())) {
      continue;
    }
    SCOPED_TRACE(std::to_string(size.columns) + " x " + std::to_string(size.rows));
    expectDecoded(*encode(*constantImage(size, false, GetParam().isFor16Bits), GetParam()));
  }
}

TEST_P(ConstantColour, IsDecoded) {
  for (const Size& size : sizes()) {
    if (!isSafelyEncoded(size, GetParam())) {
      continue;
    }
    SCOPED_TRACE(std::to_string(size.columns) + " x " + std::to_string(size.rows));
    expectDecoded(*encode(*constantImage(size, true, false), GetParam()));
  }
}

const auto kOf8Bits = testing::Values(Encoding{"Rle", EXS_RLELossless, 0, false},
                                      Encoding{"Baseline", EXS_JPEGProcess1, 0, false},
                                      Encoding{"Extended", EXS_JPEGProcess2_4, 0, false},
                                      Encoding{"SpectralSelection", EXS_JPEGProcess6_8, 0, false},
                                      Encoding{"Progressive", EXS_JPEGProcess10_12, 0, false},
                                      Encoding{"Lossless", EXS_JPEGProcess14SV1, 0, false},
                                      Encoding{"Predictor2", EXS_JPEGProcess14, 2, false},
                                      Encoding{"Predictor7", EXS_JPEGProcess14, 7, false},
                                      Encoding{"JpegLs", EXS_JPEGLSLossless, 0, false},
                                      Encoding{"JpegLsNear", EXS_JPEGLSLossy, 0, false});

INSTANTIATE_TEST_SUITE_P(Of8Bits, ConstantImages, kOf8Bits, support::nameOf<Encoding>);
INSTANTIATE_TEST_SUITE_P(Of8Bits, ConstantColour, kOf8Bits, support::nameOf<Encoding>);

// Without near-lossless JPEG-LS: DCMTK's encoder crashes over 16 bits.
INSTANTIATE_TEST_SUITE_P(Of16Bits, ConstantImages,
                         testing::Values(Encoding{"Rle", EXS_RLELossless, 0, true},
                                         Encoding{"Lossless", EXS_JPEGProcess14SV1, 0, true},
                                         Encoding{"Predictor4", EXS_JPEGProcess14, 4, true},
                                         Encoding{"Predictor6", EXS_JPEGProcess14, 6, true},
                                         Encoding{"JpegLs", EXS_JPEGLSLossless, 0, true}),
                         support::nameOf<Encoding>);

/// Coded bits of the only frame, and the fewest that it may have.
struct Bits {
  unsigned long long coded;
  unsigned long long least;
};

std::optional<Bits> bitsOfJpegLs(DcmDataset& dataset) {
  DcmElement* element = nullptr;
  (void)dataset.findAndGetElement(DCM_PixelData, element);  // the cast says so
  DcmPixelSequence* sequence = nullptr;
  (void)dynamic_cast<DcmPixelData&>(*element).getEncapsulatedRepresentation(EXS_JPEGLSLossless,
                                                                            nullptr, sequence);
  Zrg::Fragments fragments(*sequence);
  Zrg::FragmentStream stream(fragments, 1, fragments.count());
  const auto image = Zrg::passJpegLsImage(stream);
  return image ? std::optional(Bits{8 * image->codedBytes,
                                    Zrg::leastJpegLsBits(image->header, image->interleaveMode)})
               : std::nullopt;
}

// A bit is stuffed into every second byte of a row of ones, and each plane fills its last byte.
TEST(LeastJpegLsBits, AreWhatZerosTake) {
  for (const bool isColour : {false, true}) {
    for (const Size& size : sizes()) {
      SCOPED_TRACE(std::to_string(size.columns) + " x " + std::to_string(size.rows));
      const auto dataset =
          support::compress(*constantImage(size, isColour, false), EXS_JPEGLSLossless);

      const std::optional<Bits> bits = bitsOfJpegLs(*dataset);

      ASSERT_TRUE(bits.has_value());
      EXPECT_LE(bits->least, bits->coded);
      EXPECT_LE(bits->coded, bits->least * 16 / 15 + 3 * 16);
    }
  }
}

}  // namespace
