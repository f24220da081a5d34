// SPDX-License-Identifier: BSD-3-Clause
// Complete files or none: temporary name, checked writes, rename.
#include "OutputFile.h"

#include "Failure.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <system_error>
#include <unistd.h>

namespace zrdcm {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void failWriting(const fs::path& target, int error) {
  throw Failure("cannot write " + target.string() + ": " + std::strerror(error));
}

// A symbolic link keeps pointing where it points: its destination is what gets replaced.
fs::path resolved(const fs::path& target) {
  std::error_code error;
  const fs::path real = fs::weakly_canonical(target, error);
  return error ? target : real;
}

fs::path temporaryBeside(const fs::path& target) {
  const std::string name =
      "." + target.filename().string() + "." + std::to_string(getpid()) + ".part";
  return target.parent_path() / name;
}

}  // namespace

OutputFile::OutputFile(const fs::path& target) : target_(target) {
  const fs::path real = resolved(target);
  std::error_code ignored;
  const fs::file_status status = fs::status(real, ignored);
  if (fs::is_directory(status)) {
    throw Failure("cannot write " + target.string() + ": a folder has that name");
  }
  const bool direct = fs::exists(status) && !fs::is_regular_file(status);
  target_ = real;
  written_ = direct ? real : temporaryBeside(real);

  // O_NOFOLLOW: the temporary name is ours alone; a link that waits there is not to be followed.
  const int flags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | (direct ? 0 : O_NOFOLLOW);
  const int descriptor = open(written_.c_str(), flags, 0666);
  if (descriptor < 0) {
    failWriting(target_, errno);
  }
  stream_ = fdopen(descriptor, "wb");
  if (stream_ == nullptr) {
    const int error = errno;
    close(descriptor);
    discard();
    failWriting(target_, error);
  }
}

OutputFile::~OutputFile() {
  discard();
}

void OutputFile::write(const void* bytes, std::size_t count) {
  if (count != 0 && std::fwrite(bytes, 1, count, stream_) != count) {
    failWriting(target_, errno);
  }
}

void OutputFile::commit() {
  // A full disk shows only when the buffers are flushed or the file is closed.
  const bool flushed = std::fflush(stream_) == 0;
  const int flushError = errno;
  const bool closed = std::fclose(stream_) == 0;
  const int closeError = errno;
  stream_ = nullptr;
  if (!flushed || !closed) {
    const int error = flushed ? closeError : flushError;
    discard();
    failWriting(target_, error);
  }
  if (written_ != target_) {
    std::error_code error;
    fs::rename(written_, target_, error);
    if (error) {
      discard();
      failWriting(target_, error.value());
    }
  }
  written_.clear();
}

void OutputFile::discard() noexcept {
  if (stream_ != nullptr) {
    (void)std::fclose(stream_);  // the content is thrown away, so nothing is lost
    stream_ = nullptr;
  }
  if (!written_.empty() && written_ != target_) {
    (void)unlink(written_.c_str());  // it may never have been created
  }
  written_.clear();
}

void createFolder(const fs::path& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  if (error || !fs::is_directory(folder)) {
    throw Failure("cannot make the folder " + folder.string() + ": " +
                  (error ? error.message() : std::string("something else has that name")));
  }
}

}  // namespace zrdcm
