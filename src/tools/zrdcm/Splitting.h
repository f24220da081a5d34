// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "MemoryBudget.h"

#include <cstddef>
#include <string>
#include <vector>

class DcmDataset;
class DcmItem;

namespace zrdcm {

/// What becomes of a multi-frame dataset when it is split into volumes.
struct SplittingOutlook {
  /// A volume's place among the gates of gated data; all 0-based.
  struct Gate {
    unsigned timeSlot;
    unsigned rrInterval;
  };

  bool splittable = false;
  /// Not splittable, but its frames can be kept together as one volume: colour.
  bool keptWhole = false;
  std::string reason;        ///< why it cannot be split; empty when it can
  std::string pointer;       ///< Frame Increment Pointer, "(gggg,eeee)" joined by backslashes
  std::string pointerKind;   ///< what it points at, in words; empty when missing or unknown
  bool reversed = false;     ///< the slices run against the volume's direction
  unsigned timeSlots = 0;    ///< 0 unless the data is gated
  unsigned rrIntervals = 0;  ///< 0 unless the data is gated
  std::vector<std::vector<unsigned>> volumes;  ///< frame numbers in slice order, 0-based

  bool gated() const { return rrIntervals != 0; }
  Gate gateOf(std::size_t volume) const;
};

/// Whether the frames are told apart by R-R interval, time slot and slice.
bool isGated(DcmItem& item);

/// What speaks against splitting, as far as the attributes tell without decoding; empty when nothing
/// does.
std::string obstacleToSplitting(DcmDataset& dataset, bool monochrome);

/// Finds out how a dataset splits. Monochrome pixel data is decompressed in place when it is not
/// yet, its samples stay as they are; colour, which is never split, is not decoded.
SplittingOutlook splittingOutlook(DcmDataset& dataset, bool monochrome, const MemoryBudget& memory);

}  // namespace zrdcm
