// SPDX-License-Identifier: BSD-3-Clause
// A file that somebody else writes by its name: looked at before it gets the name that was asked
// for.
#include "zrimaging/output/LibraryFile.h"

#include "zrimaging/Error.h"
#include "zrimaging/Output.h"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace zr {

namespace {

namespace fs = std::filesystem;

/// A descriptor that is closed at the end of its scope; it was only read from.
class ReadDescriptor {
public:
  explicit ReadDescriptor(int number) : number_(number) {}
  ~ReadDescriptor() { (void)close(number_); }
  ReadDescriptor(const ReadDescriptor&) = delete;
  ReadDescriptor& operator=(const ReadDescriptor&) = delete;
  ReadDescriptor(ReadDescriptor&&) = delete;
  ReadDescriptor& operator=(ReadDescriptor&&) = delete;

  int number() const { return number_; }

private:
  int number_;
};

}  // namespace

LibraryFile::LibraryFile(const fs::path& target, const ProtectedInputs& inputs)
    : inputs_(inputs), place_(findPlace(target, inputs)) {
  std::error_code error;
  // No folder of ours can be made beside a device.
  const fs::path beside = place_.direct ? fs::temp_directory_path(error) : place_.folder();
  try {
    folder_ = makeTemporaryFolder(beside);
  } catch (const std::system_error& failure) {
    failWriting(target, failure.code().value());
  }
  file_ = std::make_unique<Leftover>(folder_->path() / "file", Leftover::Kind::kFile);
}

LibraryFile::~LibraryFile() {
  file_->remove();
  folder_->remove();
}

void LibraryFile::commit(std::uint64_t leastBytes) {
  const ReadDescriptor written(openWritten(leastBytes));
  if (place_.direct) {
    copyDirectly(written.number());
    return;
  }
  prepareToReplace(written.number(), place_);
  giveName(file_->path(), place_, inputs_);
}

int LibraryFile::openWritten(std::uint64_t leastBytes) const {
  const int descriptor = open(file_->path().c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
  if (descriptor < 0) {
    failWriting(place_.target, errno);
  }
  struct stat status {};
  const bool known = fstat(descriptor, &status) == 0;
  if (!known || !S_ISREG(status.st_mode) ||
      static_cast<std::uint64_t>(status.st_size) < leastBytes) {
    (void)close(descriptor);
    throw Error(Reason::CannotWrite,
                "cannot write " + place_.target.string() + ": the file came out incomplete");
  }
  return descriptor;
}

void LibraryFile::copyDirectly(int written) const {
  OutputFile output(place_.target, inputs_);
  std::vector<char> block(std::size_t{1} << 20U);
  for (;;) {
    const ssize_t count = read(written, block.data(), block.size());
    if (count < 0) {
      failWriting(place_.target, errno);
    }
    if (count == 0) {
      break;
    }
    output.write(block.data(), static_cast<std::size_t>(count));
  }
  output.commit();
}

}  // namespace zr
