// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ktlib/KtString.h>

/// Outcome of an operation: good (code 0), or bad with a code, a place and a text.
///
/// Texts are copied, so a result outlives what it was made of.
class KtResult {
public:
  /// A good result: code and line 0, all texts empty.
  KtResult() = default;

  /// A result with all its facts. Null texts become empty ones.
  ///
  /// @param code       0 for good, anything else for bad
  /// @param line       line of the source file; 0 when not known
  /// @param source     file and function where it happened
  /// @param message    what happened
  /// @param condition  the condition that did not hold
  KtResult(int code, int line, const char* source, const char* message, const char* condition)
      : code_(code), line_(line), source_(source), message_(message), condition_(condition) {}

  /// A bad result without place and texts.
  ///
  /// @param code  its code; 0, which would read as good, becomes -1
  [[nodiscard]] static KtResult makeBad(int code) {
    KtResult result;
    result.code_ = code != 0 ? code : -1;
    return result;
  }

  /// Whether the code is 0.
  [[nodiscard]] bool isOk() const noexcept { return code_ == 0; }
  /// Whether the code is not 0.
  [[nodiscard]] bool isBad() const noexcept { return code_ != 0; }

  /// 0 for good; otherwise the kind of failure.
  [[nodiscard]] int code() const noexcept { return code_; }
  /// Line of the source file; 0 when not known.
  [[nodiscard]] int line() const noexcept { return line_; }
  /// File and function where it happened; may be empty.
  [[nodiscard]] const KtString& source() const noexcept { return source_; }
  /// What happened; may be empty.
  [[nodiscard]] const KtString& message() const noexcept { return message_; }
  /// The condition that did not hold; may be empty.
  [[nodiscard]] const KtString& condition() const noexcept { return condition_; }

private:
  int code_ = 0;
  int line_ = 0;
  KtString source_;
  KtString message_;
  KtString condition_;
};
