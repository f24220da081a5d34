// SPDX-License-Identifier: BSD-3-Clause
// Frames by number. Which way a frame comes:
//
//   monochrome         its samples, from the file or the decoder, into the target
//   colour, native     rendered by DCMTK's image classes, which read just this frame
//   colour, compressed its samples from the decoder; then rendered as an image of their own, unless
//                      they are interleaved RGB already
#include "decoding/ImageFrames.h"

#include "decoding/Colour.h"
#include "decoding/ColourFrame.h"
#include "decoding/SampleMemory.h"
#include "decoding/SliceDecoding.h"
#include "streams/TransferSyntaxes.h"

#include <ktlib/KtString.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace Zrg::Decoding {

namespace {

constexpr char kPackedBits[] =
    "Bits Allocated is 1: pixels of one bit stand packed in bytes, which is not decoded";
constexpr char kNotWholeBytes[] =
    "Bits Allocated is %u: samples that do not fill 1, 2 or 4 bytes are not decoded";
constexpr char kNotOneSample[] = "Samples per Pixel is %u, where a monochrome image has 1";
constexpr char kNoSuchFrame[] = "There is no frame %llu: Number of Frames is %llu";
constexpr char kFrameTooLarge[] = "A frame of %llu bytes is more than DCMTK can decode (4 GiB)";
constexpr char kNoDecoder[] = "There is no decoder for the transfer syntax %s";
constexpr char kNoStart[] =
    "Neither the offset table nor the fragments tell where frame %llu begins";
constexpr char kStreamHasOtherImage[] =
    "The compressed image has %u x %u pixels of %u samples with %u bits, where the attributes say "
    "%u x %u pixels of %u samples with %u bits allocated";
constexpr char kNotWhole[] = "The compressed data does not hold the whole frame";
constexpr char kUnknownSign[] =
    "The compressed image has %u bits, where %u signed bits are stored: its signs are lost";
constexpr char kNotCompressed[] = "The samples of the image are not compressed";
constexpr char kNotDecoded[] = "The frame cannot be decoded: %s";

constexpr std::uint64_t kMostFramesOfDcmtk = std::uint64_t{1}
                                             << 31;  // DCMTK counts them with a sign

Result<void> hasDecodableSamples(const ImageAttributes& attributes) {
  const unsigned int bits = attributes.size.bitsAllocated;
  if (bits == 1) {
    return FailureText{kPackedBits};
  }
  if (bits != 8 && bits != 16 && bits != 32) {
    return Message(KtString::printf(kNotWholeBytes, bits).str());
  }
  if (attributes.monochrome && attributes.size.samplesPerPixel != 1) {
    const unsigned int samples = attributes.size.samplesPerPixel;
    return Message(KtString::printf(kNotOneSample, samples).str());
  }
  return {};
}

FrameFormat frameFormatOf(const ImageAttributes& attributes) {
  FrameFormat format;
  format.frames = attributes.frames.inFull;
  format.columns = attributes.size.columns;
  format.rows = attributes.size.rows;
  format.monochrome = attributes.monochrome;
  format.samplesPerPixel = attributes.monochrome ? 1 : 3;
  format.bytesPerSample = attributes.monochrome ? attributes.size.bytesPerSample() : 1;
  return format;
}

}  // namespace

Result<ReadableImage> readImage(DcmItem& item) {
  const Result<DcmPixelData*> pixelData = findPixelData(item);
  if (!pixelData) {
    return pixelData.reason();
  }
  ReadableImage image{*pixelData, readImageAttributes(item, *pixelData), {}};
  if (image.attributes.missing) {
    return *image.attributes.missing;
  }
  if (const Result<void> decodable = hasDecodableSamples(image.attributes); !decodable) {
    return decodable.reason();
  }
  image.format = frameFormatOf(image.attributes);
  return image;
}

ImageFrames::ImageFrames(DcmItem& item, ReadableImage image)
    : item_(item),
      image_(std::move(image)),
      fragments_(item, *image_.pixelData, image_.format.frames),
      decoder_(item, *image_.pixelData, image_.attributes) {}

bool ImageFrames::areUpToDate() const {
  // What an item without compressed samples holds is asked for anew with every frame.
  return !fragments_.areCompressed() ||
         !image_.pixelData->hasRepresentation(kExplicitLittleEndian, nullptr);
}

Result<void> ImageFrames::check(std::uint64_t frame) {
  if (Result<void> countable = isCountable(frame); !countable) {
    return countable;
  }
  if (!fragments_.areCompressed()) {
    return hasNativeBytes(frame);
  }
  const auto number = static_cast<Uint32>(frame);
  if (Result<void> begun = begin(number); !begun) {
    return begun;
  }
  const Result<Uint32> frameBytes = codedBytes();
  if (!frameBytes) {
    return frameBytes.reason();
  }
  return decoder_.mayDecode(number, *frameBytes) ? Result<void>() : reasonOfRefusal();
}

