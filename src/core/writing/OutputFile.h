// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcostrmf.h"

#include <cstdio>
#include <memory>

class DcmObject;

/// A file of PS3.10 while it is being written, in Explicit VR Little Endian.
///
/// DCMTK's file stream hands bytes to a buffer and reports neither what goes wrong when that is
/// flushed nor when the file is closed: a small file on a full disk would pass for written. Here
/// every success means that the operating system took the bytes.
///
/// Unless `keep` was called, the file is left behind empty: a fragment that ends between two
/// attributes would read like a whole file.
class ZrDcmOutputFile {
public:
  /// Creates the file or empties the one that exists. A path that cannot be opened shows at the
  /// first `write`.
  explicit ZrDcmOutputFile(const char* path);
  ~ZrDcmOutputFile();
  ZrDcmOutputFile(const ZrDcmOutputFile&) = delete;
  ZrDcmOutputFile& operator=(const ZrDcmOutputFile&) = delete;

  /// Writes the meta information or the dataset behind what was written before.
  [[nodiscard]] bool write(DcmObject& part);

  /// Says that all is written: the file is kept. Only to be called after successful writes.
  void keep() { whole_ = true; }

private:
  [[nodiscard]] bool allBytesTaken();

  std::FILE* file_;                              // closed by the stream
  int descriptor_ = -1;                          // a second one of the same file, ours
  std::unique_ptr<DcmOutputFileStream> stream_;  // null when the file could not be opened
  bool whole_ = false;
};
