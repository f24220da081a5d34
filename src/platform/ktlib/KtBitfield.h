// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ktlib/KtApi.h>
#include <ktlib/KtDArray.h>

#include <cstddef>
#include <cstdint>

/// Sequence of bits, packed into 32-bit words.
///
/// Bit i is bit i % 32 of word i / 32, the least significant bit first. The last word may reach
/// beyond `size()`; its bits there are 0 and never count, not even when someone set them through
/// `words()`.
class KTLIB_API KtBitfield {
public:
  /// Bits of a word.
  static constexpr unsigned long kWordBits = 32;

  /// What the bits are after `resize`.
  enum INIT : int {
    KEEP = 0,     ///< old bits keep their values, new bits are 0
    CLEARED = 1,  ///< all bits are 0
    SET = 2       ///< all bits are 1
  };

  /// A field without bits.
  KtBitfield() = default;

  /// Makes the field `bits` long. Throws `std::bad_alloc` or `std::length_error`, and changes
  /// nothing, when there is no memory for it.
  void resize(unsigned long bits, INIT init);

  /// Number of bits.
  [[nodiscard]] unsigned long size() const noexcept { return size_; }

  /// Whether bit `index` is 1; false for an index outside the field.
  [[nodiscard]] bool test(unsigned long index) const noexcept {
    return index < size_ && (words_[index / kWordBits] >> (index % kWordBits) & 1U) != 0;
  }
  /// Makes bit `index` 1; nothing happens for an index outside the field.
  void set(unsigned long index) noexcept {
    if (index < size_) {
      words_[index / kWordBits] |= std::uint32_t{1} << (index % kWordBits);
    }
  }
  /// Makes bit `index` 0; nothing happens for an index outside the field.
  void reset(unsigned long index) noexcept {
    if (index < size_) {
      words_[index / kWordBits] &= ~(std::uint32_t{1} << (index % kWordBits));
    }
  }

  /// Whether at least one bit is 1.
  [[nodiscard]] bool any() const noexcept;
  /// Number of bits that are 1.
  [[nodiscard]] unsigned long count() const noexcept;

  /// First of `wordCount()` words; may be null when the field has no bits. Valid until `resize`.
  [[nodiscard]] std::uint32_t* words() noexcept { return words_.data(); }
  /// @copydoc words()
  [[nodiscard]] const std::uint32_t* words() const noexcept { return words_.data(); }
  /// Number of words: `size()` / 32, rounded up.
  [[nodiscard]] std::size_t wordCount() const noexcept { return words_.size(); }

private:
  [[nodiscard]] std::uint32_t validBits(std::size_t word) const noexcept;

  KtDArray<std::uint32_t> words_;
  unsigned long size_ = 0;
};
