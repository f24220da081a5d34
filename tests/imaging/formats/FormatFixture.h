// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/Files.h"
#include "support/TempDir.h"
#include "zrimaging/Output.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>
#include <zrimaging/Formats.h>

/// Arrays are written into the file "out" in a folder of the test's own.
class FormatFixture : public testing::Test {
protected:
  /// Writes an array in the format of that name and yields where it is.
  std::filesystem::path write(const char* name, const zr::ArrayToWrite& array) const {
    zr::writeArray(*zr::formatNamed(name), target(), zr::ProtectedInputs(), array);
    return target();
  }

  /// The bytes of the file.
  std::string bytesAs(const char* name, const zr::ArrayToWrite& array) const {
    return support::readFile(write(name, array));
  }

  std::filesystem::path target() const { return folder_.file("out"); }

  support::TempDir folder_;
};

/// Bytes that follow no pattern, the same in every run.
inline std::vector<unsigned char> scatteredBytes(std::size_t count) {
  std::vector<unsigned char> bytes(count);
  std::uint32_t state = 1;
  for (unsigned char& byte : bytes) {
    state = state * 1664525U + 1013904223U;
    byte = static_cast<unsigned char>(state >> 24U);
  }
  return bytes;
}
