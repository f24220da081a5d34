// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Samples.h"
#include "zrimaging/images/DecodedImage.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace zr {

/// Opens a file whose frames are to be shown: a modality LUT that is not meant for display (PS3.3
/// C.8.7.1.1.2) is taken out.
/// @throws Error when it is no DICOM file or cannot be read.
std::unique_ptr<File> openForDisplay(const std::filesystem::path& path);

/// All frames of an image, to be looked at one after the other, with no more memory than the
/// decoded samples take.
///
/// Monochrome frames are decoded together, in the place where their pixel data stands, with the
/// overlays embedded in them. Colour would take its size several times over in that way, so its
/// frames are decoded one by one when they are asked for.
class FrameSource {
public:
  /// @throws Error when the image, or the first frame of a colour image, does not decode; of more
  ///         colour frames than 65,535 also when the last one does not.
  FrameSource(std::unique_ptr<File> file, const MemoryBudget& memory);
  virtual ~FrameSource() = default;
  FrameSource(const FrameSource&) = delete;
  FrameSource& operator=(const FrameSource&) = delete;

  /// Attributes of the image. The samples of a colour image are without bytes: ask `frame`.
  const DecodedImage& image() const { return image_; }

  /// Number of frames.
  virtual std::size_t count() const { return image_.samples.frames; }

  /// What the user must know about the frames decoded so far, a line each; nothing the next time.
  virtual std::vector<std::string> takeRemarks() { return std::exchange(image_.remarks, {}); }
  /// One frame, 0-based; its samples stay valid until the next call.
  /// @throws Error when a colour frame does not decode.
  virtual SampleArray frame(std::size_t index);

protected:
  const MemoryBudget& memory() const { return memory_; }

  DecodedImage image_;

private:
  void openColour(std::unique_ptr<File> file, std::size_t frames);

  MemoryBudget memory_;
  bool oneByOne_ = false;
  std::vector<unsigned char> colourFrame_;
};

}  // namespace zr
