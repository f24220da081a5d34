// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>
#include <zrimaging/FrameAttributes.h>
#include <zrimaging/ZrimagingApi.h>

namespace zr {

class File;

/// Frames of a file that make up a volume.
struct SplitVolume {
  std::vector<std::size_t>
      frames;  ///< numbers in the file, in the order of the slices; may be empty
  std::optional<std::size_t> timeSlot;    ///< of gated data, 0-based
  std::optional<std::size_t> rrInterval;  ///< likewise
};

/// How the frames of a file make up volumes by its Frame Increment Pointer (PS3.3 C.7.6.6), as
/// Zrg::readFrameOrder tells.
struct Splitting {
  bool splits = false;          ///< there is an order of frames
  std::string reason;           ///< why there is none; empty when there is one
  std::string pointer;          ///< "(gggg,eeee)", several joined by backslashes; empty without one
  std::string pointerMeaning;   ///< in English; empty when it is no order of frames that is known
  std::size_t timeSlots = 0;    ///< 0 unless the data is gated
  std::size_t rrIntervals = 0;  ///< 0 unless the data is gated
  /// The slices run against the volume's direction. They stay in the order of the dataset.
  bool reversed = false;
  std::vector<SplitVolume> volumes;  ///< by time slot, then R-R interval; empty without an order

  bool gated() const { return rrIntervals != 0; }
};

/// Reads how a file splits. Nothing is decoded.
[[nodiscard]] ZRIMAGING_API Splitting readSplitting(const File& file);

/// The same for a file whose volumes are wanted: colour frames, which are not split, make up one
/// volume that is kept whole, with the reason.
/// @throws Error NotAVolume with the reason when there is no order of frames
[[nodiscard]] ZRIMAGING_API Splitting requireSplitting(const File& file);

/// Millimetres between the slices, with the sign of frameSpacingMm; nothing where volumes differ or
/// a distance is not known.
[[nodiscard]] ZRIMAGING_API std::optional<double> sliceSpacingMm(
    const Splitting& splitting, const PerFrameAttributes& attributes);

}  // namespace zr
