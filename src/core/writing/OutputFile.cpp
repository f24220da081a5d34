// SPDX-License-Identifier: BSD-3-Clause
// The way of a DICOM file to the disk. A second descriptor of the same file stays with us: it tells
// what the closing of the stream would not, and it empties the file when writing broke off.
#include "writing/OutputFile.h"

#include "streams/TransferSyntaxes.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

/// A further descriptor of the same file; -1 when the process has none left.
int duplicate(int descriptor) {
  return fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
}

}  // namespace

ZrDcmOutputFile::ZrDcmOutputFile(const char* path) : file_(std::fopen(path, "wbe")) {
  if (file_ == nullptr) {
    return;
  }
  // The stream owns the file from here on. It would take a null file for a good one.
  try {
    stream_ = std::make_unique<DcmOutputFileStream>(file_);
  } catch (...) {
    (void)std::fclose(file_);  // nothing has been written
    throw;
  }
  descriptor_ = duplicate(fileno(file_));
}

ZrDcmOutputFile::~ZrDcmOutputFile() {
  // The stream first: closing it may still write what a failure left in its buffer.
  stream_.reset();
  if (descriptor_ < 0) {
    return;
  }
  if (!whole_) {
    // Devices and pipes cannot be emptied, and keep nothing either.
    [[maybe_unused]] const int emptied = ftruncate(descriptor_, 0);
  }
  close(descriptor_);
}

bool ZrDcmOutputFile::write(DcmObject& part) {
  if (descriptor_ < 0) {
    return false;
  }
  part.transferInit();
  const OFCondition written =
      part.write(*stream_, Zrg::kExplicitLittleEndian, EET_ExplicitLength, nullptr);
  if (written != EC_Normal || !allBytesTaken()) {
    return false;
  }
  part.transferEnd();
  return true;
}

bool ZrDcmOutputFile::allBytesTaken() {
  // The error flag too: DCMTK does not look at the result of every single write.
  if (std::fflush(file_) != 0 || std::ferror(file_) != 0) {
    return false;
  }
  // A file system behind a network may hold bytes back until a descriptor of the file is closed,
  // and tells the first close alone that they were refused.
  const int probe = duplicate(descriptor_);
  return probe >= 0 && close(probe) == 0;
}
