// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ktlib/KtApi.h>

#include <cstddef>

extern "C" {

/// Allocates `bytes` bytes, aligned for every fundamental type and not initialised.
///
/// @return the block, to be released by `ktfree` or `std::free`; null when there is no memory.
///         A size of 0 gives a block of its own that must be released too, never null for that.
[[nodiscard]] KTLIB_API void* ktmalloc(std::size_t bytes) noexcept;

/// Changes the size of a block and keeps the bytes that both sizes have; the block may move.
///
/// @param block  block of `ktmalloc` or `ktrealloc`; null allocates a new one
/// @param bytes  new size; 0 keeps a smallest block and, unlike some `realloc`, does not release it
/// @return the block; null when there is no memory, and then `block` is as before
[[nodiscard]] KTLIB_API void* ktrealloc(void* block, std::size_t bytes) noexcept;

/// Releases a block of `ktmalloc` or `ktrealloc`; nothing happens for null.
KTLIB_API void ktfree(void* block) noexcept;

}  // extern "C"
