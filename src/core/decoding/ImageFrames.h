// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "decoding/FrameExtractor.h"
#include "decoding/FrameFragments.h"
#include "dicom/ImageAttributes.h"
#include "dicom/Result.h"

#include <zrdcmexport/ZrFrames.h>
#include <zrdcmexport/ZrTransferSyntax.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

class DcmItem;
class DcmPixelData;

namespace Zrg::Decoding {

/// An image whose frames can be asked for: everything that is known before a sample is read.
struct ReadableImage {
  DcmPixelData* pixelData = nullptr;
  ImageAttributes attributes;
  FrameFormat format;
};

/// Reads the image of an item, or says why it cannot be decoded.
[[nodiscard]] Result<ReadableImage> readImage(DcmItem& item);

/// The frames of an image by their numbers. Where each of them begins is found once and kept.
class ImageFrames {
public:
  /// @param item must outlive the frames, with its pixel data
  ImageFrames(DcmItem& item, ReadableImage image);

  [[nodiscard]] const FrameFormat& format() const { return image_.format; }

  /// Whether the pixel data is still as it was when the frames were made: not decompressed since.
  [[nodiscard]] bool areUpToDate() const;

  /// Judges one frame without decoding it: whether it can be there with the size that the
  /// attributes promise.
  /// @param frame 0-based
  [[nodiscard]] Result<void> check(std::uint64_t frame);

  /// Decodes one frame.
  /// @param frame      0-based
  /// @param target     receives frameBytes() of the format
  /// @param targetSize bytes there
  [[nodiscard]] Result<void> decode(std::uint64_t frame, char* target, std::uint64_t targetSize);

  /// Decodes one frame of compressed data and leaves it as it comes from the decoder.
  /// @param frame      0-based
  /// @param target     receives containerBytes()
  /// @param targetSize bytes there
  /// @return the photometric interpretation of what came out
  [[nodiscard]] Result<std::string> decodeContainers(std::uint64_t frame, char* target,
                                                     std::uint64_t targetSize);

  /// Bytes of a frame in containers of Bits Allocated, all samples of its pixels.
  [[nodiscard]] std::uint64_t containerBytes() const {
    return image_.attributes.size.allocatedBytes();
  }

private:
  [[nodiscard]] Result<void> isCountable(std::uint64_t frame) const;
  [[nodiscard]] Result<void> hasNativeBytes(std::uint64_t frame) const;
  [[nodiscard]] Result<void> begin(Uint32 frame);
  [[nodiscard]] Result<Uint32> findStart(Uint32 frame);
  [[nodiscard]] Result<Uint32> codedBytes();
  [[nodiscard]] Result<void> decodeStored(Uint32 frame, char* target);
  [[nodiscard]] Result<void> decodeNarrow(Uint32 frame, Uint32 pixels, char* target);
  [[nodiscard]] Result<void> renderNative(Uint32 frame, char* target);
  [[nodiscard]] Result<void> renderDecoded(Uint32 frame, char* target);
  [[nodiscard]] Result<void> takeWhole(Uint32 frame, Uint32 frameBytes, char* target);
  [[nodiscard]] Result<void> take(Uint32 frame, Uint32 frameBytes, void* target, Uint32 targetSize);
  [[nodiscard]] Message reasonOfRefusal();
  [[nodiscard]] std::optional<CodedFrame> codedHeader();

  DcmItem& item_;
  ReadableImage image_;
  FrameFragments fragments_;
  FrameExtractor decoder_;
  Uint32 start_ = 0;  ///< the fragment in which the frame that is being decoded begins
};

}  // namespace Zrg::Decoding
