// SPDX-License-Identifier: BSD-3-Clause
// Monochrome samples. All frames are decoded where they are, in the item's pixel data element, and
// the slice points at them; a range of frames is decoded one by one into the caller's target or
// into memory of the slice. Then both go the same way: modality LUT, overlays out of the spare bits,
// conversion of the samples in place.
#include "decoding/FrameDecoder.h"
#include "decoding/SliceDecoding.h"
#include "dicom/ItemValues.h"
#include "samples/InternalCheck.h"
#include "streams/CodecGuard.h"
#include "streams/TransferSyntaxes.h"

#include <zrdcmexport/ExDicomUtilitiesLUT.h>
#include <zrdcmexport/ZrNumbers.h>
#include <zrvolren/ZrDataAccess.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace Zrg::Decoding {

namespace {

constexpr char kNoSamplesPerPixel[] = "Dicom tag DCM_SamplesPerPixel (0028,0002) not found";
constexpr char kNotOneSamplePerPixel[] =
    "Dicom tag DCM_SamplesPerPixel does not have the expected value";
constexpr char kNotDecompressed[] = "Pixel data can't be decompressed";
constexpr char kIncomplete[] = "Pixel data incomplete, expected %zu bytes, found %zu bytes";
constexpr char kUnsupportedSampleSize[] = "Only 8 or 16 bit pixel data is supported!";
constexpr char kNotReadable[] = "Error reading pixel data!";
constexpr char kFrameNotDecompressed[] = "Error decompressing frames";
constexpr char kNoPixelData[] = "No pixel data";

/// Line by which a failed conversion is known to those who search logs for it; no place in this file.
/// The check is in `convert`.
constexpr int kConversionFailureLine = 610;

/// Where the stored bits stand inside a sample.
struct StoredBits {
  unsigned int allocated = 0;
  unsigned int stored = 0;
  unsigned int highBit = 0;
  bool isSigned = false;
};

bool hasOneSamplePerPixel(DcmItem& item, std::string& errorText) {
  // Deliberate: read once more, as text. Test: SliceDecodingMonochrome.RefusesSamplesPerPixelThatHaveNoText
  const std::optional<int> samplesPerPixel = readInt(item, DCM_SamplesPerPixel);
  if (!samplesPerPixel) {
    errorText = kNoSamplesPerPixel;
    return false;
  }
  if (*samplesPerPixel != 1) {
    errorText = kNotOneSamplePerPixel;
    return false;
  }
  return true;
}

/// Bytes of all samples that the slice is to hold.
std::size_t requiredSize(const ImageAttributes& attributes, int frames) {
  return times(attributes.size.allocatedBytes(), static_cast<unsigned long long>(frames));
}

bool decompressInPlace(const Task& task, std::string& errorText) {
  DcmStack stack;
  stack.push(&task.item);
  stack.push(&task.pixelData);
  CodecGuard guard(task.attributes, task.pixelData);
  if (!guard.allFramesAreSafe() ||
      task.pixelData.chooseRepresentation(kExplicitLittleEndian, nullptr, stack).bad()) {
    errorText = kNotDecompressed;
    return false;
  }
  return true;
}

/// The element's own array of samples.
bool fetchSamples(DcmPixelData& pixelData, unsigned int bytesPerSample, char*& samples,
                  std::string& errorText) {
  OFCondition status;
  if (bytesPerSample == 1) {
    Uint8* bytes = nullptr;
    status = pixelData.getUint8Array(bytes);
    samples = reinterpret_cast<char*>(bytes);
  } else if (bytesPerSample == 2) {
    Uint16* words = nullptr;
    status = pixelData.getUint16Array(words);
    samples = reinterpret_cast<char*>(words);
  } else {
    errorText = kUnsupportedSampleSize;
    return false;
  }
  if (status.bad()) {
    errorText = kNotReadable;
    return false;
  }
  return true;
}

/// All frames: the samples stay in the pixel data element.
bool decodeAllFrames(const SliceImage& slice, const Task& task, char*& samples,
                     std::string& errorText) {
  if (!decompressInPlace(task, errorText)) {
    return false;
  }
  const std::size_t required = requiredSize(task.attributes, task.frames.count);
  const std::size_t found = task.pixelData.getLength();
  if (found < required) {
    errorText = KtString::printf(kIncomplete, required, found).str();
    return false;
  }
  return fetchSamples(task.pixelData, slice.bytesPerSample, samples, errorText);
}

/// Memory for a range of frames: the caller's when it is given and large enough, else the slice's.
bool findDestination(SliceImage& slice, const Task& task, char*& destination,
                     std::string& errorText) {
  const std::size_t required = requiredSize(task.attributes, task.frames.count);
  if (task.target != nullptr) {
    destination = static_cast<char*>(task.target);
    return fitsTarget(task.targetSize, required, errorText);
  }
  const auto first = static_cast<unsigned long>(task.frames.first);
  const auto count = static_cast<unsigned long>(task.frames.count);
  if (!CodecGuard(task.attributes, task.pixelData).mayHoldFrames(first, count)) {
    errorText = kFrameNotDecompressed;
    return false;
  }
  std::shared_ptr<char> memory = allocateSamples(required, errorText);
  if (memory == nullptr) {
    return false;
  }
  if (slice.data == slice.buffer.get()) {
    slice.data = nullptr;  // the memory it points at may go with the old buffer
  }
  slice.buffer = std::move(memory);
  destination = slice.buffer.get();
  return true;
}

/// Decodes one frame after the other to `destination`.
bool decodeFrames(const Task& task, Uint32 frameSize, char* destination, std::string& errorText) {
  // DCMTK's frame decoder wants an even number of bytes.
  std::shared_ptr<char> scratch;
  if (frameSize % 2 != 0) {
    scratch = allocateSamples(std::size_t{frameSize} + 1, errorText);
    if (scratch == nullptr) {
      return false;
    }
  }
  // DCMTK counts samples of, say, 12 bits as one and a half bytes: the rest of the frame is no data.
  Uint32 storedSize = 0;
  const bool partial = task.pixelData.getUncompressedFrameSize(&task.item, storedSize).good() &&
                       storedSize < frameSize;

  FrameDecoder decoder(task.item, task.pixelData, task.attributes);
  for (int frame = task.frames.first; frame <= task.frames.last; ++frame) {
    char* const cells = scratch != nullptr ? scratch.get() : destination;
    if (partial) {
      std::memset(cells, 0, frameSize);
    }
    if (decoder.decode(static_cast<Uint32>(frame), frameSize, cells, frameSize + frameSize % 2)
            .bad()) {
      errorText = kFrameNotDecompressed;
      return false;
    }
    if (scratch != nullptr) {
      std::memcpy(destination, cells, frameSize);
    }
    destination += frameSize;
  }
  return true;
}

/// A range of frames: the samples go to the caller's target or to the slice's own memory.
bool decodeFrameRange(SliceImage& slice, const Task& task, char*& samples, std::string& errorText) {
  if (!findDestination(slice, task, samples, errorText)) {
    return false;
  }
  const std::size_t frameSize = requiredSize(task.attributes, 1);
  if (frameSize > std::numeric_limits<Uint32>::max()) {  // DCMTK counts the bytes of a frame so
    errorText = kFrameNotDecompressed;
    return false;
  }
  return decodeFrames(task, static_cast<Uint32>(frameSize), samples, errorText);
}

/// Bits Stored and High Bit, made to fit into the samples.
StoredBits readStoredBits(DcmItem& item, unsigned int bytesPerSample) {
  const int allocated = bytesPerSample == 2 ? 16 : 8;
  StoredBits bits;
  bits.allocated = static_cast<unsigned int>(allocated);
  bits.isSigned = readInt(item, DCM_PixelRepresentation) == 1;

  const int stored = std::clamp(readInt(item, DCM_BitsStored).value_or(0), 0, allocated);
  bits.stored = static_cast<unsigned int>(stored);

  int highBit = allocated - 1;
  if (const std::optional<int> value = readInt(item, DCM_HighBit)) {
    // Deliberate: a high bit is believed only below Bits Stored; stored bits that stand at the top
    // of the sample are taken for the lowest. Without stored bits there is none to point at.
    // Test: Samples/SliceDecodingConversion, HighBitAboveTheStoredBits
    highBit = std::max(0, *value < stored ? *value : stored - 1);
  }
  bits.highBit = static_cast<unsigned int>(highBit);
  return bits;
}

KtPrimType sampleType(unsigned int bytesPerSample, bool isSigned) {
  if (bytesPerSample == 2) {
    return isSigned ? KtPrimType::S16 : KtPrimType::U16;
  }
  return isSigned ? KtPrimType::S8 : KtPrimType::U8;
}

KtHandle<ZrDataAccess> wrapSamples(const SliceImage& slice, bool isSigned) {
  const long long pixel = static_cast<long long>(slice.samplesPerPixel) * slice.bytesPerSample;
  const long long row = pixel * slice.extent.x;
  const long long frame = row * slice.extent.y;
  return {new ZrDataAccess(slice.extent, KtVec3l(pixel, row, frame), slice.data,
                           sampleType(slice.bytesPerSample, isSigned), slice.samplesPerPixel,
                           KtAllocator(KtAllocator::kWrapping))};
}

/// Isolates the stored bits, applies the modality LUT and makes signed samples unsigned, in place.
bool convert(SliceImage& slice, KtHandle<ZrDataAccess>& samples,
             const ExDicomUtilities::LUT& modalityLut, const StoredBits& bits,
             std::string& errorText) {
  int offset = 0;
  const KtResult result = ExDicomUtilities::extractSample_applyLUT_makeUnsigned(
      samples, samples, offset, modalityLut, true, bits.stored, bits.highBit);
  if (ExDicomUtilities::failsInternally(result.isOk(), "res.isOk()",
                                        ExDicomUtilities::CheckSource::kFrameConversion,
                                        kConversionFailureLine)) {
    // Deliberate: every failed conversion reads so, whatever its reason.
    // Test: SliceDecodingModalityLut.OfWiderEntriesThanTheSamplesFails
    errorText = kOutOfMemory;
    return false;
  }
  slice.sampleOffset = static_cast<float>(offset);
  return true;
}

}  // namespace

