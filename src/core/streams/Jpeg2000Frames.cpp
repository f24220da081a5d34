// SPDX-License-Identifier: BSD-3-Clause
// Finds the fragments of a frame of JPEG 2000. Offset tables are met that are wrong, so one is believed only
// where it leads to the begin of a codestream; such bytes never stand inside coded data (T.800 B.10.1).
#include "streams/Jpeg2000Frames.h"

#include "streams/Jpeg2000Stream.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcpxitem.h"

#include <algorithm>
#include <array>

namespace Zrg {

Jpeg2000Frames::Jpeg2000Frames(DcmPixelSequence& sequence, unsigned long frames)
    : fragments_(sequence), frames_(frames) {}

/// The bytes of the fragment stay in the file.
bool Jpeg2000Frames::beginsFrame(unsigned long fragment) {
  std::array<Uint8, 12> bytes{};
  DcmPixelItem* const item = fragments_.item(fragment);
  const auto size =
      static_cast<Uint32>(std::min<std::size_t>(bytes.size(), fragments_.length(fragment)));
  return item != nullptr && size > 0 && item->getPartialValue(bytes.data(), 0, size).good() &&
         beginsJpeg2000(bytes.data(), size);
}

std::optional<unsigned long> Jpeg2000Frames::startOf(unsigned long frame) {
  const std::optional<unsigned long> told = fragments_.startOfFrame(frame, frames_);
  if (told && (fragments_.count() == frames_ + 1 || beginsFrame(*told))) {
    return told;
  }
  if (!isSearched_) {
    isSearched_ = true;
    for (unsigned long i = 1; i < fragments_.count(); ++i) {
      if (beginsFrame(i)) {
        starts_.push_back(i);
      }
    }
  }
  // Unless there are as many as frames one is missing, or what looks like a begin is none.
  return starts_.size() == frames_ ? std::optional(starts_[frame]) : std::nullopt;
}

std::optional<FrameSpan> Jpeg2000Frames::spanOf(unsigned long frame, unsigned long start) {
  const unsigned long count = fragments_.count();
  if (frame >= frames_ || count <= frames_) {
    return std::nullopt;
  }
  const std::optional<unsigned long> first = start != 0 ? start : startOf(frame);
  if (!first || *first >= count) {
    return std::nullopt;
  }
  if (count == frames_ + 1) {
    return FrameSpan{*first, *first + 1};
  }
  unsigned long end = *first + 1;
  while (end < count && (frames_ == 1 || !beginsFrame(end))) {
    ++end;
  }
  return FrameSpan{*first, end};
}

std::vector<Uint8> Jpeg2000Frames::bytesOf(const FrameSpan& span) {
  std::vector<Uint8> bytes;
  bytes.reserve(static_cast<std::size_t>(fragments_.lengthOf(span.first, span.end)));
  for (unsigned long i = span.first; i < span.end; ++i) {
    const Uint32 length = fragments_.length(i);
    const Uint8* const part = fragments_.bytes(i);
    if (part == nullptr && length > 0) {
      return {};
    }
    bytes.insert(bytes.end(), part, part + length);
  }
  return bytes;
}

}  // namespace Zrg
