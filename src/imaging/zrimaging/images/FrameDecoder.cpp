// SPDX-License-Identifier: BSD-3-Clause
// Which decoder an image gets. The slice decoder takes most; what it does not know, or shows in 8
// bits where there are more, is read container by container.
#include "zrimaging/images/FrameDecoder.h"

#include "zrimaging/Error.h"
#include "zrimaging/File.h"
#include "zrimaging/images/ContainerFrames.h"
#include "zrimaging/images/Explanation.h"
#include "zrimaging/images/LibraryFrames.h"
#include "zrimaging/images/RenderedFrames.h"
#include "zrimaging/pixels/ColourConversion.h"
#include "zrimaging/pixels/OwnReaders.h"
#include "zrimaging/pixels/PixelDescription.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

namespace zr {

namespace {

/// Whether the slice decoder reads monochrome samples of this kind.
bool isKnownToTheLibrary(const PixelDescription& pixels) {
  return pixels.element == PixelDescription::Element::kPixelData &&
         findOwnReader(pixels) == nullptr &&
         (pixels.bitsAllocated == 8 || pixels.bitsAllocated == 16);
}

std::unique_ptr<FrameDecoder> chooseDecoder(const File& file, Values values) {
  const PixelDescription pixels = readPixelDescription(file);
  if (pixels.isMonochrome()) {
    if (isKnownToTheLibrary(pixels) || pixels.samplesPerPixel != 1) {
      return std::make_unique<LibraryFrames>(file);
    }
    return std::make_unique<ContainerFrames>(file, pixels);
  }
  if (values == Values::kStored) {
    return std::make_unique<ContainerFrames>(
        file, pixels, ColourConversion(pixels, file.dataset(), ColourConversion::Form::kStored));
  }
  if (values == Values::kSamples && isDeepColour(pixels, file.dataset())) {
    return std::make_unique<ContainerFrames>(
        file, pixels, ColourConversion(pixels, file.dataset(), ColourConversion::Form::kRgb));
  }
  if (findOwnReader(pixels) != nullptr) {
    return std::make_unique<RenderedFrames>(file, pixels);
  }
  return std::make_unique<LibraryFrames>(file);
}

}  // namespace

std::unique_ptr<FrameDecoder> makeFrameDecoder(const File& file, Values values) {
  try {
    return chooseDecoder(file, values);
  } catch (const Error& error) {
    if (error.reason() == Reason::NoPixelData) {
      throw;  // rows or columns are 0: nothing else is wrong
    }
    throw whyNotDecoded(file, error);
  }
}

}  // namespace zr
