// SPDX-License-Identifier: BSD-3-Clause
// The value type: life cycle, fingerprint, filling and streaming. Reading from and writing to
// datasets and the application to samples stand in files of their own.

#include <zrdcmexport/ExDicomUtilitiesLUT.h>
#include <zrvolren/ZrMsg.h>

#include <cstddef>
#include <cstring>
#include <memory>

namespace ExDicomUtilities {
namespace {

const KtAllocator kOwning(1);

bool isOneOrThree(unsigned nDataVar) {
  return nDataVar == 1 || nDataVar == 3;
}

// A container of `entryCount` entries that holds the first values of an array.
KtHandle<ZrDataAccess> makeEntries(long long entryCount, KtPrimType type, unsigned nComponents,
                                   const void* values) {
  KtHandle<ZrDataAccess> entries(
      new ZrDataAccess(KtVec3l(entryCount, 1, 1), type, nComponents, kOwning));
  if (entries->hasData()) {
    std::memcpy(entries->dataPtr(0), values, static_cast<std::size_t>(entries->size()));
  }
  return entries;
}

}  // namespace

LUT::LUT(const LUT* other) {
  if (other != nullptr) {
    *this = *other;
  }
}

LUT::LUT(const LUT& other) : LUT(&other) {}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): the copy is complete before the own entries go
LUT& LUT::operator=(const LUT& other) {
  const int otherFirstMapped = other.firstMapped;
  KtHandle<ZrDataAccess> copiedEntries;
  if (other.entries.isNotNull()) {
    other.entries->clone(copiedEntries, kOwning);
  }
  clear();
  firstMapped = otherFirstMapped;
  entries = copiedEntries;
  return *this;
}

void LUT::clear() {
  firstMapped = 0;
  entries.reset();
  hashCache = KtLib::MD5();
}

bool LUT::isValid(int nComponents) const {
  const KtLib::MD5 fingerprint = hash();
  if (fingerprint.isZero()) {
    return false;
  }
  const bool isEmptyFingerprint = fingerprint == hashOfEmptyLUT();
  if (entries.isNull()) {
    return isEmptyFingerprint;
  }
  if (isEmptyFingerprint || !entries->hasData() || !isOneOrThree(entries->nDataVar())) {
    return false;
  }
  if (nComponents != -1 && static_cast<long long>(entries->nDataVar()) != nComponents) {
    return false;
  }
  return entries->dims().y == 1 && entries->dims().z == 1;
}

KtLib::MD5 LUT::hash() const {
  if (!hashCache.isZero()) {
    return hashCache;
  }
  KtLib::MD5Coder coder;
  coder.crcMD5Init();
  if (entries.isNotNull()) {
    coder.crcMD5Update(firstMapped);
    coder.crcMD5Update(entries->hash());
  }
  coder.crcMD5Final();
  coder.crcMD5Query(hashCache);
  return hashCache;
}

KtLib::MD5 LUT::hashOfEmptyLUT() {
  return KtLib::MD5::hashOfEmptyMessage();
}

void LUT::set(const KtDArray<unsigned char>& data8, const KtDArray<unsigned short>& data16,
              unsigned nComponents, int firstMappedValue, bool prefer16) {
  // Kept beside, because the arrays may be filled from this very table.
  const bool use8 = !data8.empty() && (!prefer16 || data16.empty());
  const std::size_t valueCount = use8 ? data8.size() : data16.size();
  clear();
  if (nComponents == 0 || valueCount == 0) {
    return;
  }
  const long long entryCount = static_cast<long long>(valueCount) / nComponents;
  const KtHandle<ZrDataAccess> filled =
      use8 ? makeEntries(entryCount, KtPrimType::U8, nComponents, data8.data())
           : makeEntries(entryCount, KtPrimType::U16, nComponents, data16.data());
  if (filled->hasData()) {
    firstMapped = firstMappedValue;
    entries = filled;
  }
}

void LUT::convertU161616ToU888() {
  if (entries.isNull() || entries->primType() != KtPrimType::U16 || entries->nDataVar() != 3) {
    return;
  }
  // A clone lies side by side in memory, whatever the strides of the entries.
  KtHandle<ZrDataAccess> wide;
  entries->clone(wide, kOwning);
  const KtHandle<ZrDataAccess> narrow(
      new ZrDataAccess(entries->dims(), KtPrimType::U8, 3, kOwning));
  if (!wide->hasData() || !narrow->hasData()) {
    return;
  }
  const auto* const from = static_cast<const unsigned short*>(wide->dataPtr(0));
  auto* const to = static_cast<unsigned char*>(narrow->dataPtr(0));
  const long long valueCount = 3 * entries->dims().x;
  for (long long i = 0; i < valueCount; ++i) {
    to[i] = static_cast<unsigned char>(from[i] >> 8);
  }
  // Deliberate: the fingerprint stays, so that the narrowed table still answers for the table that
  // it was made of. Test: LutNarrowing.KeepsTheFingerprintOfTheWideTable
  entries = narrow;
}

ZrMsg& operator<<(ZrMsg& message, const LUT& lut) {
  return message << lut.firstMapped << static_cast<const ZrDataAccess*>(lut.entries.ptr());
}

ZrMsg& operator>>(ZrMsg& message, LUT& lut) {
  lut.clear();
  ZrDataAccess* received = nullptr;
  message >> lut.firstMapped >> received;
  lut.entries = received;
  return message;
}

}  // namespace ExDicomUtilities
