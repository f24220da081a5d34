// SPDX-License-Identifier: BSD-3-Clause
#include "CommandLine.h"

#include <csignal>

int main(int argc, char** argv) {
  // A file-size limit and a closed pipe show as failed writes, which are reported like a full disk.
  (void)std::signal(SIGXFSZ, SIG_IGN);
  (void)std::signal(SIGPIPE, SIG_IGN);
  return zrdcm::runCommandLine(argc, argv);
}
