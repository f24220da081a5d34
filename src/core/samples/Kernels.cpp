// SPDX-License-Identifier: BSD-3-Clause
// Loops over samples, written so that the compiler turns them into vector code: one branch-free
// expression per sample, and shift counts that are constants of the loop.
//
// Isolating the stored bits is two shifts, left to drop the bits above and right to drop those
// below. Both together are one shift by their difference and an AND with the bits that can be left,
// and the sign of a signed field comes back through XOR and addition:
//
//     result = ((netShift(x) & keep) ^ sign) + add
//
// which also makes signed samples unsigned (by another `add`). There is one loop per net shift
// instead of one per pair of counts, and the usual case of left-over high bits needs no shift.

#include "samples/Kernels.h"

#include <zrvolren/ZrSSETools.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <functional>
#include <limits>
#include <type_traits>
#include <utility>

namespace ExDicomUtilities::detail {
namespace {

// Samples that are worked on at a time where a second pass follows: they stay in the first cache.
constexpr long long kBlock = 4096;

template <class T>
constexpr unsigned kWidth = 8 * sizeof(T);

// ---- isolating the stored bits -----------------------------------------------------------------

// The terms of `((netShift(x) & keep) ^ sign) + add`, all modulo the width of T.
template <class T>
struct Isolation {
  int netShift = 0;  // to the left when positive
  T keep = std::numeric_limits<T>::max();
  T sign = 0;
  T add = 0;
};

template <class T>
Isolation<T> isolationOf(const StoredBits& bits, bool isSigned, unsigned offset) {
  static_assert(std::is_unsigned_v<T> && kWidth<T> <= 16, "the arithmetic is done in 32 bits");
  Isolation<T> isolation;
  isolation.netShift = static_cast<int>(bits.leftShift) - static_cast<int>(bits.rightShift);
  const auto fieldAtTop = static_cast<T>(unsigned{isolation.keep} << bits.leftShift);
  isolation.keep = static_cast<T>(unsigned{fieldAtTop} >> bits.rightShift);
  if (isSigned) {
    isolation.sign = static_cast<T>((1U << (kWidth<T> - 1)) >> bits.rightShift);
  }
  isolation.add = static_cast<T>(offset - isolation.sign);
  return isolation;
}

template <int kNetShift, class T>
T netShifted(T sample) {
  if constexpr (kNetShift >= 0) {
    return static_cast<T>(sample << kNetShift);
  } else {
    return static_cast<T>(sample >> -kNetShift);
  }
}

template <int kNetShift, class T>
void isolateWith(const Isolation<T>& isolation, T* samples, long long count) {
  const auto [netShift, keep, sign, add] = isolation;
  for (long long i = 0; i < count; ++i) {
    const auto field = static_cast<T>(netShifted<kNetShift>(samples[i]) & keep);
    samples[i] = static_cast<T>(static_cast<T>(field ^ sign) + add);
  }
}

// Picks the loop whose constant is the net shift: one of -(width - 1) ... width - 1.
template <class T, int... kIndices>
void isolate(const Isolation<T>& isolation, T* samples, long long count,
             std::integer_sequence<int, kIndices...> /*indices*/) {
  using Loop = void (*)(const Isolation<T>&, T*, long long);
  constexpr int kMostRight = static_cast<int>(kWidth<T>) - 1;
  static constexpr std::array<Loop, sizeof...(kIndices)> kLoops = {
      &isolateWith<kIndices - kMostRight, T>...};
  const int loop = isolation.netShift + kMostRight;
  kLoops[static_cast<std::size_t>(loop)](isolation, samples, count);
}

template <class T>
void isolate(const Isolation<T>& isolation, T* samples, long long count) {
  isolate(isolation, samples, count,
          std::make_integer_sequence<int, 2 * static_cast<int>(kWidth<T>) - 1>());
}

// Isolates in place, by mask or by shifts, and adds `offset`.
template <class Src>
void isolateInPlace(const StoredBits& bits, unsigned offset, Src* samples, long long count) {
  using Container = std::make_unsigned_t<Src>;
  auto* const containers = reinterpret_cast<Container*>(samples);  // same type but for the sign
  if (bits.masks) {
    ZrSSETools::maskUnaligned<std::bit_and, Container>(containers, count,
                                                       static_cast<Container>(bits.mask));
  } else if (bits.shifts() || offset != 0) {
    isolate(isolationOf<Container>(bits, std::is_signed_v<Src>, offset), containers, count);
  }
}

template <class Src>
void copyBlock(const Src* source, Src* target, long long count) {
  std::memcpy(target, source, static_cast<std::size_t>(count) * sizeof(Src));
}

// Copies block by block, so that each block is still in the cache when it is worked on.
template <class Src>
void isolateInto(const StoredBits& bits, unsigned offset, const Src* source, Src* target,
                 long long count) {
  for (long long done = 0; done < count; done += kBlock) {
    const long long blockCount = std::min(kBlock, count - done);
    if (source != target) {
      copyBlock(source + done, target + done, blockCount);
    }
    isolateInPlace(bits, offset, target + done, blockCount);
  }
}

// ---- looking up --------------------------------------------------------------------------------

// The entry of an input. The difference wraps in 32 bits, whatever first value a file names.
inline std::size_t entryNumber(int value, int firstMapped, int lastEntry) {
  const int index =
      static_cast<int>(static_cast<unsigned>(value) - static_cast<unsigned>(firstMapped));
  return static_cast<std::size_t>(std::max(std::min(index, lastEntry), 0));
}

template <int kValuesPerEntry, class Dst>
void putEntry(const Dst* values, std::size_t entry, Dst* target, long long sample) {
  for (int i = 0; i < kValuesPerEntry; ++i) {
    target[kValuesPerEntry * sample + i] =
        values[static_cast<std::size_t>(kValuesPerEntry) * entry + static_cast<std::size_t>(i)];
  }
}

template <int kValuesPerEntry, class Src, class Dst>
void lookUp(const LookupTable& table, const Src* source, Dst* target, long long count) {
  const auto* const values = static_cast<const Dst*>(table.values);
  const int firstMapped = table.firstMapped;
  const int lastEntry = table.entries - 1;
  for (long long i = 0; i < count; ++i) {
    putEntry<kValuesPerEntry>(values, entryNumber(source[i], firstMapped, lastEntry), target, i);
  }
}

// Isolates a block beside the samples and looks the block up.
template <int kValuesPerEntry, class Src, class Dst>
void lookUpIsolated(const SampleConversion& conversion, const Src* source, Dst* target,
                    long long count) {
  std::array<Src, static_cast<std::size_t>(kBlock)> isolated;
  for (long long done = 0; done < count; done += kBlock) {
    const long long blockCount = std::min(kBlock, count - done);
    copyBlock(source + done, isolated.data(), blockCount);
    isolateInPlace(conversion.bits, 0, isolated.data(), blockCount);
    lookUp<kValuesPerEntry>(conversion.table, isolated.data(), target + kValuesPerEntry * done,
                            blockCount);
  }
}

// Three values per sample with a shift or a mask. The stores dominate here, so each sample goes the
// whole way at once and the counts need not be constants. `char` means signed 8-bit samples,
// whatever the machine thinks of it.
template <typename Src, typename Dst, int kValuesPerEntry, bool kShift, bool kMask, int kReserved>
void action_T(long long count, const Src* source, Dst* target, unsigned leftShift,
              unsigned rightShift, unsigned mask, const Dst* values, int entries, int firstMapped) {
  static_assert(kValuesPerEntry == 3 && kShift != kMask && kReserved == 0);
  using Container = std::make_unsigned_t<Src>;
  using Value = std::conditional_t<std::is_unsigned_v<Src> && !std::is_same_v<Src, char>, Container,
                                   std::make_signed_t<Src>>;
  for (long long i = 0; i < count; ++i) {
    auto container = static_cast<Container>(source[i]);
    int value = 0;
    if constexpr (kShift) {
      container = static_cast<Container>(unsigned{container} << leftShift);
      value = static_cast<Value>(container) >> rightShift;
    } else {
      value = static_cast<int>(container & mask);
    }
    putEntry<kValuesPerEntry>(values, entryNumber(value, firstMapped, entries - 1), target, i);
  }
}

template <typename Src, typename Dst, bool kShift, bool kMask>
void runAction(const SampleConversion& conversion, const Src* source, Dst* target,
               long long count) {
  const StoredBits& bits = conversion.bits;
  const LookupTable& table = conversion.table;
  action_T<Src, Dst, 3, kShift, kMask, 0>(count, source, target, bits.leftShift, bits.rightShift,
                                          bits.mask, static_cast<const Dst*>(table.values),
                                          table.entries, table.firstMapped);
}

// ---- choosing the loop -------------------------------------------------------------------------

template <class Src, class Dst>
void lookUpThree(const SampleConversion& conversion, const Src* source, Dst* target,
                 long long count) {
  if (!conversion.bits.masks && !conversion.bits.shifts()) {
    lookUp<3>(conversion.table, source, target, count);
    return;
  }
  if constexpr (std::is_unsigned_v<Src>) {
    if (conversion.bits.masks) {
      runAction<Src, Dst, false, true>(conversion, source, target, count);
      return;
    }
  }
  if constexpr (std::is_same_v<Src, unsigned char>) {
    lookUpIsolated<3>(conversion, source, target, count);
  } else if constexpr (std::is_same_v<Src, signed char>) {
    runAction<char, Dst, true, false>(conversion, reinterpret_cast<const char*>(source), target,
                                      count);
  } else {
    runAction<Src, Dst, true, false>(conversion, source, target, count);
  }
}

template <class Src, class Dst>
void convertAs(const SampleConversion& conversion, const void* from, void* to, long long count) {
  const auto* const source = static_cast<const Src*>(from);
  auto* const target = static_cast<Dst*>(to);
  const bool isolates = conversion.bits.masks || conversion.bits.shifts();
  if (conversion.table.valuesPerEntry == 3) {
    lookUpThree(conversion, source, target, count);
  } else if (conversion.table.valuesPerEntry == 1 && isolates) {
    lookUpIsolated<1>(conversion, source, target, count);
  } else if (conversion.table.valuesPerEntry == 1) {
    lookUp<1>(conversion.table, source, target, count);
  } else if constexpr (sizeof(Src) == sizeof(Dst)) {
    const auto offset = static_cast<unsigned>(signOffset(conversion));
    isolateInto(conversion.bits, offset, source, reinterpret_cast<Src*>(target), count);
  }
}

using Run = void (*)(const SampleConversion&, const void*, void*, long long);

// The loop of a pair of types; null for pairs that are not converted.
Run runOf(KtPrimType source, KtPrimType target) {
  const bool toBytes = target == KtPrimType::U8;
  const bool toWords = target == KtPrimType::U16;
  if (source == KtPrimType::U8 && (toBytes || toWords)) {
    return toBytes ? &convertAs<unsigned char, unsigned char>
                   : &convertAs<unsigned char, unsigned short>;
  }
  if (source == KtPrimType::S8 && (toBytes || toWords)) {
    return toBytes ? &convertAs<signed char, unsigned char>
                   : &convertAs<signed char, unsigned short>;
  }
  if (source == KtPrimType::U16 && toWords) {
    return &convertAs<unsigned short, unsigned short>;
  }
  if (source == KtPrimType::S16 && toWords) {
    return &convertAs<short, unsigned short>;
  }
  return nullptr;
}

bool isSigned(KtPrimType type) {
  return type == KtPrimType::S8 || type == KtPrimType::S16 || type == KtPrimType::S32;
}

}  // namespace

StoredBits StoredBits::of(KtPrimType type, unsigned bitsStored, unsigned highBit) {
  const unsigned width = 8 * type.primTypeSize();
  const auto missing = [width](unsigned used) { return width - std::min(used, width); };
  // A High Bit that was computed as Bits Stored - 1 from 0 wraps back to "no bit used" here.
  const unsigned leftShift = missing(highBit + 1);
  const unsigned rightShift = missing(bitsStored);

  StoredBits bits;
  if (leftShift == rightShift && leftShift != 0 && width <= 16 && !isSigned(type)) {
    bits.masks = true;
    bits.mask = ((1U << width) - 1) >> leftShift;
  } else if (leftShift == width || rightShift == width) {
    // No bit is left. Both shifts say so, or a signed sample would still show its sign.
    bits.leftShift = width;
    bits.rightShift = width;
  } else {
    bits.leftShift = leftShift;
    bits.rightShift = rightShift;
  }
  return bits;
}

bool isConvertible(const SampleConversion& conversion) {
  const unsigned values = conversion.table.valuesPerEntry;
  const bool fits =
      values == 1 || values == 3 ||
      (values == 0 && conversion.source.primTypeSize() == conversion.target.primTypeSize());
  return fits && runOf(conversion.source, conversion.target) != nullptr;
}

int signOffset(const SampleConversion& conversion) {
  // Deliberate: the offset follows the width in memory and not Bits Stored, so that one number
  // describes all data of a type. Test: SampleTransform.AddsTheSameToEverySignedWidth
  const bool shifts = conversion.table.valuesPerEntry == 0 && !conversion.keepsSign;
  if (shifts && conversion.source == KtPrimType::S8) {
    return 128;
  }
  return shifts && conversion.source == KtPrimType::S16 ? 32768 : 0;
}

void convertRun(const SampleConversion& conversion, const void* source, void* target,
                long long count) {
  if (count > 0 && isConvertible(conversion)) {
    runOf(conversion.source, conversion.target)(conversion, source, target, count);
  }
}

}  // namespace ExDicomUtilities::detail
