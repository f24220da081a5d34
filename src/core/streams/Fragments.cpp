// SPDX-License-Identifier: BSD-3-Clause
// Finds fragments and the frames that they belong to, as DCMTK's decoders do: `startOfFrame` is
// what all of them do when they are asked for one frame, `endOfJpegLsFrame` what the JPEG-LS
// decoder does for each.
//
// Basic Offset Table (PS3.5 A.4), fragment 0: for each frame a Uint32, little endian, that counts
// from the first byte behind the table to the item tag of the frame's first fragment. An item's tag
// and length take 8 bytes. The table may be empty.
#include "streams/Fragments.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcpixseq.h"
#include "dcmtk/dcmdata/dcpxitem.h"

namespace Zrg {

namespace {

constexpr unsigned int kFewLookups = 16;
constexpr Uint32 kLeastImageSize = 4;  ///< below it the JPEG-LS decoder does not look for a start

/// A start of image with a marker behind it that the JPEG-LS decoder takes for that of a frame.
bool looksLikeJpegLs(const Uint8* bytes) {
  const Uint8 marker = bytes[3];
  return bytes[0] == 0xFF && bytes[1] == 0xD8 && bytes[2] == 0xFF &&
         (marker == 0xF7 || marker == 0xFE || (marker & 0xF0U) == 0xE0);
}

}  // namespace

Fragments::Fragments(DcmPixelSequence& sequence) : sequence_(sequence), count_(sequence.card()) {}

void Fragments::collect() {
  items_.reserve(count_);
  DcmObject* object = nullptr;
  while (items_.size() < count_ && (object = sequence_.nextInContainer(object)) != nullptr) {
    items_.push_back(dynamic_cast<DcmPixelItem*>(object));
  }
}

DcmPixelItem* Fragments::item(unsigned long index) {
  if (items_.empty() && ++lookups_ > kFewLookups) {
    collect();
  }
  if (!items_.empty()) {
    return index < items_.size() ? items_[index] : nullptr;
  }
  DcmPixelItem* item = nullptr;
  return sequence_.getItem(item, index).good() ? item : nullptr;
}

Uint32 Fragments::length(unsigned long index) {
  DcmPixelItem* const found = item(index);
  return found != nullptr ? found->getLength() : 0;
}

unsigned long long Fragments::lengthOf(unsigned long first, unsigned long end) {
  unsigned long long sum = 0;
  for (unsigned long i = first; i < end; ++i) {
    sum += length(i);
  }
  return sum;
}

const Uint8* Fragments::bytes(unsigned long index) {
  DcmPixelItem* const found = item(index);
  Uint8* bytes = nullptr;
  return found != nullptr && found->getUint8Array(bytes).good() ? bytes : nullptr;
}

void Fragments::release(unsigned long index) {
  if (DcmPixelItem* const found = item(index)) {
    found->compact();
  }
}

/// The entry of a frame in an offset table that has one for each; nothing in any other table.
std::optional<Uint32> Fragments::frameOffset(unsigned long frame, unsigned long long frames) {
  if (length(0) != kOffsetSize * frames || frame >= frames) {
    return std::nullopt;
  }
  const Uint8* const table = bytes(0);
  if (table == nullptr) {
    return std::nullopt;
  }
  const Uint8* const entry = table + std::size_t{kOffsetSize} * frame;
  return static_cast<Uint32>(entry[0]) | static_cast<Uint32>(entry[1]) << 8U |
         static_cast<Uint32>(entry[2]) << 16U | static_cast<Uint32>(entry[3]) << 24U;
}

std::optional<unsigned long> Fragments::startOfFrame(unsigned long frame,
                                                     unsigned long long frames) {
  if (frame >= frames || count_ <= frames) {
    return std::nullopt;
  }
  if (frame == 0 || count_ == frames + 1) {
    return frame + 1;
  }
  const std::optional<Uint32> offset = frameOffset(frame, frames);
  Uint32 position = 0;
  for (unsigned long i = 1; offset && i < count_; ++i) {
    if (position == *offset) {
      return i;
    }
    position += length(i) + kItemHeaderSize;
  }
  return std::nullopt;
}

std::optional<unsigned long> Fragments::endOfJpegLsFrame(unsigned long frame,
                                                         unsigned long long frames,
                                                         unsigned long start) {
  if (start >= count_) {
    return std::nullopt;
  }
  if (frames <= 1 || frame + 1 == frames) {
    return count_;  // all that is left
  }
  if (count_ == frames + 1) {
    return start + 1;
  }
  const std::optional<Uint32> offset = frameOffset(frame + 1, frames);
  Uint32 position = 0;
  for (unsigned long i = 1; offset && i < count_ && position < *offset; ++i) {
    position += length(i) + kItemHeaderSize;
    if (position == *offset && i >= start) {
      return i + 1;
    }
  }
  for (unsigned long i = start + 1; i < count_ && length(i) >= kLeastImageSize; ++i) {
    const Uint8* const begin = bytes(i);
    if (begin == nullptr) {
      break;
    }
    if (looksLikeJpegLs(begin)) {
      return i;
    }
  }
  return std::nullopt;
}

}  // namespace Zrg
