// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/files/HeaderBytes.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcxfer.h"

#include <optional>

namespace zr {

/// In which other way the elements of a dataset are written than its transfer syntax says: with
/// their VRs, or without. Two headers have to agree on it, and be senseless in the way that the
/// syntax says.
/// @param bytes  the dataset; they are left in place
/// @param stated its transfer syntax
/// @return nothing where it says so or there is any doubt, and for syntaxes that are big endian or
///         deflated
std::optional<E_TransferSyntax> otherWayOfWriting(HeaderBytes& bytes, E_TransferSyntax stated);

}  // namespace zr
