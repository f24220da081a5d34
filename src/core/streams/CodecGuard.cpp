// SPDX-License-Identifier: BSD-3-Clause
// Which compressed frames are safe to decode. What each check keeps away from DCMTK's decoders:
//
//   4 GiB - 1 and more    sizes wrap at 32 bits and the decoder writes beyond its buffer
//   all of them           coded data from which no frame of that size can come allocates gigabytes
//   RLE, whole frame      stripes that yield less than a plane leave heap contents in the samples;
//                         an empty last stripe is read before its start; a control byte that means
//                         nothing is unpacked as a run
//   RLE, frame alone      a short fragment or a stripe outside it is read beyond its end
//   JPEG, frame header    a smaller image than the attributes promise leaves heap contents; a larger
//                         promise than the stream allocates gigabytes; a marker for temporary use
//                         makes the search for the header endless; more than 8 bits called baseline
//                         fill half of the samples; samples of more bits than Bits Allocated are
//                         taken for twice as many
//   JPEG, whole images    the decoder for the first frame drops the lowest bits of longer samples
//   JPEG-LS, all of it    a stream that ends inside its scans, which an offset table can bring about,
//                         is read beyond its end; presets of a kind that the decoder does not check
//                         make it read outside its buffers
#include "streams/CodecGuard.h"

#include "dicom/ImageAttributes.h"
#include "dicom/ItemValues.h"
#include "streams/CodecStream.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>

