// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ktlib/KtApi.h>

#include <atomic>

/// Base of objects that count how many `KtHandle`s share them, for use within one thread.
///
/// A new object has count 0; the `unref` that brings the count back to 0 deletes the object, so it
/// must have been made by `new` once a handle holds it. The count belongs to the object and not to
/// its value: a copy starts at 0, and assigning changes no count.
class KTLIB_API KtHandable {
public:
  /// An object that nobody shares yet.
  KtHandable() noexcept = default;
  /// A copy that nobody shares yet.
  KtHandable(const KtHandable&) noexcept {}
  /// Leaves the count as it is.
  KtHandable& operator=(const KtHandable&) noexcept { return *this; }
  virtual ~KtHandable();

  /// Adds an owner. Also for constant objects, since sharing does not change the value.
  void ref() const noexcept { ++count_; }
  /// Takes an owner away, and deletes the object with the last one. Each call answers one `ref`.
  void unref() const;
  /// Number of owners.
  [[nodiscard]] int refCount() const noexcept { return count_; }

private:
  mutable int count_ = 0;
};

/// As `KtHandable`, with a count that several threads may change at once.
///
/// Only the count is thread-safe. What one thread wrote to the object before its `unref` is seen by
/// the thread whose `unref` deletes it.
class KTLIB_API KtHandableThreaded {
public:
  /// An object that nobody shares yet.
  KtHandableThreaded() noexcept = default;
  /// A copy that nobody shares yet.
  KtHandableThreaded(const KtHandableThreaded&) noexcept {}
  /// Leaves the count as it is.
  KtHandableThreaded& operator=(const KtHandableThreaded&) noexcept { return *this; }
  virtual ~KtHandableThreaded();

  /// Adds an owner. Also for constant objects, since sharing does not change the value.
  void ref() const noexcept { count_.fetch_add(1, std::memory_order_relaxed); }
  /// Takes an owner away, and deletes the object with the last one. Each call answers one `ref`.
  void unref() const;
  /// Number of owners at some moment of the call; other threads may change it at once.
  [[nodiscard]] int refCount() const noexcept { return count_.load(std::memory_order_relaxed); }

private:
  mutable std::atomic<int> count_{0};
};
