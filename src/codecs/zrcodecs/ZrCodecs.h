// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zrcodecs/ZrCodecsApi.h>

#include <cstdint>

class DcmFileFormat;

/// Codecs for programs on DCMTK. Once they are registered, everything that decodes through DCMTK's
/// pixel data (`chooseRepresentation`, `getUncompressedFrame`, `DicomImage`) decodes what they
/// know.
///
/// | transfer syntax                                   | library       |
/// |---------------------------------------------------|---------------|
/// | 1.2.840.10008.1.2.4.90, .91 (JPEG 2000)           | OpenJPEG 2.5  |
/// | 1.2.840.10008.1.2.4.201, .202, .203 (HTJ2K)       | OpenJPEG 2.5, behind adoptTransferSyntax() |
///
/// No function throws.
namespace zrcodecs {

struct CodecOptions {
  /// Threads that decode frames of one dataset at once, the caller's among them. The codecs that
  /// there are so far decode one frame after the other, whatever is asked for.
  unsigned int threads = 1;
  /// A frame of more samples (columns x rows x samples per pixel) is refused before memory is
  /// taken.
  std::uint64_t mostSamplesPerFrame = std::uint64_t{1} << 28U;
  /// Whether codecs of transfer syntaxes that DCMTK decodes itself are registered too. There is
  /// none so far: those of the table above are all.
  bool replaceBuiltIn = true;
};

/// Puts the codecs into DCMTK's list, where the first one that knows a transfer syntax is asked:
/// call it before DCMTK's own `registerCodecs` functions to have these asked first.
///
/// May be called from any thread and any number of times. The options of the first call hold until
/// deregisterCodecs().
///
/// @return whether the codecs are registered now; false only when there is no memory for it
ZRCODECS_API bool registerCodecs(const CodecOptions& options = {}) noexcept;

/// Takes the codecs out of DCMTK's list again. Does nothing when they are not there.
ZRCODECS_API void deregisterCodecs() noexcept;

/// Lets a file that was loaded in a transfer syntax which DCMTK does not know (HTJ2K) be decoded by
/// these codecs. DCMTK keeps the fragments of such a file, but takes them for native samples.
///
/// The dataset calls itself JPEG 2000 from then on: this is for readers. Decode it before it is
/// saved, or the file written would be labelled wrongly. The meta information stays as it is. The
/// transfer syntaxes that DCMTK knows need no such call.
///
/// @return whether the file is in such a transfer syntax and has been adopted
ZRCODECS_API bool adoptTransferSyntax(DcmFileFormat& file) noexcept;

/// The codecs and the libraries beneath them in one line, such as "JPEG 2000 and HTJ2K: OpenJPEG
/// 2.5.0". The text lives as long as the process.
[[nodiscard]] ZRCODECS_API const char* codecLibraries() noexcept;

}  // namespace zrcodecs
