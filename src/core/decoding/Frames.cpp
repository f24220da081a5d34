// SPDX-License-Identifier: BSD-3-Clause
// Frames by number. Which way a frame comes:
//
//   monochrome         its cells, from the file or the decoder, into the target
//   colour, native     rendered by DCMTK's image classes, which read just this frame
//   colour, compressed its cells from the decoder; then rendered as an image of their own, unless
//                      they are interleaved RGB already
#include "decoding/ColourFrame.h"
#include "decoding/FrameDecoder.h"
#include "decoding/FrameFragments.h"
#include "decoding/SliceDecoding.h"
#include "streams/TransferSyntaxes.h"

#include <zrdcmexport/ZrFrames.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <cstring>
#include <new>

namespace Zrg {

namespace Decoding {

namespace {

constexpr char kPackedBits[] =
    "Bits Allocated is 1: pixels of one bit stand packed in bytes, which is not decoded";
constexpr char kNoWholeCells[] = "Bits Allocated is %u: only 8, 16 and 32 bits are decoded";
constexpr char kNotOneSample[] = "Samples per Pixel is %u, where a monochrome image has 1";
constexpr char kNoSuchFrame[] = "There is no frame %llu: Number of Frames is %llu";
constexpr char kFrameTooLarge[] = "A frame of %llu bytes is more than DCMTK can decode (4 GiB)";
constexpr char kNoDecoder[] = "There is no decoder for the transfer syntax %s";
constexpr char kNoStart[] =
    "Neither the offset table nor the fragments tell where frame %llu begins";
constexpr char kOtherImage[] =
    "The compressed image has %u x %u pixels of %u samples with %u bits, where the attributes say "
    "%u x %u pixels of %u samples with %u bits allocated";
constexpr char kNotWhole[] = "The compressed data does not hold the whole frame";
constexpr char kUnknownSign[] =
    "The compressed image has %u bits, where %u signed bits are stored: its signs are lost";
constexpr char kNotDecoded[] = "The frame cannot be decoded: %s";

constexpr unsigned long long kMostFrameBytes = (1ULL << 32) - 2;  // DCMTK makes sizes even

/// An image whose frames can be asked for.
struct Image {
  DcmPixelData* pixelData = nullptr;
  ImageAttributes attributes;
  FrameFormat format;
};

bool hasDecodableCells(const Image& image, std::string& errorText) {
  const unsigned int bits = image.attributes.size.bitsAllocated;
  if (bits == 1) {
    errorText = kPackedBits;
    return false;
  }
  if (bits != 8 && bits != 16 && bits != 32) {
    errorText = KtString::printf(kNoWholeCells, bits).str();
    return false;
  }
  if (image.format.monochrome && image.attributes.size.samplesPerPixel != 1) {
    errorText =
        KtString::printf(kNotOneSample, unsigned{image.attributes.size.samplesPerPixel}).str();
    return false;
  }
  return true;
}

/// Everything that is known before a sample is read; nothing, with the message set, for an image that
/// cannot be decoded.
std::optional<Image> readImage(DcmItem& item, std::string& errorText) {
  Image image;
  const Result<DcmPixelData*> pixelData = findPixelData(item);
  if (!pixelData) {
    errorText = pixelData.reason().text;
    return std::nullopt;
  }
  image.pixelData = *pixelData;
  image.attributes = readImageAttributes(item, *pixelData);
  const ImageAttributes& attributes = image.attributes;
  if (attributes.missing) {
    errorText = attributes.missing->text;
    return std::nullopt;
  }
  image.format.frames = attributes.frames.inFull;
  image.format.columns = attributes.size.columns;
  image.format.rows = attributes.size.rows;
  image.format.monochrome = attributes.monochrome;
  image.format.samplesPerPixel = attributes.monochrome ? 1 : 3;
  image.format.bytesPerSample = attributes.monochrome ? attributes.size.bytesPerSample() : 1;
  if (!hasDecodableCells(image, errorText)) {
    return std::nullopt;
  }
  return image;
}

/// One frame on its way into the caller's memory.
class FrameTask {
public:
  FrameTask(DcmItem& item, const Image& image, Uint32 frame, char* target)
      : item_(item),
        image_(image),
        frame_(frame),
        target_(target),
        fragments_(*image.pixelData, image.format.frames),
        decoder_(item, *image.pixelData, image.attributes) {}

