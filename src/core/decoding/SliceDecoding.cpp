// SPDX-License-Identifier: BSD-3-Clause
// SliceImage::process: finds the pixel data, makes sure that DCMTK has its decoders, reads the
// attributes, and fills the slice with the samples that the monochrome or the colour steps make.
// Fields are filled as they are reached: what a failure leaves in them belongs to the contract.
#include "decoding/SliceDecoding.h"

#include "decoding/Colour.h"
#include "decoding/Decoders.h"
#include "decoding/Monochrome.h"
#include "decoding/SampleMemory.h"
#include "decoding/SliceAttributes.h"

#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <new>
#include <utility>

namespace Zrg {

namespace Decoding {

namespace {

constexpr char kNoPixelData[] = "No pixel data";

// ---- monochrome --------------------------------------------------------------------------------

/// A range of frames: the samples go to the caller's target or to the slice's own memory.
Result<char*> decodeRange(SliceImage& slice, const Task& task) {
  char* destination = static_cast<char*>(task.target);
  if (task.target != nullptr) {
    if (Result<void> fits = targetHoldsFrames(task); !fits) {
      return fits.reason();
    }
  } else {
    Result<std::shared_ptr<char>> memory = allocateFrames(task);
    if (!memory) {
      return memory.reason();
    }
    if (slice.data == slice.buffer.get()) {
      slice.data = nullptr;  // the memory it points at may go with the old buffer
    }
    slice.buffer = std::move(*memory);
    destination = slice.buffer.get();
  }
  if (const Result<void> decoded = decodeFrames(task, destination); !decoded) {
    return decoded.reason();
  }
  return destination;
}

Result<void> fillMonochrome(SliceImage& slice, const Task& task) {
  slice.samplesPerPixel = 1;
  if (Result<void> one = requireOneSamplePerPixel(task.item); !one) {
    return one;
  }
  const Result<char*> samples = task.frames.all ? decodeInPlace(task) : decodeRange(slice, task);
  if (!samples) {
    return samples.reason();
  }
  ExDicomUtilities::LUT modalityLut;
  ExDicomUtilities::LUT::dcmDatasetRead(modalityLut, task.item, false);
  if (modalityLut.entries.isNotNull()) {
    slice.rescale = KtVec2f(1.0F, 0.0F);  // a table replaces slope and intercept
  }
  if (*samples == nullptr || (slice.bytesPerSample != 1 && slice.bytesPerSample != 2)) {
    return FailureText{kNoPixelData};
  }
  slice.data = *samples;

  const StoredSamples stored = readProcessedSamples(task.item, slice.bytesPerSample);
  if (stored.bitsStored != 8 * stored.bytesPerSample) {
    slice.extractEmbeddedOverlays(task.item, task.frames.first, task.frames.last);
  }
  if (!slice.convertSamples) {
    return {};
  }
  const Result<int> offset =
      convertInPlace(wrapSamples(slice.data, slice.extent, slice.bytesPerSample, stored.isSigned),
                     modalityLut, stored);
  if (!offset) {
    return offset.reason();
  }
  slice.sampleOffset = static_cast<float>(*offset);
  return {};
}

// ---- colour ------------------------------------------------------------------------------------

void announceRgb(SliceImage& slice) {
  slice.samplesPerPixel = 3;
  slice.bytesPerSample = 1;
}

/// Memory for frames of `totalBytes`.
Result<void> findMemory(SliceImage& slice, const Task& task, ColourFrames& frames,
                        unsigned long long totalBytes) {
  if (slice.buffer != nullptr || slice.data != nullptr) {
    // Deliberate: a slice that has memory keeps it, and it is trusted to be large enough.
    // Test: SliceDecodingColour.WritesIntoTheMemoryThatTheSliceHas
    return {};
  }
  if (task.target != nullptr) {
    if (Result<void> fits = fitsTarget(task.targetSize, totalBytes); !fits) {
      return fits;
    }
    slice.data = static_cast<char*>(task.target);
    return {};
  }
  if (!frames.hasFrame(task.frames.count - 1) ||  // before memory is taken for all
      !frames.mayHoldFrames(task.frames.count)) {
    return frames.missingFrame(totalBytes);
  }
  Result<std::shared_ptr<char>> memory = allocateSamples(totalBytes);
  if (!memory) {
    return memory.reason();
  }
  slice.buffer = std::move(*memory);
  return {};
}

Result<void> takeFrames(SliceImage& slice, const Task& task, ColourFrames& frames) {
  const unsigned long long frameBytes = frames.frameBytes();
  const auto totalBytes = frameBytes * static_cast<unsigned long long>(task.frames.count);
  if (Result<void> memory = findMemory(slice, task, frames, totalBytes); !memory) {
    return memory;
  }
  char* target = firstSample(slice);
  for (int position = 0; position < task.frames.count; ++position) {
    if (!frames.hasFrame(position)) {
      return frames.missingFrame(totalBytes);
    }
    if (Result<void> made = frames.makeFrame(position, target, totalBytes); !made) {
      return made;
    }
    target += frameBytes;
  }
  return {};
}

Result<void> takeRenderedFrames(SliceImage& slice, const Task& task) {
  const Result<std::unique_ptr<ColourFrames>> frames = renderedFrames(task);
  return frames ? takeFrames(slice, task, **frames) : frames.reason();
}

Result<void> fillColour(SliceImage& slice, const Task& task) {
  if (Result<void> countable = haveCountableSize(task); !countable) {
    announceRgb(slice);
    return countable;
  }
  const bool wideSamples = task.attributes.size.bytesPerSample() >= 2;
  const bool isPlanar = completePlanarConfiguration(task.item);
  if (const std::unique_ptr<ColourFrames> numbered = numberedFrames(task)) {
    announceRgb(slice);
    return takeFrames(slice, task, *numbered);
  }
  if (isPlanar || wideSamples || task.attributes.photometricInterpretation == "PALETTE COLOR") {
    announceRgb(slice);
    return takeRenderedFrames(slice, task);
  }
  if (Result<void> allowed = ColourDocument::mayOpen(task); !allowed) {
    announceRgb(slice);
    return allowed;
  }
  Result<ColourDocument> document = ColourDocument::open(task);
  if (!document) {
    return document.reason();
  }
  announceRgb(slice);
  const std::unique_ptr<ColourFrames> direct = document->directFrames(task);
  return direct != nullptr ? takeFrames(slice, task, *direct) : takeRenderedFrames(slice, task);
}

// ---- both --------------------------------------------------------------------------------------

Result<void> fillSamples(SliceImage& slice, const Task& task) {
  UnfinishedSamples samples;
  try {
    if (task.frames.all && !task.attributes.monochrome) {
      samples.watchAll(task.item);  // DCMTK's image objects decompress all of them
    } else {
      samples.watch(task.pixelData);
    }
  } catch (const std::bad_alloc&) {
    return FailureText{kOutOfMemory};
  }
  Result<void> filled =
      task.attributes.monochrome ? fillMonochrome(slice, task) : fillColour(slice, task);
  if (filled) {
    samples.finished();
  }
  return filled;
}

Result<void> fillSlice(SliceImage& slice, DcmItem& item, int firstFrame, int lastFrame,
                       void* target, std::size_t targetSize) {
  const Result<DcmPixelData*> pixelData = findPixelData(item);
  if (!pixelData) {
    return pixelData.reason();
  }
  slice.lossy = isLossy(item);
  registerDecoders();

  const ImageAttributes attributes = readImageAttributes(item, *pixelData);
  if (attributes.missing) {
    return *attributes.missing;
  }
  storeAttributes(slice, item, attributes);

  const FrameSelection frames = selectFrames(firstFrame, lastFrame, attributes.frames.in16Bits);
  slice.extent.z = frames.count;
  return fillSamples(slice, {item, **pixelData, attributes, frames, target, targetSize});
}

}  // namespace

FrameSelection selectFrames(int firstFrame, int lastFrame, int frames) {
  if (firstFrame < 0) {
    return {0, frames - 1, frames, true};
  }
  const int first = std::min(firstFrame, frames - 1);
  const int last = std::clamp(lastFrame, first, frames - 1);
  return {first, last, last - first + 1, false};
}

}  // namespace Decoding

bool SliceImage::process(DcmItem& item, std::string& errorText, int firstFrame, int lastFrame,
                         void* target, unsigned long targetSize) {
  errorText.clear();
  valid = false;
  Decoding::warnWithoutDictionary();
  try {
    Result<void> filled =
        Decoding::fillSlice(*this, item, firstFrame, lastFrame, target, targetSize);
    valid = static_cast<bool>(filled);
    if (!valid) {
      errorText = filled.reason().text;
    }
  } catch (const Decoding::NoImageMemory& exception) {
    errorText = exception.what();
    throw std::bad_alloc();
  }
  return valid;
}

}  // namespace Zrg
