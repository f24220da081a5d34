// SPDX-License-Identifier: BSD-3-Clause
#pragma once

/// Says who owns the memory of a container.
class KtAllocator {
public:
  static constexpr int kWrapping = 0;  ///< the container uses memory that others own and release
  static constexpr int kOwning = 1;    ///< the container allocates its memory and releases it

  /// @param type  `kWrapping` or `kOwning`; any other number is kept and owns nothing
  explicit constexpr KtAllocator(int type) noexcept : type_(type) {}

  /// The number given at construction.
  [[nodiscard]] constexpr int type() const noexcept { return type_; }
  /// Whether the container allocates and releases its memory.
  [[nodiscard]] constexpr bool isOwning() const noexcept { return type_ == kOwning; }

private:
  int type_;
};
