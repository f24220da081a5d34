// SPDX-License-Identifier: BSD-3-Clause
// The container of split datasets: volumes of slices, and beside every slice its frame number. How
// a dataset is taken apart stands in ZrSliceImageSplitting.cpp.
#include <ktlib/KtPrimType.h>
#include <zrdcmexport/ZrSliceImage.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace Zrg {

namespace {

std::size_t indexOf(int volume) {
  return static_cast<std::size_t>(volume);
}

}  // namespace

MultiFrameImage::MultiFrameImage(bool convertSamples) {
  templateImage_.convertSamples = convertSamples;
}

MultiFrameImage::~MultiFrameImage() = default;

void MultiFrameImage::setNumberOfVolumes(unsigned int count) {
  // In this order, there are numbers for every volume even when memory runs out between the two.
  frameNumbers_.resize(std::max<std::size_t>(count, frameNumbers_.size()));
  volumes_.resize(count);
  frameNumbers_.resize(count);
  for (unsigned int volume = 0; volume < count; ++volume) {
    volumes_[volume].clear();
    frameNumbers_[volume].clear();
  }
}

void MultiFrameImage::addImage(int volume, int frameOffset, SliceImage& image,
                               unsigned int frameNumber) {
  const KtVec3l oneFrame{image.extent.x, image.extent.y, 1};
  KtDArray<unsigned int>& numbers = frameNumbers_[indexOf(volume)];
  KtDArray<SliceImage>& slices = volumes_[indexOf(volume)];
  slices.append(image).setFrameOffset(frameOffset, storedSampleBytes(image.bytesPerSample),
                                      image.samplesPerPixel, oneFrame, image.lossy, true);
  try {
    numbers.append(frameNumber);
  } catch (...) {
    slices.resize(slices.size() - 1);  // no slice without a number
    throw;
  }
}

void MultiFrameImage::reverseOrder(int volume) {
  // Deliberate: the frame numbers keep their order; who needs the number of a reversed slice asks
  // at the mirrored index. Test: MultiFrameContainer.KeepsFrameNumbersWhenItReversesSlices
  KtDArray<SliceImage>& slices = volumes_[indexOf(volume)];
  const std::size_t count = slices.size();
  for (std::size_t i = 0; i < count / 2; ++i) {
    std::swap(slices[i], slices[count - 1 - i]);
  }
}

bool MultiFrameImage::getImage(int volume, unsigned int index, SliceImage& image) {
  if (index >= numSlices(volume)) {
    return false;
  }
  image = volumes_[indexOf(volume)][index];
  return true;
}

bool MultiFrameImage::getFrameNumber(int volume, unsigned int index, unsigned int& frameNumber) {
  const KtDArray<unsigned int>& numbers = frameNumbers_[indexOf(volume)];
  if (index >= numbers.size()) {
    return false;
  }
  frameNumber = numbers[index];
  return true;
}

// The published getters are not const, and applications hold the types of their members.
// NOLINTBEGIN(readability-make-member-function-const)
unsigned int MultiFrameImage::numSlices(int volume) {
  return static_cast<unsigned int>(volumes_[indexOf(volume)].size());
}

unsigned int MultiFrameImage::numFrames() {
  return numFrames_;
}

unsigned int MultiFrameImage::numVolumes() {
  return static_cast<unsigned int>(volumes_.size());
}

bool MultiFrameImage::isReversed() {
  return reversed_;
}

void MultiFrameImage::setLossyCompression(unsigned int lossyCompression) {
  lossyCompression_ = lossyCompression;
}

unsigned int MultiFrameImage::lossyCompression() {
  return lossyCompression_;
}

void MultiFrameImage::setBytesPerPixel(unsigned int bytesPerPixel) {
  bytesPerPixel_ = bytesPerPixel;
}

unsigned int MultiFrameImage::bytesPerPixel() {
  return bytesPerPixel_;
}
// NOLINTEND(readability-make-member-function-const)

unsigned int MultiFrameImage::storedSampleBytes(unsigned int bytesPerSample) {
  switch (bytesPerSample) {
    case 4:
      return KtPrimType::primTypeSize(KtPrimType::U32);
    case 2:
      return KtPrimType::primTypeSize(KtPrimType::U16);
    default:
      return KtPrimType::primTypeSize(KtPrimType::U8);
  }
}

}  // namespace Zrg
