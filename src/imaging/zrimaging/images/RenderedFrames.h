// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/images/FrameDecoder.h"
#include "zrimaging/pixels/Containers.h"
#include "zrimaging/pixels/PixelDescription.h"

#include <cstddef>
#include <memory>
#include <vector>

class DcmItem;

namespace zr {

/// Colours whose frames the slice decoder cannot read: each is read container by container and
/// handed to it uncompressed, so that its RGB of 8 bits is that of any other colour image.
class RenderedFrames final : public FrameDecoder {
public:
  /// @param file   must outlive the decoder
  /// @param pixels of the file
  /// @throws Error when the attributes do not make an image that can be decoded
  RenderedFrames(const File& file, const PixelDescription& pixels);
  ~RenderedFrames() override;

  void check(std::size_t number) override;
  void decode(std::size_t number, void* target, bool named) override;

private:
  PixelDescription pixels_;
  std::unique_ptr<Containers> containers_;
  std::unique_ptr<DcmItem> oneFrame_;  ///< an image of one frame, whose pixel data is exchanged
  std::vector<unsigned char> bytes_;
};

}  // namespace zr
