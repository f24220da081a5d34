// SPDX-License-Identifier: BSD-3-Clause
// A DICOM file by DCMTK, into the temporary file of an OutputFile.
#include "DicomWriter.h"

#include "Failure.h"
#include "OutputFile.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcostrmf.h"
#include "dcmtk/dcmdata/dcwcache.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace zrdcm {

namespace {

// Flushes its own stream, because a small file on a full disk counts as written otherwise.
void save(DcmFileFormat& file, E_TransferSyntax syntax, const std::filesystem::path& path) {
  std::FILE* const handle = std::fopen(path.c_str(), "wb");
  if (handle == nullptr) {
    throw Failure(std::strerror(errno));
  }
  DcmOutputFileStream stream(handle);  // closes the handle
  DcmWriteCache cache;
  file.transferInit();
  const OFCondition written =
      file.write(stream, syntax, EET_ExplicitLength, &cache, EGL_recalcGL, EPD_noChange);
  file.transferEnd();
  if (written.bad()) {
    throw Failure(written.text());
  }
  if (std::fflush(handle) != 0) {
    throw Failure(std::strerror(errno));
  }
}

}  // namespace

void writeDicomFile(DcmFileFormat& file, E_TransferSyntax syntax,
                    const std::filesystem::path& target) {
  OutputFile output(target);
  try {
    save(file, syntax, output.temporaryPath());
  } catch (const Failure& failure) {
    throw Failure("cannot write " + target.string() + ": " + failure.what());
  }
  output.commit();
}

}  // namespace zrdcm
