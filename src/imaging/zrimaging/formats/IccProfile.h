// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Formats.h"

#include <span>
#include <string>

namespace zr {

/// What is wrong with an ICC profile for pictures in RGB (ICC.1, 7.2 and 7.3: header and tag
/// table); empty when nothing is. A byte of padding behind it is none of its own.
std::string faultOfIccProfile(std::span<const unsigned char> profile);

/// The profile that goes into the file of a colour array, without padding: empty when there is
/// none, and when it is broken, which the array is told as a remark.
std::span<const unsigned char> iccProfileFor(const ArrayToWrite& array);

/// Tells the array that its profile is left out, and why.
void remarkOnIccProfile(const ArrayToWrite& array, const std::string& fault);

}  // namespace zr
