// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <string>

namespace zrdcm {

/// A bar on stderr for work of several steps. Draws nothing when stderr is no terminal, and nothing
/// for a single step. Call `clear` before other text goes to stderr; the destructor does so too.
class Progress {
public:
  Progress(const std::string& label, std::size_t steps);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  Progress(Progress&&) = delete;
  Progress& operator=(Progress&&) = delete;

  /// One more step is done.
  void advance();
  void clear();

private:
  void draw();

  std::string label_;
  std::size_t steps_;
  std::size_t done_ = 0;
  bool visible_;
};

}  // namespace zrdcm
