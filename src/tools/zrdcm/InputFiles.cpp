// SPDX-License-Identifier: BSD-3-Clause
// Files that verbs find in folders, where others than DICOM files are no mistake.
#include "InputFiles.h"

#include "Messages.h"

#include <fstream>

namespace zrdcm {

void addRecursiveFlag(CLI::App& command) {
  command.add_flag("-r,--recursive")
      ->description("Nothing more: folders are walked with those below them in any case");
}

bool PassedOver::takes(const zr::PathEntry& entry, zr::Reason reason) {
  // What cannot be opened may well be DICOM.
  const bool passes =
      entry.inFolder && reason == zr::Reason::NotDicom && std::ifstream(entry.path).is_open();
  count_ += passes ? 1 : 0;
  return passes;
}

void PassedOver::complain() const {
  if (count_ > 0) {
    zrdcm::complain(
        "passed over " + std::to_string(count_) +
        (count_ == 1 ? " file that is no DICOM file" : " files that are no DICOM files"));
  }
}

}  // namespace zrdcm
