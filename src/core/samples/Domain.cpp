// SPDX-License-Identifier: BSD-3-Clause
// Conversion by one load per sample.
//
// The table has one word for every value that a container of 8 or 16 bits can have. Words:
//
//   values per entry   of 8 bits                        of 16 bits
//   1                  one byte                         one 16-bit word
//   3                  R G B 0 in a 32-bit word         R G B 0 in a 64-bit word
//
// Three values are put with one store for all of them. A word reaches one value into the next
// pixel, whose own store puts that right; the last pixel of a run stores its three values alone.

#include "samples/Domain.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <numeric>

namespace ExDicomUtilities::detail {
namespace {

// Making the table costs about as much as converting its values twice; the gain per sample is about
// two thirds of a conversion.
constexpr long long kSamplesPerValue = 4;

// ---- loops -------------------------------------------------------------------------------------

// Eight samples are looked up before their results are stored: in place, the compiler could not
// tell that a store does not change the next sample.
template <class Container, class Word>
void putWords(const void* table, const void* from, void* to, long long count) {
  const auto* const words = static_cast<const Word*>(table);
  const auto* const containers = static_cast<const Container*>(from);
  auto* const results = static_cast<Word*>(to);
  constexpr long long kStep = 8;
  long long i = 0;
  for (; i + kStep <= count; i += kStep) {
    const Container* const c = containers + i;
    const std::array<Word, kStep> found = {words[c[0]], words[c[1]], words[c[2]], words[c[3]],
                                           words[c[4]], words[c[5]], words[c[6]], words[c[7]]};
    std::memcpy(results + i, found.data(), sizeof(found));
  }
  for (; i < count; ++i) {
    results[i] = words[containers[i]];
  }
}

template <class Word, std::size_t kPixelBytes>
void putPixelsOneByOne(const Word* words, const std::uint8_t* containers, unsigned char* results,
                       long long count) {
  for (; count > 1; --count, ++containers, results += kPixelBytes) {
    std::memcpy(results, words + *containers, sizeof(Word));
  }
  if (count == 1) {
    std::memcpy(results, words + *containers, kPixelBytes);
  }
}

// Four pixels of bytes are twelve bytes: one store of eight and one of four.
const std::uint8_t* putFourBytePixels(const std::uint32_t* words, const std::uint8_t* containers,
                                      unsigned char*& results, const std::uint8_t* end) {
  for (; end - containers >= 4; containers += 4, results += 12) {
    const std::uint64_t first = words[containers[0]];
    const std::uint64_t second = words[containers[1]];
    const std::uint64_t third = words[containers[2]];
    const std::uint64_t fourth = words[containers[3]];
    const std::uint64_t low = first | second << 24U | third << 48U;
    const auto high = static_cast<std::uint32_t>(third >> 16U | fourth << 8U);
    std::memcpy(results, &low, sizeof(low));
    std::memcpy(results + sizeof(low), &high, sizeof(high));
  }
  return containers;
}

void putBytePixels(const void* table, const void* from, void* to, long long count) {
  const auto* const words = static_cast<const std::uint32_t*>(table);
  const auto* containers = static_cast<const std::uint8_t*>(from);
  const auto* const end = containers + count;
  auto* results = static_cast<unsigned char*>(to);
  if constexpr (std::endian::native == std::endian::little) {
    containers = putFourBytePixels(words, containers, results, end);
  }
  putPixelsOneByOne<std::uint32_t, 3>(words, containers, results, end - containers);
}

void putWordPixels(const void* table, const void* from, void* to, long long count) {
  putPixelsOneByOne<std::uint64_t, 6>(static_cast<const std::uint64_t*>(table),
                                      static_cast<const std::uint8_t*>(from),
                                      static_cast<unsigned char*>(to), count);
}

// ---- the table ---------------------------------------------------------------------------------

// The results of all values of a container, one beside the other in words of `wordBytes`. Goes in
// blocks, so that nothing but the table itself needs memory.
template <class Container>
std::vector<unsigned char> tabulate(const SampleConversion& conversion, std::size_t resultBytes,
                                    std::size_t wordBytes) {
  constexpr std::size_t kValues = std::size_t{1} << (8 * sizeof(Container));
  constexpr std::size_t kBlock = 256;
  constexpr std::size_t kMostResultBytes = 3 * sizeof(std::uint16_t);
  std::array<Container, kBlock> containers;
  alignas(std::uint16_t) std::array<unsigned char, kBlock * kMostResultBytes> results;
  std::vector<unsigned char> words(kValues * wordBytes);
  unsigned char* word = words.data();
  for (std::size_t block = 0; block < kValues; block += kBlock) {
    std::iota(containers.begin(), containers.end(), static_cast<Container>(block));
    convertRun(conversion, containers.data(), results.data(), kBlock);
    for (std::size_t i = 0; i < kBlock; ++i, word += wordBytes) {
      std::memcpy(word, results.data() + i * resultBytes, resultBytes);
    }
  }
  return words;
}

}  // namespace

DomainTable::DomainTable(const SampleConversion& conversion, long long samples) {
  const unsigned values = conversion.table.valuesPerEntry;
  const std::size_t containerBytes = conversion.source.primTypeSize();
  const std::size_t valueBytes = conversion.target.primTypeSize();
  const bool tabulates = isConvertible(conversion) && ((values == 1 && containerBytes <= 2) ||
                                                       (values == 3 && containerBytes == 1));
  const long long domain = containerBytes == 1 ? 1LL << 8 : 1LL << 16;
  if (!tabulates || samples < kSamplesPerValue * domain) {
    return;
  }
  const std::size_t wordBytes = values == 1 ? valueBytes : 4 * valueBytes;
  if (containerBytes == sizeof(std::uint16_t)) {
    words_ = tabulate<std::uint16_t>(conversion, values * valueBytes, wordBytes);
    run_ = &putWords<std::uint16_t, std::uint16_t>;
    return;
  }
  words_ = tabulate<std::uint8_t>(conversion, values * valueBytes, wordBytes);
  if (values == 1) {
    run_ = valueBytes == 1 ? &putWords<std::uint8_t, std::uint8_t>
                           : &putWords<std::uint8_t, std::uint16_t>;
  } else {
    run_ = valueBytes == 1 ? &putBytePixels : &putWordPixels;
  }
}

}  // namespace ExDicomUtilities::detail
