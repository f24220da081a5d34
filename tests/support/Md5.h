// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace support {

/// MD5 of bytes as 32 lower-case hexadecimal digits.
[[nodiscard]] std::string md5Hex(const void* bytes, std::size_t count);

/// MD5 of the elements of a vector as they are in memory.
template <class T>
[[nodiscard]] std::string md5Hex(const std::vector<T>& values) {
  return md5Hex(values.data(), values.size() * sizeof(T));
}

}  // namespace support
