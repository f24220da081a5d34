// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Output.h"

#include <filesystem>
#include <optional>
#include <sys/stat.h>

namespace zr {

/// Where an output goes, found out before anything is written.
struct OutputPlace {
  std::filesystem::path target;  ///< as the user named it
  std::filesystem::path file;    ///< the same behind all links: what a rename is to replace or make
  /// The regular file that is to be replaced, if there is one.
  std::optional<struct stat> replaced;
  /// A device, a pipe or a descriptor: it cannot be replaced, so that it is written to.
  bool direct = false;
  /// Of the program's own descriptors (/dev/stdout, /dev/fd/3), its number.
  std::optional<int> descriptor;

  /// The folder that holds the file.
  std::filesystem::path folder() const { return file.parent_path(); }
};

/// @throws Error when the target is an input, a folder, a link that leads nowhere, or cannot be
///         looked at
OutputPlace findPlace(const std::filesystem::path& target, const ProtectedInputs& inputs);

/// Gives a finished temporary file what the replaced one had: permissions, and its owner where this
/// user may give files away. What replaces is on the disk before the older content goes; a new file
/// is not waited for, as it can be made again.
/// @throws Error
void prepareToReplace(int descriptor, const OutputPlace& place);

/// Gives a finished file its name.
/// @throws Error when the rename fails, or when an input has come to stand there meanwhile
void giveName(const std::filesystem::path& finished, const OutputPlace& place,
              const ProtectedInputs& inputs);

/// @throws Error "cannot write TARGET: REASON", of an errno
[[noreturn]] void failWriting(const std::filesystem::path& target, int error);

}  // namespace zr
