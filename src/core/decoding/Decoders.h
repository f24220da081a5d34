// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <vector>

class DcmItem;
class DcmPixelData;

namespace Zrg::Decoding {

/// Names the cause once, in the log, when DCMTK has no data dictionary: every message that follows
/// names something else.
void warnWithoutDictionary();

/// Makes DCMTK's decoders known to DCMTK. Where the host registered them first, its choices stay.
void registerDecoders();

/// Sees to it that decoding which ends early leaves no samples behind. DCMTK takes samples for
/// decompressed from the moment it has memory for them, and does not take that back when a decoder
/// runs out of memory: the next call would deliver them as they came from the heap. Samples that
/// were there before stay: slices may point at them.
class UnfinishedSamples {
public:
  UnfinishedSamples() = default;
  /// Drops what has been decoded meanwhile, unless decoding has finished.
  ~UnfinishedSamples();
  UnfinishedSamples(const UnfinishedSamples&) = delete;
  UnfinishedSamples& operator=(const UnfinishedSamples&) = delete;

  /// Watches pixel data that is about to be decoded.
  void watch(DcmPixelData& pixelData);
  /// Watches the pixel data of an item and of all that is decoded together with it.
  void watchAll(DcmItem& item);

  void finished() { compressed_.clear(); }

private:
  std::vector<DcmPixelData*> compressed_;  ///< without samples when decoding began
};

}  // namespace Zrg::Decoding
