// SPDX-License-Identifier: BSD-3-Clause
// Where the values of a frame stand:
//
//   enhanced objects   layers of the functional groups: the frame takes each value from the first
//                      layer that has it (macros of its own item, macros of the shared item, values
//                      that lie flat in its own item, flat in the shared one)
//   dose grids         the top level, Dose Grid Scaling, Grid Frame Offset Vector (DoseGrid)
//   other objects      the top level
//
// The layers of the shared item are read once, whatever the number of frames.
#include "zrimaging/FrameAttributes.h"

#include "zrimaging/Boundary.h"
#include "zrimaging/images/AttributeLayer.h"
#include "zrimaging/images/DoseGrid.h"
#include "zrimaging/images/ItemValues.h"
#include "zrimaging/images/ModalityTable.h"
#include "zrimaging/images/PixelAspect.h"

#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <string>

namespace zr {

namespace {

// Secondary captures of several frames may have functional groups, and have their line and window
// at the top level all the same (PS3.3 C.8.6.3).
bool isSecondaryCapture(const std::string& sopClass) {
  return sopClass == UID_MultiframeGrayscaleByteSecondaryCaptureImageStorage ||
         sopClass == UID_MultiframeGrayscaleWordSecondaryCaptureImageStorage;
}

void readEnhanced(DcmItem& dataset, std::size_t count, PerFrameAttributes& image) {
  const std::vector<DcmItem*> shared = itemsAt(dataset, DCM_SharedFunctionalGroupsSequence);
  const std::vector<DcmItem*> own = itemsAt(dataset, DCM_PerFrameFunctionalGroupsSequence);
  DcmItem* const sharedItem = shared.empty() ? nullptr : shared.front();
  const FrameAttributes sharedMacros = readLayer({sharedItem, true});
  const FrameAttributes sharedFlat = readLayer({sharedItem, false});
  FrameAttributes top;
  if (isSecondaryCapture(textAt(dataset, DCM_SOPClassUID))) {
    top.rescale = rescaleOf({&dataset, false});
    readVoi({&dataset, false}, top);
  }
  image.frames.resize(count);
  for (std::size_t number = 0; number < count; ++number) {
    if (!own.empty() && number >= own.size()) {
      break;  // nobody knows whose items are missing
    }
    DcmItem* const ownItem = own.empty() ? nullptr : own[number];
    FrameAttributes& frame = image.frames[number];
    frame = readLayer({ownItem, true});
    addLayer(frame, sharedMacros);
    addLayer(frame, readLayer({ownItem, false}));
    addLayer(frame, sharedFlat);
    addLayer(frame, top);
  }
}

void readClassic(DcmItem& dataset, std::size_t count, PerFrameAttributes& image) {
  FrameAttributes all = readLayer({&dataset, false});
  if (!all.sliceSpacing) {
    all.sliceSpacing = gridStepMm(dataset);
  }
  image.frames.assign(count, all);
  for (std::size_t number = 1; number < count; ++number) {
    image.frames[number].position.reset();
  }
}

}  // namespace

PerFrameAttributes readFrameAttributes(DcmItem& dataset, std::size_t frames) {
  return atBoundary([&] {
    PerFrameAttributes image;
    image.enhanced = dataset.tagExists(DCM_SharedFunctionalGroupsSequence) ||
                     dataset.tagExists(DCM_PerFrameFunctionalGroupsSequence) ||
                     Zrg::isEnhancedDicomSOPClassUID(textAt(dataset, DCM_SOPClassUID).c_str());
    if (image.enhanced) {
      readEnhanced(dataset, frames, image);
    } else if (isDoseGrid(dataset)) {
      image.frames = readDoseGrid(dataset, frames);
    } else {
      readClassic(dataset, frames, image);
    }
    image.pixelAspect = readPixelAspect(dataset);
    image.modalityTable = hasModalityTable(dataset);
    image.tableKeptOutOfDisplay = isTableKeptOutOfDisplay(dataset);
    if (image.modalityTable) {
      const ValueText unit = unitOfModalityTable(dataset);
      for (FrameAttributes& frame : image.frames) {
        frame.rescale = RescaleLine{1, 0, unit};
      }
    }
    return image;
  });
}

}  // namespace zr
