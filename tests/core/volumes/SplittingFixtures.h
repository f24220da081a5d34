// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/ImageBuilder.h"

#include <zrdcmexport/ZrSliceImage.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

/// Frames of 2 x 2 pixels in 16 bits whose samples tell them apart: frame f holds 4f .. 4f + 3.
/// They come with a spacing and a frame time, which is all that splitting needs.
inline support::ImageBuilder frameStack(unsigned int frames) {
  return support::monochromeImage(2, 2)
      .frames(frames)
      .frameIncrementPointer("(0018,1063)")
      .with(DCM_SpacingBetweenSlices, "1");
}

constexpr int kFrameBytes = 8;

/// A nuclear-medicine stack ordered by a slice vector of 1-based numbers.
inline support::ImageBuilder nmStack(const std::vector<Uint16>& sliceVector, Uint16 slices) {
  return frameStack(static_cast<unsigned int>(sliceVector.size()))
      .frameIncrementPointer("(0054,0080)")
      .withUint16(DCM_NumberOfSlices, slices)
      .withUint16s(DCM_SliceVector, sliceVector);
}

/// A dataset that was handed to a container.
class SplitDataset {
public:
  explicit SplitDataset(const support::ImageBuilder& image, bool splitFrames = true)
      : dataset_(image.build()), done_(volumes_.process(*dataset_, errorText_, splitFrames)) {}

  /// The same with a container that holds something already.
  bool processAgain(const support::ImageBuilder& image, bool splitFrames = true) {
    dataset_ = image.build();
    done_ = volumes_.process(*dataset_, errorText_, splitFrames);
    return done_;
  }

  bool done() const { return done_; }
  const std::string& errorText() const { return errorText_; }
  Zrg::MultiFrameImage& volumes() { return volumes_; }

  /// Frame numbers as the container files them.
  std::vector<unsigned int> frameNumbers(int volume) {
    std::vector<unsigned int> numbers(volumes_.numSlices(volume));
    for (unsigned int i = 0; i < numbers.size(); ++i) {
      if (!volumes_.getFrameNumber(volume, i, numbers[i])) {
        throw std::logic_error("a slice without a frame number");
      }
    }
    return numbers;
  }

  /// Frames as the samples tell them that the slices of a frame stack point at.
  std::vector<unsigned int> framesInMemory(int volume) {
    std::vector<unsigned int> frames;
    for (unsigned int i = 0; i < volumes_.numSlices(volume); ++i) {
      const Zrg::SliceImage slice = sliceAt(volume, i);
      const auto* samples =
          static_cast<const Uint16*>(static_cast<const void*>(Zrg::firstSample(slice)));
      frames.push_back(samples[0] / 4U);
    }
    return frames;
  }

  std::vector<int> offsets(int volume) {
    std::vector<int> offsets;
    for (unsigned int i = 0; i < volumes_.numSlices(volume); ++i) {
      offsets.push_back(sliceAt(volume, i).frameOffset);
    }
    return offsets;
  }

  Zrg::SliceImage sliceAt(int volume, unsigned int index) {
    Zrg::SliceImage slice;
    if (!volumes_.getImage(volume, index, slice)) {
      throw std::logic_error("no such slice");
    }
    return slice;
  }

private:
  std::unique_ptr<DcmDataset> dataset_;
  Zrg::MultiFrameImage volumes_{true};
  std::string errorText_;
  bool done_;
};
