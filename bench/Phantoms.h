// SPDX-License-Identifier: BSD-3-Clause
// Files to measure on: a head of tissue and bone with the noise of a scanner, so that lossless
// coding brings it down to a half or a third and not, as it does smooth phantoms, to a tenth.
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <filesystem>
#include <memory>
#include <string>

namespace bench {

/// Throws std::runtime_error with DCMTK's text when a status is bad.
void check(const OFCondition& condition);

/// What a phantom's frames look like.
struct PhantomForm {
  int columns = 512;
  int rows = 512;
  int frames = 1;
  bool eightBit = false;  ///< unsigned 8 bits; otherwise 12 bits in 16, signed
};

/// A CT image with a few dozen attributes; `number` tells the images of a series apart.
std::unique_ptr<DcmFileFormat> makePhantom(const PhantomForm& form, int number = 1);

/// Writes a phantom, compressed if the syntax asks for it.
void savePhantom(DcmFileFormat& file, const std::filesystem::path& path, E_TransferSyntax syntax);

/// A file of a phantom in the folder for temporary files; goes away with the object.
class PhantomFile {
public:
  PhantomFile(const PhantomForm& form, E_TransferSyntax syntax);
  ~PhantomFile();
  PhantomFile(const PhantomFile&) = delete;
  PhantomFile& operator=(const PhantomFile&) = delete;

  [[nodiscard]] const char* path() const { return path_.c_str(); }

private:
  std::filesystem::path path_;
};

}  // namespace bench
