// SPDX-License-Identifier: BSD-3-Clause
// Memory that runs out while DCMTK's image objects are created. This program's own operator new
// refuses allocations of one chosen size, for as long as a test wants it to.
#include "SliceDecodingFixtures.h"
#include "support/ImageBuilder.h"

#include "dcmtk/dcmimgle/dcmimage.h"
#include "dcmtk/dcmimgle/didocu.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t refusedSize = 0;

/// Refuses allocations of exactly this size until the end of the scope.
class RefusedAllocation {
public:
  explicit RefusedAllocation(std::size_t size) { refusedSize = size; }
  ~RefusedAllocation() { refusedSize = 0; }
  RefusedAllocation(const RefusedAllocation&) = delete;
  RefusedAllocation& operator=(const RefusedAllocation&) = delete;
};

}  // namespace

void* operator new(std::size_t size) {
  void* const memory = size == refusedSize ? nullptr : std::malloc(size > 0 ? size : 1);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

// AddressSanitizer ends the program where an allocator would answer null; here null is wanted.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
  return "allocator_may_return_null=1";
}

namespace {

void expectBadAlloc(DcmItem& item, std::size_t refused, const char* message) {
  Zrg::SliceImage slice;
  std::string errorText;
  {
    const RefusedAllocation refusal(refused);
    EXPECT_THROW((void)slice.process(item, errorText, decoding::kAllFrames, 0, nullptr, 0),
                 std::bad_alloc);
  }
  EXPECT_EQ(errorText, message);
  EXPECT_FALSE(slice.valid);
}

TEST(SliceDecodingMemory, OfADocumentThatRunsOutIsReportedAndPassedOn) {
  const auto dataset = support::rgbImage(2, 2).build();

  expectBadAlloc(*dataset, sizeof(DiDocument),
                 "Unable to create valid DiDocument object (out of memory)");
}

TEST(SliceDecodingMemory, OfAnImageThatRunsOutIsReportedAndPassedOn) {
  const auto dataset = support::paletteImage(2, 2).build();

  expectBadAlloc(*dataset, sizeof(DicomImage),
                 "Unable to create valid DicomImage object (out of memory)");
}

TEST(SliceDecodingMemory, OfAnImageThatRunsOutBehindADocumentIsReportedAndPassedOn) {
  const auto dataset = support::rgbImage(2, 2).build();

  expectBadAlloc(*dataset, sizeof(DicomImage),
                 "Unable to create valid DicomImage object (out of memory)");
}

}  // namespace
