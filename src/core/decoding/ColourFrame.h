// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dicom/FrameSize.h"
#include "dicom/Result.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctypes.h"

#include <memory>
#include <string>

class DcmItem;

namespace Zrg::Decoding {

/// What DCMTK's image classes are asked for: samples of 8 bits, pixel by pixel.
inline constexpr int kRenderedBits = 8;
inline constexpr int kInterleaved = 0;

/// One decompressed frame of a colour image, with the attributes that tell how its containers are
/// meant.
class ColourFrame {
public:
  /// Takes over the Image Pixel attributes and palettes of an item, and room for the containers.
  /// @throws std::bad_alloc
  ColourFrame(DcmItem& item, const FrameSize& size);
  ~ColourFrame();
  ColourFrame(const ColourFrame&) = delete;
  ColourFrame& operator=(const ColourFrame&) = delete;

  /// Where the frame is to be decoded to; null when DCMTK has no memory for it.
  [[nodiscard]] void* containers() const { return containers_; }
  /// Bytes there: even.
  [[nodiscard]] Uint32 containersSize() const { return containersSize_; }

  /// Renders the containers as interleaved RGB with 8 bits a sample.
  ///
  /// @param colourModel photometric interpretation that the decoder left the containers in.
  /// @param target      receives rows x columns x 3 bytes.
  /// @return the message when DCMTK cannot show such a frame.
  [[nodiscard]] Result<void> render(const std::string& colourModel, char* target);

private:
  [[nodiscard]] bool isInterleavedRgb(const std::string& colourModel) const;
  [[nodiscard]] Result<void> renderImage(char* target);

  std::unique_ptr<DcmItem> item_;
  FrameSize size_;
  void* containers_ = nullptr;
  Uint32 containersSize_ = 0;
};

}  // namespace Zrg::Decoding
