// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>

namespace zrdcm {

/// Sequences inside sequences that we are willing to read. Real objects nest below ten.
constexpr std::size_t kDeepestNesting = 256;

/// Whether the dataset of a DICOM file nests sequences deeper than `kDeepestNesting`.
///
/// DCMTK reads nested sequences by recursion, so a small file made for it exhausts the stack.
/// This looks at the headers of the elements only, in constant stack space; where the file makes
/// no sense it stops and answers false, and leaves the complaint to the real reader.
bool nestsTooDeeply(const std::filesystem::path& file);

}  // namespace zrdcm
