// SPDX-License-Identifier: BSD-3-Clause
// What every fuzzer starts with: options of the sanitizer, silence, and memory.
#include "FuzzRuntime.h"

#include <ktlib/KtLogFile.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/oflog/oflog.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

unsigned char newMemoryByte = 0xBE;

/// Enough to show what a decoder leaves out; more costs more than it tells.
constexpr std::size_t kMostFilledBytes = 1 << 16;

/// An image that says it is gigabytes large fails at once, without the sanitizer's warning. The
/// fuzzer's own tables come from here as well and are not small.
constexpr std::size_t kMostBytes = 32 << 20;

/// The sanitizer's own operators end the process where memory is lacking, and the library must see
/// std::bad_alloc instead.
void* allocate(std::size_t size) noexcept {
  void* const memory = size <= kMostBytes ? std::malloc(size > 0 ? size : 1) : nullptr;
  if (memory != nullptr) {
    std::memset(memory, newMemoryByte, size < kMostFilledBytes ? size : kMostFilledBytes);
  }
  return memory;
}

void* allocateOrThrow(std::size_t size) {
  void* const memory = allocate(size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

}  // namespace

void fuzz::fillNewMemoryWith(unsigned char byte) {
  newMemoryByte = byte;
}

void* operator new(std::size_t size) {
  return allocateOrThrow(size);
}
void* operator new[](std::size_t size) {
  return allocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return allocate(size);
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

// Large allocations fail in malloc and calloc likewise. The rest is speed, several times over: no
// stacks of allocations (ask for them with ASAN_OPTIONS=malloc_context_size=30), a small
// quarantine.
extern "C" const char* __asan_default_options() {
  return "allocator_may_return_null=1:max_allocation_size_mb=32:malloc_context_size=1:"
         "max_malloc_fill_size=0:quarantine_size_mb=4:thread_local_quarantine_size_kb=1024";
}

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  OFLog::configure(OFLogger::OFF_LOG_LEVEL);  // DCMTK reports every oddity; a fuzzer makes no other
  getTheLogInstance().setSink([](KtLogFile::Level, const std::string&) {});
  return 0;
}
