// SPDX-License-Identifier: BSD-3-Clause
#include "zrimaging/files/ScannedReading.h"

#include "zrimaging/files/NestingGuard.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <memory>

namespace zr {

namespace {

/// Reads the dataset in a transfer syntax that is not the one of the meta information.
OFCondition readInSyntax(DcmFileFormat& format, DcmInputStream& stream, E_TransferSyntax syntax) {
  DcmMetaInfo& meta = *format.getMetaInfo();
  const OFCondition status = meta.read(stream, EXS_Unknown);
  return meta.transferState() == ERW_ready ? format.getDataset()->read(stream, syntax) : status;
}

/// Whether an element was not read to its end. A large value that is left in the file counts as
/// read for DCMTK, though it ends beyond the file.
bool isUnfinished(DcmElement& element, const HeaderScan& headers) {
  const auto& overlong = headers.overlongElement;
  return element.transferState() != ERW_ready || (overlong && element.getTag() == overlong->first &&
                                                  element.getLengthField() == overlong->second);
}

void removeUnfinished(DcmDataset& dataset, const HeaderScan& headers) {
  for (unsigned long i = dataset.card(); i > 0; --i) {
    if (isUnfinished(*dataset.getElement(i - 1), headers)) {
      const std::unique_ptr<DcmElement> removed(dataset.remove(i - 1));
    }
  }
}

}  // namespace

Reading readAsScanned(DcmFileFormat& format, DcmInputStream& stream, const HeaderScan& headers) {
  Reading reading;
  format.transferInit();
  format.getMetaInfo()->transferInit();
  format.getDataset()->transferInit();
  reading.status = headers.actualSyntax ? readInSyntax(format, stream, *headers.actualSyntax)
                                        : format.read(stream, EXS_Unknown);
  if (reading.status.bad() && reading.status != EC_MemoryExhausted && headers.hasWholePixelData) {
    removeUnfinished(*format.getDataset(), headers);
    reading.leftOutTheRest = format.getDataset()->tagExists(DCM_PixelData) == OFTrue;
  }
  format.transferEnd();
  if (reading.leftOutTheRest) {
    reading.status = EC_Normal;
  }
  return reading;
}

}  // namespace zr
