// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>
#include <string>

namespace support {

/// A fresh folder that goes away, with all that is in it, at the end of its scope.
class TempDir {
public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::filesystem::path& path() const { return path_; }
  /// Path of a file in the folder; the file is not made.
  std::filesystem::path file(const std::string& name) const { return path_ / name; }

private:
  std::filesystem::path path_;
};

}  // namespace support
