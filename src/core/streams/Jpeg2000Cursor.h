// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>

/// Reads the numbers of JPEG 2000 headers, which are all big endian.
namespace Zrg::Jpeg2000 {

using std::uint16_t;
using std::uint32_t;
using std::uint64_t;
using std::uint8_t;

/// Bytes that are read forward; what lies beyond the end reads as 0 and is remembered.
class Cursor {
public:
  Cursor(const uint8_t* bytes, std::size_t begin, std::size_t end)
      : bytes_(bytes), position_(begin), end_(end) {}

  uint8_t u8() { return static_cast<uint8_t>(number(1)); }
  uint16_t u16() { return static_cast<uint16_t>(number(2)); }
  uint32_t u32() { return static_cast<uint32_t>(number(4)); }
  uint64_t u64() { return number(8); }
  void skip(uint64_t count) {
    isGood_ = isGood_ && count <= left();
    position_ += isGood_ ? static_cast<std::size_t>(count) : 0;
  }

  /// The next `count` bytes as a cursor of their own, which are skipped here.
  Cursor part(uint64_t count) {
    const std::size_t begin = position_;
    skip(count);
    return {bytes_, begin, position_};
  }

  [[nodiscard]] bool isGood() const { return isGood_; }
  [[nodiscard]] std::size_t position() const { return position_; }
  [[nodiscard]] std::size_t left() const { return end_ - position_; }

private:
  uint64_t number(std::size_t size) {
    isGood_ = isGood_ && size <= left();
    uint64_t value = 0;
    for (std::size_t i = 0; isGood_ && i < size; ++i) {
      value = value << 8U | bytes_[position_++];
    }
    return value;
  }

  const uint8_t* bytes_;
  std::size_t position_;
  std::size_t end_;
  bool isGood_ = true;
};

/// A segment behind its marker: what its length leaves for the content.
inline Cursor segmentOf(Cursor& stream) {
  const uint16_t length = stream.u16();
  return stream.part(length >= 2 ? length - 2U : stream.left() + 1);  // no such part: turns bad
}

}  // namespace Zrg::Jpeg2000
