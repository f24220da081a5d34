// SPDX-License-Identifier: BSD-3-Clause
#include "writing/CallersSamples.h"

#include <bit>

namespace {

/// The largest length of an element; all ones mean an undefined length. @see PS3.5 7.1.1
constexpr unsigned long long kLargestLength = 0xFFFFFFFEULL;

}  // namespace

ZrDcmCallersSamples::ZrDcmCallersSamples(DcmEVR vr, const void* samples, Uint32 bytes)
    : DcmOtherByteOtherWord(DcmTag(DCM_PixelData, vr), bytes), samples_(samples) {}

bool ZrDcmCallersSamples::takes(unsigned long long bytes) {
  return std::endian::native == std::endian::little && bytes > 0 && bytes % 2 == 0 &&
         bytes <= kLargestLength;
}

OFCondition ZrDcmCallersSamples::write(DcmOutputStream& stream, E_TransferSyntax syntax,
                                       E_EncodingType /*encoding*/, DcmWriteCache* /*cache*/) {
  Uint32 headerBytes = 0;
  const OFCondition status = writeTagAndLength(stream, syntax, headerBytes);
  if (status.bad()) {
    return status;
  }
  const offile_off_t bytes = getLengthField();
  if (stream.write(samples_, bytes) != bytes) {
    return stream.status().bad() ? stream.status() : EC_StreamNotifyClient;
  }
  setTransferState(ERW_ready);
  return EC_Normal;
}
