// SPDX-License-Identifier: BSD-3-Clause
#include "CommandLine.h"

#include <csignal>
#include <zrimaging/Output.h>

int main(int argc, char** argv) {
  zr::occupyStandardDescriptors();
  // A file-size limit and a closed pipe show as failed writes: reported like a full disk, or the
  // end of the work.
  (void)std::signal(SIGXFSZ, SIG_IGN);
  (void)std::signal(SIGPIPE, SIG_IGN);
  zr::removeLeftoversOnSignals();
  return zrdcm::runCommandLine(argc, argv);
}
