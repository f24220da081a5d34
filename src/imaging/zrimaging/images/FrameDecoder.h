// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Frames.h"

#include <zrdcmexport/ZrFrames.h>

#include <cstddef>

namespace zr {

class File;

/// Decodes frames of one image by their numbers, in the form in which they are stored: containers
/// of monochrome samples, RGB of 8 bits. The dataset stays as it is.
class FrameDecoder {
public:
  /// @throws Error when the attributes do not make an image that can be decoded
  explicit FrameDecoder(const File& file);

  /// What the samples of decoded frames are, with the type of monochrome samples as they are
  /// stored.
  const FrameTraits& traits() const { return traits_; }

  std::size_t frameBytes() const { return static_cast<std::size_t>(format_.frameBytes()); }

  /// @param target receives frameBytes()
  /// @param named  whether the reason of a failure begins with the number of the frame
  /// @throws Error when it does not decode
  void decode(std::size_t number, void* target, bool named) const;

  /// Decodes the only frame of an image by all ways that there are: its pixel data may be in
  /// fragments that are no frame of their own.
  /// @throws Error with the cause, as far as it is found
  void decodeOnly(void* target) const;

  /// Refuses pixel data that ends before these frames do.
  /// @throws Error (Damaged)
  void requireBytesOf(std::size_t frames) const;

private:
  const File& file_;
  Zrg::FrameFormat format_;
  FrameTraits traits_;
};

}  // namespace zr
