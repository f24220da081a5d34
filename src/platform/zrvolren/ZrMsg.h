// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zrvolren/ZrvolrenApi.h>

#include <cstddef>
#include <vector>

class ZrDataAccess;

/// A stream of typed messages: values are appended to its end and read from its start.
///
/// What one stream wrote, a stream made of the same bytes reads back in the same order. Bytes from
/// outside are never trusted: a truncated or malformed stream turns bad, a bad stream hands out 0
/// and null and takes nothing more, and reading never allocates more than the bytes that the stream
/// still holds (plus the container object itself).
class ZRVOLREN_API ZrMsg {
public:
  /// An empty stream for writing.
  ZrMsg();
  /// A stream that reads these bytes. Values written to it come after them.
  explicit ZrMsg(std::vector<unsigned char> bytes);

  /// Everything that was given or written, the part already read included.
  [[nodiscard]] const std::vector<unsigned char>& bytes() const { return bytes_; }
  /// False once a read has found no value of the wanted kind. It never turns good again.
  [[nodiscard]] bool isGood() const { return good_; }

  ZrMsg& operator<<(int value);
  /// Writes dimensions, type and all samples, without gaps whatever the strides. Null is written as
  /// such, a container without data as one without data.
  ZrMsg& operator<<(const ZrDataAccess* container);

  /// @param value 0 when the stream is bad
  ZrMsg& operator>>(int& value);
  /// @param container receives a new container that nobody refers to yet (count 0: put it into a
  ///        KtHandle), or null when null was written or the stream is bad. What the pointer held
  ///        before is overwritten, not released.
  ZrMsg& operator>>(ZrDataAccess*& container);

private:
  std::vector<unsigned char> bytes_;
  std::size_t position_ = 0;
  bool good_ = true;
};
