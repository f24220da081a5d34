// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ktlib/KtApi.h>
#include <ktlib/KtString.h>

/// Name of a file or directory, and questions to the file system about it.
///
/// Nothing throws on what the file system says: a question that cannot be answered (no permission
/// on the way, a name too long) is answered with false. Empty text names nothing.
class KTLIB_API KtFilename {
public:
  /// @param text  path, absolute or relative to the current directory, kept as it is
  explicit KtFilename(KtString text);

  /// The path as it was given.
  [[nodiscard]] const KtString& text() const noexcept { return text_; }

  /// Whether something is there; symbolic links are followed.
  [[nodiscard]] bool exists() const;
  /// Whether a directory is there; symbolic links are followed.
  [[nodiscard]] bool isDirectory() const;
  /// Whether something is there that this process may write to.
  [[nodiscard]] bool isWriteable() const;

  /// Creates the directory and its missing parents.
  ///
  /// @param mode  permission bits as of mkdir(2), less those of the process's umask. The owner's
  ///              three bits are always added, since a directory that its creator cannot use is of
  ///              no use; existing directories keep their mode.
  /// @return whether the directory is there now, newly made or before. On failure parents that
  ///         were made stay.
  bool create(int mode) const;

  /// The directory that holds it: the path without its last component; empty for a bare name.
  [[nodiscard]] KtFilename directory() const;

private:
  KtString text_;
};
