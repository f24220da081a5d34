// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <stdexcept>

namespace zr {

/// The data could not be handled: `what()` is the one line that the user reads. Exit status 1.
class Failure : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

}  // namespace zr
