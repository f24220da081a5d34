// SPDX-License-Identifier: BSD-3-Clause
// The sample transform around its loops: checks, choice of the target array, walk over frames.
//
// Frames without gaps are one run of samples, all together or one each. Rows without gaps are one
// run each. Where the pixels themselves stand apart (mirrored or interleaved views, misaligned
// memory, the first value of several), a few hundred of them are gathered into a buffer, converted
// there and put back.

#include "samples/Domain.h"
#include "samples/InternalCheck.h"
#include "samples/Kernels.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

namespace ExDicomUtilities {
namespace {

using detail::SampleConversion;

constexpr int kOwningAllocator = 1;
constexpr long long kStagedPixels = 512;

bool hasTable(const LUT& lut) {
  return lut.entries.isNotNull() && lut.entries->hasData();
}

KtPrimType unsignedForm(KtPrimType type) {
  switch (type.code()) {
    case KtPrimType::S8:
      return KtPrimType::U8;
    case KtPrimType::S16:
      return KtPrimType::U16;
    case KtPrimType::S32:
      return KtPrimType::U32;
    default:
      return type;
  }
}

// What the results look like.
struct TargetForm {
  KtPrimType type;
  unsigned nDataVar;
};

TargetForm targetFormOf(const ZrDataAccess& source, const LUT& lut) {
  const ZrDataAccess& model = hasTable(lut) ? *lut.entries : source;
  return {unsignedForm(model.primType()), model.nDataVar()};
}

// ---- choice of the target ----------------------------------------------------------------------

bool canReuse(const KtHandle<ZrDataAccess>& target, const ZrDataAccess& source,
              const TargetForm& form) {
  return target.isNotNull() && target->nDataVar() == form.nDataVar &&
         target->primType() == form.type && target->dims() == source.dims() &&
         (target->hasData() || !source.hasData());
}

// The array that receives the results; null when there is none to be had.
KtHandle<ZrDataAccess> chooseTarget(const KtHandle<ZrDataAccess>& source,
                                    KtHandle<ZrDataAccess>& target, const TargetForm& form,
                                    bool allowInPlace) {
  const bool isSource = target == source;
  const bool inPlace = allowInPlace && (target.isNull() || isSource) &&
                       source->nDataVar() == form.nDataVar &&
                       source->primType().primTypeSize() == form.type.primTypeSize();
  if (inPlace) {
    return source;
  }
  if (isSource) {
    return {};
  }
  if (!canReuse(target, *source, form)) {
    target =
        new ZrDataAccess(source->dims(), form.type, form.nDataVar, KtAllocator(kOwningAllocator));
    if (failsInternally(target->hasData(), "outTargetData->hasData()",
                        CheckSource::kSampleTransform)) {
      return {};
    }
  }
  return target;
}

// ---- walk over the samples ---------------------------------------------------------------------

// The rows of one array as the loops see them: pixels of `pixelBytes` bytes.
struct View {
  std::size_t valueBytes;
  long long pixelBytes;
  KtVec3l dims;
  KtVec3l strides;

  View(const ZrDataAccess& array, KtPrimType type, unsigned valuesPerPixel)
      : valueBytes(type.primTypeSize()),
        pixelBytes(static_cast<long long>(valueBytes) * valuesPerPixel),
        dims(array.dims()),
        strides(array.strides()) {}

  bool isAligned(const void* data) const {
    return reinterpret_cast<std::uintptr_t>(data) % valueBytes == 0;
  }
  bool rowIsSolid(const void* row) const {
    return (dims.x == 1 || strides.x == pixelBytes) && isAligned(row);
  }
  bool frameIsSolid(const void* frame) const {
    return rowIsSolid(frame) && (dims.y == 1 || strides.y == pixelBytes * dims.x);
  }
  bool framesAreSolid(const void* firstFrame) const {
    return frameIsSolid(firstFrame) && (dims.z == 1 || strides.z == pixelBytes * dims.x * dims.y);
  }
};

// Samples that a conversion will see; 0 when there is no memory to see.
long long samplesIn(const ZrDataAccess& source, unsigned valuesPerPixel) {
  const KtVec3l& dims = source.dims();
  return source.hasData() ? dims.x * dims.y * dims.z * valuesPerPixel : 0;
}

// Converts the pixels of all frames of `source` into `target`, which may be the same array.
class PixelConverter {
public:
  PixelConverter(const SampleConversion& conversion, ZrDataAccess& source, ZrDataAccess& target)
      : conversion_(conversion),
        source_(source),
        target_(target),
        valuesPerPixel_(conversion.table.valuesPerEntry == 0 ? source.nDataVar() : 1),
        domain_(conversion, samplesIn(source, valuesPerPixel_)),
        from_(source, conversion.source, valuesPerPixel_),
        to_(target, conversion.target, target.nDataVar()) {}

