// SPDX-License-Identifier: BSD-3-Clause
// What the guard in front of the decoders says whatever the coding: sizes that can be counted,
// images within images. Its answers to frames stand with the tests of their coding, what becomes of
// images that it refuses in the Hostile tests.
#include "streams/CodecGuard.h"
#include "streams/StreamFixtures.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using decoding::endlessMarkers;
using streams::guardOf;
using support::ImageBuilder;
using support::monochromeImage;

const ImageBuilder kSmallImage = monochromeImage(24, 24).unsigned8();

struct Countable {
  const char* name;
  Uint16 columns;
  Uint16 rows;
  Uint16 bitsAllocated;
  Uint16 bitsStored;
  unsigned long long frames;
  bool countable;
};

class CodecGuardSize : public testing::TestWithParam<Countable> {};

TEST_P(CodecGuardSize, IsCountableUpToTheLastEvenNumberOfBytes) {
  const auto dataset = support::compress(*kSmallImage.build(), EXS_JPEGLSLossless);
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Columns, GetParam().columns).good());
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Rows, GetParam().rows).good());
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_BitsAllocated, GetParam().bitsAllocated).good());
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_BitsStored, GetParam().bitsStored).good());

  const Zrg::CodecGuard guard = guardOf(*dataset);

  EXPECT_EQ(guard.isCountable(GetParam().frames), GetParam().countable);
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, CodecGuardSize,
    testing::Values(Countable{"Small", 512, 512, 16, 12, 200, true},
                    Countable{"JustBelow", 65535, 65535, 8, 8, 1, true},
                    Countable{"TwiceAsMany", 65535, 65535, 8, 8, 2, false},
                    Countable{"ExactlyFourGigabytes", 32768, 32768, 16, 16, 2, false},
                    Countable{"OneFrameLess", 32768, 32768, 16, 16, 1, true},
                    Countable{"WiderStoredThanAllocated", 65535, 65535, 8, 12, 1, false},
                    Countable{"OneByteMoreThanAnEvenNumber", 65535, 1, 8, 8, 65537, false},
                    Countable{"TheLastEvenNumber", 1, 2, 8, 8, 2147483647, true},
                    Countable{"NoSamples", 0, 512, 16, 16, ~0ULL, true}),
    support::nameOf<Countable>);

TEST(CodecGuard, NeverRefusesNativeData) {
  const auto dataset = monochromeImage(2, 2).with(DCM_NumberOfFrames, "99999999").build();
  Zrg::CodecGuard guard = guardOf(*dataset);

  EXPECT_TRUE(guard.isCountable());
  EXPECT_TRUE(guard.allFramesAreSafe());
  EXPECT_TRUE(guard.framesAreSafe(7, 3));
  EXPECT_TRUE(guard.frameIsSafe(7, 0, 1));
}

TEST(AllImagesAreSafe, WhereThereIsNone) {
  DcmItem item;
  DcmDataset dataset;

  EXPECT_TRUE(Zrg::allImagesAreSafe(item));
  EXPECT_TRUE(Zrg::allImagesAreSafe(dataset));
}

TEST(AllImagesAreSafe, NotInAnItemWhoseOwnImageIsHostile) {
  const auto hostile =
      decoding::encapsulate(*kSmallImage.build(), EXS_JPEGProcess14SV1, {endlessMarkers()});
  const auto good = support::compress(*kSmallImage.build(), EXS_JPEGProcess14SV1);

  EXPECT_FALSE(Zrg::allImagesAreSafe(*decoding::asItem(*hostile)));
  EXPECT_TRUE(Zrg::allImagesAreSafe(*decoding::asItem(*good)));
}

}  // namespace
