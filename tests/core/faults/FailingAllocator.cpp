// SPDX-License-Identifier: BSD-3-Clause
// This program's own malloc and its kin, in front of those of the C library. The dynamic linker
// hands them to every library of the process: what our code and DCMTK get with malloc, or with new
// (which the C++ library gets with malloc), all comes through here.
#include "core/faults/FailingAllocator.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <execinfo.h>
#include <link.h>

extern "C" {
// The C library's own names for what is defined below.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}

namespace {

using faults::Owner;

constexpr long kNever = -1;
constexpr std::size_t kMostWatched = 1 << 14;
constexpr int kMostFrames = 24;

/// Where an allocation was asked for.
struct Place {
  std::array<void*, kMostFrames> frames;
  int begin;  ///< the frame that called malloc or its kin
  int end;
};

struct Block {
  void* address;  ///< null: freed
  Place place;
};

// One thread at a time runs out of memory; the others pass by with a look at this flag.
thread_local bool watching = false;
thread_local long allocationsLeft = kNever;
thread_local long liveCount = 0;
faults::Shortage kind = faults::Shortage::Once;
bool hasFailed = false;
Place placeOfFailure;
std::array<Block, kMostWatched> watched;
std::size_t watchedCount = 0;

// ---- whose code ----

struct Segment {
  std::uintptr_t begin;
  std::uintptr_t end;
  Owner owner;
};
std::array<Segment, 64> segments;
std::size_t segmentCount = 0;

/// Notes the code of this program and of DCMTK's libraries; what is not noted is the runtime's.
int noteLibrary(dl_phdr_info* library, std::size_t /*size*/, void* /*data*/) {
  const char* const slash = std::strrchr(library->dlpi_name, '/');
  const char* const name = slash != nullptr ? slash + 1 : library->dlpi_name;
  const auto begins = [name](const char* with) {
    return std::strncmp(name, with, std::strlen(with)) == 0;
  };
  const bool isDcmtk =
      begins("libdcm") || begins("libof") || begins("libijg") || begins("liboflog");
  if (!isDcmtk && *name != '\0') {
    return 0;
  }
  for (int i = 0; i < library->dlpi_phnum && segmentCount < segments.size(); ++i) {
    const auto& header = library->dlpi_phdr[i];
    if (header.p_type == PT_LOAD && (header.p_flags & PF_X) != 0) {
      const std::uintptr_t begin = library->dlpi_addr + header.p_vaddr;
      segments[segmentCount++] = {begin, begin + header.p_memsz,
                                  isDcmtk ? Owner::Dcmtk : Owner::Ours};
    }
  }
  return 0;
}

Owner ownerOf(const Place& place) {
  for (int i = place.begin; i < place.end; ++i) {
    const auto address =
        reinterpret_cast<std::uintptr_t>(place.frames[static_cast<std::size_t>(i)]);
    for (std::size_t s = 0; s < segmentCount; ++s) {
      if (address >= segments[s].begin && address < segments[s].end) {
        return segments[s].owner;
      }
    }
  }
  return Owner::Ours;
}

void notePlace(Place& place, const void* caller) {
  const bool before = watching;
  watching = false;
  place.end = backtrace(place.frames.data(), kMostFrames);
  const auto* const found =
      std::find(place.frames.begin(), place.frames.begin() + place.end, caller);
  place.begin = static_cast<int>(found - place.frames.begin());
  watching = before;
}

// ---- the watched call ----

bool mayAllocate(const void* caller) {
  if (!watching || allocationsLeft == kNever) {
    return true;
  }
  if (allocationsLeft > 0) {
    --allocationsLeft;
    return true;
  }
  if (kind == faults::Shortage::OursFromThen) {
    Place place;
    notePlace(place, caller);
    if (ownerOf(place) != Owner::Ours) {
      return true;
    }
  }
  if (!hasFailed) {
    notePlace(placeOfFailure, caller);
  }
  hasFailed = true;
  if (kind == faults::Shortage::Once) {
    allocationsLeft = kNever;
  }
  errno = ENOMEM;
  return false;
}

void* counted(void* block, const void* caller) {
  if (block == nullptr) {
    return nullptr;
  }
  ++liveCount;
  if (watching) {
    if (watchedCount == kMostWatched) {
      std::abort();
    }
    Block& entry = watched[watchedCount++];
    entry.address = block;
    notePlace(entry.place, caller);
  }
  return block;
}

Block* find(const void* block) {
  auto* const end = watched.begin() + watchedCount;
  auto* const found = std::find_if(watched.begin(), end,
                                   [block](const Block& entry) { return entry.address == block; });
  return found != end ? found : nullptr;
}

void released(const void* block) {
  --liveCount;
  if (Block* const entry = find(block)) {
    entry->address = nullptr;
  }
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
  const void* const caller = __builtin_return_address(0);
  return mayAllocate(caller) ? counted(__libc_malloc(size), caller) : nullptr;
}

void* calloc(std::size_t count, std::size_t size) {
  const void* const caller = __builtin_return_address(0);
  return mayAllocate(caller) ? counted(__libc_calloc(count, size), caller) : nullptr;
}

void* realloc(void* block, std::size_t size) {
  const void* const caller = __builtin_return_address(0);
  if (!mayAllocate(caller)) {
    return nullptr;
  }
  if (block != nullptr) {
    released(block);
  }
  return counted(__libc_realloc(block, size), caller);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
  const void* const caller = __builtin_return_address(0);
  return mayAllocate(caller) ? counted(__libc_memalign(alignment, size), caller) : nullptr;
}

void* memalign(std::size_t alignment, std::size_t size) {
  return aligned_alloc(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  *block = aligned_alloc(alignment, size);
  return *block != nullptr ? 0 : ENOMEM;
}

void free(void* block) {
  if (block != nullptr) {
    released(block);
    __libc_free(block);
  }
}

}  // extern "C"

namespace faults {

void prepareToWatch() {
  if (segmentCount == 0) {
    dl_iterate_phdr(noteLibrary, nullptr);
    notePlace(placeOfFailure, nullptr);  // backtrace() loads a library when it is first called
  }
}

FailingAllocations::FailingAllocations(long number, Shortage shortage) {
  kind = shortage;
  hasFailed = false;
  watchedCount = 0;
  allocationsLeft = number - 1;
  watching = true;
}

FailingAllocations::~FailingAllocations() {
  watching = false;
}

bool anAllocationFailed() {
  return hasFailed;
}

Owner ownerOfTheFailure() {
  return ownerOf(placeOfFailure);
}

long blocksLeft(Owner owner) {
  return std::count_if(watched.begin(), watched.begin() + watchedCount,
                       [owner](const Block& entry) {
                         return entry.address != nullptr && ownerOf(entry.place) == owner;
                       });
}

namespace {

std::string textOf(const Place& place) {
  std::string text;
  char** const names = backtrace_symbols(place.frames.data(), place.end);
  for (int i = place.begin; names != nullptr && i < place.end; ++i) {
    text += std::string("  ") + names[i] + "\n";
  }
  std::free(static_cast<void*>(names));
  return text;
}

}  // namespace

std::string describeFailure() {
  std::string text = "failed:\n" + textOf(placeOfFailure);
  for (std::size_t i = 0; i < watchedCount; ++i) {
    if (watched[i].address != nullptr) {
      text += "left:\n" + textOf(watched[i].place);
    }
  }
  return text;
}

long liveBlocks() {
  return liveCount;
}

}  // namespace faults
