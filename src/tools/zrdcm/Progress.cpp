// SPDX-License-Identifier: BSD-3-Clause
// The progress bar: one line that redraws itself.
#include "Progress.h"

#include "Messages.h"

#include <cstdio>
#include <unistd.h>

namespace zrdcm {

Progress::Progress(const std::string& label, std::size_t steps)
    : label_(printable(label)),
      steps_(steps),
      visible_(steps > 1 && messagesShown() && isatty(STDERR_FILENO) != 0) {
  draw();
}

Progress::~Progress() {
  clear();
}

void Progress::advance() {
  ++done_;
  draw();
}

void Progress::clear() {
  if (visible_) {
    std::fputs("\r\033[K", stderr);
    (void)std::fflush(stderr);
  }
}

void Progress::draw() {
  if (!visible_) {
    return;
  }
  constexpr std::size_t kWidth = 30;
  const std::size_t filled = kWidth * done_ / steps_;
  const std::string bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
  (void)std::fprintf(stderr, "\r%s [%s] %zu/%zu", label_.c_str(), bar.c_str(), done_, steps_);
  (void)std::fflush(stderr);
}

}  // namespace zrdcm
