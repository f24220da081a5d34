// SPDX-License-Identifier: BSD-3-Clause
// Complete files or none: temporary name, checked writes, rename.
#include "zrimaging/Boundary.h"
#include "zrimaging/Output.h"
#include "zrimaging/output/Leftovers.h"
#include "zrimaging/output/OutputPlace.h"

#include <cerrno>
#include <fcntl.h>
#include <list>
#include <string>
#include <system_error>
#include <unistd.h>

namespace zr {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kBufferBytes = std::size_t{64} << 10U;

void makeFolder(const fs::path& folder) {
  // They stay when all goes well, so nobody ever takes them from this list.
  static std::list<Leftover> made;
  const SignalsHeld held;
  fs::path missing;
  std::error_code ignored;
  for (const fs::path& part : folder) {
    missing /= part;
    if (!fs::exists(fs::symlink_status(missing, ignored))) {
      made.emplace_back(missing, Leftover::Kind::kFolder);
    }
  }
  std::error_code error;
  fs::create_directories(folder, error);
  if (error || !fs::is_directory(folder, ignored)) {
    throw Error(Reason::CannotWrite,
                "cannot make the folder " + folder.string() + ": " +
                    (error ? error.message() : std::string("something else has that name")));
  }
}

}  // namespace

/// What an OutputFile is made of.
class OutputFilePrivate {
public:
  OutputFilePrivate(const fs::path& target, const ProtectedInputs& inputs);
  ~OutputFilePrivate();
  OutputFilePrivate(const OutputFilePrivate&) = delete;
  OutputFilePrivate& operator=(const OutputFilePrivate&) = delete;
  OutputFilePrivate(OutputFilePrivate&&) = delete;
  OutputFilePrivate& operator=(OutputFilePrivate&&) = delete;

  void write(const void* bytes, std::size_t count);
  void commit();

private:
  void open();
  void flush();
  void finish();
  void discard() noexcept;
  void writeThrough(const char* bytes, std::size_t count);
  [[noreturn]] void fail(int error) const;

  ProtectedInputs inputs_;
  OutputPlace place_;
  std::unique_ptr<Leftover> temporary_;  ///< none when the target is written directly
  int descriptor_ = -1;
  std::string buffer_;
};

OutputFilePrivate::OutputFilePrivate(const fs::path& target, const ProtectedInputs& inputs)
    : inputs_(inputs), place_(findPlace(target, inputs)) {
  buffer_.reserve(kBufferBytes);
  open();
}

OutputFilePrivate::~OutputFilePrivate() {
  discard();
}

void OutputFilePrivate::discard() noexcept {
  if (descriptor_ >= 0) {
    (void)close(descriptor_);  // the content is thrown away, so nothing is lost
    descriptor_ = -1;
  }
  if (temporary_) {
    temporary_->remove();
    temporary_.reset();
  }
}

void OutputFilePrivate::open() {
  if (place_.direct) {
    // Without O_TRUNC and O_CREAT: what is written directly is there, and is not ours to empty.
    descriptor_ = place_.descriptor ? fcntl(*place_.descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)
                                    : ::open(place_.file.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
    if (descriptor_ < 0) {
      fail(errno);
    }
    return;
  }
  constexpr mode_t kNew = 0666;
  constexpr mode_t kNobodyElse = 0600;  // until it has the permissions of the replaced file
  try {
    TemporaryFile file = makeTemporaryFile(place_.folder(), place_.replaced ? kNobodyElse : kNew);
    temporary_ = std::move(file.name);
    descriptor_ = file.descriptor;
  } catch (const std::system_error& error) {
    fail(error.code().value());
  }
}

void OutputFilePrivate::write(const void* bytes, std::size_t count) {
  if (buffer_.size() + count > kBufferBytes) {
    flush();
  }
  if (count > kBufferBytes) {
    writeThrough(static_cast<const char*>(bytes), count);
  } else {
    buffer_.append(static_cast<const char*>(bytes), count);
  }
}

void OutputFilePrivate::flush() {
  writeThrough(buffer_.data(), buffer_.size());
  buffer_.clear();
}

void OutputFilePrivate::writeThrough(const char* bytes, std::size_t count) {
  while (count > 0) {
    const ssize_t taken = ::write(descriptor_, bytes, count);
    if (taken < 0 && errno != EINTR) {
      fail(errno);
    }
    const std::size_t done = taken < 0 ? 0 : static_cast<std::size_t>(taken);
    bytes += done;
    count -= done;
  }
}

void OutputFilePrivate::commit() {
  try {
    finish();
  } catch (...) {
    discard();
    throw;
  }
}

void OutputFilePrivate::finish() {
  flush();
  if (temporary_) {
    prepareToReplace(descriptor_, place_);
  }
  // Some file systems tell of a full disk only now.
  const int closed = close(descriptor_);
  const int error = errno;
  descriptor_ = -1;
  if (closed != 0) {
    fail(error);
  }
  if (temporary_) {
    giveName(temporary_->path(), place_, inputs_);
    temporary_.reset();
  }
}

void OutputFilePrivate::fail(int error) const {
  if (error == EPIPE && place_.descriptor == STDOUT_FILENO) {
    throw ReaderGone();
  }
  failWriting(place_.target, error);
}

OutputFile::OutputFile(const fs::path& target, const ProtectedInputs& inputs)
    : private_(atBoundary([&] { return std::make_unique<OutputFilePrivate>(target, inputs); })) {}

OutputFile::~OutputFile() = default;
OutputFile::OutputFile(OutputFile&& other) noexcept = default;
OutputFile& OutputFile::operator=(OutputFile&& other) noexcept = default;

void OutputFile::write(const void* bytes, std::size_t count) {
  atBoundary([&] { private_->write(bytes, count); });
}

void OutputFile::commit() {
  atBoundary([&] { private_->commit(); });
}

void createFolder(const fs::path& folder) {
  atBoundary([&] { makeFolder(folder); });
}

}  // namespace zr
