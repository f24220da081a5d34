// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <memory>
#include <string>
#include <vector>

namespace support {

/// A valid dataset that makes a file of a few hundred bytes, to be damaged at every place.
struct SmallFile {
  const char* name;
  std::unique_ptr<DcmDataset> (*build)();
  E_TransferSyntax syntax;
  bool isImage = true;
};

/// One for each way that samples are stored, and one that has attributes alone.
[[nodiscard]] const std::vector<SmallFile>& smallFiles();

/// The file's bytes. They are made in a child process, because DCMTK never frees the codecs that
/// compressing registers. Throws std::runtime_error when that fails.
[[nodiscard]] std::string bytesOf(const SmallFile& file);

}  // namespace support
