// SPDX-License-Identifier: BSD-3-Clause
// Frames of several ranges: each range is decoded where it belongs in memory that holds them all.
#include "zrimaging/Boundary.h"
#include "zrimaging/File.h"
#include "zrimaging/Image.h"
#include "zrimaging/MemoryBudget.h"
#include "zrimaging/images/FrameNumbers.h"
#include "zrimaging/images/IccProfile.h"
#include "zrimaging/images/OverlayPlanes.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace zr {

namespace {

std::size_t countOf(const std::vector<FrameRange>& ranges, std::size_t available) {
  std::size_t count = 0;
  for (const FrameRange& range : ranges) {
    requireFrame(range.last, available);
    count += range.count();
  }
  return count;
}

std::vector<std::size_t> numbersIn(const std::vector<FrameRange>& ranges) {
  std::vector<std::size_t> numbers;
  for (const FrameRange& range : ranges) {
    for (std::size_t number = range.first; number <= range.last; ++number) {
      numbers.push_back(number);
    }
  }
  return numbers;
}

/// Overlays of the frames, and of others between them.
KtHandle<ZrOverlayData> overlaysOf(const Image& image, const std::vector<FrameRange>& ranges,
                                   const FrameTraits& traits, const MemoryBudget& memory) {
  DcmItem& dataset = image.file().dataset();
  KtHandle<ZrOverlayData> overlays;
  if (traits.monochrome && hasEmbeddedOverlays(dataset)) {
    FrameRange all = ranges.front();
    for (const FrameRange& range : ranges) {
      all = {std::min(all.first, range.first), std::max(all.last, range.last)};
    }
    return image.decode({all, Values::kStored, true}, memory).record().overlays;
  }
  for (const FrameRange& range : ranges) {
    addOwnOverlays(dataset, traits, range, overlays);
  }
  return overlays;
}

}  // namespace

DecodedFrames Image::decode(const std::vector<FrameRange>& ranges, const DecodeRequest& request,
                            const MemoryBudget& memory) const {
  return atBoundary([&]() -> DecodedFrames {
    DecodeRequest part = request;
    part.frames = ranges.front();
    if (ranges.size() == 1) {
      return decode(part, memory);
    }
    if (request.values == Values::kDisplay) {
      part.values = valuesToShow();
      return shown(decode(ranges, part, memory), memory);
    }
    FramesRecord record;
    record.traits = traits(request.values);
    SampleArray samples = record.traits.layout(countOf(ranges, frameCount()));
    memory.requireBytes(samples.byteCount());
    const std::shared_ptr<char> owned(new char[samples.byteCount()], std::default_delete<char[]>());
    std::vector<Remark> remarks;
    char* place = owned.get();
    for (const FrameRange& range : ranges) {
      part.frames = range;
      const std::size_t bytes = range.count() * samples.frameBytes();
      std::vector<Remark> more = decodeInto(part, memory, place, bytes);
      std::move(more.begin(), more.end(), std::back_inserter(remarks));
      place += bytes;
    }
    record.numbers = numbersIn(ranges);  // a list only of frames that are there
    record.firstNumber = record.numbers.front();
    if (request.overlays) {
      record.overlays = overlaysOf(*this, ranges, record.traits, memory);
    }
    record.name = file_->path().filename().string();
    if (!record.traits.monochrome) {
      record.iccProfile = readIccProfile(file_->dataset());
    }
    const PerFrameAttributes& all =
        attributesOf(*std::max_element(record.numbers.begin(), record.numbers.end()) + 1);
    record.attributes = all;
    record.attributes.frames.clear();
    for (const std::size_t number : record.numbers) {
      record.attributes.frames.push_back(all.frames[number]);
    }
    samples.bytes = reinterpret_cast<const unsigned char*>(owned.get());
    return {std::move(record), samples, owned, std::move(remarks)};
  });
}

}  // namespace zr
