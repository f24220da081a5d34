// SPDX-License-Identifier: BSD-3-Clause
// Memory that runs out while DCMTK's image objects are created. This program's own operator new
// refuses one allocation of a chosen size. Others happen to have that size as well, more of them or
// fewer from one build to the next, so each is refused in turn until none is left.
#include "SliceDecodingFixtures.h"
#include "support/ImageBuilder.h"

#include "dcmtk/dcmimgle/dcmimage.h"
#include "dcmtk/dcmimgle/didocu.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t refusedSize = 0;
thread_local int passedBefore = 0;

/// Refuses the allocation of exactly this size that comes after `passed` others of that size.
class RefusedAllocation {
public:
  RefusedAllocation(std::size_t size, int passed) {
    refusedSize = size;
    passedBefore = passed;
  }
  ~RefusedAllocation() { refusedSize = 0; }
  RefusedAllocation(const RefusedAllocation&) = delete;
  RefusedAllocation& operator=(const RefusedAllocation&) = delete;
};

}  // namespace

// Not inlined: next to a caller's new, a compiler takes the free of a replaced delete for a
// mismatch.
[[gnu::noinline]] void* operator new(std::size_t size) {
  const bool refused = refusedSize != 0 && size == refusedSize && passedBefore-- == 0;
  void* const memory = refused ? nullptr : std::malloc(size > 0 ? size : 1);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

[[gnu::noinline]] void operator delete(void* memory) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

// AddressSanitizer ends the program where an allocator would answer null; here null is wanted.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
  return "allocator_may_return_null=1";
}

namespace {

/// Whether one of the first allocations of this size, when refused, ends decoding with the message.
void expectBadAlloc(const support::ImageBuilder& image, std::size_t refused, const char* message) {
  constexpr int kMostAllocations = 100;
  const auto first = image.build();  // DCMTK loads its dictionary for it, in thousands of pieces
  Zrg::SliceImage decoded;
  std::string noError;
  ASSERT_TRUE(decoded.process(*first, noError, decoding::kAllFrames, 0, nullptr, 0)) << noError;

  bool reported = false;
  for (int passed = 0; passed < kMostAllocations && !reported; ++passed) {
    const auto dataset = image.build();
    Zrg::SliceImage slice;
    std::string errorText;
    bool thrown = false;
    try {
      const RefusedAllocation refusal(refused, passed);
      (void)slice.process(*dataset, errorText, decoding::kAllFrames, 0, nullptr, 0);
    } catch (const std::bad_alloc&) {
      thrown = true;
      EXPECT_FALSE(slice.valid);
    }
    reported = thrown && errorText == message;
  }
  EXPECT_TRUE(reported) << "no refused allocation gave: " << message;
}

TEST(SliceDecodingMemory, OfADocumentThatRunsOutIsReportedAndPassedOn) {
  expectBadAlloc(support::rgbImage(2, 2), sizeof(DiDocument),
                 "Unable to create valid DiDocument object (out of memory)");
}

TEST(SliceDecodingMemory, OfAnImageThatRunsOutIsReportedAndPassedOn) {
  expectBadAlloc(support::paletteImage(2, 2), sizeof(DicomImage),
                 "Unable to create valid DicomImage object (out of memory)");
}

TEST(SliceDecodingMemory, OfAnImageThatRunsOutBehindADocumentIsReportedAndPassedOn) {
  expectBadAlloc(support::rgbImage(2, 2), sizeof(DicomImage),
                 "Unable to create valid DicomImage object (out of memory)");
}

}  // namespace
