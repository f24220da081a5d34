// SPDX-License-Identifier: BSD-3-Clause
// Overlay planes of the groups 6000 to 601E:
//
//   element  attribute                        when it is missing
//   0010     Overlay Rows                     no plane
//   0011     Overlay Columns                  no plane that can be read
//   0015     Number of Frames in Overlay      1; all frames of the image, unless 0051 is there
//   0022     Overlay Description
//   0040     Overlay Type
//   0045     Overlay Subtype
//   0050     Overlay Origin: row, column      1, 1, the first pixel of the image
//   0051     Image Frame Origin               1
//   0100     Overlay Bits Allocated           1, where there is data
//   0102     Overlay Bit Position             no plane in the samples
//   1500     Overlay Label
//   3000     Overlay Data                     the bits are in the samples
//
// The planes in the samples are read by the library that decodes these.
#include "zrimaging/images/OverlayPlanes.h"

#include "zrimaging/Boundary.h"
#include "zrimaging/File.h"
#include "zrimaging/Overlays.h"
#include "zrimaging/images/ItemValues.h"
#include "zrimaging/images/OverlayBits.h"

#include <zrdcmexport/ZrNumbers.h>
#include <zrvolren/ZrMeta.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <utility>

namespace zr {

namespace {

constexpr Uint16 kFirstGroup = 0x6000;
constexpr Uint16 kLastGroup = 0x601F;

std::optional<Uint16> wordAt(DcmItem& item, Uint16 group, Uint16 element) {
  Uint16 value = 0;
  return item.findAndGetUint16(DcmTagKey(group, element), value).good() ? std::optional(value)
                                                                        : std::nullopt;
}

/// Row or column of the origin, from 1.
long long originAt(DcmItem& item, Uint16 group, unsigned long position) {
  Sint16 value = 0;
  return item.findAndGetSint16(DcmTagKey(group, 0x0050), value, position).good() ? value : 1;
}

OverlayBits bitsOf(DcmItem& dataset, const OverlayPlane& plane) {
  DcmElement* element = nullptr;
  Uint8* bytes = nullptr;
  const auto group = static_cast<Uint16>(plane.group);
  if (dataset.findAndGetElement(DcmTagKey(group, 0x3000), element).bad() ||
      element->getUint8Array(bytes).bad() || bytes == nullptr) {
    return {nullptr, 0, plane.rows, plane.columns};
  }
  return {bytes, element->getLength(), plane.rows, plane.columns};
}

std::string problemOfData(const OverlayPlane& plane, DcmItem& dataset) {
  const auto allocated = wordAt(dataset, static_cast<Uint16>(plane.group), 0x0100);
  if (allocated.value_or(1) != 1) {
    return "has " + std::to_string(*allocated) + " bits a pixel";
  }
  if (bitsOf(dataset, plane).frames() == 0) {
    return "has less data than a frame of " + std::to_string(plane.rows) + " rows and " +
           std::to_string(plane.columns) + " columns takes";
  }
  return "";
}

std::string problemOf(const OverlayPlane& plane, DcmItem& dataset) {
  const auto group = static_cast<Uint16>(plane.group);
  if (group % 2 != 0) {
    return "is of an odd group, which is private";
  }
  if (plane.rows == 0 || plane.columns == 0) {
    return "has no rows or no columns";
  }
  if (plane.storage == OverlayStorage::kOwnData) {
    return problemOfData(plane, dataset);
  }
  return wordAt(dataset, group, 0x0102) ? "" : "has neither data nor a bit position";
}

std::optional<OverlayPlane> readPlane(DcmItem& dataset, Uint16 group) {
  const DcmTagKey data(group, 0x3000);
  const std::optional<Uint16> rows = wordAt(dataset, group, 0x0010);
  if (!rows && !dataset.tagExists(data)) {
    return std::nullopt;
  }
  OverlayPlane plane;
  plane.group = group;
  plane.storage = dataset.tagExists(data) ? OverlayStorage::kOwnData : OverlayStorage::kEmbedded;
  plane.rows = rows.value_or(0);
  plane.columns = wordAt(dataset, group, 0x0011).value_or(0);
  plane.originRow = originAt(dataset, group, 0) - 1;
  plane.originColumn = originAt(dataset, group, 1) - 1;
  plane.bitPosition = wordAt(dataset, group, 0x0102).value_or(0);
  const auto frames = Zrg::intOf(textAt(dataset, DcmTagKey(group, 0x0015)));
  const auto firstFrame = wordAt(dataset, group, 0x0051);
  plane.frames = static_cast<std::size_t>(std::max(frames.value_or(1), 1));
  plane.firstFrame = static_cast<std::size_t>(std::max<int>(firstFrame.value_or(1), 1) - 1);
  plane.onAllFrames = plane.storage == OverlayStorage::kOwnData && !frames && !firstFrame;
  plane.type = textAt(dataset, DcmTagKey(group, 0x0040));
  plane.subtype = textAt(dataset, DcmTagKey(group, 0x0045));
  plane.label = nameAt(dataset, DcmTagKey(group, 0x1500));
  plane.description = nameAt(dataset, DcmTagKey(group, 0x0022));
  plane.problem = problemOf(plane, dataset);
  return plane;
}

std::vector<OverlayPlane> planesOf(DcmItem& dataset) {
  std::vector<OverlayPlane> planes;
  for (Uint16 group = kFirstGroup; group <= kLastGroup; ++group) {
    if (std::optional<OverlayPlane> plane = readPlane(dataset, group)) {
      planes.push_back(std::move(*plane));
    }
  }
  return planes;
}

void addMask(const OverlayPlane& plane, const OverlayMask& mask, std::size_t number,
             KtHandle<ZrOverlayData>& overlays) {
  if (overlays.isNull()) {
    const ZrMeta meta(false, true);
    overlays = KtHandle<ZrOverlayData>(new ZrOverlayData(&meta));
  }
  const auto frame = static_cast<int>(number);
  const int index = overlays->addOverlayData(mask.origin, mask.size, mask.mask, frame);
  overlays->setOverlayGroup(index, frame, static_cast<unsigned short>(plane.group));
}

void addPlane(DcmItem& dataset, const OverlayPlane& plane, const FrameTraits& traits,
              const FrameRange& wanted, KtHandle<ZrOverlayData>& overlays) {
  const OverlayBits bits = bitsOf(dataset, plane);
  const std::size_t available = std::min(plane.frames, bits.frames());
  const auto maskOfFrame = [&](std::size_t frame) {
    return maskOf(bits, frame, plane.originColumn, plane.originRow, traits.columns, traits.rows);
  };
  const std::size_t first = plane.onAllFrames ? 0 : plane.firstFrame;
  const OverlayMask shared = plane.onAllFrames ? maskOfFrame(0) : OverlayMask{};
  for (std::size_t number = std::max(wanted.first, first); number <= wanted.last; ++number) {
    if (!plane.onAllFrames && number - first >= available) {
      break;
    }
    const OverlayMask own = plane.onAllFrames ? OverlayMask{} : maskOfFrame(number - first);
    const OverlayMask& mask = plane.onAllFrames ? shared : own;
    if (mask.size.x > 0 && mask.size.y > 0) {
      addMask(plane, mask, number, overlays);
    }
  }
}

}  // namespace

bool hasEmbeddedOverlays(DcmItem& dataset) {
  const std::vector<OverlayPlane> planes = planesOf(dataset);
  return std::any_of(planes.begin(), planes.end(), [](const OverlayPlane& plane) {
    return plane.storage == OverlayStorage::kEmbedded && plane.problem.empty();
  });
}

void addOwnOverlays(DcmItem& dataset, const FrameTraits& traits, const FrameRange& wanted,
                    KtHandle<ZrOverlayData>& overlays) {
  for (const OverlayPlane& plane : planesOf(dataset)) {
    if (plane.storage == OverlayStorage::kOwnData && plane.problem.empty()) {
      addPlane(dataset, plane, traits, wanted, overlays);
    }
  }
}

std::vector<OverlayPlane> describeOverlays(const File& file) {
  return atBoundary([&] { return planesOf(file.dataset()); });
}

}  // namespace zr
