// SPDX-License-Identifier: BSD-3-Clause
// Stands between the process and the C library's allocator. Definitions in the executable come
// before those of shared libraries, so that the libraries under test call these. The address
// sanitizer has an allocator of its own, which offers hooks instead (and only reports blocks that
// it did hand out).

#include "platform/zrvolren/AllocationWatch.h"

#include <atomic>
#include <cstdint>

namespace {

std::atomic<bool> watching{false};
std::atomic<std::size_t> largest{0};

void note(std::size_t bytes) {
  if (watching.load() && bytes > largest.load()) {
    largest.store(bytes);
  }
}

}  // namespace

#define WATCH_EXPORT __attribute__((visibility("default"), used))

#if defined(__SANITIZE_ADDRESS__)

extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*)(const volatile void*,
                                                                  std::size_t),
                                                         void (*)(const volatile void*));

// Requests that cannot be met are part of the contract: null, as without a sanitizer.
extern "C" WATCH_EXPORT const char* __asan_default_options() {
  return "allocator_may_return_null=1";
}

namespace {
const int kHooked = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void*, std::size_t bytes) { note(bytes); }, [](const volatile void*) {});
}

#else

extern "C" void* __libc_malloc(std::size_t bytes);
extern "C" void* __libc_calloc(std::size_t count, std::size_t bytes);
extern "C" void* __libc_realloc(void* block, std::size_t bytes);

extern "C" WATCH_EXPORT void* malloc(std::size_t bytes) {
  note(bytes);
  return __libc_malloc(bytes);
}

extern "C" WATCH_EXPORT void* calloc(std::size_t count, std::size_t bytes) {
  std::size_t product = 0;
  note(__builtin_mul_overflow(count, bytes, &product) ? SIZE_MAX : product);
  return __libc_calloc(count, bytes);
}

extern "C" WATCH_EXPORT void* realloc(void* block, std::size_t bytes) {
  note(bytes);
  return __libc_realloc(block, bytes);
}

#endif

AllocationWatch::AllocationWatch() {
  largest = 0;
  watching = true;
}

AllocationWatch::~AllocationWatch() {
  watching = false;
}

std::size_t AllocationWatch::largestBytes() const {
  return largest;
}
