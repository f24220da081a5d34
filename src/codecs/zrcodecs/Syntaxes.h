// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcxfer.h"

#include <array>

/// The transfer syntaxes of the codecs. A table of their own: what decodes here is of use without
/// libzrdcmexport, whose table knows all others.
namespace zrcodecs {

/// Those that DCMTK knows; each has a codec. @see PS3.6 Annex A
inline constexpr std::array<E_TransferSyntax, 2> kCodecSyntaxes = {EXS_JPEG2000LosslessOnly,
                                                                   EXS_JPEG2000};

/// A transfer syntax that DCMTK does not know, and the one that it is decoded as.
struct Stand {
  const char* uid;
  E_TransferSyntax syntax;  ///< lossless where the other is
};

inline constexpr std::array<Stand, 3> kStands = {{
    {"1.2.840.10008.1.2.4.201", EXS_JPEG2000LosslessOnly},  // HTJ2K lossless only
    {"1.2.840.10008.1.2.4.202", EXS_JPEG2000LosslessOnly},  // HTJ2K lossless only, RPCL
    {"1.2.840.10008.1.2.4.203", EXS_JPEG2000},              // HTJ2K
}};

}  // namespace zrcodecs
