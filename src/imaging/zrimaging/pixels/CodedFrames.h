// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zrdcmexport/ZrFrames.h>

#include <cstddef>
#include <cstdint>
#include <vector>

class DcmPixelItem;
class DcmPixelSequence;

namespace zr {

class File;

/// The coded bytes of frames, for the decoders of this library.
class CodedFrames {
public:
  /// @param file must outlive the object, with its pixel data
  /// @throws Error NoPixelData when the pixel data is not in fragments
  explicit CodedFrames(const File& file);

  /// The bytes of all fragments of a frame, one behind the other. They stay valid until the next
  /// call; what was loaded for them is given back then.
  /// @throws Error Damaged when it is not known where the frame is, or it cannot be read
  const std::vector<std::uint8_t>& bytesOf(std::uint64_t frame);

  /// How many bytes these are. Nothing is loaded.
  /// @throws Error as above
  std::uint64_t sizeOf(std::uint64_t frame);

private:
  Zrg::FragmentRange fragmentsOf(std::uint64_t frame);

  DcmPixelSequence* sequence_ = nullptr;
  std::vector<DcmPixelItem*> items_;
  Zrg::FrameFragmentIndex index_;
  std::vector<std::uint8_t> bytes_;
};

}  // namespace zr
