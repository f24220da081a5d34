// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ktlib/KtApi.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace KtLib {

/// An MD5 digest (RFC 1321) as two 64-bit words; a fingerprint, not a protection against forgery.
///
/// Digest byte i is byte i % 8 of word i / 8, the least significant byte first, on every machine.
/// All zero is used as "not computed".
struct KTLIB_API MD5 {
  std::uint64_t words[2] = {0, 0};  ///< the 16 digest bytes

  /// Whether both words are 0.
  [[nodiscard]] bool isZero() const noexcept { return words[0] == 0 && words[1] == 0; }

  /// The digest as it is usually written: 32 lower-case hexadecimal digits.
  [[nodiscard]] std::string hex() const;

  /// Digest of zero bytes, d41d8cd98f00b204e9800998ecf8427e (RFC 1321, A.5).
  [[nodiscard]] static MD5 hashOfEmptyMessage() noexcept;

  /// Whether both digests are the same.
  friend bool operator==(const MD5& left, const MD5& right) noexcept {
    return left.words[0] == right.words[0] && left.words[1] == right.words[1];
  }
  /// Whether the digests differ.
  friend bool operator!=(const MD5& left, const MD5& right) noexcept { return !(left == right); }
};

/// Computes an MD5 digest piece by piece: init, update as often as needed, final, query.
class KTLIB_API MD5Coder {
public:
  /// A coder that is ready for updates.
  MD5Coder();
  ~MD5Coder();
  MD5Coder(const MD5Coder&) = delete;
  MD5Coder& operator=(const MD5Coder&) = delete;

  /// Begins a new digest; what was there before is forgotten.
  void crcMD5Init();

  /// Adds bytes to the message. Like every update, ignored between `crcMD5Final` and `crcMD5Init`.
  ///
  /// @param data   `bytes` bytes; may be null when `bytes` is 0
  /// @param bytes  their number
  void crcMD5Update(const void* data, std::size_t bytes);
  /// Adds the four bytes of a 32-bit number, the least significant byte first.
  void crcMD5Update(int number);
  /// Adds the 16 bytes of a digest, in their usual order.
  void crcMD5Update(const MD5& digest);

  /// Ends the message and computes its digest. A second call changes nothing.
  void crcMD5Final();

  /// The digest of the message that was ended; all zero as long as it is not.
  void crcMD5Query(MD5& digest) const;

private:
  class State;

  std::unique_ptr<State> state_;
};

}  // namespace KtLib
