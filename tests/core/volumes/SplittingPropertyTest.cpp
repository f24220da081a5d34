// SPDX-License-Identifier: BSD-3-Clause
// Splitting held against what must be true of any dataset: random orders give every frame back in
// its place, random damage gives a refusal or slices that lie within the pixel memory.
#include "SplittingFixtures.h"
#include "support/Compression.h"

#include <zrdcmexport/ZrFrameOrder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <random>
#include <string>

namespace {

const bool kSilent = support::silenceDcmtk();

using Numbers = std::vector<Uint16>;

/// The same numbers at every run, told apart by the seed.
class Random {
public:
  explicit Random(unsigned int seed) : engine_(seed) {}

  unsigned int below(unsigned int limit) { return static_cast<unsigned int>(engine_() % limit); }

  /// The numbers from 1 to `count` in any order.
  Numbers permutation(unsigned int count) {
    Numbers numbers(count);
    std::iota(numbers.begin(), numbers.end(), Uint16{1});
    std::shuffle(numbers.begin(), numbers.end(), engine_);
    return numbers;
  }

private:
  std::mt19937 engine_;
};

constexpr std::size_t kSamplesOfFrame = kFrameBytes / sizeof(Uint16);

/// Writes the frame of each slice where its frame number says.
std::vector<Uint16> reassemble(SplitDataset& split, unsigned int frames) {
  std::vector<Uint16> memory(frames * kSamplesOfFrame, 0xDEAD);
  for (unsigned int volume = 0; volume < split.volumes().numVolumes(); ++volume) {
    const auto v = static_cast<int>(volume);
    const std::vector<unsigned int> numbers = split.frameNumbers(v);
    for (unsigned int i = 0; i < numbers.size(); ++i) {
      const Zrg::SliceImage slice = split.sliceAt(v, i);
      std::memcpy(&memory[numbers[i] * kSamplesOfFrame], Zrg::firstSample(slice), kFrameBytes);
    }
  }
  return memory;
}

class RandomOrder : public testing::TestWithParam<unsigned int> {};

TEST_P(RandomOrder, OfSlicesGivesThePixelMemoryBack) {
  Random random(GetParam());
  const unsigned int frames = 2 + random.below(40);
  const Numbers slices = random.permutation(frames);
  const support::ImageBuilder image = nmStack(slices, static_cast<Uint16>(frames));

  SplitDataset split(image);

  ASSERT_TRUE(split.done());
  EXPECT_EQ(reassemble(split, frames), image.storedSamples());
  const std::vector<unsigned int> numbers = split.frameNumbers(0);
  for (unsigned int slice = 0; slice < frames; ++slice) {
    EXPECT_EQ(slices[numbers[slice]], slice + 1);
  }
}

TEST_P(RandomOrder, OfGatesGivesThePixelMemoryBack) {
  Random random(GetParam());
  const unsigned int intervals = 1 + random.below(4);
  const unsigned int slots = 1 + random.below(5);
  const unsigned int slices = 2 + random.below(6);
  const unsigned int frames = intervals * slots * slices;
  Numbers places = random.permutation(frames);
  Numbers intervalVector;
  Numbers slotVector;
  Numbers sliceVector;
  for (const Uint16 place : places) {
    const unsigned int index = place - 1U;
    intervalVector.push_back(static_cast<Uint16>(index % intervals + 1));
    slotVector.push_back(static_cast<Uint16>(index / intervals % slots + 1));
    sliceVector.push_back(static_cast<Uint16>(index / intervals / slots + 1));
  }
  const support::ImageBuilder image =
      nmStack(sliceVector, static_cast<Uint16>(slices))
          .frameIncrementPointer("(0054,0060)\\(0054,0070)\\(0054,0080)")
          .withUint16(DCM_NumberOfRRIntervals, static_cast<Uint16>(intervals))
          .withUint16(DCM_NumberOfTimeSlots, static_cast<Uint16>(slots))
          .withUint16s(DCM_RRIntervalVector, intervalVector)
          .withUint16s(DCM_TimeSlotVector, slotVector);

  SplitDataset split(image);

  ASSERT_TRUE(split.done());
  EXPECT_EQ(reassemble(split, frames), image.storedSamples());
  ASSERT_EQ(split.volumes().numVolumes(), slots * intervals);
  for (unsigned int volume = 0; volume < slots * intervals; ++volume) {
    const std::vector<unsigned int> numbers = split.frameNumbers(static_cast<int>(volume));
    ASSERT_EQ(numbers.size(), slices);
    for (unsigned int slice = 0; slice < slices; ++slice) {
      EXPECT_EQ(intervalVector[numbers[slice]], volume % intervals + 1);
      EXPECT_EQ(slotVector[numbers[slice]], volume / intervals + 1);
      EXPECT_EQ(sliceVector[numbers[slice]], slice + 1);
    }
  }
}

TEST_P(RandomOrder, WithOneWrongNumberIsRefused) {
  Random random(GetParam());
  const unsigned int frames = 2 + random.below(40);
  Numbers slices = random.permutation(frames);
  Uint16& victim = slices[random.below(frames)];
  const auto right = victim;
  while (victim == right) {
    victim = static_cast<Uint16>(random.below(2 * frames + 2));
  }

  SplitDataset split(nmStack(slices, static_cast<Uint16>(2 * frames)));

  EXPECT_FALSE(split.done());
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomOrder, testing::Range(1U, 61U));

/// Random numbers near and far beyond what would be right.
class RandomDamage : public testing::TestWithParam<unsigned int> {
protected:
  Uint16 number(unsigned int nearby) {
    const unsigned int kind = random_.below(8);
    return static_cast<Uint16>(kind == 0 ? random_.below(65536) : random_.below(nearby + 2));
  }

