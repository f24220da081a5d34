// SPDX-License-Identifier: BSD-3-Clause
#include "decoding/FrameFragments.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcpxitem.h"
#include "dcmtk/dcmdata/dctk.h"

#include <array>

namespace Zrg::Decoding {

namespace {

/// Whether a fragment begins with a JPEG start of image. Its bytes stay in the file.
bool startsImage(DcmPixelItem* fragment) {
  std::array<Uint8, 2> bytes{};
  return fragment != nullptr && fragment->getLength() >= bytes.size() &&
         fragment->getPartialValue(bytes.data(), 0, bytes.size()).good() && bytes[0] == 0xFF &&
         bytes[1] == 0xD8;
}

}  // namespace

FrameFragments::FrameFragments(DcmPixelData& pixelData, std::uint64_t frames) : frames_(frames) {
  if (pixelData.hasRepresentation(EXS_LittleEndianExplicit, nullptr)) {
    return;  // decoded before, or never compressed
  }
  const DcmRepresentationParameter* parameter = nullptr;
  pixelData.getOriginalRepresentationKey(syntax_, parameter);
  DcmPixelSequence* sequence = nullptr;
  if (pixelData.getEncapsulatedRepresentation(syntax_, parameter, sequence).good() &&
      sequence != nullptr) {
    fragments_.emplace(*sequence);
  }
}

bool FrameFragments::isJpeg() const {
  return (syntax_ >= EXS_JPEGProcess1 && syntax_ <= EXS_JPEGProcess14SV1) ||
         syntax_ == EXS_JPEGLSLossless || syntax_ == EXS_JPEGLSLossy;
}

std::optional<Uint32> FrameFragments::startOf(Uint32 frame) {
  const std::optional<unsigned long> start = fragments_->startOfFrame(frame, frames_);
  if (start) {
    return static_cast<Uint32>(*start);
  }
  return isJpeg() ? startOfImage(frame) : std::nullopt;
}

/// The fragment with the start of the image of this number. It is an answer only when there are as many
/// images as frames: else one of them is missing, or what looks like a start is none.
std::optional<Uint32> FrameFragments::startOfImage(Uint32 frame) {
  std::optional<Uint32> found;
  std::uint64_t images = 0;
  for (Uint32 index = 1; index < fragments_->count(); ++index) {  // 0 is the offset table
    if (startsImage(fragments_->item(index))) {
      if (images == frame) {
        found = index;
      }
      ++images;
    }
  }
  return images == frames_ ? found : std::nullopt;
}

std::optional<JpegFrameHeader> FrameFragments::jpegHeader(Uint32 fragment) {
  if (!isJpeg()) {
    return std::nullopt;
  }
  FragmentStream stream(*fragments_, fragment, fragments_->count());
  if (syntax_ == EXS_JPEGLSLossless || syntax_ == EXS_JPEGLSLossy) {
    const std::optional<JpegImage> image = passJpegLsImage(stream);
    return image ? std::optional(image->header) : std::nullopt;
  }
  return readJpegFrameHeader(stream);
}

}  // namespace Zrg::Decoding
