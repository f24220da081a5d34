// SPDX-License-Identifier: BSD-3-Clause
// Uses the codecs as a program on DCMTK does.
#include <zrcodecs/ZrCodecs.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dccodec.h"

#include <cstdio>

int main() {
  const bool isRegistered = zrcodecs::registerCodecs();
  const bool decodes = DcmCodecList::canChangeCoding(EXS_JPEG2000, EXS_LittleEndianExplicit);
  std::puts(zrcodecs::codecLibraries());
  return isRegistered && decodes ? 0 : 1;
}
