// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <CLI/CLI.hpp>

#include <cstddef>
#include <string>
#include <vector>
#include <zrimaging/Error.h>
#include <zrimaging/Paths.h>

namespace zrdcm {

/// What the help of a verb says of the paths that it takes, below its other words.
constexpr const char* kPathsHelp =
    "PATH is a file, a folder, which is walked with the folders below it, @LIST for the files that "
    "a\ntext names, one a line, or - for such a list on standard input. Files in folders that are "
    "no DICOM\nfiles are passed over and counted.";

/// Adds the option `-r`, which people type out of habit: folders are walked in any case.
void addRecursiveFlag(CLI::App& command);

/// What was found in folders and is no DICOM file.
class PassedOver {
public:
  /// Whether the file is passed over: it was found in a folder, could be opened, and is no DICOM
  /// file. Counts it.
  bool takes(const zr::PathEntry& entry, zr::Reason reason);

  /// Tells how many there were, if any.
  void complain() const;

  std::size_t count() const { return count_; }

private:
  std::size_t count_ = 0;
};

}  // namespace zrdcm
