// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zrdcmexport/ZrdcmexportApi.h>

#include <string>
#include <vector>

class DcmItem;

namespace Zrg {

/// What a Frame Increment Pointer points at. @see PS3.3 C.7.6.6.1.1 (Frame Increment Pointer)
struct FrameIncrement {
  /// The pointer as "(gggg,eeee)", several joined by backslashes; empty when there is none.
  std::string pointer;
  /// What it points at, in English; null when that is no order of frames that is known here.
  const char* meaning = nullptr;
  /// The frames are told apart by R-R interval, time slot and slice (gated nuclear medicine).
  bool gated = false;
};

/// Reads the Frame Increment Pointer. The item is only read.
[[nodiscard]] ZRDCMEXPORT_API FrameIncrement readFrameIncrement(DcmItem& item);

/// How the frames of a multi-frame dataset make up volumes, as its attributes say.
struct FrameOrder {
  /// For each volume its frames in the order of their slices: 0-based numbers of dataset frames.
  /// Volumes of gated data come by time slot, then R-R interval: volume = time slot x `rrIntervals`
  /// + R-R interval, all 0-based. A volume may be empty, see readFrameOrder.
  std::vector<std::vector<unsigned int>> volumes;
  unsigned int frames = 0;       ///< Number of Frames
  unsigned int timeSlots = 0;    ///< Number of Time Slots; 0 unless the data is gated
  unsigned int rrIntervals = 0;  ///< Number of R-R Intervals; 0 unless the data is gated
  /// Distance of neighbouring slices in mm, never negative nor 0.
  float spacingMm = 0.0F;
  /// The spacing is negative in the dataset: its slices run against the volume's direction. They
  /// stay in the order of the dataset here.
  bool reversed = false;
};

/// The reason why colour has no order of frames. It is the only thing that keeps such a dataset
/// from being split as far as was looked; its frames can be kept together as one volume.
inline constexpr char kColourFramesStayTogether[] = "colour frames are kept together";

/// Reads in which order the frames of a dataset make up volumes: what MultiFrameImage::process
/// files when it splits, by the same rules, from the attributes alone.
///
/// Frames of gated data whose slice number is beyond the frames of their volume, and those behind
/// the first gap of a volume, are in no volume, and no message says so.
///
/// @param item   the dataset; it is only read. Its pixel data is neither looked at nor decoded.
/// @param order  receives the order; unchanged after a failure.
/// @param reason cleared at entry; on failure one fixed English text, such as "no Number of
///               Frames". The first obstacle counts, in the order: Number of Frames, Frame
///               Increment Pointer, colour, spacing, kind of pointer, vectors.
/// @return true when there is an order.
/// @throws std::bad_alloc when there is no memory for it: at most 65,535 frames in 2^20 volumes.
/// @see PS3.3 C.7.6.6 (Multi-frame), C.8.4.8.1.1 (NM frame vectors), C.8.8.3.2 (dose grid)
[[nodiscard]] ZRDCMEXPORT_API bool readFrameOrder(DcmItem& item, FrameOrder& order,
                                                  std::string& reason);

}  // namespace Zrg
