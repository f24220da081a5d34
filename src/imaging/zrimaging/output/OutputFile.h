// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/output/Leftovers.h"
#include "zrimaging/output/OutputPlace.h"
#include "zrimaging/output/ProtectedInputs.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace zr {

/// A file that appears under its name only when it is complete.
///
/// Bytes go to a temporary file of a random name beside the target; `commit` renames it. Without
/// `commit`, and when a signal ends the program, the temporary file is removed and an older file of
/// that name stays as it was. Of several programs that write one target at once the last to finish
/// wins, whole. A link keeps pointing where it points: its destination is replaced, with the
/// permissions that it had. A target that is no regular file (a device, a pipe, /dev/stdout) is
/// written directly, because it cannot be replaced.
class OutputFile {
public:
  /// @param inputs are asked again in `commit` and live as long as this
  /// @throws Error when the place cannot be written or is an input.
  OutputFile(const std::filesystem::path& target, const ProtectedInputs& inputs);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  OutputFile(OutputFile&&) = delete;
  OutputFile& operator=(OutputFile&&) = delete;

  /// @throws Error when not every byte was taken.
  void write(const void* bytes, std::size_t count);
  void write(std::string_view text) { write(text.data(), text.size()); }

  /// Closes the file and gives it its name.
  /// @throws Error when the disk is full or the rename fails; nothing is left behind then.
  void commit();

private:
  void open();
  void flush();
  void finish();
  void discard() noexcept;
  void writeThrough(const char* bytes, std::size_t count);
  [[noreturn]] void fail(int error) const;

  const ProtectedInputs& inputs_;
  OutputPlace place_;
  std::unique_ptr<Leftover> temporary_;  ///< none when the target is written directly
  int descriptor_ = -1;
  std::string buffer_;
};

/// Creates the folder and those above it. What was made and is still empty goes away again when a
/// signal ends the program.
/// @throws Error when that cannot be done or something else stands there.
void createFolder(const std::filesystem::path& folder);

}  // namespace zr
