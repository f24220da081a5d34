// SPDX-License-Identifier: BSD-3-Clause
#pragma once

/// Type of one sample in memory, as a code that host applications share.
class KtPrimType {
public:
  /// The codes; their numbers are fixed.
  enum Code : int {
    U8 = 0,   ///< unsigned 8-bit
    S16 = 1,  ///< signed 16-bit
    S32 = 2,  ///< signed 32-bit
    F32 = 3,  ///< single precision
    F64 = 4,  ///< double precision
    U16 = 7,  ///< unsigned 16-bit
    U32 = 8,  ///< unsigned 32-bit
    S8 = 9    ///< signed 8-bit
  };

  /// The type of a code; converts by itself. A number that is not a code is kept as it is.
  constexpr KtPrimType(Code code) noexcept : code_(code) {}

  /// The type's code.
  [[nodiscard]] constexpr Code code() const noexcept { return code_; }

  /// Whether it is one of the six integer types; false for floats and for numbers that are not
  /// codes.
  [[nodiscard]] constexpr bool isInteger() const noexcept {
    switch (code_) {
      case U8:
      case S8:
      case U16:
      case S16:
      case U32:
      case S32:
        return true;
      case F32:
      case F64:
        return false;
    }
    return false;
  }

  /// Bytes of one sample of type `code`; 0 for a number that is not a code.
  [[nodiscard]] static constexpr unsigned int primTypeSize(Code code) noexcept {
    switch (code) {
      case U8:
      case S8:
        return 1;
      case U16:
      case S16:
        return 2;
      case U32:
      case S32:
      case F32:
        return 4;
      case F64:
        return 8;
    }
    return 0;
  }
  /// Bytes of one sample of this type.
  [[nodiscard]] constexpr unsigned int primTypeSize() const noexcept { return primTypeSize(code_); }

  /// Whether both are the same type.
  friend constexpr bool operator==(KtPrimType left, KtPrimType right) noexcept {
    return left.code_ == right.code_;
  }
  /// Whether the types differ.
  friend constexpr bool operator!=(KtPrimType left, KtPrimType right) noexcept {
    return left.code_ != right.code_;
  }

private:
  Code code_;
};
