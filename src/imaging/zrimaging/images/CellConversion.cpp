// SPDX-License-Identifier: BSD-3-Clause
// The conversions that the slice decoder leaves out, done with the library's own transform.
#include "zrimaging/images/CellConversion.h"

#include "zrimaging/File.h"

#include <zrdcmexport/ExDicomUtilitiesGlobal.h>
#include <zrdcmexport/ZrNumbers.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <new>
#include <string>

namespace zr {

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

CellConversion::CellConversion(DcmItem& item) {
  const unsigned bitsAllocated = numberOf(item, DCM_BitsAllocated, 0);
  if (bitsAllocated == 0 || bitsAllocated > 16) {
    return;  // samples that the transform does not know
  }
  const unsigned bytesPerSample = (bitsAllocated + 7) / 8;
  ExDicomUtilities::LUT::dcmDatasetRead(table_, item, false);
  if (table_.entries.isNotNull() && table_.entries->hasData()) {
    tableDiffersInWidth_ = table_.entries->primType().primTypeSize() != bytesPerSample;
    if (tableDiffersInWidth_ && table_.entries->primType() == KtPrimType::U8) {
      widen(table_);
    }
  }
  signed_ = numberOf(item, DCM_PixelRepresentation, 0) == 1;
  bitsStored_ = std::min(numberOf(item, DCM_BitsStored, 0), 8 * bytesPerSample);
  highBit_ = std::min(numberOf(item, DCM_HighBit, 8 * bytesPerSample - 1), 8 * bytesPerSample - 1);
  // Without a High Bit nothing says that the bits stand anywhere but where they should.
  leftAligned_ = bitsStored_ > 0 && highBit_ >= bitsStored_ && !textOf(item, DCM_HighBit).empty();
}

CellConversion::Converted CellConversion::convert(char* samples, const KtVec3l& extent,
                                                  unsigned bytesPerSample) const {
  const KtPrimType narrow = signed_ ? KtPrimType::S8 : KtPrimType::U8;
  const KtPrimType wide = signed_ ? KtPrimType::S16 : KtPrimType::U16;
  const long long pixelBytes = bytesPerSample;
  const KtVec3l strides{pixelBytes, pixelBytes * extent.x, pixelBytes * extent.x * extent.y};
  const KtHandle<ZrDataAccess> source(new ZrDataAccess(
      extent, strides, samples, bytesPerSample == 1 ? narrow : wide, 1, KtAllocator(0)));
  Converted converted;
  const KtResult result = ExDicomUtilities::extractSample_applyLUT_makeUnsigned(
      source, converted.samples, converted.offset, table_, false, bitsStored_, highBit_);
  // Samples and tables that it refuses are none that the constructor takes: only memory can be missing.
  if (result.isBad() || converted.samples.isNull() || !converted.samples->hasData()) {
    throw std::bad_alloc();
  }
  return converted;
}

}  // namespace zr
