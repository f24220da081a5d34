// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dicom/FrameSize.h"
#include "streams/Fragments.h"
#include "streams/Inspector.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctypes.h"

#include <functional>
#include <optional>

class DcmItem;
class DcmPixelData;

namespace Zrg {

struct ImageAttributes;

/// Asks of encapsulated pixel data whether DCMTK's decoders may be trusted with it.
///
/// Those decoders count sizes in 32 bits, take what an RLE header says of its segments, and leave
/// whatever a stream does not fill as it comes from the heap. The guard has the compressed frames
/// read by the inspector of their transfer syntax, as far as it must to know that none of this can
/// happen. Data that is not compressed, or that is compressed in a way for which no decoder is
/// registered, is never refused here.
///
/// A codec of the application, for a syntax whose streams no inspector reads, is trusted to stay
/// within a stream and within the memory it is given. It is not trusted to bound what a file
/// promises: sizes must be countable, and each frame must have a fragment with something in it.
///
/// A guard reads the item's attributes once, when it is made, and is used for one call.
class CodecGuard {
public:
  /// @param item      holds the attributes of the image; only read.
  /// @param pixelData the item's pixel data; must outlive the guard.
  CodecGuard(DcmItem& item, DcmPixelData& pixelData);
  /// @param attributes those of the image, when they have been read already.
  CodecGuard(const ImageAttributes& attributes, DcmPixelData& pixelData);

  /// Whether the samples of `frames` frames take 4 GiB - 2 at most: decoders that decode them
  /// together count their bytes in 32 bits, after they have made the number even.
  [[nodiscard]] bool isCountable(unsigned long long frames) const;
  /// The same for all frames: as many as the decoder believes in.
  [[nodiscard]] bool isCountable() const {
    return inspector_ == nullptr || isCountable(framesTogether());
  }

  /// Whether all frames may be decoded together.
  [[nodiscard]] bool allFramesAreSafe();

  /// Whether DCMTK may find out the colour model, for which it decodes the first frame of JPEG.
  [[nodiscard]] bool colourModelIsSafe();

  /// Whether `count` frames from `first` on may be decoded one by one, each into a buffer of the
  /// size that the attributes ask for.
  [[nodiscard]] bool framesAreSafe(unsigned long first, unsigned long count);

  /// Whether there is enough coded data for `count` frames from `first` on to take memory for them:
  /// the first one must be whole as far as its size is concerned, the others need what no frame can
  /// do without. Reads little; whether the frames are safe is another question.
  [[nodiscard]] bool mayHoldFrames(unsigned long first, unsigned long count);

  /// Whether one frame may be decoded alone and fills `frameSize` bytes, neither more nor less.
  ///
  /// @param frame         0-based index of the frame.
  /// @param startFragment index of its first fragment, as the decoder will be told: 0 lets it be
  ///                      found the way the decoder does.
  /// @param frameSize     bytes that the frame is expected to fill.
  [[nodiscard]] bool frameIsSafe(Uint32 frame, Uint32 startFragment, unsigned long long frameSize);

private:
  [[nodiscard]] unsigned long fragmentsOfFrames() const;
  [[nodiscard]] unsigned long framesTogether() const;
  [[nodiscard]] std::optional<unsigned long> startFragmentOf(unsigned long frame);
  [[nodiscard]] bool hasBitsFor(unsigned long frames);
  [[nodiscard]] bool framesAgree(FramePlace place, unsigned long count,
                                 const std::function<bool(const FrameYield&)>& isRight);

  const Inspector* inspector_ = nullptr;  ///< null where no decoder will run
  std::optional<Fragments> fragments_;    ///< there when the inspector is
  FrameSize size_;
  unsigned long long numberOfFrames_ = 1;
};

/// Whether the image of an item and everything that DCMTK decodes together with it may be decoded.
[[nodiscard]] bool allImagesAreSafe(DcmItem& item);

}  // namespace Zrg
