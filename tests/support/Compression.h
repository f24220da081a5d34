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

/// The dataset compressed (RLE, JPEG, JPEG-LS) and read back likewise; it holds no other
/// representation. `dataset` stays native. Throws std::logic_error when DCMTK refuses.
[[nodiscard]] std::unique_ptr<DcmDataset> compress(const DcmDataset& dataset,
                                                   E_TransferSyntax syntax);

/// The same in lossless JPEG of process 14 with a predictor, 1 to 7. @see ITU-T T.81 H.1.2.1
[[nodiscard]] std::unique_ptr<DcmDataset> compressWithPredictor(const DcmDataset& dataset,
                                                                int predictor);

/// Writes a DICOM file in the given transfer syntax, which must not need an encoder.
void saveFile(const DcmDataset& dataset, const std::filesystem::path& path,
              E_TransferSyntax syntax = EXS_LittleEndianExplicit);

/// Keeps DCMTK's own log lines off the terminal for the rest of the process; true, so that a
/// constant at namespace scope can call it.
bool silenceDcmtk();

}  // namespace support
