// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zrdcmexport/ZrTransferSyntax.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcxfer.h"

class DcmPixelData;

namespace Zrg {

class Inspector;

/// Uncompressed samples: what DCMTK calls pixel data that it has decoded, whatever the dataset is
/// stored in, and what files are written in.
inline constexpr E_TransferSyntax kExplicitLittleEndian = EXS_LittleEndianExplicit;

/// Who decodes an image.
enum class DecodedBy {
  Nobody,     ///< no decoder works frame by frame, or none is known
  NotNeeded,  ///< it is not compressed
  Dcmtk,      ///< the decoders that registerDecoders() makes known
  Codec,      ///< a codec that an application may have registered with DCMTK
};

/// Everything that is known of a transfer syntax.
struct SyntaxRow {
  TransferSyntax syntax;
  E_TransferSyntax inDcmtk;  ///< EXS_Unknown where DCMTK 3.6.7 does not know it
  DecodedBy decoder;
  const Inspector& (*inspector)();  ///< null where nobody here reads its streams
  bool countsAsLossy;               ///< what a slice says that is decoded from it
};

/// The row of a transfer syntax; null for one that is not known.
[[nodiscard]] const SyntaxRow* findSyntaxRow(E_TransferSyntax syntax) noexcept;
[[nodiscard]] const SyntaxRow* findSyntaxRow(const std::string& uid) noexcept;

/// Whether a decoder for it is registered with DCMTK now.
[[nodiscard]] bool hasCodec(E_TransferSyntax syntax);

/// Whether what is decoded from it counts as lossy, which is not the same as losing samples.
[[nodiscard]] bool countsAsLossy(E_TransferSyntax syntax) noexcept;

/// Who looks at its streams before they are decoded; null when nobody has to: no decoder runs.
[[nodiscard]] const Inspector* inspectorOf(E_TransferSyntax syntax);

}  // namespace Zrg
