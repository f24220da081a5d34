// SPDX-License-Identifier: BSD-3-Clause
// Temporary files and folders, and a list of them that a signal handler walks. The list is linked
// through its members, so that the handler needs neither memory nor a lock; signals wait while it
// changes.
#include "zrimaging/output/Leftovers.h"

#include "zrimaging/Output.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <random>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace zr {

namespace {

namespace fs = std::filesystem;

constexpr std::array<int, 3> kEndingSignals = {SIGINT, SIGTERM, SIGHUP};

std::atomic<Leftover*> youngest = nullptr;
static_assert(std::atomic<Leftover*>::is_always_lock_free, "a signal handler reads it");

sigset_t endingSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : kEndingSignals) {
    sigaddset(&set, number);
  }
  return set;
}

// Short whatever the target is called: a name may have 255 bytes, and the target's may have all of
// them. Nobody can guess it, so nobody can be there first.
std::string randomName() {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::random_device random;
  std::string name = ".zrdcm-";
  for (int word = 0; word < 2; ++word) {
    std::uint32_t bits = random();
    for (int digit = 0; digit < 8; ++digit) {
      name += kDigits[bits & 0xFU];
      bits >>= 4U;
    }
  }
  return name + ".part";
}

/// Tries names until `make` finds one free; it yields -1 and sets errno as open and mkdir do.
template <class Make>
std::pair<std::unique_ptr<Leftover>, int> makeUnderRandomName(const fs::path& folder,
                                                              Leftover::Kind kind,
                                                              const Make& make) {
  for (;;) {
    const SignalsHeld held;
    auto name = std::make_unique<Leftover>(folder / randomName(), kind);
    const int made = make(name->path().c_str());
    if (made >= 0) {
      return {std::move(name), made};
    }
    if (errno != EEXIST) {
      throw std::system_error(errno, std::generic_category());
    }
  }
}

extern "C" void leaveNothingBehind(int number) {
  removeLeftovers();
  _exit(128 + number);  // as shells tell of a signal
}

}  // namespace

SignalsHeld::SignalsHeld() {
  const sigset_t ending = endingSignals();
  pthread_sigmask(SIG_BLOCK, &ending, &before_);
}

SignalsHeld::~SignalsHeld() {
  pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

Leftover::Leftover(fs::path path, Kind kind) : path_(std::move(path)), kind_(kind) {
  const SignalsHeld held;
  older_ = youngest.load();
  if (older_ != nullptr) {
    older_->newer_ = this;
  }
  youngest.store(this);
}

Leftover::~Leftover() {
  const SignalsHeld held;
  if (older_ != nullptr) {
    older_->newer_ = newer_;
  }
  if (newer_ != nullptr) {
    newer_->older_ = older_;
  } else {
    youngest.store(older_);
  }
}

void Leftover::remove() const noexcept {
  if (kind_ == Kind::kFile) {
    (void)unlink(path_.c_str());  // it may have been given its name already
  } else {
    (void)rmdir(path_.c_str());
  }
}

TemporaryFile makeTemporaryFile(const fs::path& folder, mode_t mode) {
  auto [name, descriptor] =
      makeUnderRandomName(folder, Leftover::Kind::kFile, [mode](const char* path) {
        return open(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
      });
  return {std::move(name), descriptor};
}

std::unique_ptr<Leftover> makeTemporaryFolder(const fs::path& folder) {
  return makeUnderRandomName(folder, Leftover::Kind::kFolder,
                             [](const char* path) { return mkdir(path, 0700); })
      .first;
}

// The youngest first.
void removeLeftovers() noexcept {
  for (const Leftover* leftover = youngest.load(); leftover != nullptr;
       leftover = leftover->older()) {
    leftover->remove();
  }
}

void removeLeftoversOnSignals() {
  for (const int number : kEndingSignals) {
    struct sigaction now {};
    if (sigaction(number, nullptr, &now) != 0 || now.sa_handler == SIG_IGN) {
      continue;
    }
    struct sigaction action {};
    action.sa_handler = leaveNothingBehind;
    action.sa_mask = endingSignals();
    (void)sigaction(number, &action, nullptr);  // cannot fail for these signals
  }
}

}  // namespace zr
