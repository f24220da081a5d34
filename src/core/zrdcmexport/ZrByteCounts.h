// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <limits>

/// Numbers of bytes, of frames and the like, whose factors a file names. A number too large for 64
/// bits stays the largest there is, so that a comparison with a limit still refuses it.
namespace Zrg {

/// Largest number of bytes, which also stands for everything beyond.
inline constexpr std::uint64_t kBeyondCounting = std::numeric_limits<std::uint64_t>::max();

/// a x b, or kBeyondCounting when the product is larger.
[[nodiscard]] constexpr std::uint64_t saturatedProduct(std::uint64_t a, std::uint64_t b) noexcept {
  return b != 0 && a > kBeyondCounting / b ? kBeyondCounting : a * b;
}

/// a + b, or kBeyondCounting when the sum is larger.
[[nodiscard]] constexpr std::uint64_t saturatedSum(std::uint64_t a, std::uint64_t b) noexcept {
  return a > kBeyondCounting - b ? kBeyondCounting : a + b;
}

}  // namespace Zrg
