// SPDX-License-Identifier: BSD-3-Clause
// This program's own operator new. It is in a file of its own, so that the compiler does not
// inline one half of the pair and take the other for a mismatch.
#include "core/writing/FailingMemory.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

constexpr int kUnlimited = -1;
thread_local int allocationsLeft = kUnlimited;

bool mayAllocate() {
  if (allocationsLeft > 0) {
    --allocationsLeft;
    return true;
  }
  return allocationsLeft == kUnlimited;
}

}  // namespace

void* operator new(std::size_t size) {
  void* memory = mayAllocate() ? std::malloc(size == 0 ? 1 : size) : nullptr;
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

namespace exporting {

FailingMemory::FailingMemory(int allocations) {
  allocationsLeft = allocations;
}
FailingMemory::~FailingMemory() {
  allocationsLeft = kUnlimited;
}

}  // namespace exporting
