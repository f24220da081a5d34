// SPDX-License-Identifier: BSD-3-Clause
#include "imaging/FailingNew.h"

#include <cstddef>
#include <cstdlib>
#include <new>
#include <utility>

namespace {

constexpr long kNever = -1;

/// Allocations before the one that fails; none fails while it is negative.
thread_local long before = kNever;

void* allocate(std::size_t size) {
  if (before >= 0 && before-- == 0) {
    return nullptr;
  }
  return std::malloc(size > 0 ? size : 1);
}

void* allocateOrThrow(std::size_t size) {
  void* const memory = allocate(size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

}  // namespace

namespace failing_new {

void failAfter(long allocations) {
  before = allocations;
}

bool hasFailed() {
  return std::exchange(before, kNever) < 0;
}

}  // namespace failing_new

void* operator new(std::size_t size) {
  return allocateOrThrow(size);
}
void* operator new[](std::size_t size) {
  return allocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size);
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
  std::free(memory);
}
