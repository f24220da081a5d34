// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <string_view>

namespace zrdcm {

/// A file that appears under its name only when it is complete.
///
/// Bytes go to a temporary file beside the target; `commit` renames it. Without `commit` the
/// temporary file is removed and an older file of that name stays as it was. A target that is
/// no regular file (a device, a pipe) is written directly, because a rename would replace it.
class OutputFile {
public:
  /// @throws Failure when the place cannot be written.
  explicit OutputFile(const std::filesystem::path& target);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  OutputFile(OutputFile&&) = delete;
  OutputFile& operator=(OutputFile&&) = delete;

  /// @throws Failure when not every byte was taken.
  void write(const void* bytes, std::size_t count);
  void write(std::string_view text) { write(text.data(), text.size()); }

  /// Flushes, closes and gives the file its name.
  /// @throws Failure when the disk is full or the rename fails; nothing is left behind then.
  void commit();

  /// Where to write when somebody else writes the file (a library that wants a path).
  /// Such a writer must be done before `commit`.
  const std::filesystem::path& temporaryPath() const { return written_; }

private:
  void discard() noexcept;

  std::filesystem::path target_;
  std::filesystem::path written_;  ///< the temporary file, or the target itself
  std::FILE* stream_ = nullptr;
};

/// Creates the folder and those above it.
/// @throws Failure when that cannot be done or something else stands there.
void createFolder(const std::filesystem::path& folder);

}  // namespace zrdcm
