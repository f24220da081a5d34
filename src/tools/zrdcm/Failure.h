// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <stdexcept>

namespace zrdcm {

/// The data could not be handled: `what()` is the one line that the user reads. Exit status 1.
class Failure : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

/// Arguments that are well formed one by one but make no sense together. Exit status 2.
class UsageError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

}  // namespace zrdcm
