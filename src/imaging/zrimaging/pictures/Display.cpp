// SPDX-License-Identifier: BSD-3-Clause
// How frames are shown. Lines and windows are those of each frame. Which window an image gets is
// decided once for all of its decoded frames, because what one grey tells of a single frame (it is
// blank) is no reason to show it otherwise than its neighbours.
#include "zrimaging/Boundary.h"
#include "zrimaging/Pictures.h"
#include "zrimaging/images/FrameNumbers.h"
#include "zrimaging/pictures/SampleRange.h"
#include "zrimaging/pictures/WindowChoice.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

namespace zr {

namespace {

/// Frames with what is needed to choose their windows.
class Showing {
public:
  Showing(Frames& source, std::size_t count)
      : source_(source), record_(source.record()), frames_(count) {
    for (std::size_t index = 0; index < frames_.size(); ++index) {
      const auto line = lineOfSamples(record_, index);
      frames_[index].slope = line ? line->slope : 1;
      frames_[index].intercept = line ? line->intercept : -record_.traits.sampleOffset;
    }
  }

  void showAll(const Window& window) {
    for (FrameDisplay& frame : frames_) {
      frame.window = window;
      frame.table.reset();
    }
  }

  void showListed(const std::string& listed) {
    for (std::size_t index = 0; index < frames_.size(); ++index) {
      showThroughListed(frameAt(record_.attributes, index), listed, frames_[index]);
    }
  }

  // Where a frame has both windows and tables the choice is ours (PS3.3 C.11.2.1). Frames without
  // either are shown over the range.
  void showOwn() {
    std::optional<Window> range;
    for (std::size_t index = 0; index < frames_.size(); ++index) {
      const FrameAttributes& frame = frameAt(record_.attributes, index);
      const std::optional<Window> own = windowOfFrame(frame);
      hasOwn_ = hasOwn_ || own.has_value();
      if (!own && !frame.voiTables.empty()) {
        frames_[index].table = frame.voiTables.front();
        continue;
      }
      if (!own && !range) {
        range = rangeOfValues();
      }
      frames_[index].window = own ? *own : *range;
    }
  }

  // Whether windows of the file make one grey of samples that differ, those of a frame or of frames
  // that are shown alike.
  bool clipsEverything() {
    if (!hasOwn_) {
      return false;
    }
    readRanges();
    int grey = -1;  // none yet
    bool differ = false;
    for (std::size_t index = 0; index < frames_.size(); ++index) {
      if (frames_[index].table) {
        return false;  // the greys between those of the extremes are not known
      }
      if (!ranges_[index]) {
        continue;
      }
      const auto& [low, high] = *ranges_[index];
      const int shown = grayLevel(record_.traits, frames_[index], low);
      if (shown != grayLevel(record_.traits, frames_[index], high) ||
          (grey >= 0 && grey != shown)) {
        return false;
      }
      grey = shown;
      const bool likeFormer = index > 0 && frames_[index] == frames_[index - 1];
      differ = differ || low != high || (likeFormer && ranges_[index - 1] != ranges_[index]);
    }
    return differ;
  }

  Window rangeOfValues() {
    readRanges();
    double low = std::numeric_limits<double>::infinity();
    double high = -low;
    for (std::size_t index = 0; index < frames_.size(); ++index) {
      if (ranges_[index]) {
        const double one = valueOf(frames_[index], ranges_[index]->first);
        const double other = valueOf(frames_[index], ranges_[index]->second);
        low = std::min({low, one, other});
        high = std::max({high, one, other});
      }
    }
    if (!(low <= high)) {
      return {0, 1, VoiFunction::kLinearExact};  // nothing but padding
    }
    return {low + (high - low) / 2, high > low ? high - low : 1.0, VoiFunction::kLinearExact};
  }

  std::vector<FrameDisplay> take() { return std::move(frames_); }

private:
  void readRanges() {
    if (ranges_.empty()) {
      for (std::size_t index = 0; index < frames_.size(); ++index) {
        ranges_.push_back(record_.traits.oneBit
                              ? SampleRange{0, 1}
                              : rangeOfSamples(source_.frame(index), record_.traits.padding));
      }
    }
  }

  Frames& source_;
  const FramesRecord& record_;
  std::vector<FrameDisplay> frames_;
  std::vector<std::optional<SampleRange>> ranges_;
  bool hasOwn_ = false;
};

constexpr const char* kClippingWindow =
    "its window shows all samples in one grey; the range of its values is shown instead";

}  // namespace

Display::Display(std::vector<FrameDisplay> frames, std::string remark)
    : frames_(std::move(frames)), remark_(std::move(remark)) {
  const bool alike = std::all_of(frames_.begin(), frames_.end(), [this](const FrameDisplay& frame) {
    return frame == frames_.front();
  });
  if (alike) {
    frames_.resize(1);
  }
}

const FrameDisplay& Display::frame(std::size_t index) const {
  if (!uniform()) {
    requireFrame(index, frames_.size());
  }
  return uniform() ? frames_.front() : frames_[index];
}

Display displayOf(Frames& frames, std::size_t count, const std::optional<WindowChoice>& wanted) {
  return atBoundary([&]() -> Display {
    Showing showing(frames, count);
    std::string remark;
    if (wanted && wanted->window) {
      showing.showAll(*wanted->window);
    } else if (wanted) {
      showing.showListed(wanted->listed);
    } else {
      showing.showOwn();
      if (showing.clipsEverything()) {
        showing.showAll(showing.rangeOfValues());
        remark = kClippingWindow;
      }
    }
    return {showing.take(), remark};
  });
}

}  // namespace zr
