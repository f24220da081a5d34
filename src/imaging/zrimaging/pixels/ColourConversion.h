// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/pixels/PixelDescription.h"

#include <zrdcmexport/ExDicomUtilitiesLUT.h>

#include <optional>
#include <string>
#include <vector>
#include <zrimaging/Samples.h>

class DcmItem;

namespace zr {

/// Turns containers of a colour frame into pixels whose samples are side by side, in the depth in
/// which they are stored.
class ColourConversion {
public:
  enum class Form {
    kStored,  ///< the containers as they are, in the colours in which they are stored
    kRgb,     ///< red, green and blue: the stored bits alone, or the entries of the palette
  };

  /// @param pixels how the frames are stored
  /// @param item   with the palette of a palette image; only read
  /// @throws Error MissingAttribute when there is no palette
  ColourConversion(const PixelDescription& pixels, DcmItem& item, Form form);

  /// What comes out.
  SampleType type() const;
  std::size_t channels() const;

  /// Converts one frame.
  /// @param containers     containerBytes() of the description, aligned for containers
  /// @param interpretation the photometric interpretation that they have
  /// @param target         receives rows x columns x channels() samples
  /// @throws Error Unsupported for colours that are not turned into RGB in their depth
  void convert(const unsigned char* containers, const std::string& interpretation,
               unsigned char* target) const;

private:
  PixelDescription pixels_;
  Form form_;
  std::optional<ExDicomUtilities::LUT> palette_;
};

/// Whether the colours of an image have more than 8 bits a sample: then there is more to them than
/// the RGB of 8 bits that everything can show.
bool isDeepColour(const PixelDescription& pixels, DcmItem& item);

}  // namespace zr
