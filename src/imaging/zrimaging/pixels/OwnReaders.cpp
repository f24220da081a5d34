// SPDX-License-Identifier: BSD-3-Clause
// The table of our own readers. A new one is a row and a file.
#include "zrimaging/pixels/OwnReaders.h"

#include "zrimaging/pixels/PixelDescription.h"

#include <algorithm>
#include <array>

namespace zr {

namespace {

bool always(const PixelDescription& /*pixels*/) {
  return true;
}

bool hasSingleBits(const PixelDescription& pixels) {
  return pixels.bitsAllocated == 1;
}

bool hasLessThanEightBits(const PixelDescription& pixels) {
  return pixels.bitsStored < 8;
}

constexpr bool kReadsAll = true;
constexpr bool kReadsSome = false;

constexpr std::array kOwnReaders = {
    OwnReader{"1.2.840.10008.1.2.5", kReadsSome, hasSingleBits, bitRleContainers},
    OwnReader{"1.2.840.10008.1.2.4.80", kReadsSome, hasLessThanEightBits, jpegLsContainers},
    OwnReader{"1.2.840.10008.1.2.4.81", kReadsSome, hasLessThanEightBits, jpegLsContainers},
    OwnReader{kDeflatedImageFrameCompression, kReadsAll, always, deflatedContainers},
#if defined(ZRIMAGING_WITH_JPEG_XL)
    OwnReader{"1.2.840.10008.1.2.4.110", kReadsAll, always, jpegXlContainers},
    OwnReader{"1.2.840.10008.1.2.4.111", kReadsAll, always, jpegXlContainers},
    OwnReader{"1.2.840.10008.1.2.4.112", kReadsAll, always, jpegXlContainers},
#endif
};

}  // namespace

const OwnReader* findOwnReader(const PixelDescription& pixels) {
  const auto* const found =
      std::find_if(kOwnReaders.begin(), kOwnReaders.end(), [&](const OwnReader& reader) {
        return pixels.transferSyntax == reader.transferSyntax && reader.isNeeded(pixels);
      });
  return !pixels.encapsulated || found == kOwnReaders.end() ? nullptr : found;
}

bool isReadHere(const std::string& transferSyntax) {
  return std::any_of(kOwnReaders.begin(), kOwnReaders.end(), [&](const OwnReader& reader) {
    return reader.readsAll && transferSyntax == reader.transferSyntax;
  });
}

}  // namespace zr
