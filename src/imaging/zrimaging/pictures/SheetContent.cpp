// SPDX-License-Identifier: BSD-3-Clause
// What a sheet shows of an image, of a series, of gated data.
#include "zrimaging/Boundary.h"
#include "zrimaging/File.h"
#include "zrimaging/Sheets.h"
#include "zrimaging/images/FrameNumbers.h"

#include <zrdcmexport/ZrFrameOrder.h>
#include <zrdcmexport/ZrNumbers.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <numeric>
#include <set>

namespace zr {

namespace {

// The first frame may have nothing in its window (air in front of a head) where others have.
bool showsAnything(Frames& frames, const Display& display) {
  std::set<unsigned char> greys;
  for (std::size_t index = 0; index < frames.count(); ++index) {
    greys.merge(extremeGreys(frames.record().traits, frames.frame(index), display.frame(0)));
    if (greys.size() > 1) {
      return true;
    }
  }
  return false;
}

/// @param deciding how many of the first frames decide how all are shown
SheetContent contentOf(Frames& frames, std::size_t deciding,
                       const std::optional<WindowChoice>& wanted) {
  const FramesRecord& record = frames.record();
  SheetContent content;
  content.pixelAspect = pixelAspectOf(record, 0);
  if (record.traits.monochrome) {
    content.display = displayOf(frames, deciding, wanted);
  }
  content.title = record.name;
  content.frames.resize(frames.count());
  std::iota(content.frames.begin(), content.frames.end(), std::size_t{0});
  return content;
}

}  // namespace

SheetContent allFrames(Frames& frames, const std::optional<WindowChoice>& wanted) {
  return atBoundary([&] { return contentOf(frames, frames.count(), wanted); });
}

SheetContent allOfSeries(Frames& frames, const std::optional<WindowChoice>& wanted) {
  return atBoundary([&]() -> SheetContent {
    SheetContent content = contentOf(frames, 1, wanted);
    const std::optional<Window> window = windowOfFrame(frameAt(frames.record().attributes, 0));
    if (content.display && !content.display->remark().empty() && window) {
      const Display display = displayOf(frames, 1, WindowChoice{window, {}});
      if (showsAnything(frames, display)) {
        content.display = display;
      }
    }
    return content;
  });
}

std::size_t columnsOfVolumes(const File& file) {
  return atBoundary([&]() -> std::size_t {
    DcmItem& item = file.dataset();
    const int slices = Zrg::intOf(textOf(item, DCM_NumberOfSlices)).value_or(0);
    const bool rows = Zrg::readFrameIncrement(item).gated && slices >= 2 &&
                      slices <= static_cast<int>(SheetLayout::kMostColumns);
    return rows ? static_cast<std::size_t>(slices) : 0;
  });
}

}  // namespace zr
