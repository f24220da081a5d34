// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <filesystem>
#include <memory>

namespace support {

/// The dataset as a reader finds it in a file of the given native transfer syntax: written to
/// memory and read again, so that DCMTK knows its original transfer syntax. Throws std::logic_error
/// when it cannot be written.
[[nodiscard]] std::unique_ptr<DcmDataset> readBack(DcmDataset& dataset, E_TransferSyntax syntax);

/// The dataset compressed (RLE, JPEG lossless and baseline, JPEG-LS) and read back likewise; it
/// holds no other representation. `dataset` stays native. Throws std::logic_error when DCMTK
/// refuses.
[[nodiscard]] std::unique_ptr<DcmDataset> compress(const DcmDataset& dataset,
                                                   E_TransferSyntax syntax);

/// Writes a DICOM file in the given transfer syntax, which must not need an encoder.
void saveFile(const DcmDataset& dataset, const std::filesystem::path& path,
              E_TransferSyntax syntax = EXS_LittleEndianExplicit);

/// Keeps DCMTK's own log lines off the terminal for the rest of the process; true, so that a
/// constant at namespace scope can call it.
bool silenceDcmtk();

}  // namespace support
