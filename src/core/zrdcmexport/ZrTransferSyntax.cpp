// SPDX-License-Identifier: BSD-3-Clause
#include "zrdcmexport/ZrTransferSyntax.h"

#include "decoding/FrameFragments.h"
#include "dicom/ItemValues.h"
#include "streams/TransferSyntaxes.h"

#include <zrdcmexport/ZrFrames.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

namespace Zrg {

const TransferSyntax* findTransferSyntax(const std::string& uid) noexcept {
  const SyntaxRow* const row = findSyntaxRow(uid);
  return row != nullptr ? &row->syntax : nullptr;
}

bool isDecodable(const std::string& uid) {
  const SyntaxRow* const row = findSyntaxRow(uid);
  if (row == nullptr) {
    return false;
  }
  return row->decoder == DecodedBy::NotNeeded || row->decoder == DecodedBy::Dcmtk ||
         hasCodec(row->inDcmtk);
}

std::optional<CodedFrame> readCodedFrame(DcmItem& item, std::uint64_t frame) {
  auto* const pixelData = dynamic_cast<DcmPixelData*>(topLevelElement(item, DCM_PixelData));
  const std::uint64_t frames = numberOfFrames(item);
  if (pixelData == nullptr || frame >= frames || frame >= std::uint64_t{1} << 32) {
    return std::nullopt;
  }
  Decoding::FrameFragments fragments(item, *pixelData, frames);
  if (!fragments.areCompressed()) {
    return std::nullopt;
  }
  const std::optional<Uint32> start = fragments.startOf(static_cast<Uint32>(frame));
  if (!start) {
    return std::nullopt;
  }
  const std::optional<CodedFrame> header = fragments.header(*start);
  fragments.release(*start);  // who looks at the headers of all frames need not hold all frames
  return header;
}

}  // namespace Zrg
