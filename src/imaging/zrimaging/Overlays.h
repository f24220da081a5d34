// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>
#include <zrimaging/FrameAttributes.h>
#include <zrimaging/ZrimagingApi.h>

namespace zr {

class File;

/// Where the bits of an overlay plane are.
enum class OverlayStorage : std::uint8_t {
  kEmbedded,  ///< in one bit of the samples (PS3.5 8.1.2)
  kOwnData,   ///< in Overlay Data (60xx,3000)
};

/// An overlay plane as its group describes it; nothing is decoded. Places and frames count from 0.
/// @see PS3.3 C.9.2 (Overlay Plane Module)
struct OverlayPlane {
  unsigned group = 0;  ///< 0x6000, 0x6002, ..., 0x601E; an odd one is private and not read
  OverlayStorage storage = OverlayStorage::kOwnData;
  std::size_t rows = 0;     ///< of the plane, which need not be those of the image
  std::size_t columns = 0;  ///< likewise
  /// Where its first pixel is in the image; negative left of it and above.
  long long originColumn = 0;
  long long originRow = 0;
  unsigned bitPosition = 0;    ///< in the container of a sample, of embedded ones
  std::size_t frames = 1;      ///< Number of Frames in Overlay
  std::size_t firstFrame = 0;  ///< of the image, that its first frame lies on
  bool onAllFrames = false;    ///< it says neither, and lies on all frames of the image
  std::string type;            ///< Overlay Type: "G" graphics, "R" region of interest
  std::string subtype;         ///< Overlay Subtype, as it is written
  ValueText label;             ///< Overlay Label
  ValueText description;       ///< Overlay Description
  std::string problem;         ///< why it is not read; empty when it is
};

/// Describes the overlay planes of a file, of both kinds, in the order of their groups; those that
/// are not read with the reason.
/// @throws Error OutOfMemory
[[nodiscard]] ZRIMAGING_API std::vector<OverlayPlane> describeOverlays(const File& file);

}  // namespace zr