namespace Zrg {

namespace {

/// The last even number that 32 bits hold: decoders add a byte to an odd one.
constexpr unsigned long long kMostBytes = (1ULL << 32) - 2;

constexpr unsigned long long kBitsPerByte = 8;

}  // namespace

CodecGuard::CodecGuard(DcmItem& item, DcmPixelData& pixelData)
    : CodecGuard(readImageAttributes(item, &pixelData), pixelData) {}

CodecGuard::CodecGuard(const ImageAttributes& attributes, DcmPixelData& pixelData)
    : size_(attributes.size), numberOfFrames_(attributes.frames.ofDecoders) {
  if (pixelData.hasRepresentation(EXS_LittleEndianExplicit, nullptr)) {
    return;  // decoded before, or never compressed: no decoder will run
  }
  E_TransferSyntax syntax = EXS_Unknown;
  const DcmRepresentationParameter* parameter = nullptr;
  pixelData.getOriginalRepresentationKey(syntax, parameter);
  DcmPixelSequence* sequence = nullptr;
  if (pixelData.getEncapsulatedRepresentation(syntax, parameter, sequence).good() &&
      sequence != nullptr) {
    fragments_.emplace(*sequence);
    codec_ = codecOf(syntax);
    isBaseline_ = syntax == EXS_JPEGProcess1;
  }
}

CodecGuard::Codec CodecGuard::codecOf(E_TransferSyntax syntax) {
  if (syntax == EXS_RLELossless) {
    return Codec::Rle;
  }
  if (syntax == EXS_JPEGLSLossless || syntax == EXS_JPEGLSLossy) {
    return Codec::JpegLs;
  }
  return syntax >= EXS_JPEGProcess1 && syntax <= EXS_JPEGProcess14SV1 ? Codec::Jpeg : Codec::None;
}

bool CodecGuard::isCountable(unsigned long long frames) const {
  if (codec_ == Codec::None) {
    return true;
  }
  return times(size_.cellsBytes(), frames) <= kMostBytes;
}

bool CodecGuard::allFramesAreSafe() {
  if (codec_ == Codec::None) {
    return true;
  }
  if (!isCountable()) {
    return false;
  }
  if (codec_ == Codec::Rle) {
    return rleFramesAreWhole();
  }
  // Decoded together, all frames go through the decoder that the first one asks for, into samples of
  // the size that it says: Bits Allocated follows.
  const std::optional<JpegYield> first = jpegYield(0, 1);
  return first && jpegFramesAgree(0, 1, decodedFrames(), [&](const JpegYield& yield) {
           return yield.bytes == first->bytes && (first->isLong || !yield.isLong);
         });
}

bool CodecGuard::colourModelIsSafe() {
  return codec_ != Codec::Jpeg || frameIsSafe(0, 1, size_.allocatedBytes());
}

bool CodecGuard::framesAreSafe(unsigned long first, unsigned long count) {
  if (codec_ == Codec::None) {
    return true;
  }
  const unsigned long long frameSize = size_.allocatedBytes();
  const std::optional<unsigned long> start = startFragmentOf(first);
  if (!start || !isCountable(count)) {
    return false;
  }
  if (codec_ != Codec::Rle) {
    return jpegFramesAgree(first, *start, count,
                           [&](const JpegYield& yield) { return yield.bytes == frameSize; });
  }
  for (unsigned long i = 0; i < count; ++i) {
    const auto fragment = static_cast<Uint32>(*start + i);
    if (!frameIsSafe(static_cast<Uint32>(first + i), fragment, frameSize)) {
      return false;
    }
  }
  return true;
}

bool CodecGuard::mayHoldFrames(unsigned long first, unsigned long count) {
  if (codec_ == Codec::None) {
    return true;
  }
  const std::optional<unsigned long> start = startFragmentOf(first);
  if (!start || count == 0) {
    return false;
  }
  if (codec_ == Codec::Rle) {
    return fragments_->lengthOf(*start, fragments_->count()) / leastRleFrameBytes() >= count;
  }
  const std::optional<JpegYield> yield = jpegYield(first, *start);
  if (!yield) {
    return false;
  }
  const JpegFrameHeader others = {0, size_.rows, size_.columns, 1, 0, {}};
  const unsigned long long leastBits = codec_ == Codec::JpegLs
                                           ? leastJpegLsBits(others, 0)
                                           : leastJpegBitsOfAnyKind(size_.columns, size_.rows);
  const unsigned long long left = fragments_->lengthOf(yield->end, fragments_->count());
  return (count - 1) * leastBits <= left * kBitsPerByte;
}

bool CodecGuard::frameIsSafe(Uint32 frame, Uint32 startFragment, unsigned long long frameSize) {
  if (codec_ == Codec::None) {
    return true;
  }
  const std::optional<unsigned long> start =
      startFragment != 0 ? startFragment : startFragmentOf(frame);
  if (!start || !isCountable(1)) {
    return false;
  }
  if (codec_ != Codec::Rle) {
    const std::optional<JpegYield> yield = jpegYield(frame, *start);
    return yield && yield->bytes == frameSize;
  }
  FragmentStream fragment(*fragments_, *start, *start + 1UL);
  return size_.allocatedBytes() == frameSize &&
         passRleFrame(fragment, {size_.bytesPerPixel(), size_.pixels()});
}

unsigned long CodecGuard::decodedFrames() const {
  const unsigned long fragments = fragments_->count();
  const unsigned long long frames = std::min<unsigned long long>(
      numberOfFrames_, fragments > 0 ? fragments - 1 : 0);  // fragment 0 is the offset table
  return std::max(1UL, static_cast<unsigned long>(frames));
}

std::optional<unsigned long> CodecGuard::startFragmentOf(unsigned long frame) {
  // The JPEG-LS decoder alone believes the fragments more than Number of Frames.
  return fragments_->startOfFrame(frame,
                                  codec_ == Codec::JpegLs ? decodedFrames() : numberOfFrames_);
}

bool CodecGuard::startsJpegImage(unsigned long fragment) {
  FragmentStream stream(*fragments_, fragment, fragments_->count());
  Uint8 prefix = 0;
  Uint8 marker = 0;
  return stream.read(prefix) && stream.read(marker) && prefix == 0xFF && marker == 0xD8;
}

/// The fragment behind the frame that begins in a given one; nothing when there is no such frame.
/// Where a frame ends is known to the JPEG decoder alone; a start of image never stands inside the
/// coded samples, so that every fragment which begins with one begins a frame.
std::optional<unsigned long> CodecGuard::endOfJpegFrame(unsigned long frame, unsigned long start) {
  if (codec_ == Codec::JpegLs) {
    return fragments_->endOfJpegLsFrame(frame, decodedFrames(), start);
  }
  if (start >= fragments_->count()) {
    return std::nullopt;
  }
  unsigned long end = start + 1;
  while (end < fragments_->count() && !startsJpegImage(end)) {
    ++end;
  }
  return end;
}

/// Whether a frame header says what the attributes say.
bool CodecGuard::agrees(const JpegFrameHeader& header) const {
  // The decoder of the baseline process makes one byte of every sample, whatever the stream says.
  const bool fits =
      header.precision <= size_.bitsAllocated && (!isBaseline_ || header.precision <= 8);
  return fits && header.rows == size_.rows && header.columns == size_.columns &&
         header.components == size_.samplesPerPixel;
}

/// Whether there is enough coded data for the size that the frame header says.
bool CodecGuard::holdsAFrame(const JpegImage& image) const {
  const std::optional<unsigned long long> least =
      codec_ == Codec::JpegLs ? leastJpegLsBits(image.header, image.interleaveMode)
                              : leastJpegBits(image.header);
  return least && *least <= image.codedBytes * kBitsPerByte;
}

/// What the JPEG image of a frame yields when its size agrees with the attributes.
std::optional<CodecGuard::JpegYield> CodecGuard::jpegYield(unsigned long frame,
                                                           unsigned long start) {
  const std::optional<unsigned long> end = endOfJpegFrame(frame, start);
  if (!end) {
    return std::nullopt;
  }
  FragmentStream stream(*fragments_, start, *end);
  const std::optional<JpegImage> image =
      codec_ == Codec::JpegLs ? passJpegLsImage(stream) : passJpegImage(stream);
  if (!image || !agrees(image->header) || !holdsAFrame(*image)) {
    return std::nullopt;
  }
  const Uint8 precision = image->header.precision;
  return JpegYield{size_.samples() * (precision > 8 ? 2 : 1),
                   codec_ == Codec::Jpeg && precision > 12, *end};
}

unsigned long long CodecGuard::leastRleFrameBytes() const {
  return leastRleBytes(size_.bytesPerPixel(), size_.pixels());
}

bool CodecGuard::rleFramesAreWhole() {
  const unsigned long frames = decodedFrames();
  // Their lengths alone tell what need not be loaded.
  if (fragments_->lengthOf(1, fragments_->count()) / frames < leastRleFrameBytes()) {
    return false;
  }
  unsigned long fragment = 1;
  for (unsigned long frame = 0; frame < frames; ++frame) {
    FragmentStream stream(*fragments_, fragment, fragments_->count());
    if (!passRleFrame(stream, {size_.bytesPerPixel(), size_.pixels()})) {
      return false;
    }
    fragment = stream.fragment() + 1;
  }
  return true;
}

/// Whether `count` frames from `frame` on, which begins in the given fragment, all yield what is
/// right.
bool CodecGuard::jpegFramesAgree(unsigned long frame, unsigned long start, unsigned long count,
                                 const std::function<bool(const JpegYield&)>& isRight) {
  unsigned long fragment = start;
  for (unsigned long i = 0; i < count; ++i) {
    const std::optional<JpegYield> yield = jpegYield(frame + i, fragment);
    if (!yield || !isRight(*yield)) {
      return false;
    }
    fragment = yield->end;
  }
  return true;
}

bool visitImages(DcmItem& item, const std::function<bool(DcmItem&, DcmPixelData&)>& visit) {
  auto* const dataset = dynamic_cast<DcmDataset*>(&item);
  if (dataset == nullptr) {
    auto* const pixelData = dynamic_cast<DcmPixelData*>(findElement(item, DCM_PixelData));
    return pixelData == nullptr || visit(item, *pixelData);
  }
  DcmStack stack;
  stack.push(dataset);
  while (dataset->search(DCM_PixelData, stack, ESM_afterStackTop, OFTrue).good()) {
    auto* const pixelData = dynamic_cast<DcmPixelData*>(stack.top());
    auto* const owner = dynamic_cast<DcmItem*>(stack.elem(1));
    if (pixelData != nullptr && owner != nullptr && !visit(*owner, *pixelData)) {
      return false;
    }
  }
  return true;
}

bool allImagesAreSafe(DcmItem& item) {
  return visitImages(item, [](DcmItem& owner, DcmPixelData& pixelData) {
    return CodecGuard(owner, pixelData).allFramesAreSafe();
  });
}

}  // namespace Zrg
