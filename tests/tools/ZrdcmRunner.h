// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/Files.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace tools {

/// How a program ended and what it said.
struct Outcome {
  int status = -1;     ///< exit status; 128 + signal when it was killed
  std::string output;  ///< stdout
  std::string errors;  ///< stderr

  /// Lines on stderr.
  std::size_t errorLines() const;
};

/// Runs a program found along PATH and waits for it. Throws std::system_error when it cannot start.
Outcome runProgram(const std::vector<std::string>& command);

/// Runs the zrdcm that was built together with the tests.
Outcome runZrdcm(std::vector<std::string> arguments);

using support::hex;
using support::namesIn;
using support::readFile;
using support::writeFile;

/// A PNG as it stands in the file; samples of 16 bits in the byte order of the machine.
struct Png {
  std::size_t columns = 0;
  std::size_t rows = 0;
  int channels = 0;
  int bits = 0;
  std::vector<std::uint16_t> samples;
};

/// Throws std::runtime_error when the file is no PNG.
Png readPng(const std::filesystem::path& path);

}  // namespace tools
