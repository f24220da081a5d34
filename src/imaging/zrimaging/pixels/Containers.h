// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace zr {

class File;
struct PixelDescription;

/// The frames of an image as they are stored or come from their decoder: each sample in a container
/// in the byte order of this machine, in the order that Planar Configuration says, without a change
/// of colours. Samples of one bit take a byte each.
class Containers {
public:
  virtual ~Containers() = default;

  /// Judges one frame before memory is taken for it.
  /// @param frame 0-based
  /// @throws Error when the pixel data cannot hold it
  virtual void check(std::uint64_t frame) = 0;

  /// Reads one frame.
  /// @param target receives PixelDescription::containerBytes() bytes
  /// @return the photometric interpretation of what was read: decoders may change it
  /// @throws Error when it cannot be read; the target may then hold anything
  virtual std::string read(std::uint64_t frame, unsigned char* target) = 0;
};

/// The frames of an image, however they are stored.
/// @param file   must outlive the result, and its pixel data stays as it is
/// @param pixels of the file
/// @throws Error NoDecoder when nothing here reads such frames
std::unique_ptr<Containers> containersOf(const File& file, const PixelDescription& pixels);

/// Frames that are not compressed: nothing but the bytes of the frame is read.
std::unique_ptr<Containers> nativeContainers(const File& file, const PixelDescription& pixels);

/// Frames that a codec of DCMTK's list decodes.
std::unique_ptr<Containers> decodedContainers(const File& file, const PixelDescription& pixels);

/// Frames of pixels of one bit in RLE: eight pixels make a byte of the only segment.
/// @see PS3.5 8.2.2, G.3 (RLE)
std::unique_ptr<Containers> bitRleContainers(const File& file, const PixelDescription& pixels);

/// Frames that are deflated one by one.
/// @see PS3.5 A.4.12 (Deflated Image Frame Compression)
std::unique_ptr<Containers> deflatedContainers(const File& file, const PixelDescription& pixels);

/// Frames of JPEG-LS whose samples have less than 8 bits; see JpegLsThresholds.h.
std::unique_ptr<Containers> jpegLsContainers(const File& file, const PixelDescription& pixels);

/// Frames of JPEG XL. @see PS3.5 A.4.11 (JPEG XL Image Compression)
std::unique_ptr<Containers> jpegXlContainers(const File& file, const PixelDescription& pixels);

}  // namespace zr
