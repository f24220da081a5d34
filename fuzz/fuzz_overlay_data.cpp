// SPDX-License-Identifier: BSD-3-Clause
// Overlay planes with data of their own, of any size, place and frames beside data of any length.
// What lies on each frame of the image is held against the bits of the data, one by one.
#include "Input.h"
#include "zrimaging/images/OverlayPlanes.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <string>
#include <vector>

namespace {

using fuzz::Input;
using fuzz::require;

constexpr Uint16 kGroup = 0x6000;

struct Plane {
  Uint16 rows;
  Uint16 columns;
  Sint16 originRow;  ///< from 1
  Sint16 originColumn;
  bool hasFrames;
  int frames;
  int firstFrame;  ///< from 1
  std::vector<Uint8> data;
};

Plane planeFrom(Input& input) {
  Plane plane{};
  plane.rows = static_cast<Uint16>(input.flag() ? input.word() : input.below(20));
  plane.columns = static_cast<Uint16>(input.flag() ? input.word() : input.below(80));
  plane.originRow = static_cast<Sint16>(input.flag() ? input.word() : input.below(8));
  plane.originColumn = static_cast<Sint16>(input.flag() ? input.word() : input.below(8));
  plane.hasFrames = input.flag();
  plane.frames = static_cast<int>(input.below(5));
  plane.firstFrame = static_cast<int>(input.below(5));
  plane.data = input.rest();
  plane.data.resize(plane.data.size() / 2 * 2);  // values have an even length
  plane.data.shrink_to_fit();
  return plane;
}

void put(DcmItem& item, const Plane& plane) {
  const auto key = [](Uint16 element) { return DcmTagKey(kGroup, element); };
  const Sint16 origin[] = {plane.originRow, plane.originColumn};
  bool good = item.putAndInsertUint16(DcmTag(key(0x0010), EVR_US), plane.rows).good() &&
              item.putAndInsertUint16(DcmTag(key(0x0011), EVR_US), plane.columns).good() &&
              item.putAndInsertSint16Array(DcmTag(key(0x0050), EVR_SS), origin, 2).good();
  if (plane.hasFrames) {
    good =
        good &&
        item.putAndInsertString(DcmTag(key(0x0015), EVR_IS), std::to_string(plane.frames).c_str())
            .good() &&
        item.putAndInsertUint16(DcmTag(key(0x0051), EVR_US), static_cast<Uint16>(plane.firstFrame))
            .good();
  }
  good = good && item.putAndInsertUint8Array(DcmTag(key(0x3000), EVR_OB), plane.data.data(),
                                             static_cast<unsigned long>(plane.data.size()))
                     .good();
  require(good);
}

/// The frame of the overlay that lies on a frame of the image; -1 when none does.
int frameOn(const Plane& plane, int number) {
  const unsigned long long frameBits = 1ULL * plane.rows * plane.columns;
  const int held =
      frameBits == 0 ? 0 : static_cast<int>(std::min(8ULL * plane.data.size() / frameBits, 100ULL));
  if (!plane.hasFrames) {
    return held > 0 ? 0 : -1;
  }
  const int frame = number - (std::max(plane.firstFrame, 1) - 1);
  return frame >= 0 && frame < std::min(std::max(plane.frames, 1), held) ? frame : -1;
}

bool isSet(const Plane& plane, int number, int column, int row) {
  const int frame = frameOn(plane, number);
  const int x = column - (plane.originColumn - 1);
  const int y = row - (plane.originRow - 1);
  if (frame < 0 || x < 0 || y < 0 || x >= plane.columns || y >= plane.rows) {
    return false;
  }
  const unsigned long long bit =
      (1ULL * static_cast<unsigned>(frame) * plane.rows + static_cast<unsigned>(y)) *
          plane.columns +
      static_cast<unsigned>(x);
  return (plane.data.at(bit / 8) >> bit % 8 & 1) != 0;
}

bool isDrawn(const ZrOverlayData* overlays, int number, int column, int row) {
  for (int index = 0; overlays != nullptr && index < overlays->count(); ++index) {
    require(overlays->group(index) == kGroup);
    if (overlays->frame(index) == number && overlays->test(index, column, row)) {
      return true;
    }
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const Uint8* data, std::size_t size) {
  Input input(data, size);
  zr::FrameTraits traits;
  traits.columns = 1 + input.below(70);
  traits.rows = 1 + input.below(12);
  const zr::FrameRange frames{input.below(3), 3};
  const Plane plane = planeFrom(input);
  DcmDataset dataset;
  put(dataset, plane);

  KtHandle<ZrOverlayData> overlays;
  zr::addOwnOverlays(dataset, traits, frames, overlays);
  const ZrOverlayData* const drawn = overlays.isNull() ? nullptr : overlays.ptr();
  for (std::size_t number = frames.first; number <= frames.last; ++number) {
    for (int row = 0; row < static_cast<int>(traits.rows); ++row) {
      for (int column = 0; column < static_cast<int>(traits.columns); ++column) {
        const int frame = static_cast<int>(number);
        require(isDrawn(drawn, frame, column, row) == isSet(plane, frame, column, row));
      }
    }
  }
  return 0;
}
