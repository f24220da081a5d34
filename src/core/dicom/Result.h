// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <optional>
#include <utility>

namespace Zrg {

/// Why there is no value: a fixed English text.
struct Reason {
  const char* text;
};

/// A value, or the reason why there is none.
template <class T>
class Result {
public:
  // Implicit, so that functions can return either as it is.
  Result(T value) : value_(std::move(value)) {}    // NOLINT(google-explicit-constructor)
  Result(Reason reason) : reason_(reason.text) {}  // NOLINT(google-explicit-constructor)

  explicit operator bool() const { return value_.has_value(); }
  T& operator*() { return *value_; }
  const T& operator*() const { return *value_; }
  T* operator->() { return &*value_; }
  const T* operator->() const { return &*value_; }

  /// The value without its reason.
  const std::optional<T>& value() const& { return value_; }
  std::optional<T> value() && { return std::move(value_); }

  /// To be asked only where there is no value.
  Reason reason() const { return {reason_}; }

private:
  std::optional<T> value_;
  const char* reason_ = "";
};

}  // namespace Zrg
