// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Error.h"

#include <new>

namespace zr {

/// Does the work of a public function: memory that runs out leaves the library as an Error, too.
template <class Work>
auto atBoundary(const Work& work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    throw Error(Reason::OutOfMemory, "out of memory");
  }
}

}  // namespace zr