  bool decode(std::string& errorText) {
    const bool isNative = !DcmXfer(image_.attributes.storedSyntax).isEncapsulated();
    if (!image_.format.monochrome && isNative) {
      return renderNative(errorText);
    }
    if (fragments_.areCompressed() && !findStart(errorText)) {
      return false;
    }
    return image_.format.monochrome ? decodeCells(errorText) : renderDecoded(errorText);
  }

private:
  /// Where the frame begins, and what stands there.
  bool findStart(std::string& errorText) {
    if (!hasCodec(fragments_.syntax())) {
      errorText = KtString::printf(kNoDecoder, DcmXfer(fragments_.syntax()).getXferName()).str();
      return false;
    }
    const std::optional<Uint32> start = fragments_.startOf(frame_);
    if (!start) {
      errorText = KtString::printf(kNoStart, static_cast<unsigned long long>(frame_)).str();
      return false;
    }
    decoder_.beginAt(frame_, *start);
    header_ = fragments_.header(*start);
    return true;
  }

  /// Whether a stream of at most 8 bits stands where cells of 16 bits are allocated.
  bool isNarrow() const {
    return header_ && header_->precision <= 8 && image_.attributes.size.bitsAllocated == 16;
  }

  bool decodeCells(std::string& errorText) {
    const auto frameBytes = static_cast<std::size_t>(image_.format.frameBytes());
    const auto cellsSize = static_cast<Uint32>(frameBytes + frameBytes % 2);
    std::shared_ptr<char> scratch;
    if (cellsSize != frameBytes) {  // DCMTK wants an even number of bytes
      scratch = allocateSamples(cellsSize, errorText);
      if (scratch == nullptr) {
        return false;
      }
    }
    char* const cells = scratch != nullptr ? scratch.get() : target_;
    if (isNarrow()) {
      return decodeNarrowCells(cells, cellsSize, errorText);
    }
    if (!take(static_cast<Uint32>(frameBytes), cells, cellsSize, errorText)) {
      return false;
    }
    if (scratch != nullptr) {
      std::memcpy(target_, cells, frameBytes);
    }
    return true;
  }

  /// Cells of 16 bits are even in number of bytes: they stand in the target.
  bool decodeNarrowCells(char* cells, Uint32 cellsSize, std::string& errorText) {
    if (image_.attributes.isSigned && image_.attributes.size.bitsStored > header_->precision) {
      errorText = KtString::printf(kUnknownSign, header_->precision,
                                   unsigned{image_.attributes.size.bitsStored})
                      .str();
      return false;
    }
    const auto pixels = static_cast<Uint32>(image_.attributes.size.pixels());
    if (!take(pixels, cells, cellsSize, errorText)) {
      return false;
    }
    const auto* const bytes = reinterpret_cast<const Uint8*>(cells);
    for (std::size_t i = pixels; i > 0;
         --i) {  // from the end, so that no byte is overwritten unread
      const Uint16 cell = bytes[i - 1];
      std::memcpy(cells + 2 * (i - 1), &cell, sizeof cell);
    }
    return true;
  }

  bool renderNative(std::string& errorText) {
    const auto number = static_cast<int>(frame_);
    const FrameRange range{number, number, 1, false};
    const Task task{
        item_, *image_.pixelData, image_.attributes,
        range, target_,           static_cast<unsigned long>(image_.attributes.size.rgbBytes())};
    SliceImage slice;
    slice.bytesPerSample = image_.attributes.size.bytesPerSample();
    return decodeColour(slice, task, errorText);
  }

  bool renderDecoded(std::string& errorText) {
    (void)completePlanarConfiguration(
        item_);  // the decoders ask for it; which it is, the frame knows
    const auto frameBytes = static_cast<Uint32>(image_.attributes.size.allocatedBytes());
    ColourFrame colour(item_, image_.attributes.size);
    if (!take(frameBytes, colour.cells(), colour.cellsSize(), errorText)) {
      return false;
    }
    return colour.render(decoder_.colourModel(), target_, errorText);
  }

  bool take(Uint32 frameBytes, void* cells, Uint32 cellsSize, std::string& errorText) {
    const OFCondition status = decoder_.decode(frame_, frameBytes, cells, cellsSize);
    if (status.good()) {
      return true;
    }
    errorText = status == EC_CannotChangeRepresentation
                    ? reasonOfRefusal()
                    : KtString::printf(kNotDecoded, status.text()).str();
    return false;
  }

