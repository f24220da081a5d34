// SPDX-License-Identifier: BSD-3-Clause
// File names over std::filesystem with error codes. Making directories and asking for permission go
// to the system itself: the standard library makes directories with all permissions first, and
// knows the permission bits of a file but not whether this process has them.
#include <ktlib/KtFilename.h>

#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace {
constexpr unsigned int kPermissionBits = 07777;
constexpr unsigned int kOwnerBits = 0700;

bool isDirectoryAt(const std::filesystem::path& path) {
  std::error_code error;
  return std::filesystem::is_directory(path, error);
}

bool createDirectories(const std::filesystem::path& path, mode_t mode) {
  std::filesystem::path made;
  for (const std::filesystem::path& component : path) {
    made /= component;
    // What mkdir says does not matter, for somebody else may have been faster: what is there
    // decides.
    if (!isDirectoryAt(made) && ::mkdir(made.c_str(), mode) != 0 && !isDirectoryAt(made)) {
      return false;
    }
  }
  return true;
}
}  // namespace

KtFilename::KtFilename(KtString text) : text_(std::move(text)) {}

bool KtFilename::exists() const {
  std::error_code error;
  return std::filesystem::exists(text_.str(), error);
}

bool KtFilename::isDirectory() const {
  return isDirectoryAt(text_.str());
}

bool KtFilename::isWriteable() const {
  // The effective user counts, as it does when a file is opened.
  return ::faccessat(AT_FDCWD, text_.c_str(), W_OK, AT_EACCESS) == 0;
}

bool KtFilename::create(int mode) const {
  const unsigned int bits = (static_cast<unsigned int>(mode) | kOwnerBits) & kPermissionBits;
  return !text_.empty() && createDirectories(text_.str(), static_cast<mode_t>(bits));
}

KtFilename KtFilename::directory() const {
  return KtFilename(std::filesystem::path(text_.str()).parent_path().string());
}
