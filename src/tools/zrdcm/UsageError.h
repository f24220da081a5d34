// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <stdexcept>

namespace zrdcm {

/// Arguments that are well formed one by one but make no sense together. Exit status 2.
class UsageError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

}  // namespace zrdcm
