// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdatset.h"

#include <cstddef>
#include <memory>

namespace phantoms {

/// What the frames of a noisy head look like.
struct HeadForm {
  std::size_t columns = 512;
  std::size_t rows = 512;
  std::size_t frames = 1;
  bool eightBit = false;  ///< unsigned 8 bits; otherwise 12 bits in 16, signed
};

/// A CT image to measure on, of any size: a head of tissue and bone with the noise of a scanner, so
/// that lossless coding brings it down to a half or a third and not, as it does smooth images, to a
/// tenth. The same bytes each time.
///
/// @param number tells the images of a series apart: their instance, their place and their UID
std::unique_ptr<DcmDataset> noisyHead(const HeadForm& form, int number = 1);

}  // namespace phantoms
