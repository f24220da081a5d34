// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Output.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcfilefo.h"
#include "dcmtk/dcmdata/dcxfer.h"

#include <filesystem>

namespace zr {

/// Writes a DICOM file that appears under its name only when it is complete.
/// @throws Error when the target cannot be written or is an input, or the dataset has no form in
///         this syntax
void writeDicomFile(DcmFileFormat& file, E_TransferSyntax syntax,
                    const std::filesystem::path& target, const ProtectedInputs& inputs);

}  // namespace zr
