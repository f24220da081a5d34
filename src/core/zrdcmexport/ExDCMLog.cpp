// SPDX-License-Identifier: BSD-3-Clause
// The bridge from DCMTK's log to the application's: an output ("appender") at the root of DCMTK's
// loggers, in place of those that are there, which are kept to be put back.
#include "ExDCMLog.h"

#include <ktlib/KtLogFile.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/oflog/appender.h"
#include "dcmtk/oflog/logger.h"
#include "dcmtk/oflog/loglevel.h"
#include "dcmtk/oflog/spi/logevent.h"

#include <algorithm>
#include <mutex>

namespace ExDCM {

namespace {

namespace oflog = dcmtk::log4cplus;

class ApplicationLogAppender : public oflog::Appender {
public:
  ApplicationLogAppender() = default;
  ApplicationLogAppender(const ApplicationLogAppender&) = delete;
  ApplicationLogAppender& operator=(const ApplicationLogAppender&) = delete;
  ~ApplicationLogAppender() override { destructorImpl(); }  // as every appender has to

  void close() override { closed = true; }

protected:
  void append(const oflog::spi::InternalLoggingEvent& event) override {
    try {
      const char* const logger = event.getLoggerName().c_str();
      const char* const text = event.getMessage().c_str();
      if (event.getLogLevel() >= oflog::WARN_LOG_LEVEL) {
        getTheLogInstance().warnf("%s: %s", logger, text);
      } else {
        getTheLogInstance().printf("%s: %s", logger, text);
      }
    } catch (...) {
      // A sink's exception must not end in the middle of DCMTK, which logs where it holds locks.
    }
  }
};

/// What forwarding has replaced.
struct Forwarding {
  std::mutex mutex;
  oflog::SharedAppenderPtr bridge;  // made once and kept: destructors of appenders ask for memory
  oflog::SharedAppenderPtrList former;
};

Forwarding& forwarding() {
  // Lives on: DCMTK may log while the process ends.
  static auto* const state = new Forwarding;
  return *state;
}

bool isInPlace(const Forwarding& state, oflog::Logger& root) {
  const oflog::SharedAppenderPtrList appenders = root.getAllAppenders();
  return state.bridge.get() != nullptr &&
         std::find(appenders.begin(), appenders.end(), state.bridge) != appenders.end();
}

}  // namespace

void forwardDcmtkLog() {
  Forwarding& state = forwarding();
  const std::scoped_lock lock(state.mutex);
  oflog::Logger root = oflog::Logger::getRoot();
  if (isInPlace(state, root)) {
    return;
  }
  if (state.bridge.get() == nullptr) {
    state.bridge = oflog::SharedAppenderPtr(new ApplicationLogAppender);
  }
  state.former = root.getAllAppenders();
  root.addAppender(state.bridge);
  for (const oflog::SharedAppenderPtr& appender : state.former) {
    root.removeAppender(appender);
  }
}

void restoreDcmtkLog() {
  Forwarding& state = forwarding();
  const std::scoped_lock lock(state.mutex);
  oflog::Logger root = oflog::Logger::getRoot();
  if (!isInPlace(state, root)) {
    return;
  }
  for (const oflog::SharedAppenderPtr& appender : state.former) {
    root.addAppender(appender);
  }
  root.removeAppender(state.bridge);
  state.former.clear();
}

}  // namespace ExDCM
