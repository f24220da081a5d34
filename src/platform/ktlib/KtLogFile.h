// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ktlib/KtApi.h>

#include <functional>
#include <memory>
#include <string>

/// Log of an application: takes printf-style lines and hands their text to a sink.
///
/// All operations may be called by several threads at once; the sink gets one text at a time, in
/// the order of the calls. The sink runs in the thread that logs, so it must not wait for another
/// thread that logs. It may log itself: such texts reach it again, and from the fourth nested call
/// on go to standard error instead, so that a sink that logs every time comes to an end. What a
/// sink throws passes through to the one who logged.
class KTLIB_API KtLogFile {
public:
  /// How serious a text is.
  enum class Level {
    Message,  ///< written by `printf`
    Warning   ///< written by `warnf`
  };
  /// Takes the level and the formatted text alone: no newline and no prefix is added.
  using Sink = std::function<void(Level, const std::string&)>;

  /// A log that writes to standard error, one line a text, warnings behind "W: ".
  KtLogFile();
  ~KtLogFile();
  KtLogFile(const KtLogFile&) = delete;
  KtLogFile& operator=(const KtLogFile&) = delete;

  /// Replaces the sink; an empty function brings standard error back.
  ///
  /// Waits for a text that another thread is handing over: when the call returns, the former sink
  /// is not used any more. A sink may replace itself.
  void setSink(Sink sink);

  /// Logs a message.
  ///
  /// @param format  printf format, written in the source: never text from outside
  void printf(const char* format, ...) __attribute__((format(printf, 2, 3)));
  /// Logs a warning.
  ///
  /// @param format  printf format, written in the source: never text from outside
  void warnf(const char* format, ...) __attribute__((format(printf, 2, 3)));

private:
  class State;

  std::unique_ptr<State> state_;
};

/// The log of the process. It lives until the process ends, so that destructors of static objects
/// may still log.
[[nodiscard]] KTLIB_API KtLogFile& getTheLogInstance();
