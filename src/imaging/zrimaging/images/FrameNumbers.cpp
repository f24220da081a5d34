// SPDX-License-Identifier: BSD-3-Clause
// Numbers of frames that are there, and of frames that are not.
#include "zrimaging/images/FrameNumbers.h"

#include "zrimaging/Error.h"

#include <string>

namespace zr {

void requireFrame(std::size_t number, std::size_t available) {
  if (number >= available) {
    const std::string upTo =
        available == 0 ? "" : " (0-based: up to " + std::to_string(available - 1) + ")";
    throw Error(Reason::NoSuchFrame, "has " + std::to_string(available) +
                                         (available == 1 ? " frame" : " frames") + upTo +
                                         "; there is no frame " + std::to_string(number));
  }
}

const FrameAttributes& frameAt(const PerFrameAttributes& image, std::size_t number) {
  requireFrame(number, image.frames.size());
  return image.frames[number];
}

}  // namespace zr
