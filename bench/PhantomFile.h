// SPDX-License-Identifier: BSD-3-Clause
// Files to measure on.
#pragma once

#include "phantoms/NoisyHead.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <filesystem>
#include <memory>

namespace bench {

/// Throws std::runtime_error with DCMTK's text when a status is bad.
void check(const OFCondition& condition);

/// A head as a file in memory; `number` tells the images of a series apart.
std::unique_ptr<DcmFileFormat> makeHead(const phantoms::HeadForm& form, int number = 1);

/// Writes a file, compressed if the syntax asks for it.
void save(DcmFileFormat& file, const std::filesystem::path& path, E_TransferSyntax syntax);

/// A file of a head in the folder for temporary files; goes away with the object.
class PhantomFile {
public:
  PhantomFile(const phantoms::HeadForm& form, E_TransferSyntax syntax);
  ~PhantomFile();
  PhantomFile(const PhantomFile&) = delete;
  PhantomFile& operator=(const PhantomFile&) = delete;

  [[nodiscard]] const char* path() const { return path_.c_str(); }

private:
  std::filesystem::path path_;
};

}  // namespace bench
