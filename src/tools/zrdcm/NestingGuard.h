// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace zrdcm {

/// Sequences inside sequences that we are willing to read. Real objects nest below ten.
constexpr std::size_t kDeepestNesting = 64;

/// What the headers of the elements tell before anything is built of them.
struct HeaderScan {
  /// The dataset nests sequences deeper than `kDeepestNesting`. DCMTK reads nested sequences by
  /// recursion, so a small file made for it exhausts the stack.
  bool nestsTooDeeply = false;
  /// The first element that is longer than the rest of the file, and how long it claims to be; empty
  /// when there is none.
  std::string overlong;
};

/// Looks at the headers of a DICOM file, in constant stack space. Where the file makes no sense it
/// stops, and leaves the complaint to the real reader.
HeaderScan scanHeaders(const std::filesystem::path& file);

}  // namespace zrdcm
