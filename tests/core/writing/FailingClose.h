// SPDX-License-Identifier: BSD-3-Clause
#pragma once

namespace exporting {

/// While it lives, one call of `close` by the library or a test answers that bytes of the file
/// could not be stored, once, as a file system behind a network does. The descriptor is closed all
/// the same.
class FailingClose {
public:
  /// @param calls  how many calls of `close` still succeed before it
  explicit FailingClose(int calls);
  ~FailingClose();
  FailingClose(const FailingClose&) = delete;
  FailingClose& operator=(const FailingClose&) = delete;

  /// Whether that call has been made.
  [[nodiscard]] bool hasFailed() const;
};

}  // namespace exporting
