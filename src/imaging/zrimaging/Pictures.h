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

/// The same through a VOI table. Values between two whole numbers are rounded.
[[nodiscard]] ZRIMAGING_API double grayFraction(double value, const VoiTable& table);

/// The first window of a frame that can be shown; nothing when it has none. A LINEAR window of
/// width 1 or less, which the standard does not allow, is taken for LINEAR_EXACT.
[[nodiscard]] ZRIMAGING_API std::optional<Window> windowOfFrame(const FrameAttributes& frame);

/// What a user wants to see an image through: a window of his own, or one of the windows and tables
/// that its frames have.
struct WindowChoice {
  std::optional<Window> window;
  /// Without a window: a number, from 1, or an explanation, in capitals or not. Numbers count the
  /// windows of a frame in the order of the dataset, then its tables.
  std::string listed;
};

/// How the samples of a frame become grey: the line from samples as they are in memory to modality
/// values, and the window or table. Of a frame whose line is not known the window shows stored
/// values.
struct FrameDisplay {
  double slope = 1;
  double intercept = 0;
  Window window{0, 1, VoiFunction::kLinearExact};
  std::optional<VoiTable> table{};  ///< instead of the window

  bool operator==(const FrameDisplay& other) const {
    return slope == other.slope && intercept == other.intercept && window == other.window &&
           table == other.table;
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

/// Decides how to show monochrome frames: each through what is wanted, else its own first window,
/// else its first VOI table, else over the range of the values that occur in the frames (without
/// those that mark padding); samples of one bit as 0 black and 1 white. Windows of the file that
/// leave one grey of all samples give way to that range, with a remark.
/// @param frames some or all are decoded
/// @param count  of the first frames, which decide; they have attributes in the record
/// @param wanted the choice of a user; without it the frames have theirs
/// @throws Error when a frame does not decode; MissingAttribute when one has not what is wanted,
///         with what it has
/// @see PS3.3 C.11.2 (VOI LUT Module)
[[nodiscard]] ZRIMAGING_API Display displayOf(Frames& frames, std::size_t count,
                                              const std::optional<WindowChoice>& wanted);

/// The greys, 0 to 255, of the least and the largest sample of a frame that is shown so; none of a
/// frame of nothing but padding.
[[nodiscard]] ZRIMAGING_API std::set<unsigned char> extremeGreys(const FrameTraits& traits,
                                                                 const SampleArray& frame,
                                                                 const FrameDisplay& display);

/// Grey level, 0 to 255, of every value that a sample of 8 or 16 bits can take: 256 or 65536
/// levels, by the bits of the sample. What is shown dark when it is high is turned round, so that
/// it looks right where 255 is white. For monochrome frames.
[[nodiscard]] ZRIMAGING_API std::vector<unsigned char> grayLevels(const FrameTraits& traits,
                                                                  const FrameDisplay& display);

/// Makes grey levels of the samples of monochrome frames that are shown alike: those of 8 and 16
/// bits by a table of all values (`grayLevels`), others one by one.
class ZRIMAGING_API Greys {
public:
  Greys(const FrameTraits& traits, const FrameDisplay& display);
  /// @param levels of every value that a sample can take, as `grayLevels` makes them
  explicit Greys(std::vector<unsigned char> levels);

  /// @param frame  one or more frames of the traits
  /// @param first  sample, counted over all frames
  /// @param count  of samples
  /// @param levels receives so many
  void render(const SampleArray& frame, std::size_t first, std::size_t count,
              unsigned char* levels) const;

private:
  FrameTraits traits_;
  FrameDisplay display_;
  std::vector<unsigned char> levels_;  ///< empty for samples of other sizes
};

/// One monochrome frame as it looks on a screen: 8-bit grey levels (see `grayLevels`).
[[nodiscard]] ZRIMAGING_API Picture renderFrame(const FrameTraits& traits, const SampleArray& frame,
                                                const FrameDisplay& display);

// ---- overlays ----

/// Red, green and blue.
using Colour = std::array<unsigned char, 3>;

/// The colour that overlays of a group are drawn in.
[[nodiscard]] ZRIMAGING_API Colour overlayColour(unsigned group);

/// Draws the overlays that are on a frame into its picture, each group in its own colour.
/// @param picture gray or RGB
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

// ---- pixels that are not square ----

/// Height of a pixel of a frame over its width: by Pixel Spacing, else as the image says otherwise
/// (PerFrameAttributes::pixelAspect); 1 when nothing says it, and beyond 8 in either direction,
/// where it is more likely wrong than the pixels.
[[nodiscard]] ZRIMAGING_API double pixelAspectOf(const FramesRecord& record, std::size_t index);

/// A picture as large as its pixels would be if they were square: the direction in which they are
/// larger gets more of them, in between the others.
/// @param picture gray or RGB
/// @param aspect  height of a pixel over its width, above 0
[[nodiscard]] ZRIMAGING_API Picture withSquarePixels(const Picture& picture, double aspect);

}  // namespace zr
