// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dicom/ImageAttributes.h"
#include "streams/CodecGuard.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcfcache.h"
#include "dcmtk/dcmdata/dctypes.h"
#include "dcmtk/ofstd/ofcond.h"
#include "dcmtk/ofstd/ofstring.h"

class DcmItem;
class DcmPixelData;

namespace Zrg::Decoding {

/// Takes frames of one image out of its pixel data, each alone, as they come from the decoder or
/// the file. Frames asked for one after the other are found without searching.
class FrameExtractor {
public:
  /// @param item,pixelData must outlive the decoder.
  /// @param attributes     those of the item.
  FrameExtractor(DcmItem& item, DcmPixelData& pixelData, const ImageAttributes& attributes);

  /// Says in which fragment a frame begins, for frames that DCMTK does not find.
  void beginAt(Uint32 frame, Uint32 fragment);

  /// Whether the coded data of a frame may be decoded and fills `frameSize` bytes; nothing is
  /// decoded.
  [[nodiscard]] bool mayDecode(Uint32 frame, Uint32 frameSize);

  /// Decodes one frame.
  ///
  /// @param frame     0-based number of the frame.
  /// @param frameSize bytes that the frame fills, neither more nor less.
  /// @param containers     receives them.
  /// @param containersSize bytes of `containers`: even, and at least what the attributes ask for.
  /// @return EC_CannotChangeRepresentation, nothing decoded, for compressed data that the decoder
  ///         cannot be trusted with; else what DCMTK says.
  [[nodiscard]] OFCondition decode(Uint32 frame, Uint32 frameSize, void* containers,
                                   Uint32 containersSize);

  /// The photometric interpretation of the frame that was decoded last, as the decoder left it.
  [[nodiscard]] const OFString& colourModel() const { return colourModel_; }

private:
  [[nodiscard]] Uint32 startOf(Uint32 frame) const;

  DcmItem& item_;
  DcmPixelData& pixelData_;
  CodecGuard guard_;
  DcmFileCache cache_;
  OFString colourModel_;
  Uint32 next_ = 0;          ///< the frame that begins in `nextFragment_`
  Uint32 nextFragment_ = 0;  ///< 0: to be searched
};

}  // namespace Zrg::Decoding