bool decodeMonochrome(SliceImage& slice, const Task& task, std::string& errorText) {
  slice.samplesPerPixel = 1;
  if (!hasOneSamplePerPixel(task.item, errorText)) {
    return false;
  }
  char* samples = nullptr;
  if (!(task.frames.all ? decodeAllFrames(slice, task, samples, errorText)
                        : decodeFrameRange(slice, task, samples, errorText))) {
    return false;
  }

  ExDicomUtilities::LUT modalityLut;
  ExDicomUtilities::LUT::dcmDatasetRead(modalityLut, task.item, false);
  if (modalityLut.entries.isNotNull()) {
    slice.rescale = KtVec2f(1.0F, 0.0F);  // a table replaces slope and intercept
  }
  if (samples == nullptr || (slice.bytesPerSample != 1 && slice.bytesPerSample != 2)) {
    errorText = kNoPixelData;
    return false;
  }
  slice.data = samples;

  const StoredBits bits = readStoredBits(task.item, slice.bytesPerSample);
  if (bits.stored != bits.allocated) {
    slice.extractEmbeddedOverlays(task.item, task.frames.first, task.frames.last);
  }
  KtHandle<ZrDataAccess> wrapped = wrapSamples(slice, bits.isSigned);
  return !slice.convertSamples || convert(slice, wrapped, modalityLut, bits, errorText);
}

}  // namespace Zrg::Decoding
