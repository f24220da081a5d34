// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dicom/FrameSize.h"
#include "streams/Fragments.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctypes.h"
#include "dcmtk/dcmdata/dcxfer.h"

#include <functional>
#include <optional>

class DcmItem;
class DcmPixelData;

namespace Zrg {

struct JpegFrameHeader;
struct JpegImage;
struct ImageAttributes;

/// Asks of encapsulated pixel data whether DCMTK's decoders may be trusted with it.
///
/// Those decoders count sizes in 32 bits, take what an RLE header says of its stripes, and leave
/// whatever a stream does not fill as it comes from the heap. The guard reads the compressed frames
/// as far as it must to know that none of this can happen. Data that is not compressed, or that is
/// compressed in a way which DCMTK has no decoder for, is never refused here.
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
  /// The same for all frames: as many as Number of Frames promises, but no more than there are
  /// fragments, which is what the decoders believe.
  [[nodiscard]] bool isCountable() const {
    return codec_ == Codec::None || isCountable(decodedFrames());
  }

  /// Whether all frames may be decoded together.
  [[nodiscard]] bool allFramesAreSafe();

  /// Whether DCMTK may find out the colour model, for which it decodes the first frame of JPEG.
  [[nodiscard]] bool colourModelIsSafe();

  /// Whether `count` frames from `first` on may be decoded one by one, each into a buffer of the
  /// size that the attributes ask for.
  [[nodiscard]] bool framesAreSafe(unsigned long first, unsigned long count);

  /// Whether there is enough coded data for `count` frames from `first` on to take memory for them: the
  /// first one must be whole as far as its size is concerned, the others need what no frame can do
  /// without. Reads little; whether the frames are safe is another question.
  [[nodiscard]] bool mayHoldFrames(unsigned long first, unsigned long count);

  /// Whether one frame may be decoded alone and fills `frameSize` bytes, neither more nor less.
  ///
  /// @param frame         0-based index of the frame.
  /// @param startFragment index of its first fragment, as the decoder will be told: 0 lets it be
  ///                      found the way the decoder does.
  /// @param frameSize     bytes that the frame is expected to fill.
  [[nodiscard]] bool frameIsSafe(Uint32 frame, Uint32 startFragment, unsigned long long frameSize);

private:
  enum class Codec { None, Rle, Jpeg, JpegLs };

  /// What decoding a JPEG image gives. DCMTK has a decoder of its own for more than 12 bits.
  struct JpegYield {
    unsigned long long bytes;
    bool isLong;        ///< of more than 12 bits
    unsigned long end;  ///< the fragment behind its last one
  };

  [[nodiscard]] static Codec codecOf(E_TransferSyntax syntax);
  [[nodiscard]] unsigned long decodedFrames() const;
  [[nodiscard]] std::optional<unsigned long> startFragmentOf(unsigned long frame);
  [[nodiscard]] bool startsJpegImage(unsigned long fragment);
  [[nodiscard]] std::optional<unsigned long> endOfJpegFrame(unsigned long frame,
                                                            unsigned long start);
  [[nodiscard]] bool agrees(const JpegFrameHeader& header) const;
  [[nodiscard]] bool holdsAFrame(const JpegImage& image) const;
  [[nodiscard]] std::optional<JpegYield> jpegYield(unsigned long frame, unsigned long start);
  [[nodiscard]] bool rleFramesAreWhole();
  [[nodiscard]] unsigned long long leastRleFrameBytes() const;
  [[nodiscard]] bool jpegFramesAgree(unsigned long frame, unsigned long start, unsigned long count,
                                     const std::function<bool(const JpegYield&)>& isRight);

  Codec codec_ = Codec::None;
  bool isBaseline_ = false;             ///< the process of 8-bit JPEG
  std::optional<Fragments> fragments_;  ///< there unless the codec is none
  FrameSize size_;
  unsigned long long numberOfFrames_ = 1;
};

/// Visits everything that DCMTK decodes together with an item's own pixel data, each with the item
/// that owns it: for a dataset the images of all nested items (icons), for an item its own image
/// alone. Ends with the first visit that answers false; says whether all answered true.
bool visitImages(DcmItem& item, const std::function<bool(DcmItem&, DcmPixelData&)>& visit);

/// Whether all of that may be decoded.
[[nodiscard]] bool allImagesAreSafe(DcmItem& item);

}  // namespace Zrg
