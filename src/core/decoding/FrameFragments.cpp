// SPDX-License-Identifier: BSD-3-Clause
#include "decoding/FrameFragments.h"

#include "streams/FragmentStream.h"
#include "streams/Inspector.h"
#include "streams/TransferSyntaxes.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcpxitem.h"
#include "dcmtk/dcmdata/dctk.h"

#include <array>

namespace Zrg::Decoding {

FrameFragments::FrameFragments(DcmItem& item, DcmPixelData& pixelData, std::uint64_t frames)
    : frames_(frames) {
  if (pixelData.hasRepresentation(kExplicitLittleEndian, nullptr)) {
    return;  // decoded before, or never compressed
  }
  const DcmRepresentationParameter* parameter = nullptr;
  pixelData.getOriginalRepresentationKey(syntax_, parameter);
  DcmPixelSequence* sequence = nullptr;
  if (pixelData.getEncapsulatedRepresentation(syntax_, parameter, sequence).good() &&
      sequence != nullptr) {
    fragments_.emplace(*sequence);
    starts_.emplace(item, *fragments_, frames);
    inspector_ = inspectorOf(syntax_);
  }
}

std::optional<Uint32> FrameFragments::startOf(Uint32 frame) {
  const std::optional<unsigned long> start = starts_->of(frame);
  return start ? std::optional(static_cast<Uint32>(*start)) : startByContent(frame);
}

std::optional<Uint32> FrameFragments::endOf(Uint32 frame) {
  return std::uint64_t{frame} + 1 < frames_
             ? startOf(frame + 1)
             : std::optional(static_cast<Uint32>(fragments_->count()));
}

/// Whether a fragment begins with what only a frame begins with. Its bytes stay in the file.
bool FrameFragments::beginsFrame(Uint32 fragment) {
  std::array<Uint8, 2> bytes{};
  DcmPixelItem* const item = fragments_->item(fragment);
  return item != nullptr && item->getLength() >= bytes.size() &&
         item->getPartialValue(bytes.data(), 0, bytes.size()).good() &&
         inspector_->beginsFrame(bytes[0], bytes[1]);
}

std::vector<Uint32> FrameFragments::findBeginnings() {
  std::vector<Uint32> beginnings;
  for (Uint32 index = 1; index < fragments_->count(); ++index) {  // 0 is the offset table
    if (beginsFrame(index)) {
      beginnings.push_back(index);
    }
  }
  return beginnings;
}

/// The fragment that begins the frame of this number by what is in it. It is an answer only when
/// there are as many beginnings as frames: else one of them is missing, or what looks like one is
/// none.
std::optional<Uint32> FrameFragments::startByContent(Uint32 frame) {
  if (inspector_ == nullptr) {
    return std::nullopt;
  }
  if (!beginnings_) {
    beginnings_ = findBeginnings();
  }
  return beginnings_->size() == frames_ ? std::optional((*beginnings_)[frame]) : std::nullopt;
}

std::optional<CodedFrame> FrameFragments::header(Uint32 fragment) {
  if (inspector_ == nullptr) {
    return std::nullopt;
  }
  FragmentStream stream(*fragments_, fragment, fragments_->count());
  return inspector_->readHeader(stream);
}

}  // namespace Zrg::Decoding
