// SPDX-License-Identifier: BSD-3-Clause
#include "decoding/FrameExtractor.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

namespace Zrg::Decoding {

FrameExtractor::FrameExtractor(DcmItem& item, DcmPixelData& pixelData,
                               const ImageAttributes& attributes)
    : item_(item), pixelData_(pixelData), guard_(attributes, pixelData) {}

void FrameExtractor::beginAt(Uint32 frame, Uint32 fragment) {
  next_ = frame;
  nextFragment_ = fragment;
}

/// The fragment in which a frame begins; 0 when it is not known.
Uint32 FrameExtractor::startOf(Uint32 frame) const {
  // A start fragment other than 0 is trusted by DCMTK: a stale one would give another frame.
  return frame == next_ ? nextFragment_ : 0;
}

bool FrameExtractor::mayDecode(Uint32 frame, Uint32 frameSize) {
  return guard_.frameIsSafe(frame, startOf(frame), frameSize);
}

OFCondition FrameExtractor::decode(Uint32 frame, Uint32 frameSize, void* containers,
                                   Uint32 containersSize) {
  Uint32 fragment = startOf(frame);
  if (!guard_.frameIsSafe(frame, fragment, frameSize)) {
    return EC_CannotChangeRepresentation;
  }
  const OFCondition status = pixelData_.getUncompressedFrame(&item_, frame, fragment, containers,
                                                             containersSize, colourModel_, &cache_);
  beginAt(frame + 1, status.good() ? fragment : 0);
  return status;
}

}  // namespace Zrg::Decoding
