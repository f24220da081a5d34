// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zrdcmexport/ZrdcmexportApi.h>

#include <cstdint>
#include <optional>
#include <string>

class DcmItem;

/// Transfer syntaxes, and what a compressed frame says of itself.
namespace Zrg {

/// A transfer syntax that is known here, be it to DCMTK or not. @see PS3.6 Annex A
struct TransferSyntax {
  const char* uid;    ///< never null; empty for one that DCMTK uses within itself alone
  const char* name;   ///< DCMTK's name where it has one, else that of PS3.6
  bool encapsulated;  ///< pixel data is a sequence of fragments. @see PS3.5 A.4
  bool lossless;      ///< by its definition no sample changes; false where it may be either
};

/// Looks a transfer syntax up.
/// @return null for a UID that is not known here; otherwise valid as long as the process
[[nodiscard]] ZRDCMEXPORT_API const TransferSyntax* findTransferSyntax(
    const std::string& uid) noexcept;

/// Whether images of a transfer syntax can be decoded in this process as it is now: they are not
/// compressed, DCMTK's decoders that the library registers take them, or the application has
/// registered a codec of its own with DCMTK. False for a UID that is not known here.
[[nodiscard]] ZRDCMEXPORT_API bool isDecodable(const std::string& uid);

/// What the header of a compressed frame says. The dataset's attributes may say otherwise.
struct CodedFrame {
  std::uint32_t columns = 0;     ///< pixels of a row
  std::uint32_t rows = 0;        ///< rows of the frame
  std::uint32_t components = 0;  ///< samples of a pixel
  std::uint32_t precision = 0;   ///< bits of a sample
  /// The process of JPEG and JPEG-LS, as the second byte of the marker of the frame header: C0
  /// baseline, C1 extended, C2 progressive, C3 lossless, F7 JPEG-LS. 0 in other syntaxes.
  /// @see ITU-T T.81 table B.1, ITU-T T.87 C.1.1
  std::uint32_t process = 0;
};

/// Reads the header of a compressed frame; no sample is decoded. The fragment that begins the frame
/// is loaded, and given back where it can be read from the file again.
///
/// @param item  holds the image; only read.
/// @param frame 0-based number of the frame.
/// @return nothing for pixel data that is not compressed or has been decoded in place, for frames
///         that have no header of their own (RLE), whose transfer syntax nobody here can read, that
///         begin nobody knows where (see decodeFrame()), and for headers that are damaged.
[[nodiscard]] ZRDCMEXPORT_API std::optional<CodedFrame> readCodedFrame(DcmItem& item,
                                                                       std::uint64_t frame);

}  // namespace Zrg
