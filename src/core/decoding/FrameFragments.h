// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "streams/Fragments.h"
#include "streams/FrameStarts.h"

#include <zrdcmexport/ZrTransferSyntax.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctypes.h"
#include "dcmtk/dcmdata/dcxfer.h"

#include <cstdint>
#include <optional>
#include <vector>

class DcmItem;
class DcmPixelData;

namespace Zrg {

class Inspector;

}  // namespace Zrg

namespace Zrg::Decoding {

/// Where the frames of encapsulated pixel data stand among its fragments.
/// @see PS3.5 A.4 (Transfer Syntaxes For Encapsulation of Encoded Pixel Data)
class FrameFragments {
public:
  /// @param item      that has the pixel data.
  /// @param pixelData must outlive this.
  /// @param frames    Number of Frames.
  FrameFragments(DcmItem& item, DcmPixelData& pixelData, std::uint64_t frames);

  /// Whether there are compressed frames that are not decompressed yet.
  [[nodiscard]] bool areCompressed() const { return fragments_.has_value(); }

  /// The transfer syntax that they are stored in.
  [[nodiscard]] E_TransferSyntax syntax() const { return syntax_; }

  /// The fragment in which a frame begins: by an offset table or as the only one of its frame;
  /// else, where such a start can be told, by what the fragments begin with. Nothing when neither
  /// tells.
  [[nodiscard]] std::optional<Uint32> startOf(Uint32 frame);

  /// The fragment behind the last one of a frame: where the next frame begins, or the end of all.
  /// Nothing when that is not known.
  [[nodiscard]] std::optional<Uint32> endOf(Uint32 frame);

  /// What the header of the frame says that begins in a fragment; nothing when there is none.
  [[nodiscard]] std::optional<CodedFrame> header(Uint32 fragment);

  /// Gives the memory of a fragment back, see Fragments::release.
  void release(Uint32 fragment) { fragments_->release(fragment); }

private:
  [[nodiscard]] bool beginsFrame(Uint32 fragment);
  [[nodiscard]] std::optional<Uint32> startByContent(Uint32 frame);
  [[nodiscard]] std::vector<Uint32> findBeginnings();

  std::optional<Fragments> fragments_;
  std::optional<FrameStarts> starts_;
  E_TransferSyntax syntax_ = EXS_Unknown;
  const Inspector* inspector_ = nullptr;  ///< null where nobody reads such frames
  std::uint64_t frames_;
  std::optional<std::vector<Uint32>> beginnings_;  ///< fragments that begin frames, once asked for
};

}  // namespace Zrg::Decoding
