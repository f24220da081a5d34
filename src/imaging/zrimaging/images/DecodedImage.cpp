// SPDX-License-Identifier: BSD-3-Clause
// Which road a set of frames takes through the slice decoder.
//
//   all frames        the decoder's road for whole pixel data: they stay where they are decoded
//   a range           its road for frame ranges: nothing but these frames is decoded
//   with overlays     whole: overlay bits are looked up by the frame's number in the file
//
// and which frames are asked for one by one, by their numbers:
//
//   colour            the slice decoder renders all frames at once, which takes their size several
//                     times over, or gives the first frame for each
//   narrow streams    compressed data of at most 8 bits in cells of 16, which it takes for incomplete
//   65,536 and more   it counts frames in 16 bits
#include "zrimaging/images/DecodedImage.h"

#include "zrimaging/Error.h"
#include "zrimaging/images/CellConversion.h"
#include "zrimaging/images/DecoderWarnings.h"
#include "zrimaging/images/Explanation.h"

#include <zrdcmexport/ZrNumbers.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdatset.h"
#include "dcmtk/dcmdata/dcdeftag.h"

#include <cstdint>
#include <string>
#include <utility>

namespace zr {

namespace {

constexpr std::size_t kMostCountedFrames = 65535;  // by the slice decoder, in 16 bits

FrameRange framesWanted(const DecodeRequest& request, std::size_t available) {
  if (!request.frames) {
    return {0, available - 1};
  }
  if (request.frames->last >= available) {
    throw Error(Reason::NoSuchFrame,
                "has " + std::to_string(available) + (available == 1 ? " frame" : " frames") +
                    " (0-based: up to " + std::to_string(available - 1) + "); there is no frame " +
                    std::to_string(request.frames->last));
  }
  return *request.frames;
}

bool mayBeNarrowStream(const File& file) {
  Uint16 allocated = 0;
  Uint16 stored = 0;
  return DcmXfer(file.dataset().getOriginalXfer()).isEncapsulated() &&
         file.dataset().findAndGetUint16(DCM_BitsAllocated, allocated).good() && allocated == 16 &&
         file.dataset().findAndGetUint16(DCM_BitsStored, stored).good() && stored <= 8;
}

void requirePixels(const Zrg::SliceImage& slice) {
  if (slice.extent.x == 0 || slice.extent.y == 0) {
    throw Error(Reason::NoPixelData, "has an image without pixels");
  }
}

bool decodesWhole(DecodedImage& image) {
  std::string unused;
  image.slice.buffer.reset();  // colour would be rendered into it
  return image.slice.process(image.file->dataset(), unused, -1, -1, nullptr, 0);
}

void decodeOneByOne(DecodedImage& image, const DecodeRequest& request, std::size_t available,
                    const MemoryBudget& memory) {
  DcmItem& item = image.file->dataset();
  memory.requireFor(item, image.frames.first, image.frames.last);
  const Zrg::FrameFormat format = describeFrames(image);
  if (format.bytesPerSample > 2) {
    throw whyNotDecoded(
        *image.file, Error(Reason::Unsupported, "has samples of 32 bits, which are not decoded"));
  }
  const std::size_t size = image.frames.count() * format.frameBytes();
  image.slice.buffer.reset(new char[size], std::default_delete<char[]>());
  char* target = image.slice.buffer.get();
  for (std::size_t frame = image.frames.first; frame <= image.frames.last; ++frame) {
    try {
      decodeFrame(item, frame, {target, format.frameBytes()}, available > 1);
    } catch (const Error& error) {
      // The only frame may stand in fragments that are no frame of their own.
      if (available > 1 || !decodesWhole(image)) {
        throw whyNotDecoded(*image.file, error);
      }
      return;
    }
    target += format.frameBytes();
  }
  image.firstHeldFrame = static_cast<int>(image.frames.first);
  if (image.monochrome && request.overlays) {
    image.slice.data = image.slice.buffer.get();
    image.slice.extractEmbeddedOverlays(item, image.firstHeldFrame,
                                        static_cast<int>(image.frames.last));
  }
}

void decodeInto(DecodedImage& image, bool wholeFile, const MemoryBudget& memory) {
  if (wholeFile) {
    memory.requireFor(image.file->dataset());
  } else {
    memory.requireFor(image.file->dataset(), image.frames.first, image.frames.last);
  }
  std::string error;
  const int first = wholeFile ? -1 : static_cast<int>(image.frames.first);
  const int last = wholeFile ? -1 : static_cast<int>(image.frames.last);
  if (!image.slice.process(image.file->dataset(), error, first, last, nullptr, 0)) {
    throw whyNotDecoded(*image.file, decoderError(error));
  }
  image.firstHeldFrame = wholeFile ? 0 : first;
}

SampleType sampleType(const DecodedImage& image, bool stored) {
  const bool twoBytes = image.slice.bytesPerSample == 2;
  const std::string representation = textOf(image.file->dataset(), DCM_PixelRepresentation);
  if (stored && image.monochrome && Zrg::intOf(representation) == 1) {
    return twoBytes ? SampleType::kS16 : SampleType::kS8;
  }
  return twoBytes ? SampleType::kU16 : SampleType::kU8;
}

SampleArray framesOf(const DecodedImage& image, bool stored) {
  const Zrg::SliceImage& slice = image.slice;
  SampleArray array;
  array.type = sampleType(image, stored);
  array.frames = image.frames.count();
  array.rows = static_cast<std::size_t>(slice.extent.y);
  array.columns = static_cast<std::size_t>(slice.extent.x);
  array.channels = slice.samplesPerPixel;

  const char* memory = slice.data != nullptr ? slice.data : slice.buffer.get();
  const std::size_t skippedFrames =
      image.frames.first - static_cast<std::size_t>(image.firstHeldFrame);
  array.bytes = reinterpret_cast<const unsigned char*>(memory) +
                static_cast<std::uint32_t>(slice.frameOffset) + skippedFrames * array.frameBytes();
  return array;
}

void convertThrough(const CellConversion& conversion, DecodedImage& image) {
  const KtVec3l extent{image.slice.extent.x, image.slice.extent.y,
                       static_cast<long long>(image.samples.frames)};
  // The wrapper wants memory it may write to, and only reads this.
  auto* samples = const_cast<unsigned char*>(image.samples.bytes);
  const CellConversion::Converted converted =
      conversion.convert(reinterpret_cast<char*>(samples), extent, image.slice.bytesPerSample);
  image.converted = converted.samples;
  image.slice.sampleOffset = static_cast<float>(converted.offset);
  image.samples.bytes = static_cast<const unsigned char*>(image.converted->dataPtr(0));
  image.samples.type =
      image.converted->primType() == KtPrimType::U8 ? SampleType::kU8 : SampleType::kU16;
}

}  // namespace

std::size_t frameCount(DcmItem& item) {
  const int number = Zrg::intOf(textOf(item, DCM_NumberOfFrames)).value_or(0);
  const auto count = static_cast<std::uint16_t>(number);
  return count == 0 ? 1 : count;
}

bool isMonochrome(const std::string& photometricInterpretation) {
  return photometricInterpretation == "MONOCHROME1" || photometricInterpretation == "MONOCHROME2";
}

Zrg::FrameFormat describeFrames(DecodedImage& image) {
  std::string error;
  Zrg::FrameFormat format;
  DcmItem& item = image.file->dataset();
  if (!Zrg::readFrameFormat(item, format, error) || !Zrg::describeImage(item, image.slice, error)) {
    throw whyNotDecoded(*image.file, decoderError(error));
  }
  requirePixels(image.slice);
  image.slice.extent.z = static_cast<long long>(image.frames.count());
  return format;
}

void decodeFrame(DcmItem& item, std::size_t number, FrameTarget target, bool named) {
  std::string error;
  if (!Zrg::decodeFrame(item, number, target.memory, target.size, error)) {
    throw decoderError(named ? "frame " + std::to_string(number) + ": " + error : error);
  }
}

DecodedImage decodeImage(const std::filesystem::path& path, const DecodeRequest& request,
                         const MemoryBudget& memory) {
  return decodeImage(std::make_unique<File>(path), request, memory);
}

DecodedImage decodeImage(std::unique_ptr<File> file, const DecodeRequest& request,
                         const MemoryBudget& memory) {
  DecodedImage image;
  image.file = std::move(file);
  // Read before decoding, which may rewrite attributes.
  const std::string photometric = image.file->photometricInterpretation();
  image.monochrome = isMonochrome(photometric);
  image.darkIsHigh = photometric == "MONOCHROME1";
  const std::size_t available = Zrg::numberOfFrames(image.file->dataset());
  image.frames = framesWanted(request, available);
  refusePackedPixels(*image.file);
  const CellConversion conversion(image.file->dataset());
  const bool oneByOne =
      !image.monochrome || available > kMostCountedFrames || mayBeNarrowStream(*image.file);
  const bool convertHere =
      image.monochrome && !request.stored && (oneByOne || conversion.isNeeded());
  image.slice.convertSamples = !request.stored && !convertHere;

  const DecoderWatch decoders;
  if (oneByOne) {
    decodeOneByOne(image, request, available, memory);
  } else {
    decodeInto(image, image.frames.count() == available || request.overlays, memory);
  }
  requirePixels(image.slice);
  image.remarks = decoders.remarks(image.file->path());
  image.samples = framesOf(image, request.stored);
  if (convertHere) {
    convertThrough(conversion, image);
  }
  return image;
}

}  // namespace zr
