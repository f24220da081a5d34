// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>

/// Knows the largest block of memory that anybody in the process asked for while it lives. One at a
/// time, for tests of a single thread.
class AllocationWatch {
public:
  AllocationWatch();
  ~AllocationWatch();
  AllocationWatch(const AllocationWatch&) = delete;
  AllocationWatch& operator=(const AllocationWatch&) = delete;

  [[nodiscard]] std::size_t largestBytes() const;
};
