// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <type_traits>
#include <utility>
#include <vector>

/// Growable array of elements that lie side by side in memory.
///
/// `append` and `resize` past the capacity move the elements to a new block of the larger of the
/// requested count and 1.5 times the old count, so that appending one by one takes linear time.
/// Growing makes pointers, references and iterators to elements invalid; shrinking keeps the
/// memory. Elements may be move-only, and `T` may still be incomplete where an array of it is
/// declared as a member (as in a tree whose nodes hold arrays of nodes).
///
/// Memory that cannot be had throws `std::bad_alloc` (or `std::length_error` for counts beyond
/// the address space); the array is unchanged then.
///
/// @tparam T  element type; not `bool`, whose elements `std::vector` packs into bits so that they
///            have no addresses. Use `KtBitfield` or `KtDArray<unsigned char>`.
template <class T>
class KtDArray {
  static_assert(!std::is_same_v<T, bool>, "use KtBitfield or KtDArray<unsigned char> for flags");

public:
  using value_type = T;
  using size_type = std::size_t;
  using difference_type = std::ptrdiff_t;
  using reference = T&;
  using const_reference = const T&;
  using iterator = T*;
  using const_iterator = const T*;

  /// An array without elements and without memory.
  KtDArray() = default;

  /// An array of copies of the listed elements, in their order.
  KtDArray(std::initializer_list<T> elements) : elements_(elements) {}

  /// Adds an element behind the last one.
  ///
  /// @param value  may be an element of this very array
  /// @return the new element
  T& append(const T& value) {
    if (size() == capacity()) {
      // Copied before growing, since `value` may lie in the block that growing releases.
      return append(T(value));
    }
    return elements_.emplace_back(value);
  }

  /// Adds an element behind the last one by moving `value` there.
  ///
  /// @param value  may be an element of this very array, which is then left in its moved-from state
  /// @return the new element
  T& append(T&& value) {
    if (size() == capacity()) {
      T moved(std::move(value));
      growFor(size() + 1);
      return elements_.emplace_back(std::move(moved));
    }
    return elements_.emplace_back(std::move(value));
  }

  /// Makes the array `count` elements long: elements behind it are destroyed, new elements are
  /// value-initialised (numbers and pointers are 0).
  void resize(std::size_t count) {
    if (count > capacity()) {
      growFor(count);
    }
    elements_.resize(count);
  }

  /// Provides memory for at least `count` elements; never shrinks, and `size()` stays.
  void reserve(std::size_t count) { elements_.reserve(count); }

  /// Destroys all elements and keeps the memory.
  void clear() noexcept { elements_.clear(); }

  /// Exchanges the contents of two arrays without touching their elements.
  void swap(KtDArray& other) noexcept { elements_.swap(other.elements_); }

  /// Number of elements.
  [[nodiscard]] std::size_t size() const noexcept { return elements_.size(); }
  /// Number of elements that fit without new memory.
  [[nodiscard]] std::size_t capacity() const noexcept { return elements_.capacity(); }
  /// Whether there is no element.
  [[nodiscard]] bool empty() const noexcept { return elements_.empty(); }

  /// First of `size()` elements; may be null when the array is empty.
  [[nodiscard]] T* data() noexcept { return elements_.data(); }
  /// @copydoc data()
  [[nodiscard]] const T* data() const noexcept { return elements_.data(); }

  /// Iterator at the first element.
  [[nodiscard]] T* begin() noexcept { return data(); }
  /// Iterator behind the last element.
  [[nodiscard]] T* end() noexcept { return data() + size(); }
  /// @copydoc begin()
  [[nodiscard]] const T* begin() const noexcept { return data(); }
  /// @copydoc end()
  [[nodiscard]] const T* end() const noexcept { return data() + size(); }

  /// Element `index`; the index must be below `size()`.
  [[nodiscard]] T& operator[](std::size_t index) noexcept { return elements_[index]; }
  /// @copydoc operator[](std::size_t)
  [[nodiscard]] const T& operator[](std::size_t index) const noexcept { return elements_[index]; }

  /// First element; the array must not be empty.
  [[nodiscard]] T& front() noexcept { return elements_.front(); }
  /// @copydoc front()
  [[nodiscard]] const T& front() const noexcept { return elements_.front(); }
  /// Last element; the array must not be empty.
  [[nodiscard]] T& back() noexcept { return elements_.back(); }
  /// @copydoc back()
  [[nodiscard]] const T& back() const noexcept { return elements_.back(); }

  /// Whether both arrays hold equal elements in the same order; capacities do not count.
  friend bool operator==(const KtDArray& left, const KtDArray& right) {
    return left.elements_ == right.elements_;
  }
  /// Whether the arrays differ in length or in an element.
  friend bool operator!=(const KtDArray& left, const KtDArray& right) { return !(left == right); }

private:
  // std::vector leaves its growth factor to the implementation; ours is part of the contract.
  void growFor(std::size_t requested) {
    elements_.reserve(std::max(requested, size() + size() / 2));
  }

  std::vector<T> elements_;
};
