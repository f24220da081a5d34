// SPDX-License-Identifier: BSD-3-Clause
// The slice as a value: defaults, what copies share, placing, and the two display lines.
#include "support/RowName.h"

#include <zrdcmexport/ZrSliceImage.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace {

using Zrg::SliceImage;

bool isNotSet(const KtVec2f& pair) {
  return std::isnan(pair.x) && std::isnan(pair.y);
}

/// Memory whose release can be seen.
std::shared_ptr<char> watchedBuffer(bool& freed) {
  auto* const memory = static_cast<char*>(std::malloc(4));
  memory[0] = 'a';
  return {memory, [&freed](char* bytes) {
            freed = true;
            std::free(bytes);
          }};
}

TEST(SliceImage, StartsWithoutSamples) {
  const SliceImage slice;

  EXPECT_EQ(slice.buffer, nullptr);
  EXPECT_EQ(slice.data, nullptr);
  EXPECT_FALSE(slice.valid);
  EXPECT_EQ(slice.frameOffset, 0);
  EXPECT_EQ(slice.bytesPerSample, 1U);
  EXPECT_EQ(slice.extent.x, 0);
  EXPECT_EQ(slice.extent.y, 0);
  EXPECT_EQ(slice.extent.z, 0);
  EXPECT_EQ(slice.samplesPerPixel, 1U);
  EXPECT_FALSE(slice.lossy);
  EXPECT_TRUE(slice.overlays.isNull());
  EXPECT_TRUE(slice.convertSamples);
}

TEST(SliceImage, StartsWithoutDisplayValues) {
  const SliceImage slice;

  EXPECT_TRUE(isNotSet(slice.rescale));
  EXPECT_TRUE(std::isnan(slice.sampleOffset));
  EXPECT_TRUE(isNotSet(slice.voiWindow));
  EXPECT_TRUE(isNotSet(slice.pixelSpacing));
}

TEST(SliceImage, ShowsItsNameInTheRunTimeType) {
  EXPECT_STREQ(typeid(SliceImage).name(), "N3Zrg10SliceImageE");
}

TEST(SliceImage, SharesPixelMemoryAndOverlaysWithItsCopies) {
  SliceImage slice;
  bool freed = false;
  slice.buffer = watchedBuffer(freed);
  const ZrMeta meta(false, true);
  slice.overlays = new ZrOverlayData(&meta);

  const SliceImage copy(slice);

  EXPECT_EQ(copy.buffer, slice.buffer);
  EXPECT_EQ(copy.overlays.ptr(), slice.overlays.ptr());
  EXPECT_EQ(slice.buffer.use_count(), 2);
  EXPECT_EQ(slice.overlays->refCount(), 2);
}

TEST(SliceImage, CopiesItsScalars) {
  char samples[1] = {};
  SliceImage slice;
  slice.data = samples;
  slice.valid = true;
  slice.frameOffset = 12;
  slice.bytesPerSample = 2;
  slice.extent = {4, 3, 2};
  slice.samplesPerPixel = 3;
  slice.lossy = true;
  slice.rescale = {2, -1000};
  slice.sampleOffset = 128;
  slice.voiWindow = {40, 400};
  slice.pixelSpacing = {0.5F, 0.7F};
  slice.convertSamples = false;

  SliceImage copy;
  copy = slice;

  EXPECT_EQ(copy.data, samples);
  EXPECT_TRUE(copy.valid);
  EXPECT_EQ(copy.frameOffset, 12);
  EXPECT_EQ(copy.bytesPerSample, 2U);
  EXPECT_EQ(copy.extent.y, 3);
  EXPECT_EQ(copy.extent.z, 2);
  EXPECT_EQ(copy.samplesPerPixel, 3U);
  EXPECT_TRUE(copy.lossy);
  EXPECT_EQ(copy.rescale.y, -1000);
  EXPECT_EQ(copy.sampleOffset, 128);
  EXPECT_EQ(copy.voiWindow.x, 40);
  EXPECT_EQ(copy.pixelSpacing.y, 0.7F);
  EXPECT_FALSE(copy.convertSamples);
}

TEST(SliceImage, KeepsSamplesReadableUntilItsLastCopyGoes) {
  bool freed = false;
  auto original = std::make_unique<SliceImage>();
  original->buffer = watchedBuffer(freed);
  auto copy = std::make_unique<SliceImage>(*original);

  original.reset();
  EXPECT_FALSE(freed);
  EXPECT_EQ(copy->buffer.get()[0], 'a');

  copy.reset();
  EXPECT_TRUE(freed);
}

TEST(SliceImage, CopiesWhenItIsMoved) {
  SliceImage slice;
  bool freed = false;
  slice.buffer = watchedBuffer(freed);

  const SliceImage moved(std::move(slice));

  // NOLINTNEXTLINE(bugprone-use-after-move): that the source stays whole is what is tested
  EXPECT_EQ(slice.buffer, moved.buffer);
}

TEST(SliceImage, SwapsThroughCopies) {
  SliceImage first;
  SliceImage second;
  first.frameOffset = 1;
  second.frameOffset = 2;

  std::swap(first, second);

  EXPECT_EQ(first.frameOffset, 2);
  EXPECT_EQ(second.frameOffset, 1);
}

