// SPDX-License-Identifier: BSD-3-Clause
// Decoding end to end: native, RLE, JPEG and JPEG-LS, monochrome and colour. The first byte picks
// the road:
//
//   all frames, twice     with new memory of different contents: the samples must be the same
//   a range, twice        likewise
//   into a target         that is exactly as large as it says
//   all against a range   the same frames must come out of both
//   an item               that belongs to no dataset
#include "FuzzRuntime.h"
#include "ImageInput.h"

#include <zrdcmexport/ZrSliceImage.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

namespace {

using fuzz::require;

const std::array<DcmTagKey, 3> kSampleAttributes = {DCM_BitsAllocated, DCM_BitsStored, DCM_HighBit};

/// One decoding of the same bytes: the samples live in the item or in the slice.
struct Decoded {
  Zrg::SliceImage slice;
  std::string error;
  bool done = false;

  void process(DcmItem& item, int first, int last, std::vector<char>* target = nullptr) {
    try {
      done = slice.process(item, error, first, last, target == nullptr ? nullptr : target->data(),
                           target == nullptr ? 0 : target->size());
      require(done == error.empty() && done == slice.valid);
    } catch (const std::bad_alloc&) {
      // Documented: passed on after the text was set.
      require(!error.empty());
    }
  }

  [[nodiscard]] const char* samples() const { return Zrg::firstSample(slice); }
  [[nodiscard]] std::size_t frameSize() const {
    return static_cast<std::size_t>(slice.extent.x * slice.extent.y) * slice.samplesPerPixel *
           slice.bytesPerSample;
  }
  [[nodiscard]] std::size_t size() const {
    return frameSize() * static_cast<std::size_t>(slice.extent.z);
  }
};

bool haveSameForm(const Decoded& left, const Decoded& right) {
  return left.slice.extent.x == right.slice.extent.x &&
         left.slice.extent.y == right.slice.extent.y &&
         left.slice.samplesPerPixel == right.slice.samplesPerPixel &&
         left.slice.bytesPerSample == right.slice.bytesPerSample;
}

/// The bytes of one run of the fuzzer, from which the same image can be made again and again.
class Source {
public:
  Source(const Uint8* data, std::size_t size) : data_(data), size_(size) {}

  fuzz::ImageInput fill(DcmItem& item) const {
    fuzz::Input input(data_, size_);
    const fuzz::ImageInput image = fuzz::ImageInput::read(input);
    image.addAttributes(item, input);
    image.addPixelData(item, input.rest());
    return image;
  }

private:
  const Uint8* data_;
  std::size_t size_;
};

void decodeTwice(const Source& source, int first, int last) {
  DcmDataset datasets[2];
  Decoded runs[2];
  for (int i = 0; i < 2; ++i) {
    fuzz::fillNewMemoryWith(i == 0 ? 0x00 : 0xA7);
    source.fill(datasets[i]);
    runs[i].process(datasets[i], first, last);
  }
  require(runs[0].done == runs[1].done && runs[0].error == runs[1].error);
  if (runs[0].done) {
    require(haveSameForm(runs[0], runs[1]) && runs[0].size() == runs[1].size());
    require(std::memcmp(runs[0].samples(), runs[1].samples(), runs[0].size()) == 0);
  }
}

void decodeIntoTarget(const Source& source, int first, int last) {
  DcmDataset dataset;
  const fuzz::ImageInput image = source.fill(dataset);
  std::vector<char> target((static_cast<std::size_t>(image.road) * 16) & 0xFFFU);
  Decoded run;
  run.process(dataset, first, last, &target);
}

/// Whether two datasets say the same of how samples are stored. DCMTK's JPEG decoders rewrite these
/// attributes by the precision of the stream when all frames are decoded, and leave them for a
/// range.
bool storeSamplesAlike(DcmItem& left, DcmItem& right) {
  return std::all_of(kSampleAttributes.begin(), kSampleAttributes.end(), [&](const DcmTagKey& key) {
    OFString ofLeft;
    OFString ofRight;
    const bool isThere = left.findAndGetOFString(key, ofLeft).good();
    return isThere == right.findAndGetOFString(key, ofRight).good() && ofLeft == ofRight;
  });
}

/// Frames of the range must be those of the whole, wherever DCMTK counts both in whole bytes. Of
/// colour a range may repeat its first frame, so that only that one can be compared.
void compareWholeWithRange(const Source& source) {
  DcmDataset wholeDataset;
  DcmDataset rangeDataset;
  const fuzz::ImageInput image = source.fill(wholeDataset);
  source.fill(rangeDataset);
  Decoded whole;
  Decoded range;
  whole.process(wholeDataset, -1, -1);
  const int frames = static_cast<int>(whole.slice.extent.z);
  if (!whole.done || image.bitsAllocated % 8 != 0) {
    return;
  }
  const bool isColour = whole.slice.samplesPerPixel != 1;
  if (isColour && (image.bitsStored != 8 || image.highBit != 7)) {
    return;  // a range may deliver decoded bytes where the whole is rendered by these
  }
  const int first = isColour ? 0 : std::min(std::abs(image.first), frames - 1);
  range.process(rangeDataset, first, isColour ? 0 : image.last);
  if (!range.done || !haveSameForm(whole, range) ||
      !storeSamplesAlike(wholeDataset, rangeDataset)) {
    return;
  }
  const std::size_t count = isColour ? range.frameSize() : range.size();
  require(first + range.slice.extent.z <= frames);
  require(std::memcmp(whole.samples() + static_cast<std::size_t>(first) * whole.frameSize(),
                      range.samples(), count) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Source source(data, size);
  fuzz::Input head(data, size);
  const fuzz::ImageInput image = fuzz::ImageInput::read(head);
  switch (image.road % 5) {
    case 0:
      decodeTwice(source, -1, -1);
      break;
    case 1:
      decodeTwice(source, std::abs(image.first), image.last);
      break;
    case 2:
      decodeIntoTarget(source, image.first, image.last);
      break;
    case 3:
      compareWholeWithRange(source);
      break;
    default: {
      DcmItem item;
      source.fill(item);
      Decoded run;
      run.process(item, image.first, image.last);
      break;
    }
  }
  return 0;
}
