// SPDX-License-Identifier: BSD-3-Clause
#include "zrimaging/files/CodecRegistration.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <zrimaging/Codecs.h>
#include <zrimaging/File.h>

#if defined(ZRIMAGING_WITH_CODECS)
#include <zrcodecs/ZrCodecs.h>
#endif

namespace zr {

#if defined(ZRIMAGING_WITH_CODECS)

void letCodecsDecode(DcmFileFormat& file) {
  // Without memory for it the codecs are missing, and a file that needs them says so.
  (void)zrcodecs::registerCodecs();
  (void)zrcodecs::adoptTransferSyntax(file);
}

std::string decoderLibraries() {
  return zrcodecs::codecLibraries();
}

#else

void letCodecsDecode(DcmFileFormat&) {}

std::string decoderLibraries() {
  return {};
}

#endif

bool isAdopted(const File& file) {
  const DcmXfer syntax(file.dataset().getOriginalXfer());
  const bool isJpeg2000 =
      syntax.getXfer() == EXS_JPEG2000LosslessOnly || syntax.getXfer() == EXS_JPEG2000;
  const std::string stated = file.statedTransferSyntax();
  return isJpeg2000 && !stated.empty() && stated != syntax.getXferID();
}

}  // namespace zr
