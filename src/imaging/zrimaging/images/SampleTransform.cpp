// SPDX-License-Identifier: BSD-3-Clause
// Stored samples as samples that are shown, by the library's own transform: PS3.5 8.1.1 (Bits Stored,
// High Bit), PS3.3 C.11.1 (Modality LUT).
#include "zrimaging/images/SampleTransform.h"

#include "zrimaging/File.h"

#include <zrdcmexport/ExDicomUtilitiesGlobal.h>
#include <zrdcmexport/ZrNumbers.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <cstdint>
#include <new>
#include <string>

namespace zr {

namespace {

unsigned unsignedAt(DcmItem& item, const DcmTagKey& key, unsigned fallback) {
  const std::string text = textOf(item, key);
  return text.empty() ? fallback : static_cast<unsigned>(std::max(Zrg::intOf(text).value_or(0), 0));
}

KtHandle<ZrDataAccess> wrap(const KtVec3l& extent, KtPrimType type, void* samples) {
  const auto pixel = static_cast<long long>(type.primTypeSize());
  return {new ZrDataAccess(extent, {pixel, pixel * extent.x, pixel * extent.x * extent.y}, samples,
                           type, 1, KtAllocator(0))};
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

SampleTransform::SampleTransform(DcmItem& item, std::size_t bytesPerSample)
    : bytesPerSample_(bytesPerSample) {
  ExDicomUtilities::LUT::dcmDatasetRead(table_, item, false);
  if (table_.entries.isNotNull() && table_.entries->hasData() &&
      table_.entries->primType() == KtPrimType::U8 && bytesPerSample == 2) {
    widen(table_);
  }
  const auto bits = static_cast<unsigned>(8 * bytesPerSample);
  signed_ = unsignedAt(item, DCM_PixelRepresentation, 0) == 1;
  bitsStored_ = std::min(unsignedAt(item, DCM_BitsStored, 0), bits);
  highBit_ = std::min(unsignedAt(item, DCM_HighBit, bits - 1), bits - 1);
  // What becomes of one sample tells type and offset of all.
  std::uint16_t sample = 0;
  KtHandle<ZrDataAccess> target;
  offset_ = transform(source({1, 1, 1}, &sample), target, false);
  type_ = target->primType() == KtPrimType::U8 ? SampleType::kU8 : SampleType::kU16;
}

void SampleTransform::apply(const KtVec3l& extent, void* samples) const {
  KtHandle<ZrDataAccess> none;
  (void)transform(source(extent, samples), none, true);  // the offset is known
}

void SampleTransform::apply(const KtVec3l& extent, void* samples, void* target) const {
  KtHandle<ZrDataAccess> results =
      wrap(extent, type_ == SampleType::kU8 ? KtPrimType::U8 : KtPrimType::U16, target);
  (void)transform(source(extent, samples), results, false);
}

KtHandle<ZrDataAccess> SampleTransform::source(const KtVec3l& extent, void* samples) const {
  const KtPrimType narrow = signed_ ? KtPrimType::S8 : KtPrimType::U8;
  const KtPrimType wide = signed_ ? KtPrimType::S16 : KtPrimType::U16;
  return wrap(extent, bytesPerSample_ == 1 ? narrow : wide, samples);
}

int SampleTransform::transform(const KtHandle<ZrDataAccess>& source, KtHandle<ZrDataAccess>& target,
                               bool inPlace) const {
  int offset = 0;
  const KtResult result = ExDicomUtilities::extractSample_applyLUT_makeUnsigned(
      source, target, offset, table_, inPlace, bitsStored_, highBit_);
  // Samples and tables that it refuses are none that come here: only memory can be missing.
  if (result.isBad() || (!inPlace && (target.isNull() || !target->hasData()))) {
    throw std::bad_alloc();
  }
  return offset;
}

}  // namespace zr
