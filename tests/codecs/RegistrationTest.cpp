// SPDX-License-Identifier: BSD-3-Clause
// The codecs in DCMTK's list: when they are there, and with which options.
#include "codecs/Jpeg2000Encoding.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"

#include <zrcodecs/ZrCodecs.h>
#include <zrdcmexport/ZrFrames.h>
#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/dcmdata/dccodec.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

const bool kSilent = support::silenceDcmtk();

bool decodesJpeg2000() {
  return DcmCodecList::canChangeCoding(EXS_JPEG2000LosslessOnly, EXS_LittleEndianExplicit) &&
         DcmCodecList::canChangeCoding(EXS_JPEG2000, EXS_LittleEndianImplicit);
}

TEST(Registration, LetsDcmtkDecodeJpeg2000UntilItIsUndone) {
  ASSERT_FALSE(decodesJpeg2000());

  EXPECT_TRUE(zrcodecs::registerCodecs());
  EXPECT_TRUE(decodesJpeg2000());

  zrcodecs::deregisterCodecs();
  EXPECT_FALSE(decodesJpeg2000());
}

TEST(Registration, MayBeRepeated) {
  EXPECT_TRUE(zrcodecs::registerCodecs());
  EXPECT_TRUE(zrcodecs::registerCodecs());
  EXPECT_TRUE(decodesJpeg2000());

  zrcodecs::deregisterCodecs();
  EXPECT_FALSE(decodesJpeg2000());
  zrcodecs::deregisterCodecs();
}

TEST(Registration, IsMissedByImagesInJpeg2000) {
  const auto dataset =
      jpeg2000::twinOf(*support::monochromeImage(16, 16).frames(2).build(), {.bits = 16});
  std::vector<Uint8> frame(512);
  std::string errorText;
  Zrg::SliceImage all;
  Zrg::SliceImage range;

  EXPECT_FALSE(all.process(*dataset, errorText, -1, -1, nullptr, 0));
  EXPECT_EQ(errorText, "Pixel data can't be decompressed");
  EXPECT_FALSE(range.process(*dataset, errorText, 1, 1, nullptr, 0));
  EXPECT_EQ(errorText, "Error decompressing frames");
  EXPECT_FALSE(Zrg::decodeFrame(*dataset, 0, frame.data(), frame.size(), errorText));
  EXPECT_EQ(errorText, "There is no decoder for the transfer syntax JPEG 2000 (Lossless only)");
}

TEST(Registration, DoesNotEncode) {
  ASSERT_TRUE(zrcodecs::registerCodecs());

  EXPECT_FALSE(DcmCodecList::canChangeCoding(EXS_LittleEndianExplicit, EXS_JPEG2000));
  EXPECT_FALSE(DcmCodecList::canChangeCoding(EXS_JPEG2000, EXS_RLELossless));
  zrcodecs::deregisterCodecs();
}

TEST(Registration, MayComeFromManyThreadsAtOnce) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([] { EXPECT_TRUE(zrcodecs::registerCodecs()); });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }

  EXPECT_TRUE(decodesJpeg2000());
  zrcodecs::deregisterCodecs();
  EXPECT_FALSE(decodesJpeg2000());
}

/// Decodes an image of 16 x 16 samples and gives the condition's text.
std::string decoded() {
  const auto dataset = jpeg2000::twinOf(*support::monochromeImage(16, 16).build(), {.bits = 16});
  return dataset->chooseRepresentation(EXS_LittleEndianExplicit, nullptr).text();
}

TEST(CodecOptions, SayHowLargeAFrameMayBe) {
  ASSERT_TRUE(zrcodecs::registerCodecs({.mostSamplesPerFrame = 255}));
  EXPECT_EQ(decoded(), "JPEG 2000 stream has more samples than allowed");
  zrcodecs::deregisterCodecs();

  ASSERT_TRUE(zrcodecs::registerCodecs({.mostSamplesPerFrame = 256}));
  EXPECT_EQ(decoded(), "Normal");
  zrcodecs::deregisterCodecs();
}

TEST(CodecOptions, AreThoseOfTheFirstRegistration) {
  ASSERT_TRUE(zrcodecs::registerCodecs({.mostSamplesPerFrame = 256}));
  ASSERT_TRUE(zrcodecs::registerCodecs({.mostSamplesPerFrame = 255}));

  EXPECT_EQ(decoded(), "Normal");
  zrcodecs::deregisterCodecs();
}

TEST(CodecLibraries, AreNamed) {
  EXPECT_EQ(std::string(zrcodecs::codecLibraries()).find("JPEG 2000 and HTJ2K: OpenJPEG 2."), 0U);
}

}  // namespace
