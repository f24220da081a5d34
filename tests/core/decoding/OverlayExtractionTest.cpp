// SPDX-License-Identifier: BSD-3-Clause
// One bit of every sample into a mask, held against a model that works bit by bit.
#include "support/RowName.h"

#include <zrdcmexport/ZrSliceImage.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <sys/mman.h>
#include <vector>

namespace {

using testing::Each;
using testing::ElementsAre;
using Words = std::vector<std::uint32_t>;

/// A slice over samples that somebody else owns.
template <typename T>
Zrg::SliceImage sliceOver(std::vector<T>& samples, int columns, int rows, int frames) {
  Zrg::SliceImage slice;
  slice.setFrameOffset(0, sizeof(T), 1, {columns, rows, frames}, false, true);
  slice.data = static_cast<char*>(static_cast<void*>(samples.data()));
  return slice;
}

/// What extraction yields for a rectangle.
struct Extracted {
  Words words;
  KtVec2i size;
};

template <typename T>
Extracted extract(Zrg::SliceImage& slice, KtVec2i origin, KtVec2i size, int frame, int bit) {
  KtBitfield mask;
  slice.extractEmbeddedOverlay<T>(origin, size, frame, bit, mask);
  return {Words(mask.words(), mask.words() + mask.wordCount()), size};
}

TEST(OverlayExtraction, ReadsTheTopBitOfSixteen) {
  std::vector<unsigned short> samples = {0x8000, 0x7FFF, 0xFFFF, 0x0000};
  auto slice = sliceOver(samples, 4, 1, 1);

  EXPECT_THAT(extract<unsigned short>(slice, {0, 0}, {4, 1}, 0, 15).words, ElementsAre(0b0101));
}

TEST(OverlayExtraction, ReadsTheTopBitOfEight) {
  std::vector<unsigned char> samples = {0x7F, 0x80, 0xFF, 0x00};
  auto slice = sliceOver(samples, 4, 1, 1);

  EXPECT_THAT(extract<unsigned char>(slice, {0, 0}, {4, 1}, 0, 7).words, ElementsAre(0b0110));
}

TEST(OverlayExtraction, RoundsTheWidthUpToWholeWords) {
  std::vector<unsigned short> samples(20, 0xFFFF);
  auto slice = sliceOver(samples, 10, 2, 1);

  const Extracted result = extract<unsigned short>(slice, {0, 0}, {10, 2}, 0, 12);

  EXPECT_EQ(result.size.x, 32);
  EXPECT_EQ(result.size.y, 2);
  EXPECT_THAT(result.words, ElementsAre(0x3FF, 0x3FF));
}

TEST(OverlayExtraction, StartsEachRowAtANewWord) {
  std::vector<unsigned short> samples(66, 0);
  samples[32] = 1;
  samples[33] = 1;
  auto slice = sliceOver(samples, 33, 2, 1);

  EXPECT_THAT(extract<unsigned short>(slice, {0, 0}, {33, 2}, 0, 0).words, ElementsAre(0, 1, 1, 0));
}

TEST(OverlayExtraction, ReadsTheRectangleAtItsOrigin) {
  std::vector<unsigned char> samples = {0, 0, 0, 0,  //
                                        0, 0, 1, 0,  //
                                        0, 1, 1, 1};
  auto slice = sliceOver(samples, 4, 3, 1);

  EXPECT_THAT(extract<unsigned char>(slice, {1, 1}, {2, 2}, 0, 0).words, ElementsAre(0b10, 0b11));
}

TEST(OverlayExtraction, KeepsStoredSamples) {
  std::vector<unsigned short> samples = {0x8123, 0xFFFF};
  auto slice = sliceOver(samples, 2, 1, 1);

  extract<unsigned short>(slice, {0, 0}, {2, 1}, 0, 15);

  EXPECT_THAT(samples, ElementsAre(0x8123, 0xFFFF));
}

TEST(OverlayExtraction, ReplacesTheMask) {
  std::vector<unsigned short> samples(4, 0);
  auto slice = sliceOver(samples, 2, 2, 1);
  KtVec2i origin{0, 0};
  KtVec2i size{2, 2};
  KtBitfield mask;
  mask.resize(640, KtBitfield::SET);

  slice.extractEmbeddedOverlay<unsigned short>(origin, size, 0, 15, mask);

  EXPECT_EQ(mask.size(), 64U);
  EXPECT_FALSE(mask.any());
}

TEST(OverlayExtraction, TakesTheFrameNumberAsThePositionInMemory) {
  std::vector<unsigned char> samples = {0, 0, 1, 0, 0, 1};
  auto slice = sliceOver(samples, 2, 1, 3);

  EXPECT_THAT(extract<unsigned char>(slice, {0, 0}, {2, 1}, 1, 0).words, ElementsAre(0b01));
  EXPECT_THAT(extract<unsigned char>(slice, {0, 0}, {2, 1}, 2, 0).words, ElementsAre(0b10));
}

TEST(OverlayExtraction, StartsAtTheFrameOffset) {
  std::vector<unsigned char> samples = {0, 0, 1, 1};
  auto slice = sliceOver(samples, 1, 1, 1);
  slice.frameOffset = 3;

  EXPECT_THAT(extract<unsigned char>(slice, {0, 0}, {1, 1}, 0, 0).words, ElementsAre(1));
}

// Offsets are counted in 32 bits with a sign. The memory is only promised by the system; one page
// of it is touched.
TEST(OverlayExtraction, TakesANegativeFrameOffsetAsOneOfTwoGigabytesAndMore) {
  constexpr std::size_t kOffset = std::size_t{1} << 31U;
  constexpr std::size_t kSize = kOffset + 4096;
  void* const memory = mmap(nullptr, kSize, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  ASSERT_NE(memory, MAP_FAILED);
  Zrg::SliceImage slice;
  slice.data = static_cast<char*>(memory);
  slice.extent = KtVec3l(2, 1, 1);
  slice.data[kOffset + 1] = 1;
  slice.frameOffset = static_cast<int>(static_cast<std::uint32_t>(kOffset));

  EXPECT_THAT(extract<unsigned char>(slice, {0, 0}, {2, 1}, 0, 0).words, ElementsAre(0b10));
  munmap(memory, kSize);
}

TEST(OverlayExtraction, ReadsSamplesAtOddAddresses) {
  std::vector<unsigned char> bytes = {0xFF, 0x00, 0x80, 0x00, 0x00};
  auto slice = sliceOver(bytes, 2, 1, 1);
  slice.frameOffset = 1;

  EXPECT_THAT(extract<unsigned short>(slice, {0, 0}, {2, 1}, 0, 15).words, ElementsAre(0b01));
}

TEST(OverlayExtraction, ReadsTheBufferWhenThereIsNoData) {
  std::vector<unsigned char> unused(1);
  auto slice = sliceOver(unused, 1, 1, 1);
  slice.data = nullptr;
  slice.buffer = std::make_shared<char>('\1');

  EXPECT_THAT(extract<unsigned char>(slice, {0, 0}, {1, 1}, 0, 0).words, ElementsAre(1));
}

TEST(OverlayExtraction, LeavesTheMaskClearWithoutMemory) {
  Zrg::SliceImage slice;
  slice.setFrameOffset(4, 2, 1, {2, 2, 1}, false, true);

  EXPECT_THAT(extract<unsigned short>(slice, {0, 0}, {2, 2}, 0, 15).words, ElementsAre(0, 0));
}

TEST(OverlayExtraction, TakesTheBitModulo32) {
  std::vector<unsigned char> samples = {0b10};
  auto slice = sliceOver(samples, 1, 1, 1);

  EXPECT_THAT(extract<unsigned char>(slice, {0, 0}, {1, 1}, 0, 33).words, ElementsAre(1));
  EXPECT_THAT(extract<unsigned char>(slice, {0, 0}, {1, 1}, 0, 65535).words, ElementsAre(0));
}

TEST(OverlayExtraction, FindsNothingInBitsThatSamplesDoNotHave) {
  std::vector<unsigned char> bytes(32, 0xFF);
  std::vector<unsigned short> words(32, 0xFFFF);
  auto ofBytes = sliceOver(bytes, 32, 1, 1);
  auto ofWords = sliceOver(words, 32, 1, 1);

  EXPECT_THAT(extract<unsigned char>(ofBytes, {0, 0}, {32, 1}, 0, 8).words, Each(0));
  EXPECT_THAT(extract<unsigned short>(ofWords, {0, 0}, {32, 1}, 0, 16).words, Each(0));
}

TEST(OverlayExtraction, GivesNoBitsForAnEmptyRectangle) {
  std::vector<unsigned char> samples = {1};
  auto slice = sliceOver(samples, 1, 1, 1);

  EXPECT_TRUE(extract<unsigned char>(slice, {0, 0}, {1, 0}, 0, 0).words.empty());
  EXPECT_TRUE(extract<unsigned char>(slice, {0, 0}, {0, 1}, 0, 0).words.empty());
  EXPECT_TRUE(extract<unsigned char>(slice, {0, 0}, {-40, -1}, 0, 0).words.empty());
}

// The vectors end where the slice ends, so that the address sanitizer sees any read beyond.
struct Outside {
  const char* name;
  KtVec2i origin;
  KtVec2i size;
  int frame;
};

class RectangleOutsideTheSlice : public testing::TestWithParam<Outside> {};

TEST_P(RectangleOutsideTheSlice, IsNotRead) {
  std::vector<unsigned short> samples(40 * 2 * 2, 0xFFFF);
  auto slice = sliceOver(samples, 40, 2, 2);

  const Extracted result =
      extract<unsigned short>(slice, GetParam().origin, GetParam().size, GetParam().frame, 15);

  EXPECT_THAT(result.words, Each(0));
  EXPECT_FALSE(result.words.empty());
}

INSTANTIATE_TEST_SUITE_P(Rectangles, RectangleOutsideTheSlice,
                         testing::Values(Outside{"FrameBehindTheLast", {0, 0}, {40, 2}, 2},
                                         Outside{"FrameFarBehind", {0, 0}, {1, 1}, 2147483647},
                                         Outside{"FrameBeforeTheFirst", {0, 0}, {40, 2}, -1},
                                         Outside{"RowsBelow", {0, 1}, {40, 2}, 1},
                                         Outside{"ColumnsBeyond", {8, 1}, {40, 1}, 1},
                                         Outside{"OriginAbove", {0, -1}, {40, 1}, 0},
                                         Outside{"OriginLeft", {-1, 0}, {40, 1}, 0}),
                         support::nameOf<Outside>);

// --- against a model on random samples --------------------------------------------------------

template <typename T>
std::vector<T> randomSamples(std::size_t count, unsigned int seed) {
  std::mt19937 random(seed);
  std::vector<T> samples(count);
  for (T& sample : samples) {
    sample = static_cast<T>(random());
  }
  return samples;
}

/// The same mask, bit by bit and by the coordinates of each pixel.
template <typename T>
Words modelMask(const std::vector<T>& samples, KtVec2i image, KtVec2i origin, KtVec2i size,
                int frame, int bit) {
  const int wordsPerRow = (size.x + 31) / 32;
  Words words(static_cast<std::size_t>(wordsPerRow * size.y));
  for (int y = 0; y < size.y; ++y) {
    for (int x = 0; x < size.x; ++x) {
      const int sample = (frame * image.y + origin.y + y) * image.x + origin.x + x;
      if ((samples[static_cast<std::size_t>(sample)] / (1U << bit)) % 2 == 1) {
        words[static_cast<std::size_t>(y * wordsPerRow + x / 32)] += 1U << (x % 32);
      }
    }
  }
  return words;
}

template <typename T>
void expectModelMasks(int width) {
  const KtVec2i image{width + 3, 4};
  const auto count = static_cast<std::size_t>(image.x) * 4 * 2;
  std::vector<T> samples = randomSamples<T>(count, static_cast<unsigned int>(width));
  auto slice = sliceOver(samples, image.x, image.y, 2);
  for (int bit = 0; bit < static_cast<int>(8 * sizeof(T)); ++bit) {
    for (int column = 0; column <= 3; ++column) {
      const KtVec2i origin{column, 1};
      const KtVec2i size{width, 3};
      ASSERT_EQ(extract<T>(slice, origin, size, 1, bit).words,
                modelMask(samples, image, origin, size, 1, bit))
          << "bit " << bit << ", column " << column;
    }
  }
}

class RandomSamples : public testing::TestWithParam<int> {};

TEST_P(RandomSamples, Of16BitsGiveTheMaskOfTheModel) {
  expectModelMasks<unsigned short>(GetParam());
}

TEST_P(RandomSamples, Of8BitsGiveTheMaskOfTheModel) {
  expectModelMasks<unsigned char>(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Widths, RandomSamples,
                         testing::Values(1, 7, 8, 15, 16, 17, 31, 32, 33, 47, 63, 64, 65, 95, 96,
                                         97, 127, 128, 129, 509, 512));

}  // namespace
