// SPDX-License-Identifier: BSD-3-Clause
// Which road a set of frames takes through the slice decoder.
//
//   all frames        the decoder's road for whole pixel data
//   monochrome range  its road for frame ranges: nothing but these frames is decoded
//   colour range      the same, unless the pixel data is encapsulated: there the decoder may take
//                     its direct road, which is made for single-frame objects and hands out the
//                     first frame for every frame. Those files are decoded whole, and the frames
//                     asked for picked.
//   with overlays     whole as well: overlay bits are looked up by the frame's number in the file
#include "DecodedImage.h"

#include "Failure.h"
#include "ModalityTable.h"

#include <zrdcmexport/ZrNumbers.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdeftag.h"

#include <cstdint>
#include <string>
#include <utility>

namespace zrdcm {

namespace {

FrameRange framesWanted(const DecodeRequest& request, std::size_t available) {
  if (!request.frames) {
    return {0, available - 1};
  }
  if (request.frames->last >= available) {
    throw Failure("has " + std::to_string(available) + (available == 1 ? " frame" : " frames") +
                  " (0-based: up to " + std::to_string(available - 1) + "); there is no frame " +
                  std::to_string(request.frames->last));
  }
  return *request.frames;
}

bool rangeRoadIsExact(const DecodedImage& image, const DecodeRequest& request) {
  if (image.monochrome) {
    return !request.overlays;
  }
  return !DcmXfer(image.file->transferSyntax()).isEncapsulated();
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
    throw Failure(error);
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

void convertThrough(const ModalityTable& table, DecodedImage& image) {
  const KtVec3l extent{image.slice.extent.x, image.slice.extent.y,
                       static_cast<long long>(image.samples.frames)};
  // The wrapper wants memory it may write to, and only reads this.
  auto* samples = const_cast<unsigned char*>(image.samples.bytes);
  image.converted =
      table.convert(reinterpret_cast<char*>(samples), extent, image.slice.bytesPerSample);
  image.samples.bytes = static_cast<const unsigned char*>(image.converted->dataPtr(0));
  image.samples.type = SampleType::kU16;
}

}  // namespace

DecodedImage decodeImage(const std::filesystem::path& path, const DecodeRequest& request,
                         const MemoryBudget& memory) {
  return decodeImage(std::make_unique<DicomFile>(path), request, memory);
}

DecodedImage decodeImage(std::unique_ptr<DicomFile> file, const DecodeRequest& request,
                         const MemoryBudget& memory) {
  DecodedImage image;
  image.file = std::move(file);
  // Read before decoding, which may rewrite attributes.
  const std::string photometric = photometricInterpretation(*image.file);
  image.monochrome = isMonochrome(photometric);
  image.darkIsHigh = photometric == "MONOCHROME1";
  const std::size_t available = frameCount(image.file->dataset());
  image.frames = framesWanted(request, available);
  const ModalityTable table(image.file->dataset());
  const bool throughTable = image.monochrome && !request.stored && table.differsInWidth();
  image.slice.convertSamples = !request.stored && !throughTable;

  const bool wholeFile = image.frames.count() == available || !rangeRoadIsExact(image, request);
  decodeInto(image, wholeFile, memory);
  if (image.slice.extent.x == 0 || image.slice.extent.y == 0) {
    throw Failure("has an image without pixels");
  }
  image.samples = framesOf(image, request.stored);
  if (throughTable) {
    convertThrough(table, image);
  }
  return image;
}

}  // namespace zrdcm
