// SPDX-License-Identifier: BSD-3-Clause
// Monochrome samples. All frames are decoded where they are, in the item's pixel data element; a
// range of frames is decoded one by one into memory that is given. Then both are converted in
// place: the stored bits alone, through the modality LUT, unsigned.
#include "decoding/Monochrome.h"

#include "decoding/FrameExtractor.h"
#include "decoding/SampleMemory.h"
#include "dicom/ItemValues.h"
#include "samples/InternalCheck.h"
#include "streams/CodecGuard.h"
#include "streams/TransferSyntaxes.h"

#include <ktlib/KtString.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>

namespace Zrg::Decoding {

namespace {

constexpr char kNoSamplesPerPixel[] = "Dicom tag DCM_SamplesPerPixel (0028,0002) not found";
constexpr char kNotOneSamplePerPixel[] =
    "Dicom tag DCM_SamplesPerPixel does not have the expected value";
constexpr char kNotDecompressed[] = "Pixel data can't be decompressed";
constexpr char kUnsupportedSampleSize[] = "Only 8 or 16 bit pixel data is supported!";
constexpr char kNotReadable[] = "Error reading pixel data!";
constexpr char kFrameNotDecompressed[] = "Error decompressing frames";

/// Line by which a failed conversion is known to those who search logs for it; no place in this
/// file. The check is in `convertInPlace`.
constexpr int kConversionFailureLine = 610;

/// Bytes of the frames that are selected.
std::size_t requiredSize(const Task& task) {
  return saturatedProduct(task.attributes.size.allocatedBytes(),
                          static_cast<unsigned long long>(task.frames.count));
}

/// The element's own array of samples.
Result<char*> samplesOf(DcmPixelData& pixelData, unsigned int bytesPerSample) {
  OFCondition status;
  char* samples = nullptr;
  if (bytesPerSample == 1) {
    Uint8* bytes = nullptr;
    status = pixelData.getUint8Array(bytes);
    samples = reinterpret_cast<char*>(bytes);
  } else if (bytesPerSample == 2) {
    Uint16* words = nullptr;
    status = pixelData.getUint16Array(words);
    samples = reinterpret_cast<char*>(words);
  } else {
    return FailureText{kUnsupportedSampleSize};
  }
  if (status.bad()) {
    return FailureText{kNotReadable};
  }
  return samples;
}

KtPrimType sampleType(unsigned int bytesPerSample, bool isSigned) {
  if (bytesPerSample == 2) {
    return isSigned ? KtPrimType::S16 : KtPrimType::U16;
  }
  return isSigned ? KtPrimType::S8 : KtPrimType::U8;
}

}  // namespace

Result<void> requireOneSamplePerPixel(DcmItem& item) {
  // Deliberate: read once more, as text.
  // Test: SliceDecodingMonochrome.RefusesSamplesPerPixelThatHaveNoText
  const std::optional<int> samplesPerPixel = readInt(item, DCM_SamplesPerPixel);
  if (!samplesPerPixel) {
    return FailureText{kNoSamplesPerPixel};
  }
  if (*samplesPerPixel != 1) {
    return FailureText{kNotOneSamplePerPixel};
  }
  return {};
}

Result<char*> decodeInPlace(const Task& task) {
  DcmStack stack;
  stack.push(&task.item);
  stack.push(&task.pixelData);
  CodecGuard guard(task.attributes, task.pixelData);
  if (!guard.allFramesAreSafe() ||
      task.pixelData.chooseRepresentation(kExplicitLittleEndian, nullptr, stack).bad()) {
    return FailureText{kNotDecompressed};
  }
  if (const Result<void> whole = holdsSamples(task.pixelData.getLength(), requiredSize(task));
      !whole) {
    return whole.reason();
  }
  return samplesOf(task.pixelData, task.attributes.size.bytesPerSample());
}

Result<void> targetHoldsFrames(const Task& task) {
  return fitsTarget(task.targetSize, requiredSize(task));
}

Result<std::shared_ptr<char>> allocateFrames(const Task& task) {
  const auto first = static_cast<unsigned long>(task.frames.first);
  const auto count = static_cast<unsigned long>(task.frames.count);
  if (!CodecGuard(task.attributes, task.pixelData).mayHoldFrames(first, count)) {
    return FailureText{kFrameNotDecompressed};
  }
  return allocateSamples(requiredSize(task));
}

Result<void> decodeFrames(const Task& task, char* destination) {
  const unsigned long long allocatedBytes = task.attributes.size.allocatedBytes();
  if (allocatedBytes >
      std::numeric_limits<Uint32>::max()) {  // DCMTK counts the bytes of a frame so
    return FailureText{kFrameNotDecompressed};
  }
  const auto frameBytes = static_cast<Uint32>(allocatedBytes);
  // DCMTK's frame decoder asks for an even number of bytes.
  std::shared_ptr<char> scratch;
  if (frameBytes % 2 != 0) {
    Result<std::shared_ptr<char>> memory = allocateSamples(std::size_t{frameBytes} + 1);
    if (!memory) {
      return memory.reason();
    }
    scratch = std::move(*memory);
  }
  // DCMTK counts samples of, say, 12 bits as one and a half bytes: the rest of the frame is no
  // data.
  Uint32 storedSize = 0;
  const bool partial = task.pixelData.getUncompressedFrameSize(&task.item, storedSize).good() &&
                       storedSize < frameBytes;

  FrameExtractor decoder(task.item, task.pixelData, task.attributes);
  for (int frame = task.frames.first; frame <= task.frames.last; ++frame) {
    char* const samples = scratch != nullptr ? scratch.get() : destination;
    if (partial) {
      std::memset(samples, 0, frameBytes);
    }
    if (decoder.decode(static_cast<Uint32>(frame), frameBytes, samples, frameBytes + frameBytes % 2)
            .bad()) {
      return FailureText{kFrameNotDecompressed};
    }
    if (scratch != nullptr) {
      std::memcpy(destination, samples, frameBytes);
    }
    destination += frameBytes;
  }
  return {};
}

StoredSamples readProcessedSamples(DcmItem& item, unsigned int bytesPerSample) {
  StoredSamples stored = readStoredSamples(item, bytesPerSample);
  if (stored.highBit >= stored.bitsStored && readValueText(item, DCM_HighBit)) {
    // Deliberate: a high bit is believed only below Bits Stored; stored bits at the top of the
    // sample are taken for the lowest. Without stored bits there is none to point at.
    // Test: Samples/SliceDecodingConversion, HighBitAboveTheStoredBits
    stored.highBit = std::max(stored.bitsStored, 1U) - 1;
  }
  return stored;
}

KtHandle<ZrDataAccess> wrapSamples(char* samples, const KtVec3l& extent,
                                   unsigned int bytesPerSample, bool isSigned) {
  const long long pixel = bytesPerSample;
  const long long row = pixel * extent.x;
  const long long frame = row * extent.y;
  return {new ZrDataAccess(extent, KtVec3l(pixel, row, frame), samples,
                           sampleType(bytesPerSample, isSigned), 1,
                           KtAllocator(KtAllocator::kWrapping))};
}

Result<int> convertInPlace(const KtHandle<ZrDataAccess>& samples,
                           const ExDicomUtilities::LUT& modalityLut, const StoredSamples& stored) {
  KtHandle<ZrDataAccess> converted = samples;
  int offset = 0;
  const KtResult result = ExDicomUtilities::extractSample_applyLUT_makeUnsigned(
      converted, converted, offset, modalityLut, true, stored.bitsStored, stored.highBit);
  if (ExDicomUtilities::failsInternally(result.isOk(), "res.isOk()",
                                        ExDicomUtilities::CheckSource::kFrameConversion,
                                        kConversionFailureLine)) {
    // Deliberate: every failed conversion reads so, whatever its reason.
    // Test: SliceDecodingModalityLut.OfWiderEntriesThanTheSamplesFails
    return FailureText{kOutOfMemory};
  }
  return offset;
}

}  // namespace Zrg::Decoding
