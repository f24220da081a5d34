// SPDX-License-Identifier: BSD-3-Clause
#include "zrimaging/files/HeaderBytes.h"

#include <algorithm>

namespace zr {

const unsigned char* HeaderBytes::peek(std::size_t count) {
  if (end_ - begin_ < count) {
    fill();
  }
  return isBeyondLimit() || end_ - begin_ < count ? nullptr : block_.data() + begin_;
}

void HeaderBytes::fill() {
  std::copy(block_.begin() + static_cast<std::ptrdiff_t>(begin_),
            block_.begin() + static_cast<std::ptrdiff_t>(end_), block_.begin());
  end_ -= begin_;
  begin_ = 0;
  while (end_ < kLongestPeek) {
    const offile_off_t got =
        stream_.read(block_.data() + end_, static_cast<offile_off_t>(block_.size() - end_));
    if (got <= 0) {
      return;
    }
    end_ += static_cast<std::size_t>(got);
  }
}

bool HeaderBytes::skip(std::uint64_t count) {
  constexpr std::uint64_t kPiece = std::uint64_t{1} << 20U;
  const auto buffered = static_cast<std::size_t>(std::min<std::uint64_t>(count, end_ - begin_));
  begin_ += buffered;
  position_ += buffered;
  count -= buffered;
  while (count > 0) {
    // In pieces, so that a claimed length is not inflated much further than the limit.
    const std::uint64_t piece = limit_ == kNoLimit ? count : std::min(count, kPiece);
    const offile_off_t skipped =
        isBeyondLimit() ? 0 : stream_.skip(static_cast<offile_off_t>(piece));
    if (skipped <= 0) {
      return false;
    }
    count -= static_cast<std::uint64_t>(skipped);
    position_ += static_cast<std::uint64_t>(skipped);
  }
  return true;
}

}  // namespace zr
