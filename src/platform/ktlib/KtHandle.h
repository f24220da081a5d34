// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <functional>
#include <type_traits>
#include <utility>

/// Owning pointer to an object that counts its owners itself (`KtHandable`, `KtHandableThreaded`).
///
/// Because the count lies in the object, a plain pointer can be put into a handle at any time, and
/// all handles of one object share it. The last handle deletes the object. A handle may be null.
/// One handle is not to be changed by two threads at once; two handles of one
/// `KtHandableThreaded` object may be.
///
/// @tparam T  type with `ref()` and `unref()`, both callable on constant objects; `const` allowed
template <class T>
class KtHandle {
public:
  /// The type that the handle points to.
  using element_type = T;

  /// A null handle.
  KtHandle() noexcept = default;

  /// Becomes one more owner of `object`, which must have been made by `new`; null gives a null
  /// handle. Converts by itself, so that functions that take handles take fresh objects too.
  KtHandle(T* object) noexcept : object_(object) { refObject(); }

  /// Shares the other handle's object.
  KtHandle(const KtHandle& other) noexcept : object_(other.object_) { refObject(); }
  /// Takes the other handle's object over and leaves it null.
  KtHandle(KtHandle&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}

  /// Shares the object of a handle of a derived or less constant type.
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  KtHandle(const KtHandle<U>& other) noexcept : object_(other.ptr()) {
    refObject();
  }

  ~KtHandle() { reset(); }

  /// Shares the other handle's object and gives up the own one. Also takes plain pointers.
  // Copy and swap stands assignment to itself. NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
  KtHandle& operator=(const KtHandle& other) noexcept {
    KtHandle(other).swap(*this);
    return *this;
  }
  /// Takes the other handle's object over, leaves it null, and gives up the own one.
  KtHandle& operator=(KtHandle&& other) noexcept {
    KtHandle(std::move(other)).swap(*this);
    return *this;
  }
  /// Becomes one more owner of `object` (null allowed) and gives up the own one.
  KtHandle& operator=(T* object) noexcept {
    KtHandle(object).swap(*this);
    return *this;
  }

  /// Gives up the object, which dies with its last owner; the handle is null afterwards.
  void reset() noexcept {
    // Null first: the object's destructor may come back to this handle.
    if (T* const object = std::exchange(object_, nullptr); object != nullptr) {
      object->unref();
    }
  }

  /// Exchanges the objects of two handles; no count changes.
  void swap(KtHandle& other) noexcept { std::swap(object_, other.object_); }

  /// Whether there is no object.
  [[nodiscard]] bool isNull() const noexcept { return object_ == nullptr; }
  /// Whether there is an object.
  [[nodiscard]] bool isNotNull() const noexcept { return object_ != nullptr; }
  /// Whether there is an object.
  [[nodiscard]] explicit operator bool() const noexcept { return isNotNull(); }

  /// The object, still owned by the handle; may be null.
  [[nodiscard]] T* ptr() const noexcept { return object_; }
  /// The object's members; the handle must not be null.
  [[nodiscard]] T* operator->() const noexcept { return object_; }
  /// The object; the handle must not be null.
  [[nodiscard]] T& operator*() const noexcept { return *object_; }

  /// Whether both handles share one object, or both are null.
  friend bool operator==(const KtHandle& left, const KtHandle& right) noexcept {
    return left.object_ == right.object_;
  }
  /// Whether the handles have different objects.
  friend bool operator!=(const KtHandle& left, const KtHandle& right) noexcept {
    return left.object_ != right.object_;
  }
  // Plain pointers are compared as they are: a handle made of one that nobody owns would delete it.
  /// Whether the handle holds that very object.
  friend bool operator==(const KtHandle& left, const T* right) noexcept {
    return left.object_ == right;
  }
  /// Whether the handle holds another object.
  friend bool operator!=(const KtHandle& left, const T* right) noexcept {
    return left.object_ != right;
  }
  /// Whether the handle holds that very object.
  friend bool operator==(const T* left, const KtHandle& right) noexcept {
    return left == right.object_;
  }
  /// Whether the handle holds another object.
  friend bool operator!=(const T* left, const KtHandle& right) noexcept {
    return left != right.object_;
  }
  /// Order by address, for use as a key; null comes first.
  friend bool operator<(const KtHandle& left, const KtHandle& right) noexcept {
    return std::less<const T*>()(left.object_, right.object_);
  }

private:
  void refObject() const noexcept {
    if (object_ != nullptr) {
      object_->ref();
    }
  }

  T* object_ = nullptr;
};
