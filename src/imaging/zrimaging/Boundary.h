// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Error.h"

#include <new>
#include <stdexcept>

namespace zr {

/// Does the work of a public function: memory that runs out leaves the library as an Error, too.
template <class Work>
decltype(auto) atBoundary(const Work& work) {
  constexpr const char* kOutOfMemory = "out of memory";
  try {
    return work();
  } catch (const std::bad_alloc&) {
    throw Error(Reason::OutOfMemory, kOutOfMemory);
  } catch (const std::length_error&) {
    throw Error(Reason::OutOfMemory, kOutOfMemory);  // more elements than there is memory at all
  }
}

}  // namespace zr
