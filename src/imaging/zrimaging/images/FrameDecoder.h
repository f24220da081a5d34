// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Frames.h"

#include <cstddef>
#include <memory>

namespace zr {

class File;

/// Decodes frames of one image by their numbers, each at its own cost. The dataset stays as it is.
class FrameDecoder {
public:
  virtual ~FrameDecoder() = default;

  /// What the samples of decoded frames are: those of monochrome images are in the containers in
  /// which they are stored.
  const FrameTraits& traits() const { return traits_; }
  std::size_t frameBytes() const { return traits_.frameBytes(); }

  /// Judges one frame, without decoding it and before memory is taken for it: whether the pixel
  /// data can hold it.
  /// @throws Error with the cause, as far as it is found
  virtual void check(std::size_t number) = 0;

  /// Judges the only frame of an image by all ways of decoding it that there are.
  /// @throws Error with the cause, as far as it is found
  virtual void checkOnly() { check(0); }

  /// @param target receives frameBytes()
  /// @param named  whether the reason of a failure begins with the number of the frame
  /// @throws Error when it does not decode
  virtual void decode(std::size_t number, void* target, bool named) = 0;

  /// Decodes the only frame of an image.
  /// @param target receives frameBytes()
  /// @throws Error with the cause, as far as it is found
  virtual void decodeOnly(void* target) { decode(0, target, false); }

protected:
  FrameTraits traits_;
};

/// A decoder for the frames of an image: by how they are stored and what is wanted of them.
/// @param file   must outlive the decoder
/// @param values as they are wanted: what is left to do is a transform of monochrome samples
/// @throws Error when the attributes do not make an image that can be decoded
std::unique_ptr<FrameDecoder> makeFrameDecoder(const File& file, Values values);

}  // namespace zr
