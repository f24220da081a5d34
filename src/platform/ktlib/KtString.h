// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ktlib/KtApi.h>

#include <cstdarg>
#include <cstddef>
#include <iosfwd>
#include <string>
#include <utility>

/// Text as a sequence of bytes, with printf-style formatting and inclusive substrings.
///
/// Converts from C strings and `std::string` by itself, so that every operation takes those too;
/// `str()` leads back. The bytes have no encoding of their own; a NUL byte inside is kept.
class KTLIB_API KtString {
public:
  /// Empty text.
  KtString() = default;
  /// Copy of a NUL-terminated text; a null pointer gives empty text.
  KtString(const char* text) : text_(text == nullptr ? "" : text) {}
  /// Copy of a text, NUL bytes inside included.
  KtString(std::string text) : text_(std::move(text)) {}

  /// Formats as `std::printf` does, without any limit of length.
  ///
  /// @param format  printf format, written in the source: never text from outside. A null pointer
  ///                gives empty text.
  /// @return the formatted text; empty when a conversion fails (a wide character that the locale
  ///         cannot express) or the text would have 2 GiB and more
  [[nodiscard]] static KtString printf(const char* format, ...)
      __attribute__((format(printf, 1, 2)));
  /// As `printf`, with the arguments in a list; the list is left as `vprintf` leaves it.
  [[nodiscard]] static KtString vprintf(const char* format, va_list arguments)
      __attribute__((format(printf, 1, 0)));

  /// Adds a text behind this one.
  KtString& operator+=(const KtString& other) {
    text_ += other.text_;
    return *this;
  }

  /// The bytes from index `first` to index `last`, both included: `substr(0, 4)` is the first five.
  ///
  /// Indices outside the text are clamped to it; empty when nothing lies between them.
  [[nodiscard]] KtString substr(long long first, long long last) const;

  /// The text, NUL-terminated; valid until the text changes.
  [[nodiscard]] const char* c_str() const noexcept { return text_.c_str(); }
  /// The text as `std::string`; valid as long as this object.
  [[nodiscard]] const std::string& str() const noexcept { return text_; }
  /// Number of bytes, without the terminating NUL.
  [[nodiscard]] std::size_t length() const noexcept { return text_.length(); }
  /// Whether the text has no bytes.
  [[nodiscard]] bool empty() const noexcept { return text_.empty(); }

  /// Byte `index`, which must not exceed `length()`; the one at `length()` is the NUL, which must
  /// not be changed.
  [[nodiscard]] char& operator[](std::size_t index) noexcept { return text_[index]; }
  /// @copydoc operator[](std::size_t)
  [[nodiscard]] const char& operator[](std::size_t index) const noexcept { return text_[index]; }

  /// Both texts, one behind the other.
  friend KtString operator+(const KtString& left, const KtString& right) {
    return {left.text_ + right.text_};
  }
  /// Whether both texts have the same bytes.
  friend bool operator==(const KtString& left, const KtString& right) noexcept {
    return left.text_ == right.text_;
  }
  /// Whether the texts differ.
  friend bool operator!=(const KtString& left, const KtString& right) noexcept {
    return left.text_ != right.text_;
  }
  /// Order by unsigned byte values; a text comes before its continuations.
  friend bool operator<(const KtString& left, const KtString& right) noexcept {
    return left.text_ < right.text_;
  }

private:
  std::string text_;
};

/// Writes the bytes of a text to a stream.
KTLIB_API std::ostream& operator<<(std::ostream& stream, const KtString& text);