  Numbers numbers(unsigned int count, unsigned int nearby) {
    const unsigned int kind = random_.below(8);
    if (kind > 4) {
      return random_.permutation(count);
    }
    if (kind > 1) {
      return Numbers(count, 1);
    }
    Numbers values(kind == 0 ? random_.below(2 * count + 1) : count);
    std::generate(values.begin(), values.end(), [&] { return number(nearby); });
    return values;
  }

  support::ImageBuilder damagedStack() {
    const unsigned int stored = 1 + random_.below(12);
    const unsigned int claimed = random_.below(4) == 0 ? random_.below(70000) : stored;
    const std::vector<Uint16> samples = frameStack(stored).storedSamples();
    const char* const pointers[] = {"(0054,0060)\\(0054,0070)\\(0054,0080)", "(0054,0080)",
                                    "(0018,1063)"};
    return frameStack(stored)
        .with(DCM_NumberOfFrames, std::to_string(claimed))
        .withPixels16(samples)
        .frameIncrementPointer(pointers[random_.below(3)])
        .withUint16(DCM_NumberOfSlices, number(stored))
        .withUint16(DCM_NumberOfRRIntervals, number(2))
        .withUint16(DCM_NumberOfTimeSlots, number(2))
        .withUint16s(DCM_SliceVector, numbers(stored, stored))
        .withUint16s(DCM_RRIntervalVector, numbers(stored, 1))
        .withUint16s(DCM_TimeSlotVector, numbers(stored, 1));
  }

  Random random_{GetParam()};
};

// Reading every slice shows the address sanitizer any that lies outside.
TEST_P(RandomDamage, NeverGivesSlicesOutsideThePixelMemory) {
  int splits = 0;
  for (int round = 0; round < 100; ++round) {
    SplitDataset split(damagedStack());
    if (!split.done()) {
      continue;
    }
    ++splits;
    for (unsigned int volume = 0; volume < split.volumes().numVolumes(); ++volume) {
      EXPECT_EQ(split.framesInMemory(static_cast<int>(volume)),
                split.frameNumbers(static_cast<int>(volume)));
    }
  }
  EXPECT_GT(splits, 0) << "damage that leaves nothing to split tests nothing";
}

// The attributes alone tell what splitting does.
TEST_P(RandomDamage, IsFiledInTheOrderThatIsReadOrRefusedForAReason) {
  for (int round = 0; round < 100; ++round) {
    const support::ImageBuilder image = damagedStack();
    Zrg::FrameOrder order;
    std::string reason;
    const bool hasOrder = Zrg::readFrameOrder(*image.build(), order, reason);

    SplitDataset split(image);

    ASSERT_EQ(split.done(), hasOrder) << reason;
    EXPECT_EQ(reason.empty(), hasOrder);
    ASSERT_EQ(split.volumes().numVolumes(), order.volumes.size());
    for (unsigned int volume = 0; volume < order.volumes.size(); ++volume) {
      EXPECT_EQ(split.frameNumbers(static_cast<int>(volume)), order.volumes[volume]);
    }
  }
}

// A refusal must not cost anything: neither the dataset that was refused nor the samples that came
// from an earlier one, to which the caller still holds slices.
TEST_P(RandomDamage, LeavesRefusedDatasetsAndEarlierSlicesAlone) {
  const support::ImageBuilder earlierImage = nmStack({2, 3, 1}, 3);
  int refusals = 0;
  for (int round = 0; round < 100; ++round) {
    const auto earlier = earlierImage.build();
    const auto damaged = damagedStack().signed16().build();
    const DcmDataset asItWas(*damaged);
    Zrg::MultiFrameImage volumes(false);
    std::string errorText;
    ASSERT_TRUE(volumes.process(*earlier, errorText, true));
    Zrg::SliceImage slice;
    ASSERT_TRUE(volumes.getImage(0, 0, slice));
    if (volumes.process(*damaged, errorText, true)) {
      continue;
    }

    ++refusals;
    EXPECT_EQ(asItWas.compare(*damaged), 0);
    Uint16 samples[kSamplesOfFrame];
    std::memcpy(samples, Zrg::firstSample(slice), kFrameBytes);
    EXPECT_THAT(samples, testing::ElementsAre(8, 9, 10, 11));  // of frame 2, which is slice 1
  }
  EXPECT_GT(refusals, 0);
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomDamage, testing::Range(1U, 21U));

}  // namespace
