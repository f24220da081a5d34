// SPDX-License-Identifier: BSD-3-Clause
// The C library's allocator, with the sizes of 0 that it leaves open made definite.
#include <ktlib/ktmalloc.h>

#include <algorithm>
#include <cstdlib>

namespace {
constexpr std::size_t kSmallestBlock = 1;
}

void* ktmalloc(std::size_t bytes) noexcept {
  return std::malloc(std::max(bytes, kSmallestBlock));
}

void* ktrealloc(void* block, std::size_t bytes) noexcept {
  return std::realloc(block, std::max(bytes, kSmallestBlock));
}

void ktfree(void* block) noexcept {
  std::free(block);
}
