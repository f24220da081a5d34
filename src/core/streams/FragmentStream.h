// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctypes.h"

namespace Zrg {

class Fragments;

/// Bytes of neighbouring fragments of encapsulated pixel data, read forward as one stream.
/// Fragments are loaded when they are reached; one that cannot be loaded ends the stream.
class FragmentStream {
public:
  /// The fragments `first` to `end` - 1, which must outlive the stream.
  FragmentStream(Fragments& fragments, unsigned long first, unsigned long end);

  /// Takes the next byte; false at the end of the stream.
  bool read(Uint8& byte) {
    if (cursor_ == limit_ && !enterNextFragment()) {
      return false;
    }
    byte = *cursor_++;
    return true;
  }

  /// Takes two bytes, the higher one first; false when the stream ends before.
  bool readBigEndian(Uint16& value) {
    Uint8 high = 0;
    Uint8 low = 0;
    if (!read(high) || !read(low)) {
      return false;
    }
    value = static_cast<Uint16>(high << 8 | low);
    return true;
  }

  /// Takes up to `count` bytes without looking at them; returns how many there were.
  unsigned long long skip(unsigned long long count) {
    if (count <= static_cast<unsigned long long>(limit_ - cursor_)) {
      cursor_ += count;
      return count;
    }
    return skipAcrossFragments(count);
  }

  /// Takes all bytes up to the next one with a given value, and that one; false when there is none.
  bool skipPast(Uint8 value);

  /// Bytes taken so far.
  [[nodiscard]] unsigned long long position() const;

  /// Bytes of the fragment that the stream is in; that of the first one before any is taken.
  [[nodiscard]] unsigned long long fragmentLength();

  /// Index of the fragment that the last byte came from.
  [[nodiscard]] unsigned long fragment() const { return fragment_; }

private:
  bool enterNextFragment();
  unsigned long long skipAcrossFragments(unsigned long long count);

  Fragments& fragments_;
  unsigned long fragment_;
  unsigned long next_;
  unsigned long end_;
  unsigned long long before_ = 0;  // bytes of the fragments before the one that the stream is in
  const Uint8* start_ = nullptr;
  const Uint8* cursor_ = nullptr;
  const Uint8* limit_ = nullptr;
};

}  // namespace Zrg
