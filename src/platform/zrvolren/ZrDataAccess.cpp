// SPDX-License-Identifier: BSD-3-Clause
// Sample containers. Sizes are multiplied in 64 bits with overflow checks, because dimensions come
// from files; whoever passes these checks may add up addresses freely, since the memory exists.
// ZrSampleRuns.h walks over the samples.

#include <zrvolren/ZrDataAccess.h>
#include <zrvolren/ZrSampleRuns.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

// Fits, since no type is larger than 8 bytes and the count has 32 bits.
unsigned long long bytesOfPixel(KtPrimType type, unsigned nDataVar) {
  return 1ULL * type.primTypeSize() * nDataVar;
}

// Bytes of all samples; 0 when a factor is below 1 or the product does not fit.
unsigned long long bytesOfAllSamples(const KtVec3l& dims, KtPrimType type, unsigned nDataVar) {
  unsigned long long bytes = bytesOfPixel(type, nDataVar);
  for (const long long extent : {dims.x, dims.y, dims.z}) {
    if (extent < 1 ||
        __builtin_mul_overflow(bytes, static_cast<unsigned long long>(extent), &bytes)) {
      return 0;
    }
  }
  return bytes;
}

// Addresses inside a block are differences of pointers, which are signed.
bool isAddressable(unsigned long long bytes) {
  return bytes > 0 &&
         bytes <= static_cast<unsigned long long>(std::numeric_limits<std::ptrdiff_t>::max());
}

KtVec3l contiguousStrides(const KtVec3l& dims, KtPrimType type, unsigned nDataVar) {
  if (!isAddressable(bytesOfAllSamples(dims, type, nDataVar))) {
    return {};
  }
  const auto pixel = static_cast<long long>(bytesOfPixel(type, nDataVar));
  return {pixel, pixel * dims.x, pixel * dims.x * dims.y};
}

}  // namespace

ZrDataAccess::ZrDataAccess(const KtVec3l& dims, const KtVec3l& strides, void* data, KtPrimType type,
                           unsigned nDataVar, const KtAllocator& /*allocator*/)
    : dims_(dims),
      strides_(strides),
      type_(type),
      nDataVar_(nDataVar),
      data_(static_cast<unsigned char*>(data)) {}

ZrDataAccess::ZrDataAccess(const KtVec3l& dims, KtPrimType type, unsigned nDataVar,
                           const KtAllocator& allocator)
    : dims_(dims),
      strides_(contiguousStrides(dims, type, nDataVar)),
      type_(type),
      nDataVar_(nDataVar) {
  const unsigned long long bytes = size();
  if (!allocator.isOwning() || !isAddressable(bytes)) {
    return;
  }
  // calloc: answers null instead of throwing, and no stale memory shows through.
  data_ = static_cast<unsigned char*>(std::calloc(static_cast<std::size_t>(bytes), 1));
  ownedBytes_ = data_ == nullptr ? 0 : bytes;
}

ZrDataAccess::~ZrDataAccess() {
  if (ownedBytes_ > 0) {
    std::free(data_);
  }
}

const void* ZrDataAccess::dataPtr(long long z) const {
  if (z < 0 || z >= dims_.z || !hasData()) {
    return nullptr;
  }
  return data_ + z * strides_.z;
}

void* ZrDataAccess::dataPtr(long long z) {
  return const_cast<void*>(static_cast<const ZrDataAccess*>(this)->dataPtr(z));
}

bool ZrDataAccess::hasData() const {
  const unsigned long long bytes = size();
  const bool outgrown = ownedBytes_ > 0 && bytes > ownedBytes_;  // relabelled to a larger type
  return data_ != nullptr && bytes > 0 && !outgrown;
}

unsigned long long ZrDataAccess::size() const {
  return bytesOfAllSamples(dims_, type_, nDataVar_);
}

void ZrDataAccess::setPrimType(KtPrimType type) {
  type_ = type;
}

void ZrDataAccess::clone(KtHandle<ZrDataAccess>& copy, const KtAllocator& allocator) const {
  if (!hasData()) {
    copy = KtHandle<ZrDataAccess>(
        new ZrDataAccess(dims_, strides_, nullptr, type_, nDataVar_, allocator));
    return;
  }
  KtHandle<ZrDataAccess> repacked(new ZrDataAccess(dims_, type_, nDataVar_, allocator));
  if (repacked->hasData()) {
    unsigned char* target = repacked->data_;
    visitSampleRuns(*this, [&target](const unsigned char* samples, std::size_t bytes) {
      std::memcpy(target, samples, bytes);
      target += bytes;
    });
  }
  // Last, because the handle may be all that keeps this object alive.
  copy = repacked;
}

KtLib::MD5 ZrDataAccess::hash() const {
  KtLib::MD5Coder coder;
  coder.crcMD5Init();
  coder.crcMD5Update(static_cast<int>(type_.code()));
  for (const long long extent : {dims_.x, dims_.y, dims_.z}) {
    coder.crcMD5Update(&extent, sizeof extent);
  }
  coder.crcMD5Update(&nDataVar_, sizeof nDataVar_);
  visitSampleRuns(*this, [&coder](const unsigned char* samples, std::size_t bytes) {
    coder.crcMD5Update(samples, bytes);
  });
  coder.crcMD5Final();
  KtLib::MD5 digest;
  coder.crcMD5Query(digest);
  return digest;
}