  void convertFrames() {
    const auto* const from = static_cast<const unsigned char*>(source_.dataPtr(0));
    auto* const to = static_cast<unsigned char*>(target_.dataPtr(0));
    if (from == nullptr || to == nullptr) {
      return;
    }
    if (from_.framesAreSolid(from) && to_.framesAreSolid(to)) {
      convertPixels(from, to, from_.dims.x * from_.dims.y * from_.dims.z);
      return;
    }
    for (long long z = 0; z < from_.dims.z; ++z) {
      convertFrame(from + z * from_.strides.z, to + z * to_.strides.z);
    }
  }

private:
  void convertFrame(const unsigned char* from, unsigned char* to) {
    if (from_.frameIsSolid(from) && to_.frameIsSolid(to)) {
      convertPixels(from, to, from_.dims.x * from_.dims.y);
      return;
    }
    for (long long y = 0; y < from_.dims.y; ++y) {
      convertRow(from + y * from_.strides.y, to + y * to_.strides.y);
    }
  }

  void convertPixels(const unsigned char* from, unsigned char* to, long long pixels) const {
    const long long samples = pixels * valuesPerPixel_;
    if (domain_.isEmpty()) {
      detail::convertRun(conversion_, from, to, samples);
    } else {
      domain_.convertRun(from, to, samples);
    }
  }

  void convertRow(const unsigned char* from, unsigned char* to) {
    if (from_.rowIsSolid(from) && to_.rowIsSolid(to)) {
      convertPixels(from, to, from_.dims.x);
      return;
    }
    for (long long x = 0; x < from_.dims.x; x += kStagedPixels) {
      const long long pixels = std::min(kStagedPixels, from_.dims.x - x);
      convertStaged(from + x * from_.strides.x, to + x * to_.strides.x, pixels);
    }
  }

  void convertStaged(const unsigned char* from, unsigned char* to, long long pixels) {
    gathered_.resize(static_cast<std::size_t>(kStagedPixels * from_.pixelBytes));
    converted_.resize(static_cast<std::size_t>(kStagedPixels * to_.pixelBytes));
    for (long long x = 0; x < pixels; ++x) {
      std::memcpy(gathered_.data() + x * from_.pixelBytes, from + x * from_.strides.x,
                  static_cast<std::size_t>(from_.pixelBytes));
    }
    convertPixels(gathered_.data(), converted_.data(), pixels);
    for (long long x = 0; x < pixels; ++x) {
      std::memcpy(to + x * to_.strides.x, converted_.data() + x * to_.pixelBytes,
                  static_cast<std::size_t>(to_.pixelBytes));
    }
  }

  const SampleConversion& conversion_;
  ZrDataAccess& source_;
  ZrDataAccess& target_;
  unsigned valuesPerPixel_;
  detail::DomainTable domain_;
  View from_;
  View to_;
  std::vector<unsigned char> gathered_;
  std::vector<unsigned char> converted_;
};

// The entries side by side; `repacked` keeps them alive where they had to be copied.
detail::LookupTable lookupTableOf(const LUT& lut, KtHandle<ZrDataAccess>& repacked) {
  if (!hasTable(lut)) {
    return {};
  }
  const ZrDataAccess& entries = *lut.entries;
  const View view(entries, entries.primType(), entries.nDataVar());
  repacked = lut.entries;
  if (!view.rowIsSolid(entries.dataPtr(0))) {
    entries.clone(repacked, KtAllocator(kOwningAllocator));
  }
  constexpr long long kMostEntries = std::numeric_limits<int>::max();
  return {static_cast<const ZrDataAccess&>(*repacked).dataPtr(0),
          static_cast<int>(std::min(entries.dims().x, kMostEntries)), entries.nDataVar(),
          lut.firstMapped};
}

}  // namespace

KtResult extractSample_applyLUT_makeUnsigned(const KtHandle<ZrDataAccess>& inoutSourceData,
                                             KtHandle<ZrDataAccess>& outTargetData, int& offset,
                                             const LUT& lut, bool allowInPlace, unsigned bitsStored,
                                             unsigned highBit) {
  offset = 0;
  if (failsInternally(inoutSourceData.isNotNull(), "inoutSourceData.isNotNull()",
                      CheckSource::kSampleTransform) ||
      failsInternally(inoutSourceData->primType().isInteger(),
                      "inoutSourceData->primType().isInteger()", CheckSource::kSampleTransform)) {
    return KtResult::makeBad(1);
  }
  const KtHandle<ZrDataAccess>& source = inoutSourceData;
  const TargetForm form = targetFormOf(*source, lut);
  const KtHandle<ZrDataAccess> target = chooseTarget(source, outTargetData, form, allowInPlace);
  if (target.isNull()) {
    return KtResult::makeBad(1);
  }

  KtHandle<ZrDataAccess> entries;
  SampleConversion conversion;
  conversion.source = source->primType();
  conversion.target = form.type;
  conversion.bits = detail::StoredBits::of(source->primType(), bitsStored, highBit);
  conversion.table = lookupTableOf(lut, entries);
  if (entries.isNotNull() && failsInternally(conversion.table.values != nullptr,
                                             "entries->hasData()", CheckSource::kSampleTransform)) {
    return KtResult::makeBad(1);
  }

  // Deliberate: what cannot be converted stays as it is and is relabelled all the same.
  // Test: SampleTransform.RelabelsWhatItCannotConvert
  const long long frames = source->dims().z;
  if (detail::isConvertible(conversion)) {
    PixelConverter(conversion, *source, *target).convertFrames();
    offset = frames > 0 ? detail::signOffset(conversion) : 0;
  }
  target->setPrimType(form.type);
  return {};
}

}  // namespace ExDicomUtilities
