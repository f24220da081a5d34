// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>
#include <zrimaging/ZrimagingApi.h>

class DcmItem;

namespace zr {

/// A text that the dataset says of its values; empty when it does not.
struct ValueText {
  std::string utf8;
  bool escaped = false;  ///< it holds bytes that stand for no known character, as \\xE9

  bool operator==(const ValueText& other) const {
    return utf8 == other.utf8 && escaped == other.escaped;
  }
};

/// value = slope x sample + intercept.
struct RescaleLine {
  double slope = 1;
  double intercept = 0;
  ValueText unit;  ///< "HU", "Gy" and the like

  bool operator==(const RescaleLine& other) const {
    return slope == other.slope && intercept == other.intercept && unit == other.unit;
  }
  bool operator!=(const RescaleLine& other) const { return !(*this == other); }
};

/// How a window maps values to grey (PS3.3 C.11.2.1.2 and C.11.2.1.3).
enum class VoiFunction : std::uint8_t { kLinear, kLinearExact, kSigmoid, kOther };

/// A window as the dataset has it, in modality values.
struct VoiWindow {
  double centre = 0;
  double width = 0;
  VoiFunction function = VoiFunction::kLinear;
  ValueText explanation;  ///< Window Center & Width Explanation

  bool operator==(const VoiWindow& other) const {
    return centre == other.centre && width == other.width && function == other.function &&
           explanation == other.explanation;
  }
};

/// A table that maps modality values to grey (PS3.3 C.11.2.1.1, VOI LUT Sequence). Values below the
/// first that is mapped look like the first entry, values above the last one like the last entry.
struct VoiTable {
  int firstMapped = 0;  ///< the modality value of the first entry
  unsigned bits = 16;   ///< of an entry: 0 is black, 2^bits - 1 white
  std::shared_ptr<const std::vector<std::uint16_t>> entries;  ///< at least one; frames share them
  ValueText explanation;                                      ///< LUT Explanation

  bool operator==(const VoiTable& other) const {
    return firstMapped == other.firstMapped && bits == other.bits &&
           explanation == other.explanation &&
           (entries == other.entries || *entries == *other.entries);
  }
};

/// What a dataset says about one frame. What it does not say, or not as a finite number, is not
/// set: nothing here is a default. Lengths in millimetres; of windows no more than 16 are kept, of
/// tables likewise.
struct FrameAttributes {
  std::optional<RescaleLine> rescale;
  std::vector<VoiWindow> windows;                     ///< in the order of the dataset
  std::vector<VoiTable> voiTables;                    ///< likewise
  std::optional<std::array<double, 2>> pixelSpacing;  ///< between columns, between rows
  std::optional<std::array<double, 3>> position;      ///< middle of the first pixel
  std::optional<std::array<double, 6>> orientation;   ///< direction of the rows, of the columns
  /// Position and orientation are in the space of an ultrasound volume, not in the patient's.
  bool inVolumeSpace = false;
  /// Spacing Between Slices, or the step of a dose grid, with its sign.
  std::optional<double> sliceSpacing;
};

/// The attributes of all frames of an image.
struct PerFrameAttributes {
  std::vector<FrameAttributes> frames;  ///< one a frame, in the order of the file
  bool enhanced = false;                ///< they come from functional groups
  /// A modality LUT maps the samples: `rescale` is (1, 0), what the table gives are values.
  bool modalityTable = false;
  /// That table is not meant for display (PS3.3 C.8.7.1.1.2: X-ray angiography and fluoroscopy).
  bool tableKeptOutOfDisplay = false;
  /// Height of a pixel over its width, by what the image says besides the spacing of its frames:
  /// Imager Pixel Spacing, Nominal Scanned Pixel Spacing, Pixel Aspect Ratio, in this order.
  std::optional<double> pixelAspect;
};

/// Reads the attributes of `frames` frames, in time linear in their number.
///
/// Enhanced objects have them in functional groups (PS3.3 C.7.6.16): a value is that of the frame's
/// item of the Per-frame Functional Groups, else of the Shared item, else of the attribute where it
/// lies flat in either item, which occurs; never of the top level. Of a frame that has no item,
/// though others have, nothing is known. Objects without functional groups have the values at the
/// top level; the position that stands there is that of frame 0. A dose grid (PS3.3 C.8.8.3) has
/// Dose Grid Scaling as its line and its frames at the Grid Frame Offset Vector.
[[nodiscard]] ZRIMAGING_API PerFrameAttributes readFrameAttributes(DcmItem& dataset,
                                                                   std::size_t frames);

/// Millimetres from each of these frames (numbers in the file, at least one) to the next: by their
/// positions, negative when they run against row direction x column direction; where positions are
/// not known what the dataset says. Nothing when the steps differ or nothing is said: the thickness
/// of a slice is no distance.
[[nodiscard]] ZRIMAGING_API std::optional<double> frameSpacingMm(
    const PerFrameAttributes& image, const std::vector<std::size_t>& numbers);

}  // namespace zr
