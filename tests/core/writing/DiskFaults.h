// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <csignal>
#include <filesystem>
#include <sys/resource.h>
#include <sys/types.h>

namespace exporting {

/// While it lives, no file can be written beyond this size: `write` fails as on a full disk. Takes
/// no privilege.
class FileSizeLimit {
public:
  explicit FileSizeLimit(rlim_t bytes);
  ~FileSizeLimit();
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
  rlimit before_;
  void (*signalBefore_)(int);
};

/// A real file system of so many bytes (whole pages, at least one), mounted over a directory.
class SmallDisk {
public:
  SmallDisk(const std::filesystem::path& directory, unsigned long bytes);
  ~SmallDisk();
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;

  /// False where this process may not mount.
  [[nodiscard]] bool isMounted() const { return mounted_; }

private:
  std::filesystem::path directory_;
  bool mounted_;
};

/// While it lives, the process has the rights of nobody; root could write everywhere. Changes
/// nothing for a user without privileges.
class OrdinaryUser {
public:
  OrdinaryUser();
  ~OrdinaryUser();
  OrdinaryUser(const OrdinaryUser&) = delete;
  OrdinaryUser& operator=(const OrdinaryUser&) = delete;

  /// False where the privileges cannot be dropped.
  [[nodiscard]] bool isOrdinary() const { return ordinary_; }

private:
  uid_t userBefore_;
  gid_t groupBefore_;
  bool ordinary_;
};

}  // namespace exporting