  std::string reasonOfRefusal() const {
    const FrameSize& size = image_.attributes.size;
    const bool agrees =
        !header_ || (header_->columns == size.columns && header_->rows == size.rows &&
                     header_->components == size.samplesPerPixel &&
                     (header_->precision > 8) == (size.bitsAllocated > 8));
    if (agrees) {
      return kNotWhole;
    }
    return KtString::printf(kOtherImage, header_->columns, header_->rows, header_->components,
                            header_->precision, unsigned{size.columns}, unsigned{size.rows},
                            unsigned{size.samplesPerPixel}, unsigned{size.bitsAllocated})
        .str();
  }

  DcmItem& item_;
  const Image& image_;
  Uint32 frame_;
  char* target_;
  FrameFragments fragments_;
  FrameDecoder decoder_;
  std::optional<CodedFrame> header_;  ///< of the compressed frame, where it has one
};

/// Whether there is such a frame, the target holds it, and DCMTK can count its bytes.
bool mayDecode(const Image& image, std::uint64_t frame, std::uint64_t targetSize,
               std::string& errorText) {
  if (frame >= image.format.frames || frame >= std::uint64_t{1} << 31) {
    errorText = KtString::printf(kNoSuchFrame, static_cast<unsigned long long>(frame),
                                 static_cast<unsigned long long>(image.format.frames))
                    .str();
    return false;
  }
  const unsigned long long largest =
      std::max(image.attributes.size.cellsBytes(), image.attributes.size.rgbBytes());
  if (largest > kMostFrameBytes) {
    errorText = KtString::printf(kFrameTooLarge, largest).str();
    return false;
  }
  return fitsTarget(targetSize, image.format.frameBytes(), errorText);
}

}  // namespace

}  // namespace Decoding

std::uint64_t numberOfFrames(DcmItem& item) {
  return readFrameCount(item).inFull;
}

bool readFrameFormat(DcmItem& item, FrameFormat& format, std::string& errorText) {
  errorText.clear();
  const std::optional<Decoding::Image> image = Decoding::readImage(item, errorText);
  if (image) {
    format = image->format;
  }
  return image.has_value();
}

bool describeImage(DcmItem& item, SliceImage& image, std::string& errorText) {
  errorText.clear();
  const std::optional<Decoding::Image> known = Decoding::readImage(item, errorText);
  if (!known) {
    return false;
  }
  Decoding::storeAttributes(image, item, known->attributes);
  image.extent.z = static_cast<long long>(known->format.frames);
  image.samplesPerPixel = known->format.samplesPerPixel;
  image.bytesPerSample = known->format.bytesPerSample;
  image.lossy = Decoding::isLossy(item);
  image.valid = false;
  return true;
}

std::optional<std::uint64_t> decodedBytes(DcmItem& item, std::uint64_t first, std::uint64_t last) {
  const ImageAttributes attributes = readImageAttributes(item, nullptr);
  const FrameSize& size = attributes.size;
  if (attributes.missing || last < first) {
    return std::nullopt;
  }
  const std::uint64_t frames = plus(last - first, 1);
  if (attributes.monochrome) {
    return times(size.cellsBytes(), frames);
  }
  // A palette of 8-bit indices may have entries of 16 bits.
  const bool palette = size.samplesPerPixel == 1;
  const unsigned int planeBytes = std::max(size.cellBytes(), palette ? 2U : 1U);
  const std::uint64_t planes = times(size.rgbBytes(), planeBytes);
  return plus(times(size.rgbBytes(), frames), plus(times(size.cellsBytes(), 2), planes));
}

bool decodeFrame(DcmItem& item, std::uint64_t frame, void* target, std::uint64_t targetSize,
                 std::string& errorText) {
  errorText.clear();
  Decoding::warnWithoutDictionary();
  Decoding::registerDecoders();
  try {
    const std::optional<Decoding::Image> image = Decoding::readImage(item, errorText);
    return image && Decoding::mayDecode(*image, frame, targetSize, errorText) &&
           Decoding::FrameTask(item, *image, static_cast<Uint32>(frame), static_cast<char*>(target))
               .decode(errorText);
  } catch (const std::bad_alloc&) {
    errorText = Decoding::kOutOfMemory;
    return false;
  }
}

}  // namespace Zrg
