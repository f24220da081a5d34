// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <vector>
#include <zrimaging/FrameAttributes.h>
#include <zrimaging/Frames.h>
#include <zrimaging/Samples.h>
#include <zrimaging/ZrimagingApi.h>

namespace zr {

// ---- windows ----

/// The modality values that are spread over black to white (PS3.3 C.11.2.1.2).
struct Window {
  double centre;
  double width;
  /// LINEAR has its edges at half steps, which only makes sense for integer values and widths above
  /// 1; LINEAR_EXACT (C.11.2.1.3.2) has them at centre -/+ width/2; SIGMOID (C.11.2.1.3.1) has no
  /// edges.
  VoiFunction function;

  bool operator==(const Window& other) const {
    return centre == other.centre && width == other.width && function == other.function;
  }
};

/// Where a modality value is between black (0) and white (1).
/// @return 0 also for values beyond all numbers
[[nodiscard]] ZRIMAGING_API double grayFraction(double value, const Window& window);

/// The first window of a frame that can be shown; nothing when it has none. A LINEAR window of
/// width 1 or less, which the standard does not allow, is taken for LINEAR_EXACT.
[[nodiscard]] ZRIMAGING_API std::optional<Window> windowOfFrame(const FrameAttributes& frame);

/// How the samples of a frame become grey: the line from samples as they are in memory to modality
/// values, and the window. Of a frame whose line is not known the window shows stored values.
struct FrameDisplay {
  double slope = 1;
  double intercept = 0;
  Window window{0, 1, VoiFunction::kLinearExact};

  bool operator==(const FrameDisplay& other) const {
    return slope == other.slope && intercept == other.intercept && window == other.window;
  }
  bool operator!=(const FrameDisplay& other) const { return !(*this == other); }
};

/// How the frames of a monochrome image are shown.
class ZRIMAGING_API Display {
public:
  Display(std::vector<FrameDisplay> frames, std::string remark);

  /// @param index of the frame
  const FrameDisplay& frame(std::size_t index) const;
  /// Whether all frames are shown alike.
  bool uniform() const { return frames_.size() == 1; }
  /// What the user must know about the window; empty when there is nothing.
  const std::string& remark() const { return remark_; }

private:
  std::vector<FrameDisplay> frames_;  ///< one when all agree
  std::string remark_;
};

/// Decides how to show monochrome frames: each through the window wanted, else its own, else over
/// the range of the values that occur in the frames (without those that mark padding). Windows of
/// the file that leave one grey of all samples give way to that range, with a remark.
/// @param frames some or all are decoded
/// @param count  of the first frames, which decide; they have attributes in the record
/// @param wanted the window of a user; without it the frames have theirs
/// @throws Error when a frame does not decode
/// @see PS3.3 C.11.2.1.2 (Window Center and Window Width)
[[nodiscard]] ZRIMAGING_API Display displayOf(Frames& frames, std::size_t count,
                                              const std::optional<Window>& wanted);

/// The greys, 0 to 255, of the least and the largest sample of a frame that is shown so; none of a
/// frame of nothing but padding.
[[nodiscard]] ZRIMAGING_API std::set<unsigned char> extremeGreys(const FrameTraits& traits,
                                                                 const SampleArray& frame,
                                                                 const FrameDisplay& display);

/// Grey level, 0 to 255, of every value that a sample can take: 256 or 65536 levels, by the bits of
/// the sample. MONOCHROME1 is turned round, so that it looks right where 255 is white. For
/// monochrome frames.
[[nodiscard]] ZRIMAGING_API std::vector<unsigned char> grayLevels(const FrameTraits& traits,
                                                                  const FrameDisplay& display);

/// One monochrome frame as it looks on a screen: 8-bit grey levels (see `grayLevels`).
[[nodiscard]] ZRIMAGING_API Picture renderFrame(const FrameTraits& traits, const SampleArray& frame,
                                                const FrameDisplay& display);

// ---- overlays ----

/// Red, green and blue.
using Colour = std::array<unsigned char, 3>;

/// The colour that overlays of a group are drawn in.
[[nodiscard]] ZRIMAGING_API Colour overlayColour(unsigned group);

/// Draws the overlays that are on a frame into its picture, each group in its own colour.
/// @param picture gray
/// @param record  of the image that the frame is in
/// @param index   of the frame
/// @return the picture in RGB
/// @see PS3.3 C.9.2 (Overlay Plane Module)
[[nodiscard]] ZRIMAGING_API Picture burnOverlays(const Picture& picture, const FramesRecord& record,
                                                 std::size_t index);

/// One overlay as a picture as large as the frame: 255 where it is set, 0 elsewhere.
/// @param record of the image
/// @param index  of the overlay in `record.overlays`
[[nodiscard]] ZRIMAGING_API Picture overlayMask(const FramesRecord& record, int index);

}  // namespace zr
