// SPDX-License-Identifier: BSD-3-Clause
// Volumes by the order of frames that the library reads.
#include "zrimaging/Splitting.h"

#include "zrimaging/Boundary.h"
#include "zrimaging/Error.h"
#include "zrimaging/File.h"

#include <zrdcmexport/ZrFrameOrder.h>
#include <zrdcmexport/ZrFrames.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <numeric>

namespace zr {

Splitting readSplitting(const File& file) {
  return atBoundary([&] {
    const Zrg::FrameIncrement increment = Zrg::readFrameIncrement(file.dataset());
    Zrg::FrameOrder order;
    Splitting splitting;
    splitting.splits = Zrg::readFrameOrder(file.dataset(), order, splitting.reason);
    splitting.pointer = increment.pointer;
    splitting.pointerMeaning = increment.meaning == nullptr ? "" : increment.meaning;
    splitting.timeSlots = order.rrIntervals == 0 ? 0 : order.timeSlots;
    splitting.rrIntervals = order.rrIntervals;
    splitting.reversed = order.reversed;
    for (std::size_t i = 0; i < order.volumes.size(); ++i) {
      SplitVolume volume;
      volume.frames.assign(order.volumes[i].begin(), order.volumes[i].end());
      if (splitting.gated()) {
        volume.timeSlot = i / splitting.rrIntervals;
        volume.rrInterval = i % splitting.rrIntervals;
      }
      splitting.volumes.push_back(volume);
    }
    return splitting;
  });
}

Splitting requireSplitting(const File& file) {
  return atBoundary([&]() -> Splitting {
    Splitting splitting = readSplitting(file);
    if (splitting.splits) {
      return splitting;
    }
    if (splitting.reason != Zrg::kColourFramesStayTogether) {
      throw Error(Reason::NotAVolume, "cannot be split: " + splitting.reason);
    }
    SplitVolume whole;
    whole.frames.resize(static_cast<std::size_t>(Zrg::numberOfFrames(file.dataset())));
    std::iota(whole.frames.begin(), whole.frames.end(), std::size_t{0});
    splitting.volumes = {whole};
    return splitting;
  });
}

std::optional<double> sliceSpacingMm(const Splitting& splitting,
                                     const PerFrameAttributes& attributes) {
  return atBoundary([&]() -> std::optional<double> {
    std::optional<double> spacing;
    bool any = false;
    for (const SplitVolume& volume : splitting.volumes) {
      if (volume.frames.empty()) {
        continue;
      }
      const std::optional<double> own = frameSpacingMm(attributes, volume.frames);
      if (any && own != spacing) {
        return std::nullopt;
      }
      spacing = own;
      any = true;
    }
    return spacing;
  });
}

}  // namespace zr
