// SPDX-License-Identifier: BSD-3-Clause
//
// Registration when memory runs out. This program replaces operator new for itself and DCMTK, so
// that the n-th allocation of a thread fails.
//
// Dictionaries start empty here: reading DCMTK's own some hundred times would take most of a
// minute.
#include "DictionaryAccess.h"
#include "DictionaryRows.h"

#include <zrdcmexport/ExDCM.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdict.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <future>
#include <new>
#include <thread>

namespace {

// DCMTK reads its dictionary at the first look-up, long after this.
const int kNoDictionaryFile = setenv("DCMDICTPATH", "/dev/null", 1);

// Allocations of this thread until one fails; negative: none fails.
thread_local long allocationsLeft = -1;

void* allocateOrThrow(std::size_t size) {
  if (allocationsLeft == 0) {
    throw std::bad_alloc();
  }
  if (allocationsLeft > 0) {
    --allocationsLeft;
  }
  void* memory = std::malloc(size > 0 ? size : 1);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

}  // namespace

void* operator new(std::size_t size) {
  return allocateOrThrow(size);
}
void* operator new[](std::size_t size) {
  return allocateOrThrow(size);
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

// The one leak that is not ours: when copying the second of its texts fails, the constructor of
// DCMTK's entry forgets the first.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:DcmDictEntry::DcmDictEntry";
}
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
  // DCMTK has no frame pointers, and the suppression above needs its frames.
  return "fast_unwind_on_malloc=0";
}

namespace {

// True when registration runs out of memory at its n-th allocation.
bool failsAt(long allocation, GlobalDcmDataDictionary& dictionary) {
  allocationsLeft = allocation;
  try {
    ExDCM::addPrivateTagsToDict(&dictionary);
  } catch (const std::bad_alloc&) {
    allocationsLeft = -1;
    return true;
  }
  allocationsLeft = -1;
  return false;
}

// Registers from another thread, where a lock that was left behind would show as a standstill.
bool registersFromAnotherThread(GlobalDcmDataDictionary& dictionary) {
  std::promise<void> promise;
  std::future<void> done = promise.get_future();
  std::thread([&dictionary, promise = std::move(promise)]() mutable {
    ExDCM::addPrivateTagsToDict(&dictionary);
    promise.set_value();
  }).detach();
  return done.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
}

TEST(RegistrationWithoutMemory, FreesItsLocksAndCanBeRepeated) {
  ASSERT_EQ(kNoDictionaryFile, 0);
  long lastFailure = 0;
  for (long allocation = 0;; ++allocation) {
    GlobalDcmDataDictionary& dictionary = dict::emptyDictionary();
    if (!failsAt(allocation, dictionary)) {
      break;
    }
    lastFailure = allocation;

    ASSERT_TRUE(registersFromAnotherThread(dictionary)) << "allocation " << allocation;
    ASSERT_EQ(dict::countEntries(dictionary), dict::countOfRows()) << "allocation " << allocation;
  }

  EXPECT_GT(lastFailure,
            3 * dict::countOfRows());  // each entry, its name and its place in the dictionary
}

TEST(RegistrationWithoutMemory, KeepsEntriesThatWereAddedBefore) {
  GlobalDcmDataDictionary& dictionary = dict::emptyDictionary();
  ASSERT_TRUE(failsAt(200, dictionary));

  const int kept = dict::countEntries(dictionary);

  EXPECT_GT(kept, 0);
  EXPECT_LT(kept, dict::countOfRows());
}

}  // namespace
