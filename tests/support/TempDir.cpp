// SPDX-License-Identifier: BSD-3-Clause
#include "support/TempDir.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace support {

TempDir::TempDir() {
  std::string name = (std::filesystem::temp_directory_path() / "zrtest-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) {
    throw std::system_error(errno, std::generic_category(), "mkdtemp");
  }
  path_ = name;
}

TempDir::~TempDir() {
  // A test may have taken the right to write away; leftovers do not fail it.
  std::error_code ignored;
  std::filesystem::permissions(path_, std::filesystem::perms::owner_all,
                               std::filesystem::perm_options::add, ignored);
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace support
