// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "streams/CodecStream.h"
#include "streams/Fragments.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctypes.h"
#include "dcmtk/dcmdata/dcxfer.h"

#include <cstdint>
#include <optional>

class DcmPixelData;

namespace Zrg::Decoding {

/// Where the frames of encapsulated pixel data stand among its fragments.
/// @see PS3.5 A.4 (Transfer Syntaxes For Encapsulation of Encoded Pixel Data)
class FrameFragments {
public:
  /// @param pixelData must outlive this.
  /// @param frames    Number of Frames.
  FrameFragments(DcmPixelData& pixelData, std::uint64_t frames);

  /// Whether there are compressed frames that are not decompressed yet.
  [[nodiscard]] bool areCompressed() const { return fragments_.has_value(); }

  /// The transfer syntax that they are stored in.
  [[nodiscard]] E_TransferSyntax syntax() const { return syntax_; }

  /// The fragment in which a frame begins: as DCMTK finds it, by the offset table or as the only one
  /// of its frame; else, in JPEG of all kinds, by the start of image in the fragments. Nothing when
  /// neither tells.
  [[nodiscard]] std::optional<Uint32> startOf(Uint32 frame);

  /// The header of the JPEG image that begins in a fragment; nothing in other syntaxes.
  [[nodiscard]] std::optional<JpegFrameHeader> jpegHeader(Uint32 fragment);

private:
  [[nodiscard]] bool isJpeg() const;
  [[nodiscard]] std::optional<Uint32> startOfImage(Uint32 frame);

  std::optional<Fragments> fragments_;
  E_TransferSyntax syntax_ = EXS_Unknown;
  std::uint64_t frames_;
};

}  // namespace Zrg::Decoding
