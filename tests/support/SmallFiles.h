// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <cstddef>
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

/// How many places to go on from one damage to the next: `usual`, or what the environment variable
/// of that name says. Slow tools look at fewer places, long runs at all of them.
[[nodiscard]] std::size_t stepFrom(const char* variable, std::size_t usual);

/// Whether to stop the time of single inputs. Not under tools that make everything slow, which say
/// so in ZRDCMEXPORT_NO_TIME_LIMIT.
[[nodiscard]] bool timeIsLimited();

/// The file's bytes. They are made in a child process, because DCMTK never frees the codecs that
/// compressing registers. Throws std::runtime_error when that fails.
[[nodiscard]] std::string bytesOf(const SmallFile& file);

}  // namespace support
