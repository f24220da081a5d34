// SPDX-License-Identifier: BSD-3-Clause
// Colour, palettes included: always delivered as interleaved RGB with 8 bits a sample. Frames that
// the decoders deliver in that form are taken from them directly; everything else is rendered by
// DCMTK's image classes.
#include "decoding/FrameDecoder.h"
#include "decoding/SliceDecoding.h"
#include "dicom/ItemValues.h"
#include "streams/CodecGuard.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"
#include "dcmtk/dcmimgle/dcmimage.h"
#include "dcmtk/dcmimgle/didocu.h"

#include <cstdint>
#include <new>
#include <optional>

namespace Zrg::Decoding {

namespace {

constexpr char kNoDocumentMemory[] = "Unable to create valid DiDocument object (out of memory)";
constexpr char kNoDocument[] = "Unable to create valid DiDocument object";
constexpr char kNoPixelDataInDocument[] = "Unable to locate DcmPixelData in DiDocument object";
constexpr char kNoImageMemory[] = "Unable to create valid DicomImage object (out of memory)";
constexpr char kNoUncompressedData[] = "Uncompressed data has size 0";
constexpr char kTooLarge[] = "pixel data has an unsupported uncompressed size of more than 4GB";
constexpr char kNotRendered[] = "DicomImage::getOutputData() failed";
constexpr char kFrameNotDecompressed[] = "DcmPixelData::getUncompressedFrame() failed";

constexpr unsigned long long kFourGiB = 1ULL << 32;
constexpr int kBitsPerSample = 8;
constexpr int kInterleaved = 0;

/// One colour image on its way to RGB.
struct Rendering {
  unsigned long flags = 0;  ///< of DCMTK's image classes
  std::unique_ptr<DiDocument> document;
  DcmPixelData* decoder = nullptr;    ///< the document's pixel data
  DcmItem* decoderItem = nullptr;     ///< the document's dataset
  std::unique_ptr<DicomImage> image;  ///< null when frames are taken from the decoder directly
  unsigned long frameSize = 0;        ///< bytes of a frame as it is delivered
};

void announceRgb(SliceImage& slice) {
  slice.samplesPerPixel = 3;
  slice.bytesPerSample = 1;
}

std::string frameNotDecompressed(const OFCondition& status) {
  const std::string reason = status.text();
  return reason.empty() ? kFrameNotDecompressed : kFrameNotDecompressed + (": " + reason);
}

/// What DCMTK says of a frame that its decoders do not take.
std::string frameRefused() {
  return frameNotDecompressed(EC_CannotChangeRepresentation);
}

/// Whether native samples of more than 16 bits are all there with all their bytes. DCMTK puts them
/// together from words, and does not find the end when the last one lacks some of its words.
bool hasWholeSamples(const Task& task) {
  const bool isNative = !DcmXfer(task.attributes.storedSyntax).isEncapsulated();
  return !isNative || task.pixelData.getLength() % task.attributes.size.bytesPerSample() == 0;
}

bool mayOpenImage(const Task& task, std::string& errorText) {
  if (task.attributes.size.bytesPerSample() > 2 && !hasWholeSamples(task)) {
    errorText = kNoUncompressedData;
    return false;
  }
  CodecGuard guard(task.item, task.pixelData);
  const auto first = static_cast<unsigned long>(task.frames.first);
  const auto count = static_cast<unsigned long>(task.frames.count);
  const bool isCountable = task.frames.all ? guard.isCountable() : guard.isCountable(count);
  if (!isCountable) {
    errorText = kTooLarge;
    return false;
  }
  const bool isSafe = task.frames.all
                          ? allImagesAreSafe(task.item)
                          : guard.colourModelIsSafe() && guard.framesAreSafe(first, count);
  if (!isSafe) {
    errorText = kNoUncompressedData;
  }
  return isSafe;
}

/// Bytes of a frame of interleaved RGB, which is what a colour slice says that it holds.
unsigned long long rgbFrameSize(const Task& task) {
  return task.attributes.size.rgbBytes();
}

/// Whether the frames would take more bytes than their positions are counted in, 32 bits. A single
/// frame has none.
bool isTooLarge(const Task& task) {
  const auto count = static_cast<unsigned long long>(task.frames.count);
  return count > 1 && rgbFrameSize(task) * count >= kFourGiB;
}

/// Bytes of a frame that the decoder delivers as interleaved RGB; nothing when it delivers frames in
/// another form or size, so that they must be rendered.
std::optional<unsigned long> directFrameSize(const Task& task, const DcmXfer& syntax, DcmItem& item,
                                             DcmPixelData& decoder) {
  const bool isRgb = task.attributes.photometricInterpretation == "RGB";
  Uint32 frameSize = 0;
  const bool isDirect = syntax.isEncapsulated() && (syntax.isLossy() || isRgb) &&
                        decoder.getUncompressedFrameSize(&item, frameSize).good() &&
                        frameSize % 2 == 0 && frameSize == rgbFrameSize(task);
  return isDirect ? std::optional<unsigned long>(frameSize) : std::nullopt;
}

/// Whether DCMTK may open the item as a document: it decompresses all frames then, or the first one
/// of a range for its colour model. Were that to fail, the document would be there all the same: the
/// message is that of the step which comes to grief over the frames.
bool mayOpenDocument(const Task& task, std::string& errorText) {
  CodecGuard guard(task.item, task.pixelData);
  if (task.frames.all && !guard.isCountable()) {
    errorText = kTooLarge;
    return false;
  }
  if (task.frames.all ? allImagesAreSafe(task.item) : guard.colourModelIsSafe()) {
    return true;
  }
  const DcmXfer syntax(task.attributes.storedSyntax);
  errorText = directFrameSize(task, syntax, task.item, task.pixelData) ? frameRefused()
                                                                       : kNoUncompressedData;
  return false;
}

/// Opens the item as a document and finds its decoder.
bool openDocument(SliceImage& slice, const Task& task, Rendering& rendering,
                  std::string& errorText) {
  if (!mayOpenDocument(task, errorText)) {
    announceRgb(slice);
    return false;
  }
  try {
    rendering.document =
        std::make_unique<DiDocument>(&task.item, task.attributes.storedSyntax, rendering.flags,
                                     static_cast<unsigned long>(task.frames.first),
                                     static_cast<unsigned long>(task.frames.count));
  } catch (const std::bad_alloc&) {
    errorText = kNoDocumentMemory;
    throw;
  }
  rendering.decoderItem = dynamic_cast<DcmItem*>(rendering.document->getDicomObject());
  if (rendering.decoderItem == nullptr) {
    errorText = kNoDocument;
    return false;
  }
  rendering.decoder = rendering.document->getPixelData();
  if (rendering.decoder == nullptr) {
    errorText = kNoPixelDataInDocument;
    return false;
  }
  announceRgb(slice);
  return true;
}

/// Whether an image whose pixels share their colour two by two has them all in pairs. DCMTK leaves a
/// pixel without its partner as it comes from the heap. @see PS3.3 C.7.6.3.1.2 (YBR_FULL_422)
bool hasWholePairs(const Task& task, const DicomImage& image) {
  const EP_Interpretation interpretation = image.getPhotometricInterpretation();
  if (interpretation != EPI_YBR_Full_422 && interpretation != EPI_YBR_Partial_422) {
    return true;
  }
  constexpr unsigned long long kSamplesPerPixel = 2;  // two luminances and both differences a pair
  const unsigned long long pixels = task.attributes.size.pixels();
  const unsigned long long frameSize =
      kSamplesPerPixel * task.attributes.size.bytesPerSample() * pixels;
  // Decoders fill the frames of a range; native samples must reach to the end of its last one.
  const bool hasLength = task.frames.all || !DcmXfer(task.attributes.storedSyntax).isEncapsulated();
  const auto frames =
      static_cast<unsigned long long>(task.frames.all ? task.frames.count : task.frames.last + 1);
  return pixels % 2 == 0 && (!hasLength || task.pixelData.getLength() >= frameSize * frames);
}

/// Opens the item as an image, which may turn out to have nothing to show: a frame size of 0.
bool openImage(const Task& task, Rendering& rendering, std::string& errorText) {
  if (!mayOpenImage(task, errorText)) {
    return false;
  }
  E_TransferSyntax syntax = task.attributes.storedSyntax;
  if (rendering.document != nullptr) {
    // The document may have decompressed the pixel data in place; what was compressed is gone then.
    syntax = storedSyntaxOf(task.pixelData);
  }
  try {
    rendering.image = std::make_unique<DicomImage>(&task.item, syntax, rendering.flags,
                                                   static_cast<unsigned long>(task.frames.first),
                                                   static_cast<unsigned long>(task.frames.count));
  } catch (const std::bad_alloc&) {
    errorText = kNoImageMemory;
    throw;
  }
  (void)rendering.image->hideAllOverlays(0);  // 0 says that there are none
  rendering.frameSize = rendering.image->getOutputDataSize(kBitsPerSample);
  if (rendering.frameSize != 0 && (rendering.frameSize != rgbFrameSize(task) ||  // grey after all
                                   !hasWholePairs(task, *rendering.image))) {
    errorText = kNotRendered;
    return false;
  }
  return true;
}

bool hasFrame(const Task& task, const Rendering& rendering, int frame) {
  if (rendering.image == nullptr) {
    // All frames were to be decompressed, which has failed; the decoder's way knows the first alone.
    return !task.frames.all || frame == 0;
  }
  return rendering.image->getFrameCount() > static_cast<unsigned long>(frame);
}

/// Whether there is coded data for frames that the decoder is to deliver.
bool mayHoldFrames(const Task& task, const Rendering& rendering) {
  return rendering.image != nullptr ||
         CodecGuard(*rendering.decoderItem, *rendering.decoder)
             .mayHoldFrames(0, static_cast<unsigned long>(task.frames.count));
}

/// The message for a frame that is not there or cannot be rendered, when all are of so many bytes.
std::string missingFrame(const Rendering& rendering, unsigned long long total) {
  if (rendering.image == nullptr) {
    return frameRefused();
  }
  return total >= kFourGiB ? kTooLarge : kNotRendered;
}

bool findDestination(SliceImage& slice, const Task& task, const Rendering& rendering,
                     std::size_t required, std::string& errorText) {
  if (slice.buffer != nullptr || slice.data != nullptr) {
    // Deliberate: a slice that has memory keeps it, and it is trusted to be large enough.
    // Test: SliceDecodingColour.WritesIntoTheMemoryThatTheSliceHas
    return true;
  }
  if (task.target != nullptr) {
    if (!fitsTarget(task.targetSize, required, errorText)) {
      return false;
    }
    slice.data = static_cast<char*>(task.target);
    return true;
  }
  if (!hasFrame(task, rendering, task.frames.count - 1) ||  // before memory is taken for all
      !mayHoldFrames(task, rendering)) {
    errorText = missingFrame(rendering, required);
    return false;
  }
  slice.buffer = allocateSamples(required, errorText);
  return slice.buffer != nullptr;
}

bool renderFrame(const Rendering& rendering, unsigned long frame, char* destination) {
  return rendering.image->getOutputData(destination, rendering.frameSize, kBitsPerSample, frame,
                                        kInterleaved) != 0;
}

/// Takes a frame from the decoder as it comes.
bool decodeDirectly(const Rendering& rendering, Uint32 frame, char* destination,
                    std::string& errorText) {
  const auto frameSize = static_cast<Uint32>(rendering.frameSize);
  FrameDecoder decoder(*rendering.decoderItem, *rendering.decoder,
                       readImageAttributes(*rendering.decoderItem, rendering.decoder));
  const OFCondition status = decoder.decode(frame, frameSize, destination, frameSize);
  if (status.bad()) {
    errorText = frameNotDecompressed(status);
  }
  return status.good();
}

bool deliverFrames(SliceImage& slice, const Task& task, const Rendering& rendering,
                   std::string& errorText) {
  const unsigned long long total = static_cast<unsigned long long>(rendering.frameSize) *
                                   static_cast<unsigned long long>(task.frames.count);
  if (!findDestination(slice, task, rendering, total, errorText)) {
    return false;
  }
  char* const memory = slice.data != nullptr ? slice.data : slice.buffer.get();
  char* const start = memory + static_cast<std::uint32_t>(slice.frameOffset);
  for (int frame = 0; frame < task.frames.count; ++frame) {
    const std::size_t position = std::size_t{rendering.frameSize} * static_cast<std::size_t>(frame);
    if (!hasFrame(task, rendering, frame)) {
      errorText = missingFrame(rendering, total);
      return false;
    }
    if (rendering.image == nullptr) {
      // Deliberate: always the first frame of the dataset. This way is meant for single frames; with
      // a range of frames every one of them is the first. Zrg::decodeFrame takes them by number.
      // Test: SliceDecodingColour.RangeOfDirectlyDecodedFramesRepeatsTheFirstFrameOfTheDataset
      constexpr Uint32 kFirst = 0;
      if (!decodeDirectly(rendering, kFirst, start + position, errorText)) {
        return false;
      }
    } else if (!renderFrame(rendering, static_cast<unsigned long>(frame), start + position)) {
      errorText = missingFrame(rendering, total);
      return false;
    }
  }
  return true;
}

}  // namespace

bool completePlanarConfiguration(DcmItem& item) {
  const std::optional<Uint16> configuration = readUint16(item, DCM_PlanarConfiguration);
  if (!configuration) {
    // Nothing depends on this at once; what cannot be decoded without it says so itself.
    (void)item.putAndInsertUint16(DCM_PlanarConfiguration, 0);
    return false;
  }
  return *configuration != 0;
}

bool decodeColour(SliceImage& slice, const Task& task, std::string& errorText) {
  if (isTooLarge(task)) {
    announceRgb(slice);
    errorText = kTooLarge;
    return false;
  }
  Rendering rendering;
  const bool wideSamples = slice.bytesPerSample >= 2;
  bool render = completePlanarConfiguration(task.item) || wideSamples;
  rendering.flags = task.frames.all ? 0 : CIF_UsePartialAccessToPixelData;

  if (render || task.attributes.photometricInterpretation == "PALETTE COLOR") {
    announceRgb(slice);
    render = true;
  } else {
    if (!openDocument(slice, task, rendering, errorText)) {
      return false;
    }
    const std::optional<unsigned long> frameSize =
        directFrameSize(task, DcmXfer(rendering.document->getTransferSyntax()),
                        *rendering.decoderItem, *rendering.decoder);
    render = !frameSize;
    rendering.frameSize = frameSize.value_or(0);
  }
  if (render && !openImage(task, rendering, errorText)) {
    return false;
  }
  if (rendering.frameSize == 0) {
    errorText = kNoUncompressedData;
    return false;
  }
  return deliverFrames(slice, task, rendering, errorText);
}

}  // namespace Zrg::Decoding