Result<void> ImageFrames::decode(std::uint64_t frame, char* target, std::uint64_t targetSize) {
  if (Result<void> countable = isCountable(frame); !countable) {
    return countable;
  }
  if (Result<void> fits = fitsTarget(targetSize, image_.format.frameBytes()); !fits) {
    return fits;
  }
  const auto number = static_cast<Uint32>(frame);
  const bool isNative = !DcmXfer(image_.attributes.storedSyntax).isEncapsulated();
  if (!image_.format.monochrome && isNative) {
    return renderNative(number, target);
  }
  if (Result<void> begun = begin(number); !begun) {
    return begun;
  }
  return image_.format.monochrome ? decodeStored(number, target) : renderDecoded(number, target);
}

Result<std::string> ImageFrames::decodeContainers(std::uint64_t frame, char* target,
                                                  std::uint64_t targetSize) {
  if (Result<void> countable = isCountable(frame); !countable) {
    return countable.reason();
  }
  if (!fragments_.areCompressed()) {
    return FailureText{kNotCompressed};
  }
  if (Result<void> fits = fitsTarget(targetSize, containerBytes()); !fits) {
    return fits.reason();
  }
  (void)completePlanarConfiguration(item_);  // the decoders ask for it
  const auto number = static_cast<Uint32>(frame);
  if (Result<void> begun = begin(number); !begun) {
    return begun.reason();
  }
  if (Result<void> taken = takeWhole(number, static_cast<Uint32>(containerBytes()), target);
      !taken) {
    return taken.reason();
  }
  return decoder_.colourModel();
}

/// Whether there is such a frame, and DCMTK can count its bytes.
Result<void> ImageFrames::isCountable(std::uint64_t frame) const {
  if (frame >= image_.format.frames || frame >= kMostFramesOfDcmtk) {
    const auto frames = static_cast<unsigned long long>(image_.format.frames);
    return Message(
        KtString::printf(kNoSuchFrame, static_cast<unsigned long long>(frame), frames).str());
  }
  const FrameSize& size = image_.attributes.size;
  const unsigned long long largest = std::max(size.decodedFrameBytes(), size.rgbBytes());
  if (largest > kMostDecodedBytes) {
    return Message(KtString::printf(kFrameTooLarge, largest).str());
  }
  return {};
}

/// Whether data that is not compressed reaches as far as a frame asks for.
Result<void> ImageFrames::hasNativeBytes(std::uint64_t frame) const {
  const FrameSize& size = image_.attributes.size;
  // DCMTK shows what a colour image lacks at its end as black; there is a luminance or an index for
  // each pixel at least.
  const unsigned long long required =
      image_.format.monochrome
          ? saturatedProduct(image_.format.frameBytes(), frame + 1)
          : saturatedSum(
                saturatedProduct(saturatedProduct(size.pixels(), size.bytesPerSample()), frame), 1);
  return holdsSamples(image_.pixelData->getLength(), required);
}

/// Finds the fragment in which a frame of compressed data begins; others need none.
Result<void> ImageFrames::begin(Uint32 frame) {
  if (!fragments_.areCompressed()) {
    return {};
  }
  const Result<Uint32> start = findStart(frame);
  if (!start) {
    return start.reason();
  }
  start_ = *start;
  decoder_.beginAt(frame, start_);
  return {};
}

/// The fragment in which a frame of compressed data begins.
Result<Uint32> ImageFrames::findStart(Uint32 frame) {
  if (!hasCodec(fragments_.syntax())) {
    return Message(KtString::printf(kNoDecoder, DcmXfer(fragments_.syntax()).getXferName()).str());
  }
  const std::optional<Uint32> start = fragments_.startOf(frame);
  if (!start) {
    return Message(KtString::printf(kNoStart, static_cast<unsigned long long>(frame)).str());
  }
  return *start;
}

std::optional<CodedFrame> ImageFrames::codedHeader() {
  return fragments_.areCompressed() ? fragments_.header(start_) : std::nullopt;
}

/// Bytes that the decoder makes of the frame that has begun: fewer than those of its containers,
/// where these have 16 bits and the stream has at most 8.
Result<Uint32> ImageFrames::codedBytes() {
  const FrameSize& size = image_.attributes.size;
  const bool mayBeNarrow = image_.format.monochrome && size.bitsAllocated == 16;
  const std::optional<CodedFrame> header = mayBeNarrow ? codedHeader() : std::nullopt;
  if (!header || header->precision > 8) {
    return static_cast<Uint32>(size.allocatedBytes());
  }
  if (image_.attributes.isSigned && size.bitsStored > header->precision) {
    return Message(
        KtString::printf(kUnknownSign, header->precision, unsigned{size.bitsStored}).str());
  }
  return static_cast<Uint32>(size.pixels());
}

