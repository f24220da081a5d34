// SPDX-License-Identifier: BSD-3-Clause
// Overlay planes as their attributes announce them. Whether their bits are there is not looked at.
#include "zrimaging/images/OverlayFacts.h"

#include "zrimaging/images/ItemValues.h"

#include <zrdcmexport/ZrNumbers.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

namespace zr {

namespace {

// PS3.3 C.9.2; "xx" of the group stands for even numbers from 00 on.
constexpr Uint16 kFirstGroup = 0x6000;
constexpr Uint16 kLastGroup = 0x60FE;

std::optional<unsigned> unsignedAt(DcmItem& item, const DcmTagKey& key) {
  Uint16 value = 0;
  return item.findAndGetUint16(key, value).good() ? std::optional<unsigned>(value) : std::nullopt;
}

// Counted from 1 in the dataset, rows first.
std::optional<std::array<int, 2>> originOf(DcmItem& dataset, Uint16 group) {
  const DcmTagKey key(group, DCM_OverlayOrigin.getElement());
  Sint16 row = 0;
  Sint16 column = 0;
  const bool both = dataset.findAndGetSint16(key, row, 0).good() &&
                    dataset.findAndGetSint16(key, column, 1).good();
  return both ? std::optional(std::array<int, 2>{column - 1, row - 1}) : std::nullopt;
}

OverlayPlaneFacts planeOf(DcmItem& dataset, Uint16 group) {
  const auto key = [group](const DcmTagKey& tag) { return DcmTagKey(group, tag.getElement()); };
  OverlayPlaneFacts plane;
  plane.group = group;
  plane.columns = unsignedAt(dataset, key(DCM_OverlayColumns));
  plane.rows = unsignedAt(dataset, key(DCM_OverlayRows));
  plane.origin = originOf(dataset, group);
  const std::optional<int> frames = Zrg::intOf(textAt(dataset, key(DCM_NumberOfFramesInOverlay)));
  if (frames && *frames >= 0) {
    plane.frames = static_cast<std::size_t>(*frames);
  }
  plane.embedded = !dataset.tagExists(key(DCM_OverlayData));
  plane.type = textAt(dataset, key(DCM_OverlayType));
  plane.label = nameAt(dataset, key(DCM_OverlayLabel));
  plane.description = nameAt(dataset, key(DCM_OverlayDescription));
  return plane;
}

}  // namespace

std::vector<OverlayPlaneFacts> readOverlayPlanes(DcmItem& dataset) {
  // Elements are in order, so that a plane is known by the first of its two.
  std::vector<OverlayPlaneFacts> planes;
  for (DcmObject* object = dataset.nextInContainer(nullptr); object != nullptr;
       object = dataset.nextInContainer(object)) {
    const Uint16 group = object->getGTag();
    const Uint16 element = object->getETag();
    const bool announces =
        element == DCM_OverlayBitPosition.getElement() || element == DCM_OverlayData.getElement();
    const bool isPlane = group >= kFirstGroup && group <= kLastGroup && group % 2 == 0;
    const bool isNew = planes.empty() || planes.back().group != group;
    if (isPlane && announces && isNew) {
      planes.push_back(planeOf(dataset, group));
    }
  }
  return planes;
}

}  // namespace zr
