// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <clocale>

namespace Zrg {

/// The "C" locale. Making it allocates nothing: the C library holds it from the start.
inline locale_t cLocale() noexcept {
  static const locale_t locale = ::newlocale(LC_ALL_MASK, "C", nullptr);
  return locale;
}

/// Puts the calling thread into the "C" locale for a scope, for functions of the C library that
/// exist in no variant with a locale (sscanf). Other threads and the locale of the process are not
/// touched.
class CLocaleScope {
public:
  CLocaleScope() noexcept : before_(::uselocale(cLocale())) {}
  ~CLocaleScope() { (void)::uselocale(before_); }
  CLocaleScope(const CLocaleScope&) = delete;
  CLocaleScope& operator=(const CLocaleScope&) = delete;

private:
  locale_t before_;
};

}  // namespace Zrg
