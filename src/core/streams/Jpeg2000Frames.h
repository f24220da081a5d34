// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "streams/Fragments.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctypes.h"

#include <optional>
#include <vector>

class DcmPixelSequence;

namespace Zrg {

/// A frame as it stands among fragments.
struct FrameSpan {
  unsigned long first;
  unsigned long end;  ///< the fragment behind its last one
};

/// Says which fragments of encapsulated pixel data hold which frame of JPEG 2000. Each frame begins a
/// fragment: in order of preference its only one, the one that the offset table names if a codestream
/// begins there, the one that begins the codestream of that number.
///
/// @see PS3.5 A.4.4 (JPEG 2000 Image Compression)
class Jpeg2000Frames {
public:
  /// @param sequence must outlive this and must not change.
  /// @param frames   Number of Frames, at least 1.
  Jpeg2000Frames(DcmPixelSequence& sequence, unsigned long frames);

  /// @param start the first fragment of the frame where the caller knows it, else 0
  /// @return nothing when there is no such frame, or when no way tells where it begins
  [[nodiscard]] std::optional<FrameSpan> spanOf(unsigned long frame, unsigned long start = 0);

  /// All bytes of a frame; empty when they cannot be loaded.
  [[nodiscard]] std::vector<Uint8> bytesOf(const FrameSpan& span);

  /// Bytes of a frame of one fragment where they stand; null when they cannot be loaded.
  [[nodiscard]] const Uint8* bytesOf(unsigned long fragment) { return fragments_.bytes(fragment); }
  [[nodiscard]] Uint32 lengthOf(unsigned long fragment) { return fragments_.length(fragment); }

private:
  [[nodiscard]] bool beginsFrame(unsigned long fragment);
  [[nodiscard]] std::optional<unsigned long> startOf(unsigned long frame);

  Fragments fragments_;
  unsigned long frames_;
  std::vector<unsigned long> starts_;  ///< of all frames, once they were searched for
  bool isSearched_ = false;
};

}  // namespace Zrg
