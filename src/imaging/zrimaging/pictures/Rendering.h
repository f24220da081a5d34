// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/FrameAttributes.h"
#include "zrimaging/Samples.h"
#include "zrimaging/images/DecodedImage.h"

#include <array>
#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zr {

/// The modality values that are spread over black to white.
struct Window {
  double centre;
  double width;
  /// LINEAR has its edges at half steps, which only makes sense for integer values and widths above
  /// 1; LINEAR_EXACT has them at centre -/+ width/2; SIGMOID has no edges.
  VoiFunction function;

  bool operator==(const Window&) const = default;
};

/// How the samples of a frame become grey: the line from samples as they stand in memory to modality
/// values, and the window. Of a frame whose line is not known the window shows stored values.
struct FrameDisplay {
  double slope = 1;
  double intercept = 0;
  Window window{};

  bool operator==(const FrameDisplay&) const = default;
};

/// How the decoded frames of a monochrome image are shown.
class Display {
public:
  Display(std::vector<FrameDisplay> frames, std::string remark);

  /// @param index 0-based among the decoded frames
  const FrameDisplay& frame(std::size_t index) const;
  /// Whether all frames are shown alike.
  bool uniform() const { return frames_.size() == 1; }
  /// What the user must know about the window; empty when there is nothing.
  const std::string& remark() const { return remark_; }

private:
  std::vector<FrameDisplay> frames_;  ///< one when all agree
  std::string remark_;
};

/// The first window of a frame that can be shown; nothing when it has none.
/// @param number of the frame in the file
std::optional<Window> windowOfFile(const PerFrameAttributes& attributes, std::size_t number);

/// The greys, 0 to 255, of the least and the largest sample of a frame that is shown so; none of a frame
/// of nothing but padding.
/// @param image that the frame belongs to, or one of the same kind
std::set<unsigned char> extremeGreys(const DecodedImage& image, const SampleArray& frame,
                                     const FrameDisplay& display);

/// Decides how to show a monochrome image: each frame through the window wanted, else its own, else
/// over the range of the values that occur in the decoded frames (without those that mark padding).
/// Windows of the file that leave one grey of all samples give way to that range, with a remark.
/// @see PS3.3 C.11.2.1.2 (Window Center and Window Width)
Display displayOf(const DecodedImage& image, const PerFrameAttributes& attributes,
                  const std::optional<Window>& wanted);

/// The line from samples as they were decoded to modality values; nothing when the line is not known
/// or a table maps samples that were left as they are stored.
/// @param number of the frame in the file
std::optional<RescaleLine> lineOfSamples(const DecodedImage& image,
                                         const PerFrameAttributes& attributes, std::size_t number);

/// Grey level, 0 to 255, of every value that a sample of the image can take: 256 or 65536 levels.
/// MONOCHROME1 is turned round, so that it looks right where 255 is white. For monochrome images.
std::vector<unsigned char> grayLevels(const DecodedImage& image, const FrameDisplay& display);

/// One frame as it looks on a screen: 8-bit grey levels (see `grayLevels`).
/// @param index 0-based among `image.samples`
Picture renderFrame(const DecodedImage& image, std::size_t index, const FrameDisplay& display);

/// Red, green and blue.
using Colour = std::array<unsigned char, 3>;

/// The colour that overlays of a group are drawn in.
Colour overlayColour(unsigned group);

/// Draws the overlays of the slice that lie on this frame into its gray levels, each group in its
/// own colour.
/// @return the picture in RGB
Picture burnOverlays(const Picture& picture, const DecodedImage& image, std::size_t index);

}  // namespace zr
