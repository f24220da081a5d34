// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

/// Pixel Data whose samples stay in the caller's memory: it can be written to a file, and nothing
/// else. DCMTK's own element takes a copy, which costs fresh memory as large as the image.
///
/// Serves native samples on machines whose byte order is the file's, little endian.
class ZrDcmCallersSamples : public DcmOtherByteOtherWord {
public:
  /// @param vr      EVR_OB for samples of 8 bits, EVR_OW for those of 16 (PS3.5 section 8)
  /// @param samples must stay as they are until the dataset is written
  /// @param bytes   even, as the length of every value
  ZrDcmCallersSamples(DcmEVR vr, const void* samples, Uint32 bytes);

  /// Whether samples can be written from where they are.
  static bool takes(unsigned long long bytes);

  /// Writes the element in one go; `stream` must be one that takes all bytes or fails.
  OFCondition write(DcmOutputStream& stream, E_TransferSyntax syntax, E_EncodingType encoding,
                    DcmWriteCache* cache) override;

private:
  const void* samples_;
};
