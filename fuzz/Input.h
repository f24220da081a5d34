// SPDX-License-Identifier: BSD-3-Clause
// The fuzzer's bytes as numbers and texts, read from front to back, so that the mutator and the
// seeds know where each of them stands. What is not there reads as 0.
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctypes.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <initializer_list>
#include <string>
#include <vector>

namespace fuzz {

class Input {
public:
  Input(const Uint8* data, std::size_t size) : data_(data), size_(size) {}

  Uint8 byte() { return position_ < size_ ? data_[position_++] : Uint8{0}; }
  /// Two bytes, the lower first.
  Uint16 word() {
    const Uint8 low = byte();
    return static_cast<Uint16>(low | byte() << 8);
  }
  int integer() {
    const Uint32 low = word();
    return static_cast<int>(low | static_cast<Uint32>(word()) << 16U);
  }
  bool flag() { return byte() % 2 != 0; }
  /// A number from 0 to `bound` - 1, at most 256 of them.
  unsigned below(unsigned bound) { return byte() % bound; }

  /// A length and as many bytes.
  std::string text(unsigned longest) {
    const std::vector<Uint8> taken = bytes(below(longest + 1));
    return {taken.begin(), taken.end()};
  }
  std::vector<Uint8> bytes(std::size_t count) {
    const Uint8* const begin = data_ + position_;
    position_ += std::min(count, size_ - position_);
    return {begin, data_ + position_};
  }
  std::vector<Uint8> rest() { return bytes(size_); }

  [[nodiscard]] std::size_t position() const { return position_; }

private:
  const Uint8* data_;
  std::size_t size_;
  std::size_t position_ = 0;
};

/// Writes what Input reads: for seeds.
class Output {
public:
  Output& byte(unsigned value) {
    bytes_.push_back(static_cast<Uint8>(value));
    return *this;
  }
  Output& word(unsigned value) { return byte(value & 0xFFU).byte(value >> 8U & 0xFFU); }
  Output& integer(int value) {
    const auto bits = static_cast<unsigned>(value);
    return word(bits & 0xFFFFU).word(bits >> 16U);
  }
  Output& text(const std::string& value) {
    byte(static_cast<unsigned>(value.size()));
    bytes_.insert(bytes_.end(), value.begin(), value.end());
    return *this;
  }
  Output& bytes(const std::vector<Uint8>& values) {
    bytes_.insert(bytes_.end(), values.begin(), values.end());
    return *this;
  }
  Output& list(std::initializer_list<unsigned> values) {
    for (const unsigned value : values) {
      byte(value);
    }
    return *this;
  }

  [[nodiscard]] const std::vector<Uint8>& all() const { return bytes_; }

private:
  std::vector<Uint8> bytes_;
};

/// Ends the process, which is how the fuzzer learns of a broken promise.
inline void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

}  // namespace fuzz
