// SPDX-License-Identifier: BSD-3-Clause
// Frames taken out of order from one decoder: what it remembers of the last one must not show.
#include "decoding/Decoders.h"
#include "decoding/FrameExtractor.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <array>

namespace {

TEST(FrameExtractor, TakesFramesInAnyOrder) {
  const auto image = support::compress(*support::monochromeImage(2, 1)
                                            .unsigned8()
                                            .frames(4)
                                            .samples({0, 1, 10, 11, 20, 21, 30, 31})
                                            .build(),
                                       EXS_RLELossless);
  Zrg::Decoding::registerDecoders();
  const Zrg::Result<DcmPixelData*> pixelData = Zrg::findPixelData(*image);
  ASSERT_TRUE(pixelData);
  Zrg::Decoding::FrameExtractor decoder(*image, **pixelData,
                                        Zrg::readImageAttributes(*image, *pixelData));

  for (const Uint32 frame : {1U, 2U, 0U, 3U, 3U, 0U}) {
    std::array<Uint8, 2> containers{};
    ASSERT_TRUE(decoder.decode(frame, 2, containers.data(), 2).good()) << frame;
    EXPECT_EQ(containers[1], 10 * frame + 1);
  }
}

}  // namespace
