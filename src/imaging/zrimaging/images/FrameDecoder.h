// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Error.h"
#include "zrimaging/Frames.h"

#include <zrdcmexport/ZrFrames.h>
#include <zrdcmexport/ZrSliceImage.h>

#include <cstddef>
#include <string>

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

  std::size_t frameBytes() const { return static_cast<std::size_t>(reader_.format().frameBytes()); }

  /// Judges one frame of several, without decoding it and before memory is taken for it: whether
  /// the pixel data can hold it.
  /// @throws Error with the cause, as far as it is found
  void check(std::size_t number);

  /// Judges the only frame of an image, by all ways of decoding it that there are: its pixel data
  /// may be in fragments that are no frame of their own. Where nothing else tells, it is decoded
  /// into memory that is kept for decodeOnly().
  /// @throws Error with the cause, as far as it is found
  void checkOnly();

  /// @param target receives frameBytes()
  /// @param named  whether the reason of a failure begins with the number of the frame
  /// @throws Error when it does not decode
  void decode(std::size_t number, void* target, bool named);

  /// Decodes the only frame of an image.
  /// @param target receives frameBytes()
  /// @throws Error with the cause, as far as it is found
  void decodeOnly(void* target);

private:
  Error refusal(std::size_t number, const std::string& message, bool named) const;
  void decodeAsAWhole(const Error& found);

  const File& file_;
  Zrg::FrameReader reader_;
  FrameTraits traits_;
  Zrg::SliceImage whole_;  ///< the only frame, once it was decoded as a whole
};

}  // namespace zr
