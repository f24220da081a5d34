// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <csignal>
#include <filesystem>
#include <memory>

namespace zr {

/// While it lives, SIGINT, SIGTERM and SIGHUP wait: what is made and what is noted of it cannot
/// come apart.
class SignalsHeld {
public:
  SignalsHeld();
  ~SignalsHeld();
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;
  SignalsHeld(SignalsHeld&&) = delete;
  SignalsHeld& operator=(SignalsHeld&&) = delete;

private:
  sigset_t before_{};
};

/// Notes that something temporary stands under a name, for as long as it lives. A signal that ends
/// the program removes it; otherwise its owner does. For one thread only.
class Leftover {
public:
  enum class Kind { kFile, kFolder };

  Leftover(std::filesystem::path path, Kind kind);
  ~Leftover();
  Leftover(const Leftover&) = delete;
  Leftover& operator=(const Leftover&) = delete;
  Leftover(Leftover&&) = delete;
  Leftover& operator=(Leftover&&) = delete;

  const std::filesystem::path& path() const { return path_; }

  /// Removes what stands under the name; nothing when it is gone, or a folder that holds something.
  void remove() const noexcept;

  /// The one that was noted before this one.
  const Leftover* older() const { return older_; }

private:
  std::filesystem::path path_;
  Kind kind_;
  Leftover* older_ = nullptr;
  Leftover* newer_ = nullptr;
};

/// A new file that only this program knows.
struct TemporaryFile {
  std::unique_ptr<Leftover> name;
  int descriptor;  ///< open for writing; the caller closes it
};

/// Makes a file of a random name in the folder; never opens one that is there already, nor follows
/// a link.
/// @param mode permissions, less those that the umask takes
/// @throws std::system_error
TemporaryFile makeTemporaryFile(const std::filesystem::path& folder, mode_t mode);

/// Makes a folder of a random name in another, for this user alone.
/// @throws std::system_error
std::unique_ptr<Leftover> makeTemporaryFolder(const std::filesystem::path& folder);

}  // namespace zr
