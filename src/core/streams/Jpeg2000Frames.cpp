// SPDX-License-Identifier: BSD-3-Clause
// Finds the fragments of a frame of JPEG 2000. Offset tables are met that are wrong, so one is
// believed only where it leads to the begin of a codestream; such bytes never appear inside coded
// data (T.800 B.10.1).
#include "streams/Jpeg2000Frames.h"

#include "streams/Fragments.h"
#include "streams/Jpeg2000Stream.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcpxitem.h"

#include <algorithm>
#include <array>

namespace Zrg {

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
  if (frame >= frames_ || fragments_.count() <= frames_) {
    return std::nullopt;
  }
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

std::optional<FrameSpan> Jpeg2000Frames::spanFrom(unsigned long start) {
  const unsigned long count = fragments_.count();
  if (start == 0 || start >= count || count <= frames_) {
    return std::nullopt;
  }
  unsigned long end = start + 1;
  while (count != frames_ + 1 && end < count && (frames_ == 1 || !beginsFrame(end))) {
    ++end;
  }
  return FrameSpan{start, end};
}

FrameBytes::FrameBytes(Fragments& fragments, const FrameSpan& span) {
  if (span.end == span.first + 1) {
    bytes_ = fragments.bytes(span.first);
    size_ = bytes_ != nullptr ? fragments.length(span.first) : 0;
    return;
  }
  joined_.reserve(static_cast<std::size_t>(fragments.lengthOf(span.first, span.end)));
  for (unsigned long i = span.first; i < span.end; ++i) {
    const Uint8* const part = fragments.bytes(i);
    if (part == nullptr && fragments.length(i) > 0) {
      return;
    }
    joined_.insert(joined_.end(), part, part + fragments.length(i));
  }
  bytes_ = joined_.data();
  size_ = joined_.size();
}

}  // namespace Zrg
