// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>
#include <optional>
#include <sys/stat.h>
#include <sys/types.h>
#include <tuple>

namespace zr {

/// Which file something is, whatever it is called: links, linked folders and other spellings of a
/// path lead to the same identity.
struct FileIdentity {
  dev_t device;
  ino_t inode;

  bool operator<(const FileIdentity& other) const {
    return std::tie(device, inode) < std::tie(other.device, other.inode);
  }
};

inline FileIdentity identityOf(const struct stat& status) {
  return {status.st_dev, status.st_ino};
}

/// Nothing where no file is, or where it cannot be looked at.
inline std::optional<FileIdentity> identityOf(const std::filesystem::path& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? std::optional(identityOf(status)) : std::nullopt;
}

}  // namespace zr
