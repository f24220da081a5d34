// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcistrma.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace zr {

/// The bytes of a stream from where it stands, a block at a time: headers are a few bytes each, and
/// a call of the stream for every one of them costs more than the headers do.
class HeaderBytes {
public:
  static constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();

  /// @param stream is read from and must outlive this object.
  /// @param limit where the stream ends at the latest: a few deflated bytes may be very many
  explicit HeaderBytes(DcmInputStream& stream, std::uint64_t limit = kNoLimit)
      : stream_(stream), limit_(limit) {}

  /// The longest piece that `peek` shows.
  static constexpr std::size_t kLongestPeek = 132;

  /// The next bytes, which stay; null when the stream has fewer left.
  const unsigned char* peek(std::size_t count);
  /// Goes on by some bytes; false when the stream has fewer left.
  bool skip(std::uint64_t count);
  /// Bytes read or skipped since the beginning.
  [[nodiscard]] std::uint64_t position() const { return position_; }
  /// Whether something was asked for beyond the limit.
  [[nodiscard]] bool isBeyondLimit() const { return position_ > limit_; }

private:
  void fill();

  DcmInputStream& stream_;
  std::uint64_t limit_;
  std::array<unsigned char, 4096> block_{};
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  std::uint64_t position_ = 0;
};

}  // namespace zr
