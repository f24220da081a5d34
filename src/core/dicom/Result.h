// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <optional>
#include <string>
#include <utility>

namespace Zrg {

/// Why there is no value: a fixed English text.
struct FailureText {
  const char* text;
};

/// Why there is no value: an English text made for the occasion, or a fixed one.
struct Message {
  std::string text;

  explicit Message(std::string made) : text(std::move(made)) {}
  Message(FailureText reason) : text(reason.text) {}  // NOLINT(google-explicit-constructor)
};

/// A value, or the reason why there is none.
template <class T>
class [[nodiscard]] Result {
public:
  // Implicit, so that functions can return each of them as it is.
  Result(T value) : value_(std::move(value)) {}          // NOLINT(google-explicit-constructor)
  Result(FailureText reason) : message_(reason.text) {}  // NOLINT(google-explicit-constructor)
  Result(Message message)
      : message_(std::move(message.text)) {}  // NOLINT(google-explicit-constructor)

  explicit operator bool() const { return value_.has_value(); }
  T& operator*() { return *value_; }
  const T& operator*() const { return *value_; }
  T* operator->() { return &*value_; }
  const T* operator->() const { return &*value_; }

  /// The value without its reason.
  const std::optional<T>& value() const& { return value_; }
  std::optional<T> value() && { return std::move(value_); }

  /// To be asked only where there is no value.
  [[nodiscard]] Message reason() const { return Message(message_); }

private:
  std::optional<T> value_;
  std::string message_;
};

/// Whether something was done, or the reason why it was not.
template <>
class [[nodiscard]] Result<void> {
public:
  Result() = default;
  Result(FailureText reason) : reason_(reason) {}           // NOLINT(google-explicit-constructor)
  Result(Message message) : reason_(std::move(message)) {}  // NOLINT(google-explicit-constructor)

  explicit operator bool() const { return !reason_; }

  /// To be asked only where it was not done.
  [[nodiscard]] Message reason() const { return *reason_; }

private:
  std::optional<Message> reason_;
};

}  // namespace Zrg
