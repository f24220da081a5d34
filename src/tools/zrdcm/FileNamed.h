// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <new>
#include <string>
#include <zrimaging/Error.h>

namespace zrdcm {

/// Does what `work` does with a file; what is wrong with the file is told together with its name.
template <class Work>
auto withFileNamed(const std::string& file, const Work& work) {
  try {
    return work();
  } catch (const zr::Error& error) {
    throw zr::Error(error.reason(), file + ": " + error.what());
  } catch (const std::bad_alloc&) {
    throw zr::Error(zr::Reason::OutOfMemory, file + ": out of memory");
  }
}

}  // namespace zrdcm
