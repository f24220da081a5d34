// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctypes.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace Zrg {

class Fragments;

/// A frame among the fragments.
struct FrameSpan {
  unsigned long first;
  unsigned long end;  ///< the fragment behind its last one
};

/// Says which fragments of encapsulated pixel data hold which frame of JPEG 2000. Each frame begins
/// a fragment: in order of preference its only one, the one that the offset table names if a
/// codestream begins there, the one that begins the codestream of that number.
///
/// @see PS3.5 A.4.4 (JPEG 2000 Image Compression)
class Jpeg2000Frames {
public:
  /// @param fragments must outlive this.
  /// @param frames    Number of Frames, at least 1.
  Jpeg2000Frames(Fragments& fragments, unsigned long long frames)
      : fragments_(fragments), frames_(frames) {}

  /// The first fragment of a frame; nothing when there is no such frame, or when no way tells.
  [[nodiscard]] std::optional<unsigned long> startOf(unsigned long frame);

  /// The fragments of a frame that begins in a fragment.
  [[nodiscard]] std::optional<FrameSpan> spanFrom(unsigned long start);

private:
  [[nodiscard]] bool beginsFrame(unsigned long fragment);

  Fragments& fragments_;
  unsigned long long frames_;
  std::vector<unsigned long> starts_;  ///< of all frames, once they were searched for
  bool isSearched_ = false;
};

/// The bytes of a frame: in place if it has one fragment, else put together.
class FrameBytes {
public:
  /// Loads the fragments, which must outlive this. Empty when they cannot be loaded.
  FrameBytes(Fragments& fragments, const FrameSpan& span);

  [[nodiscard]] const Uint8* data() const { return bytes_; }
  [[nodiscard]] std::size_t size() const { return size_; }

private:
  std::vector<Uint8> joined_;
  const Uint8* bytes_ = nullptr;
  std::size_t size_ = 0;
};

}  // namespace Zrg
