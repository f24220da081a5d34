// SPDX-License-Identifier: BSD-3-Clause
// Bits in 32-bit words. Callers may write whole words, so the unused bits of the last word are
// masked out wherever bits are counted or kept, instead of trusting them to be 0.
#include <ktlib/KtBitfield.h>

#include <algorithm>
#include <bit>

namespace {
constexpr std::uint32_t kAllBits = ~std::uint32_t{0};

// Not (bits + 31) / 32, which wraps for the largest numbers.
std::size_t wordsFor(unsigned long bits) {
  return bits / KtBitfield::kWordBits + (bits % KtBitfield::kWordBits != 0 ? 1 : 0);
}
}  // namespace

void KtBitfield::resize(unsigned long bits, INIT init) {
  const unsigned long oldSize = size_;
  const std::size_t oldWords = words_.size();
  words_.resize(wordsFor(bits));
  size_ = bits;

  if (init != KEEP) {
    std::fill(words_.begin(), words_.end(), init == SET ? kAllBits : 0);
  } else if (bits > oldSize && oldWords > 0 && oldSize % kWordBits != 0) {
    // Unused bits of the old last word become bits of the field, and new bits are 0.
    words_[oldWords - 1] &= (std::uint32_t{1} << (oldSize % kWordBits)) - 1;
  }
  if (!words_.empty()) {
    words_.back() &= validBits(words_.size() - 1);
  }
}

bool KtBitfield::any() const noexcept {
  for (std::size_t word = 0; word < words_.size(); ++word) {
    if ((words_[word] & validBits(word)) != 0) {
      return true;
    }
  }
  return false;
}

unsigned long KtBitfield::count() const noexcept {
  unsigned long ones = 0;
  for (std::size_t word = 0; word < words_.size(); ++word) {
    ones += static_cast<unsigned long>(std::popcount(words_[word] & validBits(word)));
  }
  return ones;
}

// The bits of a word that belong to the field, as a mask.
std::uint32_t KtBitfield::validBits(std::size_t word) const noexcept {
  const unsigned long usedInLast = size_ % kWordBits;
  const bool isPartial = usedInLast != 0 && word + 1 == words_.size();
  return isPartial ? (std::uint32_t{1} << usedInLast) - 1 : kAllBits;
}
