// SPDX-License-Identifier: BSD-3-Clause
#include "streams/FragmentStream.h"

#include "streams/Fragments.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace Zrg {

FragmentStream::FragmentStream(Fragments& fragments, unsigned long first, unsigned long end)
    : fragments_(fragments), fragment_(first), next_(first), end_(end) {}

unsigned long long FragmentStream::skipAcrossFragments(unsigned long long count) {
  unsigned long long skipped = 0;
  while (skipped < count && (cursor_ != limit_ || enterNextFragment())) {
    const auto here = static_cast<unsigned long long>(limit_ - cursor_);
    const unsigned long long step = std::min(count - skipped, here);
    cursor_ += step;
    skipped += step;
  }
  return skipped;
}

bool FragmentStream::skipPast(Uint8 value) {
  while (cursor_ != limit_ || enterNextFragment()) {
    const auto here = static_cast<std::size_t>(limit_ - cursor_);
    const auto* const found = static_cast<const Uint8*>(std::memchr(cursor_, value, here));
    if (found != nullptr) {
      cursor_ = found + 1;
      return true;
    }
    cursor_ = limit_;
  }
  return false;
}

unsigned long long FragmentStream::position() const {
  return before_ + static_cast<unsigned long long>(cursor_ - start_);
}

unsigned long long FragmentStream::fragmentLength() {
  if (start_ == nullptr) {
    (void)enterNextFragment();  // without a fragment the length is 0, which is the answer
  }
  return static_cast<unsigned long long>(limit_ - start_);
}

bool FragmentStream::enterNextFragment() {
  while (next_ < end_) {
    const unsigned long index = next_++;
    const Uint32 length = fragments_.length(index);
    const Uint8* const bytes = fragments_.bytes(index);
    if (length > 0 && bytes == nullptr) {
      next_ = end_;  // cannot be loaded
      return false;
    }
    if (length > 0) {
      before_ = position();
      fragment_ = index;
      start_ = bytes;
      cursor_ = bytes;
      limit_ = bytes + length;
      return true;
    }
  }
  return false;
}

}  // namespace Zrg
