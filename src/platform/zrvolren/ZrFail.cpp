// SPDX-License-Identifier: BSD-3-Clause

#include <ktlib/KtLogFile.h>
#include <zrvolren/ZrFail.h>

bool Zr::fail(const KtResult& result) {
  if (result.isOk()) {
    return false;
  }
  getTheLogInstance().warnf("Error %d at %s, line %d: %s (%s)", result.code(),
                            result.source().c_str(), result.line(), result.message().c_str(),
                            result.condition().c_str());
  return true;
}
