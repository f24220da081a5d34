// SPDX-License-Identifier: BSD-3-Clause
// The one conversion that the slice decoder leaves out, done with the library's own transform.
#include "ModalityTable.h"

#include "DicomFile.h"

#include <zrdcmexport/ExDicomUtilitiesGlobal.h>
#include <zrdcmexport/ZrNumbers.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <new>
#include <string>

namespace zrdcm {

namespace {

unsigned numberOf(DcmItem& item, const DcmTagKey& key, unsigned fallback) {
  const std::string text = textOf(item, key);
  return text.empty() ? fallback : static_cast<unsigned>(std::max(Zrg::intOf(text).value_or(0), 0));
}

// The transform knows every source with a table of 16 bits, not so with one of 8.
void widen(ExDicomUtilities::LUT& table) {
  const auto* values = static_cast<const unsigned char*>(table.entries->dataPtr(0));
  const auto count = static_cast<std::size_t>(table.entries->dims().x) * table.entries->nDataVar();
  KtDArray<unsigned short> wide;
  for (std::size_t i = 0; i < count; ++i) {
    wide.append(values[i]);
  }
  table.set({}, wide, table.entries->nDataVar(), table.firstMapped, true);
}

}  // namespace

ModalityTable::ModalityTable(DcmItem& item) {
  ExDicomUtilities::LUT::dcmDatasetRead(table_, item, false);
  const unsigned bitsAllocated = numberOf(item, DCM_BitsAllocated, 0);
  if (table_.entries.isNull() || !table_.entries->hasData() || bitsAllocated > 16) {
    return;
  }
  const unsigned bytesPerSample = (bitsAllocated + 7) / 8;
  differs_ = table_.entries->primType().primTypeSize() != bytesPerSample;
  if (differs_ && table_.entries->primType() == KtPrimType::U8) {
    widen(table_);
  }
  signed_ = numberOf(item, DCM_PixelRepresentation, 0) == 1;
  bitsStored_ = std::min(numberOf(item, DCM_BitsStored, 0), 8 * bytesPerSample);
  highBit_ = numberOf(item, DCM_HighBit, 8 * bytesPerSample - 1);
  if (highBit_ >= bitsStored_ && bitsStored_ > 0 && item.tagExists(DCM_HighBit)) {
    highBit_ = bitsStored_ - 1;
  }
}

KtHandle<ZrDataAccess> ModalityTable::convert(char* samples, const KtVec3l& extent,
                                              unsigned bytesPerSample) const {
  const KtPrimType narrow = signed_ ? KtPrimType::S8 : KtPrimType::U8;
  const KtPrimType wide = signed_ ? KtPrimType::S16 : KtPrimType::U16;
  const long long pixelBytes = bytesPerSample;
  const KtVec3l strides{pixelBytes, pixelBytes * extent.x, pixelBytes * extent.x * extent.y};
  const KtHandle<ZrDataAccess> source(new ZrDataAccess(
      extent, strides, samples, bytesPerSample == 1 ? narrow : wide, 1, KtAllocator(0)));
  KtHandle<ZrDataAccess> target;
  int offset = 0;
  const KtResult converted = ExDicomUtilities::extractSample_applyLUT_makeUnsigned(
      source, target, offset, table_, false, bitsStored_, highBit_);
  // Samples and tables that it refuses are none that the constructor takes: only memory can be missing.
  if (converted.isBad() || target.isNull() || !target->hasData()) {
    throw std::bad_alloc();
  }
  return target;
}

}  // namespace zrdcm
