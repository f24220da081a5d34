// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dicom/ImageAttributes.h"

#include <ktlib/KtString.h>
#include <ktlib/KtVec2f.h>
#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctypes.h"
#include "dcmtk/dcmdata/dcxfer.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

class DcmItem;
class DcmPixelData;

/// The steps of SliceImage::process, one subject a source file: attributes, monochrome, colour.
namespace Zrg::Decoding {

/// The frames to decode, 0-based and inside the image.
struct FrameRange {
  int first = 0;
  int last = 0;
  int count = 0;
  bool all = false;  ///< all frames were asked for, as a whole
};

/// One call of SliceImage::process: what to decode and where to put it.
struct Task {
  DcmItem& item;
  DcmPixelData& pixelData;
  const ImageAttributes& attributes;
  const FrameRange& frames;
  void* target;              ///< the caller's memory, or null
  unsigned long targetSize;  ///< bytes of `target`
};

/// Whether the image was lossy-compressed at some time: its attribute says so, or else its transfer
/// syntax is not known to keep every sample. @see PS3.3 C.7.6.1.1.5 (Lossy Image Compression)
[[nodiscard]] bool isLossy(DcmItem& item);

/// (slope, intercept); (1, 0) unless both are there and the slope is not 0.
[[nodiscard]] KtVec2f readRescale(DcmItem& item);
/// (centre, width) of the first window; NaN unless both are there.
[[nodiscard]] KtVec2f readWindow(DcmItem& item);
/// (column spacing, row spacing); NaN unless both are there.
[[nodiscard]] KtVec2f readSpacing(DcmItem& item);

/// Frames from `firstFrame` to `lastFrame`, clamped to an image of `frames` frames (at least 1). A
/// negative first frame means all.
[[nodiscard]] FrameRange clampFrames(int firstFrame, int lastFrame, int frames);

/// Whether `required` bytes fit into a target of the caller; sets the message when they do not.
[[nodiscard]] bool fitsTarget(std::size_t targetSize, std::size_t required, std::string& errorText);

/// Zeroed memory for samples, so that no byte which a decoder leaves out shows something else;
/// empty, with the message set, when there is none.
[[nodiscard]] std::shared_ptr<char> allocateSamples(std::size_t size, std::string& errorText);

/// Makes sure that there is a Planar Configuration: decoders and image classes ask for it. Returns
/// whether samples stand plane by plane. @see PS3.3 C.7.6.3.1.3 (Planar Configuration)
bool completePlanarConfiguration(DcmItem& item);

/// Names the cause once, in the log, when DCMTK has no data dictionary: every message that follows
/// names something else.
void warnWithoutDictionary();

/// Makes DCMTK's decoders known to DCMTK. Where the host registered them first, its choices stay.
void registerDecoders();

/// Puts into the record of an image what the attributes say.
void storeAttributes(SliceImage& slice, DcmItem& item, const ImageAttributes& attributes);

/// Decodes a MONOCHROME1 or MONOCHROME2 image into the slice; sets the message on failure.
[[nodiscard]] bool decodeMonochrome(SliceImage& slice, const Task& task, std::string& errorText);

/// Renders any other image into the slice as interleaved 8-bit RGB; sets the message on failure.
[[nodiscard]] bool decodeColour(SliceImage& slice, const Task& task, std::string& errorText);

/// Message of every allocation that fails, and of every failed sample conversion.
inline constexpr char kOutOfMemory[] = "out of memory";

}  // namespace Zrg::Decoding
