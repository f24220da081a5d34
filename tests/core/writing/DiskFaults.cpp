// SPDX-License-Identifier: BSD-3-Clause
#include "core/writing/DiskFaults.h"

#include <cerrno>
#include <stdexcept>
#include <string>
#include <sys/mount.h>
#include <unistd.h>

namespace exporting {

namespace {
constexpr uid_t kNobody = 65534;
}  // namespace

FileSizeLimit::FileSizeLimit(rlim_t bytes)
    : before_{}, signalBefore_(std::signal(SIGXFSZ, SIG_IGN)) {
  if (getrlimit(RLIMIT_FSIZE, &before_) != 0) {
    throw std::runtime_error("cannot read the limit of file sizes");
  }
  const rlimit limit = {bytes, before_.rlim_max};
  if (setrlimit(RLIMIT_FSIZE, &limit) != 0) {
    throw std::runtime_error("cannot limit the size of files");
  }
}

FileSizeLimit::~FileSizeLimit() {
  setrlimit(RLIMIT_FSIZE, &before_);
  std::signal(SIGXFSZ, signalBefore_);
}

SmallDisk::SmallDisk(const std::filesystem::path& directory, unsigned long bytes)
    : directory_(directory),
      mounted_(mount("tmpfs", directory.c_str(), "tmpfs", 0,
                     ("size=" + std::to_string(bytes)).c_str()) == 0) {}

SmallDisk::~SmallDisk() {
  if (mounted_) {
    umount2(directory_.c_str(), MNT_DETACH);
  }
}

OrdinaryUser::OrdinaryUser() : userBefore_(geteuid()), groupBefore_(getegid()), ordinary_(true) {
  if (userBefore_ == 0) {
    ordinary_ = setresgid(kNobody, kNobody, groupBefore_) == 0 &&
                setresuid(kNobody, kNobody, userBefore_) == 0;
  }
}

OrdinaryUser::~OrdinaryUser() {
  if (userBefore_ == 0 && (setresuid(userBefore_, userBefore_, userBefore_) != 0 ||
                           setresgid(groupBefore_, groupBefore_, groupBefore_) != 0)) {
    // The tests to come would fail for a reason that is not theirs.
    std::abort();
  }
}

}  // namespace exporting
