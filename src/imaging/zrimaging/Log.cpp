// SPDX-License-Identifier: BSD-3-Clause
#include "zrimaging/Log.h"

#include "zrimaging/Boundary.h"

#include <ktlib/KtLogFile.h>

#include <utility>

namespace zr {

void sendLogTo(LogSink sink) {
  atBoundary([&] {
    // The log itself takes an empty function for standard error.
    getTheLogInstance().setSink(
        [sink = std::move(sink)](KtLogFile::Level level, const std::string& text) {
          if (sink) {
            sink(level == KtLogFile::Level::Warning, text);
          }
        });
  });
}

}  // namespace zr
