// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>

class DcmTagKey;

namespace zr {

/// A keyword of PS3.6 in words: "In-Stack Position Number" for "InStackPositionNumber".
std::string titleOfKeyword(const std::string& keyword);

/// The name of an element in words; empty when the dictionary does not have it.
std::string titleOfElement(const DcmTagKey& key);

}  // namespace zr
