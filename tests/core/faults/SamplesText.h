// SPDX-License-Identifier: BSD-3-Clause
// Samples and tables in a form that can be compared and printed.
#pragma once

#include "support/Md5.h"

#include <ktlib/KtHandle.h>
#include <zrvolren/ZrDataAccess.h>

#include <cstddef>
#include <string>

namespace faults {

inline const std::string kEmptyTable = "empty";
inline const std::string kTableWithoutData = "without data";

inline std::string describe(const KtHandle<ZrDataAccess>& samples) {
  if (samples.isNull()) {
    return kEmptyTable;
  }
  if (!samples->hasData()) {
    return kTableWithoutData;
  }
  const ZrDataAccess& data = *samples;
  return std::to_string(data.primType().primTypeSize()) + " bytes x " +
         std::to_string(data.nDataVar()) + ": " +
         support::md5Hex(data.dataPtr(0), static_cast<std::size_t>(data.size()));
}

}  // namespace faults
