// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <zrimaging/Samples.h>

namespace zr {

class File;

/// How the pixels of an image are stored, read once (PS3.3 C.7.6.3, C.7.6.24, C.7.6.25).
struct PixelDescription {
  enum class Element : std::uint8_t {
    kPixelData,             ///< integers in Pixel Data (7FE0,0010)
    kFloatPixelData,        ///< of 32 bits in Float Pixel Data (7FE0,0008)
    kDoubleFloatPixelData,  ///< of 64 bits in Double Float Pixel Data (7FE0,0009)
  };

  Element element = Element::kPixelData;
  std::uint64_t frames = 1;  ///< Number of Frames, in full
  std::size_t rows = 0;
  std::size_t columns = 0;
  std::size_t samplesPerPixel = 1;
  unsigned bitsAllocated = 0;
  unsigned bitsStored = 0;  ///< at most Bits Allocated, which it is where it is missing
  unsigned highBit = 0;     ///< below Bits Allocated
  bool isSigned = false;
  bool planesApart = false;               ///< Planar Configuration is 1
  std::string photometricInterpretation;  ///< with its spelling repaired
  std::string transferSyntax;   ///< UID as the file states it; empty without meta information
  bool encapsulated = false;    ///< the pixel data is in fragments
  bool hasNativeFrames = true;  ///< frames are laid out as uncompressed ones, deflated or not

  std::uint64_t pixels() const { return std::uint64_t{rows} * columns; }
  bool isMonochrome() const {
    return photometricInterpretation == "MONOCHROME1" || photometricInterpretation == "MONOCHROME2";
  }
  bool isPalette() const { return photometricInterpretation == "PALETTE COLOR"; }
  /// Whether two pixels share their colour differences in the file: Y Y Cb Cr. Decoders give every
  /// pixel its own. @see PS3.3 C.7.6.3.1.2 (YBR_FULL_422)
  bool sharesColour() const {
    return hasNativeFrames && (photometricInterpretation == "YBR_FULL_422" ||
                               photometricInterpretation == "YBR_PARTIAL_422");
  }
  /// Samples of a pixel in a container each, as they are in the file.
  std::size_t containersPerPixel() const { return sharesColour() ? 2 : samplesPerPixel; }
  /// Type of a container. Samples of one bit take a byte each.
  SampleType containerType() const;
  /// Bytes of a frame whose samples have a container each.
  std::uint64_t containerBytes() const {
    return pixels() * containersPerPixel() * bytesOf(containerType());
  }
};

/// Reads the description of a file's image.
/// @throws Error MissingAttribute, NoPixelData or Unsupported when it is none that is known:
///         without rows or columns, or with samples of other than 1, 8, 16, 32 bits or
///         floating-point ones
PixelDescription readPixelDescription(const File& file);

}  // namespace zr
