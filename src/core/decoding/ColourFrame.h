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

/// One decompressed frame of a colour image, with the attributes that tell how its cells are meant.
class ColourFrame {
public:
  /// Takes over the Image Pixel attributes and palettes of an item, and room for the cells.
  /// @throws std::bad_alloc
  ColourFrame(DcmItem& item, const FrameSize& size);
  ~ColourFrame();
  ColourFrame(const ColourFrame&) = delete;
  ColourFrame& operator=(const ColourFrame&) = delete;

  /// Where the frame is to be decoded to; null when DCMTK has no memory for it.
  [[nodiscard]] void* cells() const { return cells_; }
  /// Bytes there: even.
  [[nodiscard]] Uint32 cellsSize() const { return cellsSize_; }

  /// Renders the cells as interleaved RGB with 8 bits a sample.
  ///
  /// @param colourModel photometric interpretation that the decoder left the cells in.
  /// @param target      receives rows x columns x 3 bytes.
  /// @return the message when DCMTK cannot show such a frame.
  [[nodiscard]] Result<void> render(const std::string& colourModel, char* target);

private:
  [[nodiscard]] bool isInterleavedRgb(const std::string& colourModel) const;
  [[nodiscard]] Result<void> renderImage(char* target);

  std::unique_ptr<DcmItem> item_;
  FrameSize size_;
  void* cells_ = nullptr;
  Uint32 cellsSize_ = 0;
};

}  // namespace Zrg::Decoding
