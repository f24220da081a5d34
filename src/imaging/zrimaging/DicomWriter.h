// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcxfer.h"

#include <filesystem>
#include <zrimaging/Error.h>
#include <zrimaging/Output.h>
#include <zrimaging/ZrimagingApi.h>

class DcmFileFormat;

namespace zr {

/// Writes a DICOM file that appears under its name only when it is complete.
/// @throws Error CannotWrite when the target cannot be written or is an input, or the dataset has
///         no form in this syntax; OutOfMemory
ZRIMAGING_API void writeDicomFile(DcmFileFormat& file, E_TransferSyntax syntax,
                                  const std::filesystem::path& target,
                                  const ProtectedInputs& inputs);

}  // namespace zr