Result<void> ImageFrames::decodeStored(Uint32 frame, char* target) {
  const Result<Uint32> coded = codedBytes();
  if (!coded) {
    return coded.reason();
  }
  const auto frameBytes = static_cast<Uint32>(image_.format.frameBytes());
  if (*coded != frameBytes) {
    return decodeNarrow(frame, *coded, target);
  }
  return takeWhole(frame, frameBytes, target);
}

/// Takes a frame into memory that has as many bytes as it, also where these are odd.
Result<void> ImageFrames::takeWhole(Uint32 frame, Uint32 frameBytes, char* target) {
  if (frameBytes % 2 == 0) {
    return take(frame, frameBytes, target, frameBytes);
  }
  // DCMTK asks for an even number of bytes.
  const Result<std::shared_ptr<char>> scratch = allocateSamples(std::size_t{frameBytes} + 1);
  if (!scratch) {
    return scratch.reason();
  }
  if (Result<void> taken = take(frame, frameBytes, scratch->get(), frameBytes + 1); !taken) {
    return taken;
  }
  std::memcpy(target, scratch->get(), frameBytes);
  return {};
}

/// A stream of at most 8 bits where containers of 16 bits are allocated: it is widened.
/// @param pixels of the frame, each of which comes out of the decoder as a byte
Result<void> ImageFrames::decodeNarrow(Uint32 frame, Uint32 pixels, char* target) {
  const auto frameBytes = static_cast<Uint32>(image_.format.frameBytes());
  if (Result<void> taken = take(frame, pixels, target, frameBytes); !taken) {
    return taken;
  }
  const auto* const bytes = reinterpret_cast<const Uint8*>(target);
  for (std::size_t i = pixels; i > 0; --i) {  // from the end: no byte is overwritten unread
    const Uint16 sample = bytes[i - 1];
    std::memcpy(target + 2 * (i - 1), &sample, sizeof sample);
  }
  return {};
}

Result<void> ImageFrames::renderNative(Uint32 frame, char* target) {
  const auto number = static_cast<int>(frame);
  const Task task{item_, *image_.pixelData, image_.attributes, {number, number, 1, false}};
  (void)completePlanarConfiguration(item_);  // the image classes ask for it, and know which it is
  const Result<std::unique_ptr<ColourFrames>> frames = renderedFrames(task);
  if (!frames) {
    return frames.reason();
  }
  constexpr int kOnly = 0;
  if (!(*frames)->hasFrame(kOnly)) {
    return (*frames)->missingFrame((*frames)->frameBytes());
  }
  return (*frames)->makeFrame(kOnly, target, (*frames)->frameBytes());
}

Result<void> ImageFrames::renderDecoded(Uint32 frame, char* target) {
  (void)completePlanarConfiguration(item_);  // the decoders ask for it; the frame knows which it is
  ColourFrame colour(item_, image_.attributes.size);
  const auto frameBytes = static_cast<Uint32>(image_.attributes.size.allocatedBytes());
  if (Result<void> taken = take(frame, frameBytes, colour.containers(), colour.containersSize());
      !taken) {
    return taken;
  }
  return colour.render(decoder_.colourModel(), target);
}

Result<void> ImageFrames::take(Uint32 frame, Uint32 frameBytes, void* target, Uint32 targetSize) {
  const OFCondition status = decoder_.decode(frame, frameBytes, target, targetSize);
  if (status.good()) {
    return {};
  }
  if (status == EC_CannotChangeRepresentation) {
    return reasonOfRefusal();
  }
  return Message(KtString::printf(kNotDecoded, status.text()).str());
}

Message ImageFrames::reasonOfRefusal() {
  const FrameSize& size = image_.attributes.size;
  const std::optional<CodedFrame> header = codedHeader();
  if (!header || (header->columns == size.columns && header->rows == size.rows &&
                  header->components == size.samplesPerPixel &&
                  (header->precision > 8) == (size.bitsAllocated > 8))) {
    return FailureText{kNotWhole};
  }
  return Message(KtString::printf(kStreamHasOtherImage, header->columns, header->rows,
                                  header->components, header->precision, unsigned{size.columns},
                                  unsigned{size.rows}, unsigned{size.samplesPerPixel},
                                  unsigned{size.bitsAllocated})
                     .str());
}

}  // namespace Zrg::Decoding
