// SPDX-License-Identifier: BSD-3-Clause
// JPEG-LS frames that break a decoder which trusts them, most of all those whose end it looks for
// in the wrong place. What JPEG and JPEG-LS have in common: HostileJpegTest.cpp.
#include "streams/StreamFixtures.h"
#include "support/ImageBuilder.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using decoding::decodeAll;
using decoding::decodeRange;
using streams::Fragment;
using streams::kFrameRefused;
using streams::kWholeRefused;
using streams::streamOf;
using support::ImageBuilder;
using support::monochromeImage;

TEST(HostileJpegLs, ThatEndsInsideItsScanIsRefused) {
  const ImageBuilder builder = monochromeImage(48, 48).unsigned8();
  Fragment stream = streamOf(builder, EXS_JPEGLSLossless);
  stream.resize(stream.size() / 4 * 2);
  const auto dataset = decoding::encapsulate(*builder.build(), EXS_JPEGLSLossless, {stream});

  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, kFrameRefused);
  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
}

TEST(HostileJpegLs, InSeveralFragmentsIsReadToItsEnd) {
  const ImageBuilder builder = monochromeImage(48, 48).unsigned8();
  const Fragment whole = streamOf(builder, EXS_JPEGLSLossless);
  const auto dataset = decoding::encapsulate(*builder.build(), EXS_JPEGLSLossless,
                                             decoding::cut(whole, whole.size() / 4 * 2));

  EXPECT_EQ(decodeAll(*dataset).errorText, "");
}

TEST(HostileJpegLs, ThatWouldEndInTheNextFrameIsRefused) {
  const ImageBuilder builder = monochromeImage(48, 48).unsigned8().frames(2);
  const Fragment whole = streamOf(builder, EXS_JPEGLSLossless);
  const Fragment half = decoding::cut(whole, whole.size() / 4 * 2)[0];
  const auto dataset = decoding::encapsulate(*builder.build(), EXS_JPEGLSLossless, {half, whole});

  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, kFrameRefused);
  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
}

TEST(HostileJpegLs, FramesOfEmptyFragmentsAreRefused) {
  const ImageBuilder builder = monochromeImage(48, 48).unsigned8().frames(2);
  const Fragment whole = streamOf(builder, EXS_JPEGLSLossless);
  const auto before =
      decoding::encapsulate(*builder.build(), EXS_JPEGLSLossless, {{}, whole, whole});
  const auto between =
      decoding::encapsulate(*builder.build(), EXS_JPEGLSLossless, {whole, {}, whole});

  EXPECT_EQ(decodeAll(*before).errorText, kWholeRefused);
  EXPECT_EQ(decodeRange(*before, 0, 0).errorText, kFrameRefused);
  EXPECT_EQ(decodeAll(*between).errorText, kWholeRefused);
}

}  // namespace
