// SPDX-License-Identifier: BSD-3-Clause
// The image that benchmarks measure on.
#include "phantoms/Coding.h"
#include "phantoms/NoisyHead.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

using phantoms::HeadForm;
using phantoms::noisyHead;

std::vector<std::uint16_t> wordsOf(DcmDataset& dataset) {
  const Uint16* words = nullptr;
  unsigned long count = 0;
  EXPECT_TRUE(dataset.findAndGetUint16Array(DCM_PixelData, words, &count).good());
  return {words, words + count};
}

std::string textOf(DcmDataset& dataset, const DcmTagKey& key) {
  OFString text;
  return dataset.findAndGetOFStringArray(key, text).good() ? text : "(missing)";
}

TEST(NoisyHead, IsTheSameEachTime) {
  const HeadForm form{64, 48, 2, false};

  EXPECT_EQ(wordsOf(*noisyHead(form)), wordsOf(*noisyHead(form)));
}

TEST(NoisyHead, HoldsSignedSamplesOf12Bits) {
  const auto head = noisyHead({64, 48, 2, false});

  EXPECT_EQ(wordsOf(*head).size(), 64U * 48U * 2U);
  EXPECT_EQ(textOf(*head, DCM_BitsStored), "12");
  EXPECT_EQ(textOf(*head, DCM_PixelRepresentation), "1");
  // The corner is air, -1000, and noise of at most 22 about it.
  const int corner = static_cast<int>(wordsOf(*head).front()) - 4096;
  EXPECT_GE(corner, -1023);
  EXPECT_LE(corner, -977);
}

TEST(NoisyHead, HoldsUnsignedBytesWhereItIsAskedForThem) {
  const auto head = noisyHead({64, 48, 1, true});

  EXPECT_EQ(textOf(*head, DCM_BitsAllocated), "8");
  EXPECT_EQ(textOf(*head, DCM_PixelRepresentation), "0");
  EXPECT_EQ(wordsOf(*head).size(), 64U * 48U / 2U);
}

TEST(NoisyHead, TellsTheImagesOfASeriesApart) {
  const auto first = noisyHead({8, 8, 1, true}, 1);
  const auto second = noisyHead({8, 8, 1, true}, 2);

  EXPECT_EQ(textOf(*first, DCM_SeriesInstanceUID), textOf(*second, DCM_SeriesInstanceUID));
  EXPECT_NE(textOf(*first, DCM_SOPInstanceUID), textOf(*second, DCM_SOPInstanceUID));
  EXPECT_EQ(textOf(*second, DCM_ImagePositionPatient), "-120\\-120\\2");
}

TEST(NoisyHead, ShrinksToAboutAHalfWithoutLoss) {
  const phantoms::Encoders encoders;
  const auto head = noisyHead({256, 256, 1, false});
  const double before = head->calcElementLength(EXS_LittleEndianExplicit, EET_ExplicitLength);

  phantoms::encode(*head, EXS_JPEGLSLossless);

  const double ratio = before / head->calcElementLength(EXS_JPEGLSLossless, EET_ExplicitLength);
  EXPECT_GT(ratio, 1.5);
  EXPECT_LT(ratio, 3.5);
}

}  // namespace
