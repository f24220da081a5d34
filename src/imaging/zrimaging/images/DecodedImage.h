// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/File.h"
#include "zrimaging/MemoryBudget.h"
#include "zrimaging/Samples.h"
#include "zrimaging/images/FrameRange.h"

#include <ktlib/KtHandle.h>
#include <zrdcmexport/ZrFrames.h>
#include <zrdcmexport/ZrSliceImage.h>
#include <zrvolren/ZrDataAccess.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zr {

/// What to decode, and how.
struct DecodeRequest {
  std::optional<FrameRange> frames;  ///< all frames when not set
  bool stored = false;               ///< leave monochrome samples as they are stored
  bool overlays = false;             ///< the slice's overlays are wanted
};

/// Decoded frames together with everything they point into.
struct DecodedImage {
  std::unique_ptr<File> file;        ///< may own the samples, so it lives as long as they do
  Zrg::SliceImage slice;             ///< attributes and pixel memory
  KtHandle<ZrDataAccess> converted;  ///< samples of its own when the slice's could not be used
  SampleArray samples;               ///< the frames asked for, nothing else
  FrameRange frames{0, 0};           ///< their numbers in the file
  int firstHeldFrame = 0;            ///< the frame of the file that the slice's memory begins with
  /// What the user must know about the samples, a line each.
  std::vector<std::string> remarks;
  bool monochrome = false;
  bool darkIsHigh = false;  ///< MONOCHROME1: the highest value is shown black
};

/// Decodes the frames asked for, colour or not, however they are stored.
///
/// Monochrome samples come out unsigned, the stored bits alone wherever they stand in the cell, with the
/// modality LUT applied; or with `stored` as their bytes are (then the sample type is signed when Pixel Representation says so); colour comes out
/// as 8-bit RGB.
/// @throws Error when the file cannot be read or decoded, has no such frames, or takes more
///         memory than there may be.
DecodedImage decodeImage(const std::filesystem::path& path, const DecodeRequest& request,
                         const MemoryBudget& memory);

/// The same for a file that was opened and not decoded yet.
DecodedImage decodeImage(std::unique_ptr<File> file, const DecodeRequest& request,
                         const MemoryBudget& memory);

/// What decodeFrame() of the library will deliver of the frames of an image that is not decoded yet; the
/// record of the image is filled from its attributes.
/// @throws Error when they do not make an image that can be decoded.
Zrg::FrameFormat describeFrames(DecodedImage& image);

/// Where a frame goes.
struct FrameTarget {
  void* memory;
  std::uint64_t size;  ///< in bytes
};

/// Decodes one frame by its number; cells of monochrome samples come as they are stored.
/// @param named whether the reason of a failure begins with the number of the frame
/// @throws Error when it does not decode
void decodeFrame(DcmItem& item, std::size_t number, FrameTarget target, bool named);

/// The number of frames as the library counts them: the low 16 bits of Number of Frames, 1 when
/// that is 0 or missing.
std::size_t frameCount(DcmItem& item);

/// Whether the library decodes the image to one sample a pixel (MONOCHROME1 and MONOCHROME2).
bool isMonochrome(const std::string& photometricInterpretation);

}  // namespace zr
