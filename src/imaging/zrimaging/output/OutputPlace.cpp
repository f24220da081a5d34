// SPDX-License-Identifier: BSD-3-Clause
// What stands where an output is to go, and how a finished file takes that place.
#include "zrimaging/output/OutputPlace.h"

#include "zrimaging/Error.h"

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <string>
#include <system_error>
#include <unistd.h>

namespace zr {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void refuseTarget(const fs::path& target, const char* reason) {
  throw Error(Reason::CannotWrite, "cannot write " + target.string() + ": " + reason);
}

// The kernel's names of our own descriptors look like links, but the file that such a link seems to
// lead to is another matter: a pipe has none, and one that is being appended to must not be
// replaced.
std::optional<int> descriptorNamed(fs::path path) {
  constexpr int kMostLinks = 40;  // as many as the kernel follows
  std::error_code error;
  const fs::path descriptors = fs::canonical("/proc/self/fd", error);
  for (int links = 0; !error && links < kMostLinks; ++links) {
    const fs::path folder = fs::canonical(path.has_parent_path() ? path.parent_path() : ".", error);
    if (!error && folder == descriptors) {
      int number = -1;
      const std::string name = path.filename().string();
      (void)std::from_chars(name.data(), name.data() + name.size(), number);  // -1: no such name
      return number;
    }
    const fs::path next = error ? fs::path() : fs::read_symlink(path, error);
    path = folder / next;  // an absolute one stays as it is
  }
  return std::nullopt;
}

OutputPlace placeOfNothing(const fs::path& target, int error) {
  struct stat link {};
  if (error == ENOENT && lstat(target.c_str(), &link) == 0) {
    refuseTarget(target, "it is a link that leads nowhere");
  }
  if (error != ENOENT || !target.has_filename()) {
    failWriting(target, error);
  }
  OutputPlace place;
  place.target = target;
  place.file = target;
  return place;
}

}  // namespace

OutputPlace findPlace(const fs::path& target, const ProtectedInputs& inputs) {
  struct stat status {};
  if (stat(target.c_str(), &status) != 0) {
    return placeOfNothing(target, errno);
  }
  if (S_ISDIR(status.st_mode)) {
    refuseTarget(target, "a folder has that name");
  }
  inputs.refuseToReplace(target);
  OutputPlace place;
  place.target = target;
  place.file = target;
  place.descriptor = descriptorNamed(target);
  place.direct = place.descriptor.has_value() || !S_ISREG(status.st_mode);
  if (!place.direct) {
    std::error_code error;
    place.file = fs::canonical(target, error);
    if (error) {
      failWriting(target, error.value());
    }
    place.replaced = status;
  }
  return place;
}

void prepareToReplace(int descriptor, const OutputPlace& place) {
  if (!place.replaced) {
    return;
  }
  constexpr mode_t kPermissions = 07777;
  // Only root may; for others the file is theirs from now on, as every file that they make. The
  // owner goes first, because giving a file away takes the right to change its permissions.
  [[maybe_unused]] const int given =
      fchown(descriptor, place.replaced->st_uid, place.replaced->st_gid);
  if (fchmod(descriptor, place.replaced->st_mode & kPermissions) != 0 || fsync(descriptor) != 0) {
    failWriting(place.target, errno);
  }
}

void giveName(const fs::path& finished, const OutputPlace& place, const ProtectedInputs& inputs) {
  inputs.refuseToReplace(place.file);
  if (std::rename(finished.c_str(), place.file.c_str()) != 0) {
    failWriting(place.target, errno);
  }
}

void failWriting(const fs::path& target, int error) {
  refuseTarget(target, std::strerror(error));
}

}  // namespace zr
