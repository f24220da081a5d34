// SPDX-License-Identifier: BSD-3-Clause
#include "support/LogCapture.h"

namespace support {

LogCapture::LogCapture() {
  getTheLogInstance().setSink([this](KtLogFile::Level level, const std::string& text) {
    lines_.push_back({level, text});
  });
}

LogCapture::~LogCapture() {
  getTheLogInstance().setSink({});
}

std::vector<std::string> LogCapture::texts() const {
  std::vector<std::string> texts;
  texts.reserve(lines_.size());
  for (const Line& line : lines_) {
    texts.push_back(line.text);
  }
  return texts;
}

}  // namespace support
