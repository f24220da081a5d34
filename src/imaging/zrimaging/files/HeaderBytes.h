// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcistrma.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace zr {

/// The bytes of a stream from where it stands, a block at a time: headers are a few bytes each, and a
/// call of the stream for every one of them costs more than the headers do.
class HeaderBytes {
public:
  /// @param stream is read from and must outlive this object.
  explicit HeaderBytes(DcmInputStream& stream) : stream_(stream) {}

  /// The longest piece that `peek` shows.
  static constexpr std::size_t kLongestPeek = 132;

  /// The next bytes, which stay; null when the stream has fewer left.
  const unsigned char* peek(std::size_t count);
  /// Goes on by some bytes; false when the stream has fewer left.
  bool skip(std::uint64_t count);
  /// Bytes read or skipped since the beginning.
  [[nodiscard]] std::uint64_t position() const { return position_; }

private:
  void fill();

  DcmInputStream& stream_;
  std::array<unsigned char, 4096> block_{};
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  std::uint64_t position_ = 0;
};

}  // namespace zr
