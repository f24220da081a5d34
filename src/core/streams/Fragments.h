// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctypes.h"

#include <optional>
#include <vector>

class DcmPixelItem;
class DcmPixelSequence;

namespace Zrg {

/// Bytes of the tag and the length before the bytes of a fragment, and of an entry of the Basic
/// Offset Table. @see PS3.5 A.4
inline constexpr Uint32 kItemHeaderSize = 8;
inline constexpr Uint32 kOffsetSize = 4;

/// The fragments of encapsulated pixel data, by index: fragment 0 holds the Basic Offset Table,
/// fragment 1 begins frame 0. Says which of them belong to a frame the way DCMTK's decoders find it
/// out, be that right or wrong: what is looked at here must be what they will read.
///
/// DCMTK counts its way to a fragment from the nearer end each time; here they are collected once,
/// as soon as more than a few are asked for.
///
/// @see PS3.5 A.4 (Transfer Syntaxes For Encapsulation of Encoded Pixel Data)
class Fragments {
public:
  /// The sequence must outlive the object and must not change.
  explicit Fragments(DcmPixelSequence& sequence);

  /// How many there are, the offset table among them.
  [[nodiscard]] unsigned long count() const { return count_; }

  /// A fragment; null when there is no such one.
  [[nodiscard]] DcmPixelItem* item(unsigned long index);

  /// Bytes of a fragment; 0 when there is no such one. Loads nothing.
  [[nodiscard]] Uint32 length(unsigned long index);

  /// Bytes of all fragments from `first` to `end` - 1. Loads nothing.
  [[nodiscard]] unsigned long long lengthOf(unsigned long first, unsigned long end);

  /// Bytes of a fragment, which is loaded; null when it has none or cannot be loaded.
  [[nodiscard]] const Uint8* bytes(unsigned long index);

  /// Gives the memory of a fragment back if its bytes are still in the file that they came from.
  void release(unsigned long index);

  /// The first fragment of a frame of an image of `frames` frames; nothing when a decoder that is
  /// asked for this frame alone does not find it.
  [[nodiscard]] std::optional<unsigned long> startOfFrame(unsigned long frame,
                                                          unsigned long long frames);

  /// The fragment behind the last one that DCMTK's JPEG-LS decoder takes for a frame which begins
  /// in fragment `start`: by the offset table where that fits, else up to the next one that looks
  /// like a start of image. Nothing when it gives up.
  [[nodiscard]] std::optional<unsigned long> endOfJpegLsFrame(unsigned long frame,
                                                              unsigned long long frames,
                                                              unsigned long start);

private:
  void collect();
  [[nodiscard]] std::optional<Uint32> frameOffset(unsigned long frame, unsigned long long frames);

  DcmPixelSequence& sequence_;
  unsigned long count_;
  unsigned int lookups_ = 0;
  std::vector<DcmPixelItem*> items_;
};

}  // namespace Zrg
