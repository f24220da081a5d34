// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Error.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/ofstd/ofcond.h"

#include <string>

namespace zr {

/// Goes on only when DCMTK did what it was asked for.
/// @param what how that is called behind "cannot": "set InstanceNumber"
/// @throws Error "cannot WHAT: reason"
inline void require(const OFCondition& condition, const std::string& what,
                    Reason reason = Reason::CannotWrite) {
  if (condition.bad()) {
    throw Error(reason, "cannot " + what + ": " + condition.text());
  }
}

}  // namespace zr
