// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ktlib/KtLogFile.h>

#include <string>
#include <vector>

namespace support {

/// Collects what the application log receives while it lives, instead of the default sink. One at a
/// time.
class LogCapture {
public:
  struct Line {
    KtLogFile::Level level;
    std::string text;
  };

  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  const std::vector<Line>& lines() const { return lines_; }
  /// The texts alone, in order.
  std::vector<std::string> texts() const;

private:
  std::vector<Line> lines_;
};

}  // namespace support
