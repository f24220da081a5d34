// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>

namespace zr {

/// The shortest decimal text that reads back as this number: 0.1, not 0.100000001.
std::string shortest(float value);
/// The same for a number that may have been a float before.
std::string shortest(double value);

}  // namespace zr
