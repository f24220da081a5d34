// SPDX-License-Identifier: BSD-3-Clause
// An offset table has an entry for each frame, which counts bytes from the first one behind the
// Basic Offset Table to the item tag of the frame's first fragment. An item's tag and length take 8
// bytes.
//
//   Basic Offset Table     fragment 0, entries of 4 bytes, little endian
//   Extended Offset Table  (7FE0,0001), entries of 8 bytes; the basic one is empty then
#include "streams/FrameStarts.h"

#include "streams/Fragments.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <cstddef>

namespace Zrg {

namespace {

std::uint64_t littleEndian32(const Uint8* bytes) {
  return static_cast<std::uint64_t>(bytes[0]) | static_cast<std::uint64_t>(bytes[1]) << 8U |
         static_cast<std::uint64_t>(bytes[2]) << 16U | static_cast<std::uint64_t>(bytes[3]) << 24U;
}

std::vector<std::uint64_t> basicOffsets(Fragments& fragments, std::uint64_t frames) {
  if (fragments.length(0) != kOffsetSize * frames) {
    return {};
  }
  const Uint8* const table = fragments.bytes(0);
  if (table == nullptr) {
    return {};
  }
  std::vector<std::uint64_t> offsets(static_cast<std::size_t>(frames));
  for (std::size_t i = 0; i < offsets.size(); ++i) {
    offsets[i] = littleEndian32(table + i * kOffsetSize);
  }
  return offsets;
}

std::vector<std::uint64_t> extendedOffsets(DcmItem& item, std::uint64_t frames) {
  const Uint64* table = nullptr;
  unsigned long count = 0;
  const bool isThere =
      item.findAndGetUint64Array(DCM_ExtendedOffsetTable, table, &count).good() && table != nullptr;
  return isThere && count == frames ? std::vector<std::uint64_t>(table, table + count)
                                    : std::vector<std::uint64_t>();
}

}  // namespace

FrameStarts::FrameStarts(DcmItem& item, Fragments& fragments, std::uint64_t frames)
    : frames_(frames), fragmentCount_(fragments.count()) {
  if (fragmentCount_ <= frames || fragmentCount_ == frames + 1) {
    return;  // too few for all frames, or one for each
  }
  std::vector<std::uint64_t> offsets = basicOffsets(fragments, frames);
  if (offsets.empty()) {
    offsets = extendedOffsets(item, frames);
  }
  if (!offsets.empty()) {
    look(fragments, offsets);
  }
}

/// Looks up which fragment begins where each offset points.
void FrameStarts::look(Fragments& fragments, const std::vector<std::uint64_t>& offsets) {
  std::vector<std::uint64_t> positions;
  positions.reserve(fragmentCount_);
  std::uint64_t position = 0;
  for (unsigned long i = 1; i < fragmentCount_; ++i) {
    positions.push_back(position);
    position += fragments.length(i) + kItemHeaderSize;
  }
  starts_.assign(offsets.size(), 0);
  for (std::size_t frame = 0; frame < offsets.size(); ++frame) {
    const auto found = std::lower_bound(positions.begin(), positions.end(), offsets[frame]);
    if (found != positions.end() && *found == offsets[frame]) {
      starts_[frame] = static_cast<unsigned long>(found - positions.begin()) + 1;
    }
  }
}

std::optional<unsigned long> FrameStarts::of(std::uint64_t frame) const {
  if (frame >= frames_ || fragmentCount_ <= frames_) {
    return std::nullopt;
  }
  if (frame == 0 || fragmentCount_ == frames_ + 1) {
    return static_cast<unsigned long>(frame) + 1;
  }
  if (starts_.empty() || starts_[static_cast<std::size_t>(frame)] == 0) {
    return std::nullopt;
  }
  return starts_[static_cast<std::size_t>(frame)];
}

}  // namespace Zrg
