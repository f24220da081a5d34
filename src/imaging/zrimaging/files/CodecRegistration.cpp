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
  // A syntax that DCMTK does not know it takes for one without compression.
  const DcmXfer syntax(file.dataset().getOriginalXfer());
  const std::string stated = file.statedTransferSyntax();
  return syntax.isEncapsulated() && !stated.empty() && stated != syntax.getXferID();
}

}  // namespace zr
