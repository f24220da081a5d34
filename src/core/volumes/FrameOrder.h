// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dicom/Result.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/ofstd/ofstring.h"

#include <optional>
#include <vector>

class DcmItem;

/// The steps of readFrameOrder one by one: splitting decodes between them.
namespace Zrg::Volumes {

/// Decoding looks at the low 16 bits of Number of Frames: frames from here on are not delivered.
inline constexpr int kMostFrames = 65535;

/// Where each frame belongs, by 0-based indices.
struct FrameIndices {
  unsigned int frames = 0;
  unsigned int timeSlots = 0;     ///< 0 unless the data is gated
  unsigned int rrIntervals = 0;   ///< 0 unless the data is gated
  std::vector<int> sliceOfFrame;  ///< empty: frame i is slice i
  std::vector<int> rrIntervalOfFrame;
  std::vector<int> timeSlotOfFrame;

  bool isGated() const { return rrIntervals != 0; }
};

/// Distance of the slices, and whether they run backwards.
struct SliceSpacing {
  float mm = 0.0F;               ///< as the dataset has it, negative too; 0: there is none
  std::optional<bool> reversed;  ///< nothing where the dataset has no usable spacing
  FailureText reason{""};        ///< why it is 0
};

/// The frames of each volume in the order of their slices.
using FramesOfVolumes = std::vector<std::vector<int>>;

/// Number of Frames as a signed number other than 0.
[[nodiscard]] Result<int> readNumberOfFrames(DcmItem& item);

/// Frame Increment Pointer, all values, of whatever text.
[[nodiscard]] Result<OFString> readPointer(DcmItem& item);

/// Spacing Between Slices, or else the step of a regular Grid Frame Offset Vector.
[[nodiscard]] SliceSpacing readSliceSpacing(DcmItem& item, unsigned int frames);

/// The indices that pointer and vectors give. Costs no more than the vectors have numbers, however
/// many frames are claimed.
[[nodiscard]] Result<FrameIndices> readFrameIndices(DcmItem& item, const OFString& pointer,
                                                    int frames);

/// Sorts the frames into their volumes; costs memory for every frame.
[[nodiscard]] Result<FramesOfVolumes> sortFrames(const FrameIndices& indices);

}  // namespace Zrg::Volumes
