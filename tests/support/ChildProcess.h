// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <unistd.h>

#if defined(ZRDCMEXPORT_COUNTS_LINES)
extern "C" void __gcov_dump();
#endif

namespace support {

/// Ends a forked child at once: nothing runs that the parent has registered for its own end. What a
/// build for coverage has counted in the child is kept, which _exit alone throws away.
[[noreturn]] inline void leaveChild(int status) {
#if defined(ZRDCMEXPORT_COUNTS_LINES)
  __gcov_dump();
#endif
  _exit(status);
}

}  // namespace support
