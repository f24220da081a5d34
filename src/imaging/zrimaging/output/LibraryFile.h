// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Output.h"
#include "zrimaging/output/Leftovers.h"
#include "zrimaging/output/OutputPlace.h"

#include <cstdint>
#include <filesystem>
#include <memory>

namespace zr {

/// The same promise as that of OutputFile for a file that a library writes, which wants a folder
/// and a name.
///
/// The library gets a folder that is new, private and called so that nothing in its name can be
/// taken for something else: it stands beside the target, whose own folder may be called anything.
class LibraryFile {
public:
  /// @param inputs are asked again in `commit` and live as long as this
  /// @throws Error when the place cannot be written or is an input.
  LibraryFile(const std::filesystem::path& target, const ProtectedInputs& inputs);
  ~LibraryFile();
  LibraryFile(const LibraryFile&) = delete;
  LibraryFile& operator=(const LibraryFile&) = delete;
  LibraryFile(LibraryFile&&) = delete;
  LibraryFile& operator=(LibraryFile&&) = delete;

  /// Where the library is to write the file, which is not there yet.
  std::filesystem::path folder() const { return folder_->path(); }
  std::filesystem::path name() const { return file_->path().filename(); }

  /// Gives the file its name.
  /// @param leastBytes below which it cannot be whole
  /// @throws Error when the file is not there, too short or cannot have its name
  void commit(std::uint64_t leastBytes);

private:
  int openWritten(std::uint64_t leastBytes) const;
  void copyDirectly(int written) const;

  const ProtectedInputs& inputs_;
  OutputPlace place_;
  std::unique_ptr<Leftover> folder_;
  std::unique_ptr<Leftover> file_;
};

}  // namespace zr
