// SPDX-License-Identifier: BSD-3-Clause
// Which compressed frames are safe to decode. What each check keeps away from DCMTK's decoders:
//
//   4 GiB - 1 and more    sizes wrap at 32 bits and the decoder writes beyond its buffer
//   all of them           coded data from which no frame of that size can come allocates gigabytes
//   RLE, whole frame      segments that yield less than a plane leave heap contents in the samples;
//                         an empty last segment is read before its start; a control byte that means
//                         nothing is unpacked as a run
//   RLE, frame alone      a short fragment or a segment outside it is read beyond its end
//   JPEG, frame header    a smaller image than the attributes promise leaves heap contents; a
//                         larger promise than the stream allocates gigabytes; a marker for
//                         temporary use makes the search for the header endless; more than 8 bits
//                         called baseline fill half of the samples; samples of more bits than Bits
//                         Allocated are taken for twice as many
//   JPEG, whole images    the decoder for the first frame drops the lowest bits of longer samples
//   JPEG-LS, all of it    a stream that ends inside its scans, which an offset table can bring
//                         about, is read beyond its end; presets of a kind that the decoder does
//                         not check make it read outside its buffers
//   JPEG 2000, headers    those of a few bytes that make a codec of the application take gigabytes
#include "streams/CodecGuard.h"

#include "dicom/ImageAttributes.h"
#include "streams/NestedImages.h"
#include "streams/TransferSyntaxes.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

namespace Zrg {

CodecGuard::CodecGuard(DcmItem& item, DcmPixelData& pixelData)
    : CodecGuard(readImageAttributes(item, &pixelData), pixelData) {}

CodecGuard::CodecGuard(const ImageAttributes& attributes, DcmPixelData& pixelData)
    : size_(attributes.size), numberOfFrames_(attributes.frames.ofDecoders) {
  if (pixelData.hasRepresentation(kExplicitLittleEndian, nullptr)) {
    return;  // decoded before, or never compressed: no decoder will run
  }
  E_TransferSyntax syntax = EXS_Unknown;
  const DcmRepresentationParameter* parameter = nullptr;
  pixelData.getOriginalRepresentationKey(syntax, parameter);
  DcmPixelSequence* sequence = nullptr;
  if (pixelData.getEncapsulatedRepresentation(syntax, parameter, sequence).good() &&
      sequence != nullptr) {
    fragments_.emplace(*sequence);
    inspector_ = inspectorOf(syntax);
  }
}

bool CodecGuard::isCountable(unsigned long long frames) const {
  return inspector_ == nullptr ||
         saturatedProduct(size_.decodedFrameBytes(), frames) <= kMostDecodedBytes;
}

bool CodecGuard::allFramesAreSafe() {
  if (inspector_ == nullptr) {
    return true;
  }
  const unsigned long frames = framesTogether();
  if (!isCountable(frames) || !hasBitsFor(frames)) {
    return false;
  }
  // Decoded together, all frames go through the decoder that the first one asks for, into samples
  // of the size that it says: Bits Allocated follows.
  const FramePlace firstPlace{0, 1, frames, false};
  std::optional<FrameYield> first;
  return framesAgree(firstPlace, frames, [&first](const FrameYield& yield) {
    if (!first) {
      first = yield;
    }
    return yield.bytes == first->bytes && (first->isLong || !yield.isLong);
  });
}

bool CodecGuard::colourModelIsSafe() {
  return inspector_ == nullptr || !inspector_->isDecodedForColourModel() ||
         frameIsSafe(0, 1, size_.allocatedBytes());
}

bool CodecGuard::framesAreSafe(unsigned long first, unsigned long count) {
  if (inspector_ == nullptr) {
    return true;
  }
  const std::optional<unsigned long> start = startFragmentOf(first);
  if (!start || !isCountable(count)) {
    return false;
  }
  const unsigned long long frameSize = size_.allocatedBytes();
  return framesAgree({first, *start, framesTogether(), true}, count,
                     [&](const FrameYield& yield) { return yield.bytes == frameSize; });
}

bool CodecGuard::mayHoldFrames(unsigned long first, unsigned long count) {
  if (inspector_ == nullptr) {
    return true;
  }
  const std::optional<unsigned long> start = startFragmentOf(first);
  return start && count > 0 &&
         inspector_->mayHoldFrames(*fragments_, {first, *start, framesTogether(), true}, count,
                                   size_);
}

bool CodecGuard::frameIsSafe(Uint32 frame, Uint32 startFragment, unsigned long long frameSize) {
  if (inspector_ == nullptr) {
    return true;
  }
  const std::optional<unsigned long> start =
      startFragment != 0 ? startFragment : startFragmentOf(frame);
  if (!start || !isCountable(1)) {
    return false;
  }
  return framesAgree({frame, *start, framesTogether(), true}, 1,
                     [&](const FrameYield& yield) { return yield.bytes == frameSize; });
}

unsigned long CodecGuard::fragmentsOfFrames() const {
  const unsigned long fragments = fragments_->count();
  return fragments > 0 ? fragments - 1 : 0;  // fragment 0 is the offset table
}

unsigned long CodecGuard::framesTogether() const {
  return static_cast<unsigned long>(
      inspector_->framesTogether(numberOfFrames_, fragmentsOfFrames()));
}

std::optional<unsigned long> CodecGuard::startFragmentOf(unsigned long frame) {
  return inspector_->startOfFrame(*fragments_, frame,
                                  inspector_->framesAlone(numberOfFrames_, fragmentsOfFrames()));
}

/// Whether the lengths of the fragments leave room for so many frames: what need not be loaded.
bool CodecGuard::hasBitsFor(unsigned long frames) {
  const unsigned long long bytes = fragments_->lengthOf(1, fragments_->count());
  return bytes * kBitsPerByte / frames >= inspector_->leastFrameBits(size_);
}

/// Whether `count` frames from a place on all yield what is right.
bool CodecGuard::framesAgree(FramePlace place, unsigned long count,
                             const std::function<bool(const FrameYield&)>& isRight) {
  for (unsigned long i = 0; i < count; ++i) {
    const std::optional<FrameYield> yield = inspector_->inspect(*fragments_, place, size_);
    if (!yield || !isRight(*yield)) {
      return false;
    }
    ++place.number;
    place.start = yield->end;
  }
  return true;
}

bool allImagesAreSafe(DcmItem& item) {
  return visitImages(item, [](DcmItem& owner, DcmPixelData& pixelData) {
    return CodecGuard(owner, pixelData).allFramesAreSafe();
  });
}

}  // namespace Zrg
