// SPDX-License-Identifier: BSD-3-Clause
#include "support/Md5.h"

#include <md5.h>

#include <array>

namespace support {

std::string md5Hex(const void* bytes, std::size_t count) {
  std::array<char, MD5_DIGEST_STRING_LENGTH> text{};
  MD5Data(static_cast<const unsigned char*>(bytes), count, text.data());
  return text.data();
}

}  // namespace support
