// SPDX-License-Identifier: BSD-3-Clause
#pragma once

/// Kernels over long runs of samples.
namespace ZrSSETools {

/// Replaces every element by `Op<T>{}(element, mask)`, for example std::bit_and.
///
/// The elements need no other alignment than their type's. Nothing outside of them is read or
/// written. A plain loop on purpose: the compiler turns it into 16-byte (or wider) blocks with
/// unaligned loads and stores and a scalar rest, and keeps up with what can be written by hand.
///
/// @param elements `count` elements, changed in place; may be null when there are none
/// @param count number of elements; below 1 nothing happens
/// @param mask second operand, the same for all elements
template <template <class...> class Op, class T>
void maskUnaligned(T* elements, long long count, T mask) {
  const Op<T> operation{};
  for (long long i = 0; i < count; ++i) {
    elements[i] = static_cast<T>(operation(elements[i], mask));
  }
}

}  // namespace ZrSSETools
