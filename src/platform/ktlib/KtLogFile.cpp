// SPDX-License-Identifier: BSD-3-Clause
// The log: formats in the caller's thread, then hands the text over under a lock. The lock is held
// while the sink runs, so that one who takes a sink away knows that it is not running; it is
// recursive, so that a sink may log or replace itself.
#include <ktlib/KtLogFile.h>
#include <ktlib/KtString.h>

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <utility>

namespace {
constexpr int kDeepestSinkNesting = 4;

void writeToStandardError(KtLogFile::Level level, const std::string& text) {
  const std::string line = (level == KtLogFile::Level::Warning ? "W: " : "") + text + '\n';
  // One call, so that lines of several processes do not mix. There is nowhere left to tell about a
  // standard error that takes nothing.
  (void)std::fwrite(line.data(), 1, line.size(), stderr);
}

// Counts how deep sinks log within sinks, also when one of them throws.
class Nesting {
public:
  explicit Nesting(int& depth) : depth_(depth) { ++depth_; }
  ~Nesting() { --depth_; }
  Nesting(const Nesting&) = delete;
  Nesting& operator=(const Nesting&) = delete;

private:
  int& depth_;
};
}  // namespace

class KtLogFile::State {
public:
  void setSink(Sink sink) {
    auto shared = sink ? std::make_shared<const Sink>(std::move(sink)) : nullptr;
    const std::lock_guard lock(mutex_);
    sink_.swap(shared);
  }

  void write(Level level, const std::string& text) {
    const std::lock_guard lock(mutex_);
    const Nesting nesting(depth_);
    // A share of its own keeps a sink alive that replaces itself while it runs.
    if (const std::shared_ptr<const Sink> sink = sink_; sink && depth_ <= kDeepestSinkNesting) {
      (*sink)(level, text);
    } else {
      writeToStandardError(level, text);
    }
  }

private:
  std::recursive_mutex mutex_;
  std::shared_ptr<const Sink> sink_;  // null: standard error
  int depth_ = 0;                     // calls of write() that are under way, all in one thread
};

KtLogFile::KtLogFile() : state_(std::make_unique<State>()) {}

KtLogFile::~KtLogFile() = default;

void KtLogFile::setSink(Sink sink) {
  state_->setSink(std::move(sink));
}

void KtLogFile::printf(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const KtString text = KtString::vprintf(format, arguments);
  va_end(arguments);
  state_->write(Level::Message, text.str());
}

void KtLogFile::warnf(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const KtString text = KtString::vprintf(format, arguments);
  va_end(arguments);
  state_->write(Level::Warning, text.str());
}

KtLogFile& getTheLogInstance() {
  // Never deleted: destructors of static objects may log after any static of ours is gone.
  static KtLogFile& log = *new KtLogFile;
  return log;
}
