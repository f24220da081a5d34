// SPDX-License-Identifier: BSD-3-Clause
// Formatting and inclusive substrings; everything else is std::string's and is in the header.
#include <ktlib/KtString.h>

#include <algorithm>
#include <cstdio>
#include <ostream>

KtString KtString::printf(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  KtString text = vprintf(format, arguments);
  va_end(arguments);
  return text;
}

KtString KtString::vprintf(const char* format, va_list arguments) {
  if (format == nullptr) {
    return {};
  }
  va_list copy;
  va_copy(copy, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, copy);
  va_end(copy);
  if (length <= 0) {
    return {};
  }
  std::string text(static_cast<std::size_t>(length), '\0');
  // The terminating NUL that vsnprintf adds lands on the one that std::string has there.
  (void)std::vsnprintf(text.data(), text.size() + 1, format, arguments);
  return {std::move(text)};
}

KtString KtString::substr(long long first, long long last) const {
  const auto from = std::max(first, 0LL);
  const auto to = std::min(last, static_cast<long long>(text_.length()) - 1);
  if (from > to) {
    return {};
  }
  return {text_.substr(static_cast<std::size_t>(from), static_cast<std::size_t>(to - from) + 1)};
}

std::ostream& operator<<(std::ostream& stream, const KtString& text) {
  return stream << text.str();
}
