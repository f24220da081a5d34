// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcvr.h"

namespace zr {

/// Begins a sequence that brings in another set of characters.
constexpr char kEscape = '\x1B';

inline unsigned codeOf(char byte) {
  return static_cast<unsigned char>(byte);
}

/// Beyond ASCII.
inline bool isHigh(char byte) {
  return codeOf(byte) >= 0x80;
}

/// Texts in which a backslash is a character (PS3.5 6.2); in all others it separates values.
inline bool hasOneValue(DcmEVR vr) {
  return vr == EVR_LT || vr == EVR_ST || vr == EVR_UT;
}

}  // namespace zr
