// SPDX-License-Identifier: BSD-3-Clause
#include "SampleModel.h"

#include <algorithm>

namespace luttest {
namespace {

bool isSigned(KtPrimType type) {
  return type == KtPrimType::S8 || type == KtPrimType::S16 || type == KtPrimType::S32;
}

KtPrimType unsignedOf(KtPrimType type) {
  if (type == KtPrimType::S8) {
    return KtPrimType::U8;
  }
  if (type == KtPrimType::S16) {
    return KtPrimType::U16;
  }
  return type == KtPrimType::S32 ? KtPrimType(KtPrimType::U32) : type;
}

bool isConverted(KtPrimType source, KtPrimType target, unsigned valuesPerEntry) {
  if (valuesPerEntry != 0 && valuesPerEntry != 1 && valuesPerEntry != 3) {
    return false;
  }
  const bool fromBytes = source == KtPrimType::U8 || source == KtPrimType::S8;
  const bool fromWords = source == KtPrimType::U16 || source == KtPrimType::S16;
  return (fromBytes && (target == KtPrimType::U8 || target == KtPrimType::U16)) ||
         (fromWords && target == KtPrimType::U16);
}

}  // namespace

// The field is laid over the word bit by bit: bit j of the result is bit j + rightShift of the word
// after it was moved up by leftShift. Above the field stands 0, or the highest bit of the field.
std::int64_t storedValue(std::uint32_t word, unsigned width, bool isSignedType, unsigned bitsStored,
                         unsigned highBit) {
  const int leftShift = static_cast<int>(width) - 1 - static_cast<int>(highBit);
  const int rightShift = static_cast<int>(width) - static_cast<int>(bitsStored);
  if (bitsStored == 0) {
    return 0;
  }
  const auto movedBit = [&](int position) {  // of the word after the shift to the left
    const int origin = position - leftShift;
    return origin >= 0 && ((word / (std::uint64_t{1} << origin)) % 2) == 1;
  };
  std::int64_t value = 0;
  for (int j = 0; j < static_cast<int>(bitsStored); ++j) {
    const std::int64_t weight = std::int64_t{1} << j;
    const bool isTop = j + 1 == static_cast<int>(bitsStored);
    if (movedBit(j + rightShift)) {
      value += isTop && isSignedType ? -weight : weight;
    }
  }
  return value;
}

ModelOutput transformByModel(const ModelInput& input) {
  const bool hasTable = input.table.valuesPerEntry != 0;
  ModelOutput output;
  output.type = unsignedOf(hasTable ? input.table.type : input.type);
  output.nDataVar = hasTable ? input.table.valuesPerEntry : 1;
  if (!isConverted(input.type, output.type, input.table.valuesPerEntry)) {
    return output;
  }
  const unsigned width = 8 * input.type.primTypeSize();
  if (!hasTable && isSigned(input.type)) {
    output.offset = width == 8 ? 128 : 32768;
  }
  std::vector<std::uint32_t> words;
  for (const std::uint32_t word : input.words) {
    const std::int64_t value =
        storedValue(word, width, isSigned(input.type), input.bitsStored, input.highBit);
    if (!hasTable) {
      const std::int64_t modulus = std::int64_t{1} << width;
      const std::int64_t sum = value + output.offset;
      words.push_back(static_cast<std::uint32_t>(((sum % modulus) + modulus) % modulus));
      continue;
    }
    const auto entries =
        static_cast<std::int64_t>(input.table.values.size()) / input.table.valuesPerEntry;
    const std::int64_t entry =
        std::clamp<std::int64_t>(value - input.table.firstMapped, 0, entries - 1);
    for (unsigned v = 0; v < input.table.valuesPerEntry; ++v) {
      words.push_back(input.table.values[static_cast<std::size_t>(
          entry * static_cast<std::int64_t>(input.table.valuesPerEntry) + v)]);
    }
  }
  output.words = words;
  return output;
}

}  // namespace luttest
