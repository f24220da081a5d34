// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "Failure.h"

#include <new>
#include <string>

namespace zrdcm {

/// Does what `work` does with a file; what is wrong with the file is told together with its name.
template <class Work>
auto withFileNamed(const std::string& file, const Work& work) {
  try {
    return work();
  } catch (const Failure& failure) {
    throw Failure(file + ": " + failure.what());
  } catch (const std::bad_alloc&) {
    throw Failure(file + ": out of memory");
  }
}

}  // namespace zrdcm