TEST(SliceImage, TakesOverWhereItIsPlaced) {
  SliceImage slice;

  slice.setFrameOffset(600, 2, 3, {10, 20, 1}, true, true);

  EXPECT_EQ(slice.frameOffset, 600);
  EXPECT_EQ(slice.bytesPerSample, 2U);
  EXPECT_EQ(slice.samplesPerPixel, 3U);
  EXPECT_EQ(slice.extent.x, 10);
  EXPECT_EQ(slice.extent.y, 20);
  EXPECT_EQ(slice.extent.z, 1);
  EXPECT_TRUE(slice.lossy);
  EXPECT_TRUE(slice.valid);
}

TEST(SliceImage, ForgetsDisplayValuesWhenItIsPlaced) {
  SliceImage slice;
  slice.rescale = {2, -1000};
  slice.sampleOffset = 32768;
  slice.voiWindow = {40, 400};
  slice.pixelSpacing = {0.5F, 0.7F};

  slice.setFrameOffset(0, 2, 1, {1, 1, 1}, false, true);

  EXPECT_TRUE(isNotSet(slice.rescale));
  EXPECT_TRUE(std::isnan(slice.sampleOffset));
  EXPECT_TRUE(isNotSet(slice.voiWindow));
  EXPECT_TRUE(isNotSet(slice.pixelSpacing));
}

TEST(SliceImage, KeepsItsMemoryWhenItIsPlaced) {
  char samples[1] = {};
  bool freed = false;
  const ZrMeta meta(false, true);
  SliceImage slice;
  slice.data = samples;
  slice.buffer = watchedBuffer(freed);
  slice.overlays = new ZrOverlayData(&meta);
  slice.convertSamples = false;

  slice.setFrameOffset(0, 2, 1, {1, 1, 1}, false, false);

  EXPECT_EQ(slice.data, samples);
  EXPECT_NE(slice.buffer, nullptr);
  EXPECT_TRUE(slice.overlays.isNotNull());
  EXPECT_FALSE(slice.convertSamples);
  EXPECT_FALSE(slice.valid);
}

TEST(ModalityLine, FoldsTheSampleOffsetIntoTheIntercept) {
  SliceImage slice;
  slice.rescale = {2, -1000};
  slice.sampleOffset = 32768;

  EXPECT_EQ(slice.result_MOD_LUT().x, 2);
  EXPECT_EQ(slice.result_MOD_LUT().y, -66536);
}

TEST(ModalityLine, IsNotANumberForADefaultSlice) {
  EXPECT_TRUE(isNotSet(SliceImage().result_MOD_LUT()));
}

TEST(ModalityLine, KeepsTheSlopeWhenOnlyTheOffsetIsMissing) {
  SliceImage slice;
  slice.rescale = {2, -1000};

  EXPECT_EQ(slice.result_MOD_LUT().x, 2);
  EXPECT_TRUE(std::isnan(slice.result_MOD_LUT().y));
}

struct Window {
  const char* name;
  KtVec2f voiWindow;
  unsigned int bytesPerSample;
  KtVec2f result;
};

class ShownWindow : public testing::TestWithParam<Window> {};

TEST_P(ShownWindow, FollowsTheDatasetOrTheSizeOfTheSamples) {
  SliceImage slice;
  slice.voiWindow = GetParam().voiWindow;
  slice.bytesPerSample = GetParam().bytesPerSample;

  EXPECT_EQ(slice.result_VOI_LUT().x, GetParam().result.x);
  EXPECT_EQ(slice.result_VOI_LUT().y, GetParam().result.y);
}

const float kNan = std::nanf("0");

INSTANTIATE_TEST_SUITE_P(Windows, ShownWindow,
                         testing::Values(Window{"Default8Bit", {kNan, kNan}, 1, {128, 256}},
                                         Window{"Default16Bit", {kNan, kNan}, 2, {2000, 4000}},
                                         Window{"Default32Bit", {kNan, kNan}, 4, {2000, 4000}},
                                         Window{"CentreAlone", {40, kNan}, 2, {2000, 4000}},
                                         Window{"WidthAlone", {kNan, 400}, 1, {128, 256}},
                                         Window{"Given", {40, 400}, 2, {40, 400}},
                                         Window{"WidthOfZero", {40, 0}, 2, {40, 0}},
                                         Window{"NegativeWidth", {40, -3}, 1, {40, -3}}),
                         support::nameOf<Window>);

// ---- the first sample --------------------------------------------------------------------------

TEST(FirstSample, StandsAtDataWhereThereIsOne) {
  char memory[8] = {};
  SliceImage slice;
  slice.buffer = std::make_shared<char>();
  slice.data = memory;
  slice.frameOffset = 3;

  EXPECT_EQ(Zrg::firstSample(slice), memory + 3);
}

TEST(FirstSample, StandsInTheBufferOtherwise) {
  SliceImage slice;
  slice.buffer = std::shared_ptr<char>(new char[8], std::default_delete<char[]>());
  slice.frameOffset = 2;

  EXPECT_EQ(Zrg::firstSample(slice), slice.buffer.get() + 2);
}

// That offsets count on beyond 2 GiB is tested where overlays are extracted.

TEST(FirstSample, IsNoneOfASliceWithoutMemory) {
  EXPECT_EQ(Zrg::firstSample(SliceImage()), nullptr);
}

}  // namespace
