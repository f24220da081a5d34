// SPDX-License-Identifier: BSD-3-Clause
#include "support/Files.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>

namespace support {

std::string readFile(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void writeFile(const std::filesystem::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

std::string hex(const std::string& bytes) {
  std::string text;
  for (const unsigned char byte : bytes) {
    char digits[4];
    (void)std::snprintf(digits, sizeof digits, "%02x ", byte);  // always fits
    text += digits;
  }
  return text.empty() ? text : text.substr(0, text.size() - 1);
}

std::vector<std::string> namesIn(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace support
