// SPDX-License-Identifier: BSD-3-Clause
// Stands in for the C library's `close`. The C library itself, so also `fclose`, uses its own.
#include "core/writing/FailingClose.h"

#include <cerrno>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

// Calls that still succeed, of this thread; negative: all do.
thread_local int callsLeft = -1;

}  // namespace

extern "C" int close(int descriptor) {
  const auto result = static_cast<int>(syscall(SYS_close, descriptor));
  if (callsLeft < 0 || callsLeft-- > 0) {
    return result;
  }
  errno = EIO;
  return -1;
}

namespace exporting {

FailingClose::FailingClose(int calls) {
  callsLeft = calls;
}

FailingClose::~FailingClose() {
  callsLeft = -1;
}

bool FailingClose::hasFailed() const {
  return callsLeft < 0;
}

}  // namespace exporting
