// SPDX-License-Identifier: BSD-3-Clause
#include "CommandLine.h"
#include "Leftovers.h"
#include "StandardOutput.h"

#include <csignal>

int main(int argc, char** argv) {
  zrdcm::occupyStandardDescriptors();
  // A file-size limit and a closed pipe show as failed writes: reported like a full disk, or the end
  // of the work.
  (void)std::signal(SIGXFSZ, SIG_IGN);
  (void)std::signal(SIGPIPE, SIG_IGN);
  zrdcm::removeLeftoversOnSignals();
  return zrdcm::runCommandLine(argc, argv);
}
