// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "writing/ZrDcmExportPrivate.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace exporting {

/// The image that most tests write: 4 x 3 samples, among them the extremes of 16 bits.
std::vector<std::uint16_t> twelveSamples();

/// A writer with all that an image of the given kind needs, columns 4, rows 3, and with
/// `directory` and the name "image.dcm"; unsigned 16-bit samples.
ZrDcmExportPrivate secondaryCaptureWriter(const std::filesystem::path& directory);
ZrDcmExportPrivate ctWriter(const std::filesystem::path& directory);
ZrDcmExportPrivate mrWriter(const std::filesystem::path& directory);

/// A writer with directory and file name and not a single attribute.
ZrDcmExportPrivate emptyWriter(const std::filesystem::path& directory);

/// Loads a whole file; throws std::runtime_error when DCMTK does not accept it.
std::unique_ptr<DcmFileFormat> load(const std::filesystem::path& file);

/// Text of one element; "(missing)" when it is not there.
std::string textOf(DcmItem& item, const DcmTagKey& key);

/// 16-bit samples of the Pixel Data.
std::vector<std::uint16_t> samplesOf(DcmItem& item);

/// What a command said on both streams, and its exit status.
struct CommandResult {
  int status;
  std::string output;
};
CommandResult run(const std::string& command);

/// Whether a program can be found on the PATH.
bool isInstalled(const std::string& program);

}  // namespace exporting
