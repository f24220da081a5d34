// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace support {

/// The bytes of a file; empty when it is not there.
[[nodiscard]] std::string readFile(const std::filesystem::path& path);
void writeFile(const std::filesystem::path& path, const std::string& bytes);

/// The bytes as text to compare with and to print: "01 ff".
[[nodiscard]] std::string hex(const std::string& bytes);

/// Names of the files in a folder, hidden ones too, sorted.
[[nodiscard]] std::vector<std::string> namesIn(const std::filesystem::path& folder);

}  // namespace support
