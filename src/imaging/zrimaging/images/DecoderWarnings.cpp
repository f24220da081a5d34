// SPDX-License-Identifier: BSD-3-Clause
// The warnings of one logger of DCMTK, kept until somebody can say which file they are about.
#include "zrimaging/images/DecoderWarnings.h"

#include "zrimaging/Boundary.h"
#include "zrimaging/Log.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/oflog/appender.h"
#include "dcmtk/oflog/logger.h"
#include "dcmtk/oflog/loglevel.h"
#include "dcmtk/oflog/spi/logevent.h"

#include <algorithm>
#include <cstddef>
#include <set>
#include <string>
#include <vector>

namespace zr {

namespace {

namespace oflog = dcmtk::log4cplus;

constexpr const char* kJpegLogger = "dcmtk.dcmjpeg";
/// A damaged file may have a warning of its own for every restart interval of every frame.
constexpr std::size_t kMostWarnings = 8;

std::vector<std::string>& pendingWarnings() {
  static std::vector<std::string> texts;
  return texts;
}

/// Whether a line was not said of this file before: frames of one file are decoded in many goes.
bool isNews(const std::filesystem::path& file, const std::string& text) {
  static std::filesystem::path last;
  static std::set<std::string> said;
  if (file != last) {
    last = file;
    said.clear();
  }
  return said.insert(text).second;
}

class WarningCollector : public oflog::Appender {
public:
  WarningCollector() = default;
  WarningCollector(const WarningCollector&) = delete;
  WarningCollector& operator=(const WarningCollector&) = delete;
  ~WarningCollector() override { destructorImpl(); }  // as every appender has to

  void close() override { closed = true; }

protected:
  void append(const oflog::spi::InternalLoggingEvent& event) override {
    std::vector<std::string>& texts = pendingWarnings();
    const std::string text = event.getMessage();
    if (texts.size() < kMostWarnings &&
        std::find(texts.begin(), texts.end(), text) == texts.end()) {
      texts.push_back(text);
    }
  }
};

}  // namespace

void collectDecoderWarnings() {
  atBoundary([&] {
    (void)pendingWarnings();  // made before the appender, so that it outlives it
    oflog::Logger logger = oflog::Logger::getInstance(kJpegLogger);
    logger.setLogLevel(oflog::WARN_LOG_LEVEL);
    logger.setAdditivity(false);
    logger.addAppender(oflog::SharedAppenderPtr(new WarningCollector));
  });
}

DecoderWatch::DecoderWatch() {
  pendingWarnings().clear();
}

// A go is an object so that it has a beginning; what came since is kept where the log puts it.
// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
std::vector<std::string> DecoderWatch::remarks(const std::filesystem::path& file) const {
  std::vector<std::string> news;
  for (const std::string& text : pendingWarnings()) {
    if (isNews(file, text)) {
      news.push_back("the decoder made up samples: " + text);
    }
  }
  return news;
}

}  // namespace zr
