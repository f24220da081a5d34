// SPDX-License-Identifier: BSD-3-Clause
#include "support/CommaLocale.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>

namespace support {

namespace {

constexpr const char* kName = "comma";

// localedef warns of the categories that are left out and exits with 1: whether the locale can be
// set tells whether it was made.
void makeLocale(const std::filesystem::path& folder) {
  const std::filesystem::path source = folder / "source";
  std::ofstream(source) << "comment_char %\nescape_char /\nLC_NUMERIC\ndecimal_point \",\"\n"
                           "thousands_sep \".\"\ngrouping 3;3\nEND LC_NUMERIC\n";
  const std::string command = "localedef -c -i '" + source.string() + "' '" +
                              (folder / kName).string() + "' >/dev/null 2>&1";
  (void)std::system(command.c_str());
}

}  // namespace

CommaLocale::CommaLocale() {
  makeLocale(folder_.path());
  (void)setenv("LOCPATH", folder_.path().c_str(), 1);
  enter();
}

CommaLocale::~CommaLocale() {
  leave();
  (void)unsetenv("LOCPATH");
}

void CommaLocale::enter() {
#if defined(__SANITIZE_ADDRESS__)
  // The C library does not free the folders that it makes of LOCPATH.
  const __lsan::ScopedDisabler notOurLeak;
#endif
  // Throws std::runtime_error where there is no such locale. A named one is the C library's too.
  (void)std::locale::global(std::locale(kName));
}

void CommaLocale::leave() {
  (void)std::locale::global(std::locale::classic());
}

}  // namespace support
