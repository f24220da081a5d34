// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/TempDir.h"

#include <locale>

namespace support {

/// A process whose locale writes a decimal comma and groups digits by points, as a host application
/// in many countries sets it, for the C library and for C++ streams. Made for the test: such a
/// locale need not be installed. Throws std::runtime_error where it cannot be made (see the package
/// `locales`).
class CommaLocale {
public:
  /// Makes the locale and sets it.
  CommaLocale();
  /// Sets the "C" locale again.
  ~CommaLocale();
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;

  /// Sets the "C" locale, and this one again.
  void leave();
  void enter();

private:
  TempDir folder_;
};

}  // namespace support
