// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>
#include <zrimaging/Error.h>
#include <zrimaging/ZrimagingApi.h>

namespace zr {

/// A file that paths of a user stand for.
struct PathEntry {
  std::filesystem::path path;
  /// Found in a folder: whether it is DICOM at all was not said by anybody. Otherwise it is named,
  /// by the user or in a list.
  bool inFolder = false;
  /// Why a folder or a list cannot be looked into; empty for files.
  std::string problem;
};

/// Takes the files one after the other; what it throws ends the visit.
using PathVisitor = std::function<void(const PathEntry&)>;

/// Visits the files that paths stand for, in the order of the paths:
///
///     file        itself, whether or not it is there
///     folder      all regular files in it and in the folders below, by name, byte by byte; links
///                 to folders are followed, but no folder is walked twice under one path
///     @list.txt   the files and folders that a list names, one a line; empty lines are left out
///     -           the same for a list that `input` gives; each line is visited once it is read
///
/// Within a list "@" and "-" mean nothing, so that every name can be written there.
/// A folder or list that cannot be read is an entry with a problem, and the visit goes on.
/// @throws Error OutOfMemory
ZRIMAGING_API void visitPaths(const std::vector<std::string>& paths, std::istream& input,
                              const PathVisitor& visit);

/// The same as a list, with standard input as the input.
/// @throws Error OutOfMemory
[[nodiscard]] ZRIMAGING_API std::vector<PathEntry> expandPaths(
    const std::vector<std::string>& paths);

}  // namespace zr
