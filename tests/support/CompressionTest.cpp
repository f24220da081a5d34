// SPDX-License-Identifier: BSD-3-Clause
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"

#include "dcmtk/dcmdata/dcrledrg.h"
#include "dcmtk/dcmjpeg/djdecode.h"
#include "dcmtk/dcmjpls/djdecode.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

void registerDecoders() {
  DcmRLEDecoderRegistration::registerCodecs();
  DJDecoderRegistration::registerCodecs();
  DJLSDecoderRegistration::registerCodecs();
}

std::vector<Uint16> decodedWords(DcmDataset& dataset) {
  registerDecoders();
  const Uint16* words = nullptr;
  unsigned long count = 0;
  if (dataset.chooseRepresentation(EXS_LittleEndianExplicit, nullptr).bad() ||
      dataset.findAndGetUint16Array(DCM_PixelData, words, &count).bad()) {
    return {};
  }
  return {words, words + count};
}

struct Lossless {
  const char* name;
  E_TransferSyntax syntax;
};

class CompressLossless : public testing::TestWithParam<Lossless> {};

TEST_P(CompressLossless, KeepsEverySampleOfEveryFrame) {
  const auto image =
      support::ctSlice(9, 7).bitsStored(12).frames(2).overlayBits(0x6000, 15, {{8, 6}}, 1);

  const auto compressed = support::compress(*image.build(), GetParam().syntax);

  EXPECT_EQ(compressed->getOriginalXfer(), GetParam().syntax);
  EXPECT_EQ(decodedWords(*compressed), image.storedSamples());
}

INSTANTIATE_TEST_SUITE_P(Syntaxes, CompressLossless,
                         testing::Values(Lossless{"Rle", EXS_RLELossless},
                                         Lossless{"JpegProcess14", EXS_JPEGProcess14},
                                         Lossless{"JpegProcess14Sv1", EXS_JPEGProcess14SV1},
                                         Lossless{"JpegLs", EXS_JPEGLSLossless}),
                         support::nameOf<Lossless>);

struct Lossy {
  const char* name;
  E_TransferSyntax syntax;
};

class CompressLossy : public testing::TestWithParam<Lossy> {};

TEST_P(CompressLossy, MakesFramesThatDecode) {
  const auto dataset = support::monochromeImage(16, 16).unsigned8().frames(2).build();

  const auto compressed = support::compress(*dataset, GetParam().syntax);

  EXPECT_EQ(compressed->getOriginalXfer(), GetParam().syntax);
  EXPECT_EQ(decodedWords(*compressed).size(), 256U);
}

INSTANTIATE_TEST_SUITE_P(Syntaxes, CompressLossy,
                         testing::Values(Lossy{"JpegBaseline", EXS_JPEGProcess1},
                                         Lossy{"JpegLsNearLossless", EXS_JPEGLSLossy}),
                         support::nameOf<Lossy>);

TEST(Compress, ThrowsWhereThereIsNoEncoder) {
  const auto dataset = support::ctSlice(4, 4).build();

  EXPECT_THROW((void)support::compress(*dataset, EXS_JPEG2000), std::logic_error);
}

TEST(ReadBack, RemembersTheTransferSyntaxOfTheFile) {
  const auto dataset = support::ctSlice(4, 4).build();

  const auto bigEndian = support::readBack(*dataset, EXS_BigEndianExplicit);

  EXPECT_EQ(bigEndian->getOriginalXfer(), EXS_BigEndianExplicit);
  EXPECT_EQ(decodedWords(*bigEndian), support::ctSlice(4, 4).storedSamples());
}

TEST(SaveFile, WritesCompressedFilesThatLoad) {
  const support::TempDir folder;
  const auto image = support::ctSlice(4, 4);
  const auto compressed = support::compress(*image.build(), EXS_RLELossless);

  support::saveFile(*compressed, folder.file("rle.dcm"), EXS_RLELossless);

  DcmFileFormat file;
  ASSERT_TRUE(file.loadFile(folder.file("rle.dcm").c_str()).good());
  EXPECT_EQ(file.getDataset()->getOriginalXfer(), EXS_RLELossless);
  EXPECT_EQ(decodedWords(*file.getDataset()), image.storedSamples());
}

}  // namespace
