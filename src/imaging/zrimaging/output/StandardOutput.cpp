// SPDX-License-Identifier: BSD-3-Clause
// Standard output as callers hand it over: closed, or to a pipe that nobody reads.
#include "zrimaging/Output.h"

#include <fcntl.h>
#include <initializer_list>
#include <poll.h>
#include <unistd.h>

namespace zr {

bool readerIsGone() {
  // Asked instead of errno, which is forgotten by the time that a buffer is looked at.
  pollfd output = {STDOUT_FILENO, POLLOUT, 0};
  return poll(&output, 1, 0) == 1 && (output.revents & (POLLERR | POLLHUP)) != 0;
}

void occupyStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) == -1) {
      // The lowest free descriptor is this one. The wrong way round: input that only writes.
      const int way = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
      [[maybe_unused]] const int opened = open("/dev/null", way);
    }
  }
}

}  // namespace zr
