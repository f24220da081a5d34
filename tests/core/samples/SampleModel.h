// SPDX-License-Identifier: BSD-3-Clause
// What the sample transform has to do, sample by sample and bit by bit, written without shifts of
// samples: the slow and obvious way that the loops of the library are compared with.
#pragma once

#include <ktlib/KtPrimType.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace luttest {

struct ModelTable {
  KtPrimType type = KtPrimType::U8;
  unsigned valuesPerEntry = 0;  // 0: no table
  int firstMapped = 0;
  std::vector<unsigned> values;
};

struct ModelInput {
  KtPrimType type = KtPrimType::U8;
  std::vector<std::uint32_t> words;  // the samples' bits, one value per pixel
  unsigned bitsStored = 0;
  unsigned highBit = 0;
  ModelTable table;
};

struct ModelOutput {
  KtPrimType type = KtPrimType::U8;
  unsigned nDataVar = 1;
  int offset = 0;
  /// The results' bits; nothing when the samples are left as they are.
  std::optional<std::vector<std::uint32_t>> words;
};

/// Works for Bits Stored up to the width and High Bit below it.
ModelOutput transformByModel(const ModelInput& input);

/// The stored value of one sample, with its sign.
std::int64_t storedValue(std::uint32_t word, unsigned width, bool isSigned, unsigned bitsStored,
                         unsigned highBit);

}  // namespace luttest
